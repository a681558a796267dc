#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"
#include "util/AppInfo.h"
#include "util/ErrorRoutine.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTest>

#include <stdexcept>
#include <sys/stat.h>

namespace
{

const QString kCaption = AppInfo::title() + QStringLiteral(" - Fehler");

// Recognisable content: every byte tells its position, so a tail taken from the wrong
// offset shows.
QByteArray numberedBytes(qint64 size)
{
    QByteArray data(size, Qt::Uninitialized);
    for (qint64 i = 0; i < size; ++i)
        data[i] = char('A' + (i * 7 + i / 26) % 26);
    return data;
}

QByteArray cutHeader()
{
    return QByteArray(80, '=') + "\r\n...";
}

// TMPDIR pointing elsewhere for one test.
class ScopedTmpDir
{
public:
    explicit ScopedTmpDir(const QString& path) : m_old(qgetenv("TMPDIR"))
    {
        qputenv("TMPDIR", path.toUtf8());
    }
    ~ScopedTmpDir() { m_old.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_old); }

private:
    QByteArray m_old;
};

// A seam whose beep starts another cut, as an event serviced during a cut could.
class ReenteringUserInterface final : public UserInterface
{
public:
    QString otherFile;
    int beeps = 0;
    int msgBox(const QString&, int, const QString&) override { return Mb::Ok; }
    void beep() override
    {
        ++beeps;
        VuCutFile(otherFile, 1);
    }
    void setHourglass(bool) override {}
    void doEvents() override {}
};

} // namespace

class TstErrorRoutine : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_env;
    QString m_logFile;

private Q_SLOTS:
    void init()
    {
        vuResetLogging();
        m_env = std::make_unique<TestEnvironment>();
        m_logFile = m_env->root() + QStringLiteral("/zw.log");
    }
    void cleanup()
    {
        vuResetLogging();
        m_env.reset();
    }

    void errorBox_data()
    {
        QTest::addColumn<QString>("origin");
        QTest::addColumn<QString>("module");
        QTest::addColumn<long>("number"); // -1: no error handed in
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("style");

        const QString noModule; // null: not passed
        QTest::newRow("no pending error, no module: empty middle and trailing line")
            << "InitDotFileList" << noModule << -1L << QString()
            << "Fehler: InitDotFileList\r\n\r\n"
            << 48;
        QTest::newRow("no pending error, with module")
            << "MaxLength muß größer oder gleich 1 (KB) sein!"
            << "VuCutFile" << -1L << QString()
            << "Fehler: MaxLength muß größer oder gleich 1 (KB) sein!\r\n\r\nin Modul VuCutFile"
            << 48;
        QTest::newRow("error number 0 is no pending error")
            << "Form_Load" << noModule << 0L << QString() << "Fehler: Form_Load\r\n\r\n"
            << 48;
        QTest::newRow("pending error 53 without module asks for a retry")
            << "InitDotFileList" << noModule << 53L << QString()
            << "Fehler: InitDotFileList\r\nDatei nicht gefunden (Nr. 53, Ursprung: "
               "Zettelwerk)\r\n\r\n"
               "Noch einmal versuchen?"
            << 36;
        QTest::newRow("pending error with its own source and a module")
            << "GetItemData"
            << "ClsOutlookVgContactFolder" << 91L << "Outlook"
            << "Fehler: GetItemData\r\nDatei nicht gefunden (Nr. 91, Ursprung: Outlook)\r\n"
               "in Modul ClsOutlookVgContactFolder\r\nNoch einmal versuchen?"
            << 36;
        QTest::newRow("empty module text passed still names the module line")
            << "Form_Load"
            << "" << -1L << QString() << "Fehler: Form_Load\r\n\r\nin Modul " << 48;
    }

    void errorBox()
    {
        QFETCH(QString, origin);
        QFETCH(QString, module);
        QFETCH(long, number);
        QFETCH(QString, source);
        QFETCH(QString, text);
        QFETCH(int, style);

        ScriptedUserInterface script;
        script.answer(number > 0 ? Mb::No : Mb::Ok);
        bool retry = true;
        const bool result =
            number < 0
                ? VuShowError(origin, module)
                : VuShowError(origin,
                              ZwError(number, QStringLiteral("Datei nicht gefunden"), source),
                              module, &retry);
        QVERIFY(!result);
        QCOMPARE(retry, number < 0);
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text, text);
        QCOMPARE(script.boxes()[0].style, style);
        QCOMPARE(script.boxes()[0].title, kCaption);
    }

    void trapRunsTheBodyOnceMorePerYes_data()
    {
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<int>("failures");
        QTest::addColumn<int>("expectedRuns");
        QTest::addColumn<bool>("completed");

        QTest::newRow("no error: one run, no box") << QList<int>{} << 0 << 1 << true;
        QTest::newRow("No: the body runs once") << QList<int>{Mb::No} << 99 << 1 << false;
        QTest::newRow("Yes then No: twice") << QList<int>{Mb::Yes, Mb::No} << 99 << 2 << false;
        QTest::newRow("Yes and the retry succeeds") << QList<int>{Mb::Yes} << 1 << 2 << true;
        QTest::newRow("Yes, Yes, No: three runs")
            << QList<int>{Mb::Yes, Mb::Yes, Mb::No} << 99 << 3 << false;
    }

    void trapRunsTheBodyOnceMorePerYes()
    {
        QFETCH(QList<int>, answers);
        QFETCH(int, failures);
        QFETCH(int, expectedRuns);
        QFETCH(bool, completed);

        ScriptedUserInterface script;
        for (int a : answers)
            script.answer(a);
        int runs = 0;
        const bool done = vuTrap(QStringLiteral("InitDotFileList"), [&] {
            ++runs;
            if (runs <= failures)
                throw ZwError(53, QStringLiteral("Datei nicht gefunden"));
        });
        QCOMPARE(done, completed);
        QCOMPARE(runs, expectedRuns);
        QCOMPARE(script.boxes().size(), answers.size());
        for (const auto& box : script.boxes()) {
            QCOMPARE(box.style, Mb::YesNo + Mb::Question);
            QVERIFY(box.text.startsWith(
                QStringLiteral("Fehler: InitDotFileList\r\nDatei nicht gefunden (Nr. 53")));
        }
    }

    void trapMapsStandardExceptions_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("errorLine");

        QTest::newRow("out_of_range is error 9")
            << 0 << "Index außerhalb des gültigen Bereichs (Nr. 9, Ursprung: Zettelwerk)";
        QTest::newRow("overflow_error is error 6") << 1 << "Überlauf (Nr. 6, Ursprung: Zettelwerk)";
        QTest::newRow("bad_alloc is error 7")
            << 2 << "Nicht genügend Speicher (Nr. 7, Ursprung: Zettelwerk)";
        QTest::newRow("other exception is error 51 with its text")
            << 3 << "Interner Fehler: kaputt (Nr. 51, Ursprung: Zettelwerk)";
        QTest::newRow("anything else thrown is error 51")
            << 4 << "Interner Fehler (Nr. 51, Ursprung: Zettelwerk)";
    }

    void trapMapsStandardExceptions()
    {
        QFETCH(int, kind);
        QFETCH(QString, errorLine);

        ScriptedUserInterface script;
        script.answer(Mb::No);
        const bool done = vuTrap(QStringLiteral("GetFolderByPath"), [&] {
            switch (kind) {
            case 0:
                throw std::out_of_range("index");
            case 1:
                throw std::overflow_error("overflow");
            case 2:
                throw std::bad_alloc();
            case 3:
                throw std::runtime_error("kaputt");
            default:
                throw 42;
            }
        });
        QVERIFY(!done);
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text.split(QStringLiteral("\r\n")).value(1), errorLine);
    }

    void logWarnsOnceAndWritesEveryLine()
    {
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuSetLogging(true, m_logFile, 100);
        VuLog(LogLevel::Info, QStringLiteral("eins"));
        VuLog(LogLevel::Warning, QStringLiteral("zwei"));
        VuLog(LogLevel::Error, QStringLiteral("drei"));

        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].title, QStringLiteral("Logdatei-Erzeugung"));
        QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
        QCOMPARE(script.boxes()[0].text,
                 "Hinweis: es wird die Logdatei '" + m_logFile +
                     "' erzeugt!\r\n\r\nDas Erzeugen einer Logdatei kann die "
                     "Ausführungsgeschwindigkeit deutlich "
                     "verringern!");
        QCOMPARE(readAll(m_logFile).count("\r\n"), 3);

        // Switching to another file in the same run does not warn again.
        VuSetLogging(true, m_env->root() + QStringLiteral("/other.log"), 100);
        VuLog(LogLevel::Info, QStringLiteral("vier"));
        QCOMPARE(script.boxes().size(), 1);
    }

    void logLevelWords_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("word");
        QTest::newRow("16 error") << 16 << "Fehler: ";
        QTest::newRow("48 warning") << 48 << "Warnung: ";
        QTest::newRow("64 information") << 64 << "Info: ";
        QTest::newRow("32 has no word") << 32 << "";
        QTest::newRow("0 has no word") << 0 << "";
    }

    void logLevelWords()
    {
        QFETCH(int, level);
        QFETCH(QString, word);

        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuSetLogging(true, m_logFile, 100);
        const QDateTime before = QDateTime::currentDateTime();
        VuLog(level, QStringLiteral("Text mit Ümlaut"));
        const QDateTime after = QDateTime::currentDateTime();

        const QString line = QString::fromUtf8(readAll(m_logFile));
        const QString tail = ": " + word + "Text mit Ümlaut\r\n";
        const QLocale system = QLocale::system();
        const QStringList expected{system.toString(before, QLocale::ShortFormat) + tail,
                                   system.toString(after, QLocale::ShortFormat) + tail};
        QVERIFY2(expected.contains(line), qPrintable(line));
    }

    void nothingIsLoggedWhileLoggingIsOff()
    {
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuSetLogging(false, m_logFile, 100);
        VuLog(LogLevel::Error, QStringLiteral("x"));
        VuShowError(QStringLiteral("Form_Load"));
        QCOMPARE(script.boxes().size(), 1); // the error box only, no log warning
        QVERIFY(!QFile::exists(m_logFile));
    }

    void errorBoxIsLoggedAfterItIsShown()
    {
        ScriptedUserInterface script;
        script.answer(Mb::No);
        script.answer(Mb::Ok);
        VuSetLogging(true, m_logFile, 100);
        VuShowError(QStringLiteral("InitDotFileList"),
                    ZwError(53, QStringLiteral("Datei nicht gefunden")), QStringLiteral("FrmMain"));
        script.answer(Mb::Ok);
        VuShowError(QStringLiteral("Form_Load"));

        QCOMPARE(script.boxes().size(), 3);
        QCOMPARE(script.boxes()[0].title, kCaption);
        QCOMPARE(script.boxes()[1].title, QStringLiteral("Logdatei-Erzeugung"));
        QCOMPARE(script.boxes()[2].title, kCaption);
        const QList<QByteArray> lines = readAll(m_logFile).split('\n');
        QVERIFY2(lines[0].endsWith(": Fehler: InitDotFileList - Datei nicht gefunden (Nr. 53, "
                                   "Ursprung: Zettelwerk) in Modul FrmMain\r"),
                 lines[0].constData());
        // No pending error: an empty error text between the separators, no module text.
        QVERIFY2(lines[1].endsWith(": Fehler: Form_Load -  \r"), lines[1].constData());
    }

    void setLoggingRefusals_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("maxKB");
        QTest::addColumn<QString>("text");
        const QString name = QStringLiteral("Dateiname ist leer");
        const QString size = QStringLiteral("max. Dateigröße < 1 (KB)");
        QTest::newRow("empty file name") << "" << 100 << name;
        QTest::newRow("0 KB") << "/tmp/x.log" << 0 << size;
        QTest::newRow("negative size") << "/tmp/x.log" << -5 << size;
        QTest::newRow("both wrong: the name is named first") << "" << 0 << name;
    }

    void setLoggingRefusals()
    {
        QFETCH(QString, file);
        QFETCH(int, maxKB);
        QFETCH(QString, text);

        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuSetLogging(true, file, maxKB);
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text,
                 "Fehler: Log-Datei einstellen: " + text + "\r\n\r\nin Modul VuSetLogging");
        QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
        QVERIFY(!vuLogSettings().on);
        QVERIFY(vuLogSettings().fileName.isEmpty());
    }

    void appendConversions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("conversion");
        QTest::addColumn<QByteArray>("written");

        const QString umlauts = QStringLiteral("Grüße: äöü ÄÖÜ ß");
        QTest::newRow("0 writes UTF-8 and keeps trailing blanks")
            << umlauts + "  " << 0
            << QByteArray("Gr\xc3\xbc\xc3\x9f"
                          "e: \xc3\xa4\xc3\xb6\xc3\xbc \xc3\x84\xc3\x96\xc3\x9c \xc3\x9f  \r\n");
        QTest::newRow("1 writes code page 850 without trailing blanks")
            << umlauts + "   " << 1
            << QByteArray("Gr\x81\xe1"
                          "e: \x84\x94\x81 \x8e\x99\x9a \xe1\r\n");
        QTest::newRow("1 puts ? for a character code page 850 lacks")
            << QStringLiteral("5 €") << 1 << QByteArray("5 ?\r\n");
        // Code page 850 bytes as a Latin-1 reading of a DOS file shows them.
        QTest::newRow("2 reads code page 850 and writes UTF-8")
            << QString::fromLatin1("Gr\x81\xe1"
                                   "e \x84\x94\x81 \x8e\x99\x9a  ")
            << 2
            << QByteArray("Gr\xc3\xbc\xc3\x9f"
                          "e \xc3\xa4\xc3\xb6\xc3\xbc \xc3\x84\xc3\x96\xc3\x9c\r\n");
        QTest::newRow("1 keeps at most 255 characters")
            << QString(300, QLatin1Char('x')) << 1 << QByteArray(255, 'x') + "\r\n";
        QTest::newRow("2 keeps at most 255 characters")
            << QString(254, QLatin1Char('x')) + QString::fromLatin1("\x84\x84") << 2
            << QByteArray(254, 'x') + "\xc3\xa4\r\n";
        QTest::newRow("1 blanks at the cut are dropped too")
            << QString(250, QLatin1Char('x')) + QString(10, QLatin1Char(' ')) + "yy" << 1
            << QByteArray(250, 'x') + "\r\n";
        QTest::newRow("0 has no length limit")
            << QString(300, QLatin1Char('x')) << 0 << QByteArray(300, 'x') + "\r\n";
        QTest::newRow("unknown conversion writes nothing")
            << QStringLiteral("abc") << 3 << QByteArray();
    }

    void appendConversions()
    {
        QFETCH(QString, text);
        QFETCH(int, conversion);
        QFETCH(QByteArray, written);

        const QString file = m_env->root() + QStringLiteral("/out.txt");
        writeFile(file, "vorher\r\n");
        ScriptedUserInterface script;
        QVERIFY(VuAppendToFile(text, file, conversion));
        QCOMPARE(readAll(file), "vorher\r\n" + written);
    }

    void appendFailureShowsBox_data()
    {
        QTest::addColumn<QString>("relativePath");
        QTest::addColumn<QString>("reason");
        const QString notFound = QStringLiteral("Pfad nicht gefunden");
        QTest::newRow("folder missing") << "/fehlt/zw.log" << notFound;
        QTest::newRow("name is a folder") << "/ordner"
                                          << "Fehler beim Zugriff auf Pfad/Datei";
        QTest::newRow("a file stands where the folder should be") << "/datei/zw.log" << notFound;
    }

    void appendFailureShowsBox()
    {
        QFETCH(QString, relativePath);
        QFETCH(QString, reason);

        QDir(m_env->root()).mkdir(QStringLiteral("ordner"));
        writeFile(m_env->root() + QStringLiteral("/datei"), "x");
        const QString file = m_env->root() + relativePath;
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        QVERIFY(!VuAppendToFile(QStringLiteral("Zeile"), file, 0));
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(script.boxes()[0].text,
                 "Fehler beim Anfügen von Text an " + file + " (" + reason + ")");
        QCOMPARE(script.boxes()[0].style, Mb::OkCancel + Mb::Exclamation);
        QCOMPARE(script.boxes()[0].title, QStringLiteral("Fehler"));
    }

    void cutOnlyBeyondLimitPlus50000_data()
    {
        QTest::addColumn<int>("maxKB");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<bool>("cut");
        QTest::newRow("1 KB, exactly limit + 50000: kept") << 1 << qint64(51000) << false;
        QTest::newRow("1 KB, one byte more: cut") << 1 << qint64(51001) << true;
        QTest::newRow("3 KB, far beyond: cut") << 3 << qint64(200000) << true;
        QTest::newRow("100 KB, below the limit: kept") << 100 << qint64(90000) << false;
        QTest::newRow("100 KB, limit counted in 1000 bytes: cut") << 100 << qint64(150001) << true;
    }

    void cutOnlyBeyondLimitPlus50000()
    {
        QFETCH(int, maxKB);
        QFETCH(qint64, size);
        QFETCH(bool, cut);

        const QByteArray old = numberedBytes(size);
        writeFile(m_logFile, old);
        QFile::setPermissions(m_logFile, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                             QFile::ReadOther);
        ScriptedUserInterface script;
        VuCutFile(m_logFile, maxKB);

        const qint64 limit = qint64(maxKB) * 1000;
        const QByteArray now = readAll(m_logFile);
        if (!cut) {
            QCOMPARE(now, old);
            QCOMPARE(script.beeps(), 0);
            return;
        }
        QCOMPARE(now.size(), limit + 85);
        QCOMPARE(now.left(85), cutHeader());
        QVERIFY(now.mid(85) == old.right(limit));
        QCOMPARE(script.beeps(), 1);
        // The log keeps its permissions, not those of a private temporary file.
        QCOMPARE(QFile::permissions(m_logFile) & (QFile::ReadGroup | QFile::ReadOther),
                 QFile::ReadGroup | QFile::ReadOther);
        QVERIFY(!vuLogSettings().cutting);
    }

    void cutRefusesZeroKilobytes()
    {
        writeFile(m_logFile, numberedBytes(60000));
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuCutFile(m_logFile, 0);
        QCOMPARE(script.boxes().size(), 1);
        QCOMPARE(
            script.boxes()[0].text,
            QStringLiteral(
                "Fehler: MaxLength muß größer oder gleich 1 (KB) sein!\r\n\r\nin Modul VuCutFile"));
        QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
        QCOMPARE(readAll(m_logFile).size(), 60000);
        QVERIFY(!vuLogSettings().cutting);
    }

    void cutIsNotReentered()
    {
        const QString first = m_env->root() + QStringLiteral("/a.log");
        const QString second = m_env->root() + QStringLiteral("/b.log");
        writeFile(first, numberedBytes(60000));
        writeFile(second, numberedBytes(60000));
        ReenteringUserInterface reentering;
        reentering.otherFile = second;
        setUserInterface(&reentering);
        VuCutFile(first, 1);
        setUserInterface(nullptr);

        QCOMPARE(reentering.beeps, 1); // the inner call returned before its own beep
        QCOMPARE(readAll(first).size(), 1085);
        QCOMPARE(readAll(second).size(), 60000);
    }

    void cutLeavesLogWhenTempFolderIsMissing()
    {
        const QByteArray old = numberedBytes(60000);
        writeFile(m_logFile, old);
        ScopedTmpDir missing(m_env->root() + QStringLiteral("/gibt-es-nicht"));
        ScriptedUserInterface script;
        VuCutFile(m_logFile, 1);
        QCOMPARE(readAll(m_logFile), old);
        QVERIFY(!vuLogSettings().cutting);
    }

    void cutAcrossFileSystems()
    {
        QTemporaryDir otherTemp(QStringLiteral("/dev/shm/zw-XXXXXX"));
        struct stat a {
        }, b{};
        if (!otherTemp.isValid() || stat(QFile::encodeName(m_env->root()).constData(), &a) != 0 ||
            stat(QFile::encodeName(otherTemp.path()).constData(), &b) != 0 || a.st_dev == b.st_dev)
            QSKIP("no second file system for the temporary folder here");

        const QByteArray old = numberedBytes(70000);
        writeFile(m_logFile, old);
        {
            ScopedTmpDir elsewhere(otherTemp.path());
            ScriptedUserInterface script;
            VuCutFile(m_logFile, 2);
        }

        const QByteArray now = readAll(m_logFile);
        QCOMPARE(now.size(), 2085);
        QCOMPARE(now.left(85), cutHeader());
        QVERIFY(now.mid(85) == old.right(2000));
        // Neither the temporary file nor a save file is left behind.
        QCOMPARE(QDir(otherTemp.path()).entryList(QDir::Files | QDir::NoDotAndDotDot).size(), 0);
        QCOMPARE(QDir(m_env->root()).entryList({QStringLiteral("zw.log*")}, QDir::Files).size(), 1);
    }

    void logLineTriggersCut()
    {
        writeFile(m_logFile, numberedBytes(51000));
        ScriptedUserInterface script;
        script.answer(Mb::Ok);
        VuSetLogging(true, m_logFile, 1);
        VuLog(LogLevel::Info, QStringLiteral("neueste Zeile"));
        const QByteArray now = readAll(m_logFile);
        QCOMPARE(now.size(), 1085);
        QVERIFY(now.startsWith(cutHeader()));
        QVERIFY(now.endsWith(": Info: neueste Zeile\r\n"));
        QCOMPARE(script.beeps(), 1);
    }
};

QTEST_GUILESS_MAIN(TstErrorRoutine)
#include "tst_errorroutine.moc"
