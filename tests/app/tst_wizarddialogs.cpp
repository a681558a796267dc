// The dialogs of the "Extras" menu and the folder button, opened from the real main window:
// what they change reaches the next transfer and the next start.

#include "tests/app/WizardTestKit.h"

#include "app/dialogs/FrmOutlookFolderSelection.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/widgets/FrmFieldAssignments.h"
#include "document/widgets/FrmOptions.h"
#include "util/SystemNames.h"

#include <QCheckBox>

using namespace kit;

class TstWizardDialogs : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { FrmMain::setDialogHook({}); }

    void assignedFieldsOfEveryCategoryAreTransferredAndKept()
    {
        Session run;
        // Anna Müller carries the user-defined field "Firma 2"; she is the contact read last.
        chooseHit(run.w(), u"Müller"_s, u"Anna"_s);
        struct Assignment {
            QString bookmark, field, text; // the field of category i, and its text in the letter
        };
        const QList<Assignment> assignments{
            {"Empfänger1", "Anrede+Name", "Frau Anna Müller"},
            {"Empfänger2", "Firma", "Alpha AG"},
            {"Empfänger3", "Weiter Vornamen", ""},
            {"Empfänger4", "Firma 2", "Alpha Logistik"},
            {"Empfänger5", "Von-FAX", "<Ihre FAX-Nummer>"},
            {"Empfänger6", "Benutzer Login-Name", VuGetLoginName()}};

        bool opened = false;
        FrmMain::setDialogHook([&](QDialog& dlg) {
            QVERIFY(qobject_cast<FrmFieldAssignments*>(&dlg));
            opened = true;
            dlg.show();
            selectRow(child<QListWidget>(&dlg, u"lstDotFiles"_s), sampleLetterTemplatePath());
            // Each as a user clicks it: bookmark, category, field, "Zuweisen".
            for (int category = 0; category < assignments.size(); ++category) {
                selectRow(child<QTreeWidget>(&dlg, u"lvwBookmarks"_s),
                          assignments[category].bookmark);
                child<QComboBox>(&dlg, u"cboOutlookFieldCategories"_s)->setCurrentIndex(category);
                selectRow(child<QListWidget>(&dlg, u"lstOutlookFields"_s),
                          assignments[category].field);
                child<QPushButton>(&dlg, u"cmdAssignOutlookField"_s)->click();
            }
            child<QPushButton>(&dlg, u"cmdClose"_s)->click();
        });
        run.trigger(u"mnuExtraFieldAssignments"_s);
        QVERIFY(opened);

        // The edited template moved to the end of the refreshed list.
        auto* templates = run.get<QListWidget>(u"lstDotFiles"_s);
        QCOMPARE(templates->item(templates->count() - 1)->text(), u"Bsp-Brief.dotx"_s);
        templates->setCurrentRow(templates->count() - 1);
        run.get(u"cmdFinish"_s)->click();
        QCOMPARE(run.s->opened.size(), 1);
        const QMap<QString, QString> texts = bookmarkTexts(run.s->opened.first());
        for (const Assignment& a : assignments)
            QCOMPARE(texts.value(a.bookmark), a.text);
        QVERIFY(!run.w()->isVisible()); // closed after the transfer, settings saved

        auto again = start(run.script, false);
        const QString entry = again->g.fieldAssignmentList.item(sampleLetterTemplatePath());
        QVERIFY2(entry.contains(u"|Empfänger4=Firma 2 (BF)|"_s), qPrintable(entry));
        QCOMPARE(again->g.fieldAssignmentList.position(sampleLetterTemplatePath()),
                 again->g.fieldAssignmentList.count());
    }

    void optionsDialog_data()
    {
        QTest::addColumn<bool>("ok");
        QTest::newRow("OK: kept for the run and the next start") << true;
        QTest::newRow("Cancel changes nothing") << false;
    }
    void optionsDialog()
    {
        QFETCH(bool, ok);
        Session run(false);
        const QString out = run.env.root() + u"/Briefe"_s;
        QDir().mkpath(out);
        FrmMain::setDialogHook([&](QDialog& dlg) {
            QVERIFY(qobject_cast<FrmOptions*>(&dlg));
            dlg.show();
            child<QCheckBox>(&dlg, u"chkExitAfterFinished"_s)->setChecked(false);
            child<QCheckBox>(&dlg, u"chkAllowResize"_s)->setChecked(false);
            child<QLineEdit>(&dlg, u"txtOutputFolder"_s)->setText(out);
            child<QPushButton>(&dlg, ok ? u"cmdOK"_s : u"cmdCancel"_s)->click();
        });
        run.trigger(u"mnuExtraOptions"_s);
        QCOMPARE(run.s->g.settings.AllowResize, !ok);
        for (int day = 0; day < 2; ++day) {
            if (day)
                run.restart();
            QCOMPARE(run.s->g.settings.ExitAfterFinished, !ok);
            QCOMPARE(run.s->g.settings.OutputFolder, ok ? out : QString());
        }
    }

    void folderButtonPutsTheChosenPathIntoTheBox_data()
    {
        QTest::addColumn<bool>("ok");
        QTest::newRow("OK takes the folder") << true;
        QTest::newRow("cancel keeps the text") << false;
    }
    void folderButtonPutsTheChosenPathIntoTheBox()
    {
        QFETCH(bool, ok);
        Session run;
        auto* box = run.get<QLineEdit>(u"txtOutlookFolder"_s);
        box->setText(u"Root\\Nirgendwo"_s);
        FrmMain::setDialogHook([&](QDialog& dlg) {
            auto* sel = qobject_cast<FrmOutlookFolderSelection*>(&dlg);
            QVERIFY(sel);
            dlg.show();
            // Choose the personal contacts folder in the tree, as a user would.
            auto* tree = child<QTreeWidget>(&dlg, u"tvTreeView"_s);
            QTreeWidgetItem* found = nullptr;
            for (int round = 0; round < 4 && !found; ++round) {
                for (QTreeWidgetItemIterator it(tree); *it && !found; ++it) {
                    tree->setCurrentItem(*it); // loads the branch
                    if ((*it)->text(0) == u"Kontakte")
                        found = *it;
                }
            }
            QVERIFY(found);
            QCOMPARE(sel->FullPath(), u"Persönliche Ordner\\Kontakte"_s);
            child<QPushButton>(&dlg, ok ? u"cmdOK"_s : u"cmdCancel"_s)->click();
        });
        run.get(u"cmdSelectOutlookFolder"_s)->click();
        // The dialog gives the path without "Root\", which the search takes as well.
        QCOMPARE(box->text(), ok ? u"Persönliche Ordner\\Kontakte"_s : u"Root\\Nirgendwo"_s);
        QVERIFY(run.script.boxes().isEmpty());
    }
};

QTEST_MAIN(TstWizardDialogs)
#include "tst_wizarddialogs.moc"
