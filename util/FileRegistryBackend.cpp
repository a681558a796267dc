#include "util/FileRegistryBackend.h"

#include "util/ErrorRoutine.h"

#include "util/AppInfo.h"
#include "util/UserInterface.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>
#include <QSet>
#include <QStandardPaths>
#include <QSysInfo>

#include <algorithm>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

RegistryReporter& processReporter()
{
    static RegistryReporter reporter;
    return reporter;
}

// Corrupt files that could not be moved aside, by path and identity: each is reported once
// per process, however many objects read it.
QSet<QString>& reportedUnusable()
{
    static QSet<QString> reported;
    return reported;
}

const QString kSystemKey = QStringLiteral("Software\\Microsoft\\Windows NT\\CurrentVersion");

QString rootNameOf(HKey root)
{
    switch (root) {
    case Reg::ClassesRoot:
        return QStringLiteral("HKEY_CLASSES_ROOT");
    case Reg::CurrentUser:
        return QStringLiteral("HKEY_CURRENT_USER");
    case Reg::LocalMachine:
        return QStringLiteral("HKEY_LOCAL_MACHINE");
    default:
        return QString();
    }
}

bool isPredefined(HKey key)
{
    return !rootNameOf(key).isEmpty();
}

// A line break in a name would split its line in the file and make the whole file
// unreadable on the next start, so such names are refused.
bool hasControlCharacters(const QString& name)
{
    return std::any_of(name.begin(), name.end(), [](QChar c) { return c.unicode() < 0x20; });
}

// A sub-key path as the registry takes it: parts separated by "\", one trailing "\"
// allowed, no empty parts, each part at most 255 characters.
long splitPath(const QString& subKey, QStringList& parts)
{
    parts.clear();
    if (subKey.isEmpty())
        return Reg::Success;
    QString path = subKey;
    if (path.endsWith(u'\\'))
        path.chop(1);
    parts = path.split(u'\\');
    for (const QString& part : std::as_const(parts)) {
        if (part.isEmpty())
            return Reg::BadPathname;
        if (part.size() > 255 || hasControlCharacters(part))
            return Reg::InvalidParameter;
    }
    return Reg::Success;
}

RegistryNode* findNode(RegistryNode& tree, const QStringList& path)
{
    RegistryNode* node = &tree;
    for (const QString& part : path) {
        node = node->child(part);
        if (!node)
            return nullptr;
    }
    return node;
}

bool sameValue(const RegistryValue& a, const RegistryValue& b)
{
    if (a.type != b.type)
        return false;
    switch (a.type) {
    case Reg::TypeSz:
    case Reg::TypeExpandSz:
        return a.data.text == b.data.text;
    case Reg::TypeDword:
        return a.data.number == b.data.number;
    default:
        return a.data.bytes == b.data.bytes;
    }
}

QString corruptText(const QString& path, const RegeditFormat::ParseResult& fault)
{
    const QString where = fault.line > 0 ? QStringLiteral("Zeile %1: ").arg(fault.line) : QString();
    return QStringLiteral("Die Registry-Datei '%1' ist beschädigt (%2%3).")
        .arg(QDir::toNativeSeparators(path), where, fault.reason);
}

// A settings file is a few kilobytes; one beyond this is not read into memory.
constexpr qint64 kMaxFileSize = 64 * 1024 * 1024;

QMap<QString, QString> readOsRelease(const QString& preferred)
{
    QMap<QString, QString> fields;
    QStringList candidates;
    if (!preferred.isEmpty())
        candidates << preferred;
    else
        candidates << QStringLiteral("/etc/os-release") << QStringLiteral("/usr/lib/os-release");
    for (const QString& path : std::as_const(candidates)) {
        QFile f(path);
        if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
            continue;
        const QStringList lines = QString::fromUtf8(f.readAll()).split(u'\n');
        for (const QString& raw : lines) {
            const QString line = raw.trimmed();
            const qsizetype eq = line.indexOf(u'=');
            if (line.startsWith(u'#') || eq <= 0)
                continue;
            QString value = line.mid(eq + 1);
            if (value.size() >= 2 && (value.startsWith(u'"') || value.startsWith(u'\'')) &&
                value.endsWith(value[0])) {
                const bool dq = value.startsWith(u'"');
                value = value.mid(1, value.size() - 2);
                if (dq) {
                    QString unescaped;
                    for (qsizetype i = 0; i < value.size(); ++i) {
                        if (value[i] == u'\\' && i + 1 < value.size())
                            ++i;
                        unescaped += value[i];
                    }
                    value = unescaped;
                }
            }
            fields.insert(line.left(eq), value);
        }
        break;
    }
    return fields;
}

QString ownerName()
{
    if (const passwd* pw = ::getpwuid(::geteuid())) {
        const QString fullName = QString::fromLocal8Bit(pw->pw_gecos).section(u',', 0, 0).trimmed();
        if (!fullName.isEmpty())
            return fullName;
        const QString login = QString::fromLocal8Bit(pw->pw_name);
        if (!login.isEmpty())
            return login;
    }
    const QString user = qEnvironmentVariable("USER");
    return user.isEmpty() ? QStringLiteral("(unbekannt)") : user;
}

// Takes the writers' lock within `timeoutMs`. QLockFile already takes over a lock whose
// process has died, but only when the lock file names it: a writer killed between creating
// the file and writing its process id into it leaves an empty file, which QLockFile would
// honour for its whole stale time. Such a file is removed here once it is a second old
// (a living writer fills it within microseconds).
bool acquireLock(QLockFile& lock, const QString& lockPath, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        if (lock.tryLock(qBound(0, int(deadline.remainingTime()), 200)))
            return true;
        if (lock.error() != QLockFile::LockFailedError || deadline.hasExpired())
            return false;
        auto isOrphan = [&lockPath] {
            const QFileInfo info(lockPath);
            return info.exists() && info.size() == 0 &&
                   info.lastModified().msecsTo(QDateTime::currentDateTime()) > 1000;
        };
        if (isOrphan()) {
            QLockFile removal(lockPath + QStringLiteral(".rmlock"));
            if (removal.tryLock(0) && isOrphan())
                QFile::remove(lockPath);
        }
    }
}

// Removes what writers killed mid-save left: QSaveFile's temporary "<file>." + six letters
// or digits, and the locks that guard removing a stale lock ("<file>.lock.rmlock") when their
// process is gone. Called under the writers' lock, when no living writer can own a
// temporary file.
void removeLeftovers(const QString& path)
{
    // Removing a stale ".rmlock" is guarded by a ".rmlock.rmlock" in turn: innermost first.
    for (const char* guard : {".lock.rmlock.rmlock", ".lock.rmlock"}) {
        const QString guardPath = path + QLatin1String(guard);
        if (QFileInfo::exists(guardPath)) {
            QLockFile rmlock(guardPath);
            if (rmlock.tryLock(0)) // takes it over only when its owner is gone
                rmlock.unlock();
        }
    }

    const QFileInfo info(path);
    const QString prefix = info.fileName() + u'.';
    const QDir dir = info.absoluteDir();
    const QStringList names =
        dir.entryList({prefix + QStringLiteral("??????")}, QDir::Files | QDir::Hidden);
    for (const QString& name : names) {
        const QStringView tail = QStringView(name).sliced(prefix.size());
        if (std::all_of(tail.begin(), tail.end(),
                        [](QChar c) { return c.unicode() < 0x80 && c.isLetterOrNumber(); }))
            QFile::remove(dir.filePath(name));
    }
}

// Runs the reports collected during a call once the call is done, so that no lock is
// held while a message box is open.
struct ReportFlush {
    std::function<void()> flush;
    ~ReportFlush() { flush(); }
};

} // namespace

FileRegistryBackend::FileRegistryBackend() : FileRegistryBackend(defaultUserFolder()) {}

FileRegistryBackend::FileRegistryBackend(const QString& userFolder, const QString& machineFolder)
{
    const QString machine = machineFolder.isEmpty() ? defaultMachineFolder() : machineFolder;
    for (HKey root : {Reg::ClassesRoot, Reg::CurrentUser, Reg::LocalMachine}) {
        Store store;
        store.root = root;
        store.rootName = rootNameOf(root);
        store.readOnly = root == Reg::LocalMachine;
        store.path = (store.readOnly ? machine : userFolder) + u'/' + store.rootName +
                     QStringLiteral(".reg");
        store.tree.name = store.rootName;
        m_stores.emplace(root, std::move(store));
    }
}

FileRegistryBackend::~FileRegistryBackend() = default;

void FileRegistryBackend::makeReadOnly()
{
    for (auto& [root, store] : m_stores)
        store.readOnly = true;
}

QString FileRegistryBackend::defaultUserFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/KVAR/registry");
}

QString FileRegistryBackend::defaultMachineFolder()
{
    return QStringLiteral("/etc/xdg/KVAR/registry");
}

QString FileRegistryBackend::fileOf(HKey root) const
{
    auto it = m_stores.find(root);
    return it == m_stores.end() ? QString() : it->second.path;
}

void FileRegistryBackend::setDefaultReporter(RegistryReporter reporter)
{
    processReporter() = std::move(reporter);
}

FileRegistryBackend::Store* FileRegistryBackend::storeOf(HKey root)
{
    auto it = m_stores.find(root);
    return it == m_stores.end() ? nullptr : &it->second;
}

long FileRegistryBackend::resolve(HKey key, OpenKey& out) const
{
    if (isPredefined(key)) {
        out = OpenKey{key, {}, 0xFFFFFFFFu};
        return Reg::Success;
    }
    auto it = m_handles.find(key);
    if (it == m_handles.end())
        return Reg::InvalidHandle;
    out = it->second;
    return Reg::Success;
}

// The key behind `key` as the file holds it now, when the handle carries `right`.
long FileRegistryBackend::readableKey(HKey key, quint32 right, const RegistryNode*& node)
{
    OpenKey base;
    if (const long status = resolve(key, base))
        return status;
    if (!(base.access & right))
        return Reg::AccessDenied;
    Store& store = *storeOf(base.root);
    if (const long status = refresh(store))
        return status;
    node = findNode(store.tree, base.path);
    return node ? Reg::Success : Reg::KeyDeleted;
}

// The store and path behind `key` for a change that needs `right`.
long FileRegistryBackend::writableKey(HKey key, quint32 right, Store*& store, QStringList& path)
{
    OpenKey base;
    if (const long status = resolve(key, base))
        return status;
    if (!(base.access & right))
        return Reg::AccessDenied;
    store = storeOf(base.root);
    path = base.path;
    return store->readOnly ? Reg::AccessDenied : Reg::Success;
}

HKey FileRegistryBackend::newHandle(const OpenKey& key)
{
    const HKey handle = m_nextHandle++;
    m_handles.emplace(handle, key);
    return handle;
}

FileRegistryBackend::FileIdentity FileRegistryBackend::identityOf(const QString& path)
{
    struct stat st {
    };
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return FileIdentity();
    return FileIdentity{true, quint64(st.st_ino), qint64(st.st_size),
                        qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

// Brings the store up to the file on disk, reading it only when it changed.
long FileRegistryBackend::refresh(Store& store)
{
    if (store.loaded && identityOf(store.path) == store.identity)
        return Reg::Success;
    return load(store, false);
}

// Reads the file as it is now. `locked`: the caller holds the writers' lock.
long FileRegistryBackend::load(Store& store, bool locked)
{
    store.tree = RegistryNode();
    store.tree.name = store.rootName;
    store.unusable = false;
    store.loaded = true;

    // Open first and ask afterwards: QFile::exists() reports a file that is being replaced
    // by a rename as missing (the old inode has no links left for a moment), which would
    // make a reader see an empty store while another copy saves.
    RegeditFormat::ParseResult fault;
    FileIdentity id;
    auto identityFrom = [](const struct stat& st) {
        return FileIdentity{true, quint64(st.st_ino), qint64(st.st_size),
                            qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
    };
    struct stat st {
    };
    if (::stat(QFile::encodeName(store.path).constData(), &st) == 0 && !S_ISREG(st.st_mode)) {
        // Never opened: a pipe would block the program, a device fill its memory.
        id = identityFrom(st);
        fault = {false, 0, QStringLiteral("keine gewöhnliche Datei")};
    } else {
        QFile file(store.path);
        if (!file.open(QIODevice::ReadOnly)) {
            if (identityOf(store.path).exists) {
                store.loaded = false;
                return Reg::AccessDenied;
            }
            store.identity = FileIdentity();
            addStandardKeys(store);
            return Reg::Success;
        }
        // The identity of what is read, not of what lies there a moment later.
        if (::fstat(file.handle(), &st) == 0)
            id = identityFrom(st);
        if (id.size > kMaxFileSize) {
            fault = {false, 0,
                     QStringLiteral("größer als %1 MB").arg(kMaxFileSize / (1024 * 1024))};
        } else {
            const QByteArray content = file.readAll();
            RegistryNode tree;
            fault = RegeditFormat::parse(content, store.rootName, tree);
            if (fault.ok) {
                store.identity = id;
                store.tree = std::move(tree);
                addStandardKeys(store);
                return Reg::Success;
            }
        }
    }
    store.identity = id;

    if (!store.readOnly && !locked) {
        // Moving it aside happens under the writers' lock, so that two copies that find
        // it at once keep one backup and read the same result.
        QLockFile lock(store.path + QStringLiteral(".lock"));
        if (!acquireLock(lock, store.path + QStringLiteral(".lock"), m_lockTimeoutMs)) {
            store.tree = RegistryNode();
            store.tree.name = store.rootName;
            addStandardKeys(store);
            store.loaded = false; // try again next time
            return Reg::Success;
        }
        return load(store, true);
    }
    if (!store.readOnly) {
        const QString stamp =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
        QString backup = store.path + QStringLiteral(".defekt-") + stamp;
        for (int n = 2; QFileInfo::exists(backup); ++n)
            backup = store.path + QStringLiteral(".defekt-") + stamp + u'-' + QString::number(n);
        if (QFile::rename(store.path, backup)) {
            store.identity = identityOf(store.path);
            addStandardKeys(store);
            report(corruptText(store.path, fault) + QStringLiteral("\r\n") +
                   QStringLiteral("Sie wurde unverändert als '%1' aufbewahrt; die Einstellungen "
                                  "beginnen leer.")
                       .arg(QDir::toNativeSeparators(backup)));
            return Reg::Success;
        }
    }
    store.unusable = true;
    addStandardKeys(store);
    const QString key = store.path + u'|' + QString::number(id.inode) + u'|' +
                        QString::number(id.size) + u'|' + QString::number(id.mtimeNs);
    if (!reportedUnusable().contains(key)) {
        reportedUnusable().insert(key);
        report(
            corruptText(store.path, fault) + QStringLiteral("\r\n") +
            QStringLiteral("Sie bleibt unverändert; ihre Einstellungen werden nicht verwendet."));
    }
    return Reg::Success;
}

long FileRegistryBackend::modify(Store& store, const QStringList& path,
                                 const std::function<long(RegistryNode&, bool&)>& change)
{
    if (store.readOnly)
        return Reg::AccessDenied;
    if (!QDir().mkpath(QFileInfo(store.path).absolutePath()))
        return Reg::AccessDenied;
    QLockFile lock(store.path + QStringLiteral(".lock"));
    if (!acquireLock(lock, store.path + QStringLiteral(".lock"), m_lockTimeoutMs))
        return lock.error() == QLockFile::PermissionError ? Reg::AccessDenied : Reg::LockViolation;

    if (const long status = load(store, true))
        return status;
    if (store.unusable)
        return Reg::BadDb;
    RegistryNode* node = findNode(store.tree, path);
    if (!node)
        return Reg::KeyDeleted;
    bool changed = false;
    if (const long status = change(*node, changed))
        return status;
    if (!changed)
        return Reg::Success;

    removeLeftovers(store.path);
    QSaveFile out(store.path);
    if (!out.open(QIODevice::WriteOnly)) {
        store.loaded = false;
        return out.error() == QFileDevice::PermissionsError ? Reg::AccessDenied : Reg::IoFailed;
    }
    out.write(RegeditFormat::serialize(store.tree, store.rootName));
    if (!out.commit()) {
        store.loaded = false; // memory holds a change the file does not
        return Reg::IoFailed;
    }
    store.identity = identityOf(store.path);
    return Reg::Success;
}

void FileRegistryBackend::addStandardKeys(Store& store) const
{
    // Every Windows profile has a Software key; the system's own code creates its keys
    // below it and relies on that, so a new, empty store has it too.
    if (store.root == Reg::CurrentUser)
        store.tree.addChild(QStringLiteral("Software"));
    if (store.root != Reg::LocalMachine)
        return;
    RegistryNode& tree = store.tree;
    const QStringList path = kSystemKey.split(u'\\');
    if (findNode(tree, path))
        return;
    RegistryNode* node = &tree;
    for (const QString& part : path)
        node = &node->addChild(part);

    const QMap<QString, QString> os = readOsRelease(m_osRelease);
    const QString kernel = QSysInfo::kernelVersion();
    const QString version = os.value(QStringLiteral("VERSION_ID"));
    auto add = [node](const QString& name, const QString& text) {
        RegistryValue v;
        v.name = name;
        v.type = Reg::TypeSz;
        v.data.text = text;
        node->values.append(v);
    };
    add(QStringLiteral("CurrentVersion"), version.isEmpty() ? kernel : version);
    add(QStringLiteral("CurrentBuildNumber"), kernel);
    add(QStringLiteral("CSDVersion"), os.value(QStringLiteral("PRETTY_NAME")));
    add(QStringLiteral("ProductName"), os.value(QStringLiteral("NAME")));
    add(QStringLiteral("RegisteredOwner"), ownerName());
    add(QStringLiteral("RegisteredOrganization"), QString());
}

void FileRegistryBackend::report(const QString& text)
{
    m_pendingReports.append(text);
}

void FileRegistryBackend::flushReports()
{
    const QStringList reports = std::exchange(m_pendingReports, {});
    for (const QString& text : reports) {
        try {
            if (m_reporter)
                m_reporter(text);
            else if (processReporter())
                processReporter()(text);
            else
                VuShowError(text, QStringLiteral("ClsRegistry"));
        } catch (...) {
            // A reporter that fails must not turn a read into a crash.
        }
    }
}

long FileRegistryBackend::openKey(HKey key, const QString& subKey, quint32 access, HKey& result)
{
    ReportFlush flush{[this] { flushReports(); }};
    OpenKey base;
    QStringList parts;
    if (const long status = resolve(key, base))
        return status;
    if (const long status = splitPath(subKey, parts))
        return status;
    Store& store = *storeOf(base.root);
    if (const long status = refresh(store))
        return status;
    RegistryNode* node = findNode(store.tree, base.path);
    if (!node)
        return Reg::KeyDeleted;
    QStringList spelled = base.path;
    for (const QString& part : std::as_const(parts)) {
        node = node->child(part);
        if (!node)
            return Reg::FileNotFound;
        spelled << node->name;
    }
    result = newHandle(OpenKey{base.root, spelled, access});
    return Reg::Success;
}

long FileRegistryBackend::createKey(HKey key, const QString& subKey, quint32 access, HKey& result,
                                    bool* created)
{
    ReportFlush flush{[this] { flushReports(); }};
    OpenKey base;
    QStringList parts;
    if (const long status = resolve(key, base))
        return status;
    if (!(base.access & Reg::CreateSubKey))
        return Reg::AccessDenied;
    if (const long status = splitPath(subKey, parts))
        return status;
    // Deeper keys would make a file that every reader refuses.
    if (base.path.size() + parts.size() > RegeditFormat::kMaxDepth)
        return Reg::InvalidParameter;
    Store& store = *storeOf(base.root);

    QStringList spelled = base.path;
    bool anyNew = false;
    if (store.readOnly) {
        // Nothing can be created here, but an existing key opens as on Windows.
        if (const long status = refresh(store))
            return status;
        RegistryNode* node = findNode(store.tree, base.path);
        if (!node)
            return Reg::KeyDeleted;
        for (const QString& part : std::as_const(parts)) {
            node = node->child(part);
            if (!node)
                return Reg::AccessDenied;
            spelled << node->name;
        }
    } else {
        const long status = modify(store, base.path, [&](RegistryNode& node, bool& changed) {
            RegistryNode* current = &node;
            spelled = base.path;
            for (const QString& part : std::as_const(parts)) {
                bool isNew = false;
                current = &current->addChild(part, &isNew);
                spelled << current->name;
                anyNew = anyNew || isNew;
            }
            changed = anyNew;
            return Reg::Success;
        });
        if (status)
            return status;
    }
    if (created)
        *created = anyNew;
    result = newHandle(OpenKey{base.root, spelled, access});
    return Reg::Success;
}

long FileRegistryBackend::queryValue(HKey key, const QString& valueName, quint32* type,
                                     RegistryData* data, quint32* size)
{
    ReportFlush flush{[this] { flushReports(); }};
    const RegistryNode* node = nullptr;
    if (const long status = readableKey(key, Reg::QueryValue, node))
        return status;
    const int index = node->valueIndex(valueName);
    if (index < 0)
        return Reg::FileNotFound;
    const RegistryValue& value = node->values[index];

    quint32 needed = 0;
    switch (value.type) {
    case Reg::TypeSz:
    case Reg::TypeExpandSz:
        needed = quint32(value.data.text.size() + 1);
        break;
    case Reg::TypeDword:
        needed = 4;
        break;
    default:
        needed = quint32(value.data.bytes.size());
        break;
    }
    if (type)
        *type = value.type;
    if (!data) {
        if (size)
            *size = needed;
        return Reg::Success;
    }
    if (!size)
        return Reg::InvalidParameter;
    if (*size < needed) {
        *size = needed;
        return Reg::MoreData;
    }
    switch (value.type) {
    case Reg::TypeSz:
    case Reg::TypeExpandSz:
        if (data->text.size() < qsizetype(needed))
            data->text.resize(needed, u' ');
        data->text.replace(0, needed, value.data.text + QChar(0));
        break;
    case Reg::TypeDword:
        data->number = value.data.number;
        break;
    default:
        data->bytes = value.data.bytes;
        break;
    }
    *size = needed;
    return Reg::Success;
}

long FileRegistryBackend::setValue(HKey key, const QString& valueName, quint32 type,
                                   const RegistryData& data, quint32 size)
{
    ReportFlush flush{[this] { flushReports(); }};
    Store* store = nullptr;
    QStringList path;
    if (const long status = writableKey(key, Reg::SetValue, store, path))
        return status;
    if (hasControlCharacters(valueName))
        return Reg::InvalidParameter;

    RegistryValue value;
    value.name = valueName;
    value.type = type;
    switch (type) {
    case Reg::TypeSz:
    case Reg::TypeExpandSz:
        value.data.text = size == 0 ? QString() : data.text.left(qsizetype(size) - 1);
        // A lone surrogate has no UTF-8 form: it could not be read back as it was set.
        if (!QStringView(value.data.text).isValidUtf16())
            return Reg::InvalidParameter;
        break;
    case Reg::TypeDword:
        if (size != 4)
            return Reg::InvalidParameter;
        value.data.number = data.number;
        break;
    default:
        value.data.bytes = data.bytes.left(qsizetype(size));
        break;
    }
    return modify(*store, path, [&](RegistryNode& node, bool& changed) {
        const int index = node.valueIndex(valueName);
        if (index < 0) {
            node.values.append(value);
            changed = true;
        } else if (!sameValue(node.values[index], value)) {
            // The name keeps the spelling it was first written with.
            node.values[index].type = value.type;
            node.values[index].data = value.data;
            changed = true;
        }
        return Reg::Success;
    });
}

long FileRegistryBackend::deleteValue(HKey key, const QString& valueName)
{
    ReportFlush flush{[this] { flushReports(); }};
    Store* store = nullptr;
    QStringList path;
    if (const long status = writableKey(key, Reg::SetValue, store, path))
        return status;
    return modify(*store, path, [&](RegistryNode& node, bool& changed) {
        const int index = node.valueIndex(valueName);
        if (index < 0)
            return Reg::FileNotFound;
        node.values.removeAt(index);
        changed = true;
        return Reg::Success;
    });
}

long FileRegistryBackend::enumKey(HKey key, quint32 index, QString& name, quint32 bufferChars)
{
    ReportFlush flush{[this] { flushReports(); }};
    const RegistryNode* node = nullptr;
    if (const long status = readableKey(key, Reg::EnumerateSubKeys, node))
        return status;
    if (index >= node->children.size())
        return Reg::NoMoreItems;
    const QString& found = node->children[index].name;
    if (quint32(found.size()) + 1 > bufferChars)
        return Reg::MoreData;
    name = found;
    return Reg::Success;
}

long FileRegistryBackend::closeKey(HKey key)
{
    if (isPredefined(key))
        return Reg::Success;
    return m_handles.erase(key) ? Reg::Success : Reg::InvalidHandle;
}

long FileRegistryBackend::connectRegistry(const QString& machineName, HKey key, HKey& result)
{
    // No remote registry service exists to talk to.
    result = 0;
    return Reg::BadNetPath;
}
