#include "contacts/ClsFieldsString.h"
#include "contacts/ClsFilterString.h"

#include <QTest>

class TstFieldsString : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void walkPairs_data()
    {
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QStringList>("pairs"); // "name|value", up to the first empty name
        QTest::newRow("separator appended") << ";"
                                            << "a=1;b=2"
                                            << "a=1;b=2;" << QStringList{"a|1", "b|2"};
        QTest::newRow("entry starting with = is all name") << ";"
                                                           << "=x;a"
                                                           << "=x;a;" << QStringList{"=x|", "a|"};
        QTest::newRow("value keeps further =") << "|"
                                               << "B=Wert=1"
                                               << "B=Wert=1|" << QStringList{"B|Wert=1"};
        QTest::newRow("empty entry ends the walk")
            << "|"
            << "A=Firma (OF)||B=Von-Name (SF)"
            << "A=Firma (OF)||B=Von-Name (SF)|" << QStringList{"A|Firma (OF)"};
        QTest::newRow("empty list") << ";"
                                    << ""
                                    << "" << QStringList{};
    }
    void walkPairs()
    {
        QFETCH(QString, separator);
        QFETCH(QString, list);
        QFETCH(QString, stored);
        QFETCH(QStringList, pairs);
        ClsFieldsString fs;
        fs.setSeparator(separator);
        fs.SetFieldString(list);
        QCOMPARE(fs.FieldString(), stored);
        QStringList seen;
        QString f, v;
        fs.GetNext2Field(true, f, v);
        while (!f.isEmpty()) {
            seen.append(f + QLatin1Char('|') + v);
            fs.GetNext2Field(false, f, v);
        }
        QCOMPARE(seen, pairs);
        QCOMPARE(fs.LoadList().size(), pairs.size());
    }

    void getFirstEveryTimeRepeatsTheFirst()
    {
        ClsFieldsString fs;
        fs.SetFieldString(QStringLiteral("a;b;"));
        QCOMPARE(fs.GetNextField(true), QStringLiteral("a"));
        QCOMPARE(fs.GetNextField(true), QStringLiteral("a"));
        QCOMPARE(fs.GetNextField(false), QStringLiteral("b"));
        QCOMPARE(fs.GetNextField(false), QString());
        QCOMPARE(fs.GetNextField(false), QString());
    }

    void fieldByNumber_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<int>("allRight"); // -1 not given
        QTest::addColumn<QString>("expected");
        QTest::newRow("second") << 2 << -1 << "y";
        QTest::newRow("second with all right fields") << 2 << 1 << "y|z";
        QTest::newRow("flag given as false") << 2 << 0 << "";
        QTest::newRow("fourth of three") << 4 << -1 << "";
        QTest::newRow("zero") << 0 << -1 << "";
        QTest::newRow("first with all right") << 1 << 1 << "x|y|z";
    }
    void fieldByNumber()
    {
        QFETCH(int, number);
        QFETCH(int, allRight);
        QFETCH(QString, expected);
        ClsFieldsString fs;
        fs.setSeparator(QStringLiteral("|"));
        fs.SetFieldString(QStringLiteral("x|y|z|"));
        const QString got =
            allRight < 0 ? fs.GetFieldByNumber(number) : fs.GetFieldByNumber(number, allRight == 1);
        QCOMPARE(got, expected);
    }

    void clauses_data()
    {
        QTest::addColumn<QStringList>("adds"); // field, value, type mark triples
        QTest::addColumn<bool>("useAnd");
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("clause");
        QTest::newRow("one text entry")
            << QStringList{"Name", "Meier", "s"} << true << "sName=Meier;"
            << "Name = 'Meier'";
        QTest::newRow("text and number with and")
            << QStringList{"Name", "Meier", "s", "Alter", "3", "n"} << true
            << "sName=Meier;nAlter=3;"
            << "Name = 'Meier' and Alter = 3";
        QTest::newRow("or") << QStringList{"Name", "A", "s", "Name", "B", "s"} << false
                            << "sName=A;sName=B;"
                            << "Name = 'A' or Name = 'B'";
        QTest::newRow("empty value adds nothing") << QStringList{"Name", "", "s"} << true << ""
                                                  << "";
        QTest::newRow("no type mark loses the first letter")
            << QStringList{"Ort", "Bonn", ""} << true << "Ort=Bonn;"
            << "rt = Bonn";
        QTest::newRow("quotes are not doubled")
            << QStringList{"Name", "O'Neil", "s"} << true << "sName=O'Neil;"
            << "Name = 'O'Neil'";
    }
    void clauses()
    {
        QFETCH(QStringList, adds);
        QFETCH(bool, useAnd);
        QFETCH(QString, list);
        QFETCH(QString, clause);
        ClsFieldsString fs;
        for (int i = 0; i + 2 < adds.size(); i += 3)
            fs.Add2Field(adds[i], adds[i + 1], adds[i + 2]);
        QCOMPARE(fs.FieldString(), list);
        QCOMPARE(fs.SQLClause(useAnd), clause);
    }

    void closingSemicolonIgnoresSeparator()
    {
        ClsFieldsString fs;
        fs.setSeparator(QStringLiteral("|"));
        fs.Add2Field(QStringLiteral("a"), QStringLiteral("1"), QString());
        QCOMPARE(fs.FieldString(), QStringLiteral("a=1;"));
        QVERIFY(!fs.IsEmpty());
        fs.SetFieldString(QStringLiteral("|"));
        QVERIFY(fs.IsEmpty());
        fs.Clear();
        QVERIFY(fs.IsEmpty());
    }

    void filterMatching_data()
    {
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("matches");
        QTest::newRow("trimmed element A") << ","
                                           << " A , B" << QVariant("A") << true;
        QTest::newRow("trimmed element B") << ","
                                           << " A , B" << QVariant("B") << true;
        QTest::newRow("case matters") << ","
                                      << " A , B" << QVariant("a") << false;
        QTest::newRow("empty filter matches all") << ","
                                                  << "" << QVariant("x") << true;
        QTest::newRow("number compared as text") << ";"
                                                 << "12;7" << QVariant(7) << true;
        QTest::newRow("no partial match") << ";"
                                          << "12;7" << QVariant("1") << false;
    }
    void filterMatching()
    {
        QFETCH(QString, separator);
        QFETCH(QString, filter);
        QFETCH(QVariant, value);
        QFETCH(bool, matches);
        ClsFilterString f;
        f.setSeparator(separator);
        f.SetFilterString(filter);
        QCOMPARE(f.FilterString(), filter);
        QCOMPARE(f.IsMatching(value), matches);
    }
};

QTEST_GUILESS_MAIN(TstFieldsString)
#include "tst_fieldsstring.moc"
