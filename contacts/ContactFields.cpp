#include "contacts/ContactFields.h"

#include "contacts/ContactFieldCatalogue.h"
#include "contacts/ContactItem.h"
#include "contacts/VuAppend.h"
#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"
#include "util/ZwError.h"

#include <QLocale>
#include <optional>

namespace
{

const QString kAddressLineSuffix = QStringLiteral(". Anschrift-Zeile");
const QString kExit = QStringLiteral("<EXIT>");
const QString kEmptyLineBeforeCity = QStringLiteral("<Leerzeile vor Ort>");
const QString kDomesticCountry = QStringLiteral("Deutschland");

// Field types as the field assignments name them.
enum FieldType { OutlookField = 0, CompositeField = 1, UserPropertyField = 2 };

ZwError objectNotSet(const QString& source)
{
    return ZwError(91, QStringLiteral("Objektvariable oder With-Blockvariable nicht festgelegt"),
                   source);
}

// Reads one property the way the automation interface would: a missing contact is error 91,
// a name the contact model does not know error 438.
QVariant property(const ContactItem* item, const QString& name, const QString& source)
{
    if (!item)
        throw objectNotSet(source);
    QVariant value = item->value(name);
    if (!value.isValid())
        throw ZwError(
            438, QStringLiteral("Objekt unterstützt diese Eigenschaft oder Methode nicht: ") + name,
            source);
    return value;
}

QString propertyText(const ContactItem* item, const QString& name, const QString& source)
{
    return ContactFields::valueText(property(item, name, source));
}

// The item's default automation value, which names it in messages: a contact's subject,
// which Outlook keeps equal to its full name.
QString itemName(const ContactItem& item)
{
    return item.value(u"FullName").toString();
}

// The property of the selected address; null for an address type that selects none.
QString addressProperty(int nAddressType, const char* part)
{
    static const char* const kAddress[] = {"BusinessAddress", "HomeAddress", "OtherAddress"};
    if (nAddressType < 0 || nAddressType > 2)
        return QString();
    return QString::fromLatin1(kAddress[nAddressType]) + QString::fromLatin1(part);
}

} // namespace

// ---- Field values ------------------------------------------------------------------------

QString ContactFields::GetFieldData(const ContactItem* itmItem, const QString& sFieldName,
                                    int eFieldType, int nAddressType, int nAddressOrder,
                                    int nAddressStyle)
{
    switch (eFieldType) {
    case OutlookField:
        return outlookField(itmItem, sFieldName);
    case CompositeField:
        return compositeField(itmItem, sFieldName, nAddressType, nAddressOrder, nAddressStyle);
    case UserPropertyField:
        return valueText(GetUserProperty(itmItem, sFieldName));
    default:
        return QString();
    }
}

QString ContactFields::outlookField(const ContactItem* itmItem, const QString& sFieldName) const
{
    const ContactFieldCatalogue::Entry* entry = ContactFieldCatalogue::find(sFieldName);
    // A wrong name shows in the document instead of leaving a silent gap.
    if (!entry)
        return QStringLiteral("UNKNOWN: ") + sFieldName;

    const QString source = QStringLiteral("GetFieldData");
    QString text;
    for (const QString& name : entry->properties) {
        QString piece = propertyText(itmItem, name, source);
        // The address block wants the accusative; applied blindly, so "Herrn" gets another "n".
        if (name == u"Title" && m_addNToHerr)
            piece.replace(QStringLiteral("Herr"), QStringLiteral("Herrn"), Qt::CaseSensitive);
        VuAppend(text, piece, QStringLiteral(" "));
    }
    return text;
}

QString ContactFields::compositeField(const ContactItem* itmItem, const QString& sFieldName,
                                      int nAddressType, int nAddressOrder, int nAddressStyle)
{
    const QString source = QStringLiteral("GetFieldData");
    auto field = [&](const char* name, int type) {
        return GetFieldData(itmItem, QString::fromUtf8(name), type, nAddressType, nAddressOrder,
                            nAddressStyle);
    };
    auto selectedAddress = [&](const char* part) {
        const QString name = addressProperty(nAddressType, part);
        return name.isNull() ? QString() : propertyText(itmItem, name, source);
    };

    if (sFieldName == u"Anrede+Name") {
        QString text = field("Anrede", OutlookField);
        VuAppend(text, field("Vorname", OutlookField), QStringLiteral(" "));
        VuAppend(text, field("Nachname", OutlookField), QStringLiteral(" "));
        return text;
    }
    if (sFieldName == u"Briefanrede+Name") {
        QString text =
            nAddressStyle == 1 ? QStringLiteral("Liebe") : QStringLiteral("Sehr geehrte");
        const QString title = propertyText(itmItem, QStringLiteral("Title"), source);
        // A plain substring test: "Mrs" counts as male too, as it always has.
        if (title.contains(u"Mr", Qt::CaseSensitive) || title.contains(u"Herr", Qt::CaseSensitive))
            text += u'r';
        VuAppend(text, title, QStringLiteral(" "));
        VuAppend(text, propertyText(itmItem, QStringLiteral("LastName"), source),
                 QStringLiteral(" "));
        return text + u',';
    }
    if (sFieldName == u"Straße ausgewählte Adresse")
        return selectedAddress("Street");
    if (sFieldName == kEmptyLineBeforeCity)
        return QStringLiteral(" "); // a blank, so that the line is not skipped as empty
    if (sFieldName == u"Ort ausgewählte Adresse")
        return selectedAddress("City");
    if (sFieldName == u"PLZ ausgewählte Adresse")
        return selectedAddress("PostalCode");
    if (sFieldName == u"PLZ+Ort ausgewählte Adresse") {
        QString text = field("PLZ ausgewählte Adresse", CompositeField);
        VuAppend(text, field("Ort ausgewählte Adresse", CompositeField), QStringLiteral(" "));
        return text;
    }
    if (sFieldName == u"Land ausgewählte Adresse") {
        const QString country = selectedAddress("Country");
        return country == kDomesticCountry ? QString() : country;
    }
    if (sFieldName.endsWith(kAddressLineSuffix, Qt::CaseSensitive))
        return addressLine(itmItem, sFieldName, nAddressType, nAddressOrder, nAddressStyle);
    return QString();
}

// ---- Address lines -----------------------------------------------------------------------

QString ContactFields::addressLine(const ContactItem* itmItem, const QString& sFieldName,
                                   int nAddressType, int nAddressOrder, int nAddressStyle)
{
    // Only the first character is the line number, so "12. Anschrift-Zeile" is line 1.
    const QChar first = sFieldName.front();
    if (first < u'0' || first > u'9')
        throw ZwError(13, QStringLiteral("Typen unverträglich"), QStringLiteral("GetFieldData"));
    if (first == u'1') {
        if (nAddressOrder == 0) {
            m_cursorName = QStringLiteral("Firma");
            m_cursorType = OutlookField;
        } else if (m_titleAndNameOnSameLine) {
            m_cursorName = QStringLiteral("Anrede+Name");
            m_cursorType = CompositeField;
        } else {
            m_cursorName = QStringLiteral("Anrede");
            m_cursorType = OutlookField;
        }
    }

    for (;;) {
        const QString used = m_cursorName;
        const QString value =
            GetFieldData(itmItem, used, m_cursorType, nAddressType, nAddressOrder, nAddressStyle);
        const bool known = advanceCursor(used, nAddressOrder);
        if (used == kExit)
            return QString();
        if (!known)
            return QStringLiteral("Unknown field: '") + used + QStringLiteral("'");
        // Empty fields close up: the line takes the next field that has a value.
        if (!value.isEmpty())
            return value;
    }
}

bool ContactFields::advanceCursor(const QString& used, int nAddressOrder)
{
    const bool business = nAddressOrder == 0;
    auto next = [this](const char* name, int type) {
        m_cursorName = QString::fromUtf8(name);
        m_cursorType = type;
        return true;
    };

    if (used == u"Firma")
        return next("Firma 2", UserPropertyField);
    if (used == u"Firma 2")
        return next("Firma 3", UserPropertyField);
    if (used == u"Firma 3") {
        if (!business)
            return next("Abteilung", OutlookField);
        return m_titleAndNameOnSameLine ? next("Anrede+Name", CompositeField)
                                        : next("Anrede", OutlookField);
    }
    if (used == u"Anrede")
        return next("Vorname+Nachname", OutlookField);
    if (used == u"Anrede+Name" || used == u"Vorname+Nachname")
        return business ? next("Abteilung", OutlookField) : next("Firma", OutlookField);
    if (used == u"Abteilung")
        return next("Straße ausgewählte Adresse", CompositeField);
    if (used == u"Straße ausgewählte Adresse")
        return m_addEmptyLineBeforeCity ? next("<Leerzeile vor Ort>", CompositeField)
                                        : next("PLZ+Ort ausgewählte Adresse", CompositeField);
    if (used == kEmptyLineBeforeCity)
        return next("PLZ+Ort ausgewählte Adresse", CompositeField);
    if (used == u"PLZ+Ort ausgewählte Adresse")
        return next("Land ausgewählte Adresse", CompositeField);
    if (used == u"Land ausgewählte Adresse" || used == kExit)
        return next("<EXIT>", CompositeField);
    return false;
}

// ---- Item data ---------------------------------------------------------------------------

bool ContactFields::GetItemData(const ContactItem* itmItem, ContactItemData& data)
{
    bool done = false;
    vuTrap(QStringLiteral("GetItemData"), [&] {
        done = false;
        // The folder is checked although the item alone would do: callers rely on false
        // while no folder is open.
        if (!(m_folderIsOpen && m_folderIsOpen()) || !itmItem)
            return;
        const QString source = QStringLiteral("GetItemData");
        auto text = [&](const char* name) {
            return propertyText(itmItem, QString::fromLatin1(name), source);
        };
        auto user = [&](const char* name) {
            return valueText(GetUserProperty(itmItem, QString::fromUtf8(name)));
        };
        auto keywords = [&](const char* name) {
            return GetKeywordsUserProperty(itmItem, QString::fromUtf8(name));
        };

        data.sSaveAs = text("FileAs");
        data.sFirstName = text("FirstName");
        data.sLastName = text("LastName");
        data.sTitle = text("Title");
        data.sCompany1 = text("CompanyName");
        data.sCompany2 = user("Firma 2");
        data.sCompany3 = user("Firma 3");
        data.sDepartment = text("Department");
        data.sCountry = text("BusinessAddressCountry");
        if (data.sCountry == kDomesticCountry)
            data.sCountry.clear();
        data.sStreet = text("BusinessAddressStreet");
        data.sZip = text("BusinessAddressPostalCode");
        data.sCity = text("BusinessAddressCity");
        data.sPhone = text("BusinessTelephoneNumber");
        data.sFax = text("BusinessFaxNumber");
        data.sPosition = text("JobTitle");
        data.sIdCode = user("Kenn-Nr");
        data.sCalendarGifts = keywords("Weihnachtsgeschenke");
        data.sCalendarCode = user("Kalender-Code");
        data.sOtherGifts = user("Sonstige Geschenke");
        data.sVgDepartments = keywords("Zuständige Abteilungen");
        data.sSign = user("Unterschriften");
        data.sClassification = keywords("Klassifizierung");
        data.sCustomerNumber = user("Kunden-Nr");
        data.sCustomerType = user("Kundentyp");
        data.sEMail = text("Email1Address");
        data.sEntryID = text("EntryID");
        data.sFairInvocation = user("Messeeinladung");
        data.sMailing = user("Mailing");
        done = true;
    });
    return done;
}

// ---- User properties ---------------------------------------------------------------------

QVariant ContactFields::GetUserProperty(const ContactItem* itmItem, const QString& sPropertyName)
{
    // Without a contact even the report could not name it: the error goes to the caller.
    if (!itmItem)
        throw objectNotSet(QStringLiteral("GetUserProperty"));
    for (;;) {
        std::optional<ZwError> pending;
        try {
            const std::optional<ContactUserProperty> found = itmItem->userProperty(sPropertyName);
            if (found)
                return found->value;
            reportMissingUserProperty(*itmItem, sPropertyName);
            return QVariant();
        } catch (...) {
            pending.emplace(vuErrorFromCurrentException());
        }
        bool retry = false;
        VuShowError(QStringLiteral("GetUserProperty: Item: ") + itemName(*itmItem) +
                        QStringLiteral(", Property: ") + sPropertyName,
                    *pending, QString(), &retry);
        if (!retry)
            return QVariant();
    }
}

void ContactFields::reportMissingUserProperty(const ContactItem& item, const QString& sPropertyName)
{
    const long lErrorNumber = 91;
    const QString sErrorMessage = QStringLiteral("Eintrag '") + itemName(item) +
                                  QStringLiteral("': Eigenschaft '") + sPropertyName +
                                  QStringLiteral("' nicht verfügbar");
    if (m_raiseErrorEvents) {
        if (m_errorEvent)
            m_errorEvent(lErrorNumber, sErrorMessage);
        return;
    }
    msgBox(sErrorMessage, Mb::OkOnly + Mb::Exclamation);
}

QString ContactFields::GetKeywordsUserProperty(const ContactItem* itmItem,
                                               const QString& sPropertyName) const
{
    const QString name = sPropertyName.trimmed();
    if (name.isEmpty())
        return QString();
    if (!itmItem)
        throw objectNotSet(QStringLiteral("GetKeywordsUserProperty"));
    const std::optional<ContactUserProperty> found = itmItem->userProperty(name);
    if (!found || found->type != ContactUserProperty::Type::Keywords)
        return QString();
    QStringList keywords;
    if (found->value.typeId() == QMetaType::QStringList)
        keywords = found->value.toStringList();
    else if (!found->value.toString().isEmpty())
        keywords.append(found->value.toString());
    QString text;
    // The separator follows every keyword, the last one included.
    for (const QString& keyword : keywords)
        text += keyword + u';';
    return text;
}

QStringList ContactFields::GetUserPropertyNames(const ContactItem* itmItem) const
{
    if (!itmItem)
        throw objectNotSet(QStringLiteral("GetUserPropertyNames"));
    return itmItem->userPropertyNames();
}

// ---- Value texts -------------------------------------------------------------------------

QString ContactFields::valueText(const QVariant& value)
{
    if (!value.isValid() || value.isNull())
        return QString();
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QDate:
        return dateText(value.toDate());
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("Wahr") : QStringLiteral("Falsch");
    case QMetaType::Double:
    case QMetaType::Float: {
        QLocale german(QLocale::German);
        german.setNumberOptions(QLocale::OmitGroupSeparator);
        return german.toString(value.toDouble(), 'g', 15);
    }
    case QMetaType::QStringList:
        // Outlook joins lists with the German list separator.
        return value.toStringList().join(QStringLiteral("; "));
    default:
        return value.toString();
    }
}

QString ContactFields::dateText(const QDate& date)
{
    if (!date.isValid())
        return QString();
    // The German short date with the full year, as Windows shows it: a two-digit year would
    // turn Outlook's "no date" 4501-01-01 into a plausible "01.01.01".
    static const QString format = [] {
        QString f = QLocale(QLocale::German).dateFormat(QLocale::ShortFormat);
        if (!f.contains(QStringLiteral("yyyy")))
            f.replace(QStringLiteral("yy"), QStringLiteral("yyyy"));
        return f;
    }();
    return QLocale(QLocale::German).toString(date, format);
}
