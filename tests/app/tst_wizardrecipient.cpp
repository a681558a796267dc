// Step 1 of the wizard driven by control names: the handed-over contact, the search, its
// abort, the hit list and the address frame.

#include "tests/app/WizardTestKit.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

using namespace kit;

namespace
{

const QString kNoContactOpen =
    QStringLiteral("Aktuell ist kein Kontaktelement geöffnet!\r\n\r\n"
                   "Öffnen Sie in Outlook das gewünschte Kontaktelement und versuchen es "
                   "erneut\r\noder suchen Sie es mit der Option 'Kontakt suchen'");
const QString kNoName =
    QStringLiteral("Kein zu suchender Name angegeben!\r\n"
                   "Wenn kein Name angegeben ist, kann der Suchvorgang u.U. lange dauern\r\n"
                   "und die Trefferliste sehr umfangreich werden!\r\n\r\n"
                   "Wollen Sie trotzdem fortfahren?");

// A file handed to the program, by kind.
QString handedFile(const TestEnvironment& env, const QString& kind)
{
    const QString dir = env.root() + QStringLiteral("/handed");
    if (kind == QLatin1String("vcard")) {
        const QString p = dir + QStringLiteral("/berger.vcf");
        writeFile(p, Card{QStringLiteral("Berger"), QStringLiteral("Hans"), QStringLiteral("Herr"),
                          QStringLiteral("Muster GmbH"), QStringLiteral("Hauptstr. 1"),
                          QStringLiteral("80331"), QStringLiteral("München")}
                         .toVCard()
                         .toUtf8());
        return p;
    }
    if (kind == QLatin1String("text")) {
        writeFile(dir + QStringLiteral("/notiz.txt"), "Einkaufsliste\n");
        return dir + QStringLiteral("/notiz.txt");
    }
    if (kind == QLatin1String("calendar")) {
        writeFile(dir + QStringLiteral("/termin.ics"),
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nSUMMARY:X\r\nEND:VEVENT\r\n"
                  "END:VCALENDAR\r\n");
        return dir + QStringLiteral("/termin.ics");
    }
    if (kind == QLatin1String("missing"))
        return dir + QStringLiteral("/weg.vcf");
    return QString();
}

QTreeWidget* found(FrmMain* w)
{
    return child<QTreeWidget>(w, QStringLiteral("lvwFound"));
}

QString label(FrmMain* w, const QString& name)
{
    return child<QLabel>(w, name)->text();
}

// Contacts Name0, Name1, ... in files of their own, enough for a search to take a while.
void writeNumberedContacts(const TestEnvironment& env, int count)
{
    for (int i = 0; i < count; ++i)
        writeFile(contactsDir(env) + QStringLiteral("/k%1.vcf").arg(i, 3, 10, QLatin1Char('0')),
                  Card{QStringLiteral("Name%1").arg(i), QStringLiteral("V")}.toVCard().toUtf8());
}

void verifyIdle(FrmMain* w)
{
    QVERIFY(!child<QPushButton>(w, QStringLiteral("cmdAbort"))->isEnabled());
    QVERIFY(child<QPushButton>(w, QStringLiteral("cmdSearch"))->isEnabled());
    QVERIFY(child<QPushButton>(w, QStringLiteral("cmdGetCurrentContact"))->isEnabled());
    QCOMPARE(w->statusText(), QStringLiteral("Bereit"));
}

} // namespace

class TstWizardRecipient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void startWithHandedOverFile_data()
    {
        QTest::addColumn<bool>("checkAtStartup");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("rows");
        QTest::newRow("look at start, a contact is open: listed and chosen")
            << true << "vcard" << 1;
        QTest::newRow("look at start, nothing open: silent, empty list") << true << "" << 0;
        QTest::newRow("look at start, a text file open: silent") << true << "text" << 0;
        QTest::newRow("look at start, the file is gone: silent") << true << "missing" << 0;
        QTest::newRow("no look at start: contact waits for Übernehmen") << false << "vcard" << 0;
    }
    void startWithHandedOverFile()
    {
        QFETCH(bool, checkAtStartup);
        QFETCH(QString, kind);
        QFETCH(int, rows);
        TestEnvironment env;
        ScriptedUserInterface script;
        registerOnce(script);
        presetSettings({{QStringLiteral("CheckForCurrentContactAtStartup"), checkAtStartup}});
        auto s = start(script, false, handedFile(env, kind));
        FrmMain* w = s->w();
        QCOMPARE(found(w)->topLevelItemCount(), rows);
        QCOMPARE(script.boxes().size(), 0);
        QCOMPARE(w->statusText(), QStringLiteral("Bereit"));
        if (rows == 1) {
            QCOMPARE(found(w)->currentItem(), found(w)->topLevelItem(0));
            QCOMPARE(label(w, QStringLiteral("lblName")), QStringLiteral("Herr Hans Berger"));
            QCOMPARE(label(w, QStringLiteral("lblStreet0")), QStringLiteral("Hauptstr. 1"));
        } else {
            QCOMPARE(label(w, QStringLiteral("lblName")), QString());
        }
        if (!checkAtStartup) {
            child<QPushButton>(w, QStringLiteral("cmdGetCurrentContact"))->click();
            QCOMPARE(found(w)->topLevelItemCount(), 1);
            QCOMPARE(label(w, QStringLiteral("lblName")), QStringLiteral("Herr Hans Berger"));
            QVERIFY(child<QRadioButton>(w, QStringLiteral("optSource0"))->isChecked());
        }
    }

    void takeOverWithoutOpenContactSaysSo_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("nothing handed over") << "";
        QTest::newRow("a text file") << "text";
        QTest::newRow("a calendar file") << "calendar";
    }
    void takeOverWithoutOpenContactSaysSo()
    {
        QFETCH(QString, kind);
        TestEnvironment env;
        ScriptedUserInterface script;
        auto s = start(script, true, handedFile(env, kind));
        script.answer(Mb::Ok);
        child<QPushButton>(s->w(), QStringLiteral("cmdGetCurrentContact"))->click();
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text, kNoContactOpen);
        QCOMPARE(script.boxes()[0].icon(), Mb::Exclamation);
        QCOMPARE(script.beeps(), 1);
        QCOMPARE(found(s->w())->topLevelItemCount(), 0);
    }

    void droppedOrSecondStartFileIsTakenAtOnce()
    {
        Session run;
        FrmMain* w = run.w();
        kit::searchFolder(w, contactsPath(), QStringLiteral("Müller"));
        QCOMPARE(found(w)->topLevelItemCount(), 2);
        w->handOverContactFile(handedFile(run.env, QStringLiteral("vcard")));
        QCOMPARE(column(found(w), 1), QStringList{QStringLiteral("Berger")});
        QCOMPARE(label(w, QStringLiteral("lblName")), QStringLiteral("Herr Hans Berger"));
        QVERIFY(child<QRadioButton>(w, QStringLiteral("optSource0"))->isChecked());
        // The taken-over row stands for no search result: clicking it changes nothing.
        found(w)->setCurrentItem(nullptr);
        found(w)->setCurrentItem(found(w)->topLevelItem(0));
        QCOMPARE(label(w, QStringLiteral("lblName")), QStringLiteral("Herr Hans Berger"));
    }

    void search_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("answer"); // to the no-name question; 0: no question
        QTest::addColumn<QStringList>("lastNames");
        QTest::newRow("Müller lists exactly the Müllers")
            << "Müller" << 0 << QStringList{"Müller", "Müller"};
        QTest::newRow("case does not matter") << "MÜLLER" << 0 << QStringList{"Müller", "Müller"};
        QTest::newRow("blanks around the name are dropped")
            << "  Berger " << 0 << QStringList{"Berger"};
        QTest::newRow("first names are not searched") << "Anna" << 0 << QStringList{};
        QTest::newRow("part of a name finds nothing") << "Müll" << 0 << QStringList{};
        QTest::newRow("no name, OK lists every contact")
            << "" << int(Mb::Ok) << QStringList{"Berger", "Müller", "", "Müller"};
        QTest::newRow("no name, Cancel searches nothing")
            << "   " << int(Mb::Cancel) << QStringList{};
    }
    void search()
    {
        QFETCH(QString, name);
        QFETCH(int, answer);
        QFETCH(QStringList, lastNames);
        Session run;
        FrmMain* w = run.w();
        if (answer)
            run.script.answer(answer);
        kit::searchFolder(w, contactsPath(), name);
        QCOMPARE(run.script.boxes().size(), answer ? 1 : 0);
        if (answer) {
            QCOMPARE(run.script.boxes()[0].text, kNoName);
            QCOMPARE(run.script.boxes()[0].style, Mb::OkCancel + Mb::Question);
        }
        QCOMPARE(column(found(w), 1), lastNames);
        QVERIFY(child<QRadioButton>(w, QStringLiteral("optSource1"))->isChecked());
        verifyIdle(w);
        // No hit is chosen by itself.
        QCOMPARE(label(w, QStringLiteral("lblName")), QString());
        QCOMPARE(found(w)->currentItem(), nullptr);
    }

    void hitRowsCarryIconsAndEntryIds()
    {
        Session run;
        run.script.answer(Mb::Ok);
        kit::searchFolder(run.s->w(), contactsPath(), QString());
        QTreeWidget* list = found(run.s->w());
        QCOMPARE(list->columnCount(), 4);
        QCOMPARE(list->headerItem()->text(0), QStringLiteral("Speichern unter"));
        QCOMPARE(list->headerItem()->text(3), QStringLiteral("Firma"));
        QStringList icons, ids;
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            icons << list->topLevelItem(i)->data(0, Qt::UserRole + 2).toString();
            ids << list->topLevelItem(i)->data(0, Qt::UserRole).toString();
            QVERIFY(!list->topLevelItem(i)->icon(0).isNull());
        }
        QCOMPARE(icons, (QStringList{"Person", "Person", "VirtualPerson", "Person"}));
        QCOMPARE(list->topLevelItem(2)->text(3), QStringLiteral("Stadtwerke Fürth"));
        for (const QString& id : ids)
            QVERIFY2(id.startsWith(QLatin1String("LOC:")), qPrintable(id));
        QCOMPARE(QSet<QString>(ids.cbegin(), ids.cend()).size(), 4);
    }

    void searchRefusals_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("style");
        QTest::newRow("no folder") << "  "
                                   << "Müller"
                                   << "Kein Outlook-Ordner angegeben!" << int(Mb::Exclamation);
        QTest::newRow("folder does not exist")
            << "Root\\Persönliche Ordner\\Gibtsnicht"
            << "Müller"
            << "Öffnen des Ordners 'Root\\Persönliche Ordner\\Gibtsnicht' nicht möglich!"
            << int(Mb::Critical);
    }
    void searchRefusals()
    {
        QFETCH(QString, folder);
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(int, style);
        Session run;
        // GetFolderByPath reports the missing folder first, then the folder object says it
        // cannot open it.
        run.script.setLenient(true);
        kit::searchFolder(run.s->w(), folder, name);
        QVERIFY(!run.script.boxes().isEmpty());
        QCOMPARE(run.script.boxes().last().text, text);
        QCOMPARE(run.script.boxes().last().icon(), style);
        QCOMPARE(found(run.s->w())->topLevelItemCount(), 0);
        verifyIdle(run.s->w());
    }

    void nameWithApostropheFailsCleanly()
    {
        // The name goes into the filter as typed; a filter that cannot be read is reported
        // and the search buttons come back.
        Session run;
        run.script.answer(Mb::No);
        kit::searchFolder(run.s->w(), contactsPath(), QStringLiteral("O'Neill"));
        QCOMPARE(run.script.boxes().size(), 1);
        QVERIFY2(run.script.boxes()[0].text.contains(QLatin1String("Suchen")),
                 qPrintable(run.script.boxes()[0].text));
        verifyIdle(run.s->w());
    }

    void abortKeepsRowsFoundSoFar()
    {
        Session run(false);
        writeNumberedContacts(run.env, 60);
        FrmMain* w = run.w();
        auto* abort = child<QPushButton>(w, QStringLiteral("cmdAbort"));
        int yieldsWhileSearching = 0;
        bool sawSearching = false;
        run.script.onDoEvents([&] {
            if (!abort->isEnabled())
                return;
            sawSearching = sawSearching || w->statusText() == QLatin1String("Suchen...");
            QVERIFY(!child<QPushButton>(w, QStringLiteral("cmdSearch"))->isEnabled());
            if (++yieldsWhileSearching == 12)
                abort->click();
        });
        run.script.answer(Mb::Ok);
        kit::searchFolder(w, contactsPath(), QString());
        run.script.onDoEvents({});
        QVERIFY(sawSearching);
        const int rows = found(w)->topLevelItemCount();
        QVERIFY2(rows > 0 && rows < 20, qPrintable(QString::number(rows)));
        QCOMPARE(found(w)->topLevelItem(0)->text(1), QStringLiteral("Name0"));
        verifyIdle(w);
        // A new search starts afresh.
        kit::searchFolder(w, contactsPath(), QStringLiteral("Name59"));
        QCOMPARE(column(found(w), 1), QStringList{QStringLiteral("Name59")});
    }

    void closeDuringSearchWaitsForTheLoop()
    {
        Session run(false);
        writeNumberedContacts(run.env, 40);
        FrmMain* w = run.w();
        auto* abort = child<QPushButton>(w, QStringLiteral("cmdAbort"));
        bool closed = false;
        QString statusAfterClose;
        run.script.onDoEvents([&] {
            if (abort->isEnabled() && !closed) {
                closed = true;
                w->close();
                statusAfterClose = w->statusText();
                QVERIFY(w->isVisible());
            }
        });
        run.script.answer(Mb::Ok);
        kit::searchFolder(w, contactsPath(), QString());
        run.script.onDoEvents({});
        QVERIFY(closed);
        QCOMPARE(statusAfterClose, QStringLiteral("Abbrechen..."));
        QVERIFY(found(w)->topLevelItemCount() < 40);
        QVERIFY(w->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(!w->isVisible(), 2500);
    }

    void chosenHitFillsTheAddressFrame_data()
    {
        QTest::addColumn<int>("address");
        QTest::newRow("business address shown") << 0;
        QTest::newRow("home address shown") << 1;
        QTest::newRow("other address shown") << 2;
    }
    void chosenHitFillsTheAddressFrame()
    {
        QFETCH(int, address);
        TestEnvironment env;
        ScriptedUserInterface script;
        writeFile(contactsDir(env) + QStringLiteral("/voll.vcf"),
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Weiß;Jürgen;;Dr.;\r\nFN:Dr. Jürgen Weiß\r\n"
                  "ORG:Labor GmbH;Analytik\r\nTITLE:Leiter\r\n"
                  "ADR;TYPE=WORK:;;Werkstr. 5;Köln;;50667;Deutschland\r\n"
                  "ADR;TYPE=HOME:;;Gartenweg 1;Bonn;;53111;Deutschland\r\n"
                  "ADR:;;Postfach 9;Wien;;1010;Österreich\r\n"
                  "X-ZETTELWERK-USERPROP-FIRMA-3;X-ZETTELWERK-NAME=\"Firma 3\";"
                  "X-ZETTELWERK-TYPE=text:Labor Holding\r\nEND:VCARD\r\n");
        auto s = start(script);
        FrmMain* w = s->w();
        kit::searchFolder(w, contactsPath(), QStringLiteral("Weiß"));
        found(w)->setCurrentItem(found(w)->topLevelItem(0));
        QCOMPARE(label(w, QStringLiteral("lblName")), QStringLiteral("Dr. Jürgen Weiß"));
        QCOMPARE(label(w, QStringLiteral("lblCompany1")), QStringLiteral("Labor GmbH"));
        QCOMPARE(label(w, QStringLiteral("lblCompany2")), QString()); // no "Firma 2": no box
        QCOMPARE(label(w, QStringLiteral("lblCompany3")), QStringLiteral("Labor Holding"));
        QCOMPARE(label(w, QStringLiteral("lblPosition")), QStringLiteral("Leiter"));
        QCOMPARE(label(w, QStringLiteral("lblDepartment")), QStringLiteral("Analytik"));
        const QStringList streets{"Werkstr. 5", "Gartenweg 1", "Postfach 9"};
        const QStringList cities{"Köln", "Bonn", "Wien"};
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(label(w, QStringLiteral("lblStreet%1").arg(i)), streets[i]);
            QCOMPARE(label(w, QStringLiteral("lblCity%1").arg(i)), cities[i]);
        }
        QCOMPARE(label(w, QStringLiteral("lblCountry2")), QStringLiteral("Österreich"));
        child<QRadioButton>(w, QStringLiteral("optAddress%1").arg(address))->click();
        for (int i = 0; i < 3; ++i) {
            for (const char* part : {"lblStreet", "lblZIP", "lblCity", "lblCountry"}) {
                QCOMPARE(!child<QLabel>(w, QLatin1String(part) + QString::number(i))->isHidden(),
                         i == address);
            }
        }
        // A new search empties the frame and goes back to the business address, but the
        // chosen contact stays until the next choice.
        kit::searchFolder(w, contactsPath(), QStringLiteral("Niemand"));
        QCOMPARE(label(w, QStringLiteral("lblName")), QString());
        QCOMPARE(label(w, QStringLiteral("lblStreet0")), QString());
        QVERIFY(child<QRadioButton>(w, QStringLiteral("optAddress0"))->isChecked());
        QVERIFY(!child<QLabel>(w, QStringLiteral("lblStreet0"))->isHidden());
        QCOMPARE(script.boxes().size(), 0);
    }

    void unreadableCardsAreReportedOnce()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        writeFile(contactsDir(env) + QStringLiteral("/kaputt.vcf"),
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Müller;Kaputt;;;\r\n");
        auto s = start(script);
        FrmMain* w = s->w();
        script.answer(Mb::Ok);
        kit::searchFolder(w, contactsPath(), QStringLiteral("Müller"));
        QCOMPARE(found(w)->topLevelItemCount(), 2);
        QCOMPARE(script.boxes().size(), 1);
        QVERIFY2(script.boxes()[0].text.contains(QLatin1String("kaputt.vcf")),
                 qPrintable(script.boxes()[0].text));
        QCOMPARE(script.boxes()[0].icon(), Mb::Exclamation);
        kit::searchFolder(w, contactsPath(), QStringLiteral("Berger"));
        QCOMPARE(script.boxes().size(), 1);
        verifyIdle(w);
    }

    void searchedNamesAreRemembered()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        {
            auto s = start(script);
            kit::searchFolder(s->w(), contactsPath(), QStringLiteral(" Berger "));
            kit::searchFolder(s->w(), contactsPath(), QStringLiteral("Müller"));
            s->w()->close();
        }
        auto s = start(script, false);
        auto* combo = child<QComboBox>(s->w(), QStringLiteral("cboSearchName"));
        QCOMPARE(combo->count(), 2);
        QCOMPARE(combo->itemText(0), QStringLiteral("Müller"));
        QCOMPARE(combo->itemText(1), QStringLiteral("Berger"));
        QCOMPARE(child<QLineEdit>(s->w(), QStringLiteral("txtOutlookFolder"))->text(),
                 contactsPath());
    }

    void sampleStoreIsOfferedUntilAFolderIsChosen()
    {
        Session run(false);
        QCOMPARE(child<QLineEdit>(run.s->w(), QStringLiteral("txtOutlookFolder"))->text(),
                 QStringLiteral("Root\\Beispielkontakte"));
        kit::searchFolder(run.s->w(), QStringLiteral("Root\\Beispielkontakte"),
                          QStringLiteral("Müller"));
        QVERIFY(found(run.s->w())->topLevelItemCount() >= 1);
        QCOMPARE(run.script.boxes().size(), 0);
    }
};

QTEST_MAIN(TstWizardRecipient)
#include "tst_wizardrecipient.moc"
