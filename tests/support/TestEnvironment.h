#pragma once

#include <QString>
#include <QTemporaryDir>

// A private home for one test: configuration, data, cache and documents folders point into a
// fresh temporary folder, so tests never touch the user's files or each other's.
class TestEnvironment
{
public:
    TestEnvironment();
    ~TestEnvironment();

    QString root() const { return m_dir.path(); }
    QString configHome() const;
    QString dataHome() const;
    // The folder of shared test material beside the checkout (may not exist).
    static QString sharedDir();

private:
    QTemporaryDir m_dir;
    QByteArray m_oldConfig, m_oldData, m_oldHome, m_oldCache;
};
