#pragma once

#include "contacts/FolderIndexStore.h"
#include "contacts/OlFilter.h"
#include "contacts/OlItem.h"
#include "contacts/OlItemRow.h"
#include "contacts/VCardReader.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <sys/stat.h>

// What a folder of vCard files holds, read lazily and kept small, so that a folder of
// 100,000 files can be counted and searched without parsing every card.
//
// - Listing (the constructor) reads only the directory: the files named *.vcf or *.vcard
//   (any case; hidden files skipped), sorted by their bytes, so the order is stable.
// - count() reads every file once and counts its cards (VCardReader::split); nothing is
//   parsed. The items of the folder are the cards in file order, then position in the file.
// - restrict() reads every file once and decides each card with the filter: LastName,
//   FirstName, Title, CompanyName, ... are read by peeking at the N or ORG line alone; only a
//   filter on other properties parses whole cards.
// - item() parses one card fully when it is handed out.
// - row() gives the few values of a hit list (OlItemRow) without a full parse. They are
//   kept, packed, from the pass that read the file: countWithRows() keeps them for every
//   card, restrict() for the files with a hit. A kept row is used only while the file is
//   unchanged (inode, size and change time), otherwise the file is read again. Rows kept by
//   the latest countWithRows() or restrict() are trusted without asking the file system:
//   the caller has just read them; after the next such call they are checked again.
//
// The persistent index (FolderIndexStore, on unless switched off): count(), countWithRows()
// and restrict() first bring the kept records of every file up to date. Each file's name,
// size, times and inode are compared with the kept entry (one look at the directory's files,
// none read) and only new and changed files are read; a file read less than the file
// system's timestamp granularity after its last change is read again next time. Within one
// process, while the kernel reports no change in the folder (FolderChangeWatch), not even
// that look is needed. count() is then the sum of the kept card counts, rows come from the
// records, and a restrict() on LastName, FirstName, CompanyName and FileAs only is decided
// on the records; any other property reads the cards as without index. The results are
// those of reading every file, in the same order, with the same problems reported.
//
// Files are opened read-only and never written. A file that cannot be read and a card that
// is malformed are skipped and reported to the Problems list (one German sentence each,
// logged once); every other card of the folder still counts.
//
// count() and countWithRows() share the files out to a few worker threads; results, problems
// and the progress question stay on the calling thread, in the order of a single pass.
//
// A listing is a snapshot: isCurrent() tells whether the directory changed since (a file
// added, removed or renamed). A file changed in place is read afresh when an item is handed
// out.
class VCardFolderIndex
{
public:
    // Problems met while reading a folder, shared by the folder and its item collections.
    struct Problems {
        QStringList texts;
        QSet<QString> seen;
        // Adds and logs a text once (VuLog, warning).
        void add(const QString& text);
    };
    // Asked now and then while a whole folder is read (about every 50 ms); true breaks the
    // reading off with ZwError 18 ("Benutzerunterbrechung"). The listing stays usable.
    using Progress = std::function<bool()>;
    struct Hit {
        quint32 file = 0; // index into the listing
        quint32 card = 0; // 0-based card in that file
    };

    // Throws ZwError 75 (German text naming the folder and the reason) when the directory
    // cannot be listed. `location` is the folder's logical path; with the file name it makes
    // the EntryID of a card without UID.
    VCardFolderIndex(QString dir, QString location, std::shared_ptr<Problems> problems);

    // True when the directory has not changed since the listing.
    bool isCurrent() const;
    const QString& dir() const { return m_dir; }
    int fileCount() const { return int(m_files.size()); }

    // Number of cards (reads every file once; later calls are free).
    quint32 count(const Progress& progress = {});
    // The cards that match, in item order; `within` limits the test to those hits.
    QList<Hit> restrict(const OlFilter& filter, const QList<Hit>* within = nullptr,
                        const Progress& progress = {});
    // count(), keeping the row of every card on the way (later calls are free).
    quint32 countWithRows(const Progress& progress = {});
    // After countWithRows() or restrict() was broken off: the cards of the files that pass
    // had got to which match `filter` (an empty one: all of them), in item order.
    QList<Hit> foundBeforeAbort(const OlFilter& filter, const QList<Hit>* within = nullptr) const;
    // The 0-based item of the whole folder (count() first).
    Hit hitAt(quint32 index);
    // Reads and parses one card. Throws ZwError when the file is gone or has fewer cards now.
    // The file read last is kept while it stays the same, so its cards cost one read.
    OlItem item(const Hit& hit) const;
    // The hit list values of one card, equal to those of item(hit). Throws as item() does.
    OlItemRow row(const Hit& hit);

    // The file name, as text.
    QString fileName(quint32 file) const;

    // True when the file name is one of a vCard (.vcf, .vcard, any case).
    static bool isVCardFileName(QByteArrayView name);

private:
    struct File {
        QByteArray name; // as the file system has it
        quint64 inode = 0;
        quint32 firstItem = 0;
        quint32 cards = 0;
        // The records of its cards (IndexedCard) and the state of the file they were read
        // from; rowsSize < 0: none kept.
        QByteArray rows;
        qint64 rowsSize = -1;
        timespec rowsChanged{};
        quint32 rowsPass = 0; // the pass that kept them or last found them current
        qint64 rowsModifiedNs = 0;
        bool settled = false; // see FolderIndexStore::Entry
        QStringList issues;   // the reader's messages about its malformed cards
    };
    // What one read of a file found (scanAllFiles, on a worker thread).
    struct FileScan {
        int err = 0;
        quint32 cards = 0;
        QList<VCardReader::Issue> issues;
        QByteArray rows;
        struct stat st {
        };
    };
    // A listing found current, with every file's records: a new listing of the folder takes
    // it over while the kernel reports no change (the wizard lists a folder anew per search).
    struct Snapshot {
        quint64 generation = 0;
        QList<File> files;
        timespec dirMtime{};
        quint32 count = 0;
    };
    static QHash<QByteArray, Snapshot>& snapshots(); // guarded by a mutex of its own
    static std::optional<Snapshot> snapshotOf(const QByteArray& dir);
    static void keepSnapshot(const QByteArray& dir, Snapshot snapshot);
    // Reads one file into `buffer` (normalised to UTF-8); false with a report when it cannot.
    // `st` receives the state of the file read.
    bool readFile(int dirFd, quint32 file, QByteArray& buffer, struct stat* st = nullptr) const;
    // readFile() without the report: 0 or the errno. Safe on any thread.
    int readBytes(int dirFd, quint32 file, QByteArray& buffer, struct stat* st) const;
    void reportUnreadable(quint32 file, int err) const;
    void reportIssues(quint32 file, const QList<VCardReader::Issue>& issues) const;
    [[noreturn]] void throwAborted() const;
    // The listing's indexes in the order of their inodes.
    QList<quint32> inodeOrder() const;
    int openDir() const;
    QList<Hit> scan(const OlFilter& filter, const QList<Hit>* within, const Progress& progress,
                    bool allRows);
    // The given files (in inode order) without a filter, shared out to worker threads.
    // Problems with malformed cards are reported at the end unless `keepIssues`: then they
    // are only kept with the files.
    void scanAllFiles(int dirFd, const QList<quint32>& order, const Progress& progress,
                      bool allRows, bool keepIssues = false);
    // The packed rows of a file's cards. Safe on any thread.
    QByteArray packRows(quint32 file, QByteArrayView buffer,
                        const QList<VCardReader::Chunk>& chunks) const;
    void keepRows(quint32 file, QByteArrayView buffer, const QList<VCardReader::Chunk>& chunks,
                  const struct stat& st);
    void keepPackedRows(quint32 file, QByteArray rows, const struct stat& st,
                        QStringList issues = {});
    // The persistent index: brings every file's entry up to date with the folder, reading
    // only new and changed files, and answers count() from it.
    // `renumber`: the items are numbered afresh (else a counted listing keeps its numbers).
    void ensureFresh(const Progress& progress, bool renumber);
    // `thisPassOnly`: only files read or found current by the latest pass count.
    QList<Hit> restrictFromIndex(const OlFilter& filter, const QList<Hit>* within,
                                 bool thisPassOnly = false) const;
    // The entries the persistent index keeps of the files read so far.
    QList<FolderIndexStore::Entry> storeEntries() const;
    // The record of card `hit.card` in the file's kept records.
    qsizetype recordAt(const Hit& hit);
    // Numbers the items afresh from the files' card counts (firstItem, m_count).
    void numberItems();
    bool rowsCurrent(const File& file) const;
    [[noreturn]] void throwGone(const Hit& hit) const;

    QString m_dir;
    QByteArray m_dirBytes; // m_dir as the file system spells it
    QString m_location;
    std::shared_ptr<Problems> m_problems;
    QList<File> m_files;
    timespec m_dirMtime{};
    bool m_counted = false;
    bool m_allRows = false;
    quint32 m_pass = 0;         // passes over files so far
    quint32 m_verifiedPass = 0; // the pass in which ensureFresh() found all kept rows current
    quint32 m_count = 0;
    qint64 m_passStartNs = 0;                 // wall clock when the latest pass began
    bool m_hasLinks = false;                  // some files are symbolic links (changes not watched)
    std::optional<quint64> m_freshGeneration; // FolderChangeWatch, when last made fresh
    std::optional<quint64> m_listGeneration;  // FolderChangeWatch, before the listing
    bool m_numbered = false;                  // the numbering matches the kept card counts
    // Where row() last stopped, so that walking a file's cards in order is linear.
    struct {
        quint32 file = 0, card = 0;
        qsizetype pos = -1;
        quint64 version = 0; // of the records walked (m_rowsVersion)
    } m_rowCursor;
    quint64 m_rowsVersion = 0; // grows whenever a file's records are replaced
    // The hits a card-by-card reading had when it was broken off.
    std::optional<QList<Hit>> m_hitsBeforeAbort;
    // The file item() read last, so that handing out its cards one by one reads it once.
    struct ItemCache {
        quint32 file = 0;
        QByteArray buffer;
        QList<VCardReader::Chunk> chunks;
        struct stat st {
        };
        bool valid = false;
    };
    mutable ItemCache m_itemCache;
};
