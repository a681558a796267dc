#include "util/SystemNames.h"

#include "util/ErrorRoutine.h"

#include <QSysInfo>

#include <pwd.h>
#include <unistd.h>

#include <vector>

namespace
{

QString unknownName()
{
    return QStringLiteral("(unbekannt)");
}

} // namespace

QString VuGetLoginName()
{
    QString name = unknownName();
    vuTrap(QStringLiteral("VuGetLoginName"), [&] {
        // The owner of the process, as the system's user database knows it; the
        // environment (USER, LOGNAME) can be set to anything.
        long size = sysconf(_SC_GETPW_R_SIZE_MAX);
        std::vector<char> buffer(size > 0 ? size_t(size) : 16384);
        passwd entry{};
        passwd* found = nullptr;
        if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
            found->pw_name && *found->pw_name)
            name = QString::fromLocal8Bit(found->pw_name);
    });
    return name;
}

QString VuGetComputerName()
{
    QString name = unknownName();
    vuTrap(QStringLiteral("VuGetComputerName"), [&] {
        const QString host = QSysInfo::machineHostName();
        if (!host.isEmpty())
            name = host;
    });
    return name;
}
