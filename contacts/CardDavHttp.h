#pragma once

#include "contacts/CardDavSecretStore.h"
#include "contacts/CardDavSettings.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <memory>
#include <optional>
#include <utility>

class QNetworkAccessManager;

// Synchronous HTTP for the CardDAV client: each request runs a local event loop (user input
// stays queued) until the answer, the time limit or the size limit.
//
// Redirects are followed by hand with the same method (Qt would not repeat a PROPFIND).
// A 401 asks for a login: first the secret store, then settings.askLogin; a login that
// worked is kept in the secret store, one the server refused is taken out of it. TLS errors
// are never ignored.
class CardDavHttp
{
public:
    struct Reply {
        int status = 0; // HTTP status; 0 when there was no HTTP answer
        QByteArray body;
        QByteArray etag; // the ETag header
        QByteArray date; // the Date header: the server's clock
        QUrl url;        // where the answer came from, after redirects
        QString failure; // German, when there was no usable HTTP answer at all
        bool ok() const { return failure.isEmpty() && status >= 200 && status < 300; }
    };
    using Headers = QList<std::pair<QByteArray, QByteArray>>;

    // `user`: the user name from the address, may be empty.
    CardDavHttp(const CardDavSettings& settings, QString user, QUrl server);
    ~CardDavHttp();

    Reply send(const QByteArray& method, const QUrl& url, const QByteArray& body = {},
               const Headers& headers = {}, int timeoutMs = -1);

    // "host" or "host:port", for messages.
    QString hostText() const;
    // The user name in use (from the address or the login).
    QString user() const { return m_login ? m_login->user : m_user; }

    // German text for an HTTP answer that is an error, naming what was asked for.
    QString statusMessage(const Reply& reply, const QString& what) const;

private:
    Reply sendOnce(const QByteArray& method, const QUrl& url, const QByteArray& body,
                   const Headers& headers, int timeoutMs);
    QString secretKey() const;

    CardDavSettings m_settings;
    QString m_user;
    QUrl m_server;
    CardDavSecretStore m_secrets;
    std::unique_ptr<QNetworkAccessManager> m_nam;
    std::optional<CardDavLogin> m_login;
    bool m_loginFromStore = false;
    bool m_loginNew = false;       // asked for and not yet confirmed by the server
    bool m_loginCancelled = false; // the user declined: do not ask again this session
};
