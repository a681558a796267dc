#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <memory>
#include <mutex>
#include <optional>

// The kept index of one folder of vCard files: for every file its name, size, times and
// inode, its cards' records (IndexedCard) and the problems reading it gave. It lives in the
// process (one object per folder, shared by every listing of the folder) and in one file in
// the user's cache folder, so that the next start of the program or of the command line
// finds it:
//
//   <cache>/Zettelwerk/Ordnerindex/<SHA-1 of the folder path>.zwidx
//
// The file is a cache: it may be deleted at any time and is never trusted blindly. It names
// its folder and ends with a CRC-32 of everything before; a file that is short, damaged or
// of another folder or format gives no entries (the index is built again and the file
// replaced). Contact files are never written.
//
// The file is written whole to a temporary name and renamed over the old one (QSaveFile), so
// two programs that update one folder's index at once neither see a half-written file nor
// wait for each other: the last to finish wins, and both versions are valid. A flat file
// rather than an embedded database because the whole index is read on every search anyway
// (each file's entry is compared with the directory): one read and a checksum is the fastest
// way, and renaming needs no locks.
class FolderIndexStore
{
public:
    struct Entry {
        QByteArray name; // as the file system spells it
        qint64 size = 0;
        qint64 mtimeNs = 0;
        qint64 ctimeNs = 0;
        quint64 inode = 0;
        // False when the file was read less than the file system's timestamp granularity
        // after it was last modified: a change in the same tick would not show in its times.
        bool settled = false;
        quint32 cards = 0;
        QByteArray records; // IndexedCard records, one per card
        QStringList issues; // the reader's messages about malformed cards
    };

    // The object of one folder (`dir` as the file system spells it), made on first use.
    static std::shared_ptr<FolderIndexStore> forFolder(const QByteArray& dir);

    // Held while the entries are read or changed.
    std::mutex& mutex() { return m_mutex; }
    // The entries, sorted by name.
    const QList<Entry>& entries() const { return m_entries; }
    // Reads the index file when it was never read or another program wrote it since.
    void refresh();
    // Keeps `entries` (sorted by name) and writes the index file; false when it cannot be
    // written (the entries are kept in the process all the same). Clears verifiedGeneration.
    bool update(QList<Entry> entries);

    // The folder-change generation (FolderChangeWatch) at which the entries were last found
    // to match the folder's files; nullopt when unknown.
    std::optional<quint64> verifiedGeneration;

    // Where the index file of `dir` lies ("" when the user has no cache folder).
    static QString filePathFor(const QByteArray& dir);
    // Whether folders are indexed at all: on unless the environment has
    // ZETTELWERK_ORDNERINDEX=0 (benchmarks compare; a suspected fault can be ruled out).
    static bool enabled();
    static void setEnabled(bool on);

private:
    explicit FolderIndexStore(QByteArray dir, QString filePath);
    bool load(const QByteArray& bytes);
    QByteArray serialize() const;
    // Size, modification time and inode of the index file; nullopt when there is none.
    std::optional<std::tuple<qint64, qint64, quint64>> fileStamp() const;
    void removeStaleTemporaries() const;

    QByteArray m_dir;
    QString m_filePath;
    std::mutex m_mutex;
    QList<Entry> m_entries;
    std::optional<std::tuple<qint64, qint64, quint64>> m_stamp; // of the file read or written
    bool m_read = false;
};
