// Steps 2 and 3 and the transfer, driven by control names: the template list and its
// bookmarks, the previews, every refusal of "Fertigstellen", and complete transfers whose
// saved documents are read back.

#include "tests/app/WizardTestKit.h"

#include "document/FieldAssignmentDefaults.h"

#include <QCheckBox>
#include <QRadioButton>
#include <QTabWidget>

using namespace kit;

namespace
{

QListWidget* templates(const Session& run)
{
    return run.get<QListWidget>(u"lstDotFiles"_s);
}

QStringList previewLines(const Session& run)
{
    QStringList lines;
    for (int i = 0; i < 9; ++i)
        lines << run.text(u"lblAddressOrder%1"_s.arg(i));
    return lines;
}

QTabWidget* tabs(const Session& run)
{
    return run.get<QTabWidget>(u"tabMain"_s);
}

// The three boxes of step 3 that shape the address lines.
const QStringList kAddressBoxes{"chkAddNToHerr", "chkAddEmptyLineBeforeCity",
                                "chkTitleAndNameOnSameLine"};

} // namespace

class TstWizardTransfer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void templateListAndBookmarks()
    {
        Session run;
        QListWidget* list = templates(run);
        QPushButton* finish = run.get(u"cmdFinish"_s);
        QCOMPARE(list->count(), 3);
        QCOMPARE(list->item(0)->text(), u"(leeres Dokument)"_s);
        QCOMPARE(list->item(1)->text(), u"Bsp-FAX.dotx"_s);
        QCOMPARE(list->item(2)->text(), u"Bsp-Brief.dotx"_s);
        QVERIFY(!finish->isEnabled());

        chooseHit(run.w(), u"Berger"_s);
        run.get(u"cmdNextTab"_s)->click();
        selectRow(list, u"Bsp-Brief.dotx"_s);
        QVERIFY(finish->isEnabled());
        auto* bookmarks = run.get<QTreeWidget>(u"lvwBookmarks"_s);
        QCOMPARE(bookmarks->topLevelItemCount(), 10);
        const QStringList first{"Bearbeiter", "Von-Name (SF)", "<Ihr Name>"};
        const QStringList fourth{"Empfänger1", "1. Anschrift-Zeile (ZF)", "Muster GmbH"};
        for (int col = 0; col < 3; ++col) {
            QCOMPARE(bookmarks->topLevelItem(0)->text(col), first[col]);
            QCOMPARE(bookmarks->topLevelItem(3)->text(col), fourth[col]);
        }

        // Showing the folders changes no line and keeps the choice.
        run.get<QCheckBox>(u"chkShowDotFilePath"_s)->click();
        QCOMPARE(list->item(2)->text(), sampleLetterTemplatePath());
        QCOMPARE(list->currentRow(), 2);
        QCOMPARE(bookmarks->topLevelItemCount(), 10);
        run.get<QCheckBox>(u"chkShowDotFilePath"_s)->click();
        QCOMPARE(list->item(2)->text(), u"Bsp-Brief.dotx"_s);

        // Step changes and a new search keep the choice and the button.
        run.get(u"cmdNextTab"_s)->click();
        searchFolder(run.w(), contactsPath(), u"Müller"_s);
        QVERIFY(finish->isEnabled());
        QCOMPARE(list->currentRow(), 2);

        // A refill by the Extras menu drops the choice but leaves the button as it was.
        run.trigger(u"mnuExtraFieldAssignments"_s);
        QCOMPARE(list->currentRow(), -1);
        QCOMPARE(bookmarks->topLevelItemCount(), 0);
        QVERIFY(finish->isEnabled());
    }

    void previews_data()
    {
        QTest::addColumn<bool>("berger"); // chosen; else the sample person is shown
        QTest::addColumn<int>("order");
        QTest::addColumn<QList<bool>>("boxes"); // kAddressBoxes
        QTest::addColumn<int>("style");
        QTest::addColumn<QString>("lines"); // the nine preview lines, "|" between them
        QTest::addColumn<QString>("salutation");
        auto row = [](const char* name, bool berger, int order, QList<bool> boxes, int style,
                      const QString& lines, const QString& salutation) {
            QTest::newRow(name) << berger << order << boxes << style << lines << salutation;
        };
        const QList<bool> defaults{false, true, false};
        row("sample: company first, empty line", false, 0, defaults, 0,
            "Fima Musterfirma+Co|Herr|Mustermann|Neue Straße 1||12345 Beispielstadt|||",
            "Sehr geehrter Herr Mustermann,");
        row("sample: person first with Herrn", false, 1, {true, false, false}, 1,
            "Herrn|Mustermann|Fima Musterfirma+Co|Neue Straße 1|12345 Beispielstadt||||",
            "Lieber Herr Mustermann,");
        row("sample: salutation and name on one line", false, 1, {false, false, true}, 0,
            "Herr Mustermann|Fima Musterfirma+Co|Neue Straße 1|12345 Beispielstadt|||||",
            "Sehr geehrter Herr Mustermann,");
        row("Berger: business order, business letter", true, 0, defaults, 0,
            "Muster GmbH|Herr|Hans Berger|Hauptstr. 1| |80331 München|||",
            "Sehr geehrter Herr Berger,");
        row("Berger: personal order, informal", true, 1, defaults, 1,
            "Herr|Hans Berger|Muster GmbH|Hauptstr. 1| |80331 München|||", "Lieber Herr Berger,");
    }
    void previews()
    {
        QFETCH(bool, berger);
        QFETCH(int, order);
        QFETCH(QList<bool>, boxes);
        QFETCH(int, style);
        QFETCH(QString, lines);
        QFETCH(QString, salutation);
        Session run;
        if (berger)
            chooseHit(run.w(), u"Berger"_s);
        tabs(run)->setCurrentIndex(2);
        for (int i = 0; i < kAddressBoxes.size(); ++i) {
            auto* box = run.get<QCheckBox>(kAddressBoxes[i]);
            if (box->isChecked() != boxes[i])
                box->click();
        }
        run.get<QRadioButton>(u"optAddressOrder%1"_s.arg(order))->click();
        run.get<QRadioButton>(u"optAddressStyle%1"_s.arg(style))->click();
        QCOMPARE(previewLines(run).join(u'|'), lines);
        QCOMPARE(run.text(u"lblAddressStyle"_s), salutation);

        // The boxes are settings: they survive the run.
        run.restart();
        for (int i = 0; i < kAddressBoxes.size(); ++i)
            QCOMPARE(run.get<QCheckBox>(kAddressBoxes[i])->isChecked(), boxes[i]);
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("style");
        QTest::addColumn<int>("beeps");
        QTest::addColumn<QString>("status");
        QTest::newRow("no contact, Cancel")
            << "nocontact"
            << "Es ist kein Outlook-Kontakt ausgewählt, d.h. keine Adressdaten verfügbar!\r\n\r\n"
               "Möchten Sie trotzdem zu Word übertragen?"
            << int(Mb::OkCancel + Mb::Question) << 0 << "Bereit";
        // Only the user's selection counts, not a row the refilled list makes current.
        QTest::newRow("no template selected after a refill")
            << "notemplate"
            << "Keine Vorlagendatei ausgewählt!" << int(Mb::Exclamation) << 0 << "Bereit";
        QTest::newRow("template file gone")
            << "gone"
            << "Auf die Vorlagendatei '%1' kann nicht zugegriffen werden!\r\n"
               "Überprüfen Sie die Einstellungen, Zugriffsrechte und Netzwerkverbindungen!"
            << int(Mb::Critical) << 1 << "Bereit";
        QTest::newRow("output folder missing: no word processor")
            << "noword"
            << "Keine Verbindung zu Word möglich!\r\n\r\n"
               "Überprüfen Sie, ob der Ausgabeordner beschreibbar und LibreOffice Writer "
               "korrekt installiert ist!"
            << int(Mb::Critical) << 1 << "Kein Verbindung zu Word";
    }
    void refusals()
    {
        QFETCH(QString, situation);
        QFETCH(QString, text);
        QFETCH(int, style);
        QFETCH(int, beeps);
        QFETCH(QString, status);
        Session run;
        if (situation != u"nocontact")
            chooseHit(run.w(), u"Berger"_s);
        const QString gone = run.env.root() + u"/weg/Brief.dotx"_s;
        if (situation == u"gone") {
            run.s->g.fieldAssignmentList.add(gone + u"|Anrede=Anrede (OF)"_s);
            run.trigger(u"mnuExtraOptions"_s);
            templates(run)->setCurrentRow(3);
            text = text.arg(gone);
        } else {
            selectRow(templates(run), u"Bsp-Brief.dotx"_s);
        }
        if (situation == u"notemplate")
            run.trigger(u"mnuExtraOptions"_s);
        if (situation == u"noword")
            run.s->g.settings.OutputFolder = run.env.root() + u"/gibt/es/nicht"_s;
        QPushButton* finish = run.get(u"cmdFinish"_s);
        QVERIFY(finish->isEnabled());
        run.script.answer(situation == u"nocontact" ? Mb::Cancel : Mb::Ok);
        finish->click();
        QCOMPARE(run.script.boxes().size(), 1);
        QCOMPARE(run.script.boxes()[0].text, text);
        QCOMPARE(run.script.boxes()[0].style, style);
        QCOMPARE(run.script.beeps(), beeps);
        QCOMPARE(run.w()->statusText(), status);
        QVERIFY(run.s->opened.isEmpty());
        QVERIFY(run.w()->isVisible());
        QCOMPARE(tabs(run)->currentIndex(), situation == u"notemplate" ? 1 : 0);
        QCOMPARE(QDir(run.env.root() + u"/home/Documents"_s).entryList(QDir::Files), QStringList());
    }

    void transfer_data()
    {
        QTest::addColumn<QString>("lastName"); // empty: no contact
        QTest::addColumn<QString>("templateName");
        QTest::addColumn<bool>("exitAfter");
        QTest::addColumn<int>("style");
        QTest::addColumn<int>("transfers");
        QTest::addColumn<QString>("salutation"); // empty: a document without bookmarks
        auto row = [](const char* name, const QString& lastName, const QString& templateName,
                      bool exitAfter, int style, int transfers, const QString& salutation) {
            QTest::newRow(name) << lastName << templateName << exitAfter << style << transfers
                                << salutation;
        };
        row("business letter, the window closes after", "Berger", "Bsp-Brief.dotx", true, 0, 1,
            "Sehr geehrter Herr Berger,");
        row("informal letter, the window stays for a second one", "Berger", "Bsp-Brief.dotx", false,
            1, 2, "Lieber Herr Berger,");
        row("empty document without a contact", "", "(leeres Dokument)", false, 0, 1, "");
    }
    void transfer()
    {
        QFETCH(QString, lastName);
        QFETCH(QString, templateName);
        QFETCH(bool, exitAfter);
        QFETCH(int, style);
        QFETCH(int, transfers);
        QFETCH(QString, salutation);
        Session run;
        FrmMain* w = run.w();
        QCOMPARE(run.s->g.settings.ExitAfterFinished, true); // the default
        run.s->g.settings.ExitAfterFinished = exitAfter;
        if (!lastName.isEmpty())
            chooseHit(w, lastName);
        tabs(run)->setCurrentIndex(2);
        run.get<QRadioButton>(u"optAddressStyle%1"_s.arg(style))->click();
        selectRow(templates(run), templateName);
        QStringList statuses;
        run.script.onDoEvents([&] {
            if (statuses.isEmpty() || statuses.last() != w->statusText())
                statuses << w->statusText();
        });
        for (int i = 0; i < transfers; ++i) {
            if (lastName.isEmpty())
                run.script.answer(Mb::Ok); // "trotzdem zu Word übertragen?"
            run.get(u"cmdFinish"_s)->click();
        }
        run.script.onDoEvents({});
        QCOMPARE(run.script.boxes().size(), lastName.isEmpty() ? transfers : 0);
        const QStringList expected{"Verbindung zu Word herstellen...", "Word-Dokument erstellen...",
                                   "Text übertragen...", "Bereit"};
        QVERIFY2(statuses.mid(statuses.indexOf(expected[0]), 4) == expected,
                 qPrintable(statuses.join(u" | ")));
        QCOMPARE(w->isVisible(), !exitAfter);
        if (!exitAfter) {
            QCOMPARE(tabs(run)->currentIndex(), 2);
            QCOMPARE(run.text(u"lblName"_s),
                     lastName.isEmpty() ? QString() : u"Herr Hans Berger"_s);
        }

        QCOMPARE(run.s->opened.size(), transfers);
        QCOMPARE(QSet<QString>(run.s->opened.cbegin(), run.s->opened.cend()).size(), transfers);
        // Empfänger5 is the blank line before the city.
        QMap<QString, QString> expectedTexts;
        if (!salutation.isEmpty())
            expectedTexts = {{"Empfänger1", "Muster GmbH"},
                             {"Empfänger2", "Herr"},
                             {"Empfänger3", "Hans Berger"},
                             {"Empfänger4", "Hauptstr. 1"},
                             {"Empfänger5", ""},
                             {"Empfänger6", "80331 München"},
                             {"Empfänger7", ""},
                             {"Briefanrede", salutation},
                             {"Bearbeiter", "<Ihr Name>"},
                             {"BearbeiterDurchwahl", "<Ihre Durchwahl>"}};
        for (const QString& doc : run.s->opened) {
            QCOMPARE(QFileInfo(doc).absolutePath(), run.env.root() + u"/home/Documents"_s);
            QVERIFY(doc.endsWith(u".docx"));
            QCOMPARE(bookmarkTexts(doc), expectedTexts);
        }
    }
};

QTEST_MAIN(TstWizardTransfer)
#include "tst_wizardtransfer.moc"
