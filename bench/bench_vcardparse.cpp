// Reads a folder of small vCards (one file each, as a folder store keeps them) and prints how
// long the steps take: reading the bytes, a last-name search that peeks at N only, a full
// parse of every card into a ContactItem, and `grep -c` over the same files for comparison.
//
//   bench_vcardparse [count=100000] [folder]   (without folder: generated in a temp folder)

#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

namespace
{

long peakRssKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return -1;
}

void generate(const QString& dir, int count)
{
    static const char* const last[] = {"Müller", "Schmidt", "Schneider", "Fischer", "Weber",
                                       "Meyer",  "Wagner",  "Becker",    "Schulz",  "Hoffmann"};
    for (int i = 0; i < count; ++i) {
        const QByteArray name = QByteArray(last[i % 10]) + QByteArray::number(i / 10 % 50);
        QByteArray card = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + QByteArray::number(i) +
                          "-bench\r\nN:" + name + ";Max;;Herr;\r\nFN:Herr Max " + name +
                          "\r\nORG:Muster AG;Einkauf\r\nADR;TYPE=WORK:;;Hauptstraße " +
                          QByteArray::number(i % 200) +
                          ";Berlin;;10115;Deutschland\r\nTEL;TYPE=WORK,VOICE:030 " +
                          QByteArray::number(100000 + i) + "\r\nEMAIL;TYPE=INTERNET:max" +
                          QByteArray::number(i) + "@example.com\r\nEND:VCARD\r\n";
        QFile f(QStringLiteral("%1/%2.vcf").arg(dir).arg(i, 6, 10, QLatin1Char('0')));
        if (f.open(QIODevice::WriteOnly))
            f.write(card);
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int count = args.size() > 1 ? args[1].toInt() : 100000;
    QTemporaryDir temp;
    QString dir = args.size() > 2 ? args[2] : temp.path();
    QElapsedTimer t;
    if (args.size() <= 2) {
        t.start();
        generate(dir, count);
        std::printf("generated %d cards in %lld ms\n", count, t.elapsed());
    }
    const QByteArray term = QStringLiteral("Müller7").toUtf8();

    // 1. Bytes only.
    t.start();
    QList<QByteArray> files;
    QStringList paths;
    QDirIterator it(dir, {QStringLiteral("*.vcf")}, QDir::Files);
    while (it.hasNext())
        paths.append(it.next());
    qint64 bytes = 0;
    for (const QString& p : paths) {
        QFile f(p);
        if (f.open(QIODevice::ReadOnly)) {
            files.append(f.readAll());
            bytes += files.last().size();
        }
    }
    std::printf("read %lld files, %lld bytes: %lld ms\n", qint64(files.size()), bytes, t.elapsed());

    // 2. Last-name search: byte pre-filter, then peek at N.
    t.start();
    int hits = 0;
    for (const QString& p : paths) {
        QFile f(p);
        if (!f.open(QIODevice::ReadOnly))
            continue;
        const QByteArray data = f.readAll();
        if (!data.contains(term))
            continue;
        for (const VCardReader::Chunk& c : VCardReader::split(data)) {
            const auto n = VCardReader::peek(QByteArrayView(data).sliced(c.offset, c.size), "N");
            if (n &&
                n->components().value(0).compare(QString::fromUtf8(term), Qt::CaseInsensitive) == 0)
                ++hits;
        }
    }
    const qint64 searchMs = t.elapsed();
    std::printf("last-name search (pre-filter + peek N): %d hits, %lld ms\n", hits, searchMs);

    // 3. The same search by peeking every card (no pre-filter).
    t.start();
    hits = 0;
    for (const QByteArray& data : files) {
        for (const VCardReader::Chunk& c : VCardReader::split(data)) {
            const auto n = VCardReader::peek(QByteArrayView(data).sliced(c.offset, c.size), "N");
            if (n &&
                n->components().value(0).compare(QString::fromUtf8(term), Qt::CaseInsensitive) == 0)
                ++hits;
        }
    }
    std::printf("peek N of every card (files in memory): %d hits, %lld ms\n", hits, t.elapsed());

    // 4. Full parse and mapping.
    t.start();
    qint64 chars = 0;
    for (int i = 0; i < files.size(); ++i) {
        const VCardReader::Result r = VCardReader::read(files[i]);
        for (const VCard& card : r.cards) {
            const ContactItem item(card, paths[i], 0);
            chars += item.value(u"LastName").toString().size() +
                     item.value(u"BusinessAddressCity").toString().size();
        }
    }
    std::printf("full parse + ContactItem of every card: %lld ms (%lld chars)\n", t.elapsed(),
                chars);

    // 5. grep -c over the same files, for comparison.
    t.start();
    QProcess grep;
    grep.setProcessChannelMode(QProcess::MergedChannels);
    grep.start(QStringLiteral("grep"),
               {QStringLiteral("-r"), QStringLiteral("-c"), QStringLiteral("-F"),
                QStringLiteral("--include=*.vcf"), QString::fromUtf8(term), dir});
    grep.waitForFinished(-1);
    const qint64 grepMs = t.elapsed();
    std::printf("grep -rcF over the folder: %lld ms\n", grepMs);
    std::printf("search / grep: %.2f\n", grepMs > 0 ? double(searchMs) / double(grepMs) : 0.0);
    std::printf("peak resident: %ld kB\n", peakRssKb());
    return 0;
}
