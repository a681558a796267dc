#include "util/AppInfo.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace AppInfo
{

QString title()
{
    return QStringLiteral("Zettelwerk");
}

QString versionText()
{
    return QStringLiteral("%1.%2.%3")
        .arg(versionMajor())
        .arg(versionMinor())
        .arg(versionRevision());
}

int versionMajor()
{
    return ZW_VERSION_MAJOR;
}
int versionMinor()
{
    return ZW_VERSION_MINOR;
}
int versionRevision()
{
    return ZW_VERSION_PATCH;
}

QString programPath()
{
    if (QCoreApplication::instance())
        return QCoreApplication::applicationFilePath();
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
}

QString programFolder()
{
    return QFileInfo(programPath()).absolutePath();
}

} // namespace AppInfo
