#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
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

QByteArray readAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& data)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(f.write(data), data.size());
}

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
private Q_SLOTS:
    void init() { vuResetLogging(); }
    void cleanup() { vuResetLogging(); }

    void errorBox_data();
    void errorBox();
    void errorNumberZeroIsNoPendingError();
    void trapRunsTheBodyOnceMorePerYes_data();
    void trapRunsTheBodyOnceMorePerYes();
    void trapMapsStandardExceptions_data();
    void trapMapsStandardExceptions();

    void logWarnsOnceAndWritesEveryLine();
    void logLevelWords_data();
    void logLevelWords();
    void nothingIsLoggedWhileLoggingIsOff();
    void errorBoxIsLoggedAfterItIsShown();
    void setLoggingRefusals_data();
    void setLoggingRefusals();

    void appendConversions_data();
    void appendConversions();
    void appendFailureShowsBox_data();
    void appendFailureShowsBox();

    void cutOnlyBeyondLimitPlus50000_data();
    void cutOnlyBeyondLimitPlus50000();
    void cutRefusesZeroKilobytes();
    void cutIsNotReentered();
    void cutLeavesLogWhenTempFolderIsMissing();
    void cutAcrossFileSystems();
    void logLineTriggersCut();
};

void TstErrorRoutine::errorBox_data()
{
    QTest::addColumn<QString>("origin");
    QTest::addColumn<QString>("module");
    QTest::addColumn<long>("number");
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("style");

    const QString noModule; // null: not passed
    QTest::newRow("no pending error, no module: empty middle and trailing line")
        << "InitDotFileList" << noModule << 0L << QString() << "Fehler: InitDotFileList\r\n\r\n"
        << 48;
    QTest::newRow("no pending error, with module")
        << "MaxLength muß größer oder gleich 1 (KB) sein!"
        << "VuCutFile" << 0L << QString()
        << "Fehler: MaxLength muß größer oder gleich 1 (KB) sein!\r\n\r\nin Modul VuCutFile" << 48;
    QTest::newRow("pending error 53 without module asks for a retry")
        << "InitDotFileList" << noModule << 53L << QString()
        << "Fehler: InitDotFileList\r\nDatei nicht gefunden (Nr. 53, Ursprung: Zettelwerk)\r\n\r\n"
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
        << "" << 0L << QString() << "Fehler: Form_Load\r\n\r\nin Modul " << 48;
}

void TstErrorRoutine::errorBox()
{
    QFETCH(QString, origin);
    QFETCH(QString, module);
    QFETCH(long, number);
    QFETCH(QString, source);
    QFETCH(QString, text);
    QFETCH(int, style);

    ScriptedUserInterface script;
    script.answer(number ? Mb::No : Mb::Ok);
    bool result = true;
    if (number) {
        bool retry = true;
        result =
            VuShowError(origin, ZwError(number, QStringLiteral("Datei nicht gefunden"), source),
                        module, &retry);
        QVERIFY(!retry);
    } else {
        result = VuShowError(origin, module);
    }
    QVERIFY(!result);
    QCOMPARE(script.boxes().size(), 1);
    QCOMPARE(script.boxes()[0].text, text);
    QCOMPARE(script.boxes()[0].style, style);
    QCOMPARE(script.boxes()[0].title, kCaption);
}

void TstErrorRoutine::errorNumberZeroIsNoPendingError()
{
    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    bool retry = true;
    VuShowError(QStringLiteral("Form_Load"), ZwError(0, QStringLiteral("x")), QString(), &retry);
    QVERIFY(!retry);
    QCOMPARE(script.boxes()[0].text, QStringLiteral("Fehler: Form_Load\r\n\r\n"));
    QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
}

void TstErrorRoutine::trapRunsTheBodyOnceMorePerYes_data()
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

void TstErrorRoutine::trapRunsTheBodyOnceMorePerYes()
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

void TstErrorRoutine::trapMapsStandardExceptions_data()
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

void TstErrorRoutine::trapMapsStandardExceptions()
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

void TstErrorRoutine::logWarnsOnceAndWritesEveryLine()
{
    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    VuSetLogging(true, log, 100);
    VuLog(LogLevel::Info, QStringLiteral("eins"));
    VuLog(LogLevel::Warning, QStringLiteral("zwei"));
    VuLog(LogLevel::Error, QStringLiteral("drei"));

    QCOMPARE(script.boxes().size(), 1);
    QCOMPARE(script.boxes()[0].title, QStringLiteral("Logdatei-Erzeugung"));
    QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
    QCOMPARE(script.boxes()[0].text, "Hinweis: es wird die Logdatei '" + log +
                                         "' erzeugt!\r\n\r\nDas Erzeugen einer Logdatei kann die "
                                         "Ausführungsgeschwindigkeit deutlich "
                                         "verringern!");
    QCOMPARE(readAll(log).count("\r\n"), 3);

    // Switching to another file in the same run does not warn again.
    VuSetLogging(true, env.root() + QStringLiteral("/other.log"), 100);
    VuLog(LogLevel::Info, QStringLiteral("vier"));
    QCOMPARE(script.boxes().size(), 1);
}

void TstErrorRoutine::logLevelWords_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("word");
    QTest::newRow("16 error") << 16 << "Fehler: ";
    QTest::newRow("48 warning") << 48 << "Warnung: ";
    QTest::newRow("64 information") << 64 << "Info: ";
    QTest::newRow("32 has no word") << 32 << "";
    QTest::newRow("0 has no word") << 0 << "";
}

void TstErrorRoutine::logLevelWords()
{
    QFETCH(int, level);
    QFETCH(QString, word);

    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    VuSetLogging(true, log, 100);
    const QDateTime before = QDateTime::currentDateTime();
    VuLog(level, QStringLiteral("Text mit Ümlaut"));
    const QDateTime after = QDateTime::currentDateTime();

    const QString line = QString::fromUtf8(readAll(log));
    const QString tail = ": " + word + "Text mit Ümlaut\r\n";
    const QLocale system = QLocale::system();
    const QStringList expected{system.toString(before, QLocale::ShortFormat) + tail,
                               system.toString(after, QLocale::ShortFormat) + tail};
    QVERIFY2(expected.contains(line), qPrintable(line));
}

void TstErrorRoutine::nothingIsLoggedWhileLoggingIsOff()
{
    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    VuSetLogging(false, log, 100);
    VuLog(LogLevel::Error, QStringLiteral("x"));
    VuShowError(QStringLiteral("Form_Load"));
    QCOMPARE(script.boxes().size(), 1); // the error box only, no log warning
    QVERIFY(!QFile::exists(log));
}

void TstErrorRoutine::errorBoxIsLoggedAfterItIsShown()
{
    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    ScriptedUserInterface script;
    script.answer(Mb::No);
    script.answer(Mb::Ok);
    VuSetLogging(true, log, 100);
    VuShowError(QStringLiteral("InitDotFileList"),
                ZwError(53, QStringLiteral("Datei nicht gefunden")), QStringLiteral("FrmMain"));
    script.answer(Mb::Ok);
    VuShowError(QStringLiteral("Form_Load"));

    QCOMPARE(script.boxes().size(), 3);
    QCOMPARE(script.boxes()[0].title, kCaption);
    QCOMPARE(script.boxes()[1].title, QStringLiteral("Logdatei-Erzeugung"));
    QCOMPARE(script.boxes()[2].title, kCaption);
    const QList<QByteArray> lines = readAll(log).split('\n');
    QVERIFY2(lines[0].endsWith(": Fehler: InitDotFileList - Datei nicht gefunden (Nr. 53, "
                               "Ursprung: Zettelwerk) in Modul FrmMain\r"),
             lines[0].constData());
    // No pending error: an empty error text between the separators, no module text.
    QVERIFY2(lines[1].endsWith(": Fehler: Form_Load -  \r"), lines[1].constData());
}

void TstErrorRoutine::setLoggingRefusals_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("maxKB");
    QTest::addColumn<QString>("text");
    QTest::newRow("empty file name")
        << "" << 100
        << "Fehler: Log-Datei einstellen: Dateiname ist leer\r\n\r\nin Modul VuSetLogging";
    QTest::newRow("0 KB")
        << "/tmp/x.log" << 0
        << "Fehler: Log-Datei einstellen: max. Dateigröße < 1 (KB)\r\n\r\nin Modul VuSetLogging";
    QTest::newRow("negative size")
        << "/tmp/x.log" << -5
        << "Fehler: Log-Datei einstellen: max. Dateigröße < 1 (KB)\r\n\r\nin Modul "
           "VuSetLogging";
    QTest::newRow("both wrong: the name is named first")
        << "" << 0
        << "Fehler: Log-Datei einstellen: Dateiname ist leer\r\n\r\nin Modul VuSetLogging";
}

void TstErrorRoutine::setLoggingRefusals()
{
    QFETCH(QString, file);
    QFETCH(int, maxKB);
    QFETCH(QString, text);

    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    VuSetLogging(true, file, maxKB);
    QCOMPARE(script.boxes().size(), 1);
    QCOMPARE(script.boxes()[0].text, text);
    QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
    QVERIFY(!vuLogSettings().on);
    QVERIFY(vuLogSettings().fileName.isEmpty());
}

void TstErrorRoutine::appendConversions_data()
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

void TstErrorRoutine::appendConversions()
{
    QFETCH(QString, text);
    QFETCH(int, conversion);
    QFETCH(QByteArray, written);

    TestEnvironment env;
    const QString file = env.root() + QStringLiteral("/out.txt");
    writeAll(file, "vorher\r\n");
    ScriptedUserInterface script;
    QVERIFY(VuAppendToFile(text, file, conversion));
    QCOMPARE(readAll(file), "vorher\r\n" + written);
}

void TstErrorRoutine::appendFailureShowsBox_data()
{
    QTest::addColumn<QString>("relativePath");
    QTest::addColumn<QString>("reason");
    QTest::newRow("folder missing") << "/fehlt/zw.log"
                                    << "Pfad nicht gefunden";
    QTest::newRow("name is a folder") << "/ordner"
                                      << "Fehler beim Zugriff auf Pfad/Datei";
    QTest::newRow("a file stands where the folder should be") << "/datei/zw.log"
                                                              << "Pfad nicht gefunden";
}

void TstErrorRoutine::appendFailureShowsBox()
{
    QFETCH(QString, relativePath);
    QFETCH(QString, reason);

    TestEnvironment env;
    QDir(env.root()).mkdir(QStringLiteral("ordner"));
    writeAll(env.root() + QStringLiteral("/datei"), "x");
    const QString file = env.root() + relativePath;
    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    QVERIFY(!VuAppendToFile(QStringLiteral("Zeile"), file, 0));
    QCOMPARE(script.boxes().size(), 1);
    QCOMPARE(script.boxes()[0].text,
             "Fehler beim Anfügen von Text an " + file + " (" + reason + ")");
    QCOMPARE(script.boxes()[0].style, Mb::OkCancel + Mb::Exclamation);
    QCOMPARE(script.boxes()[0].title, QStringLiteral("Fehler"));
}

void TstErrorRoutine::cutOnlyBeyondLimitPlus50000_data()
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

void TstErrorRoutine::cutOnlyBeyondLimitPlus50000()
{
    QFETCH(int, maxKB);
    QFETCH(qint64, size);
    QFETCH(bool, cut);

    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    const QByteArray old = numberedBytes(size);
    writeAll(log, old);
    QFile::setPermissions(log, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                   QFile::ReadOther);
    ScriptedUserInterface script;
    VuCutFile(log, maxKB);

    const qint64 limit = qint64(maxKB) * 1000;
    const QByteArray now = readAll(log);
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
    QCOMPARE(QFile::permissions(log) & (QFile::ReadGroup | QFile::ReadOther),
             QFile::ReadGroup | QFile::ReadOther);
    QVERIFY(!vuLogSettings().cutting);
}

void TstErrorRoutine::cutRefusesZeroKilobytes()
{
    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    writeAll(log, numberedBytes(60000));
    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    VuCutFile(log, 0);
    QCOMPARE(script.boxes().size(), 1);
    QCOMPARE(
        script.boxes()[0].text,
        QStringLiteral(
            "Fehler: MaxLength muß größer oder gleich 1 (KB) sein!\r\n\r\nin Modul VuCutFile"));
    QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
    QCOMPARE(readAll(log).size(), 60000);
    QVERIFY(!vuLogSettings().cutting);
}

void TstErrorRoutine::cutIsNotReentered()
{
    TestEnvironment env;
    const QString first = env.root() + QStringLiteral("/a.log");
    const QString second = env.root() + QStringLiteral("/b.log");
    writeAll(first, numberedBytes(60000));
    writeAll(second, numberedBytes(60000));
    ReenteringUserInterface reentering;
    reentering.otherFile = second;
    setUserInterface(&reentering);
    VuCutFile(first, 1);
    setUserInterface(nullptr);

    QCOMPARE(reentering.beeps, 1); // the inner call returned before its own beep
    QCOMPARE(readAll(first).size(), 1085);
    QCOMPARE(readAll(second).size(), 60000);
}

void TstErrorRoutine::cutLeavesLogWhenTempFolderIsMissing()
{
    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    const QByteArray old = numberedBytes(60000);
    writeAll(log, old);
    const QByteArray oldTmp = qgetenv("TMPDIR");
    qputenv("TMPDIR", (env.root() + QStringLiteral("/gibt-es-nicht")).toUtf8());
    ScriptedUserInterface script;
    VuCutFile(log, 1);
    oldTmp.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", oldTmp);
    QCOMPARE(readAll(log), old);
    QVERIFY(!vuLogSettings().cutting);
}

void TstErrorRoutine::cutAcrossFileSystems()
{
    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    QTemporaryDir otherTemp(QStringLiteral("/dev/shm/zw-XXXXXX"));
    struct stat a {
    }, b{};
    if (!otherTemp.isValid() || stat(QFile::encodeName(env.root()).constData(), &a) != 0 ||
        stat(QFile::encodeName(otherTemp.path()).constData(), &b) != 0 || a.st_dev == b.st_dev)
        QSKIP("no second file system for the temporary folder here");

    const QByteArray old = numberedBytes(70000);
    writeAll(log, old);
    const QByteArray oldTmp = qgetenv("TMPDIR");
    qputenv("TMPDIR", otherTemp.path().toUtf8());
    ScriptedUserInterface script;
    VuCutFile(log, 2);
    oldTmp.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", oldTmp);

    const QByteArray now = readAll(log);
    QCOMPARE(now.size(), 2085);
    QCOMPARE(now.left(85), cutHeader());
    QVERIFY(now.mid(85) == old.right(2000));
    // Neither the temporary file nor a save file is left behind.
    QCOMPARE(QDir(otherTemp.path()).entryList(QDir::Files | QDir::NoDotAndDotDot).size(), 0);
    QCOMPARE(QDir(env.root()).entryList({QStringLiteral("zw.log*")}, QDir::Files).size(), 1);
}

void TstErrorRoutine::logLineTriggersCut()
{
    TestEnvironment env;
    const QString log = env.root() + QStringLiteral("/zw.log");
    writeAll(log, numberedBytes(51000));
    ScriptedUserInterface script;
    script.answer(Mb::Ok);
    VuSetLogging(true, log, 1);
    VuLog(LogLevel::Info, QStringLiteral("neueste Zeile"));
    const QByteArray now = readAll(log);
    QCOMPARE(now.size(), 1085);
    QVERIFY(now.startsWith(cutHeader()));
    QVERIFY(now.endsWith(": Info: neueste Zeile\r\n"));
    QCOMPARE(script.beeps(), 1);
}

QTEST_GUILESS_MAIN(TstErrorRoutine)
#include "tst_errorroutine.moc"
