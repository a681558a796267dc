// A book of many cards on a local Radicale: the first sync into the cache, a sync with no
// change, and a last-name search in the synced book beside the same search in a local folder
// of the same cards. Prints its figures; run on demand:
//   bench_carddav [cards=10000] [folder to keep the server's and the local cards in]
// A kept folder is used again as it is (Radicale then has its own index already).

#include "contacts/CardDavAccount.h"
#include "contacts/OlFolder.h"
#include "tests/contacts/CardDavTestServers.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

long statusKb(const char* key)
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith(key))
            return line.mid(qstrlen(key)).trimmed().split(' ').first().toLong();
    return -1;
}

const char* const kNames[] = {"Müller",  "Schmidt",  "Schneider", "Fischer", "Weber",
                              "Meyer",   "Wagner",   "Becker",    "Schulz",  "Hoffmann",
                              "Schäfer", "Koch",     "Bauer",     "Richter", "Klein",
                              "Wolf",    "Schröder", "Neumann",   "Schwarz", "Zimmermann"};

QByteArray card(int i)
{
    const QByteArray n = QByteArray::number(i);
    const QByteArray last = QByteArray(kNames[i % 20]) + (i % 7 == 0 ? "" : n.right(3));
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:bench-" + n + "\r\nN:" + last + ";Vorname" + n +
           ";;;\r\nFN:Vorname" + n + " " + last + "\r\nORG:Firma " + n +
           " GmbH;Vertrieb\r\nTITLE:Sachbearbeitung\r\nADR;TYPE=WORK:;;Hauptstraße " + n +
           ";Musterstadt;;12345;Deutschland\r\nTEL;TYPE=WORK:+49 30 " + n +
           "\r\nEMAIL;TYPE=INTERNET:person" + n + "@example.org\r\nEND:VCARD\r\n";
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    f.write(bytes);
}

template <typename F> qint64 ms(F&& f)
{
    QElapsedTimer t;
    t.start();
    f();
    return t.elapsed();
}

// CPU time of this process, and of another one (the server), in ms.
qint64 ownCpuMs()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return (u.ru_utime.tv_sec + u.ru_stime.tv_sec) * 1000 +
           (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1000;
}
qint64 cpuMsOf(qint64 pid)
{
    QFile f(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray line = f.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    // utime and stime are fields 14 and 15 of the line, 12 and 13 after the name.
    return (fields.value(11).toLongLong() + fields.value(12).toLongLong()) * 1000 /
           sysconf(_SC_CLK_TCK);
}

long search(const std::shared_ptr<OlFolder>& folder, const QString& last)
{
    return folder->Items().Restrict(QStringLiteral("[LastName] = '%1'").arg(last)).countWithRows();
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const int count = argc > 1 ? std::atoi(argv[1]) : 10000;
    QTemporaryDir tempDir;
    const QString temp = argc > 2 ? QString::fromLocal8Bit(argv[2]) : tempDir.path();
    const bool reuse = argc > 2 && QFileInfo::exists(temp + QStringLiteral("/lokal"));
    carddavtest::Radicale radicale;
    if (!radicale.start(temp + QStringLiteral("/radicale"))) {
        std::fprintf(stderr, "Radicale startet nicht: %s\n", qPrintable(radicale.log()));
        return 1;
    }
    const QString book = radicale.makeBook(QStringLiteral("gross"), QStringLiteral("VG-Kontakte"));
    const QString local = temp + QStringLiteral("/lokal");
    QDir().mkpath(local);
    for (int i = 0; i < count && !reuse; ++i) {
        const QByteArray c = card(i);
        const QString name = QStringLiteral("/k%1.vcf").arg(i);
        write(book + name, c);
        write(local + name, c);
    }
    // Radicale reads and indexes new files on its first listing; that is the server's work,
    // done once, and measured apart from the client's.
    const qint64 warmServer =
        ms([&] { carddavtest::http("PROPFIND", radicale.bookUrl(QStringLiteral("gross"))); });
    std::printf("%d cards; Radicale's own first listing (server-side indexing): %lld ms\n", count,
                warmServer);

    CardDavSettings s;
    s.cacheDir = temp + QStringLiteral("/cache");
    s.useKeychain = false;
    s.freshForMs = 0;
    // The client is measured here, not the server's first answer on a loaded machine.
    s.answerWithinMs = 120000;
    s.requestTimeoutMs = 120000;
    s.askLogin = [](const CardDavLoginRequest& r) -> std::optional<CardDavLogin> {
        if (r.failed)
            return std::nullopt;
        return CardDavLogin{QStringLiteral("anna"), QStringLiteral("geheim")};
    };
    QDir(s.cacheDir).removeRecursively(); // a kept folder's cache from an earlier run
    const long rssBefore = statusKb("VmRSS:");
    CardDavAccount account(radicale.base() + QStringLiteral("/"), s);
    QList<std::shared_ptr<OlFolder>> folders;
    const qint64 discoverMs = ms([&] {
        QString reason;
        if (account.discover(&reason))
            folders = account.folders(QStringLiteral("Öffentlich"));
    });
    if (account.books().isEmpty()) {
        std::fprintf(stderr, "kein Adressbuch gefunden: %s\n", qPrintable(account.discoveryNote()));
        return 1;
    }
    const auto bookObj = account.books().first();
    bool ok = false;
    const qint64 clientCpu0 = ownCpuMs(), serverCpu0 = cpuMsOf(radicale.pid());
    const qint64 firstMs = ms([&] { ok = bookObj->sync(); });
    std::printf("first sync CPU: client %lld ms, Radicale %lld ms\n", ownCpuMs() - clientCpu0,
                cpuMsOf(radicale.pid()) - serverCpu0);
    std::printf("discovery: %lld ms\nfirst sync: %lld ms, %d cards fetched (%s) (target < 10000 "
                "ms)\n",
                discoverMs, firstMs, bookObj->lastStats().fetched,
                ok ? "ok" : qPrintable(bookObj->staleNote()));
    std::printf("resident after first sync: %ld kB (+%ld kB), peak so far %ld kB\n",
                statusKb("VmRSS:"), statusKb("VmRSS:") - rssBefore, statusKb("VmHWM:"));

    // The book's last-modified time is trusted once it has stood for two seconds.
    QThread::msleep(2200);
    bookObj->sync();
    QList<qint64> quiet;
    const qint64 quietClient0 = ownCpuMs(), quietServer0 = cpuMsOf(radicale.pid());
    for (int i = 0; i < 7; ++i)
        quiet.append(ms([&] { bookObj->sync(); }));
    std::printf("7 syncs with no change, CPU: client %lld ms, Radicale %lld ms; told by "
                "last-modified: %s\n",
                ownCpuMs() - quietClient0, cpuMsOf(radicale.pid()) - quietServer0,
                bookObj->lastStats().byLastModified ? "ja" : "nein");
    std::sort(quiet.begin(), quiet.end());
    std::printf("sync with no change: median %lld ms, max %lld ms (unchanged: %s) (target < 200 "
                "ms)\n",
                quiet[quiet.size() / 2], quiet.last(),
                bookObj->lastStats().unchanged ? "ja" : "nein");

    // One card changed on the server: the sync fetches just that one.
    carddavtest::http(
        "PUT", radicale.bookUrl(QStringLiteral("gross")).resolved(QUrl("k1.vcf")),
        card(1).replace("Vorname1;", "Geändert " +
                                         QByteArray::number(QDateTime::currentMSecsSinceEpoch()) +
                                         ";"));
    const qint64 oneMs = ms([&] { bookObj->sync(); });
    std::printf("sync with one changed card: %lld ms, %d fetched\n", oneMs,
                bookObj->lastStats().fetched);

    // The search: the synced book's cache (what a search reads once the server has answered
    // or was asked within the last seconds), the same through the book's folder with its
    // server check first, and the same cards in a plain local folder.
    const auto synced = folders.first();
    const auto cache = OlFolder::onDisk(QStringLiteral("cache"), QStringLiteral("cache"),
                                        bookObj->cacheDir(), false, false);
    const auto plain =
        OlFolder::onDisk(QStringLiteral("lokal"), QStringLiteral("lokal"), local, false, false);
    for (const char* last : {"Müller", "Zimmermann"}) {
        const QString name = QString::fromUtf8(last);
        long hits[3] = {};
        qint64 first[3] = {};
        QList<qint64> again[3];
        const std::shared_ptr<OlFolder> f[3] = {cache, plain, synced};
        for (int k = 0; k < 3; ++k)
            first[k] = ms([&] { hits[k] = search(f[k], name); });
        for (int i = 0; i < 5; ++i)
            for (int k = 0; k < 3; ++k)
                again[k].append(ms([&] { search(f[k], name); }));
        for (auto& a : again)
            std::sort(a.begin(), a.end());
        std::printf("search '%s': synced cache %ld hits, first %lld ms, then median %lld ms; "
                    "local folder %ld hits, first %lld ms, then median %lld ms; through the "
                    "book's folder with server check: median %lld ms\n",
                    last, hits[0], first[0], again[0][2], hits[1], first[1], again[1][2],
                    again[2][2]);
    }
    std::printf("peak resident (VmHWM): %ld kB\n", statusKb("VmHWM:"));
    return 0;
}
