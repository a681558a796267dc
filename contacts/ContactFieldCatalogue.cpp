#include "contacts/ContactFieldCatalogue.h"

const QList<ContactFieldCatalogue::Entry>& ContactFieldCatalogue::entries()
{
    // "Weiter Vornamen" is spelt without the "e": existing field assignments use that name.
    static const QList<Entry> kEntries = {
        {QStringLiteral("Speichern unter"), {QStringLiteral("FileAs")}},
        {QStringLiteral("Anrede"), {QStringLiteral("Title")}},
        {QStringLiteral("Vorname"), {QStringLiteral("FirstName")}},
        {QStringLiteral("Nachname"), {QStringLiteral("LastName")}},
        {QStringLiteral("Vorname+Nachname"),
         {QStringLiteral("FirstName"), QStringLiteral("LastName")}},
        {QStringLiteral("Name"), {QStringLiteral("FullName")}},
        {QStringLiteral("Position"), {QStringLiteral("JobTitle")}},
        {QStringLiteral("Abteilung"), {QStringLiteral("Department")}},
        {QStringLiteral("Firma"), {QStringLiteral("CompanyName")}},
        {QStringLiteral("Straße geschäftlich"), {QStringLiteral("BusinessAddressStreet")}},
        {QStringLiteral("Ort geschäftlich"), {QStringLiteral("BusinessAddressCity")}},
        {QStringLiteral("PLZ geschäftlich"), {QStringLiteral("BusinessAddressPostalCode")}},
        {QStringLiteral("Postfach geschäftlich"), {QStringLiteral("BusinessAddressPostOfficeBox")}},
        {QStringLiteral("Region geschäftlich"), {QStringLiteral("BusinessAddressState")}},
        {QStringLiteral("Land geschäftlich"), {QStringLiteral("BusinessAddressCountry")}},
        {QStringLiteral("Telefon geschäftlich"), {QStringLiteral("BusinessTelephoneNumber")}},
        {QStringLiteral("Telefon geschäftlich 2"), {QStringLiteral("Business2TelephoneNumber")}},
        {QStringLiteral("FAX geschäftlich"), {QStringLiteral("BusinessFaxNumber")}},
        {QStringLiteral("Telefon privat"), {QStringLiteral("HomeTelephoneNumber")}},
        {QStringLiteral("Telefon privat 2"), {QStringLiteral("Home2TelephoneNumber")}},
        {QStringLiteral("Mobiltelefon"), {QStringLiteral("MobileTelephoneNumber")}},
        {QStringLiteral("E-Mail"), {QStringLiteral("Email1Address")}},
        {QStringLiteral("Web-Seite"), {QStringLiteral("WebPage")}},
        {QStringLiteral("Straße privat"), {QStringLiteral("HomeAddressStreet")}},
        {QStringLiteral("Ort privat"), {QStringLiteral("HomeAddressCity")}},
        {QStringLiteral("PLZ privat"), {QStringLiteral("HomeAddressPostalCode")}},
        {QStringLiteral("Postfach privat"), {QStringLiteral("HomeAddressPostOfficeBox")}},
        {QStringLiteral("Region privat"), {QStringLiteral("HomeAddressState")}},
        {QStringLiteral("Land privat"), {QStringLiteral("HomeAddressCountry")}},
        {QStringLiteral("FAX privat"), {QStringLiteral("HomeFaxNumber")}},
        {QStringLiteral("Straße weitere"), {QStringLiteral("OtherAddressStreet")}},
        {QStringLiteral("Ort weitere"), {QStringLiteral("OtherAddressCity")}},
        {QStringLiteral("PLZ weitere"), {QStringLiteral("OtherAddressPostalCode")}},
        {QStringLiteral("Postfach weitere"), {QStringLiteral("OtherAddressPostOfficeBox")}},
        {QStringLiteral("Region weitere"), {QStringLiteral("OtherAddressState")}},
        {QStringLiteral("Land weitere"), {QStringLiteral("OtherAddressCountry")}},
        {QStringLiteral("Namenszusatz"), {QStringLiteral("Suffix")}},
        {QStringLiteral("Empfohlen von"), {QStringLiteral("ReferredBy")}},
        {QStringLiteral("Initialen"), {QStringLiteral("Initials")}},
        {QStringLiteral("Kinder"), {QStringLiteral("Children")}},
        {QStringLiteral("Partner"), {QStringLiteral("Spouse")}},
        {QStringLiteral("Spitzname"), {QStringLiteral("NickName")}},
        {QStringLiteral("Vorgesetzte(r)"), {QStringLiteral("ManagerName")}},
        {QStringLiteral("Weiter Vornamen"), {QStringLiteral("MiddleName")}},
        {QStringLiteral("Geburtstag"), {QStringLiteral("Birthday")}},
        {QStringLiteral("Geschlecht"), {QStringLiteral("Gender")}},
        {QStringLiteral("Hobbies"), {QStringLiteral("Hobby")}},
        {QStringLiteral("Jahrestag"), {QStringLiteral("Anniversary")}},
        {QStringLiteral("Sprache"), {QStringLiteral("Language")}},
        {QStringLiteral("E-Mail 2"), {QStringLiteral("Email2Address")}},
        {QStringLiteral("E-Mail 3"), {QStringLiteral("Email3Address")}},
        {QStringLiteral("Private Web-Seite"), {QStringLiteral("PersonalHomePage")}},
        {QStringLiteral("FTP-Site"), {QStringLiteral("FTPSite")}},
        {QStringLiteral("weiteres FAX"), {QStringLiteral("OtherFaxNumber")}},
        {QStringLiteral("ISDN"), {QStringLiteral("ISDNNumber")}},
        {QStringLiteral("Telex"), {QStringLiteral("TelexNumber")}},
        {QStringLiteral("Benutzerfeld 1"), {QStringLiteral("User1")}},
        {QStringLiteral("Benutzerfeld 2"), {QStringLiteral("User2")}},
        {QStringLiteral("Benutzerfeld 3"), {QStringLiteral("User3")}},
        {QStringLiteral("Benutzerfeld 4"), {QStringLiteral("User4")}},
        {QStringLiteral("Konto"), {QStringLiteral("Account")}},
        {QStringLiteral("Kundennr."), {QStringLiteral("CustomerID")}},
        {QStringLiteral("Organisationsnr."), {QStringLiteral("OrganizationalIDNumber")}},
        {QStringLiteral("Name Assistent"), {QStringLiteral("AssistantName")}},
        {QStringLiteral("Telefon Assistent"), {QStringLiteral("AssistantTelephoneNumber")}},
        {QStringLiteral("Autotelefon"), {QStringLiteral("CarTelephoneNumber")}},
        {QStringLiteral("Funkruf"), {QStringLiteral("RadioTelephoneNumber")}},
        {QStringLiteral("Pager"), {QStringLiteral("PagerNumber")}},
        {QStringLiteral("Telefonzentrale Firma"), {QStringLiteral("CompanyMainTelephoneNumber")}},
        {QStringLiteral("Weiteres Telefon"), {QStringLiteral("OtherTelephoneNumber")}},
        {QStringLiteral("Beruf"), {QStringLiteral("Profession")}},
        {QStringLiteral("Büro"), {QStringLiteral("OfficeLocation")}},
        {QStringLiteral("Kategorien"), {QStringLiteral("Categories")}},
    };
    return kEntries;
}

QStringList ContactFieldCatalogue::displayNames()
{
    QStringList names;
    for (const Entry& e : entries())
        names.append(e.displayName);
    return names;
}

const ContactFieldCatalogue::Entry* ContactFieldCatalogue::find(const QString& displayName)
{
    for (const Entry& e : entries()) {
        if (e.displayName == displayName)
            return &e;
    }
    return nullptr;
}
