#include "contacts/CardDavBook.h"

#include "contacts/CardDavMultiStatus.h"
#include "contacts/VCardReader.h"
#include "contacts/VCardWriter.h"
#include "util/ErrorRoutine.h"
#include "util/ZwError.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QSet>
#include <QStandardPaths>

namespace
{

const QByteArray kProbeBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    "<d:propfind xmlns:d=\"DAV:\" xmlns:cs=\"http://calendarserver.org/ns/\">"
    "<d:prop><d:resourcetype/><d:displayname/><cs:getctag/><d:sync-token/><d:getlastmodified/>"
    "</d:prop></d:propfind>";
const QByteArray kCtagBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    "<d:propfind xmlns:d=\"DAV:\" xmlns:cs=\"http://calendarserver.org/ns/\">"
    "<d:prop><d:resourcetype/><cs:getctag/><d:getlastmodified/></d:prop></d:propfind>";
const QByteArray kLastModifiedBody = "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
                                     "<d:propfind xmlns:d=\"DAV:\"><d:prop><d:resourcetype/>"
                                     "<d:getlastmodified/></d:prop></d:propfind>";

QDateTime httpDate(const QString& text)
{
    // Empty when the server sends none (Xandikos for a book).
    const QString trimmed = text.trimmed();
    if (!trimmed.endsWith(QLatin1String(" GMT")))
        return {};
    QDateTime t = QLocale::c().toDateTime(trimmed.chopped(4),
                                          QStringLiteral("ddd, dd MMM yyyy HH:mm:ss"));
    t.setTimeSpec(Qt::UTC);
    return t;
}

// A last-modified time tells "unchanged" only when it was read at least two seconds after
// it (on the server's clock): a change within the same second would not move it.
bool lastModifiedTells(const QString& lastModified, const QString& seen)
{
    const QDateTime lm = httpDate(lastModified);
    const QDateTime at = httpDate(seen);
    return lm.isValid() && at.isValid() && lm.secsTo(at) >= 2;
}
const QByteArray kEtagBody = "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
                             "<d:propfind xmlns:d=\"DAV:\"><d:prop><d:resourcetype/><d:getetag/>"
                             "</d:prop></d:propfind>";

QByteArray xmlText(const QString& text)
{
    return text.toHtmlEscaped().toUtf8();
}

} // namespace

CardDavBook::CardDavBook(std::shared_ptr<CardDavHttp> http, const CardDavSettings& settings,
                         QUrl url, QString displayName, QString cacheDir)
    : m_http(std::move(http)), m_settings(settings), m_url(std::move(url)),
      m_displayName(std::move(displayName)), m_cache(std::move(cacheDir))
{
    m_cache.href = m_url.toString();
    m_cache.displayName = m_displayName;
    QDir().mkpath(m_cache.dir());
}

QString CardDavBook::hrefKey(const QString& href) const
{
    // Servers give paths; some give whole addresses. The key is the path, as encoded.
    const QUrl u(href);
    return u.isRelative() ? href : u.path(QUrl::FullyEncoded);
}

bool CardDavBook::probe(const QByteArray& body, CardDavMultiStatus::Response& book,
                        QByteArray& date)
{
    const QString what = QStringLiteral("das Adressbuch '%1'").arg(m_displayName);
    const CardDavHttp::Reply r =
        m_http->send("PROPFIND", m_url, body, {{"Depth", "0"}}, m_settings.answerWithinMs);
    if (r.status == 404 || r.status == 410) {
        m_vanished = true;
        return fail(QStringLiteral("Das Adressbuch gibt es auf dem Server '%1' nicht mehr; "
                                   "gezeigt wird der zuletzt abgeglichene Stand.")
                        .arg(m_http->hostText()));
    }
    CardDavMultiStatus ms;
    if (!parsed(r, what, ms))
        return false;
    if (ms.responses().isEmpty())
        return fail(QStringLiteral("unverständliche Antwort des Servers '%1' (ohne Eintrag)")
                        .arg(m_http->hostText()));
    m_vanished = false;
    book = ms.responses().first();
    date = r.date;
    return true;
}

bool CardDavBook::parsed(const CardDavHttp::Reply& r, const QString& what, CardDavMultiStatus& ms)
{
    if (!r.ok())
        return fail(m_http->statusMessage(r, what));
    QString error;
    if (!ms.parse(r.body, &error))
        return fail(QStringLiteral("unverständliche Antwort des Servers '%1' (%2)")
                        .arg(m_http->hostText(), error));
    return true;
}

bool CardDavBook::fail(const QString& reason)
{
    // The status line shows the start: what it means for the user comes first.
    m_note = QStringLiteral("Daten von '%1' evtl. veraltet: %2").arg(m_displayName, reason);
    VuLog(LogLevel::Warning, m_note);
    return false;
}

void CardDavBook::refresh()
{
    if (m_lastAttempt.isValid()) {
        const int wait = m_note.isEmpty() ? m_settings.freshForMs : m_settings.retryAfterFailureMs;
        if (m_lastAttempt.elapsed() < wait)
            return;
    }
    sync();
}

bool CardDavBook::sync()
{
    m_lastAttempt.start();
    m_stats = Stats();
    // The user may have cleared the cache folder meanwhile.
    QDir().mkpath(m_cache.dir());
    if (!m_loaded) {
        m_cache.load();
        m_loaded = true;
    }
    // A server like Radicale reads every card of the book for its ctag, and once more for its
    // sync-token, but only looks at file times for getlastmodified. So: a trustworthy
    // last-modified time first; else the ctag alone when the cache has one (a changed book's
    // new token comes with its changes); else ctag and token.
    CardDavMultiStatus::Response book;
    QByteArray date;
    if (m_cache.complete && lastModifiedTells(m_cache.lastModified, m_cache.lastModifiedSeen)) {
        if (!probe(kLastModifiedBody, book, date))
            return false;
        if (book.text(CardDavMultiStatus::dav("getlastmodified")).trimmed() ==
            m_cache.lastModified) {
            m_stats.unchanged = true;
            m_stats.byLastModified = true;
            m_note.clear();
            return true;
        }
    }
    const bool ctagOnly = m_cache.complete && !m_cache.ctag.isEmpty();
    if (!probe(ctagOnly ? kCtagBody : kProbeBody, book, date))
        return false;
    const QString lastModified = book.text(CardDavMultiStatus::dav("getlastmodified")).trimmed();
    const QString ctag = book.text(CardDavMultiStatus::calendarServer("getctag")).trimmed();
    const QString token =
        ctagOnly ? m_cache.syncToken : book.text(CardDavMultiStatus::dav("sync-token")).trimmed();
    if (m_cache.complete && (!ctag.isEmpty() || !token.isEmpty()) && ctag == m_cache.ctag &&
        token == m_cache.syncToken) {
        m_stats.unchanged = true;
        // Kept once it can tell "unchanged" by itself (see lastModifiedTells).
        if (m_cache.lastModified != lastModified ||
            !lastModifiedTells(m_cache.lastModified, m_cache.lastModifiedSeen)) {
            m_cache.lastModified = lastModified;
            m_cache.lastModifiedSeen = QString::fromLatin1(date);
            m_cache.save();
        }
        m_note.clear();
        return true;
    }

    QHash<QString, QByteArray> listed;
    QStringList deleted;
    bool full = false;
    QString newToken;
    if (!listChanges(token, listed, deleted, full, newToken))
        return false;
    QStringList changed;
    for (auto it = listed.cbegin(); it != listed.cend(); ++it) {
        const auto cached = m_cache.cards().constFind(it.key());
        if (cached == m_cache.cards().cend() || cached->etag != it.value() || it.value().isEmpty())
            changed.append(it.key());
    }
    if (full) {
        for (auto it = m_cache.cards().cbegin(); it != m_cache.cards().cend(); ++it)
            if (!listed.contains(it.key()))
                deleted.append(it.key());
    }
    const bool fetched = fetch(changed, listed, deleted);
    for (const QString& href : std::as_const(deleted)) {
        if (m_cache.cards().contains(href))
            ++m_stats.deleted;
        m_cache.remove(href);
    }
    if (full)
        m_cache.removeStrays();
    // A card that could not be taken is fetched again next time: the book then counts as
    // changed and, without a token, is listed in full.
    const bool whole = fetched && m_stats.broken == 0;
    m_cache.ctag = whole ? ctag : QString();
    m_cache.syncToken = whole ? newToken : QString();
    m_cache.lastModified = whole ? lastModified : QString();
    m_cache.lastModifiedSeen = QString::fromLatin1(date);
    m_cache.complete = true;
    QString error;
    if (!m_cache.save(&error))
        return fail(QStringLiteral("Der Zwischenspeicher '%1' kann nicht geschrieben werden (%2).")
                        .arg(m_cache.dir(), error));
    if (!fetched)
        return false;
    if (m_stats.broken > 0) {
        m_note =
            QStringLiteral("Der Server '%1' hat %2 fehlerhafte Kontakte in '%3' geliefert; sie "
                           "fehlen in der Trefferliste.")
                .arg(m_http->hostText())
                .arg(m_stats.broken)
                .arg(m_displayName);
        VuLog(LogLevel::Warning, m_note);
        return true;
    }
    m_note.clear();
    return true;
}

bool CardDavBook::listChanges(const QString& serverToken, QHash<QString, QByteArray>& listed,
                              QStringList& deleted, bool& full, QString& newToken)
{
    const QString what = QStringLiteral("das Adressbuch '%1'").arg(m_displayName);
    const QString self = m_url.path(QUrl::FullyEncoded);
    if (m_settings.useSyncCollection && !serverToken.isEmpty()) {
        m_stats.usedSyncCollection = true;
        QString from = m_cache.complete ? m_cache.syncToken : QString();
        for (int attempt = 0; attempt < 2; ++attempt) {
            const QByteArray body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
                                    "<d:sync-collection xmlns:d=\"DAV:\"><d:sync-token>" +
                                    xmlText(from) +
                                    "</d:sync-token><d:sync-level>1</d:sync-level>"
                                    "<d:prop><d:getetag/></d:prop></d:sync-collection>";
            const CardDavHttp::Reply r = m_http->send("REPORT", m_url, body);
            // A token the server no longer knows: start over with the whole book.
            if (!from.isEmpty() && (r.status == 403 || r.status == 409 || r.status == 400)) {
                from.clear();
                continue;
            }
            CardDavMultiStatus ms;
            if (!parsed(r, what, ms))
                return false;
            for (const auto& resp : ms.responses()) {
                const QString href = hrefKey(resp.href);
                if (href == self || href.endsWith(u'/'))
                    continue;
                if (resp.status == 404 || resp.status == 410)
                    deleted.append(href);
                else if (resp.has(CardDavMultiStatus::dav("getetag")))
                    listed.insert(href, resp.text(CardDavMultiStatus::dav("getetag")).toUtf8());
            }
            full = from.isEmpty();
            newToken = ms.syncToken();
            return true;
        }
        return fail(m_http->statusMessage(CardDavHttp::Reply{409, {}, {}, {}, {}}, what));
    }
    const CardDavHttp::Reply r = m_http->send("PROPFIND", m_url, kEtagBody, {{"Depth", "1"}});
    CardDavMultiStatus ms;
    if (!parsed(r, what, ms))
        return false;
    for (const auto& resp : ms.responses()) {
        const QString href = hrefKey(resp.href);
        const bool collection = resp.props.value(CardDavMultiStatus::dav("resourcetype"))
                                    .children.contains(CardDavMultiStatus::dav("collection"));
        if (href == self || collection || href.endsWith(u'/'))
            continue;
        listed.insert(href, resp.text(CardDavMultiStatus::dav("getetag")).toUtf8());
    }
    full = true;
    newToken = serverToken;
    return true;
}

bool CardDavBook::fetch(const QStringList& hrefs, const QHash<QString, QByteArray>& etags,
                        QStringList& deleted)
{
    const QString what = QStringLiteral("die Kontakte von '%1'").arg(m_displayName);
    const int batch = qMax(1, m_settings.multigetBatch);
    for (qsizetype start = 0; start < hrefs.size(); start += batch) {
        QByteArray body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
                          "<c:addressbook-multiget xmlns:d=\"DAV:\" "
                          "xmlns:c=\"urn:ietf:params:xml:ns:carddav\">"
                          "<d:prop><d:getetag/><c:address-data/></d:prop>";
        for (qsizetype i = start; i < hrefs.size() && i < start + batch; ++i)
            body += "<d:href>" + xmlText(hrefs[i]) + "</d:href>";
        body += "</c:addressbook-multiget>";
        const CardDavHttp::Reply r = m_http->send("REPORT", m_url, body, {{"Depth", "1"}});
        CardDavMultiStatus ms;
        if (!parsed(r, what, ms))
            return false;
        for (const auto& resp : ms.responses()) {
            const QString href = hrefKey(resp.href);
            if (resp.status == 404 || resp.status == 410) {
                deleted.append(href);
                continue;
            }
            const QByteArray data = resp.text(CardDavMultiStatus::card("address-data")).toUtf8();
            QList<VCardReader::Issue> issues;
            const QList<VCardReader::Chunk> chunks =
                VCardReader::split(VCardReader::normalizeEncoding(data), &issues);
            if (chunks.size() != 1 || !issues.isEmpty()) {
                ++m_stats.broken;
                VuLog(LogLevel::Warning,
                      QStringLiteral("Fehlerhafter Kontakt '%1' vom Server '%2': %3")
                          .arg(href, m_http->hostText(),
                               issues.isEmpty() ? QStringLiteral("keine oder mehrere Karten")
                                                : issues.first().message));
                continue;
            }
            QByteArray etag = resp.text(CardDavMultiStatus::dav("getetag")).toUtf8();
            if (etag.isEmpty())
                etag = etags.value(href);
            QString error;
            if (m_cache.put(href, data, etag, &error).isEmpty())
                return fail(QStringLiteral("Der Zwischenspeicher '%1' kann nicht geschrieben "
                                           "werden (%2).")
                                .arg(m_cache.dir(), error));
            ++m_stats.fetched;
        }
    }
    return true;
}

OlItem CardDavBook::addContact(ContactItem contact, const QString& folderPath)
{
    if (!m_loaded) {
        m_cache.load();
        m_loaded = true;
    }
    contact.ensureUid();
    const QByteArray bytes = VCardWriter::write(contact.card());
    const VCardProperty* uidLine = contact.card().find("UID");
    QString uid = uidLine ? uidLine->text().trimmed() : QString();
    if (uid.startsWith(QLatin1String("urn:uuid:")))
        uid = uid.mid(9);
    const QString name = CardDavBookCache::safeName(uid, uid, 80) + QStringLiteral(".vcf");
    QUrl target = m_url;
    QString path = target.path(QUrl::FullyEncoded);
    if (!path.endsWith(u'/'))
        path += u'/';
    target.setPath(path + name, QUrl::StrictMode);

    const CardDavHttp::Reply r =
        m_http->send("PUT", target, bytes,
                     {{"If-None-Match", "*"}, {"Content-Type", "text/vcard; charset=utf-8"}});
    if (!r.ok()) {
        QString reason;
        if (r.status == 412 || r.status == 409)
            reason = QStringLiteral("Auf dem Server '%1' gibt es diesen Kontakt in '%2' schon; er "
                                    "wurde nicht überschrieben (%3).")
                         .arg(m_http->hostText(), m_displayName)
                         .arg(r.status);
        else
            reason = m_http->statusMessage(
                r, QStringLiteral("das Speichern in '%1'").arg(m_displayName));
        // Nothing the user typed is lost: the card waits in a folder of its own.
        const QString keep = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                             QStringLiteral("/Zettelwerk/Nicht gesendet");
        QDir().mkpath(keep);
        QString kept = keep + QLatin1Char('/') + name;
        for (int n = 2; QFile::exists(kept); ++n)
            kept = keep + QStringLiteral("/%1 (%2).vcf").arg(name.chopped(4)).arg(n);
        QSaveFile f(kept);
        const bool saved =
            f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size() && f.commit();
        throw ZwError(
            75,
            QStringLiteral("Der Kontakt kann nicht im Ordner '%1' gespeichert werden: %2")
                    .arg(folderPath, reason) +
                (saved ? QStringLiteral(" Er wurde unter '%1' gesichert.").arg(kept) : QString()),
            QStringLiteral("AddItem"));
    }
    const QString href = target.path(QUrl::FullyEncoded);
    QString error;
    // A weak or missing ETag says nothing about the stored bytes: the next sync fetches it.
    const QByteArray etag = r.etag.startsWith("W/") ? QByteArray() : r.etag;
    const QString file = m_cache.put(href, bytes, etag, &error);
    // The book changed; its ctag no longer matches the cache.
    m_cache.ctag.clear();
    if (file.isEmpty() || !m_cache.save(&error)) {
        throw ZwError(75,
                      QStringLiteral("Der Kontakt wurde auf dem Server gespeichert, aber nicht im "
                                     "Zwischenspeicher '%1' (%2).")
                          .arg(m_cache.dir(), error),
                      QStringLiteral("AddItem"));
    }
    const VCardReader::Result back = VCardReader::readFile(file);
    if (back.cards.isEmpty())
        throw ZwError(75, QStringLiteral("Die geschriebene Datei '%1' ist nicht lesbar.").arg(file),
                      QStringLiteral("AddItem"));
    return OlItem(ContactItem(back.cards.first(),
                              folderPath + QLatin1Char('\\') + QFileInfo(file).fileName(), 0),
                  file);
}
