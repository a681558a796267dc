#include "contacts/VCardFolderIndex.h"

#include "contacts/FolderChangeWatch.h"
#include "contacts/FolderIndexStore.h"
#include "contacts/IndexedCard.h"
#include "contacts/VCardReader.h"
#include "util/ErrorRoutine.h"
#include "util/ZwError.h"

#include <QElapsedTimer>
#include <QFile>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <dirent.h>
#include <exception>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace
{

QString reasonText(int err)
{
    switch (err) {
    case EACCES:
    case EPERM:
        return QStringLiteral("Zugriff verweigert");
    case ENOENT:
    case ENOTDIR:
        return QStringLiteral("nicht gefunden");
    case EISDIR:
        return QStringLiteral("ist ein Ordner");
    default:
        return QString::fromLocal8Bit(std::strerror(err));
    }
}

bool sameTime(const timespec& a, const timespec& b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool endsWithNoCase(QByteArrayView name, QByteArrayView suffix)
{
    return name.size() > suffix.size() &&
           name.sliced(name.size() - suffix.size()).compare(suffix, Qt::CaseInsensitive) == 0;
}

qint64 nanoseconds(const timespec& t)
{
    return qint64(t.tv_sec) * 1000000000 + t.tv_nsec;
}

qint64 wallClockNs()
{
    timespec t{};
    clock_gettime(CLOCK_REALTIME, &t);
    return nanoseconds(t);
}

// A file modified less than this before it was read may change again within the same tick
// of a coarse file system clock (FAT and SMB keep 2 s) without its times showing it.
constexpr qint64 kTimestampGranularityNs = 2'000'000'000;
// ZwError number of a reading the user broke off ("Benutzerunterbrechung").
constexpr long kAbortedError = 18;

// Runs fn(i) for i in [0, n) on a few threads; fn must be safe on any thread. `alongside`
// runs on this thread meanwhile, which then joins in.
template <class Fn>
void parallelFor(qsizetype n, const Fn& fn, const std::function<void()>& alongside = {})
{
    constexpr qsizetype kBlock = 256;
    const qsizetype blocks = (n + kBlock - 1) / kBlock;
    std::atomic<qsizetype> next{0};
    auto work = [&] {
        for (qsizetype b; (b = next.fetch_add(1)) < blocks;) {
            for (qsizetype i = b * kBlock; i < std::min(n, (b + 1) * kBlock); ++i)
                fn(i);
        }
    };
    struct Joiner {
        std::vector<std::thread> threads;
        ~Joiner()
        {
            for (std::thread& t : threads)
                t.join();
        }
    } pool;
    const qsizetype wanted =
        std::min<qsizetype>(blocks, std::clamp(int(std::thread::hardware_concurrency()), 1, 4)) -
        (alongside ? 0 : 1);
    try {
        for (qsizetype t = 0; t < wanted; ++t)
            pool.threads.emplace_back(work);
    } catch (const std::system_error&) {
        // fewer threads: this one does the rest
    }
    if (alongside)
        alongside();
    work();
}

} // namespace

void VCardFolderIndex::Problems::add(const QString& text)
{
    if (seen.contains(text))
        return;
    seen.insert(text);
    texts.append(text);
    VuLog(LogLevel::Warning, text);
}

bool VCardFolderIndex::isVCardFileName(QByteArrayView name)
{
    return endsWithNoCase(name, ".vcf") || endsWithNoCase(name, ".vcard");
}

VCardFolderIndex::VCardFolderIndex(QString dir, QString location,
                                   std::shared_ptr<Problems> problems)
    : m_dir(std::move(dir)), m_dirBytes(QFile::encodeName(m_dir)), m_location(std::move(location)),
      m_problems(std::move(problems))
{
    if (FolderIndexStore::enabled()) {
        m_listGeneration = FolderChangeWatch::generation(m_dirBytes);
        const std::optional<Snapshot> snapshot = snapshotOf(m_dirBytes);
        if (m_listGeneration && snapshot && snapshot->generation == *m_listGeneration) {
            m_files = snapshot->files;
            m_dirMtime = snapshot->dirMtime;
            m_count = snapshot->count;
            m_counted = m_allRows = m_numbered = true;
            m_freshGeneration = m_listGeneration;
            for (qsizetype i = 0; i < m_files.size(); ++i) {
                for (const QString& issue : std::as_const(m_files)[i].issues)
                    m_problems->add(QStringLiteral("Datei '%1' im Ordner '%2': %3")
                                        .arg(fileName(quint32(i)), m_location, issue));
            }
            return;
        }
    }
    const int fd = openDir();
    DIR* d = fdopendir(fd);
    if (!d) {
        const int err = errno;
        ::close(fd);
        throw ZwError(75,
                      QStringLiteral("Der Ordner '%1' kann nicht gelesen werden: %2")
                          .arg(m_dir, reasonText(err)),
                      QStringLiteral("Items"));
    }
    struct stat st {
    };
    if (fstat(fd, &st) == 0)
        m_dirMtime = st.st_mtim;
    // The names land in one buffer and are sorted there; the entries are made once, in
    // name order (a folder of tens of thousands of files is listed for every search).
    struct Listed {
        qsizetype offset;
        qsizetype size;
        quint64 inode;
        bool link;
    };
    QByteArray names;
    std::vector<Listed> listed;
    while (const dirent* e = readdir(d)) {
        const QByteArrayView name(e->d_name);
        if (name.startsWith('.') || !isVCardFileName(name))
            continue;
        bool regular = e->d_type == DT_REG;
        bool link = e->d_type == DT_LNK;
        if (e->d_type == DT_LNK || e->d_type == DT_UNKNOWN) {
            struct stat fst {
            };
            regular = fstatat(fd, e->d_name, &fst, 0) == 0 && S_ISREG(fst.st_mode);
            link = link ||
                   (e->d_type == DT_UNKNOWN &&
                    fstatat(fd, e->d_name, &fst, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(fst.st_mode));
        }
        if (regular) {
            listed.push_back(Listed{names.size(), name.size(), quint64(e->d_ino), link});
            names.append(name);
        }
    }
    closedir(d);
    const char* const base = names.constData();
    std::sort(listed.begin(), listed.end(), [base](const Listed& a, const Listed& b) {
        return QByteArrayView(base + a.offset, a.size) < QByteArrayView(base + b.offset, b.size);
    });
    m_files.reserve(qsizetype(listed.size()));
    for (const Listed& l : listed) {
        File file;
        file.name = QByteArray(base + l.offset, l.size);
        file.inode = l.inode;
        m_files.append(std::move(file));
        m_hasLinks = m_hasLinks || l.link;
    }
}

int VCardFolderIndex::openDir() const
{
    const int fd = ::open(QFile::encodeName(m_dir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        throw ZwError(75,
                      QStringLiteral("Der Ordner '%1' kann nicht gelesen werden: %2")
                          .arg(m_dir, reasonText(errno)),
                      QStringLiteral("Items"));
    }
    return fd;
}

bool VCardFolderIndex::isCurrent() const
{
    struct stat st {
    };
    return ::stat(QFile::encodeName(m_dir).constData(), &st) == 0 &&
           sameTime(st.st_mtim, m_dirMtime);
}

QString VCardFolderIndex::fileName(quint32 file) const
{
    return QFile::decodeName(m_files[file].name);
}

int VCardFolderIndex::readBytes(int dirFd, quint32 file, QByteArray& buffer,
                                struct stat* stOut) const
{
    const QByteArray& name = m_files[file].name;
    const int fd = ::openat(dirFd, name.constData(), O_RDONLY | O_CLOEXEC);
    struct stat st {
    };
    int err = 0;
    if (fd < 0 || fstat(fd, &st) != 0) {
        err = errno;
    } else {
        qsizetype size = qsizetype(st.st_size);
        buffer.resize(size + 1);
        qsizetype got = 0;
        for (;;) {
            const ssize_t n = ::read(fd, buffer.data() + got, size_t(buffer.size() - got));
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                err = errno;
                break;
            }
            if (n == 0)
                break;
            got += n;
            if (got == buffer.size()) // grew while we read
                buffer.resize(buffer.size() * 2);
        }
        buffer.resize(got);
    }
    if (fd >= 0)
        ::close(fd);
    if (stOut)
        *stOut = st;
    if (err == 0 && buffer.size() >= 2 && (uchar(buffer[0]) == 0xFF || uchar(buffer[0]) == 0xFE))
        buffer = VCardReader::normalizeEncoding(buffer);
    return err;
}

void VCardFolderIndex::reportUnreadable(quint32 file, int err) const
{
    m_problems->add(QStringLiteral("Die Datei '%1' im Ordner '%2' kann nicht gelesen werden "
                                   "(%3); ihre Kontakte fehlen in der Liste.")
                        .arg(fileName(file), m_location, reasonText(err)));
}

bool VCardFolderIndex::readFile(int dirFd, quint32 file, QByteArray& buffer,
                                struct stat* stOut) const
{
    const int err = readBytes(dirFd, file, buffer, stOut);
    if (err != 0)
        reportUnreadable(file, err);
    return err == 0;
}

quint32 VCardFolderIndex::count(const Progress& progress)
{
    if (m_counted)
        return m_count;
    if (FolderIndexStore::enabled()) {
        ensureFresh(progress, true);
        return m_count;
    }
    scan(OlFilter(), nullptr, progress,
         false); // an empty filter matches nothing but counts everything
    return m_count;
}

quint32 VCardFolderIndex::countWithRows(const Progress& progress)
{
    if (FolderIndexStore::enabled()) {
        // A new use: the files are compared again; a counted listing keeps its numbering.
        ensureFresh(progress, !m_counted);
        return m_count;
    }
    if (m_counted && m_allRows) {
        ++m_pass; // a new use: the kept rows are checked against their files again
        return m_count;
    }
    scan(OlFilter(), nullptr, progress, true);
    m_allRows = true;
    return m_count;
}

QList<VCardFolderIndex::Hit> VCardFolderIndex::restrict(const OlFilter& filter,
                                                        const QList<Hit>* within,
                                                        const Progress& progress)
{
    if (FolderIndexStore::enabled()) {
        ensureFresh(progress, true);
        bool indexed = !filter.properties().isEmpty();
        for (const OlFilter::Property& p : filter.properties())
            indexed = indexed && IndexedCard::filterField(p).has_value();
        if (indexed)
            return restrictFromIndex(filter, within);
        // Any other property: the cards are read and decided one by one, as without index.
    }
    return scan(filter, within, progress, false);
}

QList<VCardFolderIndex::Hit> VCardFolderIndex::foundBeforeAbort(const OlFilter& filter,
                                                                const QList<Hit>* within) const
{
    if (m_hitsBeforeAbort)
        return *m_hitsBeforeAbort;
    for (const OlFilter::Property& p : filter.properties()) {
        if (!IndexedCard::filterField(p))
            return {}; // only the cards themselves could tell, and none was tested yet
    }
    return restrictFromIndex(filter, within, true);
}

QByteArray VCardFolderIndex::packRows(quint32 file, QByteArrayView buffer,
                                      const QList<VCardReader::Chunk>& chunks) const
{
    QByteArray rows;
    const QString location = m_location + QLatin1Char('\\') + fileName(file);
    for (qsizetype c = 0; c < chunks.size(); ++c)
        IndexedCard::pack(buffer.sliced(chunks[c].offset, chunks[c].size), location, int(c), rows);
    rows.squeeze();
    return rows;
}

void VCardFolderIndex::keepRows(quint32 file, QByteArrayView buffer,
                                const QList<VCardReader::Chunk>& chunks, const struct stat& st)
{
    keepPackedRows(file, packRows(file, buffer, chunks), st, m_files[file].issues);
}

void VCardFolderIndex::keepPackedRows(quint32 file, QByteArray rows, const struct stat& st,
                                      QStringList issues)
{
    File& f = m_files[file];
    f.rows = std::move(rows);
    f.inode = quint64(st.st_ino);
    f.rowsSize = qint64(st.st_size);
    f.rowsChanged = st.st_ctim;
    f.rowsModifiedNs = nanoseconds(st.st_mtim);
    f.settled = f.rowsModifiedNs < m_passStartNs - kTimestampGranularityNs;
    f.rowsPass = m_pass;
    f.issues = std::move(issues);
    ++m_rowsVersion;
}

bool VCardFolderIndex::rowsCurrent(const File& file) const
{
    if (file.rowsSize < 0)
        return false;
    if (file.rowsPass == m_pass || m_verifiedPass == m_pass)
        return true;
    struct stat st {
    };
    const QByteArray path = m_dirBytes + '/' + file.name;
    return ::stat(path.constData(), &st) == 0 && quint64(st.st_ino) == file.inode &&
           qint64(st.st_size) == file.rowsSize && sameTime(st.st_ctim, file.rowsChanged) &&
           nanoseconds(st.st_mtim) == file.rowsModifiedNs;
}

void VCardFolderIndex::throwAborted() const
{
    throw ZwError(kAbortedError,
                  QStringLiteral("Benutzerunterbrechung: das Lesen des Ordners '%1' "
                                 "wurde abgebrochen.")
                      .arg(m_location),
                  QStringLiteral("Items"));
}

void VCardFolderIndex::reportIssues(quint32 file, const QList<VCardReader::Issue>& issues) const
{
    for (const VCardReader::Issue& issue : issues) {
        m_problems->add(QStringLiteral("Datei '%1' im Ordner '%2': %3")
                            .arg(fileName(file), m_location, issue.message));
    }
}

QList<quint32> VCardFolderIndex::inodeOrder() const
{
    // Every file, read in the order of its inode: on a cold disk that is the order the
    // file system keeps them in, and saves seeking. Results go back into name order.
    QList<quint32> order(m_files.size());
    for (qsizetype i = 0; i < order.size(); ++i)
        order[i] = quint32(i);
    std::sort(order.begin(), order.end(),
              [this](quint32 a, quint32 b) { return m_files[a].inode < m_files[b].inode; });
    return order;
}

void VCardFolderIndex::scanAllFiles(int dirFd, const QList<quint32>& order,
                                    const Progress& progress, bool allRows, bool keepIssues)
{
    const qsizetype n = order.size();
    // Workers read the names while this thread keeps what they found in other members of
    // the same entries: the list must not be shared (and so not copied on a write).
    m_files.detach();
    // Workers take blocks of neighbouring files, so the disk is still read nearly in order.
    constexpr qsizetype kBlock = 32;
    const qsizetype blocks = (n + kBlock - 1) / kBlock;
    std::vector<FileScan> results(static_cast<size_t>(n));
    std::mutex mutex;
    std::condition_variable blockFinished;
    std::vector<char> done(static_cast<size_t>(blocks), 0); // guarded by mutex
    std::exception_ptr failure;                             // guarded by mutex
    std::atomic<qsizetype> nextBlock{0};
    std::atomic<bool> stop{false};

    auto work = [&] {
        try {
            QByteArray buffer;
            buffer.reserve(1 << 16);
            for (;;) {
                const qsizetype b = nextBlock.fetch_add(1);
                if (b >= blocks)
                    return;
                for (qsizetype i = b * kBlock; i < std::min(n, (b + 1) * kBlock); ++i) {
                    if (stop.load(std::memory_order_relaxed))
                        return;
                    FileScan& r = results[size_t(i)];
                    const quint32 f = order[i];
                    r.err = readBytes(dirFd, f, buffer, &r.st);
                    if (r.err != 0)
                        continue;
                    const QList<VCardReader::Chunk> chunks = VCardReader::split(buffer, &r.issues);
                    r.cards = quint32(chunks.size());
                    if (allRows)
                        r.rows = packRows(f, buffer, chunks);
                }
                {
                    const std::lock_guard lock(mutex);
                    done[size_t(b)] = 1;
                }
                blockFinished.notify_one();
            }
        } catch (...) {
            {
                const std::lock_guard lock(mutex);
                if (!failure)
                    failure = std::current_exception();
            }
            stop = true;
            blockFinished.notify_one();
        }
    };

    // Stops and joins the workers however this function is left (abort, exception).
    struct Pool {
        std::atomic<bool>& stop;
        std::vector<std::thread> threads;
        void join()
        {
            for (std::thread& t : threads)
                t.join();
            threads.clear();
        }
        ~Pool()
        {
            stop = true;
            join();
        }
    } pool{stop, {}};
    const qsizetype wanted =
        std::min<qsizetype>(blocks, std::clamp(int(std::thread::hardware_concurrency()), 1, 4));
    try {
        for (qsizetype t = 0; t < wanted; ++t)
            pool.threads.emplace_back(work);
    } catch (const std::system_error&) {
        if (pool.threads.empty())
            work(); // no thread to be had: read on this one
    }

    // Blocks are taken over in order; an unreadable file is reported as it is met, the
    // malformed cards at the end, in name order.
    QList<std::pair<quint32, const QList<VCardReader::Issue>*>> fileIssues;
    QElapsedTimer sinceAsked;
    sinceAsked.start();
    qsizetype merged = 0;
    while (merged < blocks) {
        qsizetype upTo = merged;
        {
            std::unique_lock lock(mutex);
            const auto ready = [&] { return failure || done[size_t(merged)]; };
            const qint64 wait = progress ? std::max<qint64>(1, 50 - sinceAsked.elapsed()) : 1000;
            blockFinished.wait_for(lock, std::chrono::milliseconds(wait), ready);
            if (failure)
                std::rethrow_exception(failure);
            while (upTo < blocks && done[size_t(upTo)])
                ++upTo;
        }
        for (qsizetype i = merged * kBlock; i < std::min(n, upTo * kBlock); ++i) {
            FileScan& r = results[size_t(i)];
            const quint32 f = order[i];
            if (r.err != 0)
                reportUnreadable(f, r.err);
            m_files[f].cards = r.cards;
            if (!r.issues.isEmpty() && !keepIssues)
                fileIssues.append({f, &r.issues});
            if (r.err == 0 && allRows) {
                QStringList issues;
                for (const VCardReader::Issue& issue : r.issues)
                    issues.append(issue.message);
                keepPackedRows(f, std::move(r.rows), r.st, std::move(issues));
            } else if (r.err != 0) {
                m_files[f].rowsSize = -1;
                m_files[f].rows.clear();
                m_files[f].issues.clear();
            }
        }
        merged = upTo;
        if (progress && sinceAsked.elapsed() >= 50) {
            const bool abort = progress();
            sinceAsked.restart();
            if (abort)
                throwAborted(); // the pool stops and joins the workers
        }
    }
    pool.join();
    std::sort(fileIssues.begin(), fileIssues.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [f, list] : fileIssues)
        reportIssues(f, *list);
}

QList<VCardFolderIndex::Hit> VCardFolderIndex::scan(const OlFilter& filter,
                                                    const QList<Hit>* within,
                                                    const Progress& progress, bool allRows)
{
    ++m_pass;
    m_passStartNs = wallClockNs();
    m_hitsBeforeAbort.reset();
    QList<Hit> hits;
    const bool testing = !filter.properties().isEmpty();
    const int fd = openDir();
    // The owner is asked every 50 ms; the clock is read every 64 files only.
    QElapsedTimer sinceAsked;
    sinceAsked.start();
    quint32 filesRead = 0;
    auto askToGoOn = [&] {
        if (!progress || (++filesRead & 63) != 0 || sinceAsked.elapsed() < 50)
            return;
        const bool stop = progress();
        sinceAsked.restart();
        if (stop) {
            ::close(fd);
            if (testing) {
                std::sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) {
                    return a.file != b.file ? a.file < b.file : a.card < b.card;
                });
                m_hitsBeforeAbort = hits;
            }
            throwAborted();
        }
    };
    QByteArray buffer;
    buffer.reserve(1 << 16);
    QList<VCardReader::Issue> issues;

    auto testCard = [&](quint32 file, quint32 card, QByteArrayView bytes, int line) {
        if (IndexedCard::isGroupCard(bytes))
            return false; // a distribution list has none of a contact's properties
        std::optional<VCardProperty> n, org;
        bool nPeeked = false, orgPeeked = false;
        std::optional<ContactItem> full;
        const OlFilter::ValueOf valueOf = [&](int i) -> std::optional<QVariant> {
            const OlFilter::Property& p = filter.properties()[i];
            if (p.source == OlFilter::Source::NamePart) {
                if (!nPeeked) {
                    n = VCardReader::peek(bytes, "N");
                    nPeeked = true;
                }
                return OlFilter::componentValue(p.source, p.component, n ? n->value : QString());
            }
            if (p.source == OlFilter::Source::OrgPart) {
                if (!orgPeeked) {
                    org = VCardReader::peek(bytes, "ORG");
                    orgPeeked = true;
                }
                return OlFilter::componentValue(p.source, p.component,
                                                org ? org->value : QString());
            }
            if (!full) {
                full.emplace(VCardReader::parse(bytes, line),
                             m_location + QLatin1Char('\\') + fileName(file), int(card));
            }
            if (!p.isUserProperty)
                return full->value(p.name);
            if (const auto up = full->userProperty(p.name))
                return up->value;
            return std::nullopt;
        };
        return filter.matches(valueOf);
    };

    if (within) {
        // Only the files of the hits, each read once; the hits keep their order.
        qsizetype w = 0;
        while (w < within->size()) {
            askToGoOn();
            const quint32 f = (*within)[w].file;
            QList<VCardReader::Chunk> chunks;
            struct stat st {
            };
            if (readFile(fd, f, buffer, &st))
                chunks = VCardReader::split(buffer);
            const qsizetype before = hits.size();
            for (; w < within->size() && (*within)[w].file == f; ++w) {
                const quint32 c = (*within)[w].card;
                if (c < quint32(chunks.size()) &&
                    testCard(f, c, QByteArrayView(buffer).sliced(chunks[c].offset, chunks[c].size),
                             chunks[c].line))
                    hits.append((*within)[w]);
            }
            if (hits.size() > before)
                keepRows(f, buffer, chunks, st);
        }
        ::close(fd);
        return hits;
    }

    if (!testing) {
        // Nothing to decide per card: the files are shared out to worker threads.
        try {
            scanAllFiles(fd, inodeOrder(), progress, allRows);
        } catch (...) {
            ::close(fd);
            throw;
        }
    } else {
        QList<std::pair<quint32, QList<VCardReader::Issue>>> fileIssues;
        for (const quint32 f : inodeOrder()) {
            askToGoOn();
            issues.clear();
            QList<VCardReader::Chunk> chunks;
            struct stat st {
            };
            const bool read = readFile(fd, f, buffer, &st);
            if (read)
                chunks = VCardReader::split(buffer, &issues);
            m_files[f].cards = quint32(chunks.size());
            if (!issues.isEmpty())
                fileIssues.append({f, issues});
            bool hit = false;
            for (qsizetype c = 0; c < chunks.size(); ++c) {
                if (testCard(f, quint32(c),
                             QByteArrayView(buffer).sliced(chunks[c].offset, chunks[c].size),
                             chunks[c].line)) {
                    hits.append(Hit{f, quint32(c)});
                    hit = true;
                }
            }
            if (read && (allRows || hit)) {
                QStringList texts;
                for (const VCardReader::Issue& issue : issues)
                    texts.append(issue.message);
                m_files[f].issues = texts;
                keepRows(f, buffer, chunks, st);
            }
        }
        std::sort(fileIssues.begin(), fileIssues.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [f, list] : fileIssues)
            reportIssues(f, list);
    }
    ::close(fd);
    std::sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) {
        return a.file != b.file ? a.file < b.file : a.card < b.card;
    });
    numberItems();
    m_counted = true;
    return hits;
}

void VCardFolderIndex::numberItems()
{
    quint32 running = 0;
    for (File& file : m_files) {
        file.firstItem = running;
        running += file.cards;
    }
    m_count = running;
}

void VCardFolderIndex::ensureFresh(const Progress& progress, bool renumber)
{
    ++m_pass;
    m_passStartNs = wallClockNs();
    m_hitsBeforeAbort.reset();
    // Asked before the files are looked at: a change from now on shows in the next answer.
    const std::optional<quint64> generation =
        m_hasLinks ? std::nullopt : FolderChangeWatch::generation(m_dirBytes);
    if (m_counted && m_allRows && generation && generation == m_freshGeneration) {
        m_verifiedPass = m_pass;
        return;
    }
    m_freshGeneration.reset();
    const std::shared_ptr<FolderIndexStore> store = FolderIndexStore::forFolder(m_dirBytes);
    // Not held while files are read: the progress question may let the user start another
    // use of the folder on this thread.
    std::unique_lock lock(store->mutex());
    // Nothing changed in the folder since its entries were last compared with the files.
    const bool unchanged = generation && store->verifiedGeneration == generation;

    const int fd = openDir();
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct Now {
        int err = 0;
        struct stat st {
        };
    };
    std::vector<Now> now;
    if (!unchanged) {
        // One look at every file's state (no file is read); the kernel answers in parallel
        // while this thread reads the kept index.
        now.resize(size_t(m_files.size()));
        const QList<File>& files = m_files;
        parallelFor(
            m_files.size(),
            [&](qsizetype i) {
                Now& n = now[size_t(i)];
                if (::fstatat(fd, files[i].name.constData(), &n.st, 0) != 0)
                    n.err = errno;
            },
            [&] { store->refresh(); });
    }
    const QList<FolderIndexStore::Entry>& entries = store->entries();
    auto matches = [](const struct stat& st, qint64 size, qint64 mtimeNs, qint64 ctimeNs,
                      quint64 inode) {
        return qint64(st.st_size) == size && nanoseconds(st.st_mtim) == mtimeNs &&
               nanoseconds(st.st_ctim) == ctimeNs && quint64(st.st_ino) == inode;
    };

    bool storeChanged = false;
    QList<quint32> toRead;
    qsizetype e = 0;
    for (qsizetype i = 0; i < m_files.size(); ++i) {
        File& file = m_files[i];
        while (e < entries.size() && entries[e].name < file.name) {
            ++e; // a file no longer listed
            storeChanged = true;
        }
        const FolderIndexStore::Entry* entry =
            e < entries.size() && entries[e].name == file.name ? &entries[e++] : nullptr;
        if (unchanged) {
            if (!entry)
                toRead.append(quint32(i));
        } else if (now[size_t(i)].err != 0) {
            toRead.append(quint32(i)); // reported when it cannot be read
            storeChanged = storeChanged || entry;
            continue;
        } else {
            const struct stat& st = now[size_t(i)].st;
            // This listing's own records are as good as the kept ones.
            const bool ownCurrent = file.rowsSize >= 0 && file.settled &&
                                    matches(st, file.rowsSize, file.rowsModifiedNs,
                                            nanoseconds(file.rowsChanged), file.inode);
            const bool entryCurrent =
                entry && entry->settled &&
                matches(st, entry->size, entry->mtimeNs, entry->ctimeNs, entry->inode);
            if (ownCurrent && !entryCurrent) {
                file.rowsPass = m_pass;
                storeChanged = true;
                continue;
            }
            if (!entryCurrent) {
                toRead.append(quint32(i));
                continue;
            }
        }
        if (entry) {
            file.rows = entry->records;
            file.cards = entry->cards;
            file.inode = entry->inode;
            file.rowsSize = entry->size;
            file.rowsModifiedNs = entry->mtimeNs;
            file.rowsChanged =
                timespec{time_t(entry->ctimeNs / 1000000000), long(entry->ctimeNs % 1000000000)};
            file.settled = entry->settled;
            file.issues = entry->issues;
            file.rowsPass = m_pass;
            ++m_rowsVersion;
        }
    }
    storeChanged = storeChanged || e < entries.size();
    std::vector<Now>().swap(now); // 100,000 files' states are megabytes: not kept while reading

    if (!toRead.isEmpty()) {
        std::sort(toRead.begin(), toRead.end(),
                  [this](quint32 a, quint32 b) { return m_files[a].inode < m_files[b].inode; });
        lock.unlock();
        try {
            scanAllFiles(fd, toRead, progress, true, true);
        } catch (const ZwError& e) {
            // What was read before the user broke off is kept: the next search goes on from it.
            if (e.number() == kAbortedError) {
                lock.lock();
                store->update(storeEntries());
            }
            throw;
        }
        lock.lock();
        storeChanged = true;
    }

    // Malformed cards are reported in name order, those of kept files as well.
    for (qsizetype i = 0; i < m_files.size(); ++i) {
        for (const QString& issue : std::as_const(m_files[i].issues))
            m_problems->add(QStringLiteral("Datei '%1' im Ordner '%2': %3")
                                .arg(fileName(quint32(i)), m_location, issue));
    }
    for (File& file : m_files) {
        if (file.rowsSize < 0)
            file.cards = 0;
    }
    if (renumber || !m_counted) {
        numberItems();
        m_numbered = true;
    } else {
        m_numbered = false; // the items keep the numbers they had; some may be gone
    }
    m_counted = true;
    m_allRows = true;

    if (storeChanged)
        store->update(storeEntries());
    store->verifiedGeneration = generation;
    m_freshGeneration = generation;
    m_verifiedPass = m_pass;
    // Unreadable files are tried again by the next listing.
    const bool allRead = std::all_of(m_files.cbegin(), m_files.cend(),
                                     [](const File& f) { return f.rowsSize >= 0; });
    if (generation && generation == m_listGeneration && allRead && m_numbered)
        keepSnapshot(m_dirBytes, Snapshot{*generation, m_files, m_dirMtime, m_count});
}

QList<FolderIndexStore::Entry> VCardFolderIndex::storeEntries() const
{
    QList<FolderIndexStore::Entry> entries;
    entries.reserve(m_files.size());
    for (const File& file : m_files) {
        if (file.rowsSize < 0)
            continue;
        FolderIndexStore::Entry entry;
        entry.name = file.name;
        entry.size = file.rowsSize;
        entry.mtimeNs = file.rowsModifiedNs;
        entry.ctimeNs = nanoseconds(file.rowsChanged);
        entry.inode = file.inode;
        entry.settled = file.settled;
        entry.cards = file.cards;
        entry.records = file.rows;
        entry.issues = file.issues;
        entries.append(std::move(entry));
    }
    return entries;
}

namespace
{
std::mutex g_snapshotMutex;
} // namespace

QHash<QByteArray, VCardFolderIndex::Snapshot>& VCardFolderIndex::snapshots()
{
    static QHash<QByteArray, Snapshot> registry;
    return registry;
}

std::optional<VCardFolderIndex::Snapshot> VCardFolderIndex::snapshotOf(const QByteArray& dir)
{
    const std::lock_guard lock(g_snapshotMutex);
    const auto& registry = snapshots();
    const auto it = registry.constFind(dir);
    if (it == registry.cend())
        return std::nullopt;
    return *it;
}

void VCardFolderIndex::keepSnapshot(const QByteArray& dir, Snapshot snapshot)
{
    const std::lock_guard lock(g_snapshotMutex);
    snapshots().insert(dir, std::move(snapshot));
}

QList<VCardFolderIndex::Hit> VCardFolderIndex::restrictFromIndex(const OlFilter& filter,
                                                                 const QList<Hit>* within,
                                                                 bool thisPassOnly) const
{
    auto usable = [&](const File& file) {
        return file.rowsSize >= 0 && (!thisPassOnly || file.rowsPass == m_pass);
    };
    QList<IndexedCard::Field> fields;
    for (const OlFilter::Property& p : filter.properties())
        fields.append(*IndexedCard::filterField(p));
    const IndexedCard* card = nullptr;
    const OlFilter::ValueOf valueOf = [&](int i) -> std::optional<QVariant> {
        return QVariant(card->filterText(fields[i]));
    };
    QList<Hit> hits;
    // Many cards share their values (a folder has far fewer last names than cards): the
    // filter is decided once per distinct combination of the texts it reads.
    std::unordered_map<std::string, bool> decided;
    std::string key;
    auto test = [&](const IndexedCard& c) {
        if (fields.isEmpty())
            return true; // no filter: every item, as the folder's own collection has them
        if (c.isGroup())
            return false;
        key.clear();
        for (const IndexedCard::Field f : std::as_const(fields)) {
            const QByteArrayView utf8 = c.filterUtf8(f);
            const quint32 n = quint32(utf8.size());
            key.append(reinterpret_cast<const char*>(&n), sizeof n);
            key.append(utf8.data(), size_t(n));
        }
        const auto known = decided.find(key);
        if (known != decided.end())
            return known->second;
        card = &c;
        const bool match = filter.matches(valueOf);
        decided.emplace(key, match);
        return match;
    };
    if (within) {
        qsizetype w = 0;
        while (w < within->size()) {
            const quint32 f = (*within)[w].file;
            const QByteArrayView rows(m_files[f].rows);
            qsizetype pos = 0;
            quint32 c = 0;
            for (; w < within->size() && (*within)[w].file == f; ++w) {
                const quint32 wanted = (*within)[w].card;
                for (; c < wanted && pos < rows.size(); ++c)
                    IndexedCard::skip(rows, pos);
                if (c != wanted || pos >= rows.size() || !usable(m_files[f]))
                    continue; // the file has fewer cards now
                const IndexedCard record(rows, pos);
                ++c;
                if (test(record))
                    hits.append((*within)[w]);
            }
        }
        return hits;
    }
    for (qsizetype f = 0; f < m_files.size(); ++f) {
        const File& file = m_files[f];
        if (!usable(file))
            continue;
        const QByteArrayView rows(file.rows);
        qsizetype pos = 0;
        for (quint32 c = 0; c < file.cards; ++c) {
            const IndexedCard record(rows, pos);
            if (test(record))
                hits.append(Hit{quint32(f), c});
        }
    }
    return hits;
}

VCardFolderIndex::Hit VCardFolderIndex::hitAt(quint32 index)
{
    count();
    auto it = std::upper_bound(m_files.cbegin(), m_files.cend(), index,
                               [](quint32 i, const File& f) { return i < f.firstItem; });
    const qsizetype file = (it - m_files.cbegin()) - 1;
    return Hit{quint32(file), index - m_files[file].firstItem};
}

void VCardFolderIndex::throwGone(const Hit& hit) const
{
    throw ZwError(-2147221233,
                  QStringLiteral("Das Element %1 der Datei '%2' im Ordner '%3' ist nicht mehr "
                                 "vorhanden.")
                      .arg(hit.card + 1)
                      .arg(fileName(hit.file), m_location),
                  QStringLiteral("Items"));
}

qsizetype VCardFolderIndex::recordAt(const Hit& hit)
{
    const QByteArrayView rows(std::as_const(m_files)[hit.file].rows);
    // Rows are mostly asked for in order: go on from the last one in the same records.
    qsizetype pos = 0;
    quint32 c = 0;
    if (m_rowCursor.pos >= 0 && m_rowCursor.file == hit.file &&
        m_rowCursor.version == m_rowsVersion && m_rowCursor.card <= hit.card) {
        pos = m_rowCursor.pos;
        c = m_rowCursor.card;
    }
    for (; c < hit.card && pos < rows.size(); ++c)
        IndexedCard::skip(rows, pos);
    if (pos >= rows.size())
        throwGone(hit);
    m_rowCursor.file = hit.file;
    m_rowCursor.card = hit.card;
    m_rowCursor.pos = pos;
    m_rowCursor.version = m_rowsVersion;
    return pos;
}

OlItemRow VCardFolderIndex::row(const Hit& hit)
{
    // Read only: the listing may share its files with the folder's snapshot.
    if (!rowsCurrent(std::as_const(m_files)[hit.file])) {
        File& file = m_files[hit.file];
        const int fd = openDir();
        QByteArray buffer;
        struct stat st {
        };
        const bool read = readFile(fd, hit.file, buffer, &st);
        ::close(fd);
        file.rows.clear();
        file.rowsSize = -1;
        if (read)
            keepRows(hit.file, buffer, VCardReader::split(buffer), st);
    }
    qsizetype pos = recordAt(hit);
    return IndexedCard(std::as_const(m_files)[hit.file].rows, pos).row();
}

OlItem VCardFolderIndex::item(const Hit& hit) const
{
    // Handing out the cards of one file one after another reads it once, as long as it
    // stays the same file (inode, size and times).
    ItemCache& cache = m_itemCache;
    struct stat now {
    };
    const QByteArray path = m_dirBytes + '/' + m_files[hit.file].name;
    const bool same = cache.valid && cache.file == hit.file &&
                      ::stat(path.constData(), &now) == 0 && now.st_ino == cache.st.st_ino &&
                      now.st_size == cache.st.st_size && sameTime(now.st_mtim, cache.st.st_mtim) &&
                      sameTime(now.st_ctim, cache.st.st_ctim);
    if (!same) {
        cache.valid = false;
        cache.buffer.clear();
        cache.chunks.clear();
        const int fd = openDir();
        const bool read = readFile(fd, hit.file, cache.buffer, &cache.st);
        ::close(fd);
        if (read) {
            cache.chunks = VCardReader::split(cache.buffer);
            cache.file = hit.file;
            cache.valid = true;
        }
    }
    const QString name = fileName(hit.file);
    if (!cache.valid || hit.card >= quint32(cache.chunks.size()))
        throwGone(hit);
    const VCardReader::Chunk& c = cache.chunks[hit.card];
    ContactItem contact(
        VCardReader::parse(QByteArrayView(cache.buffer).sliced(c.offset, c.size), c.line),
        m_location + QLatin1Char('\\') + name, int(hit.card));
    return OlItem(std::move(contact), m_dir + QLatin1Char('/') + name);
}
