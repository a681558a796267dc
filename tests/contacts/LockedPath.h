#pragma once

// A file or folder nobody may read while the object lives; the owner's rights come back
// afterwards so that the temporary folder can be removed. Root reads anyway: tests ask
// rootReadsAnyway() and skip.

#include <QFile>
#include <QFileInfo>
#include <unistd.h>

class LockedPath
{
public:
    explicit LockedPath(const QString& path) : m_path(path), m_isDir(QFileInfo(path).isDir())
    {
        QFile(m_path).setPermissions(QFileDevice::Permissions());
    }
    ~LockedPath()
    {
        QFile(m_path).setPermissions(
            QFileDevice::ReadOwner | QFileDevice::WriteOwner |
            (m_isDir ? QFileDevice::ExeOwner : QFileDevice::Permissions()));
    }
    LockedPath(const LockedPath&) = delete;
    LockedPath& operator=(const LockedPath&) = delete;

    static bool rootReadsAnyway() { return ::geteuid() == 0; }

private:
    QString m_path;
    bool m_isDir;
};
