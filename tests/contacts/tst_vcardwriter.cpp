#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"
#include "contacts/VCardText.h"
#include "contacts/VCardWriter.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace
{

VCard onlyCard(const QByteArray& bytes)
{
    const VCardReader::Result r = VCardReader::read(bytes);
    return r.cards.value(0);
}

QList<QByteArray> physicalLines(const QByteArray& text)
{
    QList<QByteArray> lines = text.split('\n');
    for (QByteArray& l : lines) {
        if (l.endsWith('\r'))
            l.chop(1);
    }
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

} // namespace

class TstVCardWriter : public QObject
{
    Q_OBJECT

private slots:
    void unchangedCardIsWrittenAsRead()
    {
        // LF line ends, VERSION late, odd case: nothing edited, so nothing changes.
        const QByteArray input = "BEGIN:VCARD\nfn:A\nitem1.X-ABLabel:x\nVERSION:3.0\nEND:VCARD\n";
        QCOMPARE(VCardWriter::write(onlyCard(input)), input);
        // A missing final line break is added, nothing else.
        const QByteArray noBreak = "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:A\r\nEND:VCARD";
        QCOMPARE(VCardWriter::write(onlyCard(noBreak)), noBreak + "\r\n");
    }

    void editKeepsUnknownLinesByteForByte()
    {
        const QByteArray unknown1 = "X-FOO;X-PARAM=\"a,b\";x-other=1:weird\\,value;with\\;stuff";
        const QByteArray unknown2 = "item7.X-ABLabel:_$!<Custom>!$_";
        const QByteArray folded = "X-LONG:abc\r\n def";
        const QByteArray photo = "PHOTO;ENCODING=b;TYPE=PNG:iVBORw0KGgo\r\n AAAANSUhEUgAAAAM";
        const QByteArray input = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Old\r\n" + unknown1 + "\r\n" +
                                 unknown2 + "\r\nnoColonLine\r\n" + folded + "\r\n" + photo +
                                 "\r\nEND:VCARD\r\n";
        ContactItem item(onlyCard(input));
        QVERIFY(item.setValue(u"FullName", QStringLiteral("New")));
        const QByteArray out = VCardWriter::write(item.card());
        QVERIFY(out.contains("FN:New\r\n"));
        for (const QByteArray& kept :
             {unknown1, unknown2, QByteArray("noColonLine"), folded, photo})
            QVERIFY2(out.contains("\r\n" + kept + "\r\n"), kept.constData());
        // Order is kept too.
        QVERIFY(out.indexOf(unknown1) < out.indexOf(unknown2));
        QVERIFY(out.indexOf(unknown2) < out.indexOf(photo));
    }

    void version21IsWrittenAs30()
    {
        const QByteArray input =
            "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=Windows-1252:M\xfcller;Hans\r\n"
            "ORG:Company, The;Dept\r\nTEL;WORK;VOICE:1\r\n"
            "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab=\r\nc\r\n"
            "PHOTO;JPEG;ENCODING=BASE64:\r\n /9j/4AAQ\r\n SkZJRg==\r\n\r\n"
            "X-PLAIN:kept as is\r\nEND:VCARD\r\n";
        const VCard card = onlyCard(input);
        const QByteArray out = VCardWriter::write(card);
        QVERIFY(out.startsWith("BEGIN:VCARD\r\nVERSION:3.0\r\n"));
        QVERIFY(!out.contains("QUOTED-PRINTABLE"));
        QVERIFY(!out.contains("CHARSET"));
        QVERIFY(out.contains(QString::fromUtf8("N:Müller;Hans\r\n").toUtf8()));
        QVERIFY(out.contains("ORG:Company\\, The;Dept\r\n")); // the 2.1 comma stays one name
        QVERIFY(out.contains("TEL;TYPE=WORK,VOICE:1\r\n"));
        QVERIFY(out.contains("NOTE:a\\nbc\r\n"));
        QVERIFY(out.contains("PHOTO;TYPE=JPEG;ENCODING=b:/9j/4AAQSkZJRg==\r\n"));
        QVERIFY(out.contains("\r\nX-PLAIN:kept as is\r\n"));
        QVERIFY(out.contains("FN:Hans M")); // FN is mandatory in 3.0

        // And reading it back gives the same values.
        const VCard back = onlyCard(out);
        QCOMPARE(back.version(), VCardVersion::V30);
        QCOMPARE(back.find("ORG")->components(), (QStringList{"Company, The", "Dept"}));
        QCOMPARE(back.find("NOTE")->text(), "a\nbc");
        QCOMPARE(back.find("N")->components().first(), QString::fromUtf8("Müller"));
    }

    void folding_data()
    {
        QTest::addColumn<QString>("value");
        QTest::newRow("ASCII") << QString(200, u'x');
        QTest::newRow("two-byte sequences at every offset") << QString(120, QChar(u'ä'));
        QTest::newRow("three-byte sequences")
            << QString::fromUtf8("十城目管理大型知座").repeated(12);
        QTest::newRow("four-byte sequences")
            << QString::fromUtf8("😀").repeated(40) + QStringLiteral("x");
        QTest::newRow("exactly 75 octets") << QString(70, u'y');
    }

    void folding()
    {
        QFETCH(QString, value);
        VCard card(VCardVersion::V30);
        VCardProperty note("NOTE", QString());
        note.setText(value);
        card.append(note);
        const QByteArray out = VCardWriter::write(card);
        for (const QByteArray& line : physicalLines(out)) {
            QVERIFY2(line.size() <= 75, line.constData());
            // Every physical line is valid UTF-8: no sequence was cut.
            QVERIFY(QByteArrayView(line).isValidUtf8());
        }
        QCOMPARE(onlyCard(out).find("NOTE")->text(), value);
    }

    void escapesRoundTrip_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("comma, semicolon, backslash") << QStringLiteral("a,b;c\\d");
        QTest::newRow("line breaks of every kind") << QStringLiteral("one\ntwo");
        QTest::newRow("colon and quotes") << QStringLiteral("http://x \"y\"");
        QTest::newRow("umlauts") << QString::fromUtf8("Größe Übel");
    }

    void escapesRoundTrip()
    {
        QFETCH(QString, text);
        VCard card(VCardVersion::V30);
        VCardProperty adr("ADR", QString());
        adr.setComponents({QString(), QString(), text, text, QString(), QString(), QString()});
        card.append(adr);
        VCardProperty note("NOTE", QString());
        note.setText(text);
        card.append(note);
        const VCard back = onlyCard(VCardWriter::write(card));
        QCOMPARE(back.find("NOTE")->text(), text);
        QCOMPARE(back.find("ADR")->components().value(2), text);
        QCOMPARE(back.find("ADR")->components().value(3), text);
    }

    void missingFnAndNAreAdded()
    {
        VCard card(VCardVersion::V30);
        card.append(VCardProperty("ORG", QStringLiteral("Muster AG;Einkauf")));
        const QByteArray out = VCardWriter::write(card);
        QVERIFY(out.contains("\r\nFN:Muster AG\r\n"));
        QVERIFY(out.contains("\r\nN:;;;;\r\n"));

        VCard named(VCardVersion::V30);
        named.append(VCardProperty("N", QStringLiteral("Muster;Max;;Dr.;")));
        QVERIFY(
            VCardWriter::write(named).contains("\r\nN:Muster;Max;;Dr.;\r\nFN:Dr. Max Muster\r\n"));
    }

    void writeFileReplacesAtomically()
    {
        TestEnvironment env;
        const QString path = env.root() + QStringLiteral("/kontakte.vcf");
        {
            QFile old(path);
            QVERIFY(old.open(QIODevice::WriteOnly));
            old.write("old content that is longer than the new one ............................");
        }
        VCard card(VCardVersion::V30);
        card.append(VCardProperty("FN", QStringLiteral("Neu")));
        QString error;
        QVERIFY(VCardWriter::writeFile(path, {card, card}, &error));
        QVERIFY(error.isEmpty());
        QFile f(path);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray written = f.readAll();
        QCOMPARE(written, VCardWriter::write(QList<VCard>{card, card}));
        QCOMPARE(VCardReader::read(written).cards.size(), 2);
        // No temporary file is left beside it.
        QCOMPARE(QDir(env.root()).entryList(QDir::Files), QStringList{"kontakte.vcf"});
    }

    void writeFileReportsFailure()
    {
        TestEnvironment env;
        const QString path = env.root() + QStringLiteral("/fehlt/kontakte.vcf");
        QString error;
        QVERIFY(!VCardWriter::writeFile(path, {VCard(VCardVersion::V30)}, &error));
        QVERIFY2(error.startsWith(QStringLiteral("Die Datei '") + path +
                                  QStringLiteral("' kann nicht geschrieben werden: ")),
                 qPrintable(error));
    }

    void corpusRoundTrip_data()
    {
        QTest::addColumn<QString>("file");
        const QString shared = TestEnvironment::sharedDir();
        const QDir dir(shared + QStringLiteral("/testdata/vcards"));
        if (shared.isEmpty() || !dir.exists()) {
            QTest::newRow("corpus missing") << QString();
            return;
        }
        for (const QString& f : dir.entryList({QStringLiteral("*.vcf")}, QDir::Files))
            QTest::newRow(qPrintable(f)) << dir.filePath(f);
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
                const QByteArray out = VCardWriter::write(card);
                const VCardReader::Result back = VCardReader::read(out);
                QVERIFY2(back.issues.isEmpty(), qPrintable(file));
                QCOMPARE(back.cards.size(), 1);
                QVERIFY(back.cards[0].version() != VCardVersion::V21);
                const ContactItem before(card, file, i);
                const ContactItem after(back.cards[0], file, i);
                for (const QString& name : ContactItem::propertyNames()) {
                    if (before.value(name) != after.value(name)) {
                        qWarning("%s card %d, %s: '%s' became '%s'", qPrintable(file), i,
                                 qPrintable(name), qPrintable(before.value(name).toString()),
                                 qPrintable(after.value(name).toString()));
                    }
                    QCOMPARE(after.value(name), before.value(name));
                }
            }
        }
    }
};

QTEST_GUILESS_MAIN(TstVCardWriter)
#include "tst_vcardwriter.moc"
