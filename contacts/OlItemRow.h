#pragma once

#include "contacts/OlItem.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

// The few values a list of found items shows for one item: its file-as name, last name,
// first name, company, EntryID and class. Read from a card's bytes by decoding only the
// lines these values come from, so that a folder of many thousand cards can be listed
// without parsing every card; the values are exactly those the full item gives
// (OlItem::value), including Outlook's default file-as name.
//
// A distribution list has none of a contact's properties: its name fields are empty.
class OlItemRow
{
public:
    QString messageClass;
    QString fileAs;
    QString lastName;
    QString firstName;
    QString companyName;
    QString entryId;

    bool isContact() const { return messageClass == QLatin1String("IPM.Contact"); }

    // The row of a full item.
    static OlItemRow of(const OlItem& item);
    // The row of one card (bytes as VCardReader::split gives them); `location` and `index`
    // make the EntryID of a card without UID, as for ContactItem.
    static OlItemRow read(QByteArrayView card, const QString& location, int index);
};
