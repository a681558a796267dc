#pragma once

#include "util/RegeditFormat.h"
#include "util/RegistryBackend.h"

#include <QString>
#include <functional>
#include <map>
#include <unordered_map>

// Receives the German text of a problem the store found on its own (a corrupt file).
using RegistryReporter = std::function<void(const QString& germanText)>;

// The registry kept in text files: one REGEDIT4 file per root key.
//
//   HKEY_CURRENT_USER, HKEY_CLASSES_ROOT: <user folder>/<root name>.reg, read and write;
//     user folder = QStandardPaths::GenericConfigLocation + "/KVAR/registry".
//   HKEY_LOCAL_MACHINE: <machine folder>/HKEY_LOCAL_MACHINE.reg, read only (writes give 5);
//     machine folder = /etc/xdg/KVAR/registry. When that file has no key
//     Software\Microsoft\Windows NT\CurrentVersion, the store serves one made from
//     /etc/os-release and uname: CurrentVersion = VERSION_ID (the kernel release when there
//     is none), CurrentBuildNumber = kernel release, CSDVersion = PRETTY_NAME, ProductName
//     = NAME, RegisteredOwner = the login's full name (else the login name),
//     RegisteredOrganization = empty. So the system's own reading of those values works
//     unchanged.
//   HKEY_CURRENT_USER always has the key Software, as every Windows profile has.
//   HKEY_CLASSES_ROOT is a file of its own, not Windows' merged view of the classes keys.
//   Remote computers: none can be reached; connectRegistry gives 53.
//
// Access rights are checked as Windows checks them, per call on the handle's rights:
// querying needs Reg::QueryValue, setting and deleting values Reg::SetValue, creating
// sub-keys Reg::CreateSubKey, enumerating Reg::EnumerateSubKeys; otherwise 5. Names
// holding control characters are refused with 87 (they would break the file's lines), and so
// are keys deeper than 512 levels and texts that are no valid UTF-16 (a lone surrogate).
// Every other text reads back exactly as set, U+0000 included.
//
// Writes never lose data, also with several running copies: each one takes a lock file
// (QLockFile, "<file>.lock"), reads the file afresh, applies its one change and writes the
// whole file under a temporary name that is renamed over the old one (QSaveFile). A writer
// killed at any moment leaves the old or the new file, both complete; its lock is taken over
// by the next writer. A write that changes nothing writes nothing. A lock not given up in
// time gives 33, a file that cannot be written 5 or 1016.
//
// Reads see what other processes wrote: before each call the file's identity (inode, size,
// modification time; every write renames a new file into place) is compared with the one
// read last, and a changed file is read again.
//
// Leftovers of a writer killed mid-save (QSaveFile's "<file>.XXXXXX", a "<file>.lock.rmlock"
// whose process is gone) are removed by the next writer, under the lock.
//
// A file that cannot be parsed is never written over: it is renamed beside as
// "<file>.defekt-yyyyMMdd-HHmmss", reported once through the reporter, and the store goes on
// empty. If it cannot be renamed (or it is the read-only machine file) it stays untouched,
// is reported once, its values are not used and writes to it give 1009.
//
// Open key handles name a key by its path: a key that another process removed meanwhile
// gives 1018 on the next call through the handle. Handles are never reused.
//
// Not thread-safe: one thread per object.
class FileRegistryBackend final : public RegistryBackend
{
public:
    // Default folders as above (the user folder is taken when the object is made).
    FileRegistryBackend();
    // Other folders, e.g. for tests. An empty machine folder means the default one.
    explicit FileRegistryBackend(const QString& userFolder, const QString& machineFolder = {});
    ~FileRegistryBackend() override;

    static QString defaultUserFolder();
    static QString defaultMachineFolder();

    // The file that holds `root` (one of the three predefined keys), else empty.
    QString fileOf(HKey root) const;

    // Reporter of this object; when empty, the process-wide one is used.
    void setReporter(RegistryReporter reporter) { m_reporter = std::move(reporter); }
    // Process-wide reporter; empty restores the default, the error routine with the
    // text as origin and "ClsRegistry" as module.
    static void setDefaultReporter(RegistryReporter reporter);

    // Source of the synthesized system key (default /etc/os-release, else
    // /usr/lib/os-release).
    void setOsReleaseFile(const QString& path) { m_osRelease = path; }
    // How long a writer waits for another one's lock before giving up with 33.
    void setLockTimeout(int milliseconds) { m_lockTimeoutMs = milliseconds; }
    // For a program that only reads the settings (the command line): every root behaves as
    // the machine file does. Writes give 5, and a damaged file is reported but left where it
    // lies, for the program to move aside on its next start.
    void makeReadOnly();

    long openKey(HKey key, const QString& subKey, quint32 access, HKey& result) override;
    long createKey(HKey key, const QString& subKey, quint32 access, HKey& result,
                   bool* created) override;
    long queryValue(HKey key, const QString& valueName, quint32* type, RegistryData* data,
                    quint32* size) override;
    long setValue(HKey key, const QString& valueName, quint32 type, const RegistryData& data,
                  quint32 size) override;
    long deleteValue(HKey key, const QString& valueName) override;
    long enumKey(HKey key, quint32 index, QString& name, quint32 bufferChars) override;
    long closeKey(HKey key) override;
    long connectRegistry(const QString& machineName, HKey key, HKey& result) override;

private:
    struct FileIdentity {
        bool exists = false;
        quint64 inode = 0;
        qint64 size = 0;
        qint64 mtimeNs = 0;
        bool operator==(const FileIdentity&) const = default;
    };
    struct Store {
        HKey root = 0;
        QString rootName;
        QString path;
        bool readOnly = false;
        bool loaded = false;
        bool unusable = false; // corrupt and could not be moved aside
        FileIdentity identity;
        RegistryNode tree;
    };
    struct OpenKey {
        HKey root = 0;
        QStringList path; // spelled as stored
        quint32 access = 0;
    };

    Store* storeOf(HKey root);
    long resolve(HKey key, OpenKey& out) const;
    long readableKey(HKey key, quint32 right, const RegistryNode*& node);
    long writableKey(HKey key, quint32 right, Store*& store, QStringList& path);
    long refresh(Store& store);
    long load(Store& store, bool locked);
    long modify(Store& store, const QStringList& path,
                const std::function<long(RegistryNode&, bool& changed)>& change);
    void addStandardKeys(Store& store) const;
    void report(const QString& text);
    void flushReports();
    HKey newHandle(const OpenKey& key);

    static FileIdentity identityOf(const QString& path);

    std::map<HKey, Store> m_stores;
    std::unordered_map<HKey, OpenKey> m_handles;
    HKey m_nextHandle = 0x100;
    RegistryReporter m_reporter;
    QStringList m_pendingReports;
    QString m_osRelease;
    int m_lockTimeoutMs = 10000;
};
