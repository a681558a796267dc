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

#include <optional>
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

        auto row = [](const char* tag, const char* origin, const char* module, long number,
                      const char* source, const char* text, int style) {
            // A null module: none passed.
            QTest::newRow(tag) << origin << (module ? QString::fromUtf8(module) : QString())
                               << number << source << text << style;
        };
        row("no pending error, no module: empty middle and trailing line", "InitDotFileList",
            nullptr, -1, "", "Fehler: InitDotFileList\r\n\r\n", 48);
        row("error number 0 is no pending error", "Form_Load", nullptr, 0, "",
            "Fehler: Form_Load\r\n\r\n", 48);
        row("pending error 53 without module asks for a retry", "InitDotFileList", nullptr, 53, "",
            "Fehler: InitDotFileList\r\nDatei nicht gefunden (Nr. 53, Ursprung: Zettelwerk)"
            "\r\n\r\nNoch einmal versuchen?",
            36);
        row("pending error with its own source and a module", "GetItemData",
            "ClsOutlookVgContactFolder", 91, "Outlook",
            "Fehler: GetItemData\r\nDatei nicht gefunden (Nr. 91, Ursprung: Outlook)\r\n"
            "in Modul ClsOutlookVgContactFolder\r\nNoch einmal versuchen?",
            36);
        row("empty module text passed still names the module line", "Form_Load", "", -1, "",
            "Fehler: Form_Load\r\n\r\nin Modul ", 48);
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

    // The body runs once more per Yes; what it throws becomes the box's error line.
    void trap_data()
    {
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<int>("failures"); // runs that throw
        QTest::addColumn<int>("thrown");
        QTest::addColumn<int>("expectedRuns");
        QTest::addColumn<bool>("completed");
        QTest::addColumn<QString>("errorLine");
        const QList<int> no{Mb::No};
        const char* e53 = "Datei nicht gefunden (Nr. 53, Ursprung: Zettelwerk)";
        auto row = [](const char* tag, const QList<int>& answers, int failures, int thrown,
                      int runs, bool completed, const char* errorLine) {
            QTest::newRow(tag) << answers << failures << thrown << runs << completed << errorLine;
        };
        row("no error: one run, no box", {}, 0, 0, 1, true, "");
        row("No: the body runs once", no, 99, 0, 1, false, e53);
        row("Yes then No: twice", {Mb::Yes, Mb::No}, 99, 0, 2, false, e53);
        row("Yes and the retry succeeds", {Mb::Yes}, 1, 0, 2, true, e53);
        row("Yes, Yes, No: three runs", {Mb::Yes, Mb::Yes, Mb::No}, 99, 0, 3, false, e53);
        row("out_of_range is error 9", no, 1, 1, 1, false,
            "Index außerhalb des gültigen Bereichs (Nr. 9, Ursprung: Zettelwerk)");
        row("overflow_error is error 6", no, 1, 2, 1, false,
            "Überlauf (Nr. 6, Ursprung: Zettelwerk)");
        row("bad_alloc is error 7", no, 1, 3, 1, false,
            "Nicht genügend Speicher (Nr. 7, Ursprung: Zettelwerk)");
        row("other exception is error 51 with its text", no, 1, 4, 1, false,
            "Interner Fehler: kaputt (Nr. 51, Ursprung: Zettelwerk)");
        row("anything else thrown is error 51", no, 1, 5, 1, false,
            "Interner Fehler (Nr. 51, Ursprung: Zettelwerk)");
    }
    void trap()
    {
        QFETCH(QList<int>, answers);
        QFETCH(int, failures);
        QFETCH(int, thrown);
        QFETCH(int, expectedRuns);
        QFETCH(bool, completed);
        QFETCH(QString, errorLine);

        ScriptedUserInterface script;
        for (int a : answers)
            script.answer(a);
        int runs = 0;
        const bool done = vuTrap(QStringLiteral("InitDotFileList"), [&] {
            if (++runs > failures)
                return;
            switch (thrown) {
            case 0:
                throw ZwError(53, QStringLiteral("Datei nicht gefunden"));
            case 1:
                throw std::out_of_range("index");
            case 2:
                throw std::overflow_error("overflow");
            case 3:
                throw std::bad_alloc();
            case 4:
                throw std::runtime_error("kaputt");
            default:
                throw 42;
            }
        });
        QCOMPARE(done, completed);
        QCOMPARE(runs, expectedRuns);
        QCOMPARE(script.boxes().size(), answers.size());
        for (const auto& box : script.boxes()) {
            QCOMPARE(box.style, Mb::YesNo + Mb::Question);
            QCOMPARE(box.text.split(QStringLiteral("\r\n")).mid(0, 2),
                     (QStringList{"Fehler: InitDotFileList", errorLine}));
        }
    }

    // Every line: the local short date and time, the level's word and the text. The first
    // logging of a run warns once, after the error box it logs; switching files does not warn
    // again, switching off stops.
    void logLinesAndTheOneWarning()
    {
        ScriptedUserInterface script;
        script.answer(Mb::No);
        script.answer(Mb::Ok);
        VuSetLogging(true, m_logFile, 100);
        VuShowError(QStringLiteral("InitDotFileList"),
                    ZwError(53, QStringLiteral("Datei nicht gefunden")), QStringLiteral("FrmMain"));
        const QLocale system = QLocale::system();
        auto now = [&] {
            return system.toString(QDateTime::currentDateTime(), QLocale::ShortFormat);
        };
        const QList<std::pair<int, QString>> words{
            {16, "Fehler: "}, {48, "Warnung: "}, {64, "Info: "}, {32, ""}, {0, ""}};
        QStringList before, after;
        for (const auto& [level, word] : words) {
            before << now();
            VuLog(level, QStringLiteral("Text mit Ümlaut"));
            after << now();
        }
        const QStringList lines =
            QString::fromUtf8(readAll(m_logFile)).split(QStringLiteral("\r\n"));
        QCOMPARE(lines.size(), words.size() + 2);
        QVERIFY2(lines[0].endsWith(": Fehler: InitDotFileList - Datei nicht gefunden (Nr. 53, "
                                   "Ursprung: Zettelwerk) in Modul FrmMain"),
                 qPrintable(lines[0]));
        for (qsizetype i = 0; i < words.size(); ++i) {
            const QString tail = ": " + words[i].second + "Text mit Ümlaut";
            QVERIFY2(lines[i + 1] == before[i] + tail || lines[i + 1] == after[i] + tail,
                     qPrintable(lines[i + 1]));
        }
        QCOMPARE(script.boxes().size(), 2);
        QCOMPARE(script.boxes()[0].title, kCaption);
        QCOMPARE(script.boxes()[1].title, QStringLiteral("Logdatei-Erzeugung"));
        QCOMPARE(script.boxes()[1].style, Mb::Exclamation);
        QCOMPARE(script.boxes()[1].text,
                 "Hinweis: es wird die Logdatei '" + m_logFile +
                     "' erzeugt!\r\n\r\nDas Erzeugen einer Logdatei kann die "
                     "Ausführungsgeschwindigkeit deutlich "
                     "verringern!");

        const QString other = m_env->root() + QStringLiteral("/other.log");
        VuSetLogging(true, other, 100);
        script.answer(Mb::Ok);
        VuShowError(QStringLiteral("Form_Load"));
        QCOMPARE(script.boxes().size(), 3);
        // No pending error: an empty error text between the separators, no module text.
        QVERIFY2(readAll(other).endsWith(": Fehler: Form_Load -  \r\n"),
                 readAll(other).constData());

        VuSetLogging(false, m_logFile, 100);
        QFile::remove(m_logFile);
        VuLog(LogLevel::Error, QStringLiteral("x"));
        script.answer(Mb::Ok);
        VuShowError(QStringLiteral("Form_Load"));
        QCOMPARE(script.boxes().size(), 4); // the error box only
        QVERIFY(!QFile::exists(m_logFile));
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

    // Appending converts as asked; where the file cannot be written a box says why.
    void append_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("conversion");
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<QString>("path");   // below the test's folder
        QTest::addColumn<QString>("reason"); // of the failure box; empty: appended

        const QString umlauts = QStringLiteral("Grüße: äöü ÄÖÜ ß");
        auto row = [](const char* tag, const QString& text, int conversion,
                      const QByteArray& written, const char* path = "/out.txt",
                      const char* reason = "") {
            QTest::newRow(tag) << text << conversion << written << path << reason;
        };
        row("0 writes UTF-8 and keeps trailing blanks", umlauts + "  ", 0,
            "Gr\xc3\xbc\xc3\x9f"
            "e: \xc3\xa4\xc3\xb6\xc3\xbc \xc3\x84\xc3\x96\xc3\x9c \xc3\x9f  \r\n");
        row("1 writes code page 850 without trailing blanks", umlauts + "   ", 1,
            "Gr\x81\xe1"
            "e: \x84\x94\x81 \x8e\x99\x9a \xe1\r\n");
        row("1 puts ? for a character code page 850 lacks", QStringLiteral("5 €"), 1, "5 ?\r\n");
        // Code page 850 bytes as a Latin-1 reading of a DOS file shows them.
        row("2 reads code page 850 and writes UTF-8",
            QString::fromLatin1("Gr\x81\xe1"
                                "e \x84\x94\x81 \x8e\x99\x9a  "),
            2,
            "Gr\xc3\xbc\xc3\x9f"
            "e \xc3\xa4\xc3\xb6\xc3\xbc \xc3\x84\xc3\x96\xc3\x9c\r\n");
        row("1 keeps at most 255 characters", QString(300, u'x'), 1, QByteArray(255, 'x') + "\r\n");
        row("2 keeps at most 255 characters", QString(254, u'x') + QString::fromLatin1("\x84\x84"),
            2, QByteArray(254, 'x') + "\xc3\xa4\r\n");
        row("1 blanks at the cut are dropped too", QString(250, u'x') + QString(10, u' ') + "yy", 1,
            QByteArray(250, 'x') + "\r\n");
        row("0 has no length limit", QString(300, u'x'), 0, QByteArray(300, 'x') + "\r\n");
        row("unknown conversion writes nothing", QStringLiteral("abc"), 3, {});
        const char* notFound = "Pfad nicht gefunden";
        row("folder missing", "Zeile", 0, {}, "/fehlt/zw.log", notFound);
        row("name is a folder", "Zeile", 0, {}, "/ordner", "Fehler beim Zugriff auf Pfad/Datei");
        row("a file stands where the folder should be", "Zeile", 0, {}, "/datei/zw.log", notFound);
    }
    void append()
    {
        QFETCH(QString, text);
        QFETCH(int, conversion);
        QFETCH(QByteArray, written);
        QFETCH(QString, path);
        QFETCH(QString, reason);

        QDir(m_env->root()).mkdir(QStringLiteral("ordner"));
        writeFile(m_env->root() + QStringLiteral("/datei"), "x");
        const QString file = m_env->root() + path;
        writeFile(m_env->root() + QStringLiteral("/out.txt"), "vorher\r\n");
        ScriptedUserInterface script;
        if (!reason.isEmpty())
            script.answer(Mb::Ok);
        QCOMPARE(VuAppendToFile(text, file, conversion), reason.isEmpty());
        QCOMPARE(script.boxes().size(), reason.isEmpty() ? 0 : 1);
        if (reason.isEmpty()) {
            QCOMPARE(readAll(file), "vorher\r\n" + written);
            return;
        }
        QCOMPARE(script.boxes()[0].text,
                 "Fehler beim Anfügen von Text an " + file + " (" + reason + ")");
        QCOMPARE(script.boxes()[0].style, Mb::OkCancel + Mb::Exclamation);
        QCOMPARE(script.boxes()[0].title, QStringLiteral("Fehler"));
    }

    // The log is cut to its last maxKB * 1000 bytes behind a marker, once it is 50000 bytes
    // beyond that; a cut that cannot be made leaves the log as it was.
    void cut_data()
    {
        QTest::addColumn<int>("maxKB");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QString>("tmp"); // "missing", "shm": the temporary folder
        QTest::addColumn<bool>("cut");
        QTest::newRow("1 KB, exactly limit + 50000: kept") << 1 << qint64(51000) << "" << false;
        QTest::newRow("1 KB, one byte more: cut") << 1 << qint64(51001) << "" << true;
        QTest::newRow("3 KB, far beyond: cut") << 3 << qint64(200000) << "" << true;
        QTest::newRow("100 KB, below the limit: kept") << 100 << qint64(90000) << "" << false;
        QTest::newRow("100 KB, limit counted in 1000 bytes: cut")
            << 100 << qint64(150001) << "" << true;
        QTest::newRow("0 KB is refused") << 0 << qint64(60000) << "" << false;
        QTest::newRow("temporary folder missing") << 1 << qint64(60000) << "missing" << false;
        QTest::newRow("temporary folder on another file system")
            << 2 << qint64(70000) << "shm" << true;
    }
    void cut()
    {
        QFETCH(int, maxKB);
        QFETCH(qint64, size);
        QFETCH(QString, tmp);
        QFETCH(bool, cut);

        QTemporaryDir otherTemp(QStringLiteral("/dev/shm/zw-XXXXXX"));
        if (tmp == u"shm") {
            struct stat a {
            }, b{};
            if (!otherTemp.isValid() ||
                stat(QFile::encodeName(m_env->root()).constData(), &a) != 0 ||
                stat(QFile::encodeName(otherTemp.path()).constData(), &b) != 0 ||
                a.st_dev == b.st_dev)
                QSKIP("no second file system for the temporary folder here");
        }
        const QByteArray old = numberedBytes(size);
        writeFile(m_logFile, old);
        QFile::setPermissions(m_logFile, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                             QFile::ReadOther);
        ScriptedUserInterface script;
        if (maxKB == 0)
            script.answer(Mb::Ok);
        std::optional<ScopedTmpDir> temp;
        if (tmp == u"shm")
            temp.emplace(otherTemp.path());
        else if (tmp == u"missing")
            temp.emplace(m_env->root() + QStringLiteral("/gibt-es-nicht"));
        VuCutFile(m_logFile, maxKB);
        temp.reset();
        QVERIFY(!vuLogSettings().cutting);
        const qint64 limit = qint64(maxKB) * 1000;
        QCOMPARE(script.beeps(), maxKB > 0 && size > limit + 50000 ? 1 : 0);
        QCOMPARE(script.boxes().size(), maxKB == 0 ? 1 : 0);
        if (maxKB == 0) {
            QCOMPARE(script.boxes()[0].text,
                     QStringLiteral("Fehler: MaxLength muß größer oder gleich 1 (KB) sein!\r\n\r\n"
                                    "in Modul VuCutFile"));
            QCOMPARE(script.boxes()[0].style, Mb::Exclamation);
        }
        const QByteArray now = readAll(m_logFile);
        if (!cut) {
            QCOMPARE(now, old);
            return;
        }
        QCOMPARE(now.size(), limit + 85);
        QCOMPARE(now.left(85), cutHeader());
        QVERIFY(now.mid(85) == old.right(limit));
        // The log keeps its permissions, not those of a private temporary file.
        QCOMPARE(QFile::permissions(m_logFile) & (QFile::ReadGroup | QFile::ReadOther),
                 QFile::ReadGroup | QFile::ReadOther);
        // Neither the temporary file nor a save file is left behind.
        QCOMPARE(QDir(otherTemp.path()).entryList(QDir::Files | QDir::NoDotAndDotDot).size(), 0);
        QCOMPARE(QDir(m_env->root()).entryList({QStringLiteral("zw.log*")}, QDir::Files).size(), 1);
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
