#include "app/dialogs/FrmInfo.h"
#include "app/dialogs/FrmIntro.h"
#include "tests/app/WizardTestKit.h"

#include <QApplication>
#include <QTabWidget>

using namespace kit;

namespace
{

QString stored(const QString& name)
{
    ClsRegistry reg;
    reg.setKey(u"Software\\KVAR\\Zettelwerk"_s);
    return reg.GetOptString(name, u"<fehlt>"_s);
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
        QCOMPARE(splashText, u"Laden..."_s);
        QCOMPARE(script.boxes().size(), 1);
        QVERIFY(script.boxes().first().text.startsWith(u"Dies ist der erste Start"_s));
        QVERIFY(r.mainWindow->isVisible());
        QVERIFY(!r.splash->isVisible());
        QCOMPARE(child<QLineEdit>(r.mainWindow.get(), u"txtStatus"_s)->text(), u"Bereit"_s);
    }

    void stepButtonsAndCaption()
    {
        Session run(false);
        auto* prev = run.get(u"cmdPrevTab"_s);
        auto* next = run.get(u"cmdNextTab"_s);
        // Each step names itself in the caption; the ends of the row of steps stop the buttons.
        auto verifyStep = [&](int step) {
            QCOMPARE(run.w()->windowTitle(), u"Zettelwerk - Schritt %1 von 3"_s.arg(step));
            QCOMPARE(run.get<QTabWidget>(u"tabMain"_s)->currentIndex(), step - 1);
            QCOMPARE(prev->isEnabled(), step > 1);
            QCOMPARE(next->isEnabled(), step < 3);
        };
        verifyStep(1);
        for (int step : {2, 3, 3}) { // the last click is on a disabled button
            next->click();
            verifyStep(step);
        }
        prev->click();
        prev->click();
        verifyStep(1);
    }

    void closingSavesAndSecondStartReadsBack_data()
    {
        QTest::addColumn<bool>("button");
        QTest::newRow("Beenden button") << true;
        QTest::newRow("window close box") << false;
    }
    void closingSavesAndSecondStartReadsBack()
    {
        QFETCH(bool, button);
        TestEnvironment env;
        ScriptedUserInterface script;
        {
            auto s = start(script);
            FrmMain* w = s->w();
            // Saved as it stands, even a folder that was never searched.
            child<QLineEdit>(w, u"txtOutlookFolder"_s)->setText(u"Root\\Nirgendwo"_s);
            if (button)
                child<QPushButton>(w, u"cmdCancel"_s)->click();
            else
                w->close();
            QVERIFY(!w->isVisible());
            QCOMPARE(w->statusText(), u"Verbindung zu Outlook trennen..."_s);
        }
        QCOMPARE(stored(u"StartCount"_s), u"2"_s);
        QCOMPARE(stored(u"OutlookFolder"_s), u"Root\\Nirgendwo"_s);

        auto s = start(script, false); // no first-start message again
        QCOMPARE(s->g.settings.StartCount, 2);
        QCOMPARE(child<QLineEdit>(s->w(), u"txtOutlookFolder"_s)->text(), u"Root\\Nirgendwo"_s);
    }

    void closeDuringSearchIsDeferred()
    {
        Session run(false);
        FrmMain* w = run.w();
        auto* abort = run.get(u"cmdAbort"_s);
        abort->setEnabled(true); // as while a search runs
        w->close();
        QVERIFY(w->isVisible());
        QVERIFY(w->abortRequested());
        QCOMPARE(w->statusText(), u"Abbrechen..."_s);
        QCOMPARE(stored(u"StartCount"_s), u"<fehlt>"_s);

        // Still searching when the timer fires: it tries again a second later.
        QTest::qWait(1200);
        QVERIFY(w->isVisible());
        abort->setEnabled(false); // the search has noticed the abort
        QTRY_VERIFY_WITH_TIMEOUT(!w->isVisible(), 2500);
        QCOMPARE(stored(u"StartCount"_s), u"2"_s);
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
        const int stepHeight = run.get<QTabWidget>(u"tabMain"_s)->currentWidget()->height();
        const int frameBottom = run.get<QWidget>(u"fraAddress"_s)->geometry().bottom();
        QVERIFY(frameBottom < stepHeight && frameBottom > stepHeight - 20);
    }

    void wordInfoNamesTheWordProcessor()
    {
        Session run(false);
        run.script.answer(Mb::Ok);
        run.trigger(u"mnuHelpInfoWord"_s);
        QCOMPARE(run.script.boxes().size(), 1);
        const QString text = run.script.boxes()[0].text;
        QVERIFY2(text == u"Zettelwerk DOCX (OOXML) ist installiert"_s ||
                     text == u"LibreOffice Writer (LO) ist installiert"_s,
                 qPrintable(text));
        QCOMPARE(run.script.boxes()[0].icon(), Mb::Information);
        QCOMPARE(run.script.beeps(), 0);
        QVERIFY(run.s->g.word);
    }

    void aboutBoxCountsTheStarts()
    {
        Session run(false);
        run.trigger(u"mnuHelpInfo"_s);
        auto* info = run.w()->findChild<FrmInfo*>();
        QVERIFY(info && info->isVisible());
        // Three releases, the first at the top; the free text counts the starts.
        QVERIFY(info->revisionHistory().startsWith(u"02.04.99  V1.0.0"_s));
        QCOMPARE(info->revisionHistory().count(u'\n'), 2);
        QCOMPARE(info->freeText(), u"1. Start der Anwendung"_s);
        QVERIFY(info->underConstructionBlinking());
        info->accept();
    }
};

QTEST_MAIN(TstFrmMain)
#include "tst_frmmain.moc"
