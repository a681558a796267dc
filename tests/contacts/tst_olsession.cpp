#include "tests/contacts/LockedPath.h"
#include "tests/contacts/StoreTestKit.h"

#include <QDateTime>
#include <QRegularExpression>

using namespace storekit;

namespace
{

QStringList lastNames(const OlItems& items)
{
    QStringList out;
    for (long i = 1; i <= items.Count(); ++i)
        out.append(items.Item(i).value(u"LastName").toString());
    return out;
}

} // namespace

class TstOlSession : public StoreFixture
{
    Q_OBJECT

    std::shared_ptr<OlNameSpace> m_ns;

    std::shared_ptr<OlNameSpace> logon(bool withPublic = true)
    {
        m_ns = application(withPublic)->GetNamespace("MAPI");
        m_ns->Logon();
        return m_ns;
    }

    std::shared_ptr<OlFolder> folderAt(const QString& path = "Persönliche Ordner\\Kontakte")
    {
        const QStringList parts = path.split(QLatin1Char('\\'));
        std::shared_ptr<OlFolder> f = m_ns->folder(parts.first());
        for (qsizetype i = 1; i < parts.size(); ++i)
            f = f->folder(parts[i]);
        return f;
    }
    QString kontakte() const { return personal() + "/Kontakte/"; }

private slots:
    void init() { setUp(); }
    void cleanup()
    {
        m_ns.reset();
        tearDown();
    }

    void storesAndFirstUse()
    {
        // The default personal store lies in the user's data folder.
        const OlStoreRoots defaults = OlStoreRoots::defaults();
        QCOMPARE(defaults.personal,
                 m_env->dataHome() + QStringLiteral("/Zettelwerk/Persönliche Ordner"));
        QVERIFY(defaults.publicFolders.isEmpty());

        logon(false);
        QVERIFY(QFileInfo(personal() + QStringLiteral("/Kontakte")).isDir());
        QStringList names;
        for (const auto& s : m_ns->Folders())
            names.append(s->Name());
        // No sample store in these roots; no public tree configured.
        QCOMPARE(names, (QStringList{"Persönliche Ordner", "Öffentliche Ordner"}));
        QVERIFY(m_ns->folder("Öffentliche Ordner")->Folders().isEmpty());
        QCOMPARE(m_ns->folder("Persönliche Ordner")->DefaultMessageClass(), "IPM.Note");

        // A deleted "Kontakte" is not forced back into an existing store.
        QVERIFY(QDir(personal() + QStringLiteral("/Kontakte")).removeRecursively());
        logon(false);
        QVERIFY(!QFileInfo::exists(personal() + QStringLiteral("/Kontakte")));

        m_ns->Logoff();
        QCOMPARE(errorOf([&] { m_ns->Folders(); }).number(), 91L);
    }

    void messageClasses_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("messageClass");
        auto row = [](const char* tag, const char* path, const char* messageClass) {
            QTest::newRow(tag) << QString::fromUtf8(path) << messageClass;
        };
        row("vCards", "Persönliche Ordner\\Kontakte", "IPM.Contact");
        row("calendar files", "Persönliche Ordner\\Kalender", "IPM.Appointment");
        row("other files", "Persönliche Ordner\\Notizen", "IPM.Note");
        row("empty folder is a new contact folder", "Persönliche Ordner\\Leer", "IPM.Contact");
        row("only sub-folders", "Persönliche Ordner\\Projekte", "IPM.Contact");
        row("metadata file wins over content", "Persönliche Ordner\\Aufgaben", "IPM.Task");
        row("vCard among other files", "Persönliche Ordner\\Gemischt", "IPM.Contact");
        row("nested three levels", "Persönliche Ordner\\Projekte\\2024\\Kunden", "IPM.Contact");
        row("public grouping folder", "Öffentliche Ordner", "IPM.Note");
        row("public tree root", "Öffentliche Ordner\\Alle Öffentlichen Ordner", "IPM.Note");
        row("public contact folder", "Öffentliche Ordner\\Alle Öffentlichen Ordner\\VG-Kontakte",
            "IPM.Contact");
    }

    void messageClasses()
    {
        QFETCH(QString, path);
        QFETCH(QString, messageClass);
        const QString p = personal();
        put(p + "/Kontakte/a.vcf", card("A"));
        put(p + "/Kalender/termin.ics", "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n");
        put(p + "/Notizen/notiz.txt", "Text");
        QDir().mkpath(p + "/Leer");
        put(p + "/Projekte/2024/Kunden/k.vcf", card("K"));
        put(p + "/Aufgaben/.zettelwerk-folder", "# Ordnerklasse\nMessageClass = IPM.Task\n");
        put(p + "/Aufgaben/a.vcf", card("A"));
        put(p + "/Gemischt/liesmich.txt", "x");
        put(p + "/Gemischt/termin.ics", "x");
        put(p + "/Gemischt/z.VCF", card("Z"));
        put(publicRoot() + "/VG-Kontakte/v.vcf", card("V"));
        logon();
        const auto folder = folderAt(path);
        QCOMPARE(folder->DefaultMessageClass(), messageClass);
        QCOMPARE(folder->FolderPath(), "\\\\" + path);
        QCOMPARE(folder->path(), path);
    }

    void nestedFoldersListedLazilyInStableOrder()
    {
        const QString p = personal();
        for (const char* name : {"b", "Ä", "A", "c", ".versteckt"})
            QDir().mkpath(p + "/Kontakte/" + QString::fromUtf8(name));
        put(p + "/Kontakte/datei.vcf", card("X")); // a file is no folder
        logon();
        const auto contacts = folderAt();
        QStringList names;
        const auto children = contacts->Folders();
        for (const auto& c : children)
            names.append(c->Name());
        QCOMPARE(names, (QStringList{"A", "b", "c", "Ä"}));
        // The same objects again, and a new folder appears once the directory changed.
        QDir().mkpath(p + "/Kontakte/aa");
        const auto again = contacts->Folders();
        QCOMPARE(again.size(), 5);
        QCOMPARE(again[0], children[0]);
        QCOMPARE(again[1]->Name(), "aa");
        QCOMPARE(again[2], children[1]);
    }

    void folderNamesExactFirstThenWithoutCase()
    {
        QDir().mkpath(personal() + "/Kontakte/Kunden");
        QDir().mkpath(personal() + "/Kontakte/kunden");
        QDir().mkpath(personal() + "/Kontakte/Lieferanten");
        logon();
        const auto contacts = folderAt();
        QCOMPARE(contacts->folder("kunden")->diskPath(), personal() + "/Kontakte/kunden");
        QCOMPARE(contacts->folder("Kunden")->diskPath(), personal() + "/Kontakte/Kunden");
        QCOMPARE(contacts->folder("LIEFERANTEN")->Name(), "Lieferanten");
        QCOMPARE(m_ns->folder("persönliche ordner")->Name(), "Persönliche Ordner");
        QCOMPARE(
            errorOf([&] { contacts->folder("Partner"); }).description(),
            QStringLiteral(
                "Der Ordner 'Partner' wurde in 'Persönliche Ordner\\Kontakte' nicht gefunden."));
    }

    void itemOrderIsFileNameThenPosition()
    {
        const QString k = kontakte();
        put(k + "b.vcf", card("B1") + "\r\n" + card("B2"));
        put(k + "a.vcf", card("A"));
        put(k + "C.vcard", card("C"));
        put(k + "10.vcf", card("Zehn"));
        put(k + "9.vcf", card("Neun"));
        put(k + "notiz.txt", card("Txt"));
        put(k + ".versteckt.vcf", card("Hidden"));
        put(k + "Unter/u.vcf", card("Unter"));
        logon();
        const OlItems items = folderAt()->Items();
        QCOMPARE(items.Count(), 6L);
        QCOMPARE(lastNames(items), (QStringList{"Zehn", "Neun", "C", "A", "B1", "B2"}));
        // Every item has an EntryID of its own; asking twice gives the same.
        QSet<QString> ids;
        for (long i = 1; i <= items.Count(); ++i)
            ids.insert(items.Item(i).EntryID());
        QCOMPARE(ids.size(), 6);
        QCOMPARE(items.Item(5).EntryID(), items.Item(5).EntryID());
        for (long bad : {0L, 7L, -1L}) {
            QCOMPARE(errorOf([&] { items.Item(bad); }).number(), 9L);
        }
    }

    void restrict_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("expected"); // FileAs in item order

        auto row = [](const char* name, const char* filter, QStringList expected) {
            QTest::newRow(name) << QString::fromUtf8(filter) << expected;
        };
        row("last name, any case", "[LastName] = 'müller'", {"Müller, Max", "Müller, Eva"});
        row("as the wizard's criteria write it", "[Lastname] = 'Müller'",
            {"Müller, Max", "Müller, Eva"});
        row("2.1 quoted-printable and windows-1252 cards", "[LastName] = 'König'",
            {"König, Sven", "König, Ute"});
        row("apostrophe doubled", "[LastName] = 'O''Neill'", {"O'Neill, Sean"});
        row("company", "[CompanyName] = 'Muster AG'", {"Müller, Max", "Schäfer, Anna"});
        row("company-only contact", "[LastName] = '' and [CompanyName] <> ''",
            {"Stadtwerke Fürth"});
        row("user property", "[Firma 2] = 'Tochter GmbH'", {"Schäfer, Anna"});
        row("full parse: city", "[BusinessAddressCity] = 'Berlin'", {"Müller, Max"});
        row("and/or with a peeked and a parsed property",
            "[LastName] = 'Müller' and [FirstName] = 'Eva' or [HomeAddressCity] = 'Wien'",
            {"Schäfer, Anna", "Müller, Eva"});
        row("no hit", "[LastName] = 'Niemand'", {});
        row("groups never match", "[FileAs] = 'Team'", {});
        // One filter per line: each restricts the hits of the one before.
        row("a restriction of a restriction", "[CompanyName] = 'Muster AG'\n[FirstName] = 'Anna'",
            {"Schäfer, Anna"});
        row("a broken filter is error 5", "[LastName] = 'Müller'\n[FirstName] = ", {"Fehler 5"});
    }

    void restrict()
    {
        QFETCH(QString, filter);
        QFETCH(QStringList, expected);
        const QString k = kontakte();
        put(k + "01.vcf",
            card("Müller;Max;;Herr;", "ORG:Muster AG\r\nADR;TYPE=WORK:;;Weg 1;Berlin;;10115;\r\n"));
        put(k + "02.vcf",
            card("Schäfer;Anna",
                 "ORG:Muster AG;Vertrieb\r\nADR;TYPE=HOME:;;Gasse 2;Wien;;1010;Österreich\r\n"
                 "X-ZETTELWERK-USERPROP-FIRMA-2;X-ZETTELWERK-NAME=\"Firma 2\":Tochter GmbH\r\n"));
        put(k + "03.vcf",
            "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:K="
            "C3=B6nig;Sven\r\nEND:VCARD\r\n" +
                QByteArray("BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=Windows-1252:"
                           "K\xF6nig;Ute\r\nEND:VCARD\r\n"));
        put(k + "04.vcf", card("O'Neill;Sean"));
        put(k + "05.vcf", card(";;;;", "FN:Stadtwerke Fürth\r\nORG:Stadtwerke Fürth\r\n"));
        put(k + "06.vcf", card("Müller;Eva"));
        put(k + "07.vcf",
            card("Team", "FN:Team\r\nKIND:group\r\nX-ZETTELWERK-FILE-AS:Team\r\n", "4.0"));
        logon();
        const OlItems all = folderAt()->Items();
        QStringList fileAs;
        const long error = errorOf([&] {
                               OlItems hits = all;
                               for (const QString& f : filter.split(u'\n'))
                                   hits = hits.Restrict(f);
                               for (long i = 1; i <= hits.Count(); ++i)
                                   fileAs.append(hits.Item(i).value(u"FileAs").toString());
                           }).number();
        if (error)
            fileAs.append("Fehler " + QString::number(error));
        QCOMPARE(fileAs, expected);
        QCOMPARE(all.Count(), 8L); // the group counts as an item
        QCOMPARE(all.Item(8).MessageClass(), "IPM.DistList");
    }

    void peekedPropertiesAgreeWithTheItemModel_data()
    {
        QTest::addColumn<QString>("property");
        for (const char* p : {"LastName", "FirstName", "MiddleName", "Title", "Suffix",
                              "CompanyName", "Department"})
            QTest::newRow(p) << QString::fromLatin1(p);
    }

    void peekedPropertiesAgreeWithTheItemModel()
    {
        // The real-world cards: a filter on a peeked property must find each card by the value
        // the item model gives it.
        QFETCH(QString, property);
        const QString corpus = TestEnvironment::sharedDir() + QStringLiteral("/testdata/vcards");
        if (!QFileInfo(corpus).isDir())
            QSKIP("shared test cards not found (ZW_SHARED_DIR)");
        const QString k = kontakte();
        QDir().mkpath(k);
        for (const QString& f : QDir(corpus).entryList({"*.vcf"}, QDir::Files))
            QVERIFY(QFile::copy(corpus + "/" + f, k + f));
        logon();
        const OlItems all = folderAt()->Items();
        QVERIFY(all.Count() > 20);
        int checked = 0;
        for (long i = 1; i <= all.Count(); ++i) {
            const OlItem item = all.Item(i);
            if (!item.isContact())
                continue;
            const QString value = item.value(property).toString();
            const QString filter =
                QStringLiteral("[%1] = '%2'").arg(property, QString(value).replace("'", "''"));
            const OlItems hits = all.Restrict(filter);
            bool found = false;
            for (long h = 1; h <= hits.Count() && !found; ++h)
                found = hits.Item(h).EntryID() == item.EntryID();
            QVERIFY2(found, qPrintable(item.filePath() + ": " + filter));
            ++checked;
        }
        QVERIFY(checked > 20);
    }

    // Broken files are skipped and reported once; reading, searching included, changes no
    // file, not even its time.
    void malformedCardsAreSkippedReportedAndLeftAlone()
    {
        const QString k = kontakte();
        put(k + "a.vcf",
            card("Gut;Eins") + "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Kaputt\r\n" + card("Gut;Zwei"));
        put(k + "b.vcf", "Das ist keine Visitenkarte.\r\n");
        put(k + "c.vcf", card("Gut;Drei") + "BEGIN:VCARD\r\nN:Abgeschnitten");
        put(k + "d.vcf", "");
        put(k + "e.vcf",
            "BEGIN:VCARD\nVERSION:2.1\nN;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Eva\nEND:VCARD");
        // Not UTF-16 despite its first two bytes: no contact, reported, and left as it is.
        put(k + "f.vcf",
            "\xFF\xFE" + QString("BEGIN:VCARD\r\nN:Müller;Utf16\r\nEND:VCARD\r\n").toUtf8());
        QHash<QString, std::pair<QByteArray, QDateTime>> before;
        const QDateTime old = QDateTime::currentDateTime().addDays(-3);
        for (const QString& f : QDir(k).entryList(QDir::Files)) {
            QFile file(k + f);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(old, QFileDevice::FileModificationTime));
            before.insert(f, {file.readAll(), QFileInfo(k + f).lastModified()});
        }
        logon();
        const auto folder = folderAt();
        const OlItems items = folder->Items();
        QCOMPARE(lastNames(items), (QStringList{"Gut", "Gut", "Gut", "Müller"}));
        const QStringList problems = folder->problems();
        const QString where = "' im Ordner 'Persönliche Ordner\\Kontakte': ";
        const QStringList expected = {"a.vcf" + where + "Der Kontakt ab Zeile 5",
                                      "b.vcf" + where + "Die Datei enthält keinen Kontakt",
                                      "c.vcf" + where + "Der Kontakt ab Zeile 5 endet nicht",
                                      "f.vcf" + where + "Die Datei enthält keinen Kontakt"};
        QCOMPARE(problems.size(), expected.size());
        for (int i = 0; i < expected.size(); ++i)
            QVERIFY2(problems[i].startsWith("Datei '" + expected[i]), qPrintable(problems[i]));
        // A search reads the files again but reports nothing twice.
        QCOMPARE(items.Restrict("[FirstName] = 'Zwei'").Count(), 1L);
        QCOMPARE(items.Restrict("[LastName] = 'Müller' or [HomeAddressCity] = 'x'").Count(), 1L);
        QCOMPARE(folder->problems().size(), 4);
        for (long i = 1; i <= items.Count(); ++i)
            items.Item(i).value(u"FileAs");
        for (auto it = before.cbegin(); it != before.cend(); ++it) {
            QCOMPARE(readAll(k + it.key()), it->first);
            QCOMPARE(QFileInfo(k + it.key()).lastModified(), it->second);
        }
        QCOMPARE(QDir(k).entryList(QDir::Files | QDir::Hidden).size(), before.size());
    }

    void itemsKeepTheirListingWhileTheFolderChanges()
    {
        const QString k = kontakte();
        put(k + "b.vcf", card("B") + card("B2"));
        put(k + "d.vcf", card("D"));
        logon();
        const auto folder = folderAt();
        const OlItems before = folder->Items();
        QCOMPARE(before.Count(), 3L);
        put(k + "a.vcf", card("A"));
        QCOMPARE(lastNames(before), (QStringList{"B", "B2", "D"}));
        QCOMPARE(lastNames(folder->Items()), (QStringList{"A", "B", "B2", "D"}));
        // A file edited in place is read afresh when its item is handed out; an item the
        // file no longer holds is an error.
        put(k + "b.vcf", card("B-neu"));
        QCOMPARE(before.Item(1).value(u"LastName").toString(), "B-neu");
        QCOMPARE(errorOf([&] { before.Item(2); }).description(),
                 QStringLiteral("Das Element 2 der Datei 'b.vcf' im Ordner 'Persönliche "
                                "Ordner\\Kontakte' ist nicht mehr vorhanden."));
    }

    void unreadableFolderAndFile()
    {
        if (LockedPath::rootReadsAnyway())
            QSKIP("running as root: chmod 000 does not deny reading");
        put(kontakte() + "a.vcf", card("A"));
        put(kontakte() + "b.vcf", card("B"));
        put(personal() + "/Gesperrt/x.vcf", card("X"));
        const LockedPath lockedFile(kontakte() + "a.vcf"), lockedFolder(personal() + "/Gesperrt");
        logon();
        const auto contacts = folderAt();
        QCOMPARE(lastNames(contacts->Items()), QStringList{"B"});
        QCOMPARE(contacts->problems().size(), 1);
        QVERIFY(contacts->problems()[0].startsWith(
            "Die Datei 'a.vcf' im Ordner 'Persönliche Ordner\\Kontakte' kann nicht gelesen werden "
            "(Zugriff verweigert)"));
        const auto locked = folderAt("Persönliche Ordner\\Gesperrt");
        QVERIFY(!locked->isReadable());
        QCOMPARE(errorOf([&] { locked->Items(); }).number(), 75L);
    }

    void inspector_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("messageClass");
        QTest::addColumn<QString>("lastName");

        auto row = [](const char* tag, const char* file, const QByteArray& bytes,
                      const char* messageClass, const char* lastName = "") {
            QTest::newRow(tag) << file << bytes << messageClass << QString::fromUtf8(lastName);
        };
        row("vCard", "max.vcf", card("Müller;Max"), "IPM.Contact", "Müller");
        row("vCard with a broken first card", "zwei.vcf",
            "BEGIN:VCARD\r\nN:Kaputt\r\n" + card("Meier;Eva"), "IPM.Contact", "Meier");
        row("group", "team.vcf", card("Team", "KIND:group\r\n", "4.0"), "IPM.DistList");
        row("Apple group", "gruppe.vcf", card("Gruppe", "X-ADDRESSBOOKSERVER-KIND:group\r\n"),
            "IPM.DistList");
        row("calendar file", "termin.ics", "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n",
            "IPM.Appointment");
        row("text file", "brief.txt", "Sehr geehrte Damen und Herren", "IPM.Note");
        row("missing file", "", {}, "IPM.Note");
        row("a device is never read", "/dev/zero", {}, "IPM.Note");
    }

    void inspector()
    {
        QFETCH(QString, fileName);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, messageClass);
        QFETCH(QString, lastName);
        const bool given = fileName.startsWith(u'/');
        const QString path =
            given ? fileName
                  : m_dir->path() + "/" +
                        (fileName.isEmpty() ? QStringLiteral("fehlt.vcf") : fileName);
        if (!fileName.isEmpty() && !given)
            put(path, bytes);
        logon();
        QVERIFY(!m_app->ActiveInspector());
        m_app->setActiveInspectorFile(path);
        const auto inspector = m_app->ActiveInspector();
        QVERIFY(inspector);
        const OlItem item = inspector->CurrentItem();
        QCOMPARE(item.MessageClass(), messageClass);
        QCOMPARE(item.isContact(), messageClass == "IPM.Contact");
        QCOMPARE(item.value(u"LastName").toString(), lastName);
        m_app->setActiveInspectorFile(QString());
        QVERIFY(!m_app->ActiveInspector());
    }

    // The sample store shipped beside the program: read-only, readable without a problem, and
    // rich enough to try every part of a letter on.
    void sampleStore()
    {
        OlStoreRoots roots = OlStoreRoots::defaults();
        if (!QFileInfo(roots.samples).isDir())
            QSKIP("sample store not built beside the test");
        roots.personal = personal();
        m_app = std::make_shared<OlApplication>(roots);
        m_ns = m_app->GetNamespace("mapi");
        m_ns->Logon();
        const auto store = m_ns->folder("Beispielkontakte");
        QVERIFY(store->isReadOnly());
        QCOMPARE(store->DefaultMessageClass(), "IPM.Contact");
        const OlItems items = store->Items();
        QVERIFY(items.Count() >= 12);
        QVERIFY2(store->problems().isEmpty(), qPrintable(store->problems().join("\n")));
        QSet<QString> seen; // "title:", "country:", "street:<prefix>", user property "name/type"
        for (long i = 1; i <= items.Count(); ++i) {
            const OlItem item = items.Item(i);
            QVERIFY(item.isContact());
            const ContactItem& c = *item.contact();
            seen.insert("title:" + c.value(u"Title").toString());
            const QString last = c.value(u"LastName").toString();
            if (last.isEmpty() && c.value(u"FirstName").toString().isEmpty() &&
                !c.value(u"CompanyName").toString().isEmpty())
                seen.insert("company only");
            if (last.contains(QRegularExpression("[äöüÄÖÜß]")))
                seen.insert("umlaut");
            for (const QString prefix : {"Business", "Home", "Other"}) {
                if (!c.value(prefix + "AddressStreet").toString().isEmpty())
                    seen.insert("street:" + prefix);
                seen.insert("country:" + c.value(prefix + "AddressCountry").toString());
            }
            for (const QString& name : c.userPropertyNames())
                seen.insert(name + "/" + ContactUserProperty::tokenOf(c.userProperty(name)->type));
        }
        for (const char* s :
             {"title:Herr", "title:Frau", "title:Dr.", "title:", "company only", "umlaut",
              "street:Business", "street:Home", "street:Other", "country:Deutschland",
              "Firma 2/text", "Firma 3/text", "Weihnachtsgeschenke/keywords", "Mailing/yesno",
              "Messeeinladung/yesno"})
            QVERIFY2(seen.contains(s), s);
        QVERIFY(
            QStringList(seen.begin(), seen.end()).filter(QRegularExpression("^country:.")).size() >=
            2);
        QCOMPARE(items.Restrict("[LastName] = 'Müller'").Count(), 2L);
        QCOMPARE(errorOf([&] { store->addContact(ContactItem()); }).number(), 70L);
    }
};

QTEST_GUILESS_MAIN(TstOlSession)
#include "tst_olsession.moc"
