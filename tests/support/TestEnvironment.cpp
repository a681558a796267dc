#include "tests/support/TestEnvironment.h"

#include <QDir>

TestEnvironment::TestEnvironment()
{
    m_oldConfig = qgetenv("XDG_CONFIG_HOME");
    m_oldData = qgetenv("XDG_DATA_HOME");
    m_oldHome = qgetenv("HOME");
    m_oldCache = qgetenv("XDG_CACHE_HOME");
    QDir(m_dir.path()).mkpath(QStringLiteral("config"));
    QDir(m_dir.path()).mkpath(QStringLiteral("data"));
    QDir(m_dir.path()).mkpath(QStringLiteral("home/Documents"));
    qputenv("XDG_CONFIG_HOME", configHome().toUtf8());
    qputenv("XDG_DATA_HOME", dataHome().toUtf8());
    qputenv("HOME", (m_dir.path() + QStringLiteral("/home")).toUtf8());
    qputenv("XDG_CACHE_HOME", (m_dir.path() + QStringLiteral("/cache")).toUtf8());
}

TestEnvironment::~TestEnvironment()
{
    auto restore = [](const char* name, const QByteArray& value) {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    };
    restore("XDG_CONFIG_HOME", m_oldConfig);
    restore("XDG_DATA_HOME", m_oldData);
    restore("HOME", m_oldHome);
    restore("XDG_CACHE_HOME", m_oldCache);
}

QString TestEnvironment::configHome() const
{
    return m_dir.path() + QStringLiteral("/config");
}

QString TestEnvironment::dataHome() const
{
    return m_dir.path() + QStringLiteral("/data");
}

QString TestEnvironment::sharedDir()
{
    const QByteArray fromCtest = qgetenv("ZW_SHARED_DIR");
    return fromCtest.isEmpty() ? QString() : QString::fromUtf8(fromCtest);
}
