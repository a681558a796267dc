#pragma once

// A file or folder nobody may read while the object lives; the owner's rights come back
// afterwards so that the temporary folder can be removed. Root reads anyway: such tests skip.

#include <QFile>
#include <QFileInfo>
#include <unistd.h>

struct LockedPath {
    explicit LockedPath(const QString& path) : path(path), isDir(QFileInfo(path).isDir())
    {
        QFile(path).setPermissions(QFileDevice::Permissions());
    }
    ~LockedPath()
    {
        QFile(path).setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                   (isDir ? QFileDevice::ExeOwner : QFileDevice::Permissions()));
    }
    LockedPath(const LockedPath&) = delete;
    static bool rootReadsAnyway() { return ::geteuid() == 0; }

    const QString path;
    const bool isDir;
};
