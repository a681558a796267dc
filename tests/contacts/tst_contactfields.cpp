#include "contacts/ContactFieldCatalogue.h"
#include "contacts/ContactFields.h"
#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"
#include "contacts/VuAppend.h"
#include "tests/support/CaughtError.h"
#include "tests/support/ScriptedUserInterface.h"
#include "util/ZwError.h"

#include <QTest>

using Type = ContactUserProperty::Type;
using Event = QPair<long, QString>;

namespace
{

// Sets "Property=value|Property=value" on the item.
ContactItem with(ContactItem item, const QString& values)
{
    for (const QString& pair : values.split(u'|')) {
        if (!item.setValue(pair.section(u'=', 0, 0), pair.section(u'=', 1)))
            QTest::qFail(qPrintable("cannot set " + pair), __FILE__, __LINE__);
    }
    return item;
}

void addUser(ContactItem& item, const QString& name, Type type, const QVariant& value)
{
    item.setUserProperty({name, type, value, {}});
}

// The usual letter: Herr Hans Berger of Muster GmbH in Munich, no "Firma 2" or "Firma 3".
ContactItem berger()
{
    return with(ContactItem(), "Title=Herr|FirstName=Hans|LastName=Berger|FullName=Hans Berger|"
                               "CompanyName=Muster GmbH|BusinessAddressStreet=Hauptstr. 1|"
                               "BusinessAddressPostalCode=80331|BusinessAddressCity=München|"
                               "BusinessAddressCountry=Deutschland");
}

// Every part of the address block filled, with three different addresses.
ContactItem full()
{
    ContactItem item = with(berger(), "Title=Herr Dr.|Department=Einkauf|"
                                      "HomeAddressStreet=Gartenweg 5|HomeAddressPostalCode=10115|"
                                      "HomeAddressCity=Berlin|HomeAddressCountry=deutschland|"
                                      "OtherAddressStreet=Ringstr. 9|OtherAddressPostalCode=1010|"
                                      "OtherAddressCity=Wien|OtherAddressCountry=Österreich");
    addUser(item, "Firma 2", Type::Text, "Werk Süd");
    addUser(item, "Firma 3", Type::Text, "Halle 4");
    return item;
}

// A contact by name, or Herr Berger with "Property=value|..." changed.
ContactItem contact(const QString& key)
{
    if (key.contains(u'='))
        return with(berger(), key);
    if (key == u"berger")
        return berger();
    if (key == u"abroad")
        return with(berger(), "BusinessAddressCountry=Österreich");
    if (key == u"full")
        return full();
    if (key == u"cityOnly")
        return with(ContactItem(), "BusinessAddressCity=München");
    return ContactItem(); // "empty"
}

// Fields with error events switched on, collecting what they report.
struct Fields {
    ContactFields fields;
    QList<Event> events;
    Fields(bool folderOpen = true)
    {
        fields.setRaiseErrorEvents(true);
        fields.setErrorEvent([this](long n, const QString& m) { events.append({n, m}); });
        fields.setFolderOpenCheck([folderOpen] { return folderOpen; });
    }
    QString get(const ContactItem& item, const QString& name, int type, int addressType = 0,
                int order = 0, int style = 0)
    {
        return fields.GetFieldData(&item, name, type, addressType, order, style);
    }
};

QString missing(const QString& property)
{
    return "Eintrag 'Hans Berger': Eigenschaft '" + property + "' nicht verfügbar";
}

// Every name of the catalogue in its order, with what it shows of a contact whose every text
// property holds its own name: a name that read a neighbour's property shows the neighbour's.
QStringList catalogue()
{
    return QString("Speichern unter=FileAs|Anrede=Title|Vorname=FirstName|Nachname=LastName|"
                   "Vorname+Nachname=FirstName LastName|Name=FullName|Position=JobTitle|"
                   "Abteilung=Department|Firma=CompanyName|"
                   "Straße geschäftlich=BusinessAddressStreet|Ort geschäftlich=BusinessAddressCity|"
                   "PLZ geschäftlich=BusinessAddressPostalCode|"
                   "Postfach geschäftlich=BusinessAddressPostOfficeBox|"
                   "Region geschäftlich=BusinessAddressState|"
                   "Land geschäftlich=BusinessAddressCountry|"
                   "Telefon geschäftlich=BusinessTelephoneNumber|"
                   "Telefon geschäftlich 2=Business2TelephoneNumber|"
                   "FAX geschäftlich=BusinessFaxNumber|Telefon privat=HomeTelephoneNumber|"
                   "Telefon privat 2=Home2TelephoneNumber|Mobiltelefon=MobileTelephoneNumber|"
                   "E-Mail=Email1Address|Web-Seite=WebPage|Straße privat=HomeAddressStreet|"
                   "Ort privat=HomeAddressCity|PLZ privat=HomeAddressPostalCode|"
                   "Postfach privat=HomeAddressPostOfficeBox|Region privat=HomeAddressState|"
                   "Land privat=HomeAddressCountry|FAX privat=HomeFaxNumber|"
                   "Straße weitere=OtherAddressStreet|Ort weitere=OtherAddressCity|"
                   "PLZ weitere=OtherAddressPostalCode|Postfach weitere=OtherAddressPostOfficeBox|"
                   "Region weitere=OtherAddressState|Land weitere=OtherAddressCountry|"
                   "Namenszusatz=Suffix|Empfohlen von=ReferredBy|Initialen=Initials|"
                   "Kinder=Children|Partner=Spouse|Spitzname=NickName|"
                   "Vorgesetzte(r)=ManagerName|Weiter Vornamen=MiddleName|"
                   "Geburtstag=22.03.1970|Geschlecht=2|Hobbies=Hobby|Jahrestag=31.12.1999|"
                   "Sprache=Language|E-Mail 2=Email2Address|E-Mail 3=Email3Address|"
                   "Private Web-Seite=PersonalHomePage|FTP-Site=FTPSite|"
                   "weiteres FAX=OtherFaxNumber|ISDN=ISDNNumber|Telex=TelexNumber|"
                   "Benutzerfeld 1=User1|Benutzerfeld 2=User2|Benutzerfeld 3=User3|"
                   "Benutzerfeld 4=User4|Konto=Account|Kundennr.=CustomerID|"
                   "Organisationsnr.=OrganizationalIDNumber|Name Assistent=AssistantName|"
                   "Telefon Assistent=AssistantTelephoneNumber|Autotelefon=CarTelephoneNumber|"
                   "Funkruf=RadioTelephoneNumber|Pager=PagerNumber|"
                   "Telefonzentrale Firma=CompanyMainTelephoneNumber|"
                   "Weiteres Telefon=OtherTelephoneNumber|Beruf=Profession|Büro=OfficeLocation|"
                   "Kategorien=Kunde; Lieferant")
        .split(u'|');
}

} // namespace

class TstContactFields : public QObject
{
    Q_OBJECT

private slots:
    void appendRule_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("piece");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("expected");
        auto row = [](const char* tag, const char* t, const char* p, const char* s, const char* e) {
            QTest::newRow(tag) << t << p << s << e;
        };
        row("both filled", "Hans", "Berger", " ", "Hans Berger");
        row("empty piece changes nothing", "Hans", "", "-", "Hans");
        row("empty text takes the piece alone", "", "Berger", ";", "Berger");
        row("empty separator counts as a blank", "80331", "M", "", "80331 M");
        row("a blank piece is not empty", "A", " ", "-", "A- ");
    }
    void appendRule()
    {
        QFETCH(QString, text);
        QFETCH(QString, piece);
        QFETCH(QString, separator);
        VuAppend(text, piece, separator);
        QTEST(text, "expected");
    }

    void catalogue_data()
    {
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("expected");
        for (const QString& entry : ::catalogue())
            QTest::newRow(qPrintable(entry.section(u'=', 0, 0)))
                << entry.section(u'=', 0, 0) << entry.section(u'=', 1);
    }
    void catalogue()
    {
        QFETCH(QString, display);
        static const ContactItem item = [] {
            ContactItem i;
            for (const QString& p : ContactItem::propertyNames()) {
                if (p != u"EntryID" && p != u"MessageClass")
                    i.setValue(p, p);
            }
            i.setValue(u"Birthday", QDate(1970, 3, 22));
            i.setValue(u"Anniversary", QDate(1999, 12, 31));
            i.setValue(u"Gender", 2);
            i.setValue(u"Categories", QStringList{"Kunde", "Lieferant"});
            return i;
        }();
        QTEST(Fields().get(item, display, 0), "expected");
    }
    void catalogueOrderAndProperties()
    {
        QStringList expected;
        for (const QString& entry : ::catalogue())
            expected.append(entry.section(u'=', 0, 0));
        QCOMPARE(expected.size(), 73);
        QCOMPARE(ContactFieldCatalogue::displayNames(), expected);
        for (const ContactFieldCatalogue::Entry& e : ContactFieldCatalogue::entries()) {
            for (const QString& p : e.properties)
                QVERIFY2(ContactItem::isKnownProperty(p), qPrintable(p));
        }
    }

    // Names an Outlook-field request (type 0) does not know, and types no field has: the name
    // and type alone decide, no contact is needed.
    void fieldWithoutValue_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        for (const char* name : {"anrede", "Anrede ", "", "Weitere Vornamen", "Firma 2",
                                 "Anrede+Name", "1. Anschrift-Zeile"})
            QTest::addRow("type 0, '%s'", name) << 0 << name << "UNKNOWN: " + QString(name);
        QTest::newRow("type 3, Outlook name") << 3 << "Anrede"
                                              << "";
        QTest::newRow("type 3, user property") << 3 << "Firma 2"
                                               << "";
        QTest::newRow("type 3, address line") << 3 << "1. Anschrift-Zeile"
                                              << "";
        QTest::newRow("type -1, unknown name") << -1 << "anrede"
                                               << "";
    }
    void fieldWithoutValue()
    {
        QFETCH(int, type);
        QFETCH(QString, name);
        Fields f;
        QTEST(f.get(full(), name, type), "expected");
        QTEST(f.fields.GetFieldData(nullptr, name, type, 0, 0, 0), "expected");
        QVERIFY(f.events.isEmpty());
    }

    void herrRule_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("addN");
        QTest::addColumn<QString>("anrede");
        auto row = [](const char* tag, const char* title, bool addN, const char* anrede) {
            QTest::newRow(tag) << title << addN << anrede;
        };
        row("Herr Dr. with the rule", "Herr Dr.", true, "Herrn Dr.");
        row("Herr Dr. without the rule", "Herr Dr.", false, "Herr Dr.");
        row("Herrn gets another n", "Herrn", true, "Herrnn");
        row("every occurrence", "Herr und Herr", true, "Herrn und Herrn");
        row("exact case only", "herr", true, "herr");
        row("Frau is untouched", "Frau", true, "Frau");
    }
    void herrRule()
    {
        QFETCH(QString, title);
        QFETCH(bool, addN);
        QFETCH(QString, anrede);
        const ContactItem item = with(berger(), "Title=" + title);
        Fields f;
        f.fields.setAddNToHerr(addN);
        QCOMPARE(f.get(item, "Anrede", 0), anrede);
        QCOMPARE(f.get(item, "Anrede+Name", 1), anrede + " Hans Berger");
        ContactItemData data; // the raw title everywhere else
        QVERIFY(f.fields.GetItemData(&item, data));
        QCOMPARE(data.sTitle, title);
    }

    void datesAndGender_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("expected"); // Geburtstag|Jahrestag|Geschlecht
        QTest::newRow("nothing set: Outlook's no-date shows as it is")
            << QByteArray() << "01.01.4501|01.01.4501|0";
        QTest::newRow("full dates, female")
            << QByteArray("BDAY:1970-03-22\r\nX-MS-ANNIVERSARY:20110113\r\nX-GENDER:Female\r\n")
            << "22.03.1970|13.01.2011|1";
        QTest::newRow("date without year (Apple), male")
            << QByteArray("BDAY;X-APPLE-OMIT-YEAR=1604:1604-08-20\r\nX-WAB-GENDER:2\r\n")
            << "20.08.1604|01.01.4501|2";
    }
    void datesAndGender()
    {
        QFETCH(QByteArray, lines);
        const ContactItem item(
            VCardReader::read("BEGIN:VCARD\r\nVERSION:3.0\r\nN:Berger;Hans;;;\r\n" + lines +
                              "END:VCARD\r\n")
                .cards.value(0));
        Fields f;
        QStringList got;
        for (const char* name : {"Geburtstag", "Jahrestag", "Geschlecht"})
            got.append(f.get(item, name, 0));
        QTEST(got.join(u'|'), "expected");
    }

    void userPropertyField_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("value"); // invalid: the contact lacks the property
        QTest::addColumn<QString>("expected");
        auto row = [](const char* tag, Type type, const QVariant& v, const char* expected) {
            QTest::newRow(tag) << int(type) << v << expected;
        };
        row("text", Type::Text, "Werk Süd", "Werk Süd");
        row("number: decimal comma, no grouping", Type::Number, 1234567.5, "1234567,5");
        row("whole number", Type::Number, 42.0, "42");
        row("yes", Type::YesNo, true, "Wahr");
        row("no", Type::YesNo, false, "Falsch");
        row("date", Type::DateTime, QDate(2023, 12, 24), "24.12.2023");
        row("keywords", Type::Keywords, QStringList{"Kalender", "Karte"}, "Kalender; Karte");
        row("missing: an error event, no box", Type::Text, QVariant(), "");
    }
    void userPropertyField()
    {
        QFETCH(int, type);
        QFETCH(QVariant, value);
        ContactItem item = berger();
        if (value.isValid())
            addUser(item, "Firma 2", Type(type), value);
        ScriptedUserInterface ui; // fails the test on any box
        Fields f;
        QTEST(f.get(item, "Firma 2", 2), "expected");
        QCOMPARE(f.events.size(), value.isValid() ? 0 : 1);
        if (!value.isValid())
            QCOMPARE(f.events[0], Event(91, missing("Firma 2")));
        QCOMPARE(f.fields.GetUserProperty(&item, "Firma 2"), value);
    }

    void errors_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("withItem");
        QTest::addColumn<long>("error");
        QTest::newRow("no item: Outlook field") << "Nachname" << 0 << false << 91L;
        QTest::newRow("no item: composite of Outlook fields") << "Anrede+Name" << 1 << false << 91L;
        QTest::newRow("no item: selected address")
            << "PLZ+Ort ausgewählte Adresse" << 1 << false << 91L;
        QTest::newRow("no item: user property") << "Firma 2" << 2 << false << 91L;
        QTest::newRow("no item: address line") << "1. Anschrift-Zeile" << 1 << false << 91L;
        // The line number must be a digit.
        for (const char* name : {"x. Anschrift-Zeile", " 1. Anschrift-Zeile", ". Anschrift-Zeile"})
            QTest::newRow(name) << name << 1 << true << 13L;
    }
    void errors()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(bool, withItem);
        const ContactItem item = berger();
        Fields f;
        QTEST(errorOf([&] {
                  f.fields.GetFieldData(withItem ? &item : nullptr, name, type, 0, 1, 0);
              }).number(),
              "error");
        QCOMPARE(errorOf([&] { f.fields.GetUserPropertyNames(nullptr); }).number(), 91L);
        QVERIFY(f.events.isEmpty());
    }

    void keywords_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        auto row = [](const char* tag, const char* name, const char* expected) {
            QTest::newRow(tag) << name << expected;
        };
        row("two keywords, separator after the last", "Weihnachtsgeschenke", "Kalender;Karte;");
        row("name is trimmed", "  Weihnachtsgeschenke ", "Kalender;Karte;");
        row("no keywords", "Zuständige Abteilungen", "");
        row("a text property is no keywords list", "Kenn-Nr", "");
        row("missing property, reported nowhere", "Mailing", "");
        row("blank name", "   ", "");
    }
    void keywords()
    {
        QFETCH(QString, name);
        ContactItem item = berger();
        addUser(item, "Weihnachtsgeschenke", Type::Keywords, QStringList{"Kalender", "Karte"});
        addUser(item, "Zuständige Abteilungen", Type::Keywords, QStringList());
        addUser(item, "Kenn-Nr", Type::Text, "K-17");
        ScriptedUserInterface ui; // fails the test on any box
        Fields f;
        f.fields.setRaiseErrorEvents(false);
        QTEST(f.fields.GetKeywordsUserProperty(&item, name), "expected");
        QCOMPARE(f.fields.GetUserPropertyNames(&item),
                 QStringList({"Weihnachtsgeschenke", "Zuständige Abteilungen", "Kenn-Nr"}));
    }

    void itemData_data()
    {
        QTest::addColumn<QString>("country");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Deutschland is domestic") << "Deutschland"
                                                 << "";
        QTest::newRow("lower case is kept") << "deutschland"
                                            << "deutschland";
        QTest::newRow("abroad") << "Österreich"
                                << "Österreich";
    }
    void itemData()
    {
        QFETCH(QString, country);
        ContactItem item = with(full(), "BusinessAddressCountry=" + country +
                                            "|FileAs=Berger, Hans|JobTitle=Leiter|"
                                            "BusinessTelephoneNumber=089 1|BusinessFaxNumber=089 2|"
                                            "Email1Address=hans@muster.de");
        for (auto [n, v] : {std::pair{"Kenn-Nr", "K-17"},
                            {"Kalender-Code", "KC1"},
                            {"Sonstige Geschenke", "Wein"},
                            {"Unterschriften", "HB"},
                            {"Kundentyp", "Händler"}})
            addUser(item, n, Type::Text, QString(v));
        addUser(item, "Weihnachtsgeschenke", Type::Keywords, QStringList{"Kalender", "Karte"});
        addUser(item, "Zuständige Abteilungen", Type::Keywords, QStringList{"Vertrieb"});
        addUser(item, "Klassifizierung", Type::Keywords, QStringList{"A", "B"});
        addUser(item, "Kunden-Nr", Type::Number, 4711.0);
        addUser(item, "Messeeinladung", Type::YesNo, true);
        addUser(item, "Mailing", Type::YesNo, false);

        Fields f;
        ContactItemData d;
        d.sRemarks = QStringLiteral("vom Aufrufer");
        QVERIFY(f.fields.GetItemData(&item, d));
        QTEST(d.sCountry, "expected");
        const QStringList got = {
            d.sSaveAs,         d.sFirstName,     d.sLastName,   d.sTitle,        d.sCompany1,
            d.sCompany2,       d.sCompany3,      d.sDepartment, d.sStreet,       d.sZip,
            d.sCity,           d.sPhone,         d.sFax,        d.sPosition,     d.sCalendarGifts,
            d.sOtherGifts,     d.sVgDepartments, d.sSign,       d.sRemarks,      d.sClassification,
            d.sCustomerNumber, d.sCustomerType,  d.sIdCode,     d.sCalendarCode, d.sEMail,
            d.sFairInvocation, d.sMailing};
        QCOMPARE(got.join(u'|'), "Berger, Hans|Hans|Berger|Herr Dr.|Muster GmbH|Werk Süd|Halle 4|"
                                 "Einkauf|Hauptstr. 1|80331|München|089 1|089 2|Leiter|"
                                 "Kalender;Karte;|Wein|Vertrieb;|HB|vom Aufrufer|A;B;|4711|"
                                 "Händler|K-17|KC1|hans@muster.de|Wahr|Falsch");
        QCOMPARE(d.sEntryID, item.entryId());
        QVERIFY(f.events.isEmpty());
    }
    void itemDataReportsMissingPropertiesInOrder()
    {
        Fields f;
        const ContactItem item = berger();
        ContactItemData data;
        QVERIFY(f.fields.GetItemData(&item, data));
        QList<Event> expected; // keywords properties are looked up without a report
        for (const char* name :
             {"Firma 2", "Firma 3", "Kenn-Nr", "Kalender-Code", "Sonstige Geschenke",
              "Unterschriften", "Kunden-Nr", "Kundentyp", "Messeeinladung", "Mailing"})
            expected.append({91, missing(name)});
        QCOMPARE(f.events, expected);
    }
    void itemDataRefused_data()
    {
        QTest::addColumn<bool>("folderOpen");
        QTest::addColumn<bool>("withItem");
        QTest::newRow("no folder open") << false << true;
        QTest::newRow("no item") << true << false;
    }
    void itemDataRefused()
    {
        QFETCH(bool, folderOpen);
        QFETCH(bool, withItem);
        const ContactItem item = full();
        Fields f(folderOpen);
        ContactItemData data;
        data.sLastName = QStringLiteral("alt");
        QVERIFY(!f.fields.GetItemData(withItem ? &item : nullptr, data));
        QCOMPARE(data.sLastName, "alt");
        QVERIFY(f.events.isEmpty());
        ContactFields unanswered; // an owner that never says a folder is open
        QVERIFY(!unanswered.GetItemData(&item, data));
    }
    void itemDataTrapsErrors()
    {
        ScriptedUserInterface ui;
        ui.answer(Mb::No);
        const ContactItem item = full();
        Fields f;
        f.fields.setFolderOpenCheck([]() -> bool { throw ZwError(5, "Weg"); });
        ContactItemData data;
        QVERIFY(!f.fields.GetItemData(&item, data));
        QCOMPARE(ui.boxes().size(), 1);
        QVERIFY(ui.boxes()[0].text.startsWith(u"Fehler: GetItemData\r\nWeg (Nr. 5"));
    }

    // The "Herrn" rule is on: it belongs to the title alone, not to the salutation.
    void compositeField_data()
    {
        QTest::addColumn<QString>("contact");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("addressType");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("style");
        auto row = [](const char* tag, const char* contact, const char* name, int type,
                      const char* expected, int style = 0) {
            QTest::newRow(tag) << contact << name << type << expected << style;
        };
        // Street, city, postcode, postcode+city, country of the selected address.
        const char* values[] = {"Hauptstr. 1|München|80331|80331 München|",
                                "Gartenweg 5|Berlin|10115|10115 Berlin|deutschland",
                                "Ringstr. 9|Wien|1010|1010 Wien|Österreich", "||||", "||||"};
        const int types[] = {0, 1, 2, 5, -1};
        const char* parts[] = {"Straße", "Ort", "PLZ", "PLZ+Ort", "Land"};
        for (int t = 0; t < 5; ++t) {
            const QStringList v = QString(values[t]).split(u'|');
            for (int p = 0; p < 5; ++p) {
                const QByteArray name = QByteArray(parts[p]) + " ausgewählte Adresse";
                QTest::addRow("%s, type %d", name.constData(), types[t])
                    << "full" << QString(name) << types[t] << v[p] << 0;
            }
        }
        row("title and name", "full", "Anrede+Name", 0, "Herrn Dr. Hans Berger");
        row("title and name of an empty contact", "empty", "Anrede+Name", 0, "");
        row("blank line, even without address", "empty", "<Leerzeile vor Ort>", 5, " ");
        row("city without postcode: no leading blank", "cityOnly", "PLZ+Ort ausgewählte Adresse", 0,
            "München");
        row("unknown composite name", "full", "Anrede + Name", 0, "");
        row("composite names are case-sensitive", "full", "anrede+name", 0, "");
        row("an Outlook name is no composite field", "full", "Nachname", 0, "");
        row("line name without the blank", "full", "1.Anschrift-Zeile", 0, "");
        auto salutation = [&](const char* title, const char* last, int style,
                              const char* expected) {
            const QByteArray tag = QByteArray("salutation '") + title + "' '" + last + "' style " +
                                   QByteArray::number(style);
            const QByteArray values = QByteArray("Title=") + title + "|LastName=" + last;
            row(tag.constData(), values.constData(), "Briefanrede+Name", 0, expected, style);
        };
        salutation("Herr Dr.", "Berger", 0, "Sehr geehrter Herr Dr. Berger,");
        salutation("Herr Dr.", "Berger", 1, "Lieber Herr Dr. Berger,");
        salutation("Frau", "Berger", 1, "Liebe Frau Berger,");
        salutation("Frau", "Berger", 2, "Sehr geehrte Frau Berger,");
        salutation("", "Berger", 0, "Sehr geehrte Berger,");
        salutation("", "", 1, "Liebe,");
        salutation("Mr", "Smith", 0, "Sehr geehrter Mr Smith,");
        salutation("Mrs", "Smith", 0, "Sehr geehrter Mrs Smith,"); // a plain substring test
        salutation("herr", "Berger", 0, "Sehr geehrte herr Berger,");
        salutation("Frau und Herr", "Berger", 0, "Sehr geehrter Frau und Herr Berger,");
    }
    void compositeField()
    {
        QFETCH(QString, contact);
        QFETCH(QString, name);
        QFETCH(int, addressType);
        QFETCH(int, style);
        Fields f;
        f.fields.setAddNToHerr(true);
        QTEST(f.get(::contact(contact), name, 1, addressType, 0, style), "expected");
    }

    void addressBlock_data()
    {
        QTest::addColumn<QString>("contact");
        QTest::addColumn<int>("addressType");
        QTest::addColumn<int>("order");
        QTest::addColumn<QString>("flags"); // S same line, L blank line before city, N Herrn
        QTest::addColumn<QString>("lines"); // seven lines, joined by "|"
        auto row = [](const char* tag, const char* contact, int type, int order, const char* flags,
                      const char* lines) {
            QTest::newRow(tag) << contact << type << order << flags << lines;
        };
        row("personal, two name lines, blank line, Herrn", "berger", 0, 1, "LN",
            "Herrn|Hans Berger|Muster GmbH|Hauptstr. 1| |80331 München|");
        row("business, one name line, blank line, Herrn", "berger", 0, 0, "SLN",
            "Muster GmbH|Herrn Hans Berger|Hauptstr. 1| |80331 München||");
        row("business, two name lines", "berger", 0, 0, "",
            "Muster GmbH|Herr|Hans Berger|Hauptstr. 1|80331 München||");
        row("personal, one name line", "berger", 0, 1, "S",
            "Herr Hans Berger|Muster GmbH|Hauptstr. 1|80331 München|||");
        row("any order but 0 is personal", "berger", 0, 7, "S",
            "Herr Hans Berger|Muster GmbH|Hauptstr. 1|80331 München|||");
        row("full business block is cut after line 7", "full", 0, 0, "L",
            "Muster GmbH|Werk Süd|Halle 4|Herr Dr.|Hans Berger|Einkauf|Hauptstr. 1");
        row("full personal block loses its country", "full", 2, 1, "SN",
            "Herrn Dr. Hans Berger|Muster GmbH|Werk Süd|Halle 4|Einkauf|Ringstr. 9|1010 Wien");
        row("full business block, home address", "full", 1, 0, "S",
            "Muster GmbH|Werk Süd|Halle 4|Herr Dr. Hans Berger|Einkauf|Gartenweg 5|10115 Berlin");
        row("no address selected: names and company only", "berger", 5, 1, "",
            "Herr|Hans Berger|Muster GmbH||||");
        row("no address selected, the blank line still stands", "berger", 5, 1, "L",
            "Herr|Hans Berger|Muster GmbH| |||");
        row("abroad: country line", "abroad", 0, 0, "S",
            "Muster GmbH|Herr Hans Berger|Hauptstr. 1|80331 München|Österreich||");
        row("empty contact", "empty", 0, 1, "", "||||||");
    }
    void addressBlock()
    {
        QFETCH(QString, contact);
        QFETCH(int, addressType);
        QFETCH(int, order);
        QFETCH(QString, flags);
        const ContactItem item = ::contact(contact);
        Fields f;
        f.fields.setTitleAndNameOnSameLine(flags.contains(u'S'));
        f.fields.setAddEmptyLineBeforeCity(flags.contains(u'L'));
        f.fields.setAddNToHerr(flags.contains(u'N'));
        QStringList got;
        for (int n = 1; n <= 7; ++n)
            got.append(f.get(item, QStringLiteral("%1. Anschrift-Zeile").arg(n), 1, addressType,
                             order, 0));
        QTEST(got.join(u'|'), "lines");
    }
    void addressBlockReportsMissingCompanyLines()
    {
        ScriptedUserInterface ui;
        ui.answer(Mb::Ok);
        ui.answer(Mb::Ok);
        const ContactItem item = berger();
        ContactFields fields;
        for (int n = 1; n <= 7; ++n)
            fields.GetFieldData(&item, QStringLiteral("%1. Anschrift-Zeile").arg(n), 1, 0, 1, 0);
        // Once each per block, in block order.
        QCOMPARE(ui.boxes().size(), 2);
        QCOMPARE(ui.boxes()[0].text, missing("Firma 2"));
        QCOMPARE(ui.boxes()[1].text, missing("Firma 3"));
        QCOMPARE(ui.boxes()[0].style, Mb::OkOnly + Mb::Exclamation);
    }

    void cursor_data()
    {
        // Requests "A:n" or "B:n" (line n of contact A = berger, B = full), or "A:<field>";
        // personal order, two name lines, no blank line.
        QTest::addColumn<QString>("requests");
        QTest::addColumn<QString>("results");
        auto row = [](const char* tag, const char* requests, const char* results) {
            QTest::newRow(tag) << requests << results;
        };
        row("fresh object: a later line has no cursor", "A:3|A:4",
            "Unknown field: ''|Unknown field: ''");
        row("line 1 again starts again", "A:1|A:1|A:2", "Herr|Herr|Hans Berger");
        row("only the order of requests counts", "A:1|A:5|A:0", "Herr|Hans Berger|Muster GmbH");
        row("12 counts as line 1", "A:1|A:2|A:12", "Herr|Hans Berger|Herr");
        row("not reset between contacts", "A:1|A:2|B:3|B:4",
            "Herr|Hans Berger|Muster GmbH|Werk Süd");
        row("after the end every line is empty until line 1", "A:1|A:2|A:3|A:4|A:5|A:6|A:9|B:1",
            "Herr|Hans Berger|Muster GmbH|Hauptstr. 1|80331 München|||Herr Dr.");
        row("other fields leave the cursor alone",
            "A:1|A:Anrede+Name|A:PLZ+Ort ausgewählte Adresse|A:2",
            "Herr|Herr Hans Berger|80331 München|Hans Berger");
    }
    void cursor()
    {
        QFETCH(QString, requests);
        const ContactItem a = berger();
        const ContactItem b = full();
        Fields f;
        QStringList got;
        for (const QString& r : requests.split(u'|')) {
            QString name = r.mid(2);
            if (name.front().isDigit())
                name += QStringLiteral(". Anschrift-Zeile");
            got.append(f.get(r.startsWith(u'A') ? a : b, name, 1, 0, 1, 0));
        }
        QTEST(got.join(u'|'), "results");
        // A second object has a cursor of its own.
        QCOMPARE(Fields().get(a, "2. Anschrift-Zeile", 1), "Unknown field: ''");
    }
};

QTEST_GUILESS_MAIN(TstContactFields)
#include "tst_contactfields.moc"
