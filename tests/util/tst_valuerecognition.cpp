#include "util/ValueRecognition.h"

#include <QTest>

// The values behind the recognition, which the dialogs go on to use.
class TstValueRecognition : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void dates_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDate>("date");
        const int thisYear = QDate::currentDate().year();
        QTest::newRow("two-digit year 29 is 2029") << "1.2.29" << QDate(2029, 2, 1);
        QTest::newRow("two-digit year 30 is 1930") << "1.2.30" << QDate(1930, 2, 1);
        QTest::newRow("two-digit year 00") << "31.12.00" << QDate(2000, 12, 31);
        QTest::newRow("four digits") << "05.06.1999" << QDate(1999, 6, 5);
        QTest::newRow("no year: this year") << "24.12." << QDate(thisYear, 12, 24);
        QTest::newRow("ISO") << "2024-2-9" << QDate(2024, 2, 9);
        QTest::newRow("short month name") << "1. Feb. 2024" << QDate(2024, 2, 1);
        QTest::newRow("blanks around") << " 1.2.2024 " << QDate(2024, 2, 1);
        QTest::newRow("day 0") << "0.2.2024" << QDate();
        QTest::newRow("a time is no date") << "12:30" << QDate();
        QTest::newRow("three-digit year") << "1.2.202" << QDate();
    }
    void dates()
    {
        QFETCH(QString, text);
        QFETCH(QDate, date);
        QCOMPARE(ValueRecognition::toDate(text).value_or(QDate()), date);
    }

    void timeOfDayPartsMayHaveBlanks()
    {
        QCOMPARE(ValueRecognition::toTimeOfDay(QStringLiteral(" 7 : 5 ")).value_or(QTime()),
                 QTime(7, 5));
    }
};

QTEST_GUILESS_MAIN(TstValueRecognition)
#include "tst_valuerecognition.moc"
