#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "tests/util/RegistryTestFiles.h"
#include "util/AppInfo.h"
#include "util/ClsRegistry.h"
#include "util/FileRegistryBackend.h"

#include <QDir>
#include <QFile>
#include <QSysInfo>
#include <QTest>

namespace
{

const QString kAppKey = QStringLiteral("Software\\KVAR\\Zettelwerk");
const QString kNtKey = QStringLiteral("Software\\Microsoft\\Windows NT\\CurrentVersion");
const QString kFail = QStringLiteral("Fehler bei Registry-Zugriff");
const QString kAt = QStringLiteral(", HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk");

// The real file store with, optionally, a second one reachable as the remote computer
// "ZENTRALE" (the only stand-in is the network between them), and one chosen call failing
// with a chosen status: for the codes the file store itself never produces (67, 1210, ...).
class TestBackend final : public RegistryBackend
{
public:
    explicit TestBackend(std::shared_ptr<FileRegistryBackend> local,
                         std::shared_ptr<FileRegistryBackend> remote = {})
        : m_local(std::move(local)), m_remote(std::move(remote))
    {
    }
    QString failing; // "open", "create", "query", "set", "delete", "enum"
    long status = 0;

    long openKey(HKey k, const QString& s, quint32 a, HKey& r) override
    {
        return failing == u"open" ? status : tagged(on(k).openKey(plain(k), s, a, r), k, r);
    }
    long createKey(HKey k, const QString& s, quint32 a, HKey& r, bool* c) override
    {
        return failing == u"create" ? status : tagged(on(k).createKey(plain(k), s, a, r, c), k, r);
    }
    long queryValue(HKey k, const QString& n, quint32* t, RegistryData* d, quint32* s) override
    {
        return failing == u"query" ? status : on(k).queryValue(plain(k), n, t, d, s);
    }
    long setValue(HKey k, const QString& n, quint32 t, const RegistryData& d, quint32 s) override
    {
        return failing == u"set" ? status : on(k).setValue(plain(k), n, t, d, s);
    }
    long deleteValue(HKey k, const QString& n) override
    {
        return failing == u"delete" ? status : on(k).deleteValue(plain(k), n);
    }
    long enumKey(HKey k, quint32 i, QString& n, quint32 b) override
    {
        return failing == u"enum" ? status : on(k).enumKey(plain(k), i, n, b);
    }
    long closeKey(HKey k) override { return on(k).closeKey(plain(k)); }
    long connectRegistry(const QString& m, HKey k, HKey& r) override
    {
        if (!m_remote || m != u"\\\\ZENTRALE")
            return m_local->connectRegistry(m, k, r);
        r = k | kRemoteTag;
        return Reg::Success;
    }

private:
    static constexpr HKey kRemoteTag = 0x40000000u;
    RegistryBackend& on(HKey k) { return (k & kRemoteTag) ? *m_remote : *m_local; }
    static HKey plain(HKey k) { return k & ~kRemoteTag; }
    static long tagged(long status, HKey via, HKey& result)
    {
        if (status == Reg::Success && (via & kRemoteTag))
            result |= kRemoteTag;
        return status;
    }
    std::shared_ptr<FileRegistryBackend> m_local, m_remote;
};

// Runs one operation written as "GetString Wert", "CreateSubKey Neu", ...; true on success.
bool runOperation(ClsRegistry& reg, const QString& call, QString& out)
{
    const QString op = call.section(u' ', 0, 0);
    const QString name = call.section(u' ', 1);
    if (op == u"GetString")
        return reg.GetString(name, out);
    if (op == u"GetOptString")
        return reg.GetOptString(name, 7) != u"7"; // the default means failure
    if (op == u"GetOptBool")
        return !reg.GetOptBool(name, true);
    if (op == u"SetString")
        return reg.SetString(name, QStringLiteral("y"));
    if (op == u"SetBool")
        return reg.SetBool(name, true);
    if (op == u"DeleteValue")
        return reg.DeleteValue(name);
    if (op == u"CreateSubKey")
        return reg.CreateSubKey(name);
    if (op == u"EnumKeys")
        return reg.EnumKeys(true, out);
    if (op == u"Connect")
        return reg.ConnectRemoteComputer(name);
    return true;
}

} // namespace

class TstClsRegistry : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<ScriptedUserInterface> m_ui;

    QString folder() const { return m_env->configHome() + QStringLiteral("/KVAR/registry"); }
    QString userFile() const { return folder() + QStringLiteral("/HKEY_CURRENT_USER.reg"); }
    QString machineFolder() const { return m_env->root() + QStringLiteral("/machine"); }
    QString machineFile() const
    {
        return machineFolder() + QStringLiteral("/HKEY_LOCAL_MACHINE.reg");
    }
    std::shared_ptr<FileRegistryBackend> fileBackend(const QString& userFolder = {})
    {
        auto b = std::make_shared<FileRegistryBackend>(userFolder.isEmpty() ? folder() : userFolder,
                                                       machineFolder());
        b->setReporter([](const QString& text) { QFAIL(qPrintable(text)); });
        b->setOsReleaseFile(m_env->root() + QStringLiteral("/os-release"));
        return b;
    }
    // The application key with one value and one sub-key, as after a few runs.
    void writeAppKey()
    {
        writeFile(userFile(), "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n"
                              "\"Wert\"=\"x\"\n\n"
                              "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Sub]\n");
    }

private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        writeFile(m_env->root() + QStringLiteral("/os-release"),
                  "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\n"
                  "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
    }
    void cleanup()
    {
        m_ui.reset();
        m_env.reset();
    }

    // Rows with a failing call use the fault; the others are the file store's own failures.
    void errorTexts_data()
    {
        QTest::addColumn<QString>("key"); // root and key
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("failing");
        QTest::addColumn<long>("status");
        QTest::addColumn<bool>("detail");
        QTest::addColumn<QString>("remote");
        QTest::addColumn<QString>("expected");
        const QString app = QStringLiteral("HKEY_CURRENT_USER\\") + kAppKey;
        const QString nt = QStringLiteral("HKEY_LOCAL_MACHINE\\") + kNtKey;
        const QString open = kFail + QStringLiteral(" beim Öffnen: ");
        const struct {
            long status;
            const char* text;
        } statuses[] = {{2, "Datei nicht gefunden"},     {5, "Zugriff verweigert"},
                        {53, "Ungültiger Netzwerkpfad"}, {67, "Netzwerkname nicht gefunden"},
                        {87, "Ungültige(r) Parameter"},  {259, "Keine weiteren Daten"},
                        {1210, "Zugriff nicht möglich"}, {1018, "<unbekannter Fehler: 1018"},
                        {6, "<unbekannter Fehler: 6"}};
        for (const auto& s : statuses)
            QTest::addRow("status %ld", s.status)
                << app << "GetString Wert"
                << "open" << s.status << true << "" << open + s.text + kAt;
        auto row = [&](const char* name, const QString& key, const char* call, const char* failing,
                       long status, bool detail, const char* remote, const QString& expected) {
            QTest::newRow(name) << key << call << failing << status << detail << remote << expected;
        };
        row("reading a value", app, "GetString Wert", "query", 1210, true, "",
            kFail + " beim Lesen: Zugriff nicht möglich" + kAt);
        row("setting: with the value's name", app, "SetString Wert", "set", 5, true, "",
            kFail + " beim Setzen von Wert: Zugriff verweigert" + kAt);
        row("setting, opening fails", app, "SetString Wert", "open", 2, true, "",
            open + "Datei nicht gefunden" + kAt);
        row("deleting: with the value's name", app, "DeleteValue Wert", "delete", 87, true, "",
            kFail + " beim Löschen von Wert: Ungültige(r) Parameter" + kAt);
        row("creating a key", app, "CreateSubKey Neu", "create", 5, true, "",
            kFail + " beim Anlegen: Zugriff verweigert" + kAt);
        row("enumerating", app, "EnumKeys", "enum", 1018, true, "",
            kFail + " beim EnumKeys: <unbekannter Fehler: 1018" + kAt);
        row("without detail part", app, "GetString Wert", "open", 2, false, "",
            open + "Datei nicht gefunden");
        row("with the remote computer's name", app, "GetString Wert", "query", 67, true, "PC1",
            kFail + " auf 'PC1' beim Lesen: Netzwerkname nicht gefunden" + kAt);
        row("remote name without detail part", app, "DeleteValue Wert", "delete", 2, false, "PC1",
            kFail + " auf 'PC1' beim Löschen von Wert: Datei nicht gefunden");
        row("store: connecting, no remote registry here", app, "Connect PC1", "", 0, true, "PC1",
            kFail + " auf 'PC1' beim RemoteConnect: Ungültiger Netzwerkpfad" + kAt);
        row("store: missing key", "HKEY_CURRENT_USER\\Software\\Fehlt", "GetString Wert", "", 0,
            true, "", open + "Datei nicht gefunden, HKEY_CURRENT_USER\\Software\\Fehlt");
        row("store: enumerating a missing key", "HKEY_CURRENT_USER\\Software\\Fehlt", "EnumKeys",
            "", 0, true, "", open + "Datei nicht gefunden, HKEY_CURRENT_USER\\Software\\Fehlt");
        row("store: missing value", app, "GetString Fehlt", "", 0, true, "",
            kFail + " beim Lesen: Datei nicht gefunden" + kAt);
        row("store: deleting a missing value", app, "DeleteValue Fehlt", "", 0, true, "",
            kFail + " beim Löschen von Fehlt: Datei nicht gefunden" + kAt);
        row("store: value of another type", app, "GetString Pfad", "", 0, true, "",
            kFail + " beim Lesen: <unbekannter Fehler: -1" + kAt);
        row("store: machine key, setting", nt, "SetString Wert", "", 0, true, "",
            kFail + " beim Setzen von Wert: Zugriff verweigert, " + nt);
        row("store: machine key, deleting", nt, "DeleteValue CSDVersion", "", 0, true, "",
            kFail + " beim Löschen von CSDVersion: Zugriff verweigert, " + nt);
        row("store: machine key, creating", nt, "CreateSubKey Neu", "", 0, true, "",
            kFail + " beim Anlegen: Zugriff verweigert, " + nt);
    }
    void errorTexts()
    {
        QFETCH(QString, key);
        QFETCH(QString, call);
        QFETCH(QString, failing);
        QFETCH(long, status);
        QFETCH(bool, detail);
        QFETCH(QString, remote);
        QFETCH(QString, expected);
        writeFile(userFile(), "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n"
                              "\"Wert\"=\"x\"\n\"Pfad\"=hex(2):25,54,45,4d,50,25,00\n");
        auto backend = std::make_shared<TestBackend>(fileBackend());
        ClsRegistry reg(backend);
        reg.setRootKey(key.section(u'\\', 0, 0));
        reg.setKey(key.section(u'\\', 1));
        reg.setDetailedErrorDescription(detail);
        // A failed connect keeps the name, and every later text names the computer.
        if (!remote.isEmpty())
            QVERIFY(!reg.ConnectRemoteComputer(remote));
        backend->failing = failing;
        backend->status = status;
        QString out;
        QVERIFY(!runOperation(reg, call, out));
        QCOMPARE(reg.ErrorDescription(), expected);
        QVERIFY(!QFileInfo::exists(machineFile()));
    }

    void emptyKeyTouchesNoRegistry_data()
    {
        QTest::addColumn<QString>("call");
        for (const char* call : {"GetString A", "GetOptString A", "GetOptBool A", "SetString A",
                                 "SetBool A", "DeleteValue A", "CreateSubKey A", "EnumKeys"})
            QTest::newRow(call) << QString::fromLatin1(call);
    }
    void emptyKeyTouchesNoRegistry()
    {
        QFETCH(QString, call);
        ClsRegistry reg(fileBackend());
        QString out = QStringLiteral("unverändert");
        QVERIFY(!runOperation(reg, call, out));
        QCOMPARE(reg.ErrorDescription(), QStringLiteral("Registry-Key nicht gesetzt"));
        QCOMPARE(out, QStringLiteral("unverändert"));
        QVERIFY(!QFileInfo::exists(folder()));
    }

    void rootKeySetter_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("rootAfter");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("file");
        const QString odd =
            kFail + QStringLiteral(" beim RemoteConnect: Ungültiger Registry-RootKey: '");
        QTest::newRow("HKEY_CLASSES_ROOT")
            << "HKEY_CLASSES_ROOT"
            << "HKEY_CLASSES_ROOT" << QString() << "HKEY_CLASSES_ROOT.reg";
        QTest::newRow("HKEY_USERS: the established odd wording")
            << "HKEY_USERS"
            << "HKEY_CURRENT_USER"
            << odd + "HKEY_USERS': <kein Fehler>, HKEY_CURRENT_USER\\Software\\KVAR"
            << "HKEY_CURRENT_USER.reg";
        QTest::newRow("lower case is rejected")
            << "hkey_current_user"
            << "HKEY_CURRENT_USER"
            << odd + "hkey_current_user': <kein Fehler>, HKEY_CURRENT_USER\\Software\\KVAR"
            << "HKEY_CURRENT_USER.reg";
        QTest::newRow("empty name is rejected")
            << ""
            << "HKEY_CURRENT_USER" << odd + "': <kein Fehler>, HKEY_CURRENT_USER\\Software\\KVAR"
            << "HKEY_CURRENT_USER.reg";
    }
    void rootKeySetter()
    {
        QFETCH(QString, name);
        QFETCH(QString, rootAfter);
        QFETCH(QString, error);
        QFETCH(QString, file);
        writeFile(folder() + QStringLiteral("/HKEY_CLASSES_ROOT.reg"),
                  "REGEDIT4\n[HKEY_CLASSES_ROOT\\Software]\n");
        ClsRegistry reg(fileBackend());
        reg.setKey(QStringLiteral("Software\\KVAR"));
        reg.setRootKey(name);
        QCOMPARE(reg.RootKey(), rootAfter);
        QCOMPARE(reg.ErrorDescription(), error);
        // The root handle follows the text: the next key lands in that root's file only.
        reg.setKey(QStringLiteral("Software"));
        QVERIFY(reg.CreateSubKey(QStringLiteral("KVAR")));
        for (const QString& f : QDir(folder()).entryList(QDir::Files))
            QCOMPARE(readAll(folder() + u'/' + f).contains("\\Software\\KVAR]"), f == file);
    }

    void emptyTextIsStoredAsNullMarker()
    {
        writeAppKey();
        ClsRegistry reg(fileBackend());
        reg.setKey(kAppKey);
        QVERIFY(reg.SetString(QStringLiteral("Leer"), QString()));
        QVERIFY(readAll(userFile()).contains("\"Leer\"=\"#NULL#\"\n"));
        QString out = QStringLiteral("x");
        QVERIFY(reg.GetString(QStringLiteral("Leer"), out));
        QCOMPARE(out, QString());
        QCOMPARE(reg.ErrorDescription(), QString());
        // Read successfully, so the default does not apply.
        QCOMPARE(reg.GetOptString(QStringLiteral("Leer"), QStringLiteral("Vorgabe")), QString());
    }

    // A text comes back exactly as set, control characters and U+0000 included.
    void textsReadBackExactly_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("NUL inside") << QStringLiteral("a") + QChar(0) + QStringLiteral("b");
        QTest::newRow("NUL at the end") << QStringLiteral("ab") + QChar(0);
        QTest::newRow("only NUL") << QString(QChar(0));
        QTest::newRow("line break, tab and umlaut") << QStringLiteral("Zeile 1\r\n\tMüller");
    }
    void textsReadBackExactly()
    {
        QFETCH(QString, text);
        writeAppKey();
        {
            ClsRegistry reg(fileBackend());
            reg.setKey(kAppKey);
            QVERIFY(reg.SetString(QStringLiteral("Text"), text));
        }
        ClsRegistry reg(fileBackend());
        reg.setKey(kAppKey);
        QString out;
        QVERIFY(reg.GetString(QStringLiteral("Text"), out));
        QCOMPARE(out, text);
    }

    void getOptString_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("fallback");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("error");
        auto row = [](const char* tag, const QString& key, const char* name,
                      const QVariant& fallback, const char* expected, const QString& error) {
            QTest::newRow(tag) << key << name << fallback << expected << error;
        };
        const QString read = kFail + " beim Lesen: Datei nicht gefunden" + kAt;
        row("missing value, default 1", kAppKey, "Fehlt", 1, "1", read);
        row("missing value, no default", kAppKey, "Fehlt", {}, "", read);
        row("missing value, default True", kAppKey, "Fehlt", true, "True", read);
        row("missing key, default text", "Software\\KVAR\\Fehlt", "Wert", "Vorgabe", "Vorgabe",
            kFail + " beim Öffnen: Datei nicht gefunden, HKEY_CURRENT_USER\\Software\\KVAR\\Fehlt");
        row("stored value wins", kAppKey, "Wert", 1, "x", "");
        row("value names without regard to case", kAppKey, "WERT", {}, "x", "");
    }
    void getOptString()
    {
        QFETCH(QString, key);
        QFETCH(QString, name);
        QFETCH(QVariant, fallback);
        QFETCH(QString, expected);
        QFETCH(QString, error);
        writeAppKey();
        ClsRegistry reg(fileBackend());
        reg.setKey(key);
        QCOMPARE(reg.GetOptString(name, fallback), expected);
        QCOMPARE(reg.ErrorDescription(), error);
    }

    void getOptBool_data()
    {
        QTest::addColumn<QByteArray>("stored"); // the value's line, empty: no value
        QTest::addColumn<QVariant>("fallback");
        QTest::addColumn<bool>("expected");
        auto row = [](const char* tag, const char* stored, const QVariant& fallback,
                      bool expected) {
            QTest::newRow(tag) << QByteArray(stored) << fallback << expected;
        };
        // "True" and "False" as SetBool writes them: see setBoolReadsBack.
        row("true in lower case", "\"true\"", {}, true);
        row("FALSE in upper case", "\"FALSE\"", true, false);
        row("Wahr", "\"Wahr\"", {}, true);
        row("falsch", "\"falsch\"", true, false);
        row("-1 as the old programs stored it", "\"-1\"", {}, true);
        row("0", "\"0\"", true, false);
        row("2", "\"2\"", {}, true);
        row("0,0 German decimal", "\"0,0\"", true, false);
        row("a DWORD 1", "dword:00000001", {}, true);
        row("abc is no boolean", "\"abc\"", true, false);
        row("#NULL# is no boolean", "\"#NULL#\"", true, false);
        row("missing, no default", "", {}, false);
        row("missing, default true", "", true, true);
        row("missing, default text True", "", "True", true);
        row("missing, default 0", "", 0, false);
        row("missing, default 1", "", 1, true);
        row("missing, default abc", "", "abc", false);
    }
    void getOptBool()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QVariant, fallback);
        QFETCH(bool, expected);
        QByteArray content = "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n";
        if (!stored.isEmpty())
            content += "\"Flag\"=" + stored + "\n";
        writeFile(userFile(), content);
        ClsRegistry reg(fileBackend());
        reg.setKey(kAppKey);
        QCOMPARE(reg.GetOptBool(QStringLiteral("Flag"), fallback), expected);
    }

    void setBoolReadsBack_data()
    {
        QTest::addColumn<bool>("value");
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("true") << true << QByteArray("\"Flag\"=\"True\"\n");
        QTest::newRow("false") << false << QByteArray("\"Flag\"=\"False\"\n");
    }
    void setBoolReadsBack()
    {
        QFETCH(bool, value);
        QFETCH(QByteArray, line);
        writeAppKey();
        ClsRegistry reg(fileBackend());
        reg.setKey(kAppKey);
        QVERIFY(reg.SetBool(QStringLiteral("Flag"), value));
        QVERIFY(readAll(userFile()).contains(line));
        QCOMPARE(reg.GetOptBool(QStringLiteral("Flag"), !value), value);
    }

    void dwordReadsAsSignedDecimal_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("expected");
        QTest::newRow("10") << QByteArray("dword:0000000a") << "10";
        QTest::newRow("all bits set is -1") << QByteArray("dword:ffffffff") << "-1";
    }
    void dwordReadsAsSignedDecimal()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, expected);
        writeFile(userFile(), "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n\"N\"=" +
                                  stored + "\n");
        ClsRegistry reg(fileBackend());
        reg.setKey(kAppKey);
        QString out;
        QVERIFY(reg.GetString(QStringLiteral("N"), out));
        QCOMPARE(out, expected);
    }

    void enumKeysListsSubKeysThenEmpty()
    {
        writeFile(userFile(), "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Beta]\n"
                              "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\alpha]\n"
                              "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Gamma\\Tief]\n");
        ClsRegistry reg(fileBackend());
        reg.setKey(kAppKey);
        const QString notOpened = kFail + " beim EnumKeys: not opened: <kein Fehler>" + kAt;
        // Going on without a start is an error that leaves the name alone.
        QString name = QStringLiteral("vorher");
        QVERIFY(!reg.EnumKeys(false, name));
        QCOMPARE(name, QStringLiteral("vorher"));
        QCOMPARE(reg.ErrorDescription(), notOpened);
        QStringList names;
        QVERIFY(reg.EnumKeys(true, name));
        while (!name.isEmpty()) {
            names << name;
            QVERIFY(reg.EnumKeys(false, name));
        }
        QCOMPARE(names, (QStringList{"alpha", "Beta", "Gamma"}));
        QCOMPARE(reg.ErrorDescription(), QString());
        // The enumeration is over: going on is an error, not a crash.
        QVERIFY(!reg.EnumKeys(false, name));
        QCOMPARE(reg.ErrorDescription(), notOpened);
        // A new start lists again from the first one.
        QVERIFY(reg.EnumKeys(true, name));
        QCOMPARE(name, QStringLiteral("alpha"));
        // A key without sub-keys: true and empty at once.
        reg.setKey(kAppKey + QStringLiteral("\\Beta"));
        QVERIFY(reg.EnumKeys(true, name));
        QCOMPARE(name, QString());
        QCOMPARE(reg.ErrorDescription(), QString());
    }

    void createSubKeyNewAndExisting()
    {
        writeAppKey();
        ClsRegistry reg(fileBackend());
        reg.setKey(kAppKey);
        QVERIFY(reg.CreateSubKey(QStringLiteral("Neu\\Tiefer")));
        QVERIFY(reg.CreateSubKey(QStringLiteral("SUB")));
        QCOMPARE(reg.ErrorDescription(), QString());
        QCOMPARE(readAll(userFile()),
                 QByteArray("REGEDIT4\n\n[HKEY_CURRENT_USER\\Software]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n\"Wert\"=\"x\"\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Neu]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Neu\\Tiefer]\n\n"
                            "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Sub]\n\n"));
    }

    // While connected, reads come from the remote computer, writes go to the local one.
    void remoteReadLocalWrite()
    {
        const QString remoteFolder = m_env->root() + QStringLiteral("/zentrale");
        writeFile(userFile(), "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n"
                              "\"Ort\"=\"lokal\"\n");
        writeFile(remoteFolder + QStringLiteral("/HKEY_CURRENT_USER.reg"),
                  "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n\"Ort\"=\"zentral\"\n"
                  "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Fern]\n");
        const QByteArray remoteBefore =
            readAll(remoteFolder + QStringLiteral("/HKEY_CURRENT_USER.reg"));
        ClsRegistry reg(std::make_shared<TestBackend>(fileBackend(), fileBackend(remoteFolder)));
        reg.setKey(kAppKey);
        QVERIFY(reg.ConnectRemoteComputer(QStringLiteral("ZENTRALE")));
        QCOMPARE(reg.ErrorDescription(), QString());

        QCOMPARE(reg.GetOptString(QStringLiteral("Ort")), QStringLiteral("zentral"));
        QString name;
        QVERIFY(reg.EnumKeys(true, name));
        QCOMPARE(name, QStringLiteral("Fern"));
        QVERIFY(reg.SetString(QStringLiteral("Neu"), QStringLiteral("hier")));
        QVERIFY(reg.CreateSubKey(QStringLiteral("Lokal")));
        QVERIFY(reg.DeleteValue(QStringLiteral("Ort")));
        QCOMPARE(readAll(remoteFolder + QStringLiteral("/HKEY_CURRENT_USER.reg")), remoteBefore);
        QVERIFY(readAll(userFile()).contains("\"Neu\"=\"hier\""));
        QVERIFY(!readAll(userFile()).contains("\"Ort\""));
        // What was just written locally is not to be read remotely.
        QCOMPARE(reg.GetOptString(QStringLiteral("Neu"), QStringLiteral("-")), QStringLiteral("-"));
        QCOMPARE(reg.ErrorDescription(),
                 kFail + " auf 'ZENTRALE' beim Lesen: Datei nicht gefunden" + kAt);

        reg.DisconnectRemoteComputer();
        QCOMPARE(reg.GetOptString(QStringLiteral("Neu")), QStringLiteral("hier"));
        QVERIFY(!reg.GetString(QStringLiteral("Ort"), name));
        QVERIFY(!reg.ErrorDescription().contains(QStringLiteral("ZENTRALE")));
    }

    void connectWithEmptyNameMakesNoCall()
    {
        ClsRegistry reg(fileBackend());
        reg.setRootKey(QStringLiteral("HKEY_USERS")); // leaves a text behind
        const QString before = reg.ErrorDescription();
        QVERIFY(!reg.ConnectRemoteComputer(QString()));
        QCOMPARE(reg.ErrorDescription(), before);
    }

    void registerApp_data()
    {
        QTest::addColumn<QByteArray>("before"); // the user's file, empty: none
        QTest::addColumn<QString>("rootKey");
        QTest::addColumn<QString>("appPath");
        QTest::addColumn<bool>("showMessage");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("result");
        QTest::addColumn<bool>("first");
        QTest::addColumn<QStringList>("boxes"); // texts
        QTest::addColumn<QList<int>>("styles");
        QTest::addColumn<QString>("description"); // of the company key afterwards

        const QString defaultMessage = QStringLiteral(
            "Dies ist der erste Start der Anwendung 'Zettelwerk'\r\nDie Anwendung wird jetzt "
            "registriert!");
        const QByteArray registered = "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR]\n"
                                      "\"Description\"=\"Kvarsystem\"\n"
                                      "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n"
                                      "\"CurrentVersion\"=\"0.9.1\"\n";
        auto row = [](const char* tag, const QByteArray& before, const char* root,
                      const char* appPath, bool show, const char* message, bool result, bool first,
                      const QString& box, int style, const char* description) {
            QTest::newRow(tag) << before << root << appPath << show << message << result << first
                               << (box.isEmpty() ? QStringList() : QStringList{box})
                               << (box.isEmpty() ? QList<int>() : QList<int>{style}) << description;
        };
        const char* cu = "HKEY_CURRENT_USER";
        const int info = Mb::Information;
        row("first start, default message", {}, cu, "Zettelwerk", true, "", true, true,
            defaultMessage, info, "Kvarsystem");
        row("first start, own message", {}, cu, "Zettelwerk", true, "Willkommen!", true, true,
            "Willkommen!", info, "Kvarsystem");
        row("first start without message", {}, cu, "Zettelwerk", false, "Willkommen!", true, true,
            "", 0, "Kvarsystem");
        row("second start shows nothing", registered, cu, "Zettelwerk", true, "", true, false, "",
            0, "Kvarsystem");
        row("company described by another program keeps its text",
            "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR]\n\"Description\"=\"Andere\"\n", cu,
            "Zettelwerk", true, "Hallo", true, true, "Hallo", info, "Andere");
        row("empty version counts as first start",
            "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n"
            "\"CurrentVersion\"=\"#NULL#\"\n",
            cu, "Zettelwerk", true, "Hallo", true, true, "Hallo", info, "Kvarsystem");
        row("no AppPath", {}, cu, "", true, "", false, true,
            "RegisterApp Fehler: AppPath nicht gesetzt", Mb::OkOnly, "");
        row("read-only root: the failing step's text", {}, "HKEY_LOCAL_MACHINE", "Zettelwerk", true,
            "", false, true,
            "RegisterApp Fehler: " + kFail +
                " beim Anlegen: Zugriff verweigert, HKEY_LOCAL_MACHINE\\Software",
            Mb::OkOnly, "");
    }
    void registerApp()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, rootKey);
        QFETCH(QString, appPath);
        QFETCH(bool, showMessage);
        QFETCH(QString, message);
        QFETCH(bool, result);
        QFETCH(bool, first);
        QFETCH(QStringList, boxes);
        QFETCH(QList<int>, styles);
        QFETCH(QString, description);
        if (!before.isEmpty())
            writeFile(userFile(), before);
        for (qsizetype i = 0; i < boxes.size(); ++i)
            m_ui->answer(Mb::Ok);

        ClsRegistry reg(fileBackend());
        reg.setRootKey(rootKey);
        reg.setAppPath(appPath);
        bool bFirst = !first;
        QCOMPARE(reg.RegisterApp(showMessage, bFirst, message), result);
        QCOMPARE(bFirst, first);
        QStringList texts;
        QList<int> gotStyles;
        for (const auto& box : m_ui->boxes()) {
            texts << box.text;
            gotStyles << box.style;
            QCOMPARE(box.title, QString()); // the program's title
        }
        QCOMPARE(texts, boxes);
        QCOMPARE(gotStyles, styles);
        if (!result)
            return;

        QCOMPARE(reg.AppKey(), kAppKey);
        QCOMPARE(reg.Key(), kAppKey);
        ClsRegistry check(fileBackend());
        check.setKey(QStringLiteral("Software\\KVAR"));
        QCOMPARE(check.GetOptString(QStringLiteral("Description")), description);
        check.setKey(kAppKey);
        QCOMPARE(check.GetOptString(QStringLiteral("CurrentVersion")),
                 first ? AppInfo::versionText() : QStringLiteral("0.9.1"));
    }

    void windowsInfo_data()
    {
        QTest::addColumn<QByteArray>("machine"); // the system file, empty: none
        QTest::addColumn<QStringList>("expected");
        const QString kernel = QSysInfo::kernelVersion();
        QTest::newRow("this system, through the served NT key")
            << QByteArray()
            << QStringList{"Windows NT",
                           "12",
                           kernel,
                           "Debian GNU/Linux 12 (bookworm)",
                           "Windows NT 12 Build " + kernel + " Debian GNU/Linux 12 (bookworm)",
                           "(Besitzer)",
                           ""};
        QTest::newRow("Windows 95 family")
            << QByteArray("REGEDIT4\n[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\"
                          "CurrentVersion]\n\"VersionNumber\"=\"4.10.2222\"\n\"Version\"=\""
                          "Windows 98\"\n\"SubVersionNumber\"=\" A \"\n\"RegisteredOwner\"="
                          "\"Fahlbeck\"\n\"RegisteredOrganization\"=\"KVAR\"\n")
            << QStringList{"Windows 98", "4.10.2222", "", " A ", "Windows 98 A  Version 4.10.2222",
                           "Fahlbeck",   "KVAR"};
    }
    void windowsInfo()
    {
        QFETCH(QByteArray, machine);
        QFETCH(QStringList, expected);
        if (!machine.isEmpty())
            writeFile(machineFile(), machine);
        ClsRegistry reg(fileBackend());
        reg.setRootKey(QStringLiteral("HKEY_CLASSES_ROOT"));
        reg.setKey(QStringLiteral("Irgendwo"));
        QStringList got(7, QStringLiteral("vorher"));
        QVERIFY(reg.GetWindowsInfo(got[0], got[1], got[2], got[3], got[4], got[5], got[6]));
        // The owner is the login's full name or the login; only its presence is certain.
        if (expected[5] == u"(Besitzer)" && !got[5].isEmpty())
            got[5] = expected[5];
        QCOMPARE(got, expected);
        QCOMPARE(reg.RootKey(), QStringLiteral("HKEY_CLASSES_ROOT"));
        QCOMPARE(reg.Key(), QStringLiteral("Irgendwo"));
    }

    // Failing, it leaves RootKey and Key at the system key, as callers expect.
    void windowsInfoFailureKeepsTheSystemKey()
    {
        auto faulty = std::make_shared<TestBackend>(fileBackend());
        faulty->failing = QStringLiteral("open");
        faulty->status = Reg::FileNotFound;
        ClsRegistry reg(faulty);
        reg.setKey(kAppKey);
        QString s[7];
        QVERIFY(!reg.GetWindowsInfo(s[0], s[1], s[2], s[3], s[4], s[5], s[6]));
        QCOMPARE(reg.RootKey(), QStringLiteral("HKEY_LOCAL_MACHINE"));
        QCOMPARE(reg.Key(), kNtKey);
        QCOMPARE(reg.ErrorDescription(), kFail +
                                             " beim Öffnen: Datei nicht gefunden, "
                                             "HKEY_LOCAL_MACHINE\\" +
                                             kNtKey);
    }
};

QTEST_GUILESS_MAIN(TstClsRegistry)
#include "tst_clsregistry.moc"
