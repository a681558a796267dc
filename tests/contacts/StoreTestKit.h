#pragma once

// Small pieces the contact store tests share: writing files into a temporary store, a
// minimal card, store roots in a temporary folder and catching the error a call raises.

#include "contacts/OlStoreRoots.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <functional>

namespace storekit
{

inline void put(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    QVERIFY2(f.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(path));
    QCOMPARE(f.write(bytes), bytes.size());
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

// The error a call raises; number 0 when it raises none.
inline ZwError errorOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const ZwError& e) {
        return e;
    }
    return ZwError(0, QString());
}

} // namespace storekit
