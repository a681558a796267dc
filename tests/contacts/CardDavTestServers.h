#pragma once

// Real CardDAV servers for tests and benchmarks, started on free loopback ports in a
// temporary folder: Radicale (htpasswd, plain passwords, owner_only) and Xandikos. Also a
// small synchronous HTTP helper to change cards on the server as another client would.

#include <QByteArray>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QUrl>
#include <memory>

namespace carddavtest
{

inline int freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

inline bool waitForPort(int port, QProcess& process, int ms = 30000)
{
    QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired()) {
        if (process.state() == QProcess::NotRunning)
            return false;
        QTcpSocket s;
        s.connectToHost(QHostAddress::LocalHost, quint16(port));
        if (s.waitForConnected(200))
            return true;
        QThread::msleep(50);
    }
    return false;
}

// One HTTP request, answered synchronously: the status (0 without an answer).
inline int http(const QByteArray& method, const QUrl& url, const QByteArray& body = {},
                const QByteArray& user = "anna", const QByteArray& password = "geheim",
                QByteArray* answer = nullptr)
{
    QNetworkAccessManager nam;
    QNetworkRequest request(url);
    if (!user.isEmpty())
        request.setRawHeader("Authorization", "Basic " + (user + ":" + password).toBase64());
    if (method == "PROPFIND")
        request.setRawHeader("Depth", "1");
    if (!body.isEmpty())
        request.setRawHeader("Content-Type", method == "PUT" ? "text/vcard; charset=utf-8"
                                                             : "application/xml; charset=utf-8");
    QNetworkReply* reply = nam.sendCustomRequest(request, method, body);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    if (answer)
        *answer = reply->readAll();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    delete reply;
    return status;
}

class Server
{
public:
    virtual ~Server() { stop(); }
    bool running() const { return m_process.state() == QProcess::Running; }
    int port() const { return m_port; }
    qint64 pid() const { return m_process.processId(); }
    QString base() const
    {
        return QStringLiteral("http%1://127.0.0.1:%2").arg(m_tls ? "s" : "").arg(m_port);
    }
    void stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000))
                m_process.kill();
            m_process.waitForFinished(2000);
        }
    }
    QString log() { return QString::fromLocal8Bit(m_process.readAll()); }
    // A card put into a book, or a card or book deleted, as another client would: true on
    // success.
    bool put(const QUrl& book, const QString& file, const QByteArray& card) const
    {
        return http("PUT", book.resolved(QUrl(file)), card, m_user) / 100 == 2;
    }
    bool remove(const QUrl& url) const { return http("DELETE", url, {}, m_user) / 100 == 2; }

protected:
    bool launch(const QString& program, const QStringList& args)
    {
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(program, args);
        return m_process.waitForStarted(5000) && waitForPort(m_port, m_process);
    }
    QProcess m_process;
    int m_port = 0;
    bool m_tls = false;
    QByteArray m_user; // who changes the books
};

inline bool save(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// Radicale 3.1.8 with users "anna" (password "geheim") and "bert" ("geheim2").
class Radicale : public Server
{
public:
    // `tlsCert`/`tlsKey`: serve https with that (self-signed) certificate.
    bool start(const QString& dir, const QString& tlsCert = {}, const QString& tlsKey = {})
    {
        m_dir = dir;
        m_port = freePort();
        m_tls = !tlsCert.isEmpty();
        m_user = "anna";
        QDir().mkpath(dir + QStringLiteral("/col/collection-root/anna"));
        const QString tls =
            m_tls ? QStringLiteral("ssl = True\ncertificate = %1\nkey = %2\n").arg(tlsCert, tlsKey)
                  : QString();
        const QString config =
            QStringLiteral("[server]\nhosts = 127.0.0.1:%1\n%2max_content_length = 500000000\n"
                           "[auth]\ntype = htpasswd\nhtpasswd_filename = %3/users\n"
                           "htpasswd_encryption = plain\ndelay = 0\n[rights]\ntype = owner_only\n"
                           "[storage]\nfilesystem_folder = %3/col\n"
                           "[logging]\nlevel = warning\nmask_passwords = True\n")
                .arg(m_port)
                .arg(tls, dir);
        return setUsers() && save(dir + QStringLiteral("/config"), config.toUtf8()) &&
               launch(QStringLiteral("radicale"),
                      {QStringLiteral("-C"), dir + QStringLiteral("/config")});
    }
    // The users and their passwords (Radicale reads the file at every login).
    bool setUsers(const QByteArray& lines = "anna:geheim\nbert:geheim2\n") const
    {
        return save(m_dir + QStringLiteral("/users"), lines);
    }
    // A book of anna's, straight in Radicale's storage (as MKCOL would leave it).
    QString makeBook(const QString& name, const QString& displayName = {}) const
    {
        const QString path = bookDir(name);
        QDir().mkpath(path);
        save(path + QStringLiteral("/.Radicale.props"),
             displayName.isEmpty() ? QByteArray("{\"tag\": \"VADDRESSBOOK\"}")
                                   : "{\"tag\": \"VADDRESSBOOK\", \"D:displayname\": \"" +
                                         displayName.toUtf8() + "\"}");
        return path;
    }
    QString bookDir(const QString& name) const
    {
        return m_dir + QStringLiteral("/col/collection-root/anna/") + name;
    }
    QUrl bookUrl(const QString& name) const
    {
        return QUrl(base() + QStringLiteral("/anna/") + name + QLatin1Char('/'));
    }

private:
    QString m_dir;
};

// Xandikos without authentication; principal /user/, home /user/contacts/, book
// /user/contacts/addressbook/.
class Xandikos : public Server
{
public:
    bool start(const QString& dir)
    {
        m_port = freePort();
        return launch(QStringLiteral("xandikos"),
                      {QStringLiteral("-d"), dir, QStringLiteral("--defaults"),
                       QStringLiteral("-l"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                       QString::number(m_port)});
    }
    QUrl bookUrl(const QString& = {}) const
    {
        return QUrl(base() + QStringLiteral("/user/contacts/addressbook/"));
    }
};

} // namespace carddavtest
