#pragma once

#include "contacts/ContactUserProperty.h"
#include "contacts/VCard.h"

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>

// One contact seen as an Outlook ContactItem: its properties under Outlook's names
// (FileAs, Title, FirstName, BusinessAddressStreet, Email1Address, ...) and its typed user
// properties, read from and written to a vCard (design/vcard-mapping.md).
//
// Reading: value("LastName") looks the name up without regard to case and returns
//  - QString for text properties (empty when the card has nothing),
//  - QDate for Birthday and Anniversary; an unset date is Outlook's 4501-01-01 (noDate()),
//    a date without a year has the year 1604 (Apple's convention),
//  - int for Gender (0 unspecified, 1 female, 2 male),
//  - QStringList for Categories,
//  - an invalid QVariant for a name this model does not know.
// Addresses are classified once into Business/Home/Other, telephone numbers into Outlook's
// classes (a number never appears under two properties), e-mail addresses and web pages by
// preference, then file order.
//
// Writing: setValue() edits the card in place: a value read from a vendor alias is written
// back to that same line, clearing a property deletes every alias of it, and a property
// without a standard vCard property goes to X-ZETTELWERK-<NAME>. Everything else in the card
// stays as it was. Write the result with VCardWriter::write(card()).
//
// EntryID (stable identity for the store layer):
//  - "UID:" + the card's UID when it has one (survives moving and re-ordering files; two
//    cards with the same UID in one folder have the same EntryID: the store must tell them
//    apart, for instance by keeping the first and reporting the others),
//  - else "LOC:" + 16 hex digits of SHA-1 over the location string the store passed in
//    (the file path, or a path relative to the store's root) + ":" + the card's 0-based index
//    in that file. Such an id is stable while the file is not re-ordered; ensureUid() gives
//    the card a UID before it is saved, after which the EntryID is UID-based.
//  - "" for a card without UID and without location.
class ContactItem
{
public:
    // A new contact: an empty 3.0 card with a fresh UID.
    ContactItem();
    // A contact read from a file: `location` and `index` feed the EntryID of a card
    // without UID.
    explicit ContactItem(VCard card, QString location = QString(), int index = -1);

    // The Outlook property names this model knows (FileAs, Title, ..., EntryID).
    static const QStringList& propertyNames();
    static bool isKnownProperty(QStringView name);
    // Outlook's value for "no date".
    static QDate noDate() { return QDate(4501, 1, 1); }

    QVariant value(QStringView propertyName) const;
    // False for an unknown or read-only name (EntryID, MessageClass). An empty or invalid
    // value (empty text, noDate(), Gender 0, empty list) clears the property.
    bool setValue(QStringView propertyName, const QVariant& value);

    // The names a list of contacts shows, read in one go; each equals value() of that name
    // (FileAs, LastName, FirstName, CompanyName).
    struct Names {
        QString fileAs;
        QString lastName;
        QString firstName;
        QString companyName;
    };
    Names names() const;

    QString entryId() const;
    static QString entryIdForLocation(const QString& location, int index);
    // Adds a UID (bare UUID in 3.0, urn:uuid: in 4.0) when the card has none.
    void ensureUid();

    // User properties, names compared without regard to case.
    QStringList userPropertyNames() const;
    bool hasUserProperty(QStringView name) const;
    std::optional<ContactUserProperty> userProperty(QStringView name) const;
    // Adds the property or replaces the value and type of the one with that name.
    void setUserProperty(const ContactUserProperty& property);
    bool removeUserProperty(QStringView name);
    // Names and types from the configured catalogue for lines that lost their
    // X-ZETTELWERK-NAME / -TYPE parameters (matched by slug).
    void applyUserPropertyCatalogue(const QList<ContactUserProperty>& catalogue);

    const VCard& card() const { return m_card; }
    VCard& card() { return m_card; }

private:
    struct Mapping;
    const Mapping& mapping() const;
    void invalidate() { m_mapping.reset(); }

    VCard m_card;
    QString m_location;
    int m_index = -1;
    mutable std::shared_ptr<Mapping> m_mapping;
};
