#include "util/ZwError.h"

#include "util/AppInfo.h"

ZwError::ZwError(long number, QString description, QString source)
    : m_number(number), m_description(std::move(description)),
      m_source(source.isEmpty() ? AppInfo::title() : std::move(source))
{
    m_what = QStringLiteral("%1 (%2)").arg(m_description).arg(m_number).toUtf8();
}
