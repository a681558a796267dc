#include "contacts/FolderIndexStore.h"
#include "util/SystemErrorText.h"

#include "contacts/IndexedCard.h"
#include "util/AppInfo.h"
#include "util/ErrorRoutine.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QSaveFile>
#include <QStandardPaths>
#include <QtEndian>
#include <atomic>
#include <cstring>
#include <sys/stat.h>
#include <zlib.h>

namespace
{

// Format 1; a file of another format is not read (and is replaced).
constexpr char kMagic[8] = {'Z', 'W', 'I', 'D', 'X', '\0', '\0', '\1'};

// ZETTELWERK_ORDNERINDEX=0 switches the index off (to compare, or to rule it out).
std::atomic<bool> g_enabled{qEnvironmentVariable("ZETTELWERK_ORDNERINDEX") != QLatin1String("0")};

class Writer
{
public:
    explicit Writer(QByteArray& out) : m_out(out) {}
    template <class T> void number(T v)
    {
        const T le = qToLittleEndian(v);
        m_out.append(reinterpret_cast<const char*>(&le), sizeof le);
    }
    void bytes(QByteArrayView b)
    {
        number(quint32(b.size()));
        m_out.append(b);
    }

private:
    QByteArray& m_out;
};

// Reads what Writer wrote; every read fails, once the bytes run out.
class Reader
{
public:
    explicit Reader(QByteArrayView in) : m_in(in) {}
    template <class T> bool number(T& v)
    {
        if (m_in.size() - m_pos < qsizetype(sizeof v))
            return false;
        std::memcpy(&v, m_in.data() + m_pos, sizeof v);
        v = qFromLittleEndian(v);
        m_pos += sizeof v;
        return true;
    }
    bool bytes(QByteArrayView& b)
    {
        quint32 n = 0;
        if (!number(n) || qsizetype(n) > m_in.size() - m_pos)
            return false;
        b = m_in.sliced(m_pos, n);
        m_pos += n;
        return true;
    }
    bool atEnd() const { return m_pos == m_in.size(); }

private:
    QByteArrayView m_in;
    qsizetype m_pos = 0;
};

QString indexFolder()
{
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (cache.isEmpty())
        return QString();
    return cache + QLatin1Char('/') + AppInfo::title() + QStringLiteral("/Ordnerindex");
}

} // namespace

bool FolderIndexStore::enabled()
{
    return g_enabled;
}

void FolderIndexStore::setEnabled(bool on)
{
    g_enabled = on;
}

QString FolderIndexStore::filePathFor(const QByteArray& dir)
{
    const QString folder = indexFolder();
    if (folder.isEmpty())
        return QString();
    const QByteArray hash = QCryptographicHash::hash(dir, QCryptographicHash::Sha1).toHex();
    return folder + QLatin1Char('/') + QString::fromLatin1(hash) + QStringLiteral(".zwidx");
}

std::shared_ptr<FolderIndexStore> FolderIndexStore::forFolder(const QByteArray& dir)
{
    // One object per folder and index file (the cache folder follows the environment).
    static std::mutex registryMutex;
    static QHash<QString, std::shared_ptr<FolderIndexStore>> registry;
    const QString path = filePathFor(dir);
    const QString key = QString::fromLatin1(dir.toHex()) + QLatin1Char('|') + path;
    const std::lock_guard lock(registryMutex);
    std::shared_ptr<FolderIndexStore>& store = registry[key];
    if (!store)
        store.reset(new FolderIndexStore(dir, path));
    return store;
}

FolderIndexStore::FolderIndexStore(QByteArray dir, QString filePath)
    : m_dir(std::move(dir)), m_filePath(std::move(filePath))
{
}

std::optional<std::tuple<qint64, qint64, quint64>> FolderIndexStore::fileStamp() const
{
    struct stat st {
    };
    if (m_filePath.isEmpty() || ::stat(QFile::encodeName(m_filePath).constData(), &st) != 0)
        return std::nullopt;
    return std::tuple<qint64, qint64, quint64>{
        qint64(st.st_size), qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec,
        quint64(st.st_ino)};
}

void FolderIndexStore::refresh()
{
    const auto stamp = fileStamp();
    if (m_read && stamp == m_stamp)
        return;
    m_read = true;
    m_stamp = stamp;
    m_entries.clear();
    verifiedGeneration.reset();
    if (!stamp)
        return;
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray bytes = file.readAll();
    if (!load(bytes)) {
        m_entries.clear();
        VuLog(LogLevel::Info, QStringLiteral("Der Suchindex '%1' ist beschädigt und wird neu "
                                             "aufgebaut.")
                                  .arg(m_filePath));
    }
}

bool FolderIndexStore::load(const QByteArray& bytes)
{
    const qsizetype tail = 4;
    if (bytes.size() < qsizetype(sizeof kMagic) + tail ||
        std::memcmp(bytes.constData(), kMagic, sizeof kMagic) != 0)
        return false;
    const QByteArrayView body = QByteArrayView(bytes).first(bytes.size() - tail);
    const quint32 crc = qFromLittleEndian<quint32>(bytes.constData() + body.size());
    if (crc32(0, reinterpret_cast<const Bytef*>(body.data()), uInt(body.size())) != crc)
        return false;
    Reader r(body.sliced(sizeof kMagic));
    QByteArrayView dir;
    quint32 count = 0;
    if (!r.bytes(dir) || dir != m_dir || !r.number(count))
        return false;
    QList<Entry> entries;
    entries.reserve(qsizetype(std::min<quint32>(count, 1u << 20)));
    for (quint32 i = 0; i < count; ++i) {
        Entry e;
        QByteArrayView name, records;
        quint8 settled = 0;
        quint32 issues = 0;
        if (!r.bytes(name) || !r.number(e.size) || !r.number(e.mtimeNs) || !r.number(e.ctimeNs) ||
            !r.number(e.inode) || !r.number(settled) || !r.number(e.cards) || !r.bytes(records) ||
            !r.number(issues))
            return false;
        for (quint32 k = 0; k < issues; ++k) {
            QByteArrayView text;
            if (!r.bytes(text))
                return false;
            e.issues.append(QString::fromUtf8(text));
        }
        if (name.isEmpty() || (!entries.isEmpty() && !(entries.last().name < name)) ||
            !IndexedCard::valid(records, e.cards))
            return false;
        e.name = name.toByteArray();
        e.settled = settled != 0;
        e.records = records.toByteArray();
        entries.append(std::move(e));
    }
    if (!r.atEnd())
        return false;
    m_entries = std::move(entries);
    return true;
}

QByteArray FolderIndexStore::serialize() const
{
    qsizetype size = 64 + m_dir.size();
    for (const Entry& e : m_entries)
        size += 64 + e.name.size() + e.records.size();
    QByteArray out;
    out.reserve(size);
    out.append(kMagic, sizeof kMagic);
    Writer w(out);
    w.bytes(m_dir);
    w.number(quint32(m_entries.size()));
    for (const Entry& e : m_entries) {
        w.bytes(e.name);
        w.number(e.size);
        w.number(e.mtimeNs);
        w.number(e.ctimeNs);
        w.number(e.inode);
        w.number(quint8(e.settled ? 1 : 0));
        w.number(e.cards);
        w.bytes(e.records);
        w.number(quint32(e.issues.size()));
        for (const QString& issue : e.issues)
            w.bytes(issue.toUtf8());
    }
    w.number(quint32(crc32(0, reinterpret_cast<const Bytef*>(out.constData()), uInt(out.size()))));
    return out;
}

bool FolderIndexStore::update(QList<Entry> entries)
{
    m_entries = std::move(entries);
    m_read = true;
    verifiedGeneration.reset(); // whoever hands in entries says when they were verified
    if (m_filePath.isEmpty())
        return false;
    const QString folder = QFileInfo(m_filePath).absolutePath();
    if (!QDir().mkpath(folder))
        return false;
    removeStaleTemporaries();
    QSaveFile file(m_filePath);
    const QByteArray bytes = serialize();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        VuLog(LogLevel::Info, QStringLiteral("Der Suchindex '%1' kann nicht geschrieben werden: "
                                             "%2")
                                  .arg(m_filePath, VuFileErrorText(file)));
        m_stamp.reset();
        return false;
    }
    m_stamp = fileStamp();
    return true;
}

void FolderIndexStore::removeStaleTemporaries() const
{
    // A program killed while writing may leave its temporary file (where the system has no
    // unnamed temporary files); one older than an hour belongs to no running writer.
    const QFileInfo index(m_filePath);
    const QDateTime limit = QDateTime::currentDateTimeUtc().addSecs(-3600);
    const QFileInfoList leftovers =
        QDir(index.absolutePath())
            .entryInfoList({index.fileName() + QStringLiteral(".*")}, QDir::Files | QDir::Hidden);
    for (const QFileInfo& f : leftovers) {
        if (f.lastModified().toUTC() < limit)
            QFile::remove(f.absoluteFilePath());
    }
}
