#pragma once

#include "contacts/CardDavBook.h"
#include "contacts/CardDavHttp.h"
#include "contacts/CardDavSettings.h"
#include "contacts/OlFolder.h"

#include <QList>
#include <QString>
#include <QUrl>
#include <memory>

// The address books of one CardDAV server, found from the address the user gave: the
// server's root, a principal or an address-book home (RFC 6764 /.well-known/carddav, then
// current-user-principal and addressbook-home-set, RFC 6352), a user name optionally in the
// address ("https://anna@host/"). A password in the address is never used.
//
// Each book becomes a contact folder named by its display name (else its last path
// segment) whose files are the book's local copy. The books found are remembered in the
// cache, so that the folders are there also when the server is not.
class CardDavAccount
{
public:
    CardDavAccount(const QString& address, CardDavSettings settings);

    // True for an http:// or https:// address.
    static bool isServerAddress(const QString& address);

    // Finds the books now. False with a German reason (the books of the last discovery
    // stay).
    bool discover(QString* reason = nullptr);
    // The folders of the books below `parentPath`; discovers once per session, and from the
    // cache's list when the server cannot be asked. Throws ZwError (75) when there is
    // neither.
    QList<std::shared_ptr<OlFolder>> folders(const QString& parentPath);

    const QList<std::shared_ptr<CardDavBook>>& books() const { return m_books; }
    // The folder of this account's cache.
    const QString& cacheDir() const { return m_cacheDir; }
    // Empty, or why the list of books may be old.
    const QString& discoveryNote() const { return m_note; }

private:
    void setBooks(const QList<std::pair<QUrl, QString>>& found);
    bool loadBookList();
    void saveBookList() const;

    CardDavSettings m_settings;
    QUrl m_server;
    std::shared_ptr<CardDavHttp> m_http;
    QString m_cacheDir;
    bool m_discovered = false;
    QString m_note;
    QList<std::shared_ptr<CardDavBook>> m_books;
    QList<std::shared_ptr<OlFolder>> m_folders; // same order as m_books
    QList<std::pair<QUrl, QString>> m_found;    // the books as the server named them
    QString m_parentPath;
};
