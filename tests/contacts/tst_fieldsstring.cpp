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
        auto row = [](const char* tag, const char* separator, const char* list, const char* stored,
                      const QStringList& pairs) {
            QTest::newRow(tag) << separator << list << stored << pairs;
        };
        row("separator appended", ";", "a=1;b=2", "a=1;b=2;", {"a|1", "b|2"});
        row("entry starting with = is all name", ";", "=x;a", "=x;a;", {"=x|", "a|"});
        row("value keeps further =", "|", "B=Wert=1", "B=Wert=1|", {"B|Wert=1"});
        row("empty entry ends the walk", "|", "A=Firma (OF)||B=Von-Name (SF)",
            "A=Firma (OF)||B=Von-Name (SF)|", {"A|Firma (OF)"});
        row("empty list", ";", "", "", {});
        row("only a separator is empty", "|", "|", "|", {});
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
        QCOMPARE(fs.IsEmpty(), pairs.isEmpty());
        // Asking for the first starts again; past the last entry every call gives nothing.
        fs.GetNext2Field(true, f, v);
        QCOMPARE(f + (f.isEmpty() ? "" : "|") + v, pairs.value(0));
        for (qsizetype n = stored.count(separator); n >= 0; --n)
            fs.GetNextField(false);
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
        QTest::addColumn<QString>("separator");
        auto row = [](const char* tag, const QStringList& adds, bool useAnd, const char* list,
                      const char* clause, const char* separator = ";") {
            QTest::newRow(tag) << adds << useAnd << list << clause << separator;
        };
        row("one text entry", {"Name", "Meier", "s"}, true, "sName=Meier;", "Name = 'Meier'");
        row("text and number with and", {"Name", "Meier", "s", "Alter", "3", "n"}, true,
            "sName=Meier;nAlter=3;", "Name = 'Meier' and Alter = 3");
        row("or", {"Name", "A", "s", "Name", "B", "s"}, false, "sName=A;sName=B;",
            "Name = 'A' or Name = 'B'");
        row("empty value adds nothing", {"Name", "", "s"}, true, "", "");
        row("no type mark loses the first letter", {"Ort", "Bonn", ""}, true, "Ort=Bonn;",
            "rt = Bonn");
        row("quotes are not doubled", {"Name", "O'Neil", "s"}, true, "sName=O'Neil;",
            "Name = 'O'Neil'");
        row("an entry closes with ; whatever the separator", {"Name", "A", "s"}, true, "sName=A;",
            "", "|");
    }
    void clauses()
    {
        QFETCH(QStringList, adds);
        QFETCH(bool, useAnd);
        QFETCH(QString, list);
        QFETCH(QString, clause);
        QFETCH(QString, separator);
        ClsFieldsString fs;
        fs.setSeparator(separator);
        for (int i = 0; i + 2 < adds.size(); i += 3)
            fs.Add2Field(adds[i], adds[i + 1], adds[i + 2]);
        QCOMPARE(fs.FieldString(), list);
        QCOMPARE(fs.SQLClause(useAnd), clause);
        QCOMPARE(fs.IsEmpty(), list.isEmpty());
        fs.Clear();
        QVERIFY(fs.IsEmpty());
    }

    void filterMatching_data()
    {
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("matches");
        auto row = [](const char* tag, const char* separator, const char* filter,
                      const QVariant& value, bool matches) {
            QTest::newRow(tag) << separator << filter << value << matches;
        };
        row("trimmed element A", ",", " A , B", "A", true);
        row("trimmed element B", ",", " A , B", "B", true);
        row("case matters", ",", " A , B", "a", false);
        row("empty filter matches all", ",", "", "x", true);
        row("number compared as text", ";", "12;7", 7, true);
        row("no partial match", ";", "12;7", "1", false);
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
