#pragma once

#include <QString>
#include <functional>
#include <optional>

// A user name and password for a CardDAV server.
struct CardDavLogin {
    QString user;
    QString password;
};

// What the program tells the user when it asks for a login.
struct CardDavLoginRequest {
    QString host;        // "dav.example.org"
    QString user;        // from the address or an earlier answer; may be empty
    bool failed = false; // the last login was refused by the server
};

// How the CardDAV address books behind "Öffentliche Ordner" are reached and cached.
struct CardDavSettings {
    // One folder per server account below it; empty: the user's cache folder + "/carddav".
    QString cacheDir;
    // Asks the user (dialog) or the caller (password file) for a login; none: cancelled.
    std::function<std::optional<CardDavLogin>(const CardDavLoginRequest&)> askLogin;
    // Keep passwords in the desktop's secret store; off: for this session only.
    bool useKeychain = true;
    // A login that askLogin gave and the server took is kept there (off: a password file
    // stays the only place of the password).
    bool keepLogins = true;
    // A search waits this long for the server's first answer before it searches the cache.
    int answerWithinMs = 3000;
    // Limit of every further request of a sync, discovery or upload.
    int requestTimeoutMs = 30000;
    // A response larger than this is refused.
    qint64 maxResponseBytes = 64ll * 1024 * 1024;
    // A book synced this recently is not asked again (item walks call Items() often).
    int freshForMs = 2000;
    // After a failed attempt the cache is used without asking again for this long.
    int retryAfterFailureMs = 30000;
    // RFC 6578 where the server offers it; off: ETag comparison always.
    bool useSyncCollection = true;
    // Cards per addressbook-multiget.
    int multigetBatch = 250;
};
