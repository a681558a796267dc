#pragma once

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

// The local copy of one address book: a folder of vCard files, one per card on the server,
// plus a metadata file with the book's address, ctag, sync-token and each card's href, file
// name and ETag. The folder is an ordinary contact folder, so the folder code searches it.
//
// File names come from the href's last segment, reduced to characters every file system
// takes; a name that had to be changed, or that another card holds already (also without
// regard to case), gets a short hash of the href, so two hrefs never share a file.
// Every file is written to a temporary name and renamed; the metadata last.
class CardDavBookCache
{
public:
    struct Card {
        QString file;
        QByteArray etag;
    };

    explicit CardDavBookCache(QString dir);

    // Reads the metadata; a missing or broken file gives an empty cache (the next sync
    // fetches everything again).
    void load();
    // Writes the metadata and the folder's class file. False with `error` on failure.
    bool save(QString* error = nullptr) const;

    const QString& dir() const { return m_dir; }
    QString href;
    QString displayName;
    QString ctag;
    QString syncToken;
    // The book's getlastmodified and the server's clock when it was read (HTTP dates).
    QString lastModified;
    QString lastModifiedSeen;
    // True once a sync finished: an empty card list then means an empty book.
    bool complete = false;
    const QHash<QString, Card>& cards() const { return m_cards; }

    // Writes (or replaces) the card of `href`; returns the file path, empty with `error`.
    QString put(const QString& href, const QByteArray& vcard, const QByteArray& etag,
                QString* error = nullptr);
    void remove(const QString& href);
    // Deletes vCard files that no card of the metadata names (left by a sync that broke off).
    void removeStrays();

    static QString metadataFileName() { return QStringLiteral(".zettelwerk-carddav.json"); }
    // A name safe on every file system, from a server's name; `hashOf` added when changed.
    static QString safeName(const QString& name, const QString& hashOf, int maxLength = 60);

private:
    QString fileNameFor(const QString& href) const;

    QString m_dir;
    QHash<QString, Card> m_cards;
    QSet<QString> m_fileNames; // lower case, for names that differ only in case
};
