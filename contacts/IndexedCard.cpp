#include "contacts/IndexedCard.h"

#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"

namespace
{

void putText(QByteArray& out, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    quint32 n = quint32(utf8.size());
    while (n >= 0x80) { // variable-length size: short texts cost one byte
        out.append(char(0x80 | (n & 0x7F)));
        n >>= 7;
    }
    out.append(char(n));
    out.append(utf8);
}

// The text at `pos`, moving past it; false when the bytes end first.
bool takeText(QByteArrayView bytes, qsizetype& pos, QByteArrayView* text)
{
    quint32 n = 0;
    for (int shift = 0;; shift += 7) {
        if (pos >= bytes.size() || shift > 28)
            return false;
        const uchar b = uchar(bytes[pos++]);
        n |= quint32(b & 0x7F) << shift;
        if (!(b & 0x80))
            break;
    }
    if (qsizetype(n) > bytes.size() - pos)
        return false;
    if (text)
        *text = bytes.sliced(pos, n);
    pos += n;
    return true;
}

int ownTexts(quint8 flags)
{
    int n = 0;
    for (quint8 bit = 4; bit <= 32; bit <<= 1)
        n += (flags & bit) ? 1 : 0;
    return n;
}

// Fast test before peeking at KIND: most cards do not mention it at all.
bool mayBeGroup(QByteArrayView card)
{
    static const QByteArrayView kind("KIND");
    for (qsizetype i = 0; i + kind.size() <= card.size(); ++i) {
        const char c = card[i];
        if ((c == 'K' || c == 'k') &&
            card.sliced(i, kind.size()).compare(kind, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

} // namespace

bool IndexedCard::isGroupCard(QByteArrayView card)
{
    if (!mayBeGroup(card))
        return false;
    for (const char* name : {"KIND", "X-ADDRESSBOOKSERVER-KIND"}) {
        const auto p = VCardReader::peek(card, name);
        if (p && p->text().trimmed().compare(u"group", Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void IndexedCard::pack(QByteArrayView card, const QString& location, int index, QByteArray& out)
{
    const OlItemRow row = OlItemRow::read(card, location, index);
    quint8 flags = row.isContact() ? 0 : kDistList;
    // What the folder's filter path compares, read the way it reads it.
    QString own[4];
    if (isGroupCard(card)) {
        flags |= kGroup;
    } else {
        const auto n = VCardReader::peek(card, "N");
        const auto org = VCardReader::peek(card, "ORG");
        const QString nValue = n ? n->value : QString();
        own[0] = OlFilter::componentValue(OlFilter::Source::NamePart, 0, nValue);
        own[1] = OlFilter::componentValue(OlFilter::Source::NamePart, 1, nValue);
        own[2] =
            OlFilter::componentValue(OlFilter::Source::OrgPart, 0, org ? org->value : QString());
        own[3] = row.isContact() ? row.fileAs
                                 : ContactItem(VCardReader::parse(card), location, index)
                                       .value(u"FileAs")
                                       .toString();
        const QString* shown[4] = {&row.lastName, &row.firstName, &row.companyName, &row.fileAs};
        for (int i = 0; i < 4; ++i) {
            if (own[i] != *shown[i])
                flags |= quint8(kOwnLast << i);
        }
    }
    out.append(char(flags));
    for (const QString* t :
         {&row.fileAs, &row.lastName, &row.firstName, &row.companyName, &row.entryId})
        putText(out, *t);
    for (int i = 0; i < 4; ++i) {
        if (flags & (kOwnLast << i))
            putText(out, own[i]);
    }
}

bool IndexedCard::valid(QByteArrayView records, quint32 count)
{
    qsizetype pos = 0;
    for (quint32 c = 0; c < count; ++c) {
        if (pos >= records.size())
            return false;
        const quint8 flags = quint8(records[pos++]);
        if (flags > 63)
            return false;
        for (int t = 0; t < FieldCount + ownTexts(flags); ++t) {
            if (!takeText(records, pos, nullptr))
                return false;
        }
    }
    return pos == records.size();
}

void IndexedCard::skip(QByteArrayView records, qsizetype& pos)
{
    const quint8 flags = quint8(records[pos++]);
    for (int t = 0; t < FieldCount + ownTexts(flags); ++t)
        takeText(records, pos, nullptr);
}

IndexedCard::IndexedCard(QByteArrayView records, qsizetype& pos)
{
    m_flags = quint8(records[pos++]);
    for (QByteArrayView& t : m_text)
        takeText(records, pos, &t);
    for (int i = 0; i < 4; ++i) {
        if (m_flags & (kOwnLast << i))
            takeText(records, pos, &m_own[i]);
    }
}

OlItemRow IndexedCard::row() const
{
    OlItemRow row;
    row.messageClass =
        (m_flags & kDistList) ? QStringLiteral("IPM.DistList") : QStringLiteral("IPM.Contact");
    row.fileAs = text(m_text[FileAs]);
    row.lastName = text(m_text[LastName]);
    row.firstName = text(m_text[FirstName]);
    row.companyName = text(m_text[CompanyName]);
    row.entryId = text(m_text[EntryId]);
    return row;
}

QByteArrayView IndexedCard::filterUtf8(Field field) const
{
    int own = -1;
    switch (field) {
    case LastName:
        own = 0;
        break;
    case FirstName:
        own = 1;
        break;
    case CompanyName:
        own = 2;
        break;
    case FileAs:
        own = 3;
        break;
    default:
        break;
    }
    if (own >= 0 && (m_flags & (kOwnLast << own)))
        return m_own[own];
    return m_text[field];
}

std::optional<IndexedCard::Field> IndexedCard::filterField(const OlFilter::Property& p)
{
    if (p.isUserProperty)
        return std::nullopt;
    if (p.source == OlFilter::Source::NamePart && p.component == 0)
        return LastName;
    if (p.source == OlFilter::Source::NamePart && p.component == 1)
        return FirstName;
    if (p.source == OlFilter::Source::OrgPart && p.component == 0)
        return CompanyName;
    if (p.source == OlFilter::Source::Item && p.name == QLatin1String("FileAs"))
        return FileAs;
    return std::nullopt;
}
