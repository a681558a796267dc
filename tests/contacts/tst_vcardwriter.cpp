#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"
#include "contacts/VCardWriter.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QTest>

namespace
{

VCard onlyCard(const QByteArray& bytes)
{
    return VCardReader::read(bytes).cards.value(0);
}

// Every value the item model reads from a card, to compare it with its written form.
QStringList values(const VCard& card)
{
    const ContactItem item(card);
    QStringList out;
    for (const QString& name : ContactItem::propertyNames())
        out.append(name + u'=' + item.value(name).toString());
    return out;
}

} // namespace

class TstVCardWriter : public QObject
{
    Q_OBJECT

private slots:
    // A card nobody changed is written back as read; in a changed one every unchanged line
    // keeps its bytes and place; a 2.1 card becomes 3.0. The pieces appear in this order, and
    // the written card reads back with the values it had.
    void written_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("fullName"); // set before writing unless empty
        QTest::addColumn<QByteArrayList>("pieces");
        QTest::addColumn<bool>("exact"); // the pieces are the whole output

        const QByteArray lf = "BEGIN:VCARD\nfn:A\nitem1.X-ABLabel:x\nVERSION:3.0\nEND:VCARD\n";
        QTest::newRow("unchanged: LF, VERSION late, odd case")
            << lf << QString() << QByteArrayList{lf} << true;
        const QByteArray noBreak = "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:A\r\nEND:VCARD";
        QTest::newRow("unchanged: only the final line break added")
            << noBreak << QString() << QByteArrayList{noBreak + "\r\n"} << true;

        const QByteArray unknown1 = "X-FOO;X-PARAM=\"a,b\";x-other=1:weird\\,value;with\\;stuff";
        const QByteArray unknown2 = "item7.X-ABLabel:_$!<Custom>!$_";
        const QByteArray folded = "X-LONG:abc\r\n def";
        const QByteArray photo = "PHOTO;ENCODING=b;TYPE=PNG:iVBORw0KGgo\r\n AAAANSUhEUgAAAAM";
        QTest::newRow("edited: unknown lines kept byte for byte")
            << "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Old\r\n" + unknown1 + "\r\n" + unknown2 +
                   "\r\nnoColonLine\r\n" + folded + "\r\n" + photo + "\r\nEND:VCARD\r\n"
            << QStringLiteral("New") << QByteArrayList{"FN:New\r\n",
                                                       "\r\n" + unknown1 + "\r\n",
                                                       "\r\n" + unknown2 + "\r\n",
                                                       "\r\nnoColonLine\r\n",
                                                       "\r\n" + folded + "\r\n",
                                                       "\r\n" + photo + "\r\n"}
            << false;

        QTest::newRow("2.1 written as 3.0")
            << QByteArray("BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=Windows-1252:M\xfcller;Hans\r\n"
                          "ORG:Company, The;Dept\r\nTEL;WORK;VOICE:1\r\n"
                          "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab=\r\nc\r\n"
                          "PHOTO;JPEG;ENCODING=BASE64:\r\n /9j/4AAQ\r\n SkZJRg==\r\n\r\n"
                          "X-PLAIN:kept as is\r\nEND:VCARD\r\n")
            << QString()
            << QByteArrayList{"BEGIN:VCARD\r\nVERSION:3.0\r\n",
                              QString::fromUtf8("N:Müller;Hans\r\n").toUtf8(),
                              "FN:Hans M", // mandatory in 3.0, composed right after the name
                              "ORG:Company\\, The;Dept\r\n", // the 2.1 comma stays one name
                              "TEL;TYPE=WORK,VOICE:1\r\n",
                              "NOTE:a\\nbc\r\n",
                              "PHOTO;TYPE=JPEG;ENCODING=b:/9j/4AAQSkZJRg==\r\n",
                              "\r\nX-PLAIN:kept as is\r\n"}
            << false;
        QTest::newRow("FN from the name parts")
            << QByteArray("BEGIN:VCARD\r\nVERSION:2.1\r\nN:Muster;Max;;Dr.;\r\nEND:VCARD\r\n")
            << QString() << QByteArrayList{"\r\nN:Muster;Max;;Dr.;\r\nFN:Dr. Max Muster\r\n"}
            << false;
        QTest::newRow("FN from the company, N added")
            << QByteArray("BEGIN:VCARD\r\nVERSION:2.1\r\nORG:Muster AG;Einkauf\r\nEND:VCARD\r\n")
            << QString() << QByteArrayList{"\r\nFN:Muster AG\r\n", "\r\nN:;;;;\r\n"} << false;
    }

    void written()
    {
        QFETCH(QByteArray, input);
        QFETCH(QString, fullName);
        QFETCH(QByteArrayList, pieces);
        QFETCH(bool, exact);
        ContactItem item(onlyCard(input));
        if (!fullName.isEmpty())
            QVERIFY(item.setValue(u"FullName", fullName));
        const QByteArray out = VCardWriter::write(item.card());
        if (exact)
            QCOMPARE(out, pieces.join());
        qsizetype at = -1;
        for (const QByteArray& piece : pieces) {
            at = out.indexOf(piece, at + 1);
            QVERIFY2(at >= 0, piece.constData());
        }
        QVERIFY(!out.contains("QUOTED-PRINTABLE") && !out.contains("CHARSET"));
        const VCard back = onlyCard(out);
        QVERIFY(back.version() != VCardVersion::V21);
        QCOMPARE(values(back), values(item.card()));
    }

    // Values of new cards survive writing and reading: escapes, and lines folded at 75 octets
    // without cutting a UTF-8 sequence.
    void textRoundTrip_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("ASCII") << QString(200, u'x');
        QTest::newRow("two-byte sequences at every offset") << QString(120, QChar(u'ä'));
        QTest::newRow("three-byte sequences")
            << QString::fromUtf8("十城目管理大型知座").repeated(12);
        QTest::newRow("four-byte sequences")
            << QString::fromUtf8("😀").repeated(40) + QStringLiteral("x");
        QTest::newRow("exactly 75 octets") << QString(70, u'y');
        QTest::newRow("comma, semicolon, backslash") << QStringLiteral("a,b;c\\d");
        QTest::newRow("line breaks") << QStringLiteral("one\ntwo");
        QTest::newRow("colon and quotes") << QStringLiteral("http://x \"y\"");
        QTest::newRow("umlauts") << QString::fromUtf8("Größe Übel");
    }

    void textRoundTrip()
    {
        QFETCH(QString, text);
        VCard card(VCardVersion::V30);
        VCardProperty note("NOTE", QString());
        note.setText(text);
        card.append(note);
        VCardProperty adr("ADR", QString());
        adr.setComponents({QString(), QString(), text, text, QString(), QString(), QString()});
        card.append(adr);
        const QByteArray out = VCardWriter::write(card);
        for (const QByteArray& line : out.split('\n')) {
            QVERIFY2(line.size() - line.endsWith('\r') <= 75, line.constData());
            QVERIFY(QByteArrayView(line).isValidUtf8());
        }
        const VCard back = onlyCard(out);
        QCOMPARE(back.find("NOTE")->text(), text);
        QCOMPARE(back.find("ADR")->components().mid(2, 2), QStringList({text, text}));
    }

    void writeFileReplacesAtomically()
    {
        TestEnvironment env;
        const QString path = writeFile(env.root() + QStringLiteral("/kontakte.vcf"),
                                       "old content that is longer than the new one .........");
        VCard card(VCardVersion::V30);
        card.append(VCardProperty("FN", QStringLiteral("Neu")));
        QString error;
        QVERIFY(VCardWriter::writeFile(path, {card, card}, &error));
        QVERIFY(error.isEmpty());
        QCOMPARE(readAll(path), VCardWriter::write(QList<VCard>{card, card}));
        // No temporary file is left beside it.
        QCOMPARE(QDir(env.root()).entryList(QDir::Files), QStringList{"kontakte.vcf"});

        const QString missing = env.root() + QStringLiteral("/fehlt/kontakte.vcf");
        QVERIFY(!VCardWriter::writeFile(missing, {card}, &error));
        QVERIFY2(error.startsWith(QStringLiteral("Die Datei '") + missing +
                                  QStringLiteral("' kann nicht geschrieben werden: ")),
                 qPrintable(error));
    }

    void corpusRoundTrip_data()
    {
        QTest::addColumn<QString>("file");
        const QDir dir(TestEnvironment::sharedDir() + QStringLiteral("/testdata/vcards"));
        for (const QString& f : dir.entryList({QStringLiteral("*.vcf")}, QDir::Files))
            QTest::newRow(qPrintable(f)) << dir.filePath(f);
        if (dir.isEmpty())
            QTest::newRow("corpus missing") << QString();
    }

    void corpusRoundTrip()
    {
        QFETCH(QString, file);
        if (file.isEmpty())
            QSKIP("The shared vCard corpus (ZW_SHARED_DIR/testdata/vcards) is not available.");
        const VCardReader::Result r = VCardReader::readFile(file);
        for (int i = 0; i < r.cards.size(); ++i) {
            // Written as it is and after an edit that forces every line through the writer's
            // decision (a 2.1 card is converted either way).
            ContactItem edited(r.cards[i], file, i);
            edited.setValue(u"User4", QStringLiteral("edit"));
            for (const VCard& card : {r.cards[i], edited.card()}) {
                const VCardReader::Result back = VCardReader::read(VCardWriter::write(card));
                QVERIFY2(back.issues.isEmpty(), qPrintable(file));
                QCOMPARE(back.cards.size(), 1);
                QVERIFY(back.cards[0].version() != VCardVersion::V21);
                QCOMPARE(values(back.cards[0]), values(card));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TstVCardWriter)
#include "tst_vcardwriter.moc"
