#include "contacts/CardDavHttp.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslError>
#include <QTimer>

namespace
{

constexpr int kMaxRedirects = 5;
constexpr int kMaxLoginQuestions = 3;

// Qt's texts for network errors are English; the common ones in German.
QString networkErrorText(const QNetworkReply* reply)
{
    switch (reply->error()) {
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("Verbindung abgelehnt");
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("Rechnername unbekannt");
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("Verbindung vom Server beendet");
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::TemporaryNetworkFailureError:
        return QStringLiteral("kein Netzwerk");
    default:
        return reply->errorString();
    }
}

} // namespace

CardDavHttp::CardDavHttp(const CardDavSettings& settings, QString user, QUrl server)
    : m_settings(settings), m_user(std::move(user)), m_server(std::move(server)),
      m_secrets(settings.useKeychain), m_nam(std::make_unique<QNetworkAccessManager>())
{
    // Answers are read once; a disk cache or cookies would only keep stale state.
    m_nam->setCookieJar(nullptr);
}

CardDavHttp::~CardDavHttp() = default;

QString CardDavHttp::hostText() const
{
    const int port = m_server.port();
    return port > 0 ? QStringLiteral("%1:%2").arg(m_server.host()).arg(port) : m_server.host();
}

QString CardDavHttp::secretKey() const
{
    return (m_user.isEmpty() ? QString() : m_user + QLatin1Char('@')) + hostText();
}

QString CardDavHttp::statusMessage(const Reply& r, const QString& what) const
{
    if (!r.failure.isEmpty())
        return r.failure;
    const QString host = hostText();
    switch (r.status) {
    case 401:
        return QStringLiteral("Anmeldung am Server '%1' fehlgeschlagen: Benutzername oder Kennwort "
                              "ist falsch, oder die Anmeldung wurde abgebrochen.")
            .arg(host);
    case 403:
        return QStringLiteral("Der Server '%1' verweigert den Zugriff auf %2 (403).")
            .arg(host, what);
    case 404:
    case 410:
        return QStringLiteral("Auf dem Server '%1' gibt es %2 nicht (mehr) (%3).")
            .arg(host, what)
            .arg(r.status);
    default:
        break;
    }
    if (r.status >= 500)
        return QStringLiteral("Der Server '%1' meldet einen Fehler für %2 (%3).")
            .arg(host, what)
            .arg(r.status);
    return QStringLiteral("Der Server '%1' hat %2 mit %3 beantwortet.")
        .arg(host, what)
        .arg(r.status);
}

CardDavHttp::Reply CardDavHttp::send(const QByteArray& method, const QUrl& url,
                                     const QByteArray& body, const Headers& headers, int timeoutMs)
{
    if (timeoutMs < 0)
        timeoutMs = m_settings.requestTimeoutMs;
    QUrl target = url;
    int questions = 0;
    for (int redirects = 0;;) {
        Reply r = sendOnce(method, target, body, headers, timeoutMs);
        if (r.status >= 300 && r.status < 400 && r.status != 304 && !r.url.isEmpty() &&
            r.url != target && ++redirects <= kMaxRedirects) {
            target = r.url;
            continue;
        }
        if (r.status == 401) {
            if (m_login && m_loginFromStore) {
                m_secrets.remove(secretKey());
                m_loginFromStore = false;
            } else if (!m_login && !m_loginCancelled) {
                if (auto stored = m_secrets.read(secretKey())) {
                    m_login = stored;
                    m_loginFromStore = true;
                    continue;
                }
            }
            if (m_loginCancelled || !m_settings.askLogin || ++questions > kMaxLoginQuestions)
                return r;
            CardDavLoginRequest request{hostText(), user(), m_login.has_value()};
            std::optional<CardDavLogin> answer = m_settings.askLogin(request);
            if (!answer) {
                m_loginCancelled = true;
                return r;
            }
            if (answer->user.isEmpty())
                answer->user = user();
            m_login = answer;
            m_loginNew = true;
            m_loginFromStore = false;
            continue;
        }
        if (m_loginNew && r.status >= 200 && r.status < 300) {
            if (m_settings.keepLogins)
                m_secrets.write(secretKey(), *m_login);
            m_loginNew = false;
        }
        return r;
    }
}

CardDavHttp::Reply CardDavHttp::sendOnce(const QByteArray& method, const QUrl& url,
                                         const QByteArray& body, const Headers& headers,
                                         int timeoutMs)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setTransferTimeout(timeoutMs);
    for (const auto& [name, value] : headers)
        request.setRawHeader(name, value);
    if (!body.isEmpty() && !request.hasRawHeader("Content-Type"))
        request.setRawHeader("Content-Type", "application/xml; charset=utf-8");
    if (m_login) {
        request.setRawHeader(
            "Authorization",
            "Basic " + (m_login->user + QLatin1Char(':') + m_login->password).toUtf8().toBase64());
    }

    QNetworkReply* reply = m_nam->sendCustomRequest(request, method, body);
    QEventLoop loop;
    bool timedOut = false;
    bool tooLarge = false;
    QStringList sslErrors;
    const qint64 limit = m_settings.maxResponseBytes;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QObject::connect(reply, &QNetworkReply::metaDataChanged, &loop, [&] {
        bool known = false;
        const qint64 length =
            reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
        if (known && length > limit) {
            tooLarge = true;
            reply->abort();
        }
    });
    QObject::connect(reply, &QNetworkReply::downloadProgress, &loop, [&](qint64 received, qint64) {
        if (received > limit && !tooLarge) {
            tooLarge = true;
            reply->abort();
        }
    });
    QObject::connect(reply, &QNetworkReply::sslErrors, &loop, [&](const QList<QSslError>& errors) {
        // Never ignored: the reply fails, and the user learns which host and why.
        for (const QSslError& e : errors)
            sslErrors.append(e.errorString());
    });
    // The transfer timeout covers a silent server; this one covers a slow trickle.
    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &loop, [&] {
        timedOut = true;
        reply->abort();
    });
    deadline.start(timeoutMs + 1000);
    if (!reply->isFinished())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    deadline.stop();

    Reply r;
    const QString host = hostText();
    r.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (tooLarge) {
        r.status = 0;
        r.failure = QStringLiteral("Die Antwort des Servers '%1' ist zu groß (mehr als %2 MB) und "
                                   "wurde abgewiesen.")
                        .arg(host)
                        .arg(double(limit) / (1024 * 1024), 0, 'g', 3);
    } else if (!sslErrors.isEmpty() || reply->error() == QNetworkReply::SslHandshakeFailedError) {
        r.status = 0;
        r.failure = QStringLiteral("Dem Zertifikat des Servers '%1' wird nicht vertraut (%2). "
                                   "Die Verbindung wurde nicht aufgebaut.")
                        .arg(host, sslErrors.isEmpty() ? reply->errorString()
                                                       : sslErrors.join(QStringLiteral("; ")));
    } else if (timedOut || reply->error() == QNetworkReply::TimeoutError ||
               (reply->error() == QNetworkReply::OperationCanceledError && r.status == 0)) {
        r.status = 0;
        r.failure = QStringLiteral("Der Server '%1' antwortet nicht (keine Antwort binnen %2 s).")
                        .arg(host)
                        .arg(double(timeoutMs) / 1000, 0, 'g', 3);
    } else if (r.status == 0) {
        r.failure = QStringLiteral("Der Server '%1' ist nicht erreichbar (%2).")
                        .arg(host, networkErrorText(reply));
    } else {
        r.body = reply->readAll();
        r.etag = reply->rawHeader("ETag");
        r.date = reply->rawHeader("Date");
        const QUrl location = reply->header(QNetworkRequest::LocationHeader).toUrl();
        r.url = location.isEmpty() ? url : url.resolved(location);
    }
    delete reply;
    return r;
}
