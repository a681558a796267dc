#include "contacts/FolderIndexStore.h"
#include "contacts/OlFilter.h"
#include "contacts/VCardFolderIndex.h"
#include "tests/contacts/StoreTestKit.h"

#include <QElapsedTimer>
#include <QProcess>
#include <cstdio>
#include <fcntl.h>

using namespace storekit;

namespace
{

const QString kLocation = QStringLiteral("Persönliche Ordner\\Kontakte");
const QString kMueller = QStringLiteral("[LastName] = 'müller'");

// What a search shows: the count, every hit with its row and the problems, one line each.
QStringList describe(const QString& dir, const QString& filter)
{
    auto problems = std::make_shared<VCardFolderIndex::Problems>();
    VCardFolderIndex index(dir, kLocation, problems);
    QStringList out{QStringLiteral("count %1").arg(index.count())};
    for (const VCardFolderIndex::Hit& hit : index.restrict(OlFilter::parse(filter))) {
        const OlItemRow row = index.row(hit);
        out.append(QStringLiteral("%1/%2 %3|%4|%5|%6")
                       .arg(index.fileName(hit.file))
                       .arg(hit.card)
                       .arg(row.lastName, row.firstName, row.fileAs, row.entryId));
    }
    return out + problems->texts;
}

// The same search reading every card, without index.
QStringList fullScan(const QString& dir, const QString& filter)
{
    FolderIndexStore::setEnabled(false);
    const QStringList out = describe(dir, filter);
    FolderIndexStore::setEnabled(true);
    return out;
}

// The same search in a program of its own (this test started as a child).
QStringList inChild(const QString& dir, const QString& filter)
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--child"), dir, filter});
    if (!child.waitForFinished(60000) || child.exitCode() != 0)
        return {QStringLiteral("child failed: ") + QString::fromUtf8(child.readAllStandardError())};
    return QString::fromUtf8(child.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

// Sets a file's access and modification time to `t`.
void setTimes(const QString& path, const timespec& t)
{
    const timespec times[2] = {t, t};
    QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0);
}

enum class Change {
    OtherSize,
    SameSize,
    Added,
    Removed,
    Renamed,
    IndexDeleted,
    IndexTruncated,
    IndexFlipped,
    UnsettledEntry,
    SettledEntry
};

} // namespace

class TstFolderIndexStore : public StoreFixture
{
    Q_OBJECT

    QString path(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }

private slots:
    void init() { setUp(); } // the index goes to the cache folder of the private home
    void cleanup() { tearDown(); }

    // Whatever happens to the files or the index behind the program's back, the next search
    // (in the same program and in a new one) gives what reading every card gives.
    void followsChangesBehindItsBack_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<bool>("trusted"); // a new program shows the index's (doctored) entry
        QTest::newRow("file changed, other size") << Change::OtherSize << false;
        QTest::newRow("file changed, same size") << Change::SameSize << false;
        QTest::newRow("file added") << Change::Added << false;
        QTest::newRow("file removed") << Change::Removed << false;
        QTest::newRow("file renamed") << Change::Renamed << false;
        QTest::newRow("index deleted") << Change::IndexDeleted << false;
        QTest::newRow("index truncated") << Change::IndexTruncated << false;
        QTest::newRow("index with a byte changed") << Change::IndexFlipped << false;
        QTest::newRow("entry read within the clock's tick") << Change::UnsettledEntry << false;
        QTest::newRow("settled entry is not read again") << Change::SettledEntry << true;
    }
    void followsChangesBehindItsBack()
    {
        QFETCH(Change, change);
        QFETCH(bool, trusted);
        put(path("a.vcf"), card("Müller;Max;;;") + card("Schmidt;Eva;;;"));
        put(path("b.vcf"), card("Müller;Anna;;;", "UID:b-1\r\n"));
        put(path("c.vcf"), card("Weber;Jo;;;"));
        put(path("d.vcf"), "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Kaputt;;;;\r\n" + card("MÜLLER;Udo"));
        timespec written;
        clock_gettime(CLOCK_REALTIME, &written);
        written.tv_sec -= change == Change::UnsettledEntry ? 0 : 3600;
        for (const char* name : {"a.vcf", "b.vcf", "c.vcf", "d.vcf"})
            setTimes(path(name), written);
        const QByteArray dir = QFile::encodeName(m_dir->path());
        const QString indexFile = FolderIndexStore::filePathFor(dir);

        // The first search builds the index; a second program uses it.
        const QStringList before = fullScan(m_dir->path(), kMueller);
        QCOMPARE(describe(m_dir->path(), kMueller), before);
        QVERIFY(QFile::exists(indexFile));
        QCOMPARE(inChild(m_dir->path(), kMueller), before);

        switch (change) {
        case Change::OtherSize:
            put(path("b.vcf"), card("Müller;Annegret;;;", "UID:b-1\r\n"));
            break;
        case Change::SameSize:
            // Even the modification time is the old one: only the inode's change time tells.
            put(path("b.vcf"), card("Muller;Anna;;;;", "UID:b-1\r\n"));
            setTimes(path("b.vcf"), written);
            break;
        case Change::Added:
            put(path("bb.vcf"), card("müller;Neu;;;"));
            break;
        case Change::Removed:
            QVERIFY(QFile::remove(path("b.vcf")));
            break;
        case Change::Renamed:
            QVERIFY(QFile::rename(path("a.vcf"), path("z.vcf")));
            break;
        case Change::IndexDeleted:
            QVERIFY(QFile::remove(indexFile));
            break;
        case Change::IndexTruncated:
            writeFile(indexFile, readAll(indexFile).chopped(QFileInfo(indexFile).size() / 3));
            break;
        case Change::IndexFlipped: {
            QByteArray bytes = readAll(indexFile);
            const qsizetype at = bytes.indexOf("Anna");
            QVERIFY(at > 0);
            bytes[at] = 'E'; // "Enna": a valid record, but not what was written
            writeFile(indexFile, bytes);
            break;
        }
        case Change::UnsettledEntry:
        case Change::SettledEntry: {
            // The index claims other cards for b.vcf under its unchanged name and times.
            const auto store = FolderIndexStore::forFolder(dir);
            store->refresh();
            QList<FolderIndexStore::Entry> entries = store->entries();
            QCOMPARE(entries.size(), 4);
            QCOMPARE(entries[1].settled, change == Change::SettledEntry);
            entries[1].records = entries[2].records; // c.vcf: Weber
            QVERIFY(store->update(entries));
            break;
        }
        }

        const QStringList after = fullScan(m_dir->path(), kMueller);
        QCOMPARE(describe(m_dir->path(), kMueller), after);
        const QStringList child = inChild(m_dir->path(), kMueller);
        if (trusted) {
            QCOMPARE(after, before);
            QCOMPARE(child.size(), after.size() - 1); // b.vcf's Müller now reads as Weber
        } else {
            QCOMPARE(child, after);
        }
    }

    // Filters on the indexed properties are decided on the index, others by reading the
    // cards; both give exactly what reading every card gives.
    void restrictAsReadingEveryCard_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::newRow("last name, any case") << kMueller;
        QTest::newRow("first name") << QStringLiteral("[firstname] = 'MAX'");
        QTest::newRow("company") << QStringLiteral("[CompanyName] = 'muster ag'");
        QTest::newRow("file-as") << QStringLiteral("[FileAs] = 'Müller, Max'");
        QTest::newRow("own file-as") << QStringLiteral("[FileAs] = 'Chef'");
        QTest::newRow("and, not") << QStringLiteral("[LastName] = 'Müller' and not "
                                                    "[FirstName] = 'Max'");
        QTest::newRow("unequal") << QStringLiteral("[LastName] <> 'Müller'");
        QTest::newRow("order") << QStringLiteral("[LastName] >= 'N'");
        QTest::newRow("number") << QStringLiteral("[LastName] = 12");
        QTest::newRow("empty value") << QStringLiteral("[FirstName] = ''");
        QTest::newRow("not indexed") << QStringLiteral("[LastName] = 'Müller' or "
                                                       "[HomeAddressCity] = 'Berlin'");
        QTest::newRow("not indexed, name part") << QStringLiteral("[MiddleName] = 'von'");
    }
    void restrictAsReadingEveryCard()
    {
        QFETCH(QString, filter);
        put(path("1.vcf"), card("Müller;Max;;;", "ORG:Muster AG;Einkauf\r\n") +
                               card("MÜLLER;max;von;;") + card("Müller,Lüdenscheid;Max;;;") +
                               card(" Müller ;Max;;;", "X-ZETTELWERK-FILE-AS:Chef\r\n"));
        put(path("2.vcf"), card("Müller\\, jr.;Max;;;") + card("12;Zahl;;;") +
                               "BEGIN:VCARD\r\nVERSION:2.1\r\nN;ENCODING=QUOTED-PRINTABLE;"
                               "CHARSET=UTF-8:M=C3=BCller;Max;;;\r\nEND:VCARD\r\n");
        put(path("3.vcf"),
            card("Müller;Gruppe;;;", "KIND:group\r\n", "4.0") +
                card("Müller;Apple;;;", "X-ADDRESSBOOKSERVER-KIND:group\r\n") +
                "BEGIN:VCARD\r\nVERSION:3.0\r\nitem1.N:Müller;Max;;;\r\nORG:Muster AG\r\n"
                "HOMEADDRESS:x\r\nADR;TYPE=HOME:;;Weg 1;Berlin;;;\r\nEND:VCARD\r\n" +
                "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Nur Voller Name\r\nEND:VCARD\r\n");
        const QStringList expected = fullScan(m_dir->path(), filter);
        QCOMPARE(describe(m_dir->path(), filter), expected);
        QCOMPARE(inChild(m_dir->path(), filter), expected);

        // A filter on the hits of another one.
        auto problems = std::make_shared<VCardFolderIndex::Problems>();
        VCardFolderIndex index(m_dir->path(), kLocation, problems);
        const QList<VCardFolderIndex::Hit> all = index.restrict(OlFilter::parse(kMueller));
        const auto within = [&] {
            QStringList out;
            for (const auto& hit : index.restrict(OlFilter::parse(filter), &all))
                out.append(QStringLiteral("%1/%2").arg(hit.file).arg(hit.card));
            return out;
        };
        const QStringList indexed = within();
        FolderIndexStore::setEnabled(false);
        const QStringList read = within();
        FolderIndexStore::setEnabled(true);
        QCOMPARE(indexed, read);
    }

    // Two programs search and update one folder's index while its files change: neither
    // waits long for the other, and the index stays whole.
    void twoProgramsAtOnce()
    {
        for (int k = 0; k < 200; ++k)
            put(m_dir->filePath(QStringLiteral("k%1.vcf").arg(k)),
                card(QByteArrayLiteral("Müller;K") + QByteArray::number(k)));
        QProcess a, b;
        for (QProcess* p : {&a, &b})
            p->start(QCoreApplication::applicationFilePath(),
                     {QStringLiteral("--loop"), m_dir->path(), kMueller});
        QVERIFY(a.waitForStarted() && b.waitForStarted());
        QElapsedTimer t;
        t.start();
        for (int round = 0; t.elapsed() < 1500; ++round) {
            const int k = round % 200;
            put(m_dir->filePath(QStringLiteral("k%1.vcf").arg(k)),
                card(QByteArrayLiteral("Müller;Runde") + QByteArray::number(round)));
            if (round % 7 == 0)
                put(m_dir->filePath(QStringLiteral("neu%1.vcf").arg(round)), card("Neu;Eins"));
            QTest::qWait(5);
        }
        for (QProcess* p : {&a, &b}) {
            QVERIFY(p->state() == QProcess::NotRunning || p->waitForFinished(60000));
            QCOMPARE(p->exitCode(), 0);
            const QStringList out = QString::fromUtf8(p->readAllStandardOutput()).split(u' ');
            QVERIFY2(out.size() == 2 && out[0].toInt() > 3, qPrintable(out.join(u' ')));
            QVERIFY2(out[1].toInt() < 3000, "a search waited too long");
        }
        QCOMPARE(inChild(m_dir->path(), kMueller), fullScan(m_dir->path(), kMueller));
        const auto store = FolderIndexStore::forFolder(QFile::encodeName(m_dir->path()));
        store->refresh();
        QCOMPARE(store->entries().size(), QDir(m_dir->path()).entryList(QDir::Files).size());
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 4 && args[1] == QLatin1String("--child")) {
        std::fputs(qPrintable(describe(args[2], args[3]).join(u'\n') + u'\n'), stdout);
        return 0;
    }
    if (args.size() == 4 && args[1] == QLatin1String("--loop")) {
        // Searches for 1.5 s, each time as a fresh listing; prints searches and longest ms.
        QElapsedTimer t;
        t.start();
        int searches = 0;
        qint64 longest = 0;
        while (t.elapsed() < 1500) {
            QElapsedTimer one;
            one.start();
            describe(args[2], args[3]);
            longest = std::max(longest, one.elapsed());
            ++searches;
        }
        std::printf("%d %lld", searches, longest);
        return 0;
    }
    TstFolderIndexStore test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_folderindexstore.moc"
