#pragma once

#include "contacts/ContactItem.h"

#include <QString>
#include <QVariant>
#include <optional>

// One item of a folder or of the active inspector, as Outlook hands it out: it has a
// MessageClass, and only an item of class "IPM.Contact" is a contact.
//
//  - "IPM.Contact": a vCard of a person or organisation;
//  - "IPM.DistList": a vCard group (4.0 KIND:group, Apple's X-ADDRESSBOOKSERVER-KIND:group);
//  - "IPM.Appointment": a calendar file handed over as the open item;
//  - "IPM.Note": anything else handed over (a text file, an unreadable file).
class OlItem
{
public:
    OlItem() = default;
    // A vCard item; its class follows the card's kind.
    explicit OlItem(ContactItem item, QString filePath = QString());
    // An item that is not a vCard.
    static OlItem other(QString messageClass, QString filePath, QString subject);

    // The class of the card: "IPM.DistList" for a group, else "IPM.Contact".
    static QString messageClassOf(const VCard& card);

    const QString& MessageClass() const { return m_messageClass; }
    bool isContact() const { return m_messageClass == QLatin1String("IPM.Contact"); }
    QString EntryID() const;
    // The display name: FileAs of a contact or group, the file name of anything else.
    QString Subject() const;
    // A property by its Outlook name; invalid for a name the item does not have. Every item
    // has MessageClass, Subject and EntryID; only a contact has the contact's properties.
    QVariant value(QStringView propertyName) const;

    // The card behind a vCard item (contact or group); nullptr for other items.
    const ContactItem* contact() const { return m_contact ? &*m_contact : nullptr; }
    ContactItem* contact() { return m_contact ? &*m_contact : nullptr; }
    // The file the item was read from ("" for a new item).
    const QString& filePath() const { return m_filePath; }

private:
    QString m_messageClass;
    std::optional<ContactItem> m_contact;
    QString m_filePath;
    QString m_subject;
};
