#include "document/FieldAssignmentList.h"

bool FieldAssignmentList::add(const QString& key, const QString& entry)
{
    if (contains(key))
        return false;
    m_entries.append({key, entry});
    return true;
}

bool FieldAssignmentList::remove(const QString& key)
{
    const int index = indexOf(key);
    if (index < 0)
        return false;
    m_entries.removeAt(index);
    return true;
}

void FieldAssignmentList::removeAt(int position)
{
    if (position >= 1 && position <= count())
        m_entries.removeAt(position - 1);
}

QString FieldAssignmentList::item(int position) const
{
    if (position < 1 || position > count())
        return QString();
    return m_entries[position - 1].entry;
}

QString FieldAssignmentList::item(const QString& key) const
{
    const int index = indexOf(key);
    return index < 0 ? QString() : m_entries[index].entry;
}

QString FieldAssignmentList::key(int position) const
{
    if (position < 1 || position > count())
        return QString();
    return m_entries[position - 1].key;
}

QStringList FieldAssignmentList::keys() const
{
    QStringList result;
    result.reserve(count());
    for (const Entry& e : m_entries)
        result.append(e.key);
    return result;
}

QStringList FieldAssignmentList::entries() const
{
    QStringList result;
    result.reserve(count());
    for (const Entry& e : m_entries)
        result.append(e.entry);
    return result;
}

QString FieldAssignmentList::keyOf(const QString& entry)
{
    const qsizetype bar = entry.indexOf(QLatin1Char('|'));
    return bar < 0 ? entry : entry.left(bar);
}

int FieldAssignmentList::indexOf(const QString& key) const
{
    for (int i = 0; i < count(); ++i)
        if (m_entries[i].key.compare(key, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}
