// Steps 2 and 3 and the transfer, driven by control names: the template list and its
// bookmarks, the previews, every refusal of "Fertigstellen", and complete transfers whose
// saved documents are read back.

#include "tests/app/WizardTestKit.h"

#include "document/FieldAssignmentDefaults.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

using namespace kit;

namespace
{

QListWidget* templates(FrmMain* w)
{
    return child<QListWidget>(w, QStringLiteral("lstDotFiles"));
}

QPushButton* finish(FrmMain* w)
{
    return child<QPushButton>(w, QStringLiteral("cmdFinish"));
}

void chooseTemplate(FrmMain* w, const QString& shownName)
{
    selectRow(templates(w), shownName);
}

QStringList previewLines(FrmMain* w)
{
    QStringList lines;
    for (int i = 0; i < 9; ++i)
        lines << child<QLabel>(w, QStringLiteral("lblAddressOrder%1").arg(i))->text();
    return lines;
}

QStringList padded(QStringList lines)
{
    while (lines.size() < 9)
        lines << QString();
    return lines;
}

void triggerMenu(FrmMain* w, const char* name)
{
    w->findChild<QAction*>(QLatin1String(name))->trigger();
}

} // namespace

class TstWizardTransfer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void templateListAndBookmarks()
    {
        Session run;
        FrmMain* w = run.w();
        QListWidget* list = templates(w);
        QCOMPARE(list->count(), 3);
        QCOMPARE(list->item(0)->text(), QStringLiteral("(leeres Dokument)"));
        QCOMPARE(list->item(1)->text(), QStringLiteral("Bsp-FAX.dotx"));
        QCOMPARE(list->item(2)->text(), QStringLiteral("Bsp-Brief.dotx"));
        QVERIFY(!finish(w)->isEnabled());

        chooseHit(w, QStringLiteral("Berger"));
        child<QPushButton>(w, QStringLiteral("cmdNextTab"))->click();
        chooseTemplate(w, QStringLiteral("Bsp-Brief.dotx"));
        QVERIFY(finish(w)->isEnabled());
        auto* bookmarks = child<QTreeWidget>(w, QStringLiteral("lvwBookmarks"));
        QCOMPARE(bookmarks->headerItem()->text(1), QStringLiteral("Outlook-Feldname"));
        QCOMPARE(bookmarks->topLevelItemCount(), 10);
        QCOMPARE(bookmarks->topLevelItem(0)->text(0), QStringLiteral("Bearbeiter"));
        QCOMPARE(bookmarks->topLevelItem(0)->text(1), QStringLiteral("Von-Name (SF)"));
        QCOMPARE(bookmarks->topLevelItem(0)->text(2), QStringLiteral("<Ihr Name>"));
        QCOMPARE(bookmarks->topLevelItem(3)->text(0), QStringLiteral("Empfänger1"));
        QCOMPARE(bookmarks->topLevelItem(3)->text(2), QStringLiteral("Muster GmbH"));

        // Showing the folders changes no line and keeps the choice.
        child<QCheckBox>(w, QStringLiteral("chkShowDotFilePath"))->click();
        QCOMPARE(list->item(2)->text(), sampleLetterTemplatePath());
        QCOMPARE(list->currentRow(), 2);
        QCOMPARE(bookmarks->topLevelItemCount(), 10);
        child<QCheckBox>(w, QStringLiteral("chkShowDotFilePath"))->click();
        QCOMPARE(list->item(2)->text(), QStringLiteral("Bsp-Brief.dotx"));

        // A refill by the Extras menu drops the choice but leaves the button as it was.
        triggerMenu(w, "mnuExtraFieldAssignments");
        QCOMPARE(list->currentRow(), -1);
        QCOMPARE(bookmarks->topLevelItemCount(), 0);
        QVERIFY(finish(w)->isEnabled());
    }

    void samplePreviews_data()
    {
        QTest::addColumn<int>("order");
        QTest::addColumn<bool>("addN");
        QTest::addColumn<bool>("emptyLine");
        QTest::addColumn<bool>("sameLine");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("company first, empty line")
            << 0 << false << true << false
            << QStringList{"Fima Musterfirma+Co", "Herr", "Mustermann",
                           "Neue Straße 1",       "",     "12345 Beispielstadt"};
        QTest::newRow("person first with Herrn")
            << 1 << true << false << false
            << QStringList{"Herrn", "Mustermann", "Fima Musterfirma+Co", "Neue Straße 1",
                           "12345 Beispielstadt"};
        QTest::newRow("salutation and name on one line")
            << 1 << false << false << true
            << QStringList{"Herr Mustermann", "Fima Musterfirma+Co", "Neue Straße 1",
                           "12345 Beispielstadt"};
    }
    void samplePreviews()
    {
        QFETCH(int, order);
        QFETCH(bool, addN);
        QFETCH(bool, emptyLine);
        QFETCH(bool, sameLine);
        QFETCH(QStringList, lines);
        Session run(false);
        FrmMain* w = run.w();
        child<QTabWidget>(w, QStringLiteral("tabMain"))->setCurrentIndex(2);
        auto setBox = [&](const char* name, bool on) {
            auto* box = child<QCheckBox>(w, QLatin1String(name));
            if (box->isChecked() != on)
                box->click();
        };
        setBox("chkAddNToHerr", addN);
        setBox("chkAddEmptyLineBeforeCity", emptyLine);
        setBox("chkTitleAndNameOnSameLine", sameLine);
        child<QRadioButton>(w, QStringLiteral("optAddressOrder%1").arg(order))->click();
        QCOMPARE(previewLines(w), padded(lines));
        QCOMPARE(run.s->g.settings.AddNToHerr, addN);
        QCOMPARE(run.s->g.settings.AddEmptyLineBeforeCity, emptyLine);
        QCOMPARE(run.s->g.settings.TitleAndNameOnSameLine, sameLine);

        auto* style = child<QLabel>(w, QStringLiteral("lblAddressStyle"));
        QCOMPARE(style->text(), QStringLiteral("Sehr geehrter Herr Mustermann,"));
        child<QRadioButton>(w, QStringLiteral("optAddressStyle1"))->click();
        QCOMPARE(style->text(), QStringLiteral("Lieber Herr Mustermann,"));
        QCOMPARE(child<QLabel>(w, QStringLiteral("lblOptionsNote"))->text(),
                 QStringLiteral("Diese Optionen werden nur wirksam, wenn die Felder "
                                "'1.Anschrift-Zeile' etc. verwendet werden!"));

        // The boxes are settings: they survive the run.
        w->close();
        auto again = start(run.script, false);
        QCOMPARE(child<QCheckBox>(again->w(), QStringLiteral("chkAddNToHerr"))->isChecked(), addN);
        QCOMPARE(
            child<QCheckBox>(again->w(), QStringLiteral("chkTitleAndNameOnSameLine"))->isChecked(),
            sameLine);
    }

    void contactPreviews_data()
    {
        QTest::addColumn<int>("order");
        QTest::addColumn<int>("style");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("salutation");
        QTest::newRow("business order, business letter")
            << 0 << 0 << QStringList{"Muster GmbH", "Herr", "Hans Berger",
                                     "Hauptstr. 1", " ",    "80331 München"}
            << "Sehr geehrter Herr Berger,";
        QTest::newRow("personal order, informal")
            << 1 << 1 << QStringList{"Herr",        "Hans Berger", "Muster GmbH",
                                     "Hauptstr. 1", " ",           "80331 München"}
            << "Lieber Herr Berger,";
    }
    void contactPreviews()
    {
        QFETCH(int, order);
        QFETCH(int, style);
        QFETCH(QStringList, lines);
        QFETCH(QString, salutation);
        Session run;
        FrmMain* w = run.w();
        chooseHit(w, QStringLiteral("Berger"));
        child<QTabWidget>(w, QStringLiteral("tabMain"))->setCurrentIndex(2);
        child<QRadioButton>(w, QStringLiteral("optAddressOrder%1").arg(order))->click();
        child<QRadioButton>(w, QStringLiteral("optAddressStyle%1").arg(style))->click();
        QCOMPARE(previewLines(w), padded(lines));
        QCOMPARE(child<QLabel>(w, QStringLiteral("lblAddressStyle"))->text(), salutation);
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
        FrmMain* w = run.w();
        if (situation != QLatin1String("nocontact"))
            chooseHit(w, QStringLiteral("Berger"));
        const QString gone = run.env.root() + QStringLiteral("/weg/Brief.dotx");
        if (situation == QLatin1String("gone")) {
            run.s->g.fieldAssignmentList.add(gone + QStringLiteral("|Anrede=Anrede (OF)"));
            triggerMenu(w, "mnuExtraOptions");
            templates(w)->setCurrentRow(3);
            text = text.arg(gone);
        } else {
            chooseTemplate(w, QStringLiteral("Bsp-Brief.dotx"));
        }
        if (situation == QLatin1String("notemplate"))
            triggerMenu(w, "mnuExtraOptions");
        if (situation == QLatin1String("noword"))
            run.s->g.settings.OutputFolder = run.env.root() + QStringLiteral("/gibt/es/nicht");
        QVERIFY(finish(w)->isEnabled());
        run.script.answer(situation == QLatin1String("nocontact") ? Mb::Cancel : Mb::Ok);
        finish(w)->click();
        QCOMPARE(run.script.boxes().size(), 1);
        QCOMPARE(run.script.boxes()[0].text, text);
        QCOMPARE(run.script.boxes()[0].style, style);
        QCOMPARE(run.script.beeps(), beeps);
        QCOMPARE(w->statusText(), status);
        QVERIFY(run.s->opened.isEmpty());
        QVERIFY(w->isVisible());
        QCOMPARE(child<QTabWidget>(w, QStringLiteral("tabMain"))->currentIndex(),
                 situation == QLatin1String("notemplate") ? 1 : 0);
        QCOMPARE(QDir(run.env.root() + QStringLiteral("/home/Documents")).entryList(QDir::Files),
                 QStringList());
    }

    void completeTransferFillsEveryBookmarkAndCloses()
    {
        Session run;
        FrmMain* w = run.w();
        chooseHit(w, QStringLiteral("Berger"));
        chooseTemplate(w, QStringLiteral("Bsp-Brief.dotx"));
        QStringList statuses;
        run.script.onDoEvents([&] {
            if (statuses.isEmpty() || statuses.last() != w->statusText())
                statuses << w->statusText();
        });
        finish(w)->click();
        run.script.onDoEvents({});
        QCOMPARE(run.script.boxes().size(), 0);
        const QStringList expected{"Verbindung zu Word herstellen...", "Word-Dokument erstellen...",
                                   "Text übertragen...", "Bereit"};
        QVERIFY2(statuses.mid(statuses.indexOf(expected[0]), 4) == expected,
                 qPrintable(statuses.join(QLatin1String(" | "))));
        // ExitAfterFinished is on by default.
        QVERIFY(!w->isVisible());

        QCOMPARE(run.s->opened.size(), 1);
        const QString doc = run.s->opened.first();
        QCOMPARE(QFileInfo(doc).absolutePath(), run.env.root() + QStringLiteral("/home/Documents"));
        QVERIFY(doc.endsWith(QLatin1String(".docx")));
        const QMap<QString, QString> texts = bookmarkTexts(doc);
        QCOMPARE(texts.value(QStringLiteral("Empfänger1")), QStringLiteral("Muster GmbH"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger2")), QStringLiteral("Herr"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger3")), QStringLiteral("Hans Berger"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger4")), QStringLiteral("Hauptstr. 1"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger5")), QString()); // the blank line
        QCOMPARE(texts.value(QStringLiteral("Empfänger6")), QStringLiteral("80331 München"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger7")), QString());
        QCOMPARE(texts.value(QStringLiteral("Briefanrede")),
                 QStringLiteral("Sehr geehrter Herr Berger,"));
        QCOMPARE(texts.value(QStringLiteral("Bearbeiter")), QStringLiteral("<Ihr Name>"));
        QCOMPARE(texts.value(QStringLiteral("BearbeiterDurchwahl")),
                 QStringLiteral("<Ihre Durchwahl>"));
    }

    void twoTransfersLeaveTwoDocuments()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        registerOnce(script);
        presetSettings({{QStringLiteral("ExitAfterFinished"), false}});
        auto s = start(script, false);
        FrmMain* w = s->w();
        chooseHit(w, QStringLiteral("Berger"));
        child<QTabWidget>(w, QStringLiteral("tabMain"))->setCurrentIndex(2);
        child<QRadioButton>(w, QStringLiteral("optAddressStyle1"))->click();
        chooseTemplate(w, QStringLiteral("Bsp-Brief.dotx"));
        finish(w)->click();
        finish(w)->click();
        QCOMPARE(script.boxes().size(), 0);
        QVERIFY(w->isVisible());
        QCOMPARE(child<QTabWidget>(w, QStringLiteral("tabMain"))->currentIndex(), 2);
        QCOMPARE(child<QLabel>(w, QStringLiteral("lblName"))->text(),
                 QStringLiteral("Herr Hans Berger"));
        QCOMPARE(s->opened.size(), 2);
        QVERIFY(s->opened[0] != s->opened[1]);
        for (const QString& doc : s->opened) {
            QVERIFY(QFileInfo::exists(doc));
            QCOMPARE(bookmarkTexts(doc).value(QStringLiteral("Briefanrede")),
                     QStringLiteral("Lieber Herr Berger,"));
        }
    }

    void emptyDocumentWithoutContact()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        registerOnce(script);
        presetSettings({{QStringLiteral("ExitAfterFinished"), false}});
        auto s = start(script, false);
        FrmMain* w = s->w();
        chooseTemplate(w, QStringLiteral("(leeres Dokument)"));
        script.answer(Mb::Ok);
        finish(w)->click();
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(s->opened.size(), 1);
        QVERIFY(QFileInfo::exists(s->opened.first()));
        QCOMPARE(w->statusText(), QStringLiteral("Dokument gespeichert: ") + s->opened.first());
    }
};

QTEST_MAIN(TstWizardTransfer)
#include "tst_wizardtransfer.moc"
