#include "contacts/CardDavAccount.h"

#include "contacts/CardDavMultiStatus.h"
#include "util/ErrorRoutine.h"
#include "util/ZwError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>
#include <QStandardPaths>

namespace
{

const QByteArray kDiscoveryBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    "<d:propfind xmlns:d=\"DAV:\" xmlns:c=\"urn:ietf:params:xml:ns:carddav\" "
    "xmlns:cs=\"http://calendarserver.org/ns/\"><d:prop><d:resourcetype/><d:displayname/>"
    "<d:current-user-principal/><c:addressbook-home-set/><cs:getctag/><d:sync-token/>"
    "</d:prop></d:propfind>";

bool isBook(const CardDavMultiStatus::Response& r)
{
    return r.props.value(CardDavMultiStatus::dav("resourcetype"))
        .children.contains(CardDavMultiStatus::card("addressbook"));
}

QString lastSegment(const QUrl& url)
{
    QString path = url.path();
    while (path.endsWith(u'/'))
        path.chop(1);
    return path.mid(path.lastIndexOf(u'/') + 1);
}

bool samePath(const QUrl& a, const QUrl& b)
{
    auto norm = [](const QUrl& u) {
        QString p = u.path();
        if (!p.endsWith(u'/'))
            p += u'/';
        return p;
    };
    return a.host() == b.host() && a.port() == b.port() && norm(a) == norm(b);
}

} // namespace

bool CardDavAccount::isServerAddress(const QString& address)
{
    const QString a = address.trimmed();
    return a.startsWith(QLatin1String("http://"), Qt::CaseInsensitive) ||
           a.startsWith(QLatin1String("https://"), Qt::CaseInsensitive);
}

CardDavAccount::CardDavAccount(const QString& address, CardDavSettings settings)
    : m_settings(std::move(settings))
{
    QUrl url(address.trimmed(), QUrl::TolerantMode);
    const QString user = url.userName();
    url.setUserInfo(QString());
    url.setFragment(QString());
    if (url.path().isEmpty())
        url.setPath(QStringLiteral("/"));
    m_server = url;
    m_http = std::make_shared<CardDavHttp>(m_settings, user, m_server);
    QString base = m_settings.cacheDir;
    if (base.isEmpty())
        base = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
               QStringLiteral("/carddav");
    const QString id = (user.isEmpty() ? QString() : user + QLatin1Char('@')) + m_http->hostText();
    m_cacheDir = base + QLatin1Char('/') +
                 CardDavBookCache::safeName(id, id + m_server.toString(), 50) + QLatin1Char('-') +
                 QString::fromLatin1(QCryptographicHash::hash(m_server.toString().toUtf8(),
                                                              QCryptographicHash::Sha1)
                                         .toHex()
                                         .left(8));
}

bool CardDavAccount::discover(QString* reason)
{
    m_discovered = true;
    auto failWith = [&](const QString& text) {
        m_note = text;
        VuLog(LogLevel::Warning, QStringLiteral("CardDAV: ") + text);
        if (reason)
            *reason = text;
        return false;
    };
    // The first question has the short limit (is the server there at all?); listing the
    // books of a large home may take the server longer.
    bool answered = false;
    auto propfind = [&](const QUrl& url, const char* depth, CardDavMultiStatus& ms,
                        CardDavHttp::Reply& r) {
        r = m_http->send("PROPFIND", url, kDiscoveryBody, {{"Depth", depth}},
                         answered ? m_settings.requestTimeoutMs : m_settings.answerWithinMs);
        answered = answered || r.status != 0;
        if (!r.ok())
            return false;
        QString error;
        if (!ms.parse(r.body, &error)) {
            r.failure = QStringLiteral("Der Server '%1' gibt keine WebDAV-Antwort für '%2' (%3).")
                            .arg(m_http->hostText(), url.toString(), error);
            return false;
        }
        return true;
    };
    const QString what = QStringLiteral("die Adresse '%1'").arg(m_server.toString());

    // RFC 6764: a bare host points to its CardDAV service through the well-known address.
    QList<QUrl> starts;
    if (m_server.path() == QLatin1String("/"))
        starts.append(m_server.resolved(QUrl(QStringLiteral("/.well-known/carddav"))));
    starts.append(m_server);
    CardDavMultiStatus context;
    CardDavHttp::Reply r;
    QUrl contextUrl;
    for (const QUrl& start : std::as_const(starts)) {
        if (propfind(start, "0", context, r)) {
            contextUrl = r.url;
            break;
        }
        // Only a missing well-known address lets the plain address be tried.
        if (!r.failure.isEmpty() || r.status == 401 || r.status == 403)
            break;
    }
    if (contextUrl.isEmpty() || context.responses().isEmpty())
        return failWith(m_http->statusMessage(r, what));

    QList<std::pair<QUrl, QString>> found;
    auto collect = [&](const CardDavMultiStatus& ms, const QUrl& base) {
        for (const auto& resp : ms.responses()) {
            if (!isBook(resp))
                continue;
            const QUrl url = base.resolved(QUrl(resp.href));
            if (std::any_of(found.cbegin(), found.cend(),
                            [&](const auto& f) { return samePath(f.first, url); }))
                continue;
            found.append({url, resp.text(CardDavMultiStatus::dav("displayname")).trimmed()});
        }
    };
    const CardDavMultiStatus::Response& first = context.responses().first();
    if (isBook(first)) {
        collect(context, contextUrl);
    } else {
        QStringList homes =
            first.props.value(CardDavMultiStatus::card("addressbook-home-set")).hrefs;
        if (homes.isEmpty()) {
            const QStringList principal =
                first.props.value(CardDavMultiStatus::dav("current-user-principal")).hrefs;
            QUrl principalUrl =
                principal.isEmpty() ? contextUrl : contextUrl.resolved(QUrl(principal.first()));
            if (!samePath(principalUrl, contextUrl)) {
                CardDavMultiStatus p;
                if (!propfind(principalUrl, "0", p, r))
                    return failWith(m_http->statusMessage(
                        r, QStringLiteral("den Benutzer '%1'").arg(principalUrl.path())));
                if (!p.responses().isEmpty())
                    homes = p.responses()
                                .first()
                                .props.value(CardDavMultiStatus::card("addressbook-home-set"))
                                .hrefs;
            }
            if (homes.isEmpty())
                homes.append(principalUrl.path(QUrl::FullyEncoded));
        }
        for (const QString& home : std::as_const(homes)) {
            const QUrl homeUrl = contextUrl.resolved(QUrl(home));
            CardDavMultiStatus list;
            if (!propfind(homeUrl, "1", list, r))
                return failWith(m_http->statusMessage(
                    r, QStringLiteral("die Adressbücher unter '%1'").arg(homeUrl.path())));
            collect(list, homeUrl);
        }
    }
    setBooks(found);
    saveBookList();
    m_note.clear();
    return true;
}

void CardDavAccount::setBooks(const QList<std::pair<QUrl, QString>>& found)
{
    m_found = found;
    QList<std::shared_ptr<CardDavBook>> books;
    QList<std::shared_ptr<OlFolder>> folders;
    QSet<QString> names;
    for (const auto& [url, displayName] : found) {
        // Paths are split at "\": a display name cannot hold one.
        QString name = displayName.isEmpty() ? lastSegment(url) : displayName;
        name.replace(u'\\', u'_');
        if (name.isEmpty())
            name = m_http->hostText();
        const QString base = name;
        for (int n = 2; names.contains(name.toLower()); ++n)
            name = QStringLiteral("%1 (%2)").arg(base).arg(n);
        names.insert(name.toLower());

        // A book keeps its object (and its folder) while its address and name stay.
        qsizetype same = -1;
        for (qsizetype i = 0; i < m_books.size(); ++i)
            if (m_books[i]->url() == url && m_books[i]->displayName() == name)
                same = i;
        if (same >= 0) {
            books.append(m_books[same]);
            folders.append(m_folders[same]);
            continue;
        }
        const QString dir = m_cacheDir + QLatin1Char('/') +
                            CardDavBookCache::safeName(lastSegment(url), url.toString(), 40) +
                            QLatin1Char('-') +
                            QString::fromLatin1(QCryptographicHash::hash(url.toString().toUtf8(),
                                                                         QCryptographicHash::Sha1)
                                                    .toHex()
                                                    .left(8));
        auto book = std::make_shared<CardDavBook>(m_http, m_settings, url, name, dir);
        auto folder =
            OlFolder::onDisk(name, m_parentPath + QLatin1Char('\\') + name, dir, false, false);
        folder->setRemote(book);
        books.append(book);
        folders.append(folder);
    }
    m_books = books;
    m_folders = folders;
}

void CardDavAccount::saveBookList() const
{
    QJsonArray list;
    for (const auto& b : m_books)
        list.append(QJsonObject{{QStringLiteral("url"), b->url().toString()},
                                {QStringLiteral("name"), b->displayName()}});
    QDir().mkpath(m_cacheDir);
    QSaveFile f(m_cacheDir + QStringLiteral("/books.json"));
    if (f.open(QIODevice::WriteOnly)) {
        f.write(QJsonDocument(list).toJson());
        f.commit();
    }
}

bool CardDavAccount::loadBookList()
{
    QFile f(m_cacheDir + QStringLiteral("/books.json"));
    if (!f.open(QIODevice::ReadOnly))
        return false;
    const QJsonArray list = QJsonDocument::fromJson(f.readAll()).array();
    QList<std::pair<QUrl, QString>> found;
    for (const QJsonValue& v : list) {
        const QJsonObject o = v.toObject();
        const QUrl url(o.value(u"url").toString());
        if (url.isValid() && !url.isEmpty())
            found.append({url, o.value(u"name").toString()});
    }
    setBooks(found);
    return !list.isEmpty();
}

QList<std::shared_ptr<OlFolder>> CardDavAccount::folders(const QString& parentPath)
{
    if (m_parentPath != parentPath) {
        // The folders carry their path: made again below the new parent.
        m_parentPath = parentPath;
        m_books.clear();
        m_folders.clear();
        setBooks(m_found);
    }
    if (!m_discovered) {
        QString reason;
        if (!discover(&reason) && !loadBookList()) {
            m_discovered = false; // ask again next time
            throw ZwError(75,
                          QStringLiteral("Die Adressbücher des Servers '%1' können nicht gelesen "
                                         "werden: %2")
                              .arg(m_http->hostText(), reason),
                          QStringLiteral("Folders"));
        }
    }
    return m_folders;
}
