#include "contacts/OlItemRow.h"
#include "contacts/VCardFolderIndex.h"
#include "contacts/VCardReader.h"
#include "tests/contacts/StoreTestKit.h"

#include <QHash>
#include <QThread>
#include <algorithm>
#include <sys/stat.h>

using namespace storekit;

namespace
{

const QString kLocation = QStringLiteral("Persönliche Ordner\\Kontakte");

QByteArray card(int n)
{
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Name" + QByteArray::number(n) + ";Vor" +
           QByteArray::number(n) + ";;;\r\nORG:Firma " + QByteArray::number(n % 7) +
           "\r\nEND:VCARD\r\n";
}

quint64 inodeOf(const QString& path)
{
    struct stat st {
    };
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? quint64(st.st_ino) : 0;
}

// The progress question of a pass: how often it was asked, and whether ever off the calling
// thread.
struct Asker {
    bool answer = false;
    QThread* caller = QThread::currentThread();
    int asked = 0;
    bool elsewhere = false;
    bool operator()()
    {
        elsewhere = elsewhere || QThread::currentThread() != caller;
        ++asked;
        return answer;
    }
};

} // namespace

// The counting passes share the files out to worker threads; these cases hold them to what
// a single pass in inode order gives: the same items in name order, the same rows and the same
// problem reports in the same order.
class TstVCardFolderIndex : public StoreFixture
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void countingPassMatchesEveryFile_data()
    {
        QTest::addColumn<int>("files");
        QTest::addColumn<bool>("withRows");
        QTest::newRow("empty folder") << 0 << true;
        QTest::newRow("one file") << 1 << true;
        QTest::newRow("less than one block") << 31 << true;
        QTest::newRow("many blocks, with rows") << 700 << true;
        QTest::newRow("many blocks, counting only") << 700 << false;
    }
    void countingPassMatchesEveryFile()
    {
        QFETCH(int, files);
        QFETCH(bool, withRows);
        // File k holds k % 4 cards (some none), every 97th one a malformed card besides; every
        // 53rd file of the listing vanishes before the pass. The names are not in inode order.
        QHash<QString, QByteArray> contents;
        int serial = 0;
        for (int k = 0; k < files; ++k) {
            const QString name =
                QStringLiteral("k%1.vcf").arg((k * 7919) % 100003, 6, 10, QLatin1Char('0'));
            QByteArray bytes;
            for (int c = 0; c < k % 4; ++c)
                bytes += card(++serial);
            if (k % 97 == 5)
                bytes += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Kaputt;;;;\r\n"; // no END
            put(m_dir->filePath(name), bytes);
            contents.insert(name, bytes);
        }
        auto problems = std::make_shared<VCardFolderIndex::Problems>();
        VCardFolderIndex index(m_dir->path(), kLocation, problems);
        QCOMPARE(index.fileCount(), files);
        QList<std::pair<quint64, QString>> gone;
        for (int g = 0; g < files; g += 53) {
            const QString path = m_dir->filePath(index.fileName(quint32(g)));
            gone.append({inodeOf(path), index.fileName(quint32(g))});
            QVERIFY(QFile::remove(path));
        }
        std::sort(gone.begin(), gone.end());

        // Unreadable files as they are met (inode order), then the malformed cards by name.
        QStringList expectedProblems;
        for (const auto& [inode, name] : gone) {
            expectedProblems.append(QStringLiteral("Die Datei '%1' im Ordner '%2' kann nicht "
                                                   "gelesen werden (nicht gefunden); ihre "
                                                   "Kontakte fehlen in der Liste.")
                                        .arg(name, kLocation));
        }
        quint32 expectedCount = 0;
        for (int f = 0; f < files; ++f) {
            const QString name = index.fileName(quint32(f));
            if (f % 53 == 0)
                continue;
            QList<VCardReader::Issue> issues;
            expectedCount += quint32(VCardReader::split(contents.value(name), &issues).size());
            for (const VCardReader::Issue& issue : issues) {
                expectedProblems.append(QStringLiteral("Datei '%1' im Ordner '%2': %3")
                                            .arg(name, kLocation, issue.message));
            }
        }

        Asker ask;
        const quint32 n =
            withRows ? index.countWithRows(std::ref(ask)) : index.count(std::ref(ask));
        QVERIFY(!ask.elsewhere);
        QCOMPARE(n, expectedCount);
        QCOMPARE(problems->texts, expectedProblems);

        // Every item in name order, its row equal to the fully read card.
        int f = -1;
        quint32 c = 0;
        for (quint32 i = 0; i < n; ++i) {
            const VCardFolderIndex::Hit hit = index.hitAt(i);
            if (int(hit.file) != f) {
                QVERIFY(int(hit.file) > f);
                f = int(hit.file);
                c = 0;
            }
            QCOMPARE(hit.card, c++);
            const OlItemRow full = OlItemRow::of(index.item(hit));
            const OlItemRow row = index.row(hit);
            QCOMPARE(row.lastName, full.lastName);
            QCOMPARE(row.companyName, full.companyName);
            QCOMPARE(row.entryId, full.entryId);
        }
    }

    void abortStopsThePassAndLeavesTheIndexUsable()
    {
        // Enough cards that the pass lasts well beyond the first question (50 ms).
        constexpr int kFiles = 60, kCards = 700;
        for (int k = 0; k < kFiles; ++k) {
            QByteArray bytes;
            for (int c = 0; c < kCards; ++c)
                bytes += card(k * kCards + c);
            put(m_dir->filePath(QStringLiteral("f%1.vcf").arg(k)), bytes);
        }
        auto problems = std::make_shared<VCardFolderIndex::Problems>();
        VCardFolderIndex index(m_dir->path(), kLocation, problems);
        Asker ask{true};
        const ZwError e = errorOf([&] { index.countWithRows(std::ref(ask)); });
        QCOMPARE(e.number(), 18L);
        QVERIFY(e.description().startsWith(QStringLiteral("Benutzerunterbrechung")));
        QCOMPARE(ask.asked, 1);
        QVERIFY(!ask.elsewhere);
        QCOMPARE(index.countWithRows(), quint32(kFiles * kCards));
        QCOMPARE(index.row(index.hitAt(kCards + 3)).lastName,
                 QStringLiteral("Name%1").arg(kCards + 3));
        QVERIFY(problems->texts.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstVCardFolderIndex)
#include "tst_vcardfolderindex.moc"
