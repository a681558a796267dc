#include "tests/util/RegistryTestFiles.h"
#include "util/ClsRegistry.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLockFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QThread>
#include <cstdio>
#include <sys/stat.h>

namespace
{

// The text a writer process stores under its n-th value: long enough that a write takes a
// while, distinct for every value, so that a torn file could not pass for a complete one.
QString payload(const QString& prefix, int n)
{
    return QStringLiteral("%1-%2:").arg(prefix).arg(n) + QString(1500, QChar(u'a' + n % 26));
}

// A value as the program reads it; empty when it cannot be read.
QString valueOf(std::shared_ptr<FileRegistryBackend> backend, const QString& path,
                const QString& name)
{
    ClsRegistry reg(std::move(backend));
    reg.setKey(path);
    return reg.GetOptString(name);
}

long setText(FileRegistryBackend& b, const QString& path, const QString& name, const QString& text)
{
    HKey key = 0;
    long st = b.openKey(Reg::CurrentUser, path, Reg::SetValue, key);
    if (st)
        return st;
    RegistryData data;
    data.text = text;
    st = b.setValue(key, name, Reg::TypeSz, data, quint32(text.size() + 1));
    b.closeKey(key);
    return st;
}

void createAppKey(FileRegistryBackend& b)
{
    HKey key = 0;
    QCOMPARE(b.createKey(Reg::CurrentUser, kAppKey, Reg::AllSpecific, key, nullptr), Reg::Success);
    b.closeKey(key);
}

// The child side of the process tests: writes `count` values through the system's own
// registry object and acknowledges each completed write on standard output.
int runWriter(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 5)
        return 2;
    auto backend = std::make_shared<FileRegistryBackend>(args[2], args[2] + QStringLiteral("/m"));
    backend->setReporter(
        [](const QString& text) { std::fprintf(stderr, "report: %s\n", qPrintable(text)); });
    ClsRegistry reg(backend);
    reg.setKey(kAppKey);
    const QString prefix = args[3];
    const int count = args[4].toInt();
    for (int i = 1; i <= count; ++i) {
        if (!reg.SetString(prefix + QString::number(i), payload(prefix, i))) {
            std::fprintf(stderr, "%s\n", qPrintable(reg.ErrorDescription()));
            return 1;
        }
        std::printf("ok %d\n", i);
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

class TstFileRegistryBackend : public QObject
{
    Q_OBJECT

    std::unique_ptr<RegistryFolders> m_dirs;
    QStringList m_reports;

    QString folder() const { return m_dirs->folder(); }
    QString userFile() const { return m_dirs->userFile(); }
    std::shared_ptr<FileRegistryBackend> newBackend()
    {
        return m_dirs->backend([this](const QString& text) { m_reports << text; });
    }
    // This test program started again as a writer of `count` values named prefix1, prefix2, ...
    void startWriter(QProcess& child, const QString& prefix, int count)
    {
        child.start(
            QCoreApplication::applicationFilePath(),
            {QStringLiteral("--registry-writer"), folder(), prefix, QString::number(count)});
    }

private Q_SLOTS:
    void init()
    {
        m_dirs = std::make_unique<RegistryFolders>();
        m_reports.clear();
    }
    void cleanup() { m_dirs.reset(); }

    void defaultFolderFollowsTheConfigurationHome()
    {
        FileRegistryBackend b;
        QCOMPARE(b.fileOf(Reg::CurrentUser), userFile());
        QCOMPARE(b.fileOf(Reg::LocalMachine),
                 QStringLiteral("/etc/xdg/KVAR/registry/HKEY_LOCAL_MACHINE.reg"));
    }

    // The file is the registry's own export format, readable and editable by a person, and
    // reads back to the same values in a fresh object.
    void writesReadableRegeditText()
    {
        auto b = newBackend();
        createAppKey(*b);
        const QStringList names{"Pfad", "Name", "Zeilen", ""};
        const QStringList texts{"C:\\Vorlagen\\\"Brief\".dotx", "Müller", "a\r\nb", ""};
        for (int i = 0; i < names.size(); ++i)
            QCOMPARE(setText(*b, kAppKey, names[i], texts[i]), Reg::Success);
        HKey key = 0;
        QCOMPARE(b->openKey(Reg::CurrentUser, kAppKey, Reg::AllSpecific, key), Reg::Success);
        RegistryData d;
        d.number = 10;
        QCOMPARE(b->setValue(key, QStringLiteral("N"), Reg::TypeDword, d, 4), Reg::Success);
        b->closeKey(key);

        QCOMPARE(readAll(userFile()),
                 QByteArray("REGEDIT4\n\n"
                            "[HKEY_CURRENT_USER\\Software]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n"
                            "\"Pfad\"=\"C:\\\\Vorlagen\\\\\\\"Brief\\\".dotx\"\n"
                            "\"Name\"=\"M\xc3\xbcller\"\n"
                            "\"Zeilen\"=hex(1):61,0d,0a,62,00\n"
                            "@=\"\"\n"
                            "\"N\"=dword:0000000a\n\n"));
        auto fresh = newBackend();
        for (int i = 0; i < names.size(); ++i)
            QCOMPARE(valueOf(fresh, kAppKey, names[i]), texts[i]);
        QVERIFY(m_reports.isEmpty());
    }

    void readsHandWrittenFiles_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");
        const QByteArray head = "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n";
        auto row = [](const char* tag, const QByteArray& content, const QString& expected) {
            QTest::newRow(tag) << content << expected;
        };
        row("CR LF lines and a comment",
            "REGEDIT4\r\n\r\n; Einstellungen\r\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\r\n"
            "\"A\"=\"x\"\r\n",
            "x");
        row("key names in other case",
            "REGEDIT4\n[hkey_current_user\\SOFTWARE\\kvar\\zettelwerk]\n\"A\"=\"y\"\n", "y");
        row("hex(1) continued over lines", head + "\"A\"=hex(1):48,61,\\\n  6c,6c,6f,00\n",
            "Hallo");
        row("windows-1252 export from Windows",
            head + "\"A\"=\"Gr\xfc\xdf"
                   "e\"\n",
            QStringLiteral("Grüße"));
        row("a key 512 levels deep beside it",
            head + "\"A\"=\"x\"\n[HKEY_CURRENT_USER" + QByteArray("\\k").repeated(512) + "]\n",
            "x");
        row("version 5 header",
            "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]"
            "\n\"A\"=\"5\"\n",
            "5");
    }
    void readsHandWrittenFiles()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        writeFile(userFile(), content);
        auto b = newBackend();
        QCOMPARE(valueOf(b, kAppKey, QStringLiteral("A")), expected);
        QVERIFY(m_reports.isEmpty());
        QCOMPARE(readAll(userFile()), content); // reading never rewrites
    }

    // A damaged file found first by a reader or a writer is moved aside, reported once, and
    // the store goes on empty. A pipe is never opened (it would block), a huge file never read.
    void damagedFileIsKeptAndReportedOnce_data()
    {
        QTest::addColumn<QByteArray>("content"); // "pipe": a named pipe; "huge": 64 MB + 1 byte
        QTest::addColumn<bool>("writerFirst");
        QTest::addColumn<QString>("fault");
        const QByteArray head = "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\KVAR]\n";
        auto row = [](const char* tag, const QByteArray& content, const char* fault,
                      bool writerFirst = false) {
            QTest::newRow(tag) << content << writerFirst << fault;
        };
        row("no header", "[HKEY_CURRENT_USER\\Software]\n", "Zeile 1: Kopfzeile REGEDIT4 fehlt");
        row("string cut off", head + "\"Description\"=\"Kvars",
            "Zeile 4: Zeichenkette ohne schließendes");
        row("key line cut off", "REGEDIT4\n\n[HKEY_CURRENT_USER\\Softw",
            "Zeile 3: Schlüsselzeile ohne schließende Klammer");
        row("dword too long", head + "\"N\"=dword:123456789\n", "Zeile 4: ungültiger DWORD-Wert");
        row("key of another root", "REGEDIT4\n[HKEY_LOCAL_MACHINE\\X]\n",
            "Zeile 2: Schlüssel nicht unter HKEY_CURRENT_USER");
        row("value before any key", "REGEDIT4\n\"A\"=\"1\"\n", "Zeile 2: Wert ohne Schlüsselzeile");
        row("key nested a million levels",
            "REGEDIT4\n\n[HKEY_CURRENT_USER" + QByteArray("\\k").repeated(1000000) + "]\n",
            "Zeile 3: Schlüssel tiefer als 512 Ebenen");
        row("binary garbage", QByteArray("REGEDIT4\n\x01\x02\x03\n", 13),
            "Zeile 2: unbekannte Zeile");
        row("found by a writer", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"x\"=dword:zz\n",
            "Zeile 3: ungültiger DWORD-Wert", true);
        row("pipe", "pipe", "ist beschädigt (keine gewöhnliche Datei)", true);
        row("one byte over 64 MB", "huge", "ist beschädigt (größer als 64 MB)", true);
    }
    void damagedFileIsKeptAndReportedOnce()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, writerFirst);
        QFETCH(QString, fault);
        QDir().mkpath(folder());
        if (content == "pipe") {
            QCOMPARE(::mkfifo(QFile::encodeName(userFile()).constData(), 0600), 0);
        } else if (content == "huge") {
            QFile f(userFile());
            QVERIFY(f.open(QIODevice::WriteOnly) && f.resize((64LL << 20) + 1));
        } else {
            writeFile(userFile(), content);
        }
        auto b = newBackend();
        HKey key = 0;
        const QString kvar = QStringLiteral("Software\\KVAR");
        if (writerFirst)
            createAppKey(*b);
        else
            QCOMPARE(b->openKey(Reg::CurrentUser, kvar, Reg::Read, key), Reg::FileNotFound);
        QCOMPARE(m_reports.size(), 1);
        QVERIFY2(m_reports[0].contains(fault), qPrintable(m_reports[0]));
        QVERIFY(m_reports[0].startsWith("Die Registry-Datei '" + userFile() + "' ist beschädigt"));
        const QStringList backups = QDir(folder()).entryList(
            {QStringLiteral("HKEY_CURRENT_USER.reg.defekt-*")}, QDir::Files | QDir::System);
        QCOMPARE(backups.size(), 1);
        QVERIFY(
            QRegularExpression(QStringLiteral("^HKEY_CURRENT_USER\\.reg\\.defekt-\\d{8}-\\d{6}$"))
                .match(backups[0])
                .hasMatch());
        const QString backup = folder() + u'/' + backups[0];
        QVERIFY(m_reports[0].contains(backup));
        const bool regular = content != "pipe" && content != "huge";
        if (regular)
            QCOMPARE(readAll(backup), content);

        // Further reads and writes go on with an empty store, report nothing more and leave
        // the backup as it is.
        if (!writerFirst)
            QCOMPARE(b->openKey(Reg::CurrentUser, kvar, Reg::Read, key), Reg::FileNotFound);
        createAppKey(*b);
        QCOMPARE(setText(*b, kAppKey, QStringLiteral("A"), QStringLiteral("neu")), Reg::Success);
        QVERIFY(QFileInfo(userFile()).isFile());
        QCOMPARE(readAll(userFile()),
                 QByteArray("REGEDIT4\n\n[HKEY_CURRENT_USER\\Software]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n\"A\"=\"neu\"\n\n"));
        QCOMPARE(valueOf(newBackend(), kAppKey, QStringLiteral("A")), QStringLiteral("neu"));
        QCOMPARE(m_reports.size(), 1);
        if (regular)
            QCOMPARE(readAll(backup), content);
    }

    // Where a damaged file cannot be moved (the read-only store of the command line, the
    // system file), it stays as it is, is reported once, and the store serves what it can.
    void damagedFileStaysWhereItLies_data()
    {
        QTest::addColumn<bool>("system");
        QTest::newRow("user file of a read-only store") << false;
        QTest::newRow("system file") << true;
    }
    void damagedFileStaysWhereItLies()
    {
        QFETCH(bool, system);
        const QString path = system ? m_dirs->machineFile() : userFile();
        const HKey root = system ? Reg::LocalMachine : Reg::CurrentUser;
        const QByteArray broken =
            "REGEDIT4\n[" + QFileInfo(path).baseName().toLatin1() + "\\A]\n\"x\"=dword:zz\n";
        writeFile(path, broken);
        auto b = newBackend();
        auto c = newBackend();
        HKey key = 0;
        for (auto* backend : {b.get(), b.get(), c.get()}) {
            if (!system)
                backend->makeReadOnly();
            QCOMPARE(backend->openKey(root, QStringLiteral("A"), Reg::Read, key),
                     Reg::FileNotFound);
            // The synthesized system key is served all the same.
            QCOMPARE(backend->openKey(root,
                                      system ? QStringLiteral("Software\\Microsoft\\Windows NT\\"
                                                              "CurrentVersion")
                                             : QStringLiteral("Software"),
                                      Reg::Read, key),
                     Reg::Success);
            backend->closeKey(key);
        }
        if (!system) // the command line only reads
            QCOMPARE(
                setText(*b, QStringLiteral("Software"), QStringLiteral("B"), QStringLiteral("1")),
                Reg::AccessDenied);
        QCOMPARE(m_reports.size(), 1);
        QVERIFY(m_reports[0].endsWith(
            QStringLiteral("Sie bleibt unverändert; ihre Einstellungen werden nicht verwendet.")));
        QCOMPARE(readAll(path), broken);
        QCOMPARE(QDir(QFileInfo(path).path()).entryList(QDir::Files).size(), 1);
    }

    // What a writer killed mid-save left is removed by the next one; nothing else is.
    void nextWriterRemovesLeftovers()
    {
        auto b = newBackend();
        createAppKey(*b);
        const QStringList kept{"HKEY_CURRENT_USER.reg",
                               "HKEY_CURRENT_USER.reg.defekt-20260101-120000",
                               "HKEY_CURRENT_USER.reg.lock.rmlock", "HKEY_CURRENT_USER.reg.txt"};
        for (const QString& name :
             {kept[1], kept[3], QStringLiteral("HKEY_CURRENT_USER.reg.Ab12Cd")})
            writeFile(folder() + u'/' + name, "x");
        // The lock guarding stale-lock removal stays while its process lives ...
        const QString rmlockPath = folder() + u'/' + kept[2];
        QLockFile living(rmlockPath);
        QVERIFY(living.tryLock());
        QCOMPARE(setText(*b, kAppKey, QStringLiteral("A"), QStringLiteral("1")), Reg::Success);
        QCOMPARE(QDir(folder()).entryList(QDir::Files), kept);

        // ... and goes once its process is gone.
        QByteArray info = readAll(rmlockPath);
        living.unlock();
        QProcess gone;
        gone.start(QStringLiteral("true"));
        QVERIFY(gone.waitForStarted());
        const QByteArray deadPid = QByteArray::number(gone.processId());
        QVERIFY(gone.waitForFinished());
        writeFile(rmlockPath, info.replace(0, info.indexOf('\n'), deadPid));
        QCOMPARE(setText(*b, kAppKey, QStringLiteral("A"), QStringLiteral("2")), Reg::Success);
        QVERIFY(!QFileInfo::exists(rmlockPath));
    }

    // Freeing a tree never recurses, however deep it is.
    void deepTreeIsFreedWithoutDeepStack()
    {
        auto tree = std::make_unique<RegistryNode>();
        RegistryNode* node = tree.get();
        for (int i = 0; i < 1000000; ++i)
            node = &node->addChild(QStringLiteral("k"));
        tree.reset();
    }

    void namesCompareWithoutCase()
    {
        auto b = newBackend();
        createAppKey(*b);
        QCOMPARE(setText(*b, kAppKey, QStringLiteral("StartCount"), QStringLiteral("1")),
                 Reg::Success);
        QCOMPARE(setText(*b, QStringLiteral("SOFTWARE\\kvar\\ZETTELWERK"),
                         QStringLiteral("startcount"), QStringLiteral("2")),
                 Reg::Success);
        HKey key = 0;
        bool created = true;
        QCOMPARE(b->createKey(Reg::CurrentUser, QStringLiteral("software\\Kvar"), Reg::AllSpecific,
                              key, &created),
                 Reg::Success);
        QVERIFY(!created);
        b->closeKey(key);
        // One key, one value, spelled as first written.
        QCOMPARE(readAll(userFile()), QByteArray("REGEDIT4\n\n[HKEY_CURRENT_USER\\Software]\n\n"
                                                 "[HKEY_CURRENT_USER\\Software\\KVAR]\n\n"
                                                 "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]"
                                                 "\n\"StartCount\"=\"2\"\n\n"));
    }

    void callsKeepTheirStatusCodes_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<long>("status");
        QTest::newRow("open with an empty part") << "open empty part" << Reg::BadPathname;
        QTest::newRow("query into a short buffer") << "query short" << Reg::MoreData;
        QTest::newRow("query without the read right") << "query no right" << Reg::AccessDenied;
        QTest::newRow("set without the set right") << "set no right" << Reg::AccessDenied;
        QTest::newRow("enumerate without the right") << "enum no right" << Reg::AccessDenied;
        QTest::newRow("enumerate past the end") << "enum end" << Reg::NoMoreItems;
        QTest::newRow("a closed handle") << "closed handle" << Reg::InvalidHandle;
        QTest::newRow("a key another copy removed") << "removed key" << Reg::KeyDeleted;
        QTest::newRow("dword with a wrong size") << "dword size" << Reg::InvalidParameter;
        QTest::newRow("value name with a line break") << "name break" << Reg::InvalidParameter;
        QTest::newRow("key name with a line break") << "key break" << Reg::InvalidParameter;
        QTest::newRow("key 513 levels deep") << "too deep" << Reg::InvalidParameter;
        QTest::newRow("text with a lone surrogate") << "surrogate" << Reg::InvalidParameter;
    }
    void callsKeepTheirStatusCodes()
    {
        QFETCH(QString, call);
        QFETCH(long, status);
        auto b = newBackend();
        createAppKey(*b);
        QCOMPARE(setText(*b, kAppKey, QStringLiteral("A"), QStringLiteral("Wert")), Reg::Success);
        HKey key = 0;
        QCOMPARE(b->openKey(Reg::CurrentUser, kAppKey,
                            call.contains(QStringLiteral("no right")) ? Reg::CreateSubKey
                                                                      : Reg::AllSpecific,
                            key),
                 Reg::Success);
        quint32 type = 0, size = 0;
        RegistryData d;
        QString name;
        HKey other = 0;
        long got = -2;
        if (call == u"open empty part")
            got =
                b->openKey(Reg::CurrentUser, QStringLiteral("Software\\\\KVAR"), Reg::Read, other);
        else if (call == u"query short") {
            size = 3;
            got = b->queryValue(key, QStringLiteral("A"), &type, &d, &size);
            QCOMPARE(size, 5u); // "Wert" and the terminating zero
            // With the size it asked for, even an empty buffer is filled.
            QCOMPARE(b->queryValue(key, QStringLiteral("A"), &type, &d, &size), Reg::Success);
            QCOMPARE(d.text, QStringLiteral("Wert") + QChar(0));
        } else if (call == u"query no right")
            got = b->queryValue(key, QStringLiteral("A"), &type, nullptr, &size);
        else if (call == u"set no right")
            got = b->setValue(key, QStringLiteral("A"), Reg::TypeSz, d, 1);
        else if (call.startsWith(u"enum"))
            got = b->enumKey(key, 0, name, 256);
        else if (call == u"closed handle") {
            b->closeKey(key);
            got = b->queryValue(key, QStringLiteral("A"), &type, nullptr, &size);
        } else if (call == u"removed key") {
            writeFile(userFile(), "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\KVAR]\n");
            got = b->queryValue(key, QStringLiteral("A"), &type, nullptr, &size);
        } else if (call == u"name break")
            got = b->setValue(key, QStringLiteral("A\nB"), Reg::TypeSz, d, 1);
        else if (call == u"key break")
            got = b->createKey(key, QStringLiteral("A\nB"), Reg::AllSpecific, other, nullptr);
        else if (call == u"too deep") // below the three levels of the application key
            got = b->createKey(key, QStringList(510, QStringLiteral("k")).join(u'\\'),
                               Reg::AllSpecific, other, nullptr);
        else if (call == u"surrogate") {
            d.text = QStringLiteral("a") + QChar(0xD800);
            got = b->setValue(key, QStringLiteral("A"), Reg::TypeSz, d, 3);
        } else if (call == u"dword size")
            got = b->setValue(key, QStringLiteral("N"), Reg::TypeDword, d, 2);
        QCOMPARE(got, status);
    }

    // Another running copy writes; this one sees it on its next read.
    void readsSeeOtherWriters()
    {
        auto reader = newBackend();
        auto writer = newBackend();
        createAppKey(*writer);
        QCOMPARE(setText(*writer, kAppKey, QStringLiteral("A"), QStringLiteral("1")), Reg::Success);
        QCOMPARE(valueOf(reader, kAppKey, QStringLiteral("A")), QStringLiteral("1"));
        QCOMPARE(setText(*writer, kAppKey, QStringLiteral("A"), QStringLiteral("2")), Reg::Success);
        QCOMPARE(valueOf(reader, kAppKey, QStringLiteral("A")), QStringLiteral("2"));
        // A person's edit of the same size is seen too.
        writeFile(userFile(), kAppSection + "\"A\"=\"3\"\n");
        QCOMPARE(valueOf(reader, kAppKey, QStringLiteral("A")), QStringLiteral("3"));
        // ... and the reader's own write keeps the other's values.
        QCOMPARE(setText(*reader, kAppKey, QStringLiteral("B"), QStringLiteral("4")), Reg::Success);
        QCOMPARE(valueOf(writer, kAppKey, QStringLiteral("A")), QStringLiteral("3"));
        QCOMPARE(valueOf(writer, kAppKey, QStringLiteral("B")), QStringLiteral("4"));
    }

    void lockOfAnotherWriter_data()
    {
        QTest::addColumn<bool>("heldByLiveWriter");
        QTest::addColumn<long>("status");
        QTest::newRow("held by a running writer: gives up with 33") << true << Reg::LockViolation;
        QTest::newRow("empty lock of a writer killed while locking: taken over")
            << false << Reg::Success;
    }
    void lockOfAnotherWriter()
    {
        QFETCH(bool, heldByLiveWriter);
        QFETCH(long, status);
        auto b = newBackend();
        createAppKey(*b);
        b->setLockTimeout(1500);
        const QString lockPath = userFile() + QStringLiteral(".lock");
        QLockFile live(lockPath);
        if (heldByLiveWriter) {
            QVERIFY(live.tryLock());
        } else {
            writeFile(lockPath, QByteArray());
            QFile f(lockPath);
            QVERIFY(f.open(QIODevice::ReadWrite));
            QVERIFY(f.setFileTime(QDateTime::currentDateTime().addSecs(-5),
                                  QFileDevice::FileModificationTime));
        }
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(setText(*b, kAppKey, QStringLiteral("A"), QStringLiteral("1")), status);
        QVERIFY(clock.elapsed() < 1500 || heldByLiveWriter);
        QCOMPARE(valueOf(b, kAppKey, QStringLiteral("A")).isEmpty(), heldByLiveWriter);
    }

    // A writer killed at any moment leaves a valid store with every value whose write it
    // had completed.
    void writerKilledMidWriteLosesNothingCompleted()
    {
        auto b = newBackend();
        createAppKey(*b);
        QMap<QString, int> done; // acknowledged writes by prefix
        for (int round = 0; round < 6; ++round) {
            const QString prefix = QStringLiteral("K%1_").arg(round);
            QProcess child;
            startWriter(child, prefix, 100000);
            QVERIFY(child.waitForStarted());
            int acks = 0;
            auto countAcks = [&] {
                while (child.canReadLine())
                    acks += child.readLine().startsWith("ok ");
            };
            // Let it complete a few writes, then kill it at an arbitrary moment.
            while (acks < 5 + round * 3 && child.waitForReadyRead(10000))
                countAcks();
            QVERIFY2(acks > 0, child.readAllStandardError().constData());
            QThread::usleep(137 * (round + 1));
            child.kill();
            QVERIFY(child.waitForFinished());
            countAcks();
            done[prefix] = acks;
        }

        auto after = newBackend();
        for (auto it = done.cbegin(); it != done.cend(); ++it)
            for (int i = 1; i <= it.value(); ++i)
                QCOMPARE(valueOf(after, kAppKey, it.key() + QString::number(i)),
                         payload(it.key(), i));
        QVERIFY(m_reports.isEmpty());
        // No backups lie about (nothing was taken for corrupt); at most a stale lock of the
        // last child, which the next writer takes over, and QSaveFile's temporary link if a
        // kill hit the microseconds between its link and rename.
        const QRegularExpression allowed(
            QStringLiteral("^HKEY_CURRENT_USER\\.reg(\\.lock|\\.[A-Za-z0-9]{6})?$"));
        for (const QString& f : QDir(folder()).entryList(QDir::Files))
            QVERIFY2(allowed.match(f).hasMatch() && !f.contains(QStringLiteral("defekt")),
                     qPrintable(f));
        QCOMPARE(setText(*after, kAppKey, QStringLiteral("Danach"), QStringLiteral("ja")),
                 Reg::Success);
    }

    void twoWritersAtOnceKeepEveryValue()
    {
        auto b = newBackend();
        createAppKey(*b);
        const int count = 40;
        QProcess children[2];
        const QString prefixes[2] = {QStringLiteral("A"), QStringLiteral("B")};
        for (int c = 0; c < 2; ++c)
            startWriter(children[c], prefixes[c], count);
        for (QProcess& child : children) {
            QVERIFY(child.waitForFinished(120000));
            QVERIFY2(child.exitCode() == 0, child.readAllStandardError().constData());
        }
        auto after = newBackend();
        for (const QString& prefix : prefixes)
            for (int i = 1; i <= count; ++i)
                QCOMPARE(valueOf(after, kAppKey, prefix + QString::number(i)), payload(prefix, i));
        QVERIFY(!QFileInfo::exists(userFile() + QStringLiteral(".lock")));
        QVERIFY(m_reports.isEmpty());
    }
};

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--registry-writer") == 0)
        return runWriter(argc, argv);
    QCoreApplication app(argc, argv);
    TstFileRegistryBackend tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_fileregistrybackend.moc"
