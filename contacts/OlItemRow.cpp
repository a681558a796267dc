#include "contacts/OlItemRow.h"

#include "contacts/VCardReader.h"

namespace
{

constexpr char kDistList = 1;

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

QByteArrayView takeText(QByteArrayView packed, qsizetype& pos)
{
    quint32 n = 0;
    for (int shift = 0;; shift += 7) {
        const uchar b = uchar(packed[pos++]);
        n |= quint32(b & 0x7F) << shift;
        if (!(b & 0x80))
            break;
    }
    const QByteArrayView text = packed.sliced(pos, n);
    pos += n;
    return text;
}

} // namespace

OlItemRow OlItemRow::of(const OlItem& item)
{
    OlItemRow row;
    row.messageClass = item.MessageClass();
    row.fileAs = item.value(u"FileAs").toString();
    row.lastName = item.value(u"LastName").toString();
    row.firstName = item.value(u"FirstName").toString();
    row.companyName = item.value(u"CompanyName").toString();
    row.entryId = item.EntryID();
    return row;
}

OlItemRow OlItemRow::read(QByteArrayView card, const QString& location, int index)
{
    // Every line these values are derived from: the name and organisation, the file-as
    // lines, Apple's company mark, FN and EMAIL (the last resorts of the file-as name), the
    // UID and the kind of card.
    const VCard lines = VCardReader::parseOnly(
        card, {"N", "ORG", "FN", "EMAIL", "UID", "X-ZETTELWERK-FILE-AS", "X-EVOLUTION-FILE-AS",
               "X-ABSHOWAS", "X-ABSHOWAS-ABSHOWAS", "KIND", "X-ADDRESSBOOKSERVER-KIND"});
    const ContactItem contact(lines, location, index);
    OlItemRow row;
    row.messageClass = OlItem::messageClassOf(lines);
    row.entryId = contact.entryId();
    if (!row.isContact())
        return row; // a group has no names (OlItem::value)
    ContactItem::Names names = contact.names();
    row.fileAs = std::move(names.fileAs);
    row.lastName = std::move(names.lastName);
    row.firstName = std::move(names.firstName);
    row.companyName = std::move(names.companyName);
    return row;
}

void OlItemRow::packTo(QByteArray& out) const
{
    out.append(isContact() ? char(0) : kDistList);
    for (const QString* text : {&fileAs, &lastName, &firstName, &companyName, &entryId})
        putText(out, *text);
}

OlItemRow OlItemRow::unpack(QByteArrayView packed, qsizetype& pos)
{
    OlItemRow row;
    row.messageClass =
        packed[pos++] == kDistList ? QStringLiteral("IPM.DistList") : QStringLiteral("IPM.Contact");
    for (QString* text :
         {&row.fileAs, &row.lastName, &row.firstName, &row.companyName, &row.entryId})
        *text = QString::fromUtf8(takeText(packed, pos));
    return row;
}

void OlItemRow::skip(QByteArrayView packed, qsizetype& pos)
{
    ++pos;
    for (int i = 0; i < 5; ++i)
        takeText(packed, pos);
}
