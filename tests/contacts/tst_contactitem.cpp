#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"
#include "contacts/VCardWriter.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QTest>

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
        return v.toStringList().join(u'|');
    if (v.typeId() == QMetaType::QDate)
        return v.toDate().toString(Qt::ISODate);
    return v.toString();
}

} // namespace

class TstContactItem : public QObject
{
    Q_OBJECT

private slots:

    void corpusMapping_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("card");
        QTest::addColumn<QStringList>("expected"); // "Property=value"

        auto row = [](const char* name, const char* file, int card, QStringList expected) {
            QTest::newRow(name) << QString::fromLatin1(file) << card << expected;
        };
        row("Evolution 2.1: bare QP before CHARSET, raw UTF-8 N", "eds-vcard-5.vcf", 0,
            {QString::fromUtf8("FileAs=十城目管理大型知座"),
             QString::fromUtf8("FirstName=十城目管理大型知座"),
             QString::fromUtf8("BusinessTelephoneNumber=十城目管理大型知座"),
             "Email1Address=weird@weird.com", "EntryID=UID:pas-id-3E52FE2E00000000"});
        row("FullContact 4.0: GENDER beside X-GENDER, BDAY with ALTID", "ezvcard-fullcontact.vcf",
            0,
            {"Gender=2", "Birthday=2016-08-01", "JobTitle=Title1", "CompanyName=Organization1",
             "Department=Department1", "OtherAddressCity=OtherCity",
             "Email1Address=home@example.com", "OtherTelephoneNumber=555-555-1115",
             "Categories=Tag"});
        row("Google: every label", "ezvcard-gmail-single2.vcf", 0,
            {"BusinessTelephoneNumber=5555551113", "CompanyMainTelephoneNumber=5555551116",
             "HomeFaxNumber=5555551117", "BusinessFaxNumber=5555551118",
             "OtherTelephoneNumber=5555551111", "BusinessAddressStreet=113 Main St",
             "HomeAddressStreet=112 Main St", "OtherAddressStreet=111 Main St", "ReferredBy=Name13",
             "Spouse=Name2", "ManagerName=Name11", "AssistantName=Name12", "Children=Name3",
             "Anniversary=1930-03-20", "WebPage=http://www.example5.com",
             "Email1Address=email@example.com", "Email3Address=workemail@example.com"});
        row("4.0 label with carets and colons", "ezvcard-issue114.vcf", 0,
            {"BusinessAddressCity=Bad Homburg", "BusinessAddressPostalCode=61352",
             "BusinessAddressCountry=Germany", "MobileTelephoneNumber=+49 1234 56789"});
        const QString n4 = QString::fromUtf8("Ñ Ñ Ñ Ñ");
        row("Android: first of six", "ezvcard-John_Doe_ANDROID.vcf", 0,
            {"Email1Address=john.doe@company.com", "Categories=My Contacts"});
        row("Android: QP name", "ezvcard-John_Doe_ANDROID.vcf", 2,
            {"LastName=" + n4, "FullName=" + n4 + QString::fromUtf8(" Ñ"),
             "MobileTelephoneNumber=123456789"});
        row("Android: continuation starting =20", "ezvcard-John_Doe_ANDROID.vcf", 3,
            {"LastName=" + QString::fromUtf8("Ñ ").repeated(10) + QString::fromUtf8("Ñ"),
             "HomeTelephoneNumber=234567", "Home2TelephoneNumber=45678901"});
        row("Android: two QP e-mails", "ezvcard-John_Doe_ANDROID.vcf", 4,
            {QString::fromUtf8("FirstName=Ñ Ñ Ñ"), "Email1Address=bob@company.com",
             "Email2Address=" + QString::fromUtf8("Ñ").repeated(14)});
        row("Android: sixth card", "ezvcard-John_Doe_ANDROID.vcf", 5,
            {QString::fromUtf8("LastName=ÑÑÑÑ"), "Email1Address=henry@company.com"});
        row("Evolution 3.0: its own X- names, folds mid-word", "ezvcard-John_Doe_EVOLUTION.vcf", 0,
            {"FileAs=Doe, John", "Spouse=Maria", "ManagerName=Big Blue", "AssistantName=Little Red",
             "Anniversary=1980-03-22", "OfficeLocation=Dungeon", "MiddleName=Richter, James",
             "Email1Address=john.doe@ibm.com", "HomeAddressCountry=United States of America",
             "HomeAddressPostOfficeBox=ASB-123", "BusinessTelephoneNumber=905-555-1234",
             "WebPage=http://www.ibm.com", "Categories=VIP"});
        row("Google: address in ADR.2, labelled dates", "ezvcard-John_Doe_GMAIL.vcf", 0,
            {"Anniversary=1975-03-01", "Spouse=Jenny",
             "HomeAddressStreet=Crescent moon drive\n555-asd\nNice Area, Albaney, New York "
             "12345\nUnited States of America",
             "WebPage=http://www.ibm.com", "MiddleName=Richter, James"});
        row("Outlook 2007 2.1", "ezvcard-John_Doe_MS_OUTLOOK.vcf", 0,
            {"Anniversary=2011-01-13", "ManagerName=Big Blue", "AssistantName=Jenny",
             "MiddleName=Richter,James", "BusinessAddressStreet=Cresent moon drive",
             "HomeAddressStreet=Silicon Alley 5,", "Email1Address=john.doe@ibm.cm",
             "Profession=Counting Money", "FullName=Mr. John Richter James Doe Sr."});
        row("Outlook 2003: office in ADR.2", "ezvcard-outlook-2003.vcf", 0,
            {"OfficeLocation=TheOffice", "BusinessAddressStreet=123 Main St",
             "CompanyName=Company, The", "Department=TheDepartment",
             "BusinessTelephoneNumber=BusinessPhone", "BusinessFaxNumber=BusinessFaxPhone",
             "HomeTelephoneNumber=HomePhone", "MobileTelephoneNumber=MobilePhone",
             "Profession=TheProfession", "JobTitle=The Job Title", "Birthday=1980-03-21",
             "Title=Mr.", "Suffix=III", "NickName=Joey"});
        row("German Outlook: raw windows-1252 without CHARSET", "fkvcards-AnsiIssue.vcf", 0,
            {QString::fromUtf8("HomeAddressStreet=Lämmerweg 12"), "HomeAddressCity=Kleindorf",
             "HomeAddressCountry=Deutschland", "BusinessAddressStreet="});
        row("raw windows-1252 name", "fkvcards-German.vcf", 0,
            {QString::fromUtf8("LastName=Nüßlebaum"), QString::fromUtf8("FirstName=Sören"),
             QString::fromUtf8("MiddleName=Täve"),
             QString::fromUtf8("BusinessAddressCity=Mößlitz")});
        row("three addresses: WORK, HOME, POSTAL", "fkvcards-LabelIssue.vcf", 0,
            {QString::fromUtf8("BusinessAddressStreet=Business-Straße 19"),
             "BusinessAddressCity=Schaffhausen", "HomeAddressStreet=Freizeitweg 4",
             "HomeAddressCity=Freizeithausen", "OtherAddressStreet=Sonstgasse 44",
             "OtherAddressCity=Anderstadt", "OtherAddressPostalCode=37465",
             "BusinessTelephoneNumber=0987 /6543", "HomeTelephoneNumber=9876 /11223344"});
        row("UTF-8 BOM", "fkvcards-utf-8.vcf", 0,
            {QString::fromUtf8("FullName=孔夫子"), "LastName=Konfuzius"});
        row("Windows Address Book", "fkvcards-v2_1.vcf", 0,
            {"Gender=2", "Anniversary=2000-12-24", "Spouse=Partner",
             "OtherTelephoneNumber=Other Phone", "PagerNumber=Pager",
             QString::fromUtf8("BusinessTelephoneNumber=Tel geschäftlich"),
             "HomeFaxNumber=Fax privat", QString::fromUtf8("Department=Führungsetage"),
             "Email1Address=privat@folker-kinzel.de", "Email3Address=andere@folker-kinzel.de",
             "PersonalHomePage=http://www.privat.de", "WebPage=http://www.musterworks.de",
             "Birthday=1972-01-31", "Title=Dr."});
        row("CardBook: FAX without WORK/HOME", "fkvcards-v4.vcf", 0,
            {QString::fromUtf8("FullName=Möhrke Gerda"), "OtherFaxNumber=034441/ 39 23 34",
             QString::fromUtf8("CompanyName=KiTa Öhrdingen")});
        row("CardBook: invalid BDAY, MAIN, OTHER, ITEM1 label", "fkvcards-v4.vcf", 1,
            {"Birthday=4501-01-01", "Gender=2", "HomeFaxNumber=Fax privat",
             QString::fromUtf8("BusinessFaxNumber=Fax geschäftlich"), "OtherFaxNumber=Fax",
             "CompanyMainTelephoneNumber=Festnetz", "OtherTelephoneNumber=sonstige",
             "Anniversary=2019-07-07", "Email3Address=sonstige@freenet.de",
             QString::fromUtf8("Profession=Generalsekretär"),
             QString::fromUtf8("JobTitle=Gröfaz")});
        row("KAddressBook 4.0: quoted TYPE, PREF, tel: URIs", "kcontacts-testfullvcard.vcf", 0,
            {"HomeTelephoneNumber=+44-555-555-5555;ext=5555",
             "MobileTelephoneNumber=+44-555-555-6666", "BusinessTelephoneNumber=+44-555-555-7777",
             "Email1Address=detective@sherlockholmes.com",
             "Email2Address=sherlock.holmes@gmail.com", "Birthday=1953-10-15",
             "Anniversary=1996-04-15", "Gender=2", "Language=en", "Categories=FICTION|LITERATURE",
             "BusinessAddressStreet=221B Baker Street", "Title=Mr"});
        row("KDE names upper-cased by a server", "kcontacts-vcard_extension_case_normalization.vcf",
            0,
            {"Spouse=My Spouse", "ManagerName=My Boss", "AssistantName=Mycroft",
             "OfficeLocation=My Office", "Profession=My Job", "Anniversary=1970-01-01"});
        row("Apple company card after KDE", "kcontacts-vcardwithitemasapplesupport.vcf", 0,
            {"FileAs=SOME COMPANY", "BusinessAddressCity=CITY", "BusinessAddressStreet=STREET",
             "BusinessTelephoneNumber=(111) 111-1111", "FirstName=SOMENAME"});
        row("Ximian card: no VERSION, FN without colon", "kcontacts-vcard4.vcf", 0,
            {"FileAs=Ximian, Inc.", "CompanyName=Ximian, Inc.", "FullName=Ximian, Inc.",
             "BusinessTelephoneNumber=(617) 236-0442", "BusinessFaxNumber=(617) 236-8630",
             "EntryID=UID:pas-id-3E136F9B00000000"});
        row("ownCloud: fold inside a UTF-8 sequence", "kcontacts-vcard9.vcf", 0,
            {QString::fromUtf8("LastName=123ㄓㄕㄖbcdeαβγδαβγδαβγδαβγδαβγδαβγδαβㄤㄓㄕㄖ"),
             "FullName=" + QString::fromUtf8("βγδεαβγδ1").repeated(11),
             "EntryID=UID:20140316T155019.877e370c11@martin"});
        row("QP soft break inside ADR does not eat the next line", "kcontacts-vcard10.vcf", 1,
            {QString::fromUtf8("HomeAddressStreet=AAAAAAA-AäAAAAA 11"), "HomeAddressCity=Urt",
             "HomeAddressPostalCode=00000", "WebPage=http://some-webseite.com"});
        row("QP title split mid-word", "kcontacts-vcard10.vcf", 3,
            {QString::fromUtf8("JobTitle=Facharzt für Allgemeinmedizin"), "Title=Dr. med."});
        row("QP street with line break", "kcontacts-vcard10.vcf", 4,
            {QString::fromUtf8(
                "BusinessAddressStreet=DDDDDDDDDDDstraße 26\n00000 DDDDDDDDDDDDDDDDD")});
        row("Evolution photos and UI slot", "kcontacts-vcard12.vcf", 0,
            {"Email1Address=goodlooking@example.com", "FullName=Good Looking"});
        row("Thunderbird legacy: lower case, late VERSION", "thunderbird-export-legacy-2.1.vcf", 1,
            {"LastName=two", "FirstName=contact", "Email1Address=contact2@invalid",
             "JobTitle=\"worker\""});
        row("Thunderbird 4.0", "thunderbird-export-4.0.vcf", 1,
            {"JobTitle=\"worker\"", "Email1Address=contact2@invalid",
             "EntryID=UID:yyyyyyyy-yyyy-yyyy-yyyy-yyyyyyyyyyyy"});
    }

    void corpusMapping()
    {
        QFETCH(QString, file);
        QFETCH(int, card);
        QFETCH(QStringList, expected);

        const QString shared = TestEnvironment::sharedDir();
        const QString path = shared + QStringLiteral("/testdata/vcards/") + file;
        if (shared.isEmpty() || !QFile::exists(path))
            QSKIP("The shared vCard corpus (ZW_SHARED_DIR/testdata/vcards) is not available.");
        const VCardReader::Result r = VCardReader::readFile(path);
        QVERIFY(card < r.cards.size());
        const ContactItem item(r.cards[card], path, card);
        for (const QString& e : expected) {
            const qsizetype eq = e.indexOf(u'=');
            const QString name = e.left(eq);
            QVERIFY2(ContactItem::isKnownProperty(name), qPrintable(name));
            QCOMPARE(name + u'=' + shown(item.value(name)), e);
        }
    }

    void addressClassification_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("business");
        QTest::addColumn<QString>("home");
        QTest::addColumn<QString>("other");

        auto row = [](const char* tag, const char* lines, const char* business, const char* home,
                      const char* other) {
            QTest::newRow(tag) << QByteArray(lines) << business << home << other;
        };
        row("WORK, HOME, OTHER",
            "ADR;TYPE=OTHER:;;O;;;;\r\nADR;TYPE=HOME:;;H;;;;\r\nADR;TYPE=WORK:;;W;;;;\r\n", "W",
            "H", "O");
        row("POSTAL alone is other (Outlook)", "ADR;TYPE=POSTAL:;;P;;;;\r\n", "", "", "P");
        row("POSTAL with WORK is business", "ADR;TYPE=POSTAL,WORK:;;P;;;;\r\n", "P", "", "");
        row("untyped alone is business", "ADR:;;U;;;;\r\n", "U", "", "");
        row("untyped beside a typed business is other", "ADR:;;U;;;;\r\nADR;TYPE=WORK:;;W;;;;\r\n",
            "W", "", "U");
        row("labelled group is other", "item2.ADR:;;L;;;;\r\nitem2.X-ABLabel:CustomAdrType\r\n", "",
            "", "L");
        row("first of a class wins", "ADR;TYPE=HOME:;;H1;;;;\r\nADR;TYPE=HOME:;;H2;;;;\r\n", "",
            "H1", "");
        row("PREF breaks ties", "ADR;TYPE=HOME:;;H1;;;;\r\nADR;TYPE=HOME,PREF:;;H2;;;;\r\n", "",
            "H2", "");
        row("extended address is the first street line",
            "ADR;TYPE=HOME:;Suite D2-630;2875 Laurier;;;;\r\n", "", "Suite D2-630\n2875 Laurier",
            "");
        row("street as a comma list", "ADR;TYPE=HOME:;;Hof 2,Haus B;;;;\r\n", "", "Hof 2\nHaus B",
            "");
    }

    void addressClassification()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QString, business);
        QFETCH(QString, home);
        QFETCH(QString, other);
        const ContactItem item = itemFrom(lines);
        QCOMPARE(item.value(u"BusinessAddressStreet").toString(), business);
        QCOMPARE(item.value(u"HomeAddressStreet").toString(), home);
        QCOMPARE(item.value(u"OtherAddressStreet").toString(), other);
    }

    // ADR's second component is Outlook's office only on a card that comes from Outlook;
    // everywhere else it is a first street line ("c/o ...").
    void officeOnlyOnOutlookCards_data()
    {
        QTest::addColumn<QByteArray>("version");
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("street");
        QTest::addColumn<QString>("office");

        const QByteArray adr3 = "ADR;TYPE=WORK:;c/o Meier;Hauptstr. 1;;;;\r\n";
        QTest::newRow("3.0 without PRODID, basic REV: c/o line")
            << QByteArray("3.0") << "REV:20121012T210525Z\r\n" + adr3 << "c/o Meier\nHauptstr. 1"
            << "";
        QTest::newRow("4.0 with an X-MS- line: never Outlook")
            << QByteArray("4.0") << "X-MS-OL-DESIGN:x\r\n" + adr3 << "c/o Meier\nHauptstr. 1"
            << "";
        QTest::newRow("3.0 PRODID naming Outlook: office")
            << QByteArray("3.0")
            << "PRODID:-//Microsoft Corporation//Outlook 16.0 MIMEDIR//EN\r\n" + adr3
            << "Hauptstr. 1"
            << "c/o Meier";
        QTest::newRow("3.0 X-MS- line: office")
            << QByteArray("3.0") << "X-MS-OL-DEFAULT-POSTAL-ADDRESS:2\r\n" + adr3 << "Hauptstr. 1"
            << "c/o Meier";
        QTest::newRow("3.0 with basic REV and Outlook's LABEL (written back): office")
            << QByteArray("3.0")
            << "REV:20121012T210525Z\r\nLABEL;TYPE=WORK:c/o Meier\\nHauptstr. 1\r\n" + adr3
            << "Hauptstr. 1"
            << "c/o Meier";
        QTest::newRow("2.1 with Outlook 2003's signs: office")
            << QByteArray("2.1")
            << QByteArray("REV:20121012T210525Z\r\nADR;WORK:;Raum 4;Hauptstr. 1;;;;\r\n")
            << "Hauptstr. 1"
            << "Raum 4";
    }
    void officeOnlyOnOutlookCards()
    {
        QFETCH(QByteArray, version);
        QFETCH(QByteArray, lines);
        QFETCH(QString, street);
        QFETCH(QString, office);
        const ContactItem item = itemFrom(lines, version.constData());
        QCOMPARE(item.value(u"BusinessAddressStreet").toString(), street);
        QCOMPARE(item.value(u"OfficeLocation").toString(), office);
    }

    void telephoneClassification_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("expected"); // "Property=value", joined by "|"
        auto row = [](const char* tag, const char* version, const char* lines,
                      const char* expected) {
            QTest::newRow(tag) << QByteArray(lines) << version << expected;
        };
        row("2.1 Outlook types", "2.1",
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
            "TEL;TYPE=X-EVOLUTION-TELEX:1\r\nTEL;TYPE=X-ZETTELWERK-ASSISTANT:2\r\nTEL;TYPE=CAR:"
            "3\r\n"
            "TEL;TYPE=ISDN:4\r\nTEL;TYPE=MAIN:5\r\n",
            "TelexNumber=1|AssistantTelephoneNumber=2|CarTelephoneNumber=3|ISDNNumber=4|"
            "CompanyMainTelephoneNumber=5");
        row("Apple label", "3.0",
            "item1.TEL:1\r\nitem1.X-ABLabel:_$!<AssistantPhone>!$_\r\nTEL:2\r\n",
            "AssistantTelephoneNumber=1|OtherTelephoneNumber=2");
        row("preference picks Business over Business2", "4.0",
            "TEL;TYPE=WORK:1\r\nTEL;TYPE=WORK;PREF=1:2\r\n",
            "BusinessTelephoneNumber=2|Business2TelephoneNumber=1");
    }

    void telephoneClassification()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QString, version);
        QFETCH(QString, expected);
        const ContactItem item = itemFrom(lines, qPrintable(version));
        QStringList got;
        for (const QString& e : expected.split(u'|')) {
            const QString name = e.left(e.indexOf(u'='));
            got.append(name + u'=' + item.value(name).toString());
        }
        QCOMPARE(got.join(u'|'), expected);
    }

    void preferenceOrder_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QStringList>("emails");

        QTest::newRow("file order without PREF") << QByteArray("EMAIL:a\r\nEMAIL:b\r\nEMAIL:c\r\n")
                                                 << "3.0" << QStringList{"a", "b", "c"};
        QTest::newRow("4.0 PREF=n ascending") << QByteArray("EMAIL;PREF=3:a\r\nEMAIL;PREF=1:b\r\n"
                                                            "EMAIL:c\r\nEMAIL;PREF=2:d\r\n")
                                              << "4.0" << QStringList{"b", "d", "a"};
        QTest::newRow("3.0 TYPE=pref counts as 1")
            << QByteArray("EMAIL:a\r\nEMAIL;TYPE=INTERNET,pref:b\r\n") << "3.0"
            << QStringList{"b", "a", ""};
        QTest::newRow("2.1 bare PREF")
            << QByteArray("EMAIL;INTERNET:a\r\nEMAIL;PREF;INTERNET:b\r\n") << "2.1"
            << QStringList{"b", "a", ""};
    }

    void preferenceOrder()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QString, version);
        QFETCH(QStringList, emails);
        const ContactItem item = itemFrom(lines, qPrintable(version));
        QCOMPARE((QStringList{item.value(u"Email1Address").toString(),
                              item.value(u"Email2Address").toString(),
                              item.value(u"Email3Address").toString()}),
                 emails);
    }

    void dates_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QDate>("birthday");

        QTest::newRow("basic") << QByteArray("BDAY:19800322") << QDate(1980, 3, 22);
        QTest::newRow("extended") << QByteArray("BDAY:1980-03-22") << QDate(1980, 3, 22);
        QTest::newRow("Apple value=date")
            << QByteArray("BDAY;value=date:2012-06-06") << QDate(2012, 6, 6);
        QTest::newRow("date-time with zone")
            << QByteArray("BDAY:1996-04-15T201243+04:00") << QDate(1996, 4, 15);
        QTest::newRow("4.0 without year") << QByteArray("BDAY:--0415") << QDate(1604, 4, 15);
        QTest::newRow("without year, with dash")
            << QByteArray("BDAY:--04-16") << QDate(1604, 4, 16);
        QTest::newRow("Apple omitted year")
            << QByteArray("BDAY;X-APPLE-OMIT-YEAR=1604:1604-08-20") << QDate(1604, 8, 20);
        QTest::newRow("invalid month is no date")
            << QByteArray("BDAY:19723101") << ContactItem::noDate();
        QTest::newRow("text alternative is skipped")
            << QByteArray("BDAY;ALTID=1;VALUE=text:circa 1800\r\nBDAY;ALTID=1:18000101")
            << QDate(1800, 1, 1);
        QTest::newRow("no BDAY is Outlook's none date")
            << QByteArray("NOTE:x") << ContactItem::noDate();
    }

    void dates()
    {
        QFETCH(QByteArray, line);
        QFETCH(QDate, birthday);
        const ContactItem item = itemFrom(line + "\r\n");
        QCOMPARE(item.value(u"Birthday").toDate(), birthday);
        // Written and read back, in 3.0 and 4.0, the date stays.
        for (const char* version : {"3.0", "4.0"}) {
            ContactItem copy = itemFrom("FN:x\r\n", version);
            copy.setValue(u"Birthday", birthday);
            QCOMPARE(writtenAndRead(copy).value(u"Birthday").toDate(), birthday);
        }
    }

    void gender_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<int>("gender");

        QTest::newRow("GENDER:F") << QByteArray("GENDER:F") << 1;
        QTest::newRow("GENDER:M with identity") << QByteArray("GENDER:M;boy") << 2;
        QTest::newRow("GENDER:O") << QByteArray("GENDER:O") << 0;
        QTest::newRow("X-GENDER:Female") << QByteArray("X-GENDER:Female") << 1;
        QTest::newRow("WAB 1 is female") << QByteArray("X-WAB-GENDER:1") << 1;
        QTest::newRow("WAB 2 is male") << QByteArray("X-WAB-GENDER:2") << 2;
        QTest::newRow("GENDER before X-GENDER") << QByteArray("X-GENDER:female\r\nGENDER:M") << 2;
        QTest::newRow("none") << QByteArray("NOTE:x") << 0;
    }

    void gender()
    {
        QFETCH(QByteArray, lines);
        QFETCH(int, gender);
        const QVariant v = itemFrom(lines + "\r\n", "4.0").value(u"Gender");
        QCOMPARE(v.typeId(), QMetaType::Int);
        QCOMPARE(v.toInt(), gender);
    }

    void lookupIsCaseInsensitive()
    {
        const ContactItem item = itemFrom("N:Muster;Max;;;\r\n");
        QCOMPARE(item.value(u"lastname").toString(), "Muster");
        QCOMPARE(item.value(u"LASTNAME").toString(), "Muster");
        QVERIFY(!item.value(u"NoSuchProperty").isValid());
        QCOMPARE(item.value(u"MessageClass").toString(), "IPM.Contact");
        ContactItem writable = item;
        QVERIFY(!writable.setValue(u"NoSuchProperty", QStringLiteral("x")));
        QVERIFY(!writable.setValue(u"EntryID", QStringLiteral("x")));
        QVERIFY(writable.setValue(u"firstname", QStringLiteral("Moritz")));
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
        QHash<QString, QVariant> set;
        int n = 0;
        for (const QString& name : ContactItem::propertyNames()) {
            if (name == u"EntryID" || name == u"MessageClass")
                continue;
            QVariant v;
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
                v = QString::fromUtf8("Hauptstraße %1\nHinterhaus; 2. Stock").arg(n);
            else
                v = QString::fromUtf8("Wert %1, ä; \\ \"x\"").arg(n);
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

        QTest::newRow("Evolution spouse")
            << QByteArray("X-EVOLUTION-SPOUSE:Maria") << "Spouse"
            << QVariant(QStringLiteral("Marta")) << QByteArray("X-EVOLUTION-SPOUSE:Marta");
        QTest::newRow("Outlook anniversary keeps its basic form")
            << QByteArray("X-MS-ANNIVERSARY:20110113") << "Anniversary"
            << QVariant(QDate(2012, 2, 14)) << QByteArray("X-MS-ANNIVERSARY:20120214");
        QTest::newRow("Google labelled spouse")
            << QByteArray("item2.X-ABRELATEDNAMES:Jenny\r\nitem2.X-ABLabel:_$!<Spouse>!$_")
            << "Spouse" << QVariant(QStringLiteral("Jo"))
            << QByteArray("item2.X-ABRELATEDNAMES:Jo");
        QTest::newRow("WAB gender keeps its numbers")
            << QByteArray("X-WAB-GENDER:2") << "Gender" << QVariant(1)
            << QByteArray("X-WAB-GENDER:1");
        QTest::newRow("Evolution office in ORG.3")
            << QByteArray("ORG:IBM;Accounting;Dungeon") << "OfficeLocation"
            << QVariant(QStringLiteral("Tower")) << QByteArray("ORG:IBM;Accounting;Tower");
        QTest::newRow("Thunderbird custom field")
            << QByteArray("X-CUSTOM2:alt") << "User2" << QVariant(QStringLiteral("neu"))
            << QByteArray("X-CUSTOM2:neu");
        QTest::newRow("new value without alias gets our own name")
            << QByteArray("NOTE:x") << "ManagerName" << QVariant(QStringLiteral("Chefin"))
            << QByteArray("X-ZETTELWERK-MANAGER-NAME:Chefin");
        QTest::newRow("telex as an ordinary TEL")
            << QByteArray("NOTE:x") << "TelexNumber" << QVariant(QStringLiteral("123"))
            << QByteArray("TEL;TYPE=X-ZETTELWERK-TELEX:123");
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
        const ContactItem back = writtenAndRead(item);
        QCOMPARE(back.value(u"Spouse").toString(), QString());
        const QByteArray out = VCardWriter::write(item.card());
        QVERIFY(!out.contains("SPOUSE"));
        QVERIFY(out.contains("X-ABRELATEDNAMES:not a spouse"));
        QVERIFY(out.contains("NOTE:stays"));
    }

    void newItemIsWrittenAs30()
    {
        ContactItem item;
        item.setValue(u"Title", QStringLiteral("Herr"));
        item.setValue(u"FirstName", QStringLiteral("Max"));
        item.setValue(u"LastName", QString::fromUtf8("Müller"));
        item.setValue(u"CompanyName", QStringLiteral("Muster AG"));
        item.setValue(u"BusinessAddressCity", QStringLiteral("Berlin"));
        item.setValue(u"BusinessTelephoneNumber", QStringLiteral("030 1234"));
        item.setValue(u"Email1Address", QStringLiteral("max@example.com"));
        item.setValue(u"FileAs", QStringLiteral("Müller, Max (Muster AG)"));
        const QString out = QString::fromUtf8(VCardWriter::write(item.card()));
        QVERIFY(out.startsWith(u"BEGIN:VCARD\r\nVERSION:3.0\r\n"));
        QVERIFY(out.contains(QString::fromUtf8("\r\nN:Müller;Max;;Herr;\r\n")));
        QVERIFY(out.contains(QString::fromUtf8("\r\nFN:Herr Max Müller\r\n")));
        QVERIFY(out.contains(u"\r\nORG:Muster AG;\r\n"));
        QVERIFY(out.contains(u"\r\nADR;TYPE=WORK:;;;Berlin;;;\r\n"));
        QVERIFY(out.contains(u"\r\nTEL;TYPE=WORK,VOICE:030 1234\r\n"));
        QVERIFY(out.contains(u"\r\nEMAIL;TYPE=INTERNET,PREF:max@example.com\r\n"));
        QVERIFY(out.contains(
            QString::fromUtf8("\r\nX-ZETTELWERK-FILE-AS:Müller\\, Max (Muster AG)\r\n")));
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
        using T = ContactUserProperty::Type;
        const QList<ContactUserProperty> props = {
            {QStringLiteral("Firma 2"),
             T::Text,
             QStringLiteral("Muster AG, Werk Süd; Halle 3"),
             {}},
            {QStringLiteral("Firma 3"), T::Text, QString(""), {}},
            {QString::fromUtf8("Zuständige Abteilungen"),
             T::Keywords,
             QStringList{"Einkauf", "Vertrieb, Nord"},
             {}},
            {QStringLiteral("Weihnachtsgeschenke"),
             T::Keywords,
             QStringList{"Kalender", "Karte"},
             {}},
            {QStringLiteral("Messeeinladung"), T::YesNo, true, {}},
            {QStringLiteral("Mailing"), T::YesNo, false, {}},
            {QStringLiteral("Umsatz"), T::Number, 1234.5, {}},
            {QStringLiteral("Erstkontakt"), T::DateTime, QDate(2019, 7, 7), {}},
            {QStringLiteral("Name \"mit\" ^Zeichen^"), T::Text, QStringLiteral("x"), {}},
            {QStringLiteral("Zukunft"), T::Text, QStringLiteral("unbekannter Typ"),
             QStringLiteral("currency")},
        };
        ContactItem item = itemFrom("FN:x\r\n", qPrintable(version));
        for (const ContactUserProperty& p : props)
            item.setUserProperty(p);
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
    }

    void userPropertyLines()
    {
        ContactItem item;
        item.setUserProperty({QStringLiteral("Firma 2"),
                              ContactUserProperty::Type::Text,
                              QString::fromUtf8("Muster AG, Werk Süd"),
                              {}});
        item.setUserProperty({QString::fromUtf8("Zuständige Abteilungen"),
                              ContactUserProperty::Type::Keywords,
                              QStringList{"Einkauf", "Vertrieb"},
                              {}});
        item.setUserProperty(
            {QStringLiteral("Messeeinladung"), ContactUserProperty::Type::YesNo, true, {}});
        const QString out = QString::fromUtf8(VCardWriter::write(item.card()).replace("\r\n ", ""));
        QVERIFY(out.contains(QString::fromUtf8("\r\nX-ZETTELWERK-USERPROP-FIRMA-2;X-ZETTELWERK-"
                                               "NAME=\"Firma 2\";X-ZETTELWERK-TYPE=text:"
                                               "Muster AG\\, Werk Süd\r\n")));
        QVERIFY(out.contains(QString::fromUtf8(
            "\r\nX-ZETTELWERK-USERPROP-ZUSTAENDIGE-ABTEILUNGEN;X-ZETTELWERK-NAME=\"Zuständige "
            "Abteilungen\";X-ZETTELWERK-TYPE=keywords:Einkauf,Vertrieb\r\n")));
        QVERIFY(out.contains(u"\r\nX-ZETTELWERK-USERPROP-MESSEEINLADUNG;X-ZETTELWERK-NAME="
                             u"Messeeinladung;X-ZETTELWERK-TYPE=yesno:TRUE\r\n"));
        // Changing a value rewrites the same line.
        item.setUserProperty(
            {QStringLiteral("messeeinladung"), ContactUserProperty::Type::YesNo, false, {}});
        QCOMPARE(item.userPropertyNames()
                     .filter(QStringLiteral("messeeinladung"), Qt::CaseInsensitive)
                     .size(),
                 1);
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
            {{QString::fromUtf8("Zuständige Abteilungen"),
              ContactUserProperty::Type::Keywords,
              {},
              {}},
             {QStringLiteral("Firma 2"), ContactUserProperty::Type::Text, {}, {}}});
        const std::optional<ContactUserProperty> p =
            writtenAndRead(item).userProperty(QString::fromUtf8("Zuständige Abteilungen"));
        QVERIFY(p);
        QCOMPARE(p->type, ContactUserProperty::Type::Keywords);
        QCOMPARE(p->value, QVariant(QStringList{"Einkauf", "Vertrieb"}));
        QVERIFY(item.hasUserProperty(u"UNBEKANNT"));
        QCOMPARE(ContactUserProperty::slug(u"  Kunden-Nr  (alt)"), "KUNDEN-NR-ALT");
        QCOMPARE(ContactUserProperty::slug(QString::fromUtf8("Größe")), "GROESSE");
    }

    void entryId()
    {
        const QByteArray noUid = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:A;B\r\nEND:VCARD\r\n";
        const VCard card = VCardReader::read(noUid).cards.first();
        const ContactItem first(card, QStringLiteral("/data/Kontakte/a.vcf"), 0);
        const ContactItem again(card, QStringLiteral("/data/Kontakte/a.vcf"), 0);
        const ContactItem second(card, QStringLiteral("/data/Kontakte/a.vcf"), 1);
        const ContactItem elsewhere(card, QStringLiteral("/data/Kontakte/b.vcf"), 0);
        QVERIFY(first.entryId().startsWith(u"LOC:"));
        QCOMPARE(first.entryId(), again.entryId());
        QCOMPARE(first.entryId(),
                 ContactItem::entryIdForLocation(QStringLiteral("/data/Kontakte/a.vcf"), 0));
        QVERIFY(first.entryId() != second.entryId());
        QVERIFY(first.entryId() != elsewhere.entryId());
        QCOMPARE(first.value(u"EntryID").toString(), first.entryId());

        ContactItem saved = first;
        saved.ensureUid();
        QVERIFY(saved.entryId().startsWith(u"UID:"));
        const QString id = saved.entryId();
        saved.ensureUid(); // a second call changes nothing
        QCOMPARE(saved.entryId(), id);
        QCOMPARE(writtenAndRead(saved).entryId(), id);

        const ContactItem withUid = itemFrom("UID:urn:uuid:abc\r\n", "4.0");
        QCOMPARE(withUid.entryId(), "UID:urn:uuid:abc");
        QCOMPARE(ContactItem(VCard(VCardVersion::V30)).entryId(), QString());
    }
};

QTEST_GUILESS_MAIN(TstContactItem)
#include "tst_contactitem.moc"
