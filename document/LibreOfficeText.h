#pragma once

#include <QString>
#include <rtl/ustring.hxx>

// Text between Qt and UNO: both are UTF-16, so the characters are handed over as they are.
inline rtl::OUString toOU(const QString& s)
{
    return rtl::OUString(reinterpret_cast<const sal_Unicode*>(s.utf16()), sal_Int32(s.size()));
}

inline QString fromOU(const rtl::OUString& s)
{
    return QString(reinterpret_cast<const QChar*>(s.getStr()), s.getLength());
}
