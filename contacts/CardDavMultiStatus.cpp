#include "contacts/CardDavMultiStatus.h"

#include <QXmlStreamReader>

namespace
{

QString nameOf(const QXmlStreamReader& xml)
{
    return QLatin1Char('{') + xml.namespaceUri().toString() + QLatin1Char('}') +
           xml.name().toString();
}

} // namespace

int CardDavMultiStatus::statusCode(const QString& statusLine)
{
    const QStringList parts = statusLine.simplified().split(QLatin1Char(' '));
    return parts.size() >= 2 ? parts[1].toInt() : 0;
}

bool CardDavMultiStatus::parse(const QByteArray& bytes, QString* error)
{
    m_responses.clear();
    m_syncToken.clear();
    QXmlStreamReader xml(bytes);
    // The path of open elements below <multistatus>, as names.
    QStringList open;
    Response response;
    QHash<QString, Property> propstat;
    int propstatStatus = 0;
    QString propName;
    Property prop;
    bool sawMultistatus = false;

    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType t = xml.readNext();
        if (t == QXmlStreamReader::StartElement) {
            const QString name = nameOf(xml);
            if (open.isEmpty()) {
                if (name != dav("multistatus"))
                    break;
                sawMultistatus = true;
            }
            open.append(name);
            const qsizetype depth = open.size();
            if (depth == 2 && name == dav("response")) {
                response = Response();
            } else if (depth == 3 && name == dav("propstat") && open[1] == dav("response")) {
                propstat.clear();
                propstatStatus = 0;
            } else if (depth == 5 && open[3] == dav("prop")) {
                propName = name;
                prop = Property();
            } else if (depth == 6 && !propName.isEmpty()) {
                prop.children.append(name);
            }
        } else if (t == QXmlStreamReader::Characters) {
            const qsizetype depth = open.size();
            if (depth >= 5 && !propName.isEmpty()) {
                if (depth == 5)
                    prop.text += xml.text();
                else if (depth == 7 && open.last() == dav("href"))
                    prop.hrefs.last() += xml.text().trimmed();
                else if (depth == 6 && open.last() == dav("href"))
                    prop.hrefs.last() += xml.text().trimmed();
            } else if (depth == 3 && open[1] == dav("response")) {
                if (open[2] == dav("href"))
                    response.href += xml.text().trimmed();
                else if (open[2] == dav("status"))
                    response.status = statusCode(xml.text().toString());
            } else if (depth == 4 && open[2] == dav("propstat") && open[3] == dav("status")) {
                propstatStatus = statusCode(xml.text().toString());
            } else if (depth == 2 && open[1] == dav("sync-token")) {
                m_syncToken += xml.text().trimmed();
            }
        } else if (t == QXmlStreamReader::EndElement) {
            if (open.isEmpty())
                break;
            const qsizetype depth = open.size();
            const QString name = open.takeLast();
            if (depth == 2 && name == dav("response")) {
                m_responses.append(response);
            } else if (depth == 3 && name == dav("propstat")) {
                if (propstatStatus >= 200 && propstatStatus < 300)
                    response.props.insert(propstat);
            } else if (depth == 5 && !propName.isEmpty()) {
                propstat.insert(propName, prop);
                propName.clear();
            }
        }
        // An <href> starts an entry in the property's href list.
        if (t == QXmlStreamReader::StartElement && !propName.isEmpty() && open.size() >= 6 &&
            open.last() == dav("href"))
            prop.hrefs.append(QString());
    }
    if (xml.hasError() || !sawMultistatus) {
        if (error) {
            *error = sawMultistatus ? QStringLiteral("ungültiges XML (%1, Zeile %2)")
                                          .arg(xml.errorString())
                                          .arg(xml.lineNumber())
                                    : QStringLiteral("keine WebDAV-Antwort (multistatus)");
        }
        m_responses.clear();
        return false;
    }
    return true;
}
