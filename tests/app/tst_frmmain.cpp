#include "app/dialogs/FrmInfo.h"
#include "app/dialogs/FrmIntro.h"
#include "tests/app/WizardTestKit.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>

using namespace kit;

namespace
{

QString stored(const QString& name)
{
    ClsRegistry reg;
    reg.setKey(QStringLiteral("Software\\KVAR\\Zettelwerk"));
    QString v;
    return reg.GetString(name, v) ? v : QStringLiteral("<fehlt>");
}

} // namespace

class TstFrmMain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void firstStartOpensStepOne()
    {
        TestEnvironment env;
        ScriptedUserInterface script;
        QString splashText;
        // The first-start message appears while the splash says "Laden...".
        script.answer(Mb::Ok, [&] {
            for (QWidget* w : QApplication::topLevelWidgets())
                if (auto* s = qobject_cast<FrmIntro*>(w))
                    splashText = s->Message();
        });
        AppGlobals g;
        MainResult r = Main(g, 0);
        QVERIFY(r.started);
        QCOMPARE(splashText, QStringLiteral("Laden..."));
        QVERIFY(script.boxes().first().text.startsWith(QStringLiteral("Dies ist der erste Start")));

        FrmMain* w = r.mainWindow.get();
        QVERIFY(w->isVisible());
        QVERIFY(!r.splash->isVisible());
        QCOMPARE(w->windowTitle(), QStringLiteral("Zettelwerk - Schritt 1 von 3"));
        QCOMPARE(child<QLineEdit>(w, "txtStatus")->text(), QStringLiteral("Bereit"));
        auto* tab = child<QTabWidget>(w, "tabMain");
        QCOMPARE(tab->count(), 3);
        QCOMPARE(tab->tabText(0), QStringLiteral("&Empfänger "));
        QCOMPARE(tab->tabText(1), QStringLiteral("&Briefformat"));
        QCOMPARE(tab->tabText(2), QStringLiteral("Weitere &Optionen "));
        QCOMPARE(child<QPushButton>(w, "cmdPrevTab")->text(), QStringLiteral("< &Zurück"));
        QCOMPARE(child<QPushButton>(w, "cmdNextTab")->text(), QStringLiteral("&Weiter >"));
        QCOMPARE(child<QPushButton>(w, "cmdFinish")->text(), QStringLiteral("&Fertigstellen"));
        QCOMPARE(child<QPushButton>(w, "cmdCancel")->text(), QStringLiteral("Beenden"));
        QCOMPARE(script.boxes().size(), 1);
    }

    void stepButtonsAndCaption()
    {
        Session run(false);
        FrmMain* w = run.w();
        auto* prev = child<QPushButton>(w, "cmdPrevTab");
        auto* next = child<QPushButton>(w, "cmdNextTab");
        QVERIFY(!prev->isEnabled() && next->isEnabled());
        next->click();
        QCOMPARE(w->windowTitle(), QStringLiteral("Zettelwerk - Schritt 2 von 3"));
        QVERIFY(prev->isEnabled() && next->isEnabled());
        next->click();
        QCOMPARE(w->windowTitle(), QStringLiteral("Zettelwerk - Schritt 3 von 3"));
        QVERIFY(prev->isEnabled() && !next->isEnabled());
        next->click(); // disabled: nothing happens
        QCOMPARE(child<QTabWidget>(w, "tabMain")->currentIndex(), 2);
        prev->click();
        prev->click();
        QCOMPARE(w->windowTitle(), QStringLiteral("Zettelwerk - Schritt 1 von 3"));
        QVERIFY(!prev->isEnabled());
    }

    void closingSavesAndSecondStartReadsBack_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("Beenden button") << "cmdCancel";
        QTest::newRow("window close box") << "close";
    }
    void closingSavesAndSecondStartReadsBack()
    {
        QFETCH(QString, how);
        TestEnvironment env;
        ScriptedUserInterface script;
        {
            auto s = start(script);
            FrmMain* w = s->w();
            // Saved as it stands, even a folder that was never searched.
            child<QLineEdit>(w, "txtOutlookFolder")->setText(QStringLiteral("Root\\Nirgendwo"));
            if (how == QLatin1String("cmdCancel"))
                child<QPushButton>(w, "cmdCancel")->click();
            else
                w->close();
            QVERIFY(!w->isVisible());
            QCOMPARE(w->statusText(), QStringLiteral("Verbindung zu Outlook trennen..."));
        }
        QCOMPARE(stored(QStringLiteral("StartCount")), QStringLiteral("2"));
        QCOMPARE(stored(QStringLiteral("OutlookFolder")), QStringLiteral("Root\\Nirgendwo"));

        auto s = start(script, false); // no first-start message again
        QCOMPARE(s->g.settings.StartCount, 2);
        QCOMPARE(child<QLineEdit>(s->w(), "txtOutlookFolder")->text(),
                 QStringLiteral("Root\\Nirgendwo"));
    }

    void closeDuringSearchIsDeferred()
    {
        Session run(false);
        FrmMain* w = run.w();
        auto* abort = child<QPushButton>(w, "cmdAbort");
        abort->setEnabled(true); // as while a search runs
        w->close();
        QVERIFY(w->isVisible());
        QVERIFY(w->abortRequested());
        QCOMPARE(w->statusText(), QStringLiteral("Abbrechen..."));
        QCOMPARE(stored(QStringLiteral("StartCount")), QStringLiteral("<fehlt>"));

        // Still searching when the timer fires: it tries again a second later.
        QTest::qWait(1200);
        QVERIFY(w->isVisible());
        abort->setEnabled(false); // the search has noticed the abort
        QTRY_VERIFY_WITH_TIMEOUT(!w->isVisible(), 2500);
        QCOMPARE(stored(QStringLiteral("StartCount")), QStringLiteral("2"));
    }

    void resizeKeepsTheDesignSizes_data()
    {
        QTest::addColumn<bool>("allowResize");
        QTest::addColumn<QSize>("requested");
        QTest::addColumn<QSize>("result");
        // 7785, 7500 and 8430 twips at 15 twips per pixel.
        QTest::newRow("resizable: taller is kept, width snaps back")
            << true << QSize(700, 650) << QSize(519, 650);
        QTest::newRow("resizable: too low becomes the minimum")
            << true << QSize(519, 400) << QSize(519, 500);
        QTest::newRow("resizable: exactly the minimum stays")
            << true << QSize(519, 500) << QSize(519, 500);
        QTest::newRow("fixed: height snaps back, width is left")
            << false << QSize(600, 700) << QSize(600, 562);
    }
    void resizeKeepsTheDesignSizes()
    {
        QFETCH(bool, allowResize);
        QFETCH(QSize, requested);
        QFETCH(QSize, result);
        Session run(false);
        FrmMain* w = run.w();
        QCOMPARE(w->size(), QSize(519, 562));
        run.s->g.settings.AllowResize = allowResize;
        w->resize(requested);
        QCoreApplication::processEvents();
        QCOMPARE(w->size(), result);
        // The lists take the height; the address frame stays at the foot of step 1.
        auto* tab = child<QTabWidget>(w, "tabMain");
        auto* frame = w->findChild<QWidget*>(QStringLiteral("fraAddress"));
        QVERIFY(frame->geometry().bottom() < tab->currentWidget()->height());
        QVERIFY(frame->geometry().bottom() > tab->currentWidget()->height() - 20);
    }

    void finishButtonFollowsTheTemplateChoice()
    {
        Session run(false);
        FrmMain* w = run.w();
        auto* finish = child<QPushButton>(w, "cmdFinish");
        auto* list = w->findChild<QListWidget*>(QStringLiteral("lstDotFiles"));
        QVERIFY(!finish->isEnabled());
        list->setCurrentRow(0);
        QVERIFY(finish->isEnabled());
        // Step changes do not touch it.
        child<QPushButton>(w, "cmdNextTab")->click();
        child<QPushButton>(w, "cmdNextTab")->click();
        QVERIFY(finish->isEnabled());
        // A search resets step 1 and asks again: still a template chosen.
        run.script.answer(Mb::Cancel);
        child<QPushButton>(w, "cmdSearch")->click();
        QVERIFY(finish->isEnabled());
    }

    void wordInfoNamesTheWordProcessor()
    {
        Session run(false);
        run.script.answer(Mb::Ok);
        run.s->w()->findChild<QAction*>(QStringLiteral("mnuHelpInfoWord"))->trigger();
        QCOMPARE(run.script.boxes().size(), 1);
        const QString text = run.script.boxes()[0].text;
        QVERIFY2(text == QStringLiteral("Zettelwerk DOCX (OOXML) ist installiert") ||
                     text == QStringLiteral("LibreOffice Writer (LO) ist installiert"),
                 qPrintable(text));
        QCOMPARE(run.script.boxes()[0].icon(), Mb::Information);
        QCOMPARE(run.script.beeps(), 0);
        QVERIFY(run.s->g.word);
    }

    void aboutBoxShowsHistoryAndStartCount()
    {
        Session run(false);
        run.s->w()->findChild<QAction*>(QStringLiteral("mnuHelpInfo"))->trigger();
        auto* info = run.s->w()->findChild<FrmInfo*>();
        QVERIFY(info);
        QVERIFY(info->isVisible());
        const QStringList lines = info->revisionHistory().split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines[0].startsWith(QLatin1String("02.04.99  V1.0.0")));
        QVERIFY(lines[1].startsWith(QLatin1String("24.04.99  V1.1.0")));
        QVERIFY(lines[2].startsWith(QLatin1String("22.05.99  V1.2.0")));
        QCOMPARE(info->freeText(), QStringLiteral("1. Start der Anwendung"));
        QVERIFY(info->underConstructionBlinking());
        info->accept();
    }
};

QTEST_MAIN(TstFrmMain)
#include "tst_frmmain.moc"
