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

void chooseRow(QListWidget* list, const QString& text)
{
    const QList<QListWidgetItem*> items = list->findItems(text, Qt::MatchExactly);
    if (items.isEmpty())
        qFatal("no row %s", qPrintable(text));
    list->setCurrentItem(items.first());
}

void chooseRow(QTreeWidget* tree, const QString& text, int col = 0)
{
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        if (tree->topLevelItem(i)->text(col) == text) {
            tree->setCurrentItem(tree->topLevelItem(i));
            return;
        }
    qFatal("no row %s", qPrintable(text));
}

void searchAndChoose(FrmMain* w, const QString& lastName, const QString& firstName)
{
    child<QLineEdit>(w, QStringLiteral("txtOutlookFolder"))->setText(contactsPath());
    child<QComboBox>(w, QStringLiteral("cboSearchName"))->setEditText(lastName);
    child<QPushButton>(w, QStringLiteral("cmdSearch"))->click();
    chooseRow(child<QTreeWidget>(w, QStringLiteral("lvwFound")), firstName, 2);
}

// Assigns one field of a category to a bookmark of the letter, as a user clicks it.
void assign(QDialog& dlg, const QString& bookmark, int category, const QString& field)
{
    chooseRow(child<QTreeWidget>(&dlg, QStringLiteral("lvwBookmarks")), bookmark);
    child<QComboBox>(&dlg, QStringLiteral("cboOutlookFieldCategories"))->setCurrentIndex(category);
    chooseRow(child<QListWidget>(&dlg, QStringLiteral("lstOutlookFields")), field);
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
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        auto s = start(script);
        FrmMain* w = s->w();
        // Anna Müller carries the user-defined field "Firma 2"; she is the contact read last.
        searchAndChoose(w, QStringLiteral("Müller"), QStringLiteral("Anna"));

        bool opened = false;
        FrmMain::setDialogHook([&](QDialog& dlg) {
            QVERIFY(qobject_cast<FrmFieldAssignments*>(&dlg));
            opened = true;
            dlg.show();
            chooseRow(child<QListWidget>(&dlg, QStringLiteral("lstDotFiles")),
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
        QCOMPARE(s->opened.size(), 1);
        const QMap<QString, QString> texts = bookmarkTexts(s->opened.first());
        QCOMPARE(texts.value(QStringLiteral("Empfänger1")), QStringLiteral("Frau Anna Müller"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger2")), QStringLiteral("Alpha AG"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger3")), QString());
        QCOMPARE(texts.value(QStringLiteral("Empfänger4")), QStringLiteral("Alpha Logistik"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger5")), QStringLiteral("<Ihre FAX-Nummer>"));
        QCOMPARE(texts.value(QStringLiteral("Empfänger6")), VuGetLoginName());
        QVERIFY(!w->isVisible()); // closed after the transfer, settings saved

        auto again = start(script, false);
        const QString entry = again->g.fieldAssignmentList.item(sampleLetterTemplatePath());
        QVERIFY2(entry.contains(QStringLiteral("|Empfänger4=Firma 2 (BF)|")), qPrintable(entry));
        QCOMPARE(again->g.fieldAssignmentList.position(sampleLetterTemplatePath()),
                 again->g.fieldAssignmentList.count());
    }

    void optionsChangedInTheDialogAreKept()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        auto s = start(script);
        const QString out = env.root() + QStringLiteral("/Briefe");
        QDir().mkpath(out);
        FrmMain::setDialogHook([&](QDialog& dlg) {
            QVERIFY(qobject_cast<FrmOptions*>(&dlg));
            dlg.show();
            child<QCheckBox>(&dlg, QStringLiteral("chkExitAfterFinished"))->setChecked(false);
            child<QCheckBox>(&dlg, QStringLiteral("chkAllowResize"))->setChecked(false);
            child<QLineEdit>(&dlg, QStringLiteral("txtOutputFolder"))->setText(out);
            child<QPushButton>(&dlg, QStringLiteral("cmdOK"))->click();
        });
        s->w()->findChild<QAction*>(QStringLiteral("mnuExtraOptions"))->trigger();
        QVERIFY(!s->g.settings.ExitAfterFinished);
        QVERIFY(!s->g.settings.AllowResize);
        QCOMPARE(s->g.settings.OutputFolder, out);
        s->w()->close();

        auto again = start(script, false);
        QVERIFY(!again->g.settings.ExitAfterFinished);
        QCOMPARE(again->g.settings.OutputFolder, out);
    }

    void optionsCancelledChangeNothing()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        auto s = start(script);
        FrmMain::setDialogHook([&](QDialog& dlg) {
            dlg.show();
            child<QCheckBox>(&dlg, QStringLiteral("chkExitAfterFinished"))->setChecked(false);
            child<QPushButton>(&dlg, QStringLiteral("cmdCancel"))->click();
        });
        s->w()->findChild<QAction*>(QStringLiteral("mnuExtraOptions"))->trigger();
        QVERIFY(s->g.settings.ExitAfterFinished);
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
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        auto s = start(script);
        auto* box = child<QLineEdit>(s->w(), QStringLiteral("txtOutlookFolder"));
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
        child<QPushButton>(s->w(), QStringLiteral("cmdSelectOutlookFolder"))->click();
        // The dialog gives the path without "Root\", which the search takes as well.
        QCOMPARE(box->text(), ok ? QStringLiteral("Persönliche Ordner\\Kontakte")
                                 : QStringLiteral("Root\\Nirgendwo"));
        QVERIFY(script.boxes().isEmpty());
    }
};

QTEST_MAIN(TstWizardDialogs)
#include "tst_wizarddialogs.moc"
