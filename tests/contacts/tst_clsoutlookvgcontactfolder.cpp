#include "contacts/ClsOutlookVgContactFolder.h"
#include "contacts/VCardReader.h"
#include "tests/contacts/StoreTestKit.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <unistd.h>

using namespace storekit;

namespace
{

// "icon|text" of each recorded box.
QStringList shown(const QList<ScriptedUserInterface::Box>& boxes)
{
    QStringList out;
    for (const auto& b : boxes)
        out.append(QString::number(b.icon()) + "|" + b.text);
    return out;
}

const QString kErrorBoxStart = QStringLiteral("32|Fehler: GetFolderByPath\r\n");

} // namespace

class TstClsOutlookVgContactFolder : public StoreFixture
{
    Q_OBJECT

    std::unique_ptr<ScriptedUserInterface> m_ui;

    std::unique_ptr<ClsOutlookVgContactFolder> logon(bool withPublic = true)
    {
        auto folder = std::make_unique<ClsOutlookVgContactFolder>(application(withPublic));
        if (!folder->OutlookLogon())
            return nullptr;
        return folder;
    }

private slots:
    void init()
    {
        setUp();
        m_ui = std::make_unique<ScriptedUserInterface>();
    }
    void cleanup()
    {
        m_app.reset();
        m_ui.reset();
        tearDown();
    }

    void openFolder_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("publicConfigured");
        QTest::addColumn<QString>("opened"); // path of the opened folder, "" for none
        QTest::addColumn<QStringList>("boxes");

        const QString pub = QStringLiteral("Öffentliche Ordner\\Alle Öffentlichen Ordner\\");
        auto row = [](const char* name, const char* folder, bool pub, const QString& opened,
                      QStringList boxes) {
            QTest::newRow(name) << QString::fromUtf8(folder) << pub << opened << boxes;
        };
        row("with Root\\", "Root\\Persönliche Ordner\\Kontakte", true,
            "Persönliche Ordner\\Kontakte", {});
        row("without Root\\", "Persönliche Ordner\\Kontakte", true, "Persönliche Ordner\\Kontakte",
            {});
        row("sub-folder", "Root\\Persönliche Ordner\\Kontakte\\Kunden", true,
            "Persönliche Ordner\\Kontakte\\Kunden", {});
        row("doubled separator stops the walk", "Persönliche Ordner\\Kontakte\\\\Kunden", true,
            "Persönliche Ordner\\Kontakte", {});
        row("trailing separator", "Persönliche Ordner\\Kontakte\\", true,
            "Persönliche Ordner\\Kontakte", {});
        row("public name VG-Kontakte", "VG-Kontakte", true, pub + "VG-Kontakte", {});
        row("public name G-Privat", "G-Privat", true, pub + "G-Privat", {});
        row("public name Mitarbeiter", "Mitarbeiter", true, pub + "Mitarbeiter", {});
        row("public name Ruheständler", "Ruheständler", true, pub + "Ruheständler", {});
        row("public folder by its full path",
            "Öffentliche Ordner\\Alle Öffentlichen Ordner\\G-Privat", true, pub + "G-Privat", {});
        row("lower-case mitarbeiter is a path", "mitarbeiter", true, "",
            {kErrorBoxStart + "Der Ordner 'mitarbeiter' wurde nicht gefunden.",
             "16|Öffnen des Ordners 'mitarbeiter' nicht möglich!"});
        row("public name without public folders", "Mitarbeiter", false, "",
            {kErrorBoxStart + "Der Ordner 'Alle Öffentlichen Ordner' wurde in 'Öffentliche Ordner' "
                              "nicht gefunden.",
             "16|Öffnen des Ordners '" + pub + "Mitarbeiter' nicht möglich!"});
        row("calendar folder", "Root\\Persönliche Ordner\\Kalender", true, "",
            {"48|Der Ordner 'Root\\Persönliche Ordner\\Kalender' beinhaltet keine Kontakte!"});
        row("store top folder holds no contacts", "Persönliche Ordner", true, "",
            {"48|Der Ordner 'Persönliche Ordner' beinhaltet keine Kontakte!"});
        row("missing store", "Root\\Archiv\\Kontakte", true, "",
            {kErrorBoxStart + "Der Ordner 'Archiv' wurde nicht gefunden.",
             "16|Öffnen des Ordners 'Root\\Archiv\\Kontakte' nicht möglich!"});
        row("missing sub-folder", "Persönliche Ordner\\Kontakte\\Partner", true, "",
            {kErrorBoxStart +
                 "Der Ordner 'Partner' wurde in 'Persönliche Ordner\\Kontakte' nicht gefunden.",
             "16|Öffnen des Ordners 'Persönliche Ordner\\Kontakte\\Partner' nicht möglich!"});
        row("empty path", "", true, "",
            {kErrorBoxStart + "Der Ordner '' wurde nicht gefunden.",
             "16|Öffnen des Ordners '' nicht möglich!"});
    }

    void openFolder()
    {
        QFETCH(QString, folder);
        QFETCH(bool, publicConfigured);
        QFETCH(QString, opened);
        QFETCH(QStringList, boxes);
        put(personal() + "/Kontakte/a.vcf", card("A"));
        put(personal() + "/Kontakte/Kunden/k.vcf", card("K"));
        put(personal() + "/Kalender/t.ics", "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n");
        for (const char* name : {"VG-Kontakte", "G-Privat", "Mitarbeiter", "Ruheständler"})
            put(publicRoot() + "/" + QString::fromUtf8(name) + "/p.vcf", card(name));
        auto cls = logon(publicConfigured);
        QVERIFY(cls);
        for (const QString& b : boxes) {
            if (b.startsWith(kErrorBoxStart))
                m_ui->answer(Mb::No);
            else
                m_ui->answer(Mb::Ok);
        }
        const auto result = cls->OpenFolder(folder);
        QStringList seen = shown(m_ui->boxes());
        // The error box ends with the error's number and origin and the retry question.
        for (QString& s : seen) {
            if (s.startsWith(kErrorBoxStart))
                s = s.section(QStringLiteral(" (Nr. "), 0, 0);
        }
        QCOMPARE(seen, boxes);
        QCOMPARE(result ? result->path() : QString(), opened);
        QCOMPARE(cls->openFolder() ? cls->openFolder()->path() : QString(), opened);
        // A beep before each of the two boxes of OpenFolder, none for the error box.
        const int ownBoxes = int(boxes.filter(QRegularExpression("^(16|48)\\|")).size());
        QCOMPARE(m_ui->beeps(), ownBoxes);
        if (result)
            QCOMPARE(cls->ItemCount(), 1L);
    }

    void failedOpenKeepsTheOpenFolder()
    {
        put(personal() + "/Kontakte/a.vcf", card("A") + card("B"));
        put(personal() + "/Kalender/t.ics", "x");
        auto cls = logon();
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));
        m_ui->answer(Mb::Ok);
        QVERIFY(!cls->OpenFolder("Persönliche Ordner\\Kalender"));
        QCOMPARE(cls->openFolder()->path(), QStringLiteral("Persönliche Ordner\\Kontakte"));
        QCOMPARE(cls->ItemCount(), 2L);
    }

    void getFolderByPathRetriesOnYes()
    {
        auto cls = logon();
        // Yes to the error box walks the path again: meanwhile the folder was made.
        m_ui->answer(Mb::Yes, [&] { QDir().mkpath(personal() + "/Kontakte/Neu"); });
        const auto folder = cls->GetFolderByPath("Root\\Persönliche Ordner\\Kontakte\\Neu");
        QVERIFY(folder);
        QCOMPARE(folder->FolderPath(), QStringLiteral("\\\\Persönliche Ordner\\Kontakte\\Neu"));
        QCOMPARE(m_ui->boxes().size(), 1);
        QVERIFY(m_ui->boxes()[0].text.endsWith("Noch einmal versuchen?"));
    }

    void unreadableFolderCannotBeOpened()
    {
        if (::geteuid() == 0)
            QSKIP("running as root: chmod 000 does not deny reading");
        put(personal() + "/Gesperrt/a.vcf", card("A"));
        QFile(personal() + "/Gesperrt").setPermissions(QFileDevice::Permissions());
        auto restore = qScopeGuard([&] {
            QFile(personal() + "/Gesperrt")
                .setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                QFileDevice::ExeOwner);
        });
        auto cls = logon();
        m_ui->answer(Mb::Ok);
        QVERIFY(!cls->OpenFolder("Persönliche Ordner\\Gesperrt"));
        QCOMPARE(
            shown(m_ui->boxes()),
            QStringList{"16|Öffnen des Ordners 'Persönliche Ordner\\Gesperrt' nicht möglich!"});
    }

    void itemAccess()
    {
        put(personal() + "/Kontakte/a.vcf", card("Müller;Max") + card("Team", "KIND:group\r\n"));
        auto cls = logon();
        QCOMPARE(errorOf([&] { cls->ItemCount(); }).number(), 91L);
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(1); }).number(), 91L);
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));
        QCOMPARE(cls->ItemCount(), 2L);
        QCOMPARE(cls->GetItemByIndex(1).value(u"LastName").toString(), QStringLiteral("Müller"));
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(2); }).number(), 13L); // a group
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(3); }).number(), 9L);
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(0); }).number(), 9L);
        QVERIFY(m_ui->boxes().isEmpty()); // errors pass to the caller, nothing is shown
    }

    // The field values live beside the folder: they see its flags, know whether a folder is
    // open, and report a missing user property through the folder's own ErrorEvent.

    void fieldValuesOfTheOpenFolder()
    {
        put(personal() + "/Kontakte/a.vcf", card("Müller;Max"));
        auto cls = logon();
        QList<std::pair<long, QString>> events;
        cls->onErrorEvent([&](long n, const QString& m) { events.append({n, m}); });
        cls->setRaiseErrorEvents(true);
        ContactItemData data;
        QVERIFY(!cls->GetItemData(nullptr, data)); // no folder open yet
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));
        const ContactItem item = cls->GetItemByIndex(1);
        QCOMPARE(cls->GetFieldData(&item, QStringLiteral("Nachname"), 0, 0, 0, 0),
                 QStringLiteral("Müller"));
        cls->GetFieldData(&item, QStringLiteral("Firma 2"), 2, 0, 0, 0);
        QCOMPARE(events.size(), 1);
        QCOMPARE(events.first().first, 91L);
        QVERIFY(m_ui->boxes().isEmpty());
    }

    void addItemRoundTrip_data()
    {
        QTest::addColumn<QVariantList>("fields"); // name, value, name, value ...
        QTest::addColumn<bool>("withUserProperties");

        QVariantList person;
        for (const QString& pair :
             QString::fromUtf8(
                 "Title=Herr|FirstName=Jürgen|LastName=Weiß|CompanyName=Müller & Söhne; GmbH|"
                 "Department=Einkauf|JobTitle=Leiter|BusinessAddressStreet=Hauptstraße "
                 "1\nHinterhaus|"
                 "BusinessAddressPostalCode=10115|BusinessAddressCity=Berlin|"
                 "BusinessAddressCountry=Deutschland|HomeAddressStreet=Weg 2|HomeAddressCity=Wien|"
                 "HomeAddressCountry=Österreich|OtherAddressCity=Genève|"
                 "BusinessTelephoneNumber=+49 30 1|Email1Address=j@example.com")
                 .split(u'|'))
            person << pair.section(u'=', 0, 0) << pair.section(u'=', 1);
        person << "Birthday" << QDate(1960, 2, 29) << "Gender" << 2 << "Categories"
               << QStringList{"Kunde", "VIP, A"};
        QTest::newRow("person with three addresses") << person << true;
        QTest::newRow("company only") << QVariantList{"CompanyName", "Stadtwerke Fürth"} << false;
        QTest::newRow("file name characters in FileAs")
            << QVariantList{"FileAs", "a/b\\c: *?", "LastName", "X"} << false;
    }

    void addItemRoundTrip()
    {
        QFETCH(QVariantList, fields);
        QFETCH(bool, withUserProperties);
        QList<std::pair<QString, QVariant>> values;
        for (qsizetype i = 0; i + 1 < fields.size(); i += 2)
            values.append({fields[i].toString(), fields[i + 1]});
        QList<ContactUserProperty> props;
        if (withUserProperties) {
            using T = ContactUserProperty::Type;
            props = {
                {"Firma 2", T::Text, QStringLiteral("Tochter; GmbH, \"Nord\""), {}},
                {"Weihnachtsgeschenke", T::Keywords, QStringList{"Kalender", "Karte, groß"}, {}},
                {"Messeeinladung", T::YesNo, true, {}},
                {"Mailing", T::YesNo, false, {}},
                {"Umsatz", T::Number, 1234.5, {}},
                {"Erstkontakt", T::DateTime, QDate(2001, 9, 11), {}}};
        }
        put(personal() + "/Kontakte/vorher.vcf", card("Vorher"));
        auto cls = logon();
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));
        QString entryId;
        QVERIFY(cls->AddItem(values, props, &entryId));
        QVERIFY(entryId.startsWith("UID:"));
        QCOMPARE(cls->ItemCount(), 2L);
        QCOMPARE(QDir(personal() + "/Kontakte").entryList(QDir::Files | QDir::Hidden).size(), 2);

        std::optional<ContactItem> back;
        for (long i = 1; i <= 2; ++i) {
            const ContactItem item = cls->GetItemByIndex(i);
            if (item.entryId() == entryId)
                back = item;
        }
        QVERIFY(back);
        QCOMPARE(back->card().version(), VCardVersion::V30);
        for (const auto& [name, value] : values)
            QCOMPARE(back->value(name), value);
        QCOMPARE(back->userPropertyNames().size(), props.size());
        for (const ContactUserProperty& p : props) {
            const auto got = back->userProperty(p.name);
            QVERIFY2(got, qPrintable(p.name));
            QCOMPARE(got->type, p.type);
            QCOMPARE(got->value, p.value);
        }
    }

    void addItemNeverWritesOverAFile()
    {
        const QString k = personal() + "/Kontakte/";
        const QByteArray mine = card("Müller;Max", "NOTE:meine Datei\r\n");
        put(k + "Müller, Max.vcf", mine);
        put(k + "Müller, Max (2).vcf", mine);
        auto cls = logon();
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));
        QVERIFY(cls->AddItem({{"LastName", "Müller"}, {"FirstName", "Max"}}));
        QVERIFY(cls->AddItem({{"LastName", "Müller"}, {"FirstName", "Max"}}));
        QCOMPARE(QDir(k).entryList(QDir::Files | QDir::Hidden),
                 (QStringList{"Müller, Max (2).vcf", "Müller, Max (3).vcf", "Müller, Max (4).vcf",
                              "Müller, Max.vcf"}));
        for (const char* old : {"Müller, Max.vcf", "Müller, Max (2).vcf"}) {
            QFile f(k + QString::fromUtf8(old));
            QVERIFY(f.open(QIODevice::ReadOnly));
            QCOMPARE(f.readAll(), mine);
        }
        QCOMPARE(cls->ItemCount(), 4L);
    }

    void addItemFailures_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("error");

        const QString noSuchProperty =
            QStringLiteral("Objekt unterstützt diese Eigenschaft oder Methode nicht: ");
        const QString contacts = QStringLiteral("Persönliche Ordner\\Kontakte");
        QTest::newRow("no open folder") << ""
                                        << "LastName"
                                        << "Objektvariable oder With-Blockvariable nicht "
                                           "festgelegt (kein Ordner geöffnet) (Nr. 91";
        QTest::newRow("unknown property")
            << contacts << "Nachname" << noSuchProperty + "Nachname (Nr. 438";
        QTest::newRow("read-only property")
            << contacts << "EntryID" << noSuchProperty + "EntryID (Nr. 438";
        QTest::newRow("read-only sample store")
            << "Beispielkontakte"
            << "LastName"
            << "Zugriff verweigert: Der Ordner 'Beispielkontakte' ist schreibgeschützt. (Nr. 70";
    }

    void addItemFailures()
    {
        QFETCH(QString, folder);
        QFETCH(QString, field);
        QFETCH(QString, error);
        put(m_dir->path() + "/samples/s.vcf", card("S"));
        OlStoreRoots roots;
        roots.personal = personal();
        roots.samples = m_dir->path() + "/samples";
        ClsOutlookVgContactFolder cls(std::make_shared<OlApplication>(roots));
        QVERIFY(cls.OutlookLogon());
        long before = 0;
        if (!folder.isEmpty()) {
            QVERIFY(cls.OpenFolder(folder));
            before = cls.ItemCount();
        }
        m_ui->answer(Mb::No);
        QVERIFY(!cls.AddItem({{field, "x"}}));
        QCOMPARE(m_ui->boxes().size(), 1);
        QVERIFY2(m_ui->boxes()[0].text.startsWith("Fehler: AddItem\r\n" + error),
                 qPrintable(m_ui->boxes()[0].text));
        if (!folder.isEmpty())
            QCOMPARE(cls.ItemCount(), before);
    }

    void criteria_data()
    {
        QTest::addColumn<QStringList>(
            "calls"); // "last:", "company:", "companyAll:", "created:", "set:"
        QTest::addColumn<QString>("criteria");
        QTest::addColumn<int>("boxes");

        auto row = [](const char* name, QStringList calls, const char* criteria, int boxes = 0) {
            QTest::newRow(name) << calls << QString::fromUtf8(criteria) << boxes;
        };
        row("nothing set", {}, "");
        row("last name, trimmed", {"last:  Müller "}, "[Lastname] = 'Müller'");
        row("apostrophe kept as typed", {"last:O'Neill"}, "[Lastname] = 'O'Neill'");
        row("company", {"company:Muster AG"}, "[CompanyName] = 'Muster AG'");
        row("company searched in all fields is left out", {"companyAll:Muster AG"}, "");
        row("last name and company", {"last:Müller", "company:Muster AG"},
            "[Lastname] = 'Müller' and [CompanyName] = 'Muster AG'");
        row("created-by has no property", {"created:Meier"}, "[?????] = 'Meier'", 1);
        row("all three", {"company:M", "created:C", "last:L"},
            "[Lastname] = 'L' and [CompanyName] = 'M' and [?????] = 'C'", 1);
        row("clearing the last name drops its piece", {"last:Müller", "company:M", "last:  "},
            "[CompanyName] = 'M'");
        row("written criteria are trimmed", {"last:Müller", "set:  [FirstName] = 'x'  "},
            "[FirstName] = 'x'");
        row("a later criteria call composes again", {"set:[FirstName] = 'x'", "company:M"},
            "[CompanyName] = 'M'");
    }

    void criteria()
    {
        QFETCH(QStringList, calls);
        QFETCH(QString, criteria);
        QFETCH(int, boxes);
        ClsOutlookVgContactFolder cls;
        for (int i = 0; i < boxes; ++i)
            m_ui->answer(Mb::Ok);
        for (const QString& call : calls) {
            const QString op = call.section(':', 0, 0);
            const QString value = call.section(':', 1);
            if (op == "last")
                QCOMPARE(cls.SetLastnameFilter(value), false);
            else if (op == "company")
                cls.SetCompanyFilter(value, false);
            else if (op == "companyAll")
                cls.SetCompanyFilter(value, true);
            else if (op == "created")
                cls.SetCreatedByFilter(value);
            else if (op == "set")
                cls.setStandardFieldsFilterCriteria(value);
        }
        QCOMPARE(cls.StandardFieldsFilterCriteria(), criteria);
        QCOMPARE(m_ui->boxes().size(), boxes);
        for (const auto& b : m_ui->boxes()) {
            QCOMPARE(b.text, QStringLiteral("SetCreatedByFilter() not supported!"));
            QCOMPARE(b.icon(), Mb::Critical);
        }
    }

    void composedCriteriaRestrictTheFolder()
    {
        put(personal() + "/Kontakte/a.vcf", card("Müller;Max", "ORG:Muster AG\r\n") +
                                                card("Müller;Eva", "ORG:Bau GmbH\r\n") +
                                                card("Meier;Udo", "ORG:Muster AG\r\n"));
        auto cls = logon();
        const auto folder = cls->OpenFolder("Persönliche Ordner\\Kontakte");
        QVERIFY(folder);
        cls->SetLastnameFilter(QStringLiteral("müller"));
        cls->SetCompanyFilter(QStringLiteral("muster ag"), false);
        const OlItems hits = folder->Items().Restrict(cls->StandardFieldsFilterCriteria());
        QCOMPARE(hits.Count(), 1L);
        QCOMPARE(hits.Item(1).value(u"FirstName").toString(), QStringLiteral("Max"));
    }

    void yesNoFilters_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("stored");
        for (auto [tag, input, stored] : {std::tuple{"Ja", "Ja", "Wahr"},
                                          {"Nein", "Nein", "Falsch"},
                                          {"lower-case ja stays", "ja", "ja"},
                                          {"blank before Ja stays", " Ja", " Ja"},
                                          {"Wahr stays", "Wahr", "Wahr"},
                                          {"empty", "", ""}})
            QTest::newRow(tag) << input << stored;
    }

    void yesNoFilters()
    {
        QFETCH(QString, input);
        QFETCH(QString, stored);
        ClsOutlookVgContactFolder cls;
        cls.SetLastnameFilter(QStringLiteral("X"));
        cls.SetFairInvocationFilter(input);
        cls.SetMailingFilter(input);
        QCOMPARE(cls.FairInvocationFilter(), stored);
        QCOMPARE(cls.MailingFilter(), stored);
        QCOMPARE(cls.StandardFieldsFilterCriteria(), QStringLiteral("[Lastname] = 'X'"));
    }

    void idCodeAndDepartmentFilters()
    {
        ClsOutlookVgContactFolder cls;
        QVERIFY(!cls.IdCodeFilter());
        cls.SetIdCodeFilter(QStringLiteral(" A-1 ; B-2"));
        QVERIFY(cls.IdCodeFilter());
        QVERIFY(cls.IdCodeFilter()->IsMatching(QStringLiteral("A-1")));
        QVERIFY(cls.IdCodeFilter()->IsMatching(QStringLiteral("B-2")));
        QVERIFY(!cls.IdCodeFilter()->IsMatching(QStringLiteral("a-1")));
        QVERIFY(!cls.IdCodeFilter()->IsMatching(QStringLiteral(" A-1 ; B-2")));
        cls.SetIdCodeFilter(QString());
        QVERIFY(cls.IdCodeFilter()->IsMatching(QStringLiteral("beliebig")));

        cls.SetVgDepartmentsFilter(QStringLiteral("  Vertrieb "));
        QCOMPARE(cls.VgDepartmentsFilter(), QStringLiteral(";Vertrieb"));
        cls.SetVgDepartmentsFilter(QStringLiteral("   "));
        QCOMPARE(cls.VgDepartmentsFilter(), QString());
        QCOMPARE(cls.StandardFieldsFilterCriteria(), QString());
    }

    void events()
    {
        ClsOutlookVgContactFolder cls;
        // Unset handlers: nothing happens, no abort.
        QVERIFY(!cls.raiseCheckForAbort());
        cls.raiseErrorEvent(91, QStringLiteral("x"));
        cls.raiseFilterMatching(ContactItem(), QString());

        int asked = 0;
        cls.onCheckForAbort([&](bool& abort) { abort = ++asked == 2; });
        QVERIFY(!cls.raiseCheckForAbort());
        QVERIFY(cls.raiseCheckForAbort());
        QList<std::pair<long, QString>> errors;
        cls.onErrorEvent([&](long n, const QString& m) { errors.append({n, m}); });
        cls.raiseErrorEvent(91,
                            QStringLiteral("Eintrag 'A': Eigenschaft 'Firma 2' nicht verfügbar"));
        QCOMPARE(errors.size(), 1);
        QCOMPARE(errors[0].first, 91L);
        QString matched;
        cls.onFilterMatching([&](const ContactItem& item, const QString& data) {
            matched = item.value(u"LastName").toString() + "|" + data;
        });
        ContactItem item;
        item.setValue(u"LastName", QStringLiteral("Weiß"));
        cls.raiseFilterMatching(item, QStringLiteral("Zeile"));
        QCOMPARE(matched, QStringLiteral("Weiß|Zeile"));
    }

    void sessionAndInspector()
    {
        put(m_dir->path() + "/offen.vcf", card("Offen;Otto"));
        auto cls = logon();
        QVERIFY(cls->OutlookNameSpace());
        QVERIFY(!cls->GetActiveInspector());
        m_app->setActiveInspectorFile(m_dir->path() + "/offen.vcf");
        QCOMPARE(cls->GetActiveInspector()->CurrentItem().value(u"FirstName").toString(),
                 QStringLiteral("Otto"));
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));

        cls->OutlookLogoff();
        QVERIFY(!cls->OutlookNameSpace());
        QVERIFY(!cls->openFolder());
        // The inspector needs no logon; the application handed in is taken again.
        QVERIFY(cls->GetActiveInspector());
        QVERIFY(cls->OutlookLogon());
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));
        QCOMPARE(cls->ItemCount(), 0L);
        QVERIFY(m_ui->boxes().isEmpty());

        // Without an application handed in, the default stores are used.
        ClsOutlookVgContactFolder plain;
        QVERIFY(plain.OutlookLogon());
        QVERIFY(plain.OpenFolder("Persönliche Ordner\\Kontakte"));
        QCOMPARE(plain.openFolder()->diskPath(),
                 m_env->dataHome() + "/Zettelwerk/Persönliche Ordner/Kontakte");
    }
};

QTEST_GUILESS_MAIN(TstClsOutlookVgContactFolder)
#include "tst_clsoutlookvgcontactfolder.moc"
