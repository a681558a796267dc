#include "contacts/CardDavBookCache.h"
#include "util/SystemErrorText.h"

#include "contacts/OlFolder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>
#include <QUrl>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{

QString shortHash(const QString& text)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1).toHex().left(10));
}

bool writeReplacing(const QString& path, const QByteArray& bytes, QString* error)
{
    // The cache can always be fetched again: no fsync, only a rename so that a reader never
    // sees half a card.
    const QString temp = path + QStringLiteral(".part");
    QFile f(temp);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size()) {
        if (error)
            *error = VuFileErrorText(f);
        f.remove();
        return false;
    }
    f.close();
    if (::rename(QFile::encodeName(temp).constData(), QFile::encodeName(path).constData()) != 0) {
        if (error)
            *error = QString::fromLocal8Bit(strerror(errno));
        QFile::remove(temp);
        return false;
    }
    return true;
}

} // namespace

CardDavBookCache::CardDavBookCache(QString dir) : m_dir(std::move(dir)) {}

QString CardDavBookCache::safeName(const QString& name, const QString& hashOf, int maxLength)
{
    QString safe;
    safe.reserve(name.size());
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        const bool plain = (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') ||
                           (u >= '0' && u <= '9') || u == '-' || u == '_' || u == '.' || u == '@' ||
                           u == '+';
        safe.append(plain ? c : QChar(u'_'));
    }
    while (safe.startsWith(u'.'))
        safe.remove(0, 1);
    const bool changed = safe != name || safe.isEmpty() || safe.size() > maxLength;
    if (!changed)
        return safe;
    safe.truncate(maxLength - 11);
    return safe + QLatin1Char('-') + shortHash(hashOf);
}

QString CardDavBookCache::fileNameFor(const QString& href) const
{
    const auto known = m_cards.constFind(href);
    if (known != m_cards.cend())
        return known->file;
    QString segment = href;
    while (segment.endsWith(u'/'))
        segment.chop(1);
    segment = QUrl::fromPercentEncoding(segment.mid(segment.lastIndexOf(u'/') + 1).toUtf8());
    QString stem = segment;
    if (stem.endsWith(QLatin1String(".vcf"), Qt::CaseInsensitive))
        stem.chop(4);
    QString name = safeName(stem, href) + QStringLiteral(".vcf");
    if (m_fileNames.contains(name.toLower()))
        name = safeName(stem + QStringLiteral("\x01"), href) + QStringLiteral(".vcf");
    return name;
}

void CardDavBookCache::load()
{
    m_cards.clear();
    m_fileNames.clear();
    complete = false;
    QFile f(m_dir + QLatin1Char('/') + metadataFileName());
    if (!f.open(QIODevice::ReadOnly))
        return;
    const QJsonObject o = QJsonDocument::fromJson(f.readAll()).object();
    href = o.value(u"href").toString(href);
    displayName = o.value(u"displayName").toString(displayName);
    ctag = o.value(u"ctag").toString();
    syncToken = o.value(u"syncToken").toString();
    lastModified = o.value(u"lastModified").toString();
    lastModifiedSeen = o.value(u"lastModifiedSeen").toString();
    complete = o.value(u"complete").toBool();
    const QJsonObject cards = o.value(u"cards").toObject();
    for (auto it = cards.begin(); it != cards.end(); ++it) {
        const QJsonArray a = it.value().toArray();
        const QString file = a.at(0).toString();
        if (!file.isEmpty() && !file.contains(u'/')) {
            m_cards.insert(it.key(), Card{file, a.at(1).toString().toUtf8()});
            m_fileNames.insert(file.toLower());
        }
    }
}

bool CardDavBookCache::save(QString* error) const
{
    QDir().mkpath(m_dir);
    QJsonObject cards;
    for (auto it = m_cards.cbegin(); it != m_cards.cend(); ++it)
        cards.insert(it.key(), QJsonArray{it->file, QString::fromUtf8(it->etag)});
    const QJsonObject o{
        {QStringLiteral("href"), href},         {QStringLiteral("displayName"), displayName},
        {QStringLiteral("ctag"), ctag},         {QStringLiteral("syncToken"), syncToken},
        {QStringLiteral("complete"), complete}, {QStringLiteral("cards"), cards}};
    QSaveFile f(m_dir + QLatin1Char('/') + metadataFileName());
    if (!f.open(QIODevice::WriteOnly) ||
        f.write(QJsonDocument(o).toJson(QJsonDocument::Compact)) < 0 || !f.commit()) {
        if (error)
            *error = VuFileErrorText(f);
        return false;
    }
    const QString classFile = m_dir + QLatin1Char('/') + OlFolder::metadataFileName();
    if (!QFile::exists(classFile))
        return writeReplacing(classFile, "MessageClass=IPM.Contact\n", error);
    return true;
}

QString CardDavBookCache::put(const QString& cardHref, const QByteArray& vcard,
                              const QByteArray& etag, QString* error)
{
    const QString name = fileNameFor(cardHref);
    const QString path = m_dir + QLatin1Char('/') + name;
    if (!writeReplacing(path, vcard, error))
        return QString();
    m_cards.insert(cardHref, Card{name, etag});
    m_fileNames.insert(name.toLower());
    return path;
}

void CardDavBookCache::remove(const QString& cardHref)
{
    const auto it = m_cards.constFind(cardHref);
    if (it == m_cards.cend())
        return;
    QFile::remove(m_dir + QLatin1Char('/') + it->file);
    m_fileNames.remove(it->file.toLower());
    m_cards.erase(it);
}

void CardDavBookCache::removeStrays()
{
    QSet<QString> known;
    for (const Card& c : m_cards)
        known.insert(c.file);
    const QStringList files = QDir(m_dir).entryList(QDir::Files | QDir::Hidden);
    for (const QString& f : files) {
        if ((f.endsWith(QLatin1String(".vcf")) && !known.contains(f)) ||
            f.endsWith(QLatin1String(".part")))
            QFile::remove(m_dir + QLatin1Char('/') + f);
    }
}
