#include "contacts/OlItemRow.h"
#include "contacts/OlItems.h"
#include "contacts/VCardFolderIndex.h"
#include "tests/contacts/StoreTestKit.h"

using namespace storekit;

namespace
{

QString describe(const OlItemRow& r)
{
    return QStringList{r.messageClass, r.fileAs, r.lastName, r.firstName, r.companyName, r.entryId}
        .join(QStringLiteral(" | "));
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
        // Every item's row, read light and kept by the counting pass, against the fully parsed
        // item.
        VCardFolderIndex index(source, QStringLiteral("Persönliche Ordner\\Kontakte"),
                               std::make_shared<VCardFolderIndex::Problems>());
        const quint32 n = index.countWithRows();
        QVERIFY(n >= quint32(atLeast));
        for (quint32 i = 0; i < n; ++i) {
            const VCardFolderIndex::Hit hit = index.hitAt(i);
            const QString where =
                index.fileName(hit.file) + QStringLiteral(" card %1: ").arg(hit.card);
            QCOMPARE(where + describe(index.row(hit)),
                     where + describe(OlItemRow::of(index.item(hit))));
        }
    }

    void rowOfCardEqualsFullItem_data()
    {
        QTest::addColumn<QByteArray>("card");
        QTest::addColumn<QString>("fileAs"); // "" : a distribution list
        // A 3.0 card of these lines, or the whole card when it starts with BEGIN.
        auto row = [](const char* tag, const QByteArray& lines, const char* fileAs) {
            QTest::newRow(tag) << (lines.startsWith("BEGIN")
                                       ? lines
                                       : "BEGIN:VCARD\r\nVERSION:3.0\r\n" + lines + "END:VCARD\r\n")
                               << QString::fromUtf8(fileAs);
        };
        row("last and first name", "N:Müller;Max;;Dr.;\r\nFN:Max Müller\r\n", "Müller, Max");
        row("only a last name", "N:Müller;;;;\r\n", "Müller");
        row("company only, no N", "FN:Stadtwerke Fürth\r\nORG:Stadtwerke Fürth;Vertrieb\r\n",
            "Stadtwerke Fürth");
        row("company only, empty N", "N:;;;;\r\nFN:Stadtwerke\r\nORG:Stadtwerke\\, Fürth\r\n",
            "Stadtwerke, Fürth");
        row("Apple company card keeps the company first",
            "N:Meier;Anna;;;\r\nORG:Meier GmbH\r\nX-ABShowAs:COMPANY\r\n", "Meier GmbH");
        row("own file-as line wins", "N:Meier;Anna;;;\r\nX-ZETTELWERK-FILE-AS:Anna (Büro)\r\n",
            "Anna (Büro)");
        row("empty own file-as, Evolution's is taken",
            "N:Meier;Anna;;;\r\nX-ZETTELWERK-FILE-AS: \r\nX-EVOLUTION-FILE-AS:Meier\\, A.\r\n",
            "Meier, A.");
        row("no name, no company: the full name", "FN:Der Hausmeister\r\n", "Der Hausmeister");
        row("nothing but an e-mail address", "EMAIL:info@example.org\r\n", "info@example.org");
        row("several given names joined", "N:Berg,van der;Pieter,Jan;;;\r\n",
            "Berg van der, Pieter Jan");
        row("grouped and lower-case lines", "item1.n:Weiß;Jürgen;;;\r\nitem2.org:Weiß & Co\r\n",
            "Weiß, Jürgen");
        row("folded N line", "N:Schäfer-Langen\r\n feld;Anna;;;\r\n", "Schäfer-Langenfeld, Anna");
        row("a line without colon named N is no name", "N\r\nN:Gruber;Franz;;;\r\n",
            "Gruber, Franz");
        row("UID makes the EntryID", "UID:urn:uuid:1234\r\nN:Favre;Claire;;;\r\n", "Favre, Claire");
        row("2.1 quoted-printable with soft break",
            "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=96zt=C3="
            "BC="
            "\r\nrk;Sevgi;;;\r\nORG;ENCODING=QUOTED-PRINTABLE:B=C3=BCro=3B Nord\r\nEND:VCARD\r\n",
            "Öztürk, Sevgi");
        row("2.1 with the VERSION line after the name",
            "BEGIN:VCARD\r\nN:K\\;nig;Sven\r\nVERSION:2.1\r\nEND:VCARD\r\n", "K;nig, Sven");
        row("2.1 bare 8-bit windows-1252",
            "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hoffmann;J\xfcrgen\r\nEND:VCARD\r\n",
            "Hoffmann, Jürgen");
        row("4.0 group card",
            "BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:group\r\nFN:Team\r\nN:Team;;;;\r\nEND:VCARD\r\n",
            "");
        row("Apple group card", "X-ADDRESSBOOKSERVER-KIND:group\r\nFN:Nachbarn\r\n", "");
        row("KIND individual is a contact",
            "BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:individual\r\nN:Roth;Eva;;;\r\nEND:VCARD\r\n",
            "Roth, Eva");
    }
    void rowOfCardEqualsFullItem()
    {
        QFETCH(QByteArray, card);
        QFETCH(QString, fileAs);
        const QString location = QStringLiteral("Persönliche Ordner\\Kontakte\\a.vcf");
        const QList<VCardReader::Chunk> chunks = VCardReader::split(card);
        QCOMPARE(chunks.size(), 1);
        const OlItemRow light = OlItemRow::read(card, location, 0);
        const OlItemRow full =
            OlItemRow::of(OlItem(ContactItem(VCardReader::parse(card), location, 0)));
        QCOMPARE(describe(light), describe(full));
        QCOMPARE(light.fileAs, fileAs);
        QCOMPARE(light.messageClass,
                 fileAs.isEmpty() ? QStringLiteral("IPM.DistList") : QStringLiteral("IPM.Contact"));
    }

    void keptRowsFollowTheFile_data()
    {
        QTest::addColumn<QByteArray>("rewritten");
        QTest::addColumn<QString>("lastName"); // "" : the card is gone
        QTest::newRow("renamed contact, longer file")
            << card("Schmidt-Neumann;Eva;;;") << QStringLiteral("Schmidt-Neumann");
        QTest::newRow("second card of the file removed") << card("Roth;Eva;;;") << QString();
    }
    void keptRowsFollowTheFile()
    {
        // A file changed in place (the folder listing stays the same) is read again for the
        // next search, as a full item would be.
        QFETCH(QByteArray, rewritten);
        QFETCH(QString, lastName);
        const QString file = m_dir->filePath(QStringLiteral("a.vcf"));
        put(file, card("Roth;Eva;;;") + card("Roth;Paul;;;"));
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
        put(m_dir->filePath(QStringLiteral("a.vcf")), card("Roth;Eva;;;"));
        put(m_dir->filePath(QStringLiteral("b.vcf")), card("Meier;Udo;;;", "UID:42\r\n"));
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
