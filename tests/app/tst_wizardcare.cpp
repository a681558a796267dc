// The wizard as a careful desktop program: only a selected template counts, nothing can
// pull the items from under a running search, long names stay inside the window, the
// status line tells what really happens, and the letter is named after its recipient.

#include "tests/app/WizardTestKit.h"

#include "app/DocumentOpener.h"
#include "contacts/FolderIndexStore.h"
#include "util/widgets/ElidedLabel.h"

#include <QAction>
#include <QComboBox>
#include <QFileInfo>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QToolTip>

using namespace kit;

namespace
{

void chooseHit(FrmMain* w, int row)
{
    auto* list = child<QTreeWidget>(w, QStringLiteral("lvwFound"));
    QVERIFY(list->topLevelItemCount() > row);
    list->setCurrentItem(list->topLevelItem(row));
}

void chooseTemplate(FrmMain* w, const QString& shownName)
{
    selectRow(child<QListWidget>(w, QStringLiteral("lstDotFiles")), shownName);
}

// Enough files that reading them takes longer than the search's first questions; the last
// names are numbered, or all `lastName`.
void writeManyContacts(const TestEnvironment& env, int count, const QString& lastName = {})
{
    for (int i = 0; i < count; ++i) {
        const QString n = QStringLiteral("%1").arg(i, 5, 10, QLatin1Char('0'));
        writeFile(contactsDir(env) + QStringLiteral("/k%1.vcf").arg(n),
                  Card{lastName.isEmpty() ? QStringLiteral("Name%1").arg(i) : lastName,
                       QStringLiteral("V") + n}
                      .toVCard()
                      .toUtf8());
    }
}

QPushButton* finish(FrmMain* w)
{
    return child<QPushButton>(w, QStringLiteral("cmdFinish"));
}

} // namespace

class TstWizardCare : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void onlyTheSelectedTemplateIsUsed()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        auto s = start(script);
        FrmMain* w = s->w();
        searchFolder(w, contactsPath(), QStringLiteral("Berger"));
        chooseHit(w, 0);
        chooseTemplate(w, QStringLiteral("Bsp-Brief.dotx"));
        w->findChild<QAction*>(QStringLiteral("mnuExtraOptions"))->trigger();
        // Taking the focus makes a row current without selecting it, as Qt does.
        auto* list = child<QListWidget>(w, QStringLiteral("lstDotFiles"));
        list->setCurrentRow(1, QItemSelectionModel::NoUpdate);
        QCOMPARE(list->currentRow(), 1);
        QVERIFY(finish(w)->isEnabled());

        script.answer(Mb::Ok);
        finish(w)->click();
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text, QStringLiteral("Keine Vorlagendatei ausgewählt!"));
        QCOMPARE(child<QTabWidget>(w, QStringLiteral("tabMain"))->currentIndex(), 1);
        QVERIFY(s->opened.isEmpty());
    }

    void aRunningSearchKeepsItsItemsAndTellsNoAbort()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        writeManyContacts(env, 2000);
        auto s = start(script);
        FrmMain* w = s->w();
        auto* abort = child<QPushButton>(w, QStringLiteral("cmdAbort"));
        auto* takeOver = child<QPushButton>(w, QStringLiteral("cmdGetCurrentContact"));
        QStringList statuses;
        bool takeOverUsable = false;
        script.onDoEvents([&] {
            if (!abort->isEnabled())
                return;
            takeOverUsable = takeOverUsable || takeOver->isEnabled();
            if (!statuses.contains(w->statusText()))
                statuses << w->statusText();
        });
        searchFolder(w, contactsPath(), QStringLiteral("Name7"));
        script.onDoEvents({});
        QVERIFY(!takeOverUsable);
        QVERIFY2(statuses.contains(QStringLiteral("Suchen...")), qPrintable(statuses.join('|')));
        QVERIFY2(!statuses.contains(QStringLiteral("Warten auf Abbruch...")),
                 qPrintable(statuses.join('|')));
        QVERIFY(takeOver->isEnabled());
        QCOMPARE(column(child<QTreeWidget>(w, QStringLiteral("lvwFound")), 1),
                 QStringList{QStringLiteral("Name7")});
    }

    void abortWhileTheFolderIsFirstReadListsWhatWasFound_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("ganzer Ordner") << QString();
        QTest::newRow("Nachname") << QStringLiteral("Muster");
    }
    void abortWhileTheFolderIsFirstReadListsWhatWasFound()
    {
        QFETCH(QString, name);
        TestEnvironment env;
        ScriptedUserInterface script;
        constexpr int kCards = 8000;
        writeManyContacts(env, kCards, QStringLiteral("Muster"));
        auto s = start(script);
        FrmMain* w = s->w();
        auto* abort = child<QPushButton>(w, QStringLiteral("cmdAbort"));
        auto* list = child<QTreeWidget>(w, QStringLiteral("lvwFound"));
        int questions = 0;
        int listedAtAbort = -1;
        // The third question comes while the files are still being read for the first time.
        script.onDoEvents([&] {
            if (abort->isEnabled() && ++questions == 3) {
                listedAtAbort = list->topLevelItemCount();
                abort->click();
            }
        });
        if (name.isEmpty())
            script.answer(Mb::Ok);
        searchFolder(w, contactsPath(), name);
        script.onDoEvents({});
        QCOMPARE(listedAtAbort, 0);
        const QStringList firstNames = column(list, 2);
        QVERIFY2(!firstNames.isEmpty() && firstNames.size() < kCards,
                 qPrintable(QString::number(firstNames.size())));
        QVERIFY(std::is_sorted(firstNames.cbegin(), firstNames.cend()));
        QCOMPARE(w->statusText(), QStringLiteral("Bereit"));
        QVERIFY(child<QPushButton>(w, QStringLiteral("cmdSearch"))->isEnabled());
        // What was read is kept for the next search.
        QVERIFY(
            QFileInfo::exists(FolderIndexStore::filePathFor(QFile::encodeName(contactsDir(env)))));
    }

    void longCompanyStaysInsideTheWindow()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        const QString company = QString(QStringLiteral("Gesellschaft ")).repeated(19).left(241);
        QCOMPARE(company.size(), 241);
        writeFile(contactsDir(env) + QStringLiteral("/1-lang.vcf"),
                  Card{QStringLiteral("Lang"), QStringLiteral("Lena"), QStringLiteral("Frau"),
                       company, QStringLiteral("Weg 1"), QStringLiteral("12345"),
                       QStringLiteral("Stadt")}
                      .toVCard()
                      .toUtf8());
        writeFile(contactsDir(env) + QStringLiteral("/2-kurz.vcf"),
                  Card{QStringLiteral("Kurz"), QStringLiteral("Karl"), QStringLiteral("Herr"),
                       QStringLiteral("AG")}
                      .toVCard()
                      .toUtf8());
        auto s = start(script);
        FrmMain* w = s->w();
        w->show();
        QVERIFY(QTest::qWaitForWindowExposed(w));
        searchFolder(w, contactsPath(), QStringLiteral("Lang"));
        chooseHit(w, 0);
        QCoreApplication::processEvents();
        auto* label = child<ElidedLabel>(w, QStringLiteral("lblCompany1"));
        QCOMPARE(label->text(), company);
        QVERIFY(label->isElided());
        // The whole company is the tooltip.
        QHelpEvent tip(QEvent::ToolTip, QPoint(2, 2), label->mapToGlobal(QPoint(2, 2)));
        QCoreApplication::sendEvent(label, &tip);
        QCOMPARE(QToolTip::text(), company);
        QCOMPARE(w->width(), FrmMain::kDesignWidth);
        QVERIFY(w->minimumSizeHint().width() <= FrmMain::kDesignWidth);
        // Step 3 shows the company in its preview too.
        child<QTabWidget>(w, QStringLiteral("tabMain"))->setCurrentIndex(2);
        QCoreApplication::processEvents();
        QCOMPARE(w->width(), FrmMain::kDesignWidth);

        child<QTabWidget>(w, QStringLiteral("tabMain"))->setCurrentIndex(0);
        searchFolder(w, contactsPath(), QStringLiteral("Kurz"));
        chooseHit(w, 0);
        QCoreApplication::processEvents();
        QVERIFY(!label->isElided());
        QCOMPARE(w->width(), FrmMain::kDesignWidth);
    }

    void documentIsNamedAfterTemplateAndRecipient_data()
    {
        QTest::addColumn<QString>("lastName"); // empty: no contact
        QTest::addColumn<QString>("templateName");
        QTest::addColumn<QStringList>("names"); // of two transfers in a row

        QTest::newRow("template and Speichern unter, never over the first")
            << "Berger"
            << "Bsp-Brief.dotx"
            << QStringList{"Bsp-Brief - Berger, Hans.docx", "Bsp-Brief - Berger, Hans (2).docx"};
        QTest::newRow("a slash in Speichern unter is replaced")
            << "Stadt/Land"
            << "Bsp-FAX.dotx"
            << QStringList{"Bsp-FAX - Stadt_Land, Sina.docx",
                           "Bsp-FAX - Stadt_Land, Sina (2).docx"};
        QTest::newRow("no contact: the template's name alone")
            << ""
            << "Bsp-Brief.dotx" << QStringList{"Bsp-Brief.docx", "Bsp-Brief (2).docx"};
    }
    void documentIsNamedAfterTemplateAndRecipient()
    {
        QFETCH(QString, lastName);
        QFETCH(QString, templateName);
        QFETCH(QStringList, names);
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        writeFile(contactsDir(env) + QStringLiteral("/5-stadt.vcf"),
                  Card{QStringLiteral("Stadt/Land"), QStringLiteral("Sina")}.toVCard().toUtf8());
        auto s = start(script);
        s->g.settings.ExitAfterFinished = false;
        FrmMain* w = s->w();
        if (!lastName.isEmpty()) {
            searchFolder(w, contactsPath(), lastName);
            chooseHit(w, 0);
        }
        chooseTemplate(w, templateName);
        for (const QString& name : names) {
            if (lastName.isEmpty())
                script.answer(Mb::Ok); // "trotzdem zu Word übertragen?"
            finish(w)->click();
            QCOMPARE(QFileInfo(s->opened.last()).fileName(), name);
            // The status line keeps where the letter went.
            QCOMPARE(w->statusText(), QStringLiteral("Dokument gespeichert: ") +
                                          QDir::toNativeSeparators(s->opened.last()));
        }
        QCOMPARE(script.boxes().size(), lastName.isEmpty() ? names.size() : 0);
    }

    void damagedTemplateIsNamedNotTheOutputFolder()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        writeStandardContacts(env);
        const QString broken = env.root() + QStringLiteral("/Kaputt.dotx");
        writeFile(broken, QByteArray("PK\x03\x04 kein Zip"));
        auto s = start(script);
        FrmMain* w = s->w();
        s->g.fieldAssignmentList.add(broken, broken + QStringLiteral("|Anrede=Anrede (OF)"));
        w->findChild<QAction*>(QStringLiteral("mnuExtraOptions"))->trigger(); // refills the list
        searchFolder(w, contactsPath(), QStringLiteral("Berger"));
        chooseHit(w, 0);
        chooseTemplate(w, QStringLiteral("Kaputt.dotx"));
        script.answer(Mb::Ok);
        finish(w)->click();
        QCOMPARE(script.boxes().size(), 1);
        QVERIFY2(script.boxes()[0].text.startsWith(QStringLiteral("Die Vorlagendatei '") + broken +
                                                   QStringLiteral("' ist beschädigt")),
                 qPrintable(script.boxes()[0].text));
        QVERIFY(!script.boxes()[0].text.contains(QLatin1String("Ausgabeordner")));
        QVERIFY(s->opened.isEmpty());
    }

    void documentThatCannotBeShownIsLocated_data()
    {
        QTest::addColumn<QString>("launcher");
        QTest::addColumn<bool>("shown");
        QTest::newRow("launcher succeeds") << "true" << true;
        QTest::newRow("launcher fails (no program for .docx)") << "false" << false;
        QTest::newRow("no launcher at all") << "zettelwerk-no-such-launcher" << false;
    }
    void documentThatCannotBeShownIsLocated()
    {
        QFETCH(QString, launcher);
        QFETCH(bool, shown);
        ScriptedUserInterface script;
        const QString path = QStringLiteral("/tmp/Bsp-Brief - Berger, Hans.docx");
        if (!shown)
            script.answer(Mb::Ok);
        QCOMPARE(DocumentOpener(launcher, 5000)(path), shown);
        QCOMPARE(script.boxes().size(), shown ? 0 : 1);
        if (!shown) {
            QCOMPARE(script.boxes()[0].text, DocumentOpener::notOpenedText(path));
            QVERIFY(script.boxes()[0].text.contains(path));
        }
    }

    void sampleFolderIsNoStoredChoice()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        auto s = start(script);
        FrmMain* w = s->w();
        QCOMPARE(child<QLineEdit>(w, QStringLiteral("txtOutlookFolder"))->text(),
                 QStringLiteral("Root\\Beispielkontakte"));
        w->close();
        ClsRegistry reg;
        reg.setKey(QStringLiteral("Software\\KVAR\\Zettelwerk"));
        QCOMPARE(reg.GetOptString(QStringLiteral("OutlookFolder"), QStringLiteral("<fehlt>")),
                 QString());
        // So the next start still offers the samples, and moves on with them if they move.
        auto again = start(script, false);
        QCOMPARE(child<QLineEdit>(again->w(), QStringLiteral("txtOutlookFolder"))->text(),
                 QStringLiteral("Root\\Beispielkontakte"));
    }

    void handedOverFileOfSeveralCardsOffersThemAll()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        const QString file = env.root() + QStringLiteral("/drei.vcf");
        writeFile(file, (Card{QStringLiteral("Erst"), QStringLiteral("A")}.toVCard() +
                         Card{QStringLiteral("Zweit"), QStringLiteral("B")}.toVCard() +
                         Card{QStringLiteral("Dritt"), QStringLiteral("C")}.toVCard())
                            .toUtf8());
        auto s = start(script, true, file);
        FrmMain* w = s->w();
        w->handOverContactFile(file);
        auto* list = child<QTreeWidget>(w, QStringLiteral("lvwFound"));
        QCOMPARE(column(list, 1), (QStringList{"Erst", "Zweit", "Dritt"}));
        QVERIFY(child<QLabel>(w, QStringLiteral("lblName"))->text().isEmpty());
        chooseHit(w, 1);
        QVERIFY(
            child<QLabel>(w, QStringLiteral("lblName"))->text().contains(QLatin1String("Zweit")));
    }
};

QTEST_MAIN(TstWizardCare)
#include "tst_wizardcare.moc"
