#include "contacts/ClsFilterString.h"

void ClsFilterString::SetFilterString(const QString& filter)
{
    m_filter = filter;
    m_elements =
        m_separator.isEmpty() ? QStringList{filter} : filter.split(m_separator, Qt::KeepEmptyParts);
    for (QString& e : m_elements)
        e = e.trimmed();
}

bool ClsFilterString::IsMatching(const QVariant& value) const
{
    if (m_filter.isEmpty())
        return true;
    const QString text = value.toString();
    for (const QString& e : m_elements)
        if (e == text)
            return true;
    return false;
}
