#pragma once

// Small pieces the contact store tests share: writing files into a temporary store, a
// minimal card, store roots in a temporary folder, catching the error a call raises, and a
// fixture with a private home and a fresh temporary folder for every test function.

#include "contacts/OlApplication.h"
#include "contacts/OlStoreRoots.h"
#include "tests/support/CaughtError.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <memory>

namespace storekit
{

inline void put(const QString& path, const QByteArray& bytes)
{
    writeFile(path, bytes);
}

inline QByteArray card(const QByteArray& n, const QByteArray& more = {},
                       const QByteArray& version = "3.0")
{
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\nN:" + n + "\r\n" + more + "END:VCARD\r\n";
}

// Personal store in <dir>/pers, public folders (when wanted) in <dir>/public.
inline OlStoreRoots storeRoots(const QString& dir, bool withPublic)
{
    OlStoreRoots roots;
    roots.personal = dir + QStringLiteral("/pers");
    roots.publicFolders = withPublic ? dir + QStringLiteral("/public") : QString();
    return roots;
}

// The test class derives from this and calls setUp() and tearDown() from init() and cleanup().
class StoreFixture : public QObject
{
protected:
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::shared_ptr<OlApplication> m_app;

    QString personal() const { return m_dir->path() + QStringLiteral("/pers"); }
    QString publicRoot() const { return m_dir->path() + QStringLiteral("/public"); }
    // An application on the stores of the temporary folder.
    std::shared_ptr<OlApplication> application(bool withPublic = true)
    {
        m_app = std::make_shared<OlApplication>(storeRoots(m_dir->path(), withPublic));
        return m_app;
    }

    void setUp()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_dir = std::make_unique<QTemporaryDir>();
    }
    void tearDown()
    {
        m_app.reset();
        m_dir.reset();
        m_env.reset();
    }
};

} // namespace storekit
