// Step 1 of the wizard driven by control names: the handed-over contact, the search, its
// abort, the hit list and the address frame.

#include "tests/app/WizardTestKit.h"

#include "app/WizardIcons.h"

#include <QRadioButton>
#include <QSet>

using namespace kit;

namespace
{

const QString kNoContactOpen =
    u"Aktuell ist kein Kontaktelement geöffnet!\r\n\r\n"
    "Öffnen Sie in Outlook das gewünschte Kontaktelement und versuchen es erneut\r\n"
    "oder suchen Sie es mit der Option 'Kontakt suchen'"_s;
const QString kNoName = u"Kein zu suchender Name angegeben!\r\n"
                        "Wenn kein Name angegeben ist, kann der Suchvorgang u.U. lange dauern\r\n"
                        "und die Trefferliste sehr umfangreich werden!\r\n\r\n"
                        "Wollen Sie trotzdem fortfahren?"_s;

// A file handed to the program, by its name: Berger's card, a text, a calendar; any other
// name is a file that is gone.
QString handedFile(const TestEnvironment& env, const QString& name)
{
    if (name.isEmpty())
        return QString();
    const QString path = env.root() + u"/handed/"_s + name;
    if (name == u"berger.vcf")
        writeFile(path, kBerger.toVCard().toUtf8());
    else if (name == u"notiz.txt")
        writeFile(path, "Einkaufsliste\n");
    else if (name == u"termin.ics")
        writeFile(path, "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nSUMMARY:X\r\n"
                        "END:VEVENT\r\nEND:VCALENDAR\r\n");
    return path;
}

QTreeWidget* found(const Session& run)
{
    return run.get<QTreeWidget>(u"lvwFound"_s);
}

void verifyIdle(const Session& run)
{
    QVERIFY(!run.get(u"cmdAbort"_s)->isEnabled());
    QVERIFY(run.get(u"cmdSearch"_s)->isEnabled());
    QVERIFY(run.get(u"cmdGetCurrentContact"_s)->isEnabled());
    QCOMPARE(run.w()->statusText(), u"Bereit"_s);
}

} // namespace

class TstWizardRecipient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void handedOverFile_data()
    {
        QTest::addColumn<bool>("checkAtStartup");
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("rowsAtStart");
        // Then "Übernehmen" takes Berger over, or says that no contact is open.
        auto row = [](const char* name, bool checkAtStartup, const char* file, int rows) {
            QTest::newRow(name) << checkAtStartup << QString::fromUtf8(file) << rows;
        };
        row("look at start, a contact is open: listed and chosen", true, "berger.vcf", 1);
        row("look at start, nothing open: silent", true, "", 0);
        row("look at start, a text file open: silent", true, "notiz.txt", 0);
        row("look at start, the file is gone: silent", true, "weg.vcf", 0);
        row("no look at start: contact waits for Übernehmen", false, "berger.vcf", 0);
        row("no look at start, a calendar file", false, "termin.ics", 0);
    }
    void handedOverFile()
    {
        QFETCH(bool, checkAtStartup);
        QFETCH(QString, file);
        QFETCH(int, rowsAtStart);
        TestEnvironment env;
        ScriptedUserInterface script;
        registerOnce(script);
        presetSettings({{u"CheckForCurrentContactAtStartup"_s, checkAtStartup}});
        auto s = start(script, false, handedFile(env, file));
        FrmMain* w = s->w();
        auto* hits = child<QTreeWidget>(w, u"lvwFound"_s);
        auto* name = child<QLabel>(w, u"lblName"_s);
        QCOMPARE(hits->topLevelItemCount(), rowsAtStart);
        QCOMPARE(script.boxes().size(), 0);
        QCOMPARE(w->statusText(), u"Bereit"_s);
        QCOMPARE(name->text(), rowsAtStart ? u"Herr Hans Berger"_s : QString());
        if (rowsAtStart) {
            QCOMPARE(hits->currentItem(), hits->topLevelItem(0));
            QCOMPARE(child<QLabel>(w, u"lblStreet0"_s)->text(), u"Hauptstr. 1"_s);
        }

        const bool contact = file == u"berger.vcf";
        if (!contact)
            script.answer(Mb::Ok);
        child<QPushButton>(w, u"cmdGetCurrentContact"_s)->click();
        QCOMPARE(hits->topLevelItemCount(), contact ? 1 : 0);
        if (contact) {
            QCOMPARE(name->text(), u"Herr Hans Berger"_s);
            QVERIFY(child<QRadioButton>(w, u"optSource0"_s)->isChecked());
        } else {
            QCOMPARE(script.boxes().size(), 1);
            QCOMPARE(script.boxes()[0].text, kNoContactOpen);
            QCOMPARE(script.boxes()[0].icon(), Mb::Exclamation);
            QCOMPARE(script.beeps(), 1);
        }
    }

    void droppedOrSecondStartFileIsTakenAtOnce()
    {
        Session run;
        searchFolder(run.w(), contactsPath(), u"Müller"_s);
        QCOMPARE(found(run)->topLevelItemCount(), 2);
        run.w()->handOverContactFile(handedFile(run.env, u"berger.vcf"_s));
        QCOMPARE(column(found(run), 1), QStringList{u"Berger"_s});
        QCOMPARE(run.text(u"lblName"_s), u"Herr Hans Berger"_s);
        QVERIFY(run.get<QRadioButton>(u"optSource0"_s)->isChecked());
        // The taken-over row stands for no search result: clicking it changes nothing.
        found(run)->setCurrentItem(nullptr);
        found(run)->setCurrentItem(found(run)->topLevelItem(0));
        QCOMPARE(run.text(u"lblName"_s), u"Herr Hans Berger"_s);
    }

    void search_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("answer");  // to the box expected; 0: no box, -1: several boxes
        QTest::addColumn<QString>("box"); // the last box
        QTest::addColumn<int>("style");
        QTest::addColumn<QStringList>("lastNames");
        auto row = [](const char* title, const QString& folder, const QString& name,
                      const QStringList& lastNames, int answer = 0, const QString& box = {},
                      int style = 0) {
            QTest::newRow(title) << folder << name << answer << box << style << lastNames;
        };
        const QString contacts = contactsPath();
        const QStringList twoMueller{"Müller", "Müller"};
        const int question = Mb::OkCancel + Mb::Question;
        row("Müller lists exactly the Müllers", contacts, "Müller", twoMueller);
        row("case does not matter", contacts, "MÜLLER", twoMueller);
        row("blanks around the name are dropped", contacts, "  Berger ", {"Berger"});
        row("first names are not searched", contacts, "Anna", {});
        row("part of a name finds nothing", contacts, "Müll", {});
        row("no name, OK lists every contact", contacts, "", {"Berger", "Müller", "", "Müller"},
            Mb::Ok, kNoName, question);
        row("no name, Cancel searches nothing", contacts, "   ", {}, Mb::Cancel, kNoName, question);
        row("the sample store until a folder is chosen", "Root\\Beispielkontakte", "Müller",
            twoMueller);
        row("no folder", "  ", "Müller", {}, Mb::Ok, "Kein Outlook-Ordner angegeben!",
            Mb::Exclamation);
        // GetFolderByPath reports the missing folder first, then the folder object says it
        // cannot open it.
        row("folder does not exist", "Root\\Persönliche Ordner\\Gibtsnicht", "Müller", {}, -1,
            "Öffnen des Ordners 'Root\\Persönliche Ordner\\Gibtsnicht' nicht möglich!",
            Mb::Critical);
        // The name goes into the filter as typed; a filter that cannot be read is reported.
        row("a name with an apostrophe fails cleanly", contacts, "O'Neill", {}, Mb::No,
            "Fehler: Suchen\r\nUngültige Filterbedingung: \"and\", \"or\" oder Ende der "
            "Bedingung erwartet bei Zeichen 17 in \"[LastName] = 'O'Neill'\" (Nr. 5, Ursprung: "
            "Restrict)\r\n\r\nNoch einmal versuchen?",
            Mb::YesNo + Mb::Question);
    }
    void search()
    {
        QFETCH(QString, folder);
        QFETCH(QString, name);
        QFETCH(int, answer);
        QFETCH(QString, box);
        QFETCH(int, style);
        QFETCH(QStringList, lastNames);
        Session run;
        run.script.setLenient(answer == -1);
        if (answer > 0)
            run.script.answer(answer);
        searchFolder(run.w(), folder, name);
        QCOMPARE(run.script.boxes().isEmpty(), box.isEmpty());
        if (!box.isEmpty()) {
            QCOMPARE(run.script.boxes().last().text, box);
            QCOMPARE(run.script.boxes().last().style, style);
        }
        QCOMPARE(column(found(run), 1), lastNames);
        QVERIFY(run.get<QRadioButton>(u"optSource1"_s)->isChecked());
        verifyIdle(run);
        // No hit is chosen by itself.
        QCOMPARE(run.text(u"lblName"_s), QString());
        QCOMPARE(found(run)->currentItem(), nullptr);
        // A company without a person is a "virtual" one; each row keeps its contact's id.
        QSet<QString> ids;
        for (int i = 0; i < found(run)->topLevelItemCount(); ++i) {
            QTreeWidgetItem* row = found(run)->topLevelItem(i);
            QCOMPARE(
                row->icon(0).cacheKey(),
                wizardIcon(lastNames[i].isEmpty() ? u"VirtualPerson"_s : u"Person"_s).cacheKey());
            // A card without a UID is known by its file and place in it.
            const QString id = row->data(0, Qt::UserRole).toString();
            QVERIFY2(id.startsWith(u"LOC:") || id.startsWith(u"UID:"), qPrintable(id));
            ids << id;
            if (lastNames[i].isEmpty())
                QCOMPARE(row->text(3), u"Stadtwerke Fürth"_s);
        }
        QCOMPARE(ids.size(), lastNames.size());
    }

    void searchBrokenOffKeepsRowsFoundSoFar_data()
    {
        QTest::addColumn<bool>("byClosing");
        QTest::newRow("Abbrechen button") << false;
        QTest::newRow("window closed: it waits for the loop") << true;
    }
    void searchBrokenOffKeepsRowsFoundSoFar()
    {
        QFETCH(bool, byClosing);
        Session run(false);
        // Enough contacts in files of their own for the search to take a while.
        for (int i = 0; i < 60; ++i)
            writeCard(run.env, u"k%1.vcf"_s.arg(i, 3, 10, QLatin1Char('0')),
                      {u"Name%1"_s.arg(i), u"V"_s});
        FrmMain* w = run.w();
        auto* abort = run.get(u"cmdAbort"_s);
        QStringList statuses; // at every yield of the search loop
        run.script.onDoEvents([&] {
            if (!abort->isEnabled())
                return;
            statuses << w->statusText();
            QVERIFY(!run.get(u"cmdSearch"_s)->isEnabled());
            if (statuses.size() != 12)
                return;
            if (byClosing) {
                w->close();
                QCOMPARE(w->statusText(), u"Abbrechen..."_s);
                QVERIFY(w->isVisible());
            } else {
                abort->click();
            }
        });
        run.script.answer(Mb::Ok);
        searchFolder(w, contactsPath(), QString());
        run.script.onDoEvents({});
        QVERIFY2(statuses.contains(u"Suchen..."_s), qPrintable(statuses.join(u'|')));
        const int rows = found(run)->topLevelItemCount();
        QVERIFY2(rows > 0 && rows < 20, qPrintable(QString::number(rows)));
        QCOMPARE(found(run)->topLevelItem(0)->text(1), u"Name0"_s);
        if (byClosing) {
            QVERIFY(w->isVisible());
            QTRY_VERIFY_WITH_TIMEOUT(!w->isVisible(), 2500);
            return;
        }
        verifyIdle(run);
        // A new search starts afresh.
        searchFolder(w, contactsPath(), u"Name59"_s);
        QCOMPARE(column(found(run), 1), QStringList{u"Name59"_s});
    }

    void chosenHitFillsTheAddressFrame()
    {
        Session run(false);
        writeFile(contactsDir(run.env) + u"/voll.vcf"_s,
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Weiß;Jürgen;;Dr.;\r\nFN:Dr. Jürgen Weiß\r\n"
                  "ORG:Labor GmbH;Analytik\r\nTITLE:Leiter\r\n"
                  "ADR;TYPE=WORK:;;Werkstr. 5;Köln;;50667;Deutschland\r\n"
                  "ADR;TYPE=HOME:;;Gartenweg 1;Bonn;;53111;Deutschland\r\n"
                  "ADR:;;Postfach 9;Wien;;1010;Österreich\r\n"
                  "X-ZETTELWERK-USERPROP-FIRMA-3;X-ZETTELWERK-NAME=\"Firma 3\";"
                  "X-ZETTELWERK-TYPE=text:Labor Holding\r\nEND:VCARD\r\n");
        chooseHit(run.w(), u"Weiß"_s);
        // All three addresses are filled; "Firma 2" is not set, so its box stays empty.
        QCOMPARE(run.texts({"lblName", "lblCompany1", "lblCompany2", "lblCompany3", "lblPosition",
                            "lblDepartment", "lblStreet0", "lblCity0", "lblStreet1", "lblCity1",
                            "lblStreet2", "lblCity2", "lblCountry2"}),
                 (QStringList{"Dr. Jürgen Weiß", "Labor GmbH", "", "Labor Holding", "Leiter",
                              "Analytik", "Werkstr. 5", "Köln", "Gartenweg 1", "Bonn", "Postfach 9",
                              "Wien", "Österreich"}));
        // One address at a time, each with its four lines.
        for (int address : {1, 2, 0}) {
            run.get<QRadioButton>(u"optAddress%1"_s.arg(address))->click();
            for (int i = 0; i < 3; ++i)
                for (const char* part : {"lblStreet", "lblZIP", "lblCity", "lblCountry"})
                    QCOMPARE(!run.get<QLabel>(part + QString::number(i))->isHidden(), i == address);
        }
        // A new search empties the frame and goes back to the business address.
        run.get<QRadioButton>(u"optAddress2"_s)->click();
        searchFolder(run.w(), contactsPath(), u"Niemand"_s);
        QCOMPARE(run.text(u"lblName"_s), QString());
        QCOMPARE(run.text(u"lblStreet0"_s), QString());
        QVERIFY(run.get<QRadioButton>(u"optAddress0"_s)->isChecked());
        QVERIFY(!run.get<QLabel>(u"lblStreet0"_s)->isHidden());
        QCOMPARE(run.script.boxes().size(), 0);
    }

    void unreadableCardsAreReportedOnce()
    {
        Session run;
        writeFile(contactsDir(run.env) + u"/kaputt.vcf"_s,
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Müller;Kaputt;;;\r\n");
        run.script.answer(Mb::Ok);
        searchFolder(run.w(), contactsPath(), u"Müller"_s);
        QCOMPARE(found(run)->topLevelItemCount(), 2);
        QCOMPARE(run.script.boxes().size(), 1);
        QVERIFY2(run.script.boxes()[0].text.contains(u"kaputt.vcf"),
                 qPrintable(run.script.boxes()[0].text));
        QCOMPARE(run.script.boxes()[0].icon(), Mb::Exclamation);
        searchFolder(run.w(), contactsPath(), u"Berger"_s);
        QCOMPARE(run.script.boxes().size(), 1);
        verifyIdle(run);
    }

    void searchedNamesAreRemembered()
    {
        Session run;
        searchFolder(run.w(), contactsPath(), u" Berger "_s);
        searchFolder(run.w(), contactsPath(), u"Müller"_s);
        run.restart();
        auto* combo = run.get<QComboBox>(u"cboSearchName"_s);
        QCOMPARE(combo->count(), 2);
        QCOMPARE(combo->itemText(0), u"Müller"_s);
        QCOMPARE(combo->itemText(1), u"Berger"_s);
        QCOMPARE(run.get<QLineEdit>(u"txtOutlookFolder"_s)->text(), contactsPath());
    }
};

QTEST_MAIN(TstWizardRecipient)
#include "tst_wizardrecipient.moc"
