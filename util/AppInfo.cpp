#include "util/AppInfo.h"

#include <QCoreApplication>
#include <QDir>
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

QString dataFolder()
{
    const QString program = programFolder();
    const QDir beside(program);
    if (beside.exists(QStringLiteral("Bsp-Brief.dotx")) ||
        beside.exists(title() + QStringLiteral(".html")))
        return program;
#ifdef ZW_DATA_RELATIVE
    // Installed: the data folder lies where the install put it relative to the program.
    const QString installed = QDir::cleanPath(beside.filePath(QStringLiteral(ZW_DATA_RELATIVE)));
    if (QFileInfo(installed).isDir())
        return installed;
#endif
    return program;
}

} // namespace AppInfo
