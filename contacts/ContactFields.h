#pragma once

#include "contacts/ContactItemData.h"

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>

class ContactItem;

// Field values of one contact: the Outlook fields by their German display names
// (ContactFieldCatalogue), the composite fields (address lines, salutation, the parts of the
// selected address) and the user properties of the contact form.
//
// ClsOutlookVgContactFolder owns one object of this class and forwards its field members to
// it; the object holds the folder's layout flags, its RaiseErrorEvents flag and ErrorEvent,
// and the cursor of the address lines.
//
// Field types (eFieldType): 0 Outlook field, 1 composite field, 2 user property by its own
// name; any other type gives "".
//
// Address lines ("1. Anschrift-Zeile" ... "7. Anschrift-Zeile") share one cursor for the
// whole life of the object: line 1 resets it, every later line continues where the
// previous one stopped, skipping empty fields. So the lines must be asked for in ascending
// order, one contact at a time, with the same layout inputs throughout. A line asked for
// before any line 1 reads "Unknown field: ''". The block has up to twelve parts and is cut
// after the seventh line without notice.
//
// Traps of the contract:
//  - GetFieldData sets no error trap: a null item (error 91) or an address-line name that
//    does not start with a digit (error 13) is thrown as ZwError to the caller.
//  - A missing user property ("Firma 2" on a contact without it) is reported on every read:
//    as ErrorEvent(91, ...) while RaiseErrorEvents is set, otherwise as a message box. An
//    address block may therefore report "Firma 2" and "Firma 3" once each.
//  - The "Herr" rule (AddNToHerr) is applied blindly: "Herrn" becomes "Herrnn".
//  - Dates are shown as they are stored, Outlook's "no date" (4501-01-01) included.
class ContactFields
{
public:
    using ErrorEventHandler = std::function<void(long lErrorNumber, const QString& sErrorMessage)>;

    // The layout flags of the address block (write-only properties of the folder object).
    void setTitleAndNameOnSameLine(bool bTitleAndNameOnSameLine)
    {
        m_titleAndNameOnSameLine = bTitleAndNameOnSameLine;
    }
    void setAddEmptyLineBeforeCity(bool bAddEmptyLineBeforeCity)
    {
        m_addEmptyLineBeforeCity = bAddEmptyLineBeforeCity;
    }
    void setAddNToHerr(bool bAddNToHerr) { m_addNToHerr = bAddNToHerr; }
    bool titleAndNameOnSameLine() const { return m_titleAndNameOnSameLine; }
    bool addEmptyLineBeforeCity() const { return m_addEmptyLineBeforeCity; }
    bool addNToHerr() const { return m_addNToHerr; }

    // While set, a missing user property is reported through the ErrorEvent handler instead
    // of a message box.
    void setRaiseErrorEvents(bool bRaiseErrorEvents) { m_raiseErrorEvents = bRaiseErrorEvents; }
    bool raiseErrorEvents() const { return m_raiseErrorEvents; }
    void setErrorEvent(ErrorEventHandler handler) { m_errorEvent = std::move(handler); }

    // GetItemData reads nothing unless the owner has a folder open; the owner answers here.
    // Without an answer no folder counts as open.
    void setFolderOpenCheck(std::function<bool()> isOpen) { m_folderIsOpen = std::move(isOpen); }

    // The value of one field as text. The three layout inputs are used by composite fields
    // only: nAddressType 0 business, 1 home, 2 other address (else no address);
    // nAddressOrder 0 company first, else person first; nAddressStyle 1 familiar salutation,
    // else formal. Throws ZwError (see above).
    QString GetFieldData(const ContactItem* itmItem, const QString& sFieldName, int eFieldType,
                         int nAddressType, int nAddressOrder, int nAddressStyle);

    // Fills data in one go (business address only; "Deutschland" as country reads as "").
    // False, with data untouched, when no folder is open or itmItem is null. Errors are
    // reported through the error routine with the origin "GetItemData"; the result is then
    // false and data may be partly filled.
    bool GetItemData(const ContactItem* itmItem, ContactItemData& data);

    // The value of a user property as stored: QString, double, bool, QDate or QStringList.
    // A missing property gives an invalid QVariant and is reported (error 91, see above).
    // Throws ZwError 91 for a null item.
    QVariant GetUserProperty(const ContactItem* itmItem, const QString& sPropertyName);

    // A keywords property as one text, each keyword followed by ";" ("Kalender;Karte;").
    // "" for a blank name, a missing property or one of another type; nothing is reported.
    // Throws ZwError 91 for a null item (unless the name is blank).
    QString GetKeywordsUserProperty(const ContactItem* itmItem, const QString& sPropertyName) const;

    // The names of the contact's user properties in their order. Throws ZwError 91 for a
    // null item.
    QStringList GetUserPropertyNames(const ContactItem* itmItem) const;

    // How a stored value reads as text in a field: text as it is, dates in the German short
    // form with a four-digit year, numbers with a decimal comma and no grouping, yes/no as
    // "Wahr"/"Falsch", lists joined by "; ", nothing as "".
    static QString valueText(const QVariant& value);
    static QString dateText(const QDate& date);

private:
    QString outlookField(const ContactItem* itmItem, const QString& sFieldName) const;
    QString compositeField(const ContactItem* itmItem, const QString& sFieldName, int nAddressType,
                           int nAddressOrder, int nAddressStyle);
    QString addressLine(const ContactItem* itmItem, const QString& sFieldName, int nAddressType,
                        int nAddressOrder, int nAddressStyle);
    // Moves the cursor on from the field just used; false when that field has no successor
    // rule (the cursor then stays where it is).
    bool advanceCursor(const QString& used, int nAddressOrder);
    void reportMissingUserProperty(const ContactItem& item, const QString& sPropertyName);

    bool m_titleAndNameOnSameLine = false;
    bool m_addEmptyLineBeforeCity = false;
    bool m_addNToHerr = false;
    bool m_raiseErrorEvents = false;
    ErrorEventHandler m_errorEvent;
    std::function<bool()> m_folderIsOpen;

    // The address-line cursor: the next field to emit and its field type.
    QString m_cursorName;
    int m_cursorType = 0;
};
