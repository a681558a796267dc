#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"
#include "contacts/VCardWriter.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QTest>

using T = ContactUserProperty::Type;

namespace
{

ContactItem itemFrom(const QByteArray& lines, const char* version = "3.0")
{
    const QByteArray bytes =
        QByteArray("BEGIN:VCARD\r\nVERSION:") + version + "\r\n" + lines + "END:VCARD\r\n";
    return ContactItem(VCardReader::read(bytes).cards.value(0));
}

ContactItem writtenAndRead(const ContactItem& item)
{
    const QByteArray out = VCardWriter::write(item.card());
    return ContactItem(VCardReader::read(out).cards.value(0));
}

QString shown(const QVariant& v)
{
    if (v.typeId() == QMetaType::QStringList)
        return v.toStringList().join(u',');
    if (v.typeId() == QMetaType::QDate)
        return v.toDate().toString(Qt::ISODate);
    return v.toString();
}

// "Property=value|Property=value" as the item shows the properties named in `expected`.
QString valuesOf(const ContactItem& item, const QString& expected)
{
    QStringList got;
    for (const QString& e : expected.split(u'|')) {
        const QString name = e.left(e.indexOf(u'='));
        if (!ContactItem::isKnownProperty(name))
            return QStringLiteral("unknown property ") + name;
        got.append(name + u'=' + shown(item.value(name)));
    }
    return got.join(u'|');
}

} // namespace

class TstContactItem : public QObject
{
    Q_OBJECT

private slots:
    // Real exports: which property each of their lines lands in ("Property=value|...").
    void corpusMapping_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("card");
        QTest::addColumn<QString>("expected");
        auto row = [](const char* tag, const char* file, int card, const QString& expected) {
            QTest::newRow(tag) << QString::fromLatin1(file) << card << expected;
        };
        const QString cjk = "十城目管理大型知座";
        row("Evolution 2.1: bare QP before CHARSET, raw UTF-8 N", "eds-vcard-5.vcf", 0,
            "FileAs=" + cjk + "|FirstName=" + cjk + "|BusinessTelephoneNumber=" + cjk +
                "|Email1Address=weird@weird.com|EntryID=UID:pas-id-3E52FE2E00000000");
        row("FullContact 4.0: GENDER beside X-GENDER, BDAY with ALTID", "ezvcard-fullcontact.vcf",
            0,
            "Gender=2|Birthday=2016-08-01|JobTitle=Title1|CompanyName=Organization1|"
            "Department=Department1|OtherAddressCity=OtherCity|Email1Address=home@example.com|"
            "OtherTelephoneNumber=555-555-1115|Categories=Tag");
        row("Google: every label", "ezvcard-gmail-single2.vcf", 0,
            "BusinessTelephoneNumber=5555551113|CompanyMainTelephoneNumber=5555551116|"
            "HomeFaxNumber=5555551117|BusinessFaxNumber=5555551118|"
            "OtherTelephoneNumber=5555551111|BusinessAddressStreet=113 Main St|"
            "HomeAddressStreet=112 Main St|OtherAddressStreet=111 Main St|ReferredBy=Name13|"
            "Spouse=Name2|ManagerName=Name11|AssistantName=Name12|Children=Name3|"
            "Anniversary=1930-03-20|WebPage=http://www.example5.com|"
            "Email1Address=email@example.com|Email3Address=workemail@example.com");
        row("4.0 label with carets and colons", "ezvcard-issue114.vcf", 0,
            "BusinessAddressCity=Bad Homburg|BusinessAddressPostalCode=61352|"
            "BusinessAddressCountry=Germany|MobileTelephoneNumber=+49 1234 56789");
        row("Android: first of six", "ezvcard-John_Doe_ANDROID.vcf", 0,
            "Email1Address=john.doe@company.com|Categories=My Contacts");
        row("Android: QP name", "ezvcard-John_Doe_ANDROID.vcf", 2,
            "LastName=Ñ Ñ Ñ Ñ|FullName=Ñ Ñ Ñ Ñ Ñ|MobileTelephoneNumber=123456789");
        row("Android: continuation starting =20", "ezvcard-John_Doe_ANDROID.vcf", 3,
            "LastName=Ñ Ñ Ñ Ñ Ñ Ñ Ñ Ñ Ñ Ñ Ñ|HomeTelephoneNumber=234567|"
            "Home2TelephoneNumber=45678901");
        row("Android: two QP e-mails", "ezvcard-John_Doe_ANDROID.vcf", 4,
            "FirstName=Ñ Ñ Ñ|Email1Address=bob@company.com|Email2Address=ÑÑÑÑÑÑÑÑÑÑÑÑÑÑ");
        row("Android: sixth card", "ezvcard-John_Doe_ANDROID.vcf", 5,
            "LastName=ÑÑÑÑ|Email1Address=henry@company.com");
        row("Evolution 3.0: its own X- names, folds mid-word", "ezvcard-John_Doe_EVOLUTION.vcf", 0,
            "FileAs=Doe, John|Spouse=Maria|ManagerName=Big Blue|AssistantName=Little Red|"
            "Anniversary=1980-03-22|OfficeLocation=Dungeon|MiddleName=Richter, James|"
            "Email1Address=john.doe@ibm.com|HomeAddressCountry=United States of America|"
            "HomeAddressPostOfficeBox=ASB-123|BusinessTelephoneNumber=905-555-1234|"
            "WebPage=http://www.ibm.com|Categories=VIP");
        row("Google: address in ADR.2, labelled dates", "ezvcard-John_Doe_GMAIL.vcf", 0,
            "Anniversary=1975-03-01|Spouse=Jenny|HomeAddressStreet=Crescent moon drive\n555-asd\n"
            "Nice Area, Albaney, New York 12345\nUnited States of America|"
            "WebPage=http://www.ibm.com|MiddleName=Richter, James");
        row("Outlook 2007 2.1", "ezvcard-John_Doe_MS_OUTLOOK.vcf", 0,
            "Anniversary=2011-01-13|ManagerName=Big Blue|AssistantName=Jenny|"
            "MiddleName=Richter,James|BusinessAddressStreet=Cresent moon drive|"
            "HomeAddressStreet=Silicon Alley 5,|Email1Address=john.doe@ibm.cm|"
            "Profession=Counting Money|FullName=Mr. John Richter James Doe Sr.");
        row("Outlook 2003: office in ADR.2", "ezvcard-outlook-2003.vcf", 0,
            "OfficeLocation=TheOffice|BusinessAddressStreet=123 Main St|CompanyName=Company, The|"
            "Department=TheDepartment|BusinessTelephoneNumber=BusinessPhone|"
            "BusinessFaxNumber=BusinessFaxPhone|HomeTelephoneNumber=HomePhone|"
            "MobileTelephoneNumber=MobilePhone|Profession=TheProfession|JobTitle=The Job Title|"
            "Birthday=1980-03-21|Title=Mr.|Suffix=III|NickName=Joey");
        row("German Outlook: raw windows-1252 without CHARSET", "fkvcards-AnsiIssue.vcf", 0,
            "HomeAddressStreet=Lämmerweg 12|HomeAddressCity=Kleindorf|"
            "HomeAddressCountry=Deutschland|BusinessAddressStreet=");
        row("raw windows-1252 name", "fkvcards-German.vcf", 0,
            "LastName=Nüßlebaum|FirstName=Sören|MiddleName=Täve|BusinessAddressCity=Mößlitz");
        row("three addresses: WORK, HOME, POSTAL", "fkvcards-LabelIssue.vcf", 0,
            "BusinessAddressStreet=Business-Straße 19|BusinessAddressCity=Schaffhausen|"
            "HomeAddressStreet=Freizeitweg 4|HomeAddressCity=Freizeithausen|"
            "OtherAddressStreet=Sonstgasse 44|OtherAddressCity=Anderstadt|"
            "OtherAddressPostalCode=37465|BusinessTelephoneNumber=0987 /6543|"
            "HomeTelephoneNumber=9876 /11223344");
        row("UTF-8 BOM", "fkvcards-utf-8.vcf", 0, "FullName=孔夫子|LastName=Konfuzius");
        row("Windows Address Book", "fkvcards-v2_1.vcf", 0,
            "Gender=2|Anniversary=2000-12-24|Spouse=Partner|OtherTelephoneNumber=Other Phone|"
            "PagerNumber=Pager|BusinessTelephoneNumber=Tel geschäftlich|HomeFaxNumber=Fax privat|"
            "Department=Führungsetage|Email1Address=privat@folker-kinzel.de|"
            "Email3Address=andere@folker-kinzel.de|PersonalHomePage=http://www.privat.de|"
            "WebPage=http://www.musterworks.de|Birthday=1972-01-31|Title=Dr.");
        row("CardBook: FAX without WORK/HOME", "fkvcards-v4.vcf", 0,
            "FullName=Möhrke Gerda|OtherFaxNumber=034441/ 39 23 34|CompanyName=KiTa Öhrdingen");
        row("CardBook: invalid BDAY, MAIN, OTHER, ITEM1 label", "fkvcards-v4.vcf", 1,
            "Birthday=4501-01-01|Gender=2|HomeFaxNumber=Fax privat|"
            "BusinessFaxNumber=Fax geschäftlich|OtherFaxNumber=Fax|"
            "CompanyMainTelephoneNumber=Festnetz|OtherTelephoneNumber=sonstige|"
            "Anniversary=2019-07-07|Email3Address=sonstige@freenet.de|"
            "Profession=Generalsekretär|JobTitle=Gröfaz");
        row("KAddressBook 4.0: quoted TYPE, PREF, tel: URIs", "kcontacts-testfullvcard.vcf", 0,
            "HomeTelephoneNumber=+44-555-555-5555;ext=5555|MobileTelephoneNumber=+44-555-555-6666|"
            "BusinessTelephoneNumber=+44-555-555-7777|"
            "Email1Address=detective@sherlockholmes.com|Email2Address=sherlock.holmes@gmail.com|"
            "Birthday=1953-10-15|Anniversary=1996-04-15|Gender=2|Language=en|"
            "Categories=FICTION,LITERATURE|BusinessAddressStreet=221B Baker Street|Title=Mr");
        row("KDE names upper-cased by a server", "kcontacts-vcard_extension_case_normalization.vcf",
            0,
            "Spouse=My Spouse|ManagerName=My Boss|AssistantName=Mycroft|OfficeLocation=My Office|"
            "Profession=My Job|Anniversary=1970-01-01");
        row("Apple company card after KDE", "kcontacts-vcardwithitemasapplesupport.vcf", 0,
            "FileAs=SOME COMPANY|BusinessAddressCity=CITY|BusinessAddressStreet=STREET|"
            "BusinessTelephoneNumber=(111) 111-1111|FirstName=SOMENAME");
        row("Ximian card: no VERSION, FN without colon", "kcontacts-vcard4.vcf", 0,
            "FileAs=Ximian, Inc.|CompanyName=Ximian, Inc.|FullName=Ximian, Inc.|"
            "BusinessTelephoneNumber=(617) 236-0442|BusinessFaxNumber=(617) 236-8630|"
            "EntryID=UID:pas-id-3E136F9B00000000");
        row("ownCloud: fold inside a UTF-8 sequence", "kcontacts-vcard9.vcf", 0,
            "LastName=123ㄓㄕㄖbcdeαβγδαβγδαβγδαβγδαβγδαβγδαβㄤㄓㄕㄖ|FullName=" +
                QString("βγδεαβγδ1").repeated(11) +
                "|EntryID=UID:20140316T155019.877e370c11@martin");
        row("QP soft break inside ADR does not eat the next line", "kcontacts-vcard10.vcf", 1,
            "HomeAddressStreet=AAAAAAA-AäAAAAA 11|HomeAddressCity=Urt|"
            "HomeAddressPostalCode=00000|WebPage=http://some-webseite.com");
        row("QP title split mid-word", "kcontacts-vcard10.vcf", 3,
            "JobTitle=Facharzt für Allgemeinmedizin|Title=Dr. med.");
        row("QP street with line break", "kcontacts-vcard10.vcf", 4,
            "BusinessAddressStreet=DDDDDDDDDDDstraße 26\n00000 DDDDDDDDDDDDDDDDD");
        row("Evolution photos and UI slot", "kcontacts-vcard12.vcf", 0,
            "Email1Address=goodlooking@example.com|FullName=Good Looking");
        row("Thunderbird legacy: lower case, late VERSION", "thunderbird-export-legacy-2.1.vcf", 1,
            "LastName=two|FirstName=contact|Email1Address=contact2@invalid|JobTitle=\"worker\"");
        row("Thunderbird 4.0", "thunderbird-export-4.0.vcf", 1,
            "JobTitle=\"worker\"|Email1Address=contact2@invalid|"
            "EntryID=UID:yyyyyyyy-yyyy-yyyy-yyyy-yyyyyyyyyyyy");
    }

    void corpusMapping()
    {
        QFETCH(QString, file);
        QFETCH(int, card);
        QFETCH(QString, expected);
        const QString shared = TestEnvironment::sharedDir();
        const QString path = shared + QStringLiteral("/testdata/vcards/") + file;
        if (shared.isEmpty() || !QFile::exists(path))
            QSKIP("The shared vCard corpus (ZW_SHARED_DIR/testdata/vcards) is not available.");
        const VCardReader::Result r = VCardReader::readFile(path);
        QVERIFY(card < r.cards.size());
        QCOMPARE(valuesOf(ContactItem(r.cards[card], path, card), expected), expected);
    }

    // Where a card's lines land: addresses, telephones, preference, dates and gender.
    void mapping_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("expected"); // "Property=value|..."
        auto row = [](const char* tag, const char* version, const QByteArray& lines,
                      const QString& expected) {
            QTest::newRow(tag) << version << lines << expected;
        };
        const QString streets =
            "BusinessAddressStreet=%1|HomeAddressStreet=%2|OtherAddressStreet=%3";
        auto adr = [&](const char* tag, const char* lines, const char* b, const char* h,
                       const char* o) { row(tag, "3.0", lines, streets.arg(b, h, o)); };
        adr("WORK, HOME, OTHER",
            "ADR;TYPE=OTHER:;;O;;;;\r\nADR;TYPE=HOME:;;H;;;;\r\nADR;TYPE=WORK:;;W;;;;\r\n", "W",
            "H", "O");
        adr("POSTAL alone is other (Outlook)", "ADR;TYPE=POSTAL:;;P;;;;\r\n", "", "", "P");
        adr("POSTAL with WORK is business", "ADR;TYPE=POSTAL,WORK:;;P;;;;\r\n", "P", "", "");
        adr("untyped alone is business", "ADR:;;U;;;;\r\n", "U", "", "");
        adr("untyped beside a typed business is other", "ADR:;;U;;;;\r\nADR;TYPE=WORK:;;W;;;;\r\n",
            "W", "", "U");
        adr("labelled group is other", "item2.ADR:;;L;;;;\r\nitem2.X-ABLabel:CustomAdrType\r\n", "",
            "", "L");
        adr("first of a class wins", "ADR;TYPE=HOME:;;H1;;;;\r\nADR;TYPE=HOME:;;H2;;;;\r\n", "",
            "H1", "");
        adr("PREF breaks ties", "ADR;TYPE=HOME:;;H1;;;;\r\nADR;TYPE=HOME,PREF:;;H2;;;;\r\n", "",
            "H2", "");
        adr("extended address is the first street line",
            "ADR;TYPE=HOME:;Suite D2-630;2875 Laurier;;;;\r\n", "", "Suite D2-630\n2875 Laurier",
            "");
        adr("street as a comma list", "ADR;TYPE=HOME:;;Hof 2,Haus B;;;;\r\n", "", "Hof 2\nHaus B",
            "");

        // ADR's second component is Outlook's office only on a card that comes from Outlook;
        // everywhere else it is a first street line ("c/o ...").
        const QByteArray adr3 = "ADR;TYPE=WORK:;c/o Meier;Hauptstr. 1;;;;\r\n";
        const char* coLine = "BusinessAddressStreet=c/o Meier\nHauptstr. 1|OfficeLocation=";
        const char* office = "BusinessAddressStreet=Hauptstr. 1|OfficeLocation=c/o Meier";
        row("3.0 without PRODID, basic REV: c/o line", "3.0", "REV:20121012T210525Z\r\n" + adr3,
            coLine);
        row("4.0 with an X-MS- line: never Outlook", "4.0", "X-MS-OL-DESIGN:x\r\n" + adr3, coLine);
        row("3.0 PRODID naming Outlook: office", "3.0",
            "PRODID:-//Microsoft Corporation//Outlook 16.0 MIMEDIR//EN\r\n" + adr3, office);
        row("3.0 X-MS- line: office", "3.0", "X-MS-OL-DEFAULT-POSTAL-ADDRESS:2\r\n" + adr3, office);
        row("3.0 with basic REV and Outlook's LABEL (written back): office", "3.0",
            "REV:20121012T210525Z\r\nLABEL;TYPE=WORK:c/o Meier\\nHauptstr. 1\r\n" + adr3, office);
        row("2.1 with Outlook 2003's signs: office", "2.1",
            "REV:20121012T210525Z\r\nADR;WORK:;Raum 4;Hauptstr. 1;;;;\r\n",
            "BusinessAddressStreet=Hauptstr. 1|OfficeLocation=Raum 4");

        row("2.1 Outlook telephone types", "2.1",
            "TEL;WORK;VOICE:1\r\nTEL;HOME;VOICE:2\r\nTEL;CELL;VOICE:3\r\nTEL;WORK;FAX:4\r\n"
            "TEL;PAGER;VOICE:5\r\nTEL;VOICE:6\r\n",
            "BusinessTelephoneNumber=1|HomeTelephoneNumber=2|MobileTelephoneNumber=3|"
            "BusinessFaxNumber=4|PagerNumber=5|OtherTelephoneNumber=6");
        row("second of a class is Business2/Home2", "3.0",
            "TEL;TYPE=WORK:1\r\nTEL;TYPE=WORK:2\r\nTEL;TYPE=HOME:3\r\nTEL;TYPE=HOME:4\r\n",
            "BusinessTelephoneNumber=1|Business2TelephoneNumber=2|HomeTelephoneNumber=3|"
            "Home2TelephoneNumber=4|OtherTelephoneNumber=");
        row("a number never appears twice", "3.0",
            "TEL;TYPE=WORK,CELL:1\r\nTEL;TYPE=HOME,FAX:2\r\n",
            "MobileTelephoneNumber=1|BusinessTelephoneNumber=|HomeFaxNumber=2|"
            "HomeTelephoneNumber=");
        row("FAX alone is other fax", "3.0", "TEL;TYPE=FAX:1\r\n",
            "OtherFaxNumber=1|OtherTelephoneNumber=");
        row("Outlook X-MS-TEL classes", "3.0",
            "X-MS-TEL;TYPE=COMPANY:1\r\nX-MS-TEL;VOICE;CALLBACK:2\r\nX-MS-TEL;TYPE=ASSISTANT:3\r\n"
            "X-MS-TEL;TYPE=RADIO:4\r\nX-MS-TEL;TYPE=TTYTDD:5\r\n",
            "CompanyMainTelephoneNumber=1|CallbackTelephoneNumber=2|AssistantTelephoneNumber=3|"
            "RadioTelephoneNumber=4|TTYTDDTelephoneNumber=5|OtherTelephoneNumber=");
        row("Evolution and own vendor types", "3.0",
            "TEL;TYPE=X-EVOLUTION-TELEX:1\r\nTEL;TYPE=X-ZETTELWERK-ASSISTANT:2\r\n"
            "TEL;TYPE=CAR:3\r\nTEL;TYPE=ISDN:4\r\nTEL;TYPE=MAIN:5\r\n",
            "TelexNumber=1|AssistantTelephoneNumber=2|CarTelephoneNumber=3|ISDNNumber=4|"
            "CompanyMainTelephoneNumber=5");
        row("Apple label", "3.0",
            "item1.TEL:1\r\nitem1.X-ABLabel:_$!<AssistantPhone>!$_\r\nTEL:2\r\n",
            "AssistantTelephoneNumber=1|OtherTelephoneNumber=2");
        row("preference picks Business over Business2", "4.0",
            "TEL;TYPE=WORK:1\r\nTEL;TYPE=WORK;PREF=1:2\r\n",
            "BusinessTelephoneNumber=2|Business2TelephoneNumber=1");

        const QString emails = "Email1Address=%1|Email2Address=%2|Email3Address=%3";
        auto mail = [&](const char* tag, const char* version, const char* lines, const char* a,
                        const char* b,
                        const char* c) { row(tag, version, lines, emails.arg(a, b, c)); };
        mail("e-mails in file order without PREF", "3.0", "EMAIL:a\r\nEMAIL:b\r\nEMAIL:c\r\n", "a",
             "b", "c");
        mail("4.0 PREF=n ascending", "4.0",
             "EMAIL;PREF=3:a\r\nEMAIL;PREF=1:b\r\nEMAIL:c\r\nEMAIL;PREF=2:d\r\n", "b", "d", "a");
        mail("3.0 TYPE=pref counts as 1", "3.0", "EMAIL:a\r\nEMAIL;TYPE=INTERNET,pref:b\r\n", "b",
             "a", "");
        mail("2.1 bare PREF", "2.1", "EMAIL;INTERNET:a\r\nEMAIL;PREF;INTERNET:b\r\n", "b", "a", "");

        for (auto [tag, line, date] :
             {std::tuple{"basic date", "BDAY:19800322", "1980-03-22"},
              {"extended date", "BDAY:1980-03-22", "1980-03-22"},
              {"Apple value=date", "BDAY;value=date:2012-06-06", "2012-06-06"},
              {"date-time with zone", "BDAY:1996-04-15T201243+04:00", "1996-04-15"},
              {"4.0 date without year", "BDAY:--0415", "1604-04-15"},
              {"without year, with dash", "BDAY:--04-16", "1604-04-16"},
              {"Apple omitted year", "BDAY;X-APPLE-OMIT-YEAR=1604:1604-08-20", "1604-08-20"},
              {"invalid month is no date", "BDAY:19723101", "4501-01-01"},
              {"text alternative is skipped",
               "BDAY;ALTID=1;VALUE=text:circa 1800\r\nBDAY;ALTID=1:18000101", "1800-01-01"},
              {"no BDAY is Outlook's none date", "NOTE:x", "4501-01-01"}})
            row(tag, "3.0", QByteArray(line) + "\r\n", QStringLiteral("Birthday=") + date);

        for (auto [tag, lines, gender] :
             {std::tuple{"GENDER:F", "GENDER:F", "1"},
              {"GENDER:M with identity", "GENDER:M;boy", "2"},
              {"GENDER:O", "GENDER:O", "0"},
              {"X-GENDER:Female", "X-GENDER:Female", "1"},
              {"WAB 1 is female", "X-WAB-GENDER:1", "1"},
              {"WAB 2 is male", "X-WAB-GENDER:2", "2"},
              {"GENDER before X-GENDER", "X-GENDER:female\r\nGENDER:M", "2"},
              {"no gender", "NOTE:x", "0"}})
            row(tag, "4.0", QByteArray(lines) + "\r\n", QStringLiteral("Gender=") + gender);
    }

    void mapping()
    {
        QFETCH(QString, version);
        QFETCH(QByteArray, lines);
        QFETCH(QString, expected);
        const ContactItem item = itemFrom(lines, qPrintable(version));
        QCOMPARE(valuesOf(item, expected), expected);
    }

    // Written and read back, in 3.0 and 4.0, a date stays, a date without year included.
    void datesRoundTrip()
    {
        for (const char* version : {"3.0", "4.0"}) {
            for (const QDate& date : {QDate(1980, 3, 22), QDate(1604, 4, 15), QDate(1800, 1, 1),
                                      ContactItem::noDate()}) {
                ContactItem copy = itemFrom("FN:x\r\n", version);
                copy.setValue(u"Birthday", date);
                QCOMPARE(writtenAndRead(copy).value(u"Birthday").toDate(), date);
            }
        }
        QCOMPARE(itemFrom("X-WAB-GENDER:2\r\n").value(u"Gender").typeId(), QMetaType::Int);
    }

    void lookupIsCaseInsensitive()
    {
        const ContactItem item = itemFrom("N:Muster;Max;;;\r\n");
        QCOMPARE(item.value(u"lastname").toString(), "Muster");
        QCOMPARE(item.value(u"LASTNAME").toString(), "Muster");
        QVERIFY(!item.value(u"NoSuchProperty").isValid());
        QCOMPARE(item.value(u"MessageClass").toString(), "IPM.Contact");
        ContactItem writable = item;
        QVERIFY(!writable.setValue(u"NoSuchProperty", "x"));
        QVERIFY(!writable.setValue(u"EntryID", "x"));
        QVERIFY(writable.setValue(u"firstname", "Moritz"));
        QCOMPARE(writable.value(u"FirstName").toString(), "Moritz");
    }

    void everyPropertyRoundTrips_data()
    {
        QTest::addColumn<QString>("version");
        QTest::newRow("3.0") << "3.0";
        QTest::newRow("4.0") << "4.0";
    }

    void everyPropertyRoundTrips()
    {
        QFETCH(QString, version);
        ContactItem item = itemFrom("", qPrintable(version));
        QMap<QString, QVariant> set; // cleared below in a fixed order
        int n = 0;
        for (const QString& name : ContactItem::propertyNames()) {
            if (name == u"EntryID" || name == u"MessageClass")
                continue;
            QVariant v = QString("Wert %1, ä; \\ \"x\"").arg(n);
            if (name == u"Birthday" || name == u"Anniversary")
                v = QDate(1970 + n, 1 + n % 12, 1 + n % 28);
            else if (name == u"Gender")
                v = 1;
            else if (name == u"Categories")
                v = QStringList{"Kunde", "Lieferant, Nord"};
            else if (name == u"Children")
                v = QStringLiteral("Anna, Ben");
            else if (name == u"Language")
                v = QStringLiteral("de-CH");
            else if (name.contains(u"Street"))
                v = QString("Hauptstraße %1\nHinterhaus; 2. Stock").arg(n);
            QVERIFY2(item.setValue(name, v), qPrintable(name));
            set.insert(name, v);
            ++n;
        }
        // Everything reads back at once, and after writing and reading the card.
        for (const ContactItem& it : {item, writtenAndRead(item)}) {
            for (auto i = set.cbegin(); i != set.cend(); ++i)
                QCOMPARE(shown(it.value(i.key())), shown(i.value()));
        }
        // Clearing removes every value again.
        for (const QString& name : set.keys()) {
            const QVariant empty = (name == u"Birthday" || name == u"Anniversary")
                                       ? QVariant(ContactItem::noDate())
                                   : name == u"Gender"     ? QVariant(0)
                                   : name == u"Categories" ? QVariant(QStringList())
                                                           : QVariant(QString());
            QVERIFY(item.setValue(name, empty));
        }
        const ContactItem cleared = writtenAndRead(item);
        for (const QString& name : set.keys()) {
            if (name == u"FileAs" || name == u"FullName")
                continue; // derived from what is left
            const QString v = shown(cleared.value(name));
            QVERIFY2(v.isEmpty() || v == u"0" || v == u"4501-01-01", qPrintable(name + u'=' + v));
        }
    }

    void editWritesBackWhereItCameFrom_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("written");
        auto row = [](const char* tag, const char* line, const char* property,
                      const QVariant& value, const char* written) {
            QTest::newRow(tag) << QByteArray(line) << property << value << QByteArray(written);
        };
        row("Evolution spouse", "X-EVOLUTION-SPOUSE:Maria", "Spouse", "Marta",
            "X-EVOLUTION-SPOUSE:Marta");
        row("Outlook anniversary keeps its basic form", "X-MS-ANNIVERSARY:20110113", "Anniversary",
            QDate(2012, 2, 14), "X-MS-ANNIVERSARY:20120214");
        row("Google labelled spouse",
            "item2.X-ABRELATEDNAMES:Jenny\r\nitem2.X-ABLabel:_$!<Spouse>!$_", "Spouse", "Jo",
            "item2.X-ABRELATEDNAMES:Jo");
        row("Outlook office cleared: its ADR slot empties",
            "X-MS-OL-DESIGN:x\r\nADR;TYPE=WORK:;Raum 4;Weg 1;;;;", "OfficeLocation", QString(),
            "ADR;TYPE=WORK:;;Weg 1;;;;");
        row("first business phone cleared: an empty line keeps the second second",
            "TEL;TYPE=WORK:1\r\nTEL;TYPE=WORK:2", "BusinessTelephoneNumber", QString(),
            "TEL;TYPE=WORK:\r\nTEL;TYPE=WORK:2");
        row("Outlook's positional user field cleared keeps its slot",
            "X-MS-TEXT:eins\r\nX-MS-TEXT:zwei", "User1", QString(), "X-MS-TEXT:\r\nX-MS-TEXT:zwei");
        row("Evolution office cleared: only ORG.3 empties", "ORG:IBM;Accounting;Dungeon",
            "OfficeLocation", QString(), "ORG:IBM;Accounting;");
        row("office cleared on a card not from Outlook: the c/o line stays",
            "ADR;TYPE=WORK:;c/o Meier;Weg 1;;;;", "OfficeLocation", QString(),
            "ADR;TYPE=WORK:;c/o Meier;Weg 1;;;;");
        row("WAB gender keeps its numbers", "X-WAB-GENDER:2", "Gender", 1, "X-WAB-GENDER:1");
        row("Evolution office in ORG.3", "ORG:IBM;Accounting;Dungeon", "OfficeLocation", "Tower",
            "ORG:IBM;Accounting;Tower");
        row("Thunderbird custom field", "X-CUSTOM2:alt", "User2", "neu", "X-CUSTOM2:neu");
        row("new value without alias gets our own name", "NOTE:x", "ManagerName", "Chefin",
            "X-ZETTELWERK-MANAGER-NAME:Chefin");
        row("telex as an ordinary TEL", "NOTE:x", "TelexNumber", "123",
            "TEL;TYPE=X-ZETTELWERK-TELEX:123");
    }

    void editWritesBackWhereItCameFrom()
    {
        QFETCH(QByteArray, line);
        QFETCH(QString, property);
        QFETCH(QVariant, value);
        QFETCH(QByteArray, written);
        ContactItem item = itemFrom(line + "\r\n");
        QVERIFY(item.setValue(property, value));
        const QByteArray out = VCardWriter::write(item.card());
        QVERIFY2(out.contains("\r\n" + written + "\r\n"), out.constData());
        QCOMPARE(shown(writtenAndRead(item).value(property)), shown(value));
    }

    void clearingDeletesEveryAlias()
    {
        ContactItem item =
            itemFrom("X-ZETTELWERK-SPOUSE:A\r\nX-MS-SPOUSE:B\r\nX-EVOLUTION-SPOUSE:C\r\n"
                     "item1.X-ABRELATEDNAMES:D\r\nitem1.X-ABLabel:_$!<Spouse>!$_\r\n"
                     "X-ABRELATEDNAMES:not a spouse\r\nNOTE:stays\r\n");
        QCOMPARE(item.value(u"Spouse").toString(), "A");
        QVERIFY(item.setValue(u"Spouse", QString()));
        QCOMPARE(writtenAndRead(item).value(u"Spouse").toString(), QString());
        const QByteArray out = VCardWriter::write(item.card());
        QVERIFY(!out.contains("SPOUSE"));
        QVERIFY(out.contains("X-ABRELATEDNAMES:not a spouse"));
        QVERIFY(out.contains("NOTE:stays"));
    }

    void newItemIsWrittenAs30()
    {
        ContactItem item;
        for (auto [p, v] : {std::pair{"Title", "Herr"},
                            {"FirstName", "Max"},
                            {"LastName", "Müller"},
                            {"CompanyName", "Muster AG"},
                            {"BusinessAddressCity", "Berlin"},
                            {"BusinessTelephoneNumber", "030 1234"},
                            {"Email1Address", "max@example.com"},
                            {"FileAs", "Müller, Max (Muster AG)"}})
            QVERIFY(item.setValue(QString::fromLatin1(p), QString::fromUtf8(v)));
        const QString out = QString::fromUtf8(VCardWriter::write(item.card()));
        QVERIFY(out.startsWith(u"BEGIN:VCARD\r\nVERSION:3.0\r\n"));
        for (const char* line : {"N:Müller;Max;;Herr;", "FN:Herr Max Müller", "ORG:Muster AG;",
                                 "ADR;TYPE=WORK:;;;Berlin;;;", "TEL;TYPE=WORK,VOICE:030 1234",
                                 "EMAIL;TYPE=INTERNET,PREF:max@example.com",
                                 "X-ZETTELWERK-FILE-AS:Müller\\, Max (Muster AG)"})
            QVERIFY2(out.contains("\r\n" + QString::fromUtf8(line) + "\r\n"), line);
        QVERIFY(item.entryId().startsWith(u"UID:"));
        QCOMPARE(writtenAndRead(item).entryId(), item.entryId());
    }

    void userPropertiesRoundTrip_data()
    {
        QTest::addColumn<QString>("version");
        QTest::newRow("3.0") << "3.0";
        QTest::newRow("4.0") << "4.0";
    }

    void userPropertiesRoundTrip()
    {
        QFETCH(QString, version);
        const QList<ContactUserProperty> props = {
            {"Firma 2", T::Text, "Muster AG, Werk Süd; Halle 3", {}},
            {"Firma 3", T::Text, QString(""), {}},
            {"Zuständige Abteilungen", T::Keywords, QStringList{"Einkauf", "Vertrieb, Nord"}, {}},
            {"Weihnachtsgeschenke", T::Keywords, QStringList{"Kalender", "Karte"}, {}},
            {"Messeeinladung", T::YesNo, true, {}},
            {"Mailing", T::YesNo, false, {}},
            {"Umsatz", T::Number, 1234.5, {}},
            {"Erstkontakt", T::DateTime, QDate(2019, 7, 7), {}},
            {"Name \"mit\" ^Zeichen^", T::Text, "x", {}},
            {"Zukunft", T::Text, "unbekannter Typ", "currency"},
        };
        ContactItem item = itemFrom("FN:x\r\n", qPrintable(version));
        for (const ContactUserProperty& p : props)
            item.setUserProperty(p);
        // Each becomes one line of our own, its name and type as parameters.
        const QString out = QString::fromUtf8(VCardWriter::write(item.card()).replace("\r\n ", ""));
        for (const char* line :
             {"X-ZETTELWERK-USERPROP-FIRMA-2;X-ZETTELWERK-NAME=\"Firma 2\";X-ZETTELWERK-TYPE=text:"
              "Muster AG\\, Werk Süd\\; Halle 3",
              "X-ZETTELWERK-USERPROP-ZUSTAENDIGE-ABTEILUNGEN;X-ZETTELWERK-NAME=\"Zuständige "
              "Abteilungen\";X-ZETTELWERK-TYPE=keywords:Einkauf,Vertrieb\\, Nord",
              "X-ZETTELWERK-USERPROP-MESSEEINLADUNG;X-ZETTELWERK-NAME=Messeeinladung;"
              "X-ZETTELWERK-TYPE=yesno:TRUE"})
            QVERIFY2(out.contains("\r\n" + QString::fromUtf8(line) + "\r\n"), line);
        const ContactItem back = writtenAndRead(item);
        QCOMPARE(back.userPropertyNames().size(), props.size());
        for (const ContactUserProperty& p : props) {
            const std::optional<ContactUserProperty> r = back.userProperty(p.name.toUpper());
            QVERIFY2(r, qPrintable(p.name));
            QCOMPARE(r->name, p.name);
            QCOMPARE(r->type, p.type);
            QCOMPARE(r->value, p.value);
        }
        // The unknown type token survives.
        QCOMPARE(back.userProperty(u"Zukunft")->typeToken, "currency");
        QCOMPARE(writtenAndRead(back).userProperty(u"Zukunft")->typeToken, "currency");
        // Absent is not empty.
        QVERIFY(back.hasUserProperty(u"Firma 3"));
        QVERIFY(!back.hasUserProperty(u"Firma 4"));
        ContactItem removed = back;
        QVERIFY(removed.removeUserProperty(u"firma 2"));
        QVERIFY(!writtenAndRead(removed).hasUserProperty(u"Firma 2"));
        // Changing a value under another case rewrites the same line.
        item.setUserProperty({"messeeinladung", T::YesNo, false, {}});
        QCOMPARE(item.userPropertyNames().size(), props.size());
        QCOMPARE(item.userProperty(u"Messeeinladung")->value, QVariant(false));
    }

    void userPropertyCatalogueRestoresLostNames()
    {
        // After a KDE round trip the parameters are gone; only the slug is left.
        ContactItem item =
            itemFrom("X-ZETTELWERK-USERPROP-ZUSTAENDIGE-ABTEILUNGEN:Einkauf,Vertrieb\r\n"
                     "X-ZETTELWERK-USERPROP-UNBEKANNT:x\r\n");
        QCOMPARE(item.userPropertyNames(), (QStringList{"ZUSTAENDIGE-ABTEILUNGEN", "UNBEKANNT"}));
        item.applyUserPropertyCatalogue(
            {{"Zuständige Abteilungen", T::Keywords, {}, {}}, {"Firma 2", T::Text, {}, {}}});
        const std::optional<ContactUserProperty> p =
            writtenAndRead(item).userProperty(u"Zuständige Abteilungen");
        QVERIFY(p);
        QCOMPARE(p->type, T::Keywords);
        QCOMPARE(p->value, QVariant(QStringList{"Einkauf", "Vertrieb"}));
        QVERIFY(item.hasUserProperty(u"UNBEKANNT"));
        QCOMPARE(ContactUserProperty::slug(u"  Kunden-Nr  (alt)"), "KUNDEN-NR-ALT");
        QCOMPARE(ContactUserProperty::slug(u"Größe"), "GROESSE");
    }

    void entryId()
    {
        const QByteArray noUid = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:A;B\r\nEND:VCARD\r\n";
        const VCard card = VCardReader::read(noUid).cards.first();
        const QString a = QStringLiteral("/data/Kontakte/a.vcf");
        const ContactItem first(card, a, 0);
        QVERIFY(first.entryId().startsWith(u"LOC:"));
        QCOMPARE(ContactItem(card, a, 0).entryId(), first.entryId());
        QCOMPARE(ContactItem::entryIdForLocation(a, 0), first.entryId());
        QVERIFY(ContactItem(card, a, 1).entryId() != first.entryId());
        QVERIFY(ContactItem(card, "/data/Kontakte/b.vcf", 0).entryId() != first.entryId());
        QCOMPARE(first.value(u"EntryID").toString(), first.entryId());

        ContactItem saved = first;
        saved.ensureUid();
        QVERIFY(saved.entryId().startsWith(u"UID:"));
        const QString id = saved.entryId();
        saved.ensureUid(); // a second call changes nothing
        QCOMPARE(saved.entryId(), id);
        QCOMPARE(writtenAndRead(saved).entryId(), id);

        QCOMPARE(itemFrom("UID:urn:uuid:abc\r\n", "4.0").entryId(), "UID:urn:uuid:abc");
        QCOMPARE(ContactItem(VCard(VCardVersion::V30)).entryId(), QString());
    }
};

QTEST_GUILESS_MAIN(TstContactItem)
#include "tst_contactitem.moc"
