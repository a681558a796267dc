#include "tests/support/ScriptedUserInterface.h"
#include "tests/util/RegistryTestFiles.h"
#include "util/AppInfo.h"
#include "util/ClsRegistry.h"

#include <QDir>
#include <QSysInfo>
#include <QTest>

namespace
{

const QString kNtKey = QStringLiteral("Software\\Microsoft\\Windows NT\\CurrentVersion");
const QString kFail = QStringLiteral("Fehler bei Registry-Zugriff");
const QString kAt = QStringLiteral(", HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk");

// The real file store with, optionally, a second one reachable as the remote computer
// "ZENTRALE" (the only stand-in is the network between them), and opening or enumerating
// failing with a chosen status: for the codes the file store itself never produces (67, 1210).
class TestBackend final : public RegistryBackend
{
public:
    explicit TestBackend(std::shared_ptr<FileRegistryBackend> local,
                         std::shared_ptr<FileRegistryBackend> remote = {})
        : m_local(std::move(local)), m_remote(std::move(remote))
    {
    }
    QString failing; // "open" or "enum"
    long status = 0;

    long openKey(HKey k, const QString& s, quint32 a, HKey& r) override
    {
        return failing == u"open" ? status : tagged(on(k).openKey(plain(k), s, a, r), k, r);
    }
    long createKey(HKey k, const QString& s, quint32 a, HKey& r, bool* c) override
    {
        return tagged(on(k).createKey(plain(k), s, a, r, c), k, r);
    }
    long queryValue(HKey k, const QString& n, quint32* t, RegistryData* d, quint32* s) override
    {
        return on(k).queryValue(plain(k), n, t, d, s);
    }
    long setValue(HKey k, const QString& n, quint32 t, const RegistryData& d, quint32 s) override
    {
        return on(k).setValue(plain(k), n, t, d, s);
    }
    long deleteValue(HKey k, const QString& n) override { return on(k).deleteValue(plain(k), n); }
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

    std::unique_ptr<RegistryFolders> m_dirs;
    std::unique_ptr<ScriptedUserInterface> m_ui;

    QString userFile() const { return m_dirs->userFile(); }
    std::shared_ptr<FileRegistryBackend> fileBackend(const QString& userFolder = {})
    {
        auto b = m_dirs->backend([](const QString& text) { QFAIL(qPrintable(text)); }, userFolder);
        b->setOsReleaseFile(m_dirs->env.root() + QStringLiteral("/os-release"));
        return b;
    }
    // A registry object on the file store, at the application key.
    std::unique_ptr<ClsRegistry> atAppKey()
    {
        auto reg = std::make_unique<ClsRegistry>(fileBackend());
        reg->setKey(kAppKey);
        return reg;
    }
    // The application key with one value and one sub-key, as after a few runs.
    void writeAppKey(const QByteArray& moreValues = {})
    {
        writeFile(userFile(), kAppSection + "\"Wert\"=\"x\"\n" + moreValues +
                                  "\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Sub]\n");
    }

private Q_SLOTS:
    void init()
    {
        m_dirs = std::make_unique<RegistryFolders>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        writeFile(m_dirs->env.root() + QStringLiteral("/os-release"),
                  "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\n"
                  "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
    }
    void cleanup()
    {
        m_ui.reset();
        m_dirs.reset();
    }

    // Rows with a fault ("open 67": opening fails with 67) use it; the others are the file
    // store's own failures.
    void errorTexts_data()
    {
        QTest::addColumn<QString>("key"); // root and key
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("remote"); // connected to, unsuccessfully, before the call
        QTest::addColumn<bool>("detail");
        const QString app = QStringLiteral("HKEY_CURRENT_USER\\") + kAppKey;
        const QString nt = QStringLiteral("HKEY_LOCAL_MACHINE\\") + kNtKey;
        const QString open = kFail + QStringLiteral(" beim Öffnen: ");
        const QString missing = QStringLiteral("HKEY_CURRENT_USER\\Software\\Fehlt");
        const QString noKey = open + "Datei nicht gefunden, " + missing;
        auto row = [&](const char* name, const QString& key, const char* call,
                       const QString& expected, const char* fault = "", const char* remote = "",
                       bool detail = true) {
            QTest::newRow(name) << key << call << expected << fault << remote << detail;
        };
        const struct {
            long status;
            const char* text;
        } statuses[] = {{2, "Datei nicht gefunden"},     {5, "Zugriff verweigert"},
                        {53, "Ungültiger Netzwerkpfad"}, {67, "Netzwerkname nicht gefunden"},
                        {87, "Ungültige(r) Parameter"},  {259, "Keine weiteren Daten"},
                        {1210, "Zugriff nicht möglich"}, {1018, "<unbekannter Fehler: 1018"},
                        {6, "<unbekannter Fehler: 6"}};
        for (const auto& s : statuses) {
            const QByteArray tag = "status " + QByteArray::number(qlonglong(s.status));
            row(tag, app, "GetString Wert", open + s.text + kAt, "open " + tag.mid(7));
        }
        row("enumerating", app, "EnumKeys",
            kFail + " beim EnumKeys: <unbekannter Fehler: 1018" + kAt, "enum 1018");
        row("without detail part", app, "GetString Fehlt",
            kFail + " beim Lesen: Datei nicht gefunden", "", "", false);
        row("with the remote computer's name", app, "DeleteValue Fehlt",
            kFail + " auf 'PC1' beim Löschen von Fehlt: Datei nicht gefunden" + kAt, "", "PC1");
        row("connecting, no remote registry here", app, "Connect PC1",
            kFail + " auf 'PC1' beim RemoteConnect: Ungültiger Netzwerkpfad" + kAt, "", "PC1");
        // The rejected root leaves a text; connecting to no name makes no call and keeps it.
        row("connecting without a name", "HKEY_USERS\\" + kAppKey, "Connect",
            kFail + " beim RemoteConnect: Ungültiger Registry-RootKey: 'HKEY_USERS': "
                    "<kein Fehler>, HKEY_CURRENT_USER\\");
        row("missing key", missing, "GetString Wert", noKey);
        row("enumerating a missing key", missing, "EnumKeys", noKey);
        row("setting below a missing key", missing, "SetString Wert", noKey);
        row("missing value", app, "GetString Fehlt",
            kFail + " beim Lesen: Datei nicht gefunden" + kAt);
        row("deleting a missing value", app, "DeleteValue Fehlt",
            kFail + " beim Löschen von Fehlt: Datei nicht gefunden" + kAt);
        row("value of another type", app, "GetString Pfad",
            kFail + " beim Lesen: <unbekannter Fehler: -1" + kAt);
        row("machine key, setting", nt, "SetString Wert",
            kFail + " beim Setzen von Wert: Zugriff verweigert, " + nt);
        row("machine key, deleting", nt, "DeleteValue CSDVersion",
            kFail + " beim Löschen von CSDVersion: Zugriff verweigert, " + nt);
        row("machine key, creating", nt, "CreateSubKey Neu",
            kFail + " beim Anlegen: Zugriff verweigert, " + nt);
    }
    void errorTexts()
    {
        QFETCH(QString, key);
        QFETCH(QString, call);
        QFETCH(QString, expected);
        QFETCH(QString, fault);
        QFETCH(QString, remote);
        QFETCH(bool, detail);
        writeAppKey("\"Pfad\"=hex(2):25,54,45,4d,50,25,00\n");
        auto backend = std::make_shared<TestBackend>(fileBackend());
        ClsRegistry reg(backend);
        reg.setRootKey(key.section(u'\\', 0, 0));
        reg.setKey(key.section(u'\\', 1));
        reg.setDetailedErrorDescription(detail);
        // A failed connect keeps the name, and every later text names the computer.
        if (!remote.isEmpty())
            QVERIFY(!reg.ConnectRemoteComputer(remote));
        backend->failing = fault.section(u' ', 0, 0);
        backend->status = fault.section(u' ', 1).toLong();
        QString out;
        QVERIFY(!runOperation(reg, call, out));
        QCOMPARE(reg.ErrorDescription(), expected);
        QVERIFY(!QFileInfo::exists(m_dirs->machineFile()));
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
        QVERIFY(!QFileInfo::exists(m_dirs->folder()));
    }

    void rootKeySetter_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("file"); // where the root's keys go afterwards
        QTest::addColumn<QString>("error");
        const QString odd = kFail + " beim RemoteConnect: Ungültiger Registry-RootKey: '%1': "
                                    "<kein Fehler>, HKEY_CURRENT_USER\\Software\\KVAR";
        QTest::newRow("HKEY_CLASSES_ROOT") << "HKEY_CLASSES_ROOT"
                                           << "HKEY_CLASSES_ROOT" << QString();
        QTest::newRow("HKEY_USERS: the established odd wording")
            << "HKEY_USERS"
            << "HKEY_CURRENT_USER" << odd.arg("HKEY_USERS");
        QTest::newRow("lower case is rejected")
            << "hkey_current_user"
            << "HKEY_CURRENT_USER" << odd.arg("hkey_current_user");
    }
    void rootKeySetter()
    {
        QFETCH(QString, name);
        QFETCH(QString, file);
        QFETCH(QString, error);
        writeFile(m_dirs->folder() + QStringLiteral("/HKEY_CLASSES_ROOT.reg"),
                  "REGEDIT4\n[HKEY_CLASSES_ROOT\\Software]\n");
        ClsRegistry reg(fileBackend());
        reg.setKey(QStringLiteral("Software\\KVAR"));
        reg.setRootKey(name);
        QCOMPARE(reg.RootKey(), file);
        QCOMPARE(reg.ErrorDescription(), error);
        // The root handle follows the text: the next key lands in that root's file only.
        reg.setKey(QStringLiteral("Software"));
        QVERIFY(reg.CreateSubKey(QStringLiteral("KVAR")));
        const QDir dir(m_dirs->folder());
        for (const QString& f : dir.entryList(QDir::Files))
            QCOMPARE(readAll(dir.filePath(f)).contains("\\Software\\KVAR]"), f == file + ".reg");
    }

    // Written in one object, read back in a fresh one: texts exactly as set, control
    // characters and U+0000 included; the empty text and booleans in their stored form.
    void writtenValuesReadBack_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("line"); // in the file; empty: not looked at
        QTest::newRow("empty text as the null marker")
            << QVariant(QString()) << QByteArray("\"V\"=\"#NULL#\"\n");
        QTest::newRow("NUL inside") << QVariant("a" + QString(QChar(0)) + "b") << QByteArray();
        QTest::newRow("NUL at the end") << QVariant("ab" + QString(QChar(0))) << QByteArray();
        QTest::newRow("only NUL") << QVariant(QString(QChar(0))) << QByteArray();
        QTest::newRow("line break, tab and umlaut")
            << QVariant(QStringLiteral("Zeile 1\r\n\tMüller")) << QByteArray();
        QTest::newRow("true") << QVariant(true) << QByteArray("\"V\"=\"True\"\n");
        QTest::newRow("false") << QVariant(false) << QByteArray("\"V\"=\"False\"\n");
    }
    void writtenValuesReadBack()
    {
        QFETCH(QVariant, value);
        QFETCH(QByteArray, line);
        const bool isBool = value.typeId() == QMetaType::Bool;
        writeAppKey();
        QVERIFY(isBool ? atAppKey()->SetBool(QStringLiteral("V"), value.toBool())
                       : atAppKey()->SetString(QStringLiteral("V"), value.toString()));
        QVERIFY(readAll(userFile()).contains(line));
        auto reg = atAppKey();
        if (isBool) {
            QCOMPARE(reg->GetOptBool(QStringLiteral("V"), !value.toBool()), value.toBool());
        } else { // read successfully, so the default does not apply
            QCOMPARE(reg->GetOptString(QStringLiteral("V"), QStringLiteral("Vorgabe")),
                     value.toString());
        }
        QCOMPARE(reg->ErrorDescription(), QString());
    }

    // Reading beside "Wert"="x": the text or boolean, or the default on failure.
    void reads_data()
    {
        QTest::addColumn<QByteArray>("stored"); // the line of "V", empty: none
        QTest::addColumn<bool>("asBool");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("fallback");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("error");
        const QString read = kFail + " beim Lesen: Datei nicht gefunden" + kAt;
        auto text = [&](const char* tag, const char* stored, const char* name,
                        const QVariant& fallback, const char* expected, const QString& error) {
            QTest::newRow(tag) << QByteArray(stored) << false << name << fallback << expected
                               << error;
        };
        text("missing value, no default", "", "Fehlt", {}, "", read);
        text("missing value, default True", "", "Fehlt", true, "True", read);
        text("missing value, default text", "", "Fehlt", "Vorgabe", "Vorgabe", read);
        text("stored value wins", "", "Wert", 1, "x", "");
        text("value names without regard to case", "", "WERT", {}, "x", "");
        text("DWORD 10", "dword:0000000a", "V", {}, "10", "");
        text("DWORD with all bits set is -1", "dword:ffffffff", "V", {}, "-1", "");
        auto flag = [&](const char* tag, const char* stored, const QVariant& fallback,
                        bool expected) {
            QTest::newRow(tag) << QByteArray(stored) << true << "V" << fallback
                               << (expected ? "true" : "false") << (*stored ? QString() : read);
        };
        // "True" and "False" as SetBool writes them: see writtenValuesReadBack.
        flag("true in lower case", "\"true\"", {}, true);
        flag("FALSE in upper case", "\"FALSE\"", true, false);
        flag("Wahr", "\"Wahr\"", {}, true);
        flag("falsch", "\"falsch\"", true, false);
        flag("-1 as the old programs stored it", "\"-1\"", {}, true);
        flag("0", "\"0\"", true, false);
        flag("0,0 German decimal", "\"0,0\"", true, false);
        flag("a DWORD 1", "dword:00000001", {}, true);
        flag("abc is no boolean", "\"abc\"", true, false);
        flag("#NULL# is no boolean", "\"#NULL#\"", true, false);
        flag("missing, no default", "", {}, false);
        flag("missing, default true", "", true, true);
        flag("missing, default text True", "", "True", true);
        flag("missing, default 0", "", 0, false);
        flag("missing, default 1", "", 1, true);
        flag("missing, default abc", "", "abc", false);
    }
    void reads()
    {
        QFETCH(QByteArray, stored);
        QFETCH(bool, asBool);
        QFETCH(QString, name);
        QFETCH(QVariant, fallback);
        QFETCH(QString, expected);
        QFETCH(QString, error);
        writeAppKey(stored.isEmpty() ? QByteArray() : "\"V\"=" + stored + "\n");
        auto reg = atAppKey();
        if (asBool)
            QCOMPARE(reg->GetOptBool(name, fallback) ? "true" : "false", expected);
        else
            QCOMPARE(reg->GetOptString(name, fallback), expected);
        QCOMPARE(reg->ErrorDescription(), error);
    }

    void enumKeysListsSubKeysThenEmpty()
    {
        writeFile(userFile(), "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Beta]\n"
                              "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\alpha]\n"
                              "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Gamma\\Tief]\n");
        auto reg = atAppKey();
        const QString notOpened = kFail + " beim EnumKeys: not opened: <kein Fehler>" + kAt;
        // Going on without a start is an error that leaves the name alone.
        QString name = QStringLiteral("vorher");
        QVERIFY(!reg->EnumKeys(false, name));
        QCOMPARE(name, QStringLiteral("vorher"));
        QCOMPARE(reg->ErrorDescription(), notOpened);
        QStringList names;
        QVERIFY(reg->EnumKeys(true, name));
        while (!name.isEmpty()) {
            names << name;
            QVERIFY(reg->EnumKeys(false, name));
        }
        QCOMPARE(names, (QStringList{"alpha", "Beta", "Gamma"}));
        QCOMPARE(reg->ErrorDescription(), QString());
        // The enumeration is over: going on is an error, not a crash.
        QVERIFY(!reg->EnumKeys(false, name));
        QCOMPARE(reg->ErrorDescription(), notOpened);
        // A new start lists again from the first one.
        QVERIFY(reg->EnumKeys(true, name));
        QCOMPARE(name, QStringLiteral("alpha"));
        // A key without sub-keys: true and empty at once.
        reg->setKey(kAppKey + QStringLiteral("\\Beta"));
        QVERIFY(reg->EnumKeys(true, name));
        QCOMPARE(name, QString());
        QCOMPARE(reg->ErrorDescription(), QString());
    }

    void createSubKeyNewAndExisting()
    {
        writeAppKey();
        auto reg = atAppKey();
        QVERIFY(reg->CreateSubKey(QStringLiteral("Neu\\Tiefer")));
        QVERIFY(reg->CreateSubKey(QStringLiteral("SUB")));
        QCOMPARE(reg->ErrorDescription(), QString());
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
        const QString remoteFile =
            m_dirs->env.root() + QStringLiteral("/zentrale/") + QFileInfo(userFile()).fileName();
        writeFile(userFile(), kAppSection + "\"Ort\"=\"lokal\"\n");
        writeFile(remoteFile, kAppSection +
                                  "\"Ort\"=\"zentral\"\n"
                                  "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk\\Fern]\n");
        const QByteArray remoteBefore = readAll(remoteFile);
        ClsRegistry reg(std::make_shared<TestBackend>(
            fileBackend(), fileBackend(QFileInfo(remoteFile).absolutePath())));
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
        QCOMPARE(readAll(remoteFile), remoteBefore);
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

    void registerApp_data()
    {
        QTest::addColumn<QByteArray>("before"); // the user's file, empty: none
        QTest::addColumn<QString>("rootKey");
        QTest::addColumn<QString>("appPath");
        QTest::addColumn<bool>("showMessage");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("first");
        QTest::addColumn<QString>("box"); // the one box shown, empty: none
        QTest::addColumn<int>("style");
        QTest::addColumn<QString>("description"); // of the company key; empty: the call fails

        const QString defaultMessage = QStringLiteral(
            "Dies ist der erste Start der Anwendung 'Zettelwerk'\r\nDie Anwendung wird jetzt "
            "registriert!");
        const QByteArray registered = "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR]\n"
                                      "\"Description\"=\"Kvarsystem\"\n"
                                      "[HKEY_CURRENT_USER\\Software\\KVAR\\Zettelwerk]\n"
                                      "\"CurrentVersion\"=\"0.9.1\"\n";
        auto row = [](const char* tag, const QByteArray& before, const char* root,
                      const char* appPath, bool show, const char* message, bool first,
                      const QString& box, int style, const char* description) {
            QTest::newRow(tag) << before << root << appPath << show << message << first << box
                               << style << description;
        };
        const char* cu = "HKEY_CURRENT_USER";
        const int info = Mb::Information;
        row("first start, default message", {}, cu, "Zettelwerk", true, "", true, defaultMessage,
            info, "Kvarsystem");
        row("first start, own message", {}, cu, "Zettelwerk", true, "Willkommen!", true,
            "Willkommen!", info, "Kvarsystem");
        row("first start without message", {}, cu, "Zettelwerk", false, "Willkommen!", true, "", 0,
            "Kvarsystem");
        row("second start shows nothing", registered, cu, "Zettelwerk", true, "", false, "", 0,
            "Kvarsystem");
        row("company described by another program keeps its text",
            "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\KVAR]\n\"Description\"=\"Andere\"\n", cu,
            "Zettelwerk", true, "Hallo", true, "Hallo", info, "Andere");
        row("empty version counts as first start", kAppSection + "\"CurrentVersion\"=\"#NULL#\"\n",
            cu, "Zettelwerk", true, "Hallo", true, "Hallo", info, "Kvarsystem");
        row("no AppPath", {}, cu, "", true, "", true, "RegisterApp Fehler: AppPath nicht gesetzt",
            Mb::OkOnly, "");
        row("read-only root: the failing step's text", {}, "HKEY_LOCAL_MACHINE", "Zettelwerk", true,
            "", true,
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
        QFETCH(bool, first);
        QFETCH(QString, box);
        QFETCH(int, style);
        QFETCH(QString, description);
        if (!before.isEmpty())
            writeFile(userFile(), before);
        if (!box.isEmpty())
            m_ui->answer(Mb::Ok);

        ClsRegistry reg(fileBackend());
        reg.setRootKey(rootKey);
        reg.setAppPath(appPath);
        bool bFirst = !first;
        QCOMPARE(reg.RegisterApp(showMessage, bFirst, message), !description.isEmpty());
        QCOMPARE(bFirst, first);
        QCOMPARE(m_ui->boxes().size(), box.isEmpty() ? 0 : 1);
        for (const auto& shown : m_ui->boxes()) {
            QCOMPARE(shown.text, box);
            QCOMPARE(shown.style, style);
            QCOMPARE(shown.title, QString()); // the program's title
        }
        if (description.isEmpty())
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
        QTest::addColumn<QByteArray>("machine");   // the system file, empty: none
        QTest::addColumn<QStringList>("expected"); // empty: the system key cannot be opened
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
        QTest::newRow("failing: RootKey and Key stay at the system key, as callers expect")
            << QByteArray() << QStringList();
    }
    void windowsInfo()
    {
        QFETCH(QByteArray, machine);
        QFETCH(QStringList, expected);
        if (!machine.isEmpty())
            writeFile(m_dirs->machineFile(), machine);
        auto backend = std::make_shared<TestBackend>(fileBackend());
        if (expected.isEmpty()) {
            backend->failing = QStringLiteral("open");
            backend->status = Reg::FileNotFound;
        }
        ClsRegistry reg(backend);
        reg.setRootKey(QStringLiteral("HKEY_CLASSES_ROOT"));
        reg.setKey(QStringLiteral("Irgendwo"));
        QStringList got(7, QStringLiteral("vorher"));
        QCOMPARE(reg.GetWindowsInfo(got[0], got[1], got[2], got[3], got[4], got[5], got[6]),
                 !expected.isEmpty());
        if (expected.isEmpty()) {
            QCOMPARE(reg.RootKey(), QStringLiteral("HKEY_LOCAL_MACHINE"));
            QCOMPARE(reg.Key(), kNtKey);
            QCOMPARE(reg.ErrorDescription(),
                     kFail + " beim Öffnen: Datei nicht gefunden, HKEY_LOCAL_MACHINE\\" + kNtKey);
            return;
        }
        // The owner is the login's full name or the login; only its presence is certain.
        if (expected[5] == u"(Besitzer)" && !got[5].isEmpty())
            got[5] = expected[5];
        QCOMPARE(got, expected);
        QCOMPARE(reg.RootKey(), QStringLiteral("HKEY_CLASSES_ROOT"));
        QCOMPARE(reg.Key(), QStringLiteral("Irgendwo"));
    }
};

QTEST_GUILESS_MAIN(TstClsRegistry)
#include "tst_clsregistry.moc"
