#pragma once

#include "contacts/CardDavBookCache.h"
#include "contacts/CardDavHttp.h"
#include "contacts/CardDavMultiStatus.h"
#include "contacts/OlFolderRemote.h"

#include <QElapsedTimer>
#include <QUrl>
#include <memory>

// One address book on a CardDAV server, kept in a local folder (CardDavBookCache).
//
// A sync asks the book's ctag and sync-token first, with the short time limit for an
// answer; an unchanged ctag ends it there. Otherwise the changes come from sync-collection
// (RFC 6578) where the book has a sync-token, else from comparing the ETags of a PROPFIND;
// new and changed cards are fetched with addressbook-multiget in batches. A failure keeps
// the cache as it was and leaves a note that its data may be old.
class CardDavBook : public OlFolderRemote
{
public:
    struct Stats {
        int fetched = 0;
        int deleted = 0;
        int broken = 0;
        bool unchanged = false;
        bool byLastModified = false; // told by getlastmodified alone
        bool usedSyncCollection = false;
    };

    CardDavBook(std::shared_ptr<CardDavHttp> http, const CardDavSettings& settings, QUrl url,
                QString displayName, QString cacheDir);

    // Syncs now, whatever the time since the last one. False when the server could not be
    // brought in (see staleNote()).
    bool sync();

    void refresh() override;
    QString staleNote() const override { return m_note; }
    OlItem addContact(ContactItem contact, const QString& folderPath) override;

    const QUrl& url() const { return m_url; }
    const QString& displayName() const { return m_displayName; }
    const QString& cacheDir() const { return m_cache.dir(); }
    const Stats& lastStats() const { return m_stats; }
    // True when the server said the book is gone (404); the cache is still searched.
    bool vanished() const { return m_vanished; }

private:
    bool fail(const QString& reason);
    // PROPFIND Depth 0 on the book; false (after fail()) when it is gone or does not answer
    // within the short limit. `date` receives the server's Date header.
    bool probe(const QByteArray& body, CardDavMultiStatus::Response& book, QByteArray& date);
    // The answer as multistatus; false (after fail()) for an error or an unreadable answer.
    bool parsed(const CardDavHttp::Reply& r, const QString& what, CardDavMultiStatus& ms);
    // Cards of the book on the server (href -> ETag) and deleted hrefs; false on failure.
    bool listChanges(const QString& serverToken, QHash<QString, QByteArray>& listed,
                     QStringList& deleted, bool& full, QString& newToken);
    bool fetch(const QStringList& hrefs, const QHash<QString, QByteArray>& etags,
               QStringList& deleted);
    QString hrefKey(const QString& href) const;

    std::shared_ptr<CardDavHttp> m_http;
    CardDavSettings m_settings;
    QUrl m_url;
    QString m_displayName;
    CardDavBookCache m_cache;
    bool m_loaded = false;
    bool m_vanished = false;
    QString m_note;
    Stats m_stats;
    QElapsedTimer m_lastAttempt;
};
