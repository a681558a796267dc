#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

// A WebDAV multistatus answer (RFC 4918, 6352, 6578), reduced to what the client reads.
//
// Property names are "{namespace}local" ("{DAV:}getetag"). Only properties of a propstat
// with a 2xx status are kept: servers list the ones they lack under 404.
class CardDavMultiStatus
{
public:
    struct Property {
        QString text;         // the element's text (vCard data, ETag, display name)
        QStringList hrefs;    // the <href> elements inside (principal, home set)
        QStringList children; // names of the child elements (resourcetype)
    };
    struct Response {
        QString href;   // as sent: an absolute path, percent-encoded
        int status = 0; // the response's own status (0 when it has propstats instead)
        QHash<QString, Property> props;
        bool has(const QString& name) const { return props.contains(name); }
        QString text(const QString& name) const { return props.value(name).text; }
    };

    // False (with a German reason) when the answer is no multistatus XML.
    bool parse(const QByteArray& xml, QString* error = nullptr);

    const QList<Response>& responses() const { return m_responses; }
    // The <sync-token> of a sync-collection answer.
    const QString& syncToken() const { return m_syncToken; }

    static QString dav(const char* local)
    {
        return QStringLiteral("{DAV:}") + QLatin1String(local);
    }
    static QString card(const char* local)
    {
        return QStringLiteral("{urn:ietf:params:xml:ns:carddav}") + QLatin1String(local);
    }
    static QString calendarServer(const char* local)
    {
        return QStringLiteral("{http://calendarserver.org/ns/}") + QLatin1String(local);
    }
    // "HTTP/1.1 404 Not Found" -> 404; 0 when unreadable.
    static int statusCode(const QString& statusLine);

private:
    QList<Response> m_responses;
    QString m_syncToken;
};
