#include "tests/support/ScriptedUserInterface.h"

#include <QTest>

// The scripted seam is what every other test relies on to see boxes; it must record
// exactly what was asked and hand back the prepared answers in order.
class TstUserInterface : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void recordsAndAnswersInOrder()
    {
        ScriptedUserInterface script;
        script.answer(Mb::No);
        script.answer(Mb::Yes);
        QCOMPARE(msgBox(QStringLiteral("eins"), Mb::YesNo + Mb::Question, QStringLiteral("T")),
                 Mb::No);
        QCOMPARE(msgBox(QStringLiteral("zwei"), Mb::YesNo + Mb::Question), Mb::Yes);
        QCOMPARE(script.boxes().size(), 2);
        QCOMPARE(script.boxes()[0].text, QStringLiteral("eins"));
        QCOMPARE(script.boxes()[0].title, QStringLiteral("T"));
        QCOMPARE(script.boxes()[0].icon(), Mb::Question);
        QCOMPARE(script.boxes()[1].buttons(), Mb::YesNo);
        QCOMPARE(script.pendingAnswers(), 0);
    }
    void restoresTheConsoleSeamAfterwards()
    {
        UserInterface* inside = nullptr;
        {
            ScriptedUserInterface script;
            inside = &ui();
            QCOMPARE(inside, static_cast<UserInterface*>(&script));
        }
        QVERIFY(&ui() != inside);
        // The console answers questions with No, so nothing happens without a person.
        QCOMPARE(msgBox(QStringLiteral("?"), Mb::YesNo), Mb::No);
    }
};

QTEST_GUILESS_MAIN(TstUserInterface)
#include "tst_userinterface.moc"
