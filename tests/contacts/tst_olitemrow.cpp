#include "contacts/OlItemRow.h"
#include "contacts/OlItems.h"
#include "contacts/OlStoreRoots.h"
#include "contacts/VCardFolderIndex.h"
#include "contacts/VCardReader.h"
#include "tests/contacts/StoreTestKit.h"
#include "tests/support/TestEnvironment.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace storekit;

namespace
{

QString describe(const OlItemRow& r)
{
    return QStringList{r.messageClass, r.fileAs, r.lastName, r.firstName, r.companyName, r.entryId}
        .join(QStringLiteral(" | "));
}

// Every item of the folder: its row (read light, kept by the counting pass) against the values
// of the fully parsed item. Returns how many items were compared.
int compareFolder(const QString& dir)
{
    VCardFolderIndex index(dir, QStringLiteral("Persönliche Ordner\\Kontakte"),
                           std::make_shared<VCardFolderIndex::Problems>());
    const quint32 n = index.countWithRows();
    for (quint32 i = 0; i < n; ++i) {
        const VCardFolderIndex::Hit hit = index.hitAt(i);
        const OlItem item = index.item(hit);
        const QString light = describe(index.row(hit));
        const QString full = describe(OlItemRow::of(item));
        if (light != full) {
            QTest::qFail(qPrintable(index.fileName(hit.file) +
                                    QStringLiteral(" card %1:\n  light ").arg(hit.card) + light +
                                    QStringLiteral("\n  full  ") + full),
                         __FILE__, __LINE__);
            return -1;
        }
    }
    return int(n);
}

} // namespace

class TstOlItemRow : public StoreFixture
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void rowsOfRealFoldersEqualFullItems_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("atLeast");
        QTest::newRow("shared corpus of exported cards")
            << TestEnvironment::sharedDir() + QStringLiteral("/testdata/vcards") << 20;
        const QString bin = qEnvironmentVariable("ZW_BIN_DIR");
        QTest::newRow("sample store Beispielkontakte")
            << (bin.isEmpty() ? OlStoreRoots::defaults().samples
                              : bin + QStringLiteral("/Beispielkontakte"))
            << 12;
    }
    void rowsOfRealFoldersEqualFullItems()
    {
        QFETCH(QString, source);
        QFETCH(int, atLeast);
        if (!QFileInfo(source).isDir())
            QSKIP(qPrintable(QStringLiteral("not found: ") + source));
        for (const QString& f : QDir(source).entryList(QDir::Files))
            QVERIFY(QFile::copy(source + QLatin1Char('/') + f, m_dir->filePath(f)));
        QVERIFY(compareFolder(m_dir->path()) >= atLeast);
    }

    void rowOfCardEqualsFullItem_data()
    {
        QTest::addColumn<QByteArray>("card");
        QTest::addColumn<QString>("fileAs");
        QTest::addColumn<QString>("messageClass");
        const QString contact = QStringLiteral("IPM.Contact");
        auto v3 = [](const QByteArray& lines) {
            return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + lines + "END:VCARD\r\n";
        };
        QTest::newRow("last and first name") << v3("N:Müller;Max;;Dr.;\r\nFN:Max Müller\r\n")
                                             << QStringLiteral("Müller, Max") << contact;
        QTest::newRow("only a last name")
            << v3("N:Müller;;;;\r\n") << QStringLiteral("Müller") << contact;
        QTest::newRow("company only, no N")
            << v3("FN:Stadtwerke Fürth\r\nORG:Stadtwerke Fürth;Vertrieb\r\n")
            << QStringLiteral("Stadtwerke Fürth") << contact;
        QTest::newRow("company only, empty N")
            << v3("N:;;;;\r\nFN:Stadtwerke\r\nORG:Stadtwerke\\, Fürth\r\n")
            << QStringLiteral("Stadtwerke, Fürth") << contact;
        QTest::newRow("Apple company card keeps the company first")
            << v3("N:Meier;Anna;;;\r\nORG:Meier GmbH\r\nX-ABShowAs:COMPANY\r\n")
            << QStringLiteral("Meier GmbH") << contact;
        QTest::newRow("own file-as line wins")
            << v3("N:Meier;Anna;;;\r\nX-ZETTELWERK-FILE-AS:Anna (Büro)\r\n")
            << QStringLiteral("Anna (Büro)") << contact;
        QTest::newRow("empty own file-as, Evolution's is taken")
            << v3("N:Meier;Anna;;;\r\nX-ZETTELWERK-FILE-AS: \r\nX-EVOLUTION-FILE-AS:Meier\\, "
                  "A.\r\n")
            << QStringLiteral("Meier, A.") << contact;
        QTest::newRow("no name, no company: the full name")
            << v3("FN:Der Hausmeister\r\n") << QStringLiteral("Der Hausmeister") << contact;
        QTest::newRow("nothing but an e-mail address")
            << v3("EMAIL:info@example.org\r\n") << QStringLiteral("info@example.org") << contact;
        QTest::newRow("several given names joined")
            << v3("N:Berg,van der;Pieter,Jan;;;\r\n") << QStringLiteral("Berg van der, Pieter Jan")
            << contact;
        QTest::newRow("grouped and lower-case lines")
            << v3("item1.n:Weiß;Jürgen;;;\r\nitem2.org:Weiß & Co\r\n")
            << QStringLiteral("Weiß, Jürgen") << contact;
        QTest::newRow("folded N line") << v3("N:Schäfer-Langen\r\n feld;Anna;;;\r\n")
                                       << QStringLiteral("Schäfer-Langenfeld, Anna") << contact;
        QTest::newRow("a line without colon named N is no name")
            << v3("N\r\nN:Gruber;Franz;;;\r\n") << QStringLiteral("Gruber, Franz") << contact;
        QTest::newRow("UID makes the EntryID") << v3("UID:urn:uuid:1234\r\nN:Favre;Claire;;;\r\n")
                                               << QStringLiteral("Favre, Claire") << contact;
        QTest::newRow("2.1 quoted-printable with soft break")
            << QByteArray("BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:"
                          "=C3=96zt=C3=BC=\r\nrk;Sevgi;;;\r\nORG;ENCODING=QUOTED-PRINTABLE:"
                          "B=C3=BCro=3B Nord\r\nEND:VCARD\r\n")
            << QStringLiteral("Öztürk, Sevgi") << contact;
        QTest::newRow("2.1 with the VERSION line after the name")
            << QByteArray("BEGIN:VCARD\r\nN:K\\;nig;Sven\r\nVERSION:2.1\r\nEND:VCARD\r\n")
            << QStringLiteral("K;nig, Sven") << contact;
        QTest::newRow("2.1 bare 8-bit windows-1252")
            << QByteArray("BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hoffmann;J\xfcrgen\r\nEND:VCARD\r\n")
            << QStringLiteral("Hoffmann, Jürgen") << contact;
        QTest::newRow("4.0 group card")
            << QByteArray("BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:group\r\nFN:Team\r\nN:Team;;;;\r\n"
                          "END:VCARD\r\n")
            << QString() << QStringLiteral("IPM.DistList");
        QTest::newRow("Apple group card") << v3("X-ADDRESSBOOKSERVER-KIND:group\r\nFN:Nachbarn\r\n")
                                          << QString() << QStringLiteral("IPM.DistList");
        QTest::newRow("KIND individual is a contact")
            << QByteArray("BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:individual\r\nN:Roth;Eva;;;\r\n"
                          "END:VCARD\r\n")
            << QStringLiteral("Roth, Eva") << contact;
    }
    void rowOfCardEqualsFullItem()
    {
        QFETCH(QByteArray, card);
        QFETCH(QString, fileAs);
        QFETCH(QString, messageClass);
        const QString location = QStringLiteral("Persönliche Ordner\\Kontakte\\a.vcf");
        const QList<VCardReader::Chunk> chunks = VCardReader::split(card);
        QCOMPARE(chunks.size(), 1);
        const OlItemRow light = OlItemRow::read(card, location, 0);
        const OlItemRow full =
            OlItemRow::of(OlItem(ContactItem(VCardReader::parse(card), location, 0)));
        QCOMPARE(describe(light), describe(full));
        QCOMPARE(light.fileAs, fileAs);
        QCOMPARE(light.messageClass, messageClass);
    }

    void keptRowsFollowTheFile_data()
    {
        QTest::addColumn<QByteArray>("rewritten");
        QTest::addColumn<QString>("lastName"); // "" : the card is gone
        QTest::newRow("renamed contact, longer file")
            << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nN:Schmidt-Neumann;Eva;;;\r\nEND:VCARD\r\n")
            << QStringLiteral("Schmidt-Neumann");
        QTest::newRow("second card of the file removed")
            << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nN:Roth;Eva;;;\r\nEND:VCARD\r\n")
            << QString();
    }
    void keptRowsFollowTheFile()
    {
        // A file changed in place (the folder listing stays the same) is read again for the
        // next search, as a full item would be.
        QFETCH(QByteArray, rewritten);
        QFETCH(QString, lastName);
        const QString file = m_dir->filePath(QStringLiteral("a.vcf"));
        put(file, "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Roth;Eva;;;\r\nEND:VCARD\r\n"
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Roth;Paul;;;\r\nEND:VCARD\r\n");
        VCardFolderIndex index(m_dir->path(), QStringLiteral("Kontakte"),
                               std::make_shared<VCardFolderIndex::Problems>());
        QCOMPARE(index.countWithRows(), 2u);
        QCOMPARE(index.row(index.hitAt(1)).firstName, QStringLiteral("Paul"));
        put(file, rewritten);
        QVERIFY(index.isCurrent());
        QCOMPARE(index.countWithRows(), 2u); // the next search
        const VCardFolderIndex::Hit second = index.hitAt(1);
        if (lastName.isEmpty()) {
            const long rowError = errorOf([&] { index.row(second); }).number();
            QVERIFY(rowError != 0);
            QCOMPARE(errorOf([&] { index.item(second); }).number(), rowError);
        } else {
            QCOMPARE(index.row(index.hitAt(0)).lastName, lastName);
        }
    }

    void restrictKeepsTheRowsOfItsHits()
    {
        put(m_dir->filePath(QStringLiteral("a.vcf")),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Roth;Eva;;;\r\nEND:VCARD\r\n");
        put(m_dir->filePath(QStringLiteral("b.vcf")),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Meier;Udo;;;\r\nUID:42\r\nEND:VCARD\r\n");
        auto index =
            std::make_shared<VCardFolderIndex>(m_dir->path(), QStringLiteral("Kontakte"),
                                               std::make_shared<VCardFolderIndex::Problems>());
        const OlItems hits = OlItems(index).Restrict(QStringLiteral("[LastName] = 'Meier'"));
        QCOMPARE(hits.countWithRows(), 1L);
        // Gone from the disk: the row kept by the Restrict still answers within this search.
        QVERIFY(QFile::remove(m_dir->filePath(QStringLiteral("b.vcf"))));
        const OlItemRow row = hits.row(1);
        QCOMPARE(row.fileAs, QStringLiteral("Meier, Udo"));
        QCOMPARE(row.entryId, QStringLiteral("UID:42"));
        QCOMPARE(errorOf([&] { hits.row(2); }).number(), 9L);
    }
};

QTEST_GUILESS_MAIN(TstOlItemRow)
#include "tst_olitemrow.moc"
