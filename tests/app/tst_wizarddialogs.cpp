// The dialogs of the "Extras" menu and the folder button, opened from the real main window:
// what they change reaches the next transfer and the next start.

#include "tests/app/WizardTestKit.h"

#include "app/dialogs/FrmOutlookFolderSelection.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/widgets/FrmFieldAssignments.h"
#include "document/widgets/FrmOptions.h"
#include "util/SystemNames.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>
#include <QTreeWidget>

using namespace kit;

namespace
{

// Assigns one field of a category to a bookmark of the letter, as a user clicks it.
void assign(QDialog& dlg, const QString& bookmark, int category, const QString& field)
{
    selectRow(child<QTreeWidget>(&dlg, QStringLiteral("lvwBookmarks")), bookmark);
    child<QComboBox>(&dlg, QStringLiteral("cboOutlookFieldCategories"))->setCurrentIndex(category);
    selectRow(child<QListWidget>(&dlg, QStringLiteral("lstOutlookFields")), field);
    child<QPushButton>(&dlg, QStringLiteral("cmdAssignOutlookField"))->click();
}

} // namespace

class TstWizardDialogs : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { FrmMain::setDialogHook({}); }

    void assignedFieldsOfEveryCategoryAreTransferredAndKept()
    {
        Session run;
        FrmMain* w = run.w();
        // Anna Müller carries the user-defined field "Firma 2"; she is the contact read last.
        chooseHit(w, QStringLiteral("Müller"), QStringLiteral("Anna"));

        bool opened = false;
        FrmMain::setDialogHook([&](QDialog& dlg) {
            QVERIFY(qobject_cast<FrmFieldAssignments*>(&dlg));
            opened = true;
            dlg.show();
            selectRow(child<QListWidget>(&dlg, QStringLiteral("lstDotFiles")),
                      sampleLetterTemplatePath());
            assign(dlg, QStringLiteral("Empfänger1"), 0, QStringLiteral("Anrede+Name"));
            assign(dlg, QStringLiteral("Empfänger2"), 1, QStringLiteral("Firma"));
            assign(dlg, QStringLiteral("Empfänger3"), 2, QStringLiteral("Weiter Vornamen"));
            assign(dlg, QStringLiteral("Empfänger4"), 3, QStringLiteral("Firma 2"));
            assign(dlg, QStringLiteral("Empfänger5"), 4, QStringLiteral("Von-FAX"));
            assign(dlg, QStringLiteral("Empfänger6"), 5, QStringLiteral("Benutzer Login-Name"));
            child<QPushButton>(&dlg, QStringLiteral("cmdClose"))->click();
        });
        w->findChild<QAction*>(QStringLiteral("mnuExtraFieldAssignments"))->trigger();
        QVERIFY(opened);

        // The edited template moved to the end of the refreshed list.
        auto* templates = child<QListWidget>(w, QStringLiteral("lstDotFiles"));
        QCOMPARE(templates->item(templates->count() - 1)->text(), QStringLiteral("Bsp-Brief.dotx"));
        templates->setCurrentRow(templates->count() - 1);
        child<QPushButton>(w, QStringLiteral("cmdFinish"))->click();
        QCOMPARE(run.s->opened.size(), 1);
        const QMap<QString, QString> texts = bookmarkTexts(run.s->opened.first());
        QCOMPARE(texts.value(QStringLiteral("Empfänger1")), QStringLiteral("Frau Anna Müller"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger2")), QStringLiteral("Alpha AG"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger3")), QString());
        QCOMPARE(texts.value(QStringLiteral("Empfänger4")), QStringLiteral("Alpha Logistik"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger5")), QStringLiteral("<Ihre FAX-Nummer>"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger6")), VuGetLoginName());
        QVERIFY(!w->isVisible()); // closed after the transfer, settings saved

        auto again = start(run.script, false);
        const QString entry = again->g.fieldAssignmentList.item(sampleLetterTemplatePath());
        QVERIFY2(entry.contains(QStringLiteral("|Empfänger4=Firma 2 (BF)|")), qPrintable(entry));
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
        const QString out = run.env.root() + QStringLiteral("/Briefe");
        QDir().mkpath(out);
        FrmMain::setDialogHook([&](QDialog& dlg) {
            QVERIFY(qobject_cast<FrmOptions*>(&dlg));
            dlg.show();
            child<QCheckBox>(&dlg, QStringLiteral("chkExitAfterFinished"))->setChecked(false);
            child<QCheckBox>(&dlg, QStringLiteral("chkAllowResize"))->setChecked(false);
            child<QLineEdit>(&dlg, QStringLiteral("txtOutputFolder"))->setText(out);
            child<QPushButton>(&dlg, ok ? "cmdOK" : "cmdCancel")->click();
        });
        run.s->w()->findChild<QAction*>(QStringLiteral("mnuExtraOptions"))->trigger();
        QCOMPARE(run.s->g.settings.ExitAfterFinished, !ok);
        QCOMPARE(run.s->g.settings.AllowResize, !ok);
        QCOMPARE(run.s->g.settings.OutputFolder, ok ? out : QString());
        run.s->w()->close();

        auto again = start(run.script, false);
        QCOMPARE(again->g.settings.ExitAfterFinished, !ok);
        QCOMPARE(again->g.settings.OutputFolder, ok ? out : QString());
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
        auto* box = child<QLineEdit>(run.s->w(), QStringLiteral("txtOutlookFolder"));
        box->setText(QStringLiteral("Root\\Nirgendwo"));
        FrmMain::setDialogHook([&](QDialog& dlg) {
            auto* sel = qobject_cast<FrmOutlookFolderSelection*>(&dlg);
            QVERIFY(sel);
            dlg.show();
            // Choose the personal contacts folder in the tree, as a user would.
            auto* tree = dlg.findChild<QTreeWidget*>();
            QVERIFY(tree);
            QTreeWidgetItem* found = nullptr;
            for (int round = 0; round < 4 && !found; ++round) {
                QTreeWidgetItemIterator it(tree);
                for (; *it; ++it) {
                    tree->setCurrentItem(*it); // loads the branch
                    if ((*it)->text(0) == QStringLiteral("Kontakte")) {
                        found = *it;
                        break;
                    }
                }
            }
            QVERIFY(found);
            tree->setCurrentItem(found);
            QCOMPARE(sel->FullPath(), QStringLiteral("Persönliche Ordner\\Kontakte"));
            child<QPushButton>(&dlg, ok ? "cmdOK" : "cmdCancel")->click();
        });
        child<QPushButton>(run.s->w(), QStringLiteral("cmdSelectOutlookFolder"))->click();
        // The dialog gives the path without "Root\", which the search takes as well.
        QCOMPARE(box->text(), ok ? QStringLiteral("Persönliche Ordner\\Kontakte")
                                 : QStringLiteral("Root\\Nirgendwo"));
        QVERIFY(run.script.boxes().isEmpty());
    }
};

QTEST_MAIN(TstWizardDialogs)
#include "tst_wizarddialogs.moc"
