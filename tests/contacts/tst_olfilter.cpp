#include "contacts/OlFilter.h"
#include "tests/support/CaughtError.h"

#include <QDate>
#include <QTest>
#include <string>

namespace
{

// A contact as a map of property values; a name missing from the map is a property the item
// does not have.
bool matches(const QString& filter, const QVariantMap& item)
{
    const OlFilter f = OlFilter::parse(filter);
    return f.matches([&](int i) -> std::optional<QVariant> {
        const QString name = f.properties()[i].name;
        for (auto it = item.cbegin(); it != item.cend(); ++it) {
            if (it.key().compare(name, Qt::CaseInsensitive) == 0)
                return it.value();
        }
        return std::nullopt;
    });
}

QVariantMap mueller()
{
    return {{"LastName", QString::fromUtf8("Müller")},
            {"FirstName", "Max"},
            {"CompanyName", "Muster AG"},
            {"Birthday", QDate(1960, 12, 31)},
            {"Gender", 2},
            {"Categories", QStringList{"Kunde", "VIP"}},
            {"Firma 2", "O'Brien & Co"},
            {"Messeeinladung", true},
            {"Umsatz", 1234.5}};
}

} // namespace

class TstOlFilter : public QObject
{
    Q_OBJECT

private slots:
    void evaluates_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<bool>("expected");

        auto row = [](const char* name, const char* filter, bool expected) {
            QTest::newRow(name) << QString::fromUtf8(filter) << expected;
        };
        row("equal text", "[LastName] = 'Müller'", true);
        row("equality ignores case, umlauts too", "[LastName] = 'MÜLLER'", true);
        row("property name ignores case", "[lastname] = 'müller'", true);
        row("whole value only, no prefix match", "[LastName] = 'Müll'", false);
        row("blanks count", "[LastName] = 'Müller '", false);
        row("not equal", "[LastName] <> 'Meier'", true);
        row("double quotes", "[CompanyName] = \"muster ag\"", true);
        row("doubled single quote", "[Firma 2] = 'O''Brien & Co'", true);
        row("doubled double quote inside double quotes", "[FirstName] = \"Max\"\"\"", false);
        row("keywords in upper case", "[LastName] = 'Müller' AND [FirstName] = 'Max'", true);
        row("and needs both", "[LastName] = 'Müller' and [FirstName] = 'Moritz'", false);
        row("or needs one", "[FirstName] = 'Moritz' or [FirstName] = 'Max'", true);
        row("and binds tighter than or (true or (x and false))",
            "[FirstName] = 'Max' or [FirstName] = 'x' and [LastName] = 'y'", true);
        row("and binds tighter than or ((false and x) or true)",
            "[FirstName] = 'x' and [LastName] = 'Müller' or [LastName] = 'Müller'", true);
        row("parentheses change the grouping",
            "([FirstName] = 'Max' or [FirstName] = 'x') and [LastName] = 'y'", false);
        row("nested parentheses", "(([LastName] = 'Müller'))", true);
        row("not", "not [LastName] = 'Meier'", true);
        row("not binds tighter than and ((not true) and false)",
            "not [LastName] = 'Müller' and [FirstName] = 'x'", false);
        row("text order ignores case", "[LastName] > 'mA' and [LastName] < 'MZ'", true);
        row("less or equal on equal text", "[LastName] <= 'müller'", true);
        row("date in German form", "[Birthday] = '31.12.1960'", true);
        row("date in ISO form, with time", "[Birthday] >= '1960-12-31 08:00'", true);
        row("date before", "[Birthday] < '1.1.1960'", false);
        row("number", "[Gender] = 2", true);
        row("number as text", "[Gender] = '2'", true);
        row("negative number", "[Gender] > -1", true);
        row("decimal number", "[Umsatz] >= 1234.5", true);
        row("yes/no as Wahr", "[Messeeinladung] = 'Wahr'", true);
        row("yes/no as Falsch", "[Messeeinladung] = 'Falsch'", false);
        row("yes/no as -1", "[Messeeinladung] = -1", true);
        row("list holds the value", "[Categories] = 'vip'", true);
        row("list lacks the value", "[Categories] <> 'Lieferant'", true);
        row("missing user property never matches =", "[Firma 3] = ''", false);
        row("missing user property never matches <>", "[Firma 3] <> 'x'", false);
        row("blanks and line breaks between tokens", "  [LastName]\t=\r\n'Müller'  ", true);
        row("keyword needs a word boundary before a name", "[FirstName] = 'Max' or[LastName] = 'x'",
            true);
        // Long chains and the deepest nesting allowed neither exhaust the stack nor fail.
        QTest::newRow("chain of 200,000 and")
            << QStringLiteral("[LastName] = 'Müller' and ").repeated(200000) + "[FirstName] = 'Max'"
            << true;
        QTest::newRow("99 parentheses and a not: 100 levels")
            << QString(99, u'(') + "not [LastName] = 'x'" + QString(99, u')') << true;
    }

    void evaluates()
    {
        QFETCH(QString, filter);
        QFETCH(bool, expected);
        QCOMPARE(matches(filter, mueller()), expected);
    }

    void rejects_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<int>("position");

        auto row = [](const char* name, const char* filter, const char* reason, int position) {
            QTest::newRow(name) << QString::fromUtf8(filter) << QString::fromUtf8(reason)
                                << position;
        };
        row("empty", "   ", "die Bedingung ist leer", 1);
        row("unterminated text", "[LastName] = 'Müller", "die Zeichenkette wird nicht geschlossen",
            14);
        row("embedded quote not doubled", "[LastName] = 'O'Neill'",
            "\"and\", \"or\" oder Ende der Bedingung erwartet", 17);
        row("no brackets", "LastName = 'x'", "Eigenschaft in [ ] erwartet", 1);
        row("bracket not closed", "[LastName = 'x'", "die Klammer [ wird nicht geschlossen", 1);
        row("empty property name", "[ ] = 'x'", "der Eigenschaftsname ist leer", 1);
        row("no operator", "[LastName] 'x'", "Vergleichsoperator (=, <>, <, >, <=, >=) erwartet",
            12);
        row("double equals", "[LastName] == 'x'", "Wert in Anführungszeichen oder Zahl erwartet",
            13);
        row("no value", "[LastName] =", "Wert erwartet, Ende der Bedingung gefunden", 13);
        row("unquoted word", "[LastName] = Müller", "Wert in Anführungszeichen oder Zahl erwartet",
            14);
        row("bad number", "[Gender] = 1.2.3", "\"1.2.3\" ist keine Zahl", 12);
        row("dangling and", "[LastName] = 'x' and",
            "Eigenschaft in [ ] erwartet, Ende der Bedingung gefunden", 21);
        row("missing closing parenthesis", "([LastName] = 'x'",
            "die Klammer bei Zeichen 1 wird nicht geschlossen", 18);
        row("surplus closing parenthesis", "[LastName] = 'x')",
            "\"and\", \"or\" oder Ende der Bedingung erwartet", 17);
        row("and glued to a word is not a keyword", "[LastName] = 'x' andy [FirstName] = 'y'",
            "\"and\", \"or\" oder Ende der Bedingung erwartet", 18);
        row("date property with a non-date", "[Birthday] = 'gestern'", "\"gestern\" ist kein Datum",
            14);
        QTest::newRow("a million parentheses")
            << QString(1000000, u'(') + "[LastName] = 'x'" + QString(1000000, u')')
            << "mehr als 100 Klammern oder \"not\" ineinander" << 102;
        QTest::newRow("101 times not") << QStringLiteral("not ").repeated(101) + "[LastName] = 'x'"
                                       << "mehr als 100 Klammern oder \"not\" ineinander" << 404;
    }

    void rejects()
    {
        QFETCH(QString, filter);
        QFETCH(QString, reason);
        QFETCH(int, position);
        const ZwError e = errorOf([&] { OlFilter::parse(filter); });
        QCOMPARE(e.number(), 5L);
        QCOMPARE(e.source(), QStringLiteral("Restrict"));
        QCOMPARE(e.description(),
                 QStringLiteral("Ungültige Filterbedingung: %1 bei Zeichen %2 in \"%3\"")
                     .arg(reason)
                     .arg(position)
                     .arg(filter));
    }

    void propertiesAndFastPath()
    {
        // Each property once, spelt as the item model spells it, with where its value comes from
        // (N or ORG component, else the whole item).
        const OlFilter f = OlFilter::parse(QStringLiteral(
            "[Lastname] = 'a' or [LASTNAME] = 'b' or [companyname] = 'c' or [Title] = 'Dr.' or "
            "[BusinessAddressCity] = 'd' or [Firma 2] = 'e'"));
        QStringList found;
        for (const OlFilter::Property& p : f.properties())
            found.append(QStringLiteral("%1 %2/%3%4")
                             .arg(p.name)
                             .arg(int(p.source))
                             .arg(p.component)
                             .arg(p.isUserProperty ? " user" : ""));
        QCOMPARE(found, (QStringList{"LastName 0/0", "CompanyName 1/0", "Title 0/3",
                                     "BusinessAddressCity 2/0", "Firma 2 2/0 user"}));
    }

    void valuesAreAskedLazily()
    {
        const OlFilter f = OlFilter::parse(
            QStringLiteral("[LastName] = 'x' and [FullName] = 'y' or [FirstName] = 'z'"));
        QList<int> asked;
        const bool m = f.matches([&](int i) -> std::optional<QVariant> {
            asked.append(i);
            return QStringLiteral("z");
        });
        QVERIFY(m);
        // The and stops at its false left side; the or then needs its right side.
        QCOMPARE(asked, (QList<int>{0, 2}));
    }

    void componentValueMirrorsTheItemModel_data()
    {
        QTest::addColumn<OlFilter::Source>("source");
        QTest::addColumn<int>("component");
        QTest::addColumn<QString>("escaped");
        QTest::addColumn<QString>("expected");
        auto row = [](const char* tag, OlFilter::Source source, int component, const char* escaped,
                      const char* expected) {
            QTest::newRow(tag) << source << component << QString::fromUtf8(escaped)
                               << QString::fromUtf8(expected);
        };
        const OlFilter::Source n = OlFilter::Source::NamePart, org = OlFilter::Source::OrgPart;
        row("family name", n, 0, "Müller;Max;;Herr;", "Müller");
        row("prefix", n, 3, "Müller;Max;;Herr;", "Herr");
        row("component beyond the value", n, 4, "Müller;Max", "");
        row("value list joined with a blank", n, 2, "Doe;John;Philip,Paul;;", "Philip Paul");
        row("escaped comma is no list", n, 0, "Richter\\, James;;;;", "Richter, James");
        row("blanks trimmed", n, 1, "A; Max ;;;", "Max");
        row("company keeps its comma", org, 0, "Ximian, Inc.;Sales", "Ximian, Inc.");
        row("department", org, 1, "Muster AG; Einkauf ", "Einkauf");
        row("escaped semicolon in a company", org, 0, "A\\;B;C", "A;B");
    }

    void componentValueMirrorsTheItemModel()
    {
        QFETCH(OlFilter::Source, source);
        QFETCH(int, component);
        QFETCH(QString, escaped);
        QFETCH(QString, expected);
        QCOMPARE(OlFilter::componentValue(source, component, escaped), expected);
    }
};

QTEST_GUILESS_MAIN(TstOlFilter)
#include "tst_olfilter.moc"
