#include "contacts/OlItemRow.h"

#include "contacts/VCardReader.h"

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
