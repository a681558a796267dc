#include "contacts/ClsOutlookVgContactFolder.h"
#include "tests/contacts/LockedPath.h"
#include "tests/contacts/StoreTestKit.h"
#include "tests/support/ScriptedUserInterface.h"

#include <QRegularExpression>

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
        for (const char* name : {"VG-Kontakte", "G-Privat", "Mitarbeiter", "Ruheständler"})
            QTest::addRow("public name %s", name)
                << QString(name) << true << pub + name << QStringList();
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
            put(publicRoot() + "/" + name + "/p.vcf", card(name));
        auto cls = logon(publicConfigured);
        QVERIFY(cls);
        // A failed open keeps the folder opened before.
        const QString before = QStringLiteral("Persönliche Ordner\\Kontakte\\Kunden");
        QVERIFY(cls->OpenFolder(before));
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
                s = s.section(" (Nr. ", 0, 0);
        }
        QCOMPARE(seen, boxes);
        QCOMPARE(result ? result->path() : QString(), opened);
        QCOMPARE(cls->openFolder()->path(), result ? opened : before);
        // A beep before each of the two boxes of OpenFolder, none for the error box.
        const int ownBoxes = int(boxes.filter(QRegularExpression("^(16|48)\\|")).size());
        QCOMPARE(m_ui->beeps(), ownBoxes);
        QCOMPARE(cls->ItemCount(), 1L);
    }

    void getFolderByPathRetriesOnYes()
    {
        auto cls = logon();
        // Yes to the error box walks the path again: meanwhile the folder was made.
        m_ui->answer(Mb::Yes, [&] { QDir().mkpath(personal() + "/Kontakte/Neu"); });
        const auto folder = cls->GetFolderByPath("Root\\Persönliche Ordner\\Kontakte\\Neu");
        QVERIFY(folder);
        QCOMPARE(folder->FolderPath(), "\\\\Persönliche Ordner\\Kontakte\\Neu");
        QCOMPARE(m_ui->boxes().size(), 1);
        QVERIFY(m_ui->boxes()[0].text.endsWith("Noch einmal versuchen?"));
    }

    void unreadableFolderCannotBeOpened()
    {
        if (LockedPath::rootReadsAnyway())
            QSKIP("running as root: chmod 000 does not deny reading");
        put(personal() + "/Gesperrt/a.vcf", card("A"));
        const LockedPath locked(personal() + "/Gesperrt");
        auto cls = logon();
        m_ui->answer(Mb::Ok);
        QVERIFY(!cls->OpenFolder("Persönliche Ordner\\Gesperrt"));
        QCOMPARE(
            shown(m_ui->boxes()),
            QStringList{"16|Öffnen des Ordners 'Persönliche Ordner\\Gesperrt' nicht möglich!"});
    }

    // Items of the open folder, and the field values beside it: they know whether a folder is
    // open, and report a missing user property through the folder's own ErrorEvent.
    void itemAccessAndFieldValues()
    {
        put(personal() + "/Kontakte/a.vcf", card("Müller;Max") + card("Team", "KIND:group\r\n"));
        auto cls = logon();
        cls->setRaiseErrorEvents(true);
        QList<std::pair<long, QString>> events;
        ContactItemData data;
        QVERIFY(!cls->GetItemData(nullptr, data)); // no folder open yet
        QCOMPARE(errorOf([&] { cls->ItemCount(); }).number(), 91L);
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(1); }).number(), 91L);
        QVERIFY(cls->OpenFolder("Persönliche Ordner\\Kontakte"));
        QCOMPARE(cls->ItemCount(), 2L);
        const ContactItem item = cls->GetItemByIndex(1);
        QCOMPARE(cls->GetFieldData(&item, "Nachname", 0, 0, 0, 0), "Müller");
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(2); }).number(), 13L); // a group
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(3); }).number(), 9L);
        QCOMPARE(errorOf([&] { cls->GetItemByIndex(0); }).number(), 9L);
        cls->GetFieldData(&item, "Firma 2", 2, 0, 0, 0); // nobody listens yet: no event, no box
        cls->onErrorEvent([&](long n, const QString& m) { events.append({n, m}); });
        cls->GetFieldData(&item, "Firma 2", 2, 0, 0, 0);
        QCOMPARE(events.size(), 1);
        QCOMPARE(events.first().first, 91L);
        QVERIFY(m_ui->boxes().isEmpty()); // errors pass to the caller, nothing is shown
    }

    void addItemRoundTrip_data()
    {
        QTest::addColumn<QVariantList>("fields"); // name, value, name, value ...
        QTest::addColumn<bool>("withUserProperties");

        QVariantList person;
        for (const QString& pair :
             QString(
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
                {"Firma 2", T::Text, "Tochter; GmbH, \"Nord\"", {}},
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
        for (const char* old : {"Müller, Max.vcf", "Müller, Max (2).vcf"})
            QCOMPARE(readAll(k + old), mine);
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

    // Filter calls in order: "last:", "company:", "companyAll:", "created:", "set:" (criteria
    // written directly), "fair:", "mailing:", "departments:", "id:".
    void criteria_data()
    {
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QString>("criteria");
        QTest::addColumn<QString>("others"); // fair|mailing|departments|id-codes matched
        QTest::addColumn<int>("boxes");
        auto row = [](const char* name, QStringList calls, const char* criteria,
                      const char* others = "|||-", int boxes = 0) {
            QTest::newRow(name) << calls << QString(criteria) << QString(others) << boxes;
        };
        row("nothing set", {}, "");
        row("last name, trimmed", {"last:  Müller "}, "[Lastname] = 'Müller'");
        row("apostrophe kept as typed", {"last:O'Neill"}, "[Lastname] = 'O'Neill'");
        row("company", {"company:Muster AG"}, "[CompanyName] = 'Muster AG'");
        row("company searched in all fields is left out", {"companyAll:Muster AG"}, "");
        row("last name and company", {"last:Müller", "company:Muster AG"},
            "[Lastname] = 'Müller' and [CompanyName] = 'Muster AG'");
        row("created-by has no property", {"created:Meier"}, "[?????] = 'Meier'", "|||-", 1);
        row("all three", {"company:M", "created:C", "last:L"},
            "[Lastname] = 'L' and [CompanyName] = 'M' and [?????] = 'C'", "|||-", 1);
        row("clearing the last name drops its piece", {"last:Müller", "company:M", "last:  "},
            "[CompanyName] = 'M'");
        row("written criteria are trimmed", {"last:Müller", "set:  [FirstName] = 'x'  "},
            "[FirstName] = 'x'");
        row("a later criteria call composes again", {"set:[FirstName] = 'x'", "company:M"},
            "[CompanyName] = 'M'");
        // Yes/no filters take "Ja" and "Nein" exactly; none of these filters is criteria.
        row("Ja and Nein", {"last:X", "fair:Ja", "mailing:Nein"}, "[Lastname] = 'X'",
            "Wahr|Falsch||-");
        row("lower-case ja and a blank before Ja stay", {"fair:ja", "mailing: Ja"}, "",
            "ja| Ja||-");
        row("Wahr stays, empty stays", {"fair:Wahr", "mailing:"}, "", "Wahr|||-");
        row("departments trimmed, after a semicolon", {"departments:  Vertrieb "}, "",
            "||;Vertrieb|-");
        row("blank departments are none", {"departments:   "}, "", "|||-");
        row("id codes split at semicolons, trimmed, case kept", {"id: A-1 ; B-2"}, "",
            "|||A-1,B-2");
        row("empty id codes match everything", {"id: A-1 ; B-2", "id:"}, "",
            "|||A-1,B-2,a-1, A-1 ; B-2");
    }

    void criteria()
    {
        QFETCH(QStringList, calls);
        QFETCH(int, boxes);
        ClsOutlookVgContactFolder cls;
        for (int i = 0; i < boxes; ++i)
            m_ui->answer(Mb::Ok);
        for (const QString& call : calls) {
            const QString op = call.section(':', 0, 0);
            const QString value = call.section(':', 1);
            if (op == "last")
                QCOMPARE(cls.SetLastnameFilter(value), false);
            else if (op == "company" || op == "companyAll")
                cls.SetCompanyFilter(value, op == "companyAll");
            else if (op == "created")
                cls.SetCreatedByFilter(value);
            else if (op == "set")
                cls.setStandardFieldsFilterCriteria(value);
            else if (op == "fair")
                cls.SetFairInvocationFilter(value);
            else if (op == "mailing")
                cls.SetMailingFilter(value);
            else if (op == "departments")
                cls.SetVgDepartmentsFilter(value);
            else if (op == "id")
                cls.SetIdCodeFilter(value);
        }
        QTEST(cls.StandardFieldsFilterCriteria(), "criteria");
        QStringList matched;
        for (const char* code : {"A-1", "B-2", "a-1", " A-1 ; B-2"}) {
            if (cls.IdCodeFilter() && cls.IdCodeFilter()->IsMatching(QString(code)))
                matched.append(code);
        }
        const QString id = cls.IdCodeFilter() ? matched.join(u',') : QStringLiteral("-");
        QTEST(QStringList(
                  {cls.FairInvocationFilter(), cls.MailingFilter(), cls.VgDepartmentsFilter(), id})
                  .join(u'|'),
              "others");
        QCOMPARE(m_ui->boxes().size(), boxes);
        for (const auto& b : m_ui->boxes()) {
            QCOMPARE(b.text, "SetCreatedByFilter() not supported!");
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
        cls->SetLastnameFilter("müller");
        cls->SetCompanyFilter("muster ag", false);
        const OlItems hits = folder->Items().Restrict(cls->StandardFieldsFilterCriteria());
        QCOMPARE(hits.Count(), 1L);
        QCOMPARE(hits.Item(1).value(u"FirstName").toString(), "Max");
    }

    void eventsReachTheirHandlers()
    {
        ClsOutlookVgContactFolder cls;
        // Without handlers nothing happens and nobody asks to stop.
        QVERIFY(!cls.raiseCheckForAbort());
        cls.raiseFilterMatching(ContactItem(), QString());
        int asked = 0;
        cls.onCheckForAbort([&](bool& abort) { abort = ++asked == 2; });
        QVERIFY(!cls.raiseCheckForAbort());
        QVERIFY(cls.raiseCheckForAbort());
        QString matched;
        cls.onFilterMatching([&](const ContactItem& item, const QString& data) {
            matched = item.value(u"LastName").toString() + data;
        });
        cls.raiseFilterMatching(ContactItem(), QStringLiteral("Zeile"));
        QCOMPARE(matched, QStringLiteral("Zeile"));
    }

    void sessionAndInspector()
    {
        put(m_dir->path() + "/offen.vcf", card("Offen;Otto"));
        auto cls = logon();
        QVERIFY(cls->OutlookNameSpace());
        QVERIFY(!cls->GetActiveInspector());
        m_app->setActiveInspectorFile(m_dir->path() + "/offen.vcf");
        QCOMPARE(cls->GetActiveInspector()->CurrentItem().value(u"FirstName").toString(), "Otto");
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
