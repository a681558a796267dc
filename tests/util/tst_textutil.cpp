#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"
#include "util/SystemNames.h"
#include "util/TextUtil.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

class TstTextUtil : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pathParts_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("extension");

        auto row = [](const char* tag, const char* path, const char* name, const char* title,
                      const char* extension) {
            QTest::newRow(tag) << path << name << title << extension;
        };
        row("Windows path", "C:\\Vorlagen\\Brief.dot", "Brief.dot", "Brief", ".dot");
        row("Linux path", "/home/anna/Vorlagen/Bsp-FAX.dotx", "Bsp-FAX.dotx", "Bsp-FAX", ".dotx");
        row("mixed separators, the last one counts", "/home/anna\\Vorlagen/Alt\\Brief.DOT",
            "Brief.DOT", "Brief", ".DOT");
        row("no separator", "Zettelwerk.html", "Zettelwerk.html", "Zettelwerk", ".html");
        row("no extension", "C:\\Vorlagen\\Brief", "Brief", "Brief", "");
        row("dot only in a folder name", "/daten/v1.2/Brief", "Brief", "Brief", "");
        row("several dots: the last one", "/x/Brief.alt.dot", "Brief.alt.dot", "Brief.alt", ".dot");
        row("ends with a separator", "C:\\Vorlagen\\", "", "", "");
        row("name ends with a dot", "/x/Brief.", "Brief.", "Brief", ".");
        row("hidden file is all extension", "/home/anna/.profile", ".profile", "", ".profile");
        row("empty", "", "", "", "");
    }
    void pathParts()
    {
        QFETCH(QString, path);
        QFETCH(QString, name);
        QFETCH(QString, title);
        QFETCH(QString, extension);
        QCOMPARE(VuGetFileName(path), name);
        QCOMPARE(VuGetFileTitle(path), title);
        QCOMPARE(VuGetFileExtension(path), extension);
    }

    void trailingSeparator_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expected");
        for (auto [tag, path, expected] :
             {std::tuple{"Windows path gets a backslash", "C:\\Vorlagen", "C:\\Vorlagen\\"},
              {"Linux path gets a slash", "/home/anna", "/home/anna/"},
              {"backslash already there", "C:\\Vorlagen\\", "C:\\Vorlagen\\"},
              {"slash already there", "/home/anna/", "/home/anna/"},
              {"a path ending in a backslash is left alone even on Linux", "/home/anna\\",
               "/home/anna\\"},
              {"mixed: follows the last separator", "/daten\\Vorlagen", "/daten\\Vorlagen\\"},
              {"drive only", "C:", "C:/"},
              {"bare folder name", "Vorlagen", "Vorlagen/"},
              {"empty becomes the root", "", "/"}})
            QTest::newRow(tag) << path << expected;
    }
    void trailingSeparator()
    {
        QFETCH(QString, path);
        QFETCH(QString, expected);
        QCOMPARE(VuEnsureTrailingSeparator(path), expected);
    }

    void fileExists()
    {
        TestEnvironment env;
        const QString file = writeFile(env.root() + QStringLiteral("/Brief.dotx"), {});
        QVERIFY(VuFileExists(file));
        QVERIFY(!VuFileExists(env.root() + QStringLiteral("/fehlt.dotx")));
        QVERIFY(!VuFileExists(env.root())); // a folder is no file
        QVERIFY(!VuFileExists(QString()));
    }

    void tokens_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("sep");
        QTest::addColumn<QStringList>("tokens");
        auto row = [](const char* tag, const char* text, const char* sep,
                      const QStringList& tokens) { QTest::newRow(tag) << text << sep << tokens; };
        row("a|b|c then empty", "a|b|c", "|", {"a", "b", "c", "", ""});
        row("one part", "allein", "|", {"allein", ""});
        row("separator of several characters", "eins, zwei, drei", ", ",
            {"eins", "zwei", "drei", ""});
        row("empty part looks like the end", "a||b", "|", {"a", "", "b", ""});
        row("trailing separator gives an empty last part", "a|b|", "|", {"a", "b", "", ""});
        row("case matters", "xAyaz", "a", {"xAy", "z", ""});
    }
    void tokens()
    {
        QFETCH(QString, text);
        QFETCH(QString, sep);
        QFETCH(QStringList, tokens);
        QStringList got{VuGetNextToken(text, sep)};
        while (got.size() < tokens.size())
            got << VuGetNextToken(QString(), sep);
        QCOMPARE(got, tokens);
    }

    void newTextStartsANewScan()
    {
        QCOMPARE(VuGetNextToken(QStringLiteral("a|b|c"), QStringLiteral("|")), QStringLiteral("a"));
        QCOMPARE(VuGetNextToken(QStringLiteral("x|y"), QStringLiteral("|")), QStringLiteral("x"));
        QCOMPARE(VuGetNextToken(QString(), QStringLiteral("|")), QStringLiteral("y"));
        QCOMPARE(VuGetNextToken(QString(), QStringLiteral("|")), QString());
    }

    void keyValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        // The token handed back is always the whole text; key and value change only with a key.
        for (auto [tag, text, key, value] :
             {std::tuple{"key and value", "Absender=Anna Muster", "Absender", "Anna Muster"},
              {"first = splits", "Formel=a=b", "Formel", "a=b"},
              {"empty value", "Durchwahl=", "Durchwahl", ""},
              {"=x sets nothing", "=x", "alt", "alt"},
              {"no = sets nothing", "ohne", "alt", "alt"}})
            QTest::newRow(tag) << text << key << value;
    }
    void keyValue()
    {
        QFETCH(QString, text);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QString k = QStringLiteral("alt"), v = QStringLiteral("alt");
        QCOMPARE(VuGetNextKeyValue(text, QStringLiteral("|"), k, v), text);
        QCOMPARE(k, key);
        QCOMPARE(v, value);
    }

    void keyValueWalksAList()
    {
        QString key, value;
        QStringList pairs;
        QString token =
            VuGetNextKeyValue(QStringLiteral("Name=Anna|Abteilung=Einkauf|Durchwahl=42"),
                              QStringLiteral("|"), key, value);
        while (!token.isEmpty()) {
            pairs << key + QLatin1Char(':') + value;
            token = VuGetNextKeyValue(QString(), QStringLiteral("|"), key, value);
        }
        QCOMPARE(pairs, (QStringList{"Name:Anna", "Abteilung:Einkauf", "Durchwahl:42"}));
    }

    // Compared with what the system's own tools say.
    void systemNames()
    {
        QProcess who;
        who.start(QStringLiteral("id"), {QStringLiteral("-un")});
        if (!who.waitForFinished(5000) || who.exitCode() != 0)
            QSKIP("id is not available");
        QCOMPARE(VuGetLoginName(), QString::fromLocal8Bit(who.readAllStandardOutput()).trimmed());

        QFile hostname(QStringLiteral("/proc/sys/kernel/hostname"));
        QVERIFY(hostname.open(QIODevice::ReadOnly));
        QCOMPARE(VuGetComputerName(), QString::fromLocal8Bit(hostname.readAll()).trimmed());
    }
};

QTEST_GUILESS_MAIN(TstTextUtil)
#include "tst_textutil.moc"
