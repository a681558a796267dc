#include "contacts/VCardReader.h"
#include "contacts/VCardWriter.h"
#include "tests/support/TestEnvironment.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

namespace
{

VCard onlyCard(const QByteArray& bytes)
{
    const VCardReader::Result r = VCardReader::read(bytes);
    if (r.cards.size() != 1)
        qWarning("expected one card, got %d", int(r.cards.size()));
    return r.cards.value(0);
}

QStringList& corpusRows()
{
    static QStringList rows;
    return rows;
}

QString corpusDir()
{
    const QString shared = TestEnvironment::sharedDir();
    return shared.isEmpty() ? QString() : shared + QStringLiteral("/testdata/vcards");
}

} // namespace

class TstVCardReader : public QObject
{
    Q_OBJECT

private slots:
    void codecRules_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QString>("expected");

        const QByteArray b = "BEGIN:VCARD\r\nVERSION:3.0\r\n";
        const QByteArray b21 = "BEGIN:VCARD\r\nVERSION:2.1\r\n";
        const QByteArray e = "END:VCARD\r\n";

        auto row = [](const char* tag, const QByteArray& input, const char* property,
                      const QString& expected) {
            QTest::newRow(tag) << input << QByteArray(property) << expected;
        };
        row("3.0 fold with one blank", b + "NOTE:Hello Wo\r\n rld\r\n" + e, "NOTE", "Hello World");
        row("fold with a tab", b + "NOTE:Hello Wo\r\n\trld\r\n" + e, "NOTE", "Hello World");
        row("continuation with two blanks keeps one", b + "NOTE:Hello\r\n  World\r\n" + e, "NOTE",
            "Hello World");
        row("fold splitting a UTF-8 sequence",
            b + "NOTE:\xd0\xb1\xd0\xbe\xd0\r\n \xbb\xd0\xb5\xd0\xb5\r\n" + e, "NOTE",
            QString::fromUtf8("более"));
        row("fold inside the parameter list", b + "TEL;TY\r\n PE=WORK:123\r\n" + e, "TEL", "123");
        row("2.1 soft break splitting =0D=/=0A",
            b21 + "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=\r\n=0Atwo\r\n" + e, "NOTE", "one\ntwo");
        row("2.1 soft break splitting a word",
            b21 + "NOTE;ENCODING=QUOTED-PRINTABLE:Ameri=\r\nca\r\n" + e, "NOTE", "America");
        row("soft break with blanks after the =",
            b21 + "NOTE;ENCODING=QUOTED-PRINTABLE:Ameri=  \r\nca\r\n" + e, "NOTE", "America");
        row("soft break, continuation starting with a blank",
            b21 + "NOTE;ENCODING=QUOTED-PRINTABLE:Land=\r\n Firma\r\n" + e, "NOTE", "Land Firma");
        row("soft break, continuation starting with =C3=91",
            b21 + "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=91=\r\n=C3=91;;;;\r\n" + e, "N",
            QString::fromUtf8("ÑÑ;;;;"));
        row("soft break before a line that looks like a property",
            b21 + "NOTE;QUOTED-PRINTABLE:a=\r\nURL:b\r\nFN:x\r\n" + e, "NOTE", "aURL:b");
        row("final = without a following line",
            b21 + "ORG;ENCODING=QUOTED-PRINTABLE:abc=\r\n\r\n" + e, "ORG", "abc");
        row("quoted-printable in 3.0", b + "NOTE;ENCODING=QUOTED-PRINTABLE:a=0Ab\r\n" + e, "NOTE",
            "a\nb");
        row("CHARSET=windows-1252 with raw 8-bit",
            b21 +
                "FN;CHARSET=Windows-1252:Stra\xdf"
                "e\r\n" +
                e,
            "FN", QString::fromUtf8("Straße"));
        row("ISO-8859-1 read as windows-1252", b21 + "FN;CHARSET=ISO-8859-1:\x80 5\r\n" + e, "FN",
            QString::fromUtf8("€ 5"));
        row("raw UTF-8 without CHARSET", b21 + "FN:S\xc3\xb6ren\r\n" + e, "FN",
            QString::fromUtf8("Sören"));
        row("raw windows-1252 without CHARSET", b21 + "FN:S\xf6ren \x93x\x94\r\n" + e, "FN",
            QString::fromUtf8("Sören “x”"));
        row("quoted-printable UTF-8 without CHARSET",
            b21 + "note;quoted-printable:text=E2=80=A6\r\n" + e, "NOTE",
            QString::fromUtf8("text…"));
        row("quoted-printable windows-1252",
            b21 + "LABEL;CHARSET=Windows-1252;QUOTED-PRINTABLE:M=F6=DFlitz\r\n" + e, "LABEL",
            QString::fromUtf8("Mößlitz"));
        row("unknown charset falls back", b21 + "FN;CHARSET=blabla:M\xf6\r\n" + e, "FN",
            QString::fromUtf8("Mö"));
        row("3.0 escapes", b + "NOTE:a\\nb\\, c\\; d\\\\e\\Nf\r\n" + e, "NOTE", "a\nb, c; d\\e\nf");
        row("unknown escape keeps the character", b + "URL:http\\://example.com\r\n" + e, "URL",
            "http://example.com");
        row("2.1 only escapes the semicolon", b21 + "NOTE:C:\\new\\; x, y\r\n" + e, "NOTE",
            "C:\\new; x, y");
        row("2.1 comma is literal in N", b21 + "N:Doe;John;Richter,James;;\r\n" + e, "N",
            "Doe;John;Richter,James;;");
        row("group prefix", b + "item1.EMAIL;TYPE=INTERNET:a@b.de\r\n" + e, "EMAIL", "a@b.de");
        row("lower-case names", QByteArray("begin:vcard\r\nfn:x\r\nversion:2.1\r\nend:vcard\r\n"),
            "FN", "x");
        row("UTF-8 byte order mark", QByteArray("\xef\xbb\xbf") + b + "FN:x\r\n" + e, "FN", "x");
        row("LF line ends", QByteArray("BEGIN:VCARD\nVERSION:3.0\nFN:a\n b\nEND:VCARD\n"), "FN",
            "ab");
        row("CR line ends", QByteArray("BEGIN:VCARD\rVERSION:3.0\rFN:a\r b\rEND:VCARD\r"), "FN",
            "ab");
        row("CR CR LF line ends",
            QByteArray("BEGIN:VCARD\r\r\nVERSION:3.0\r\r\nFN:a\r\r\n b\r\r\nEND:VCARD\r\r\n"), "FN",
            "ab");
        row("no final line break", QByteArray("BEGIN:VCARD\r\nFN:x\r\nEND:VCARD"), "FN", "x");
        row("text outside the card is ignored",
            QByteArray("garbage\r\nFN:no\r\n\r\nBEGIN:VCARD\r\nFN:yes\r\nEND:VCARD\r\ntrailer\r\n"),
            "FN", "yes");
    }

    void codecRules()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, property);
        QFETCH(QString, expected);

        const VCard card = onlyCard(input);
        const VCardProperty* p = card.find(property);
        QVERIFY2(p, property.constData());
        // Structured values are compared in their escaped form, everything else as text.
        const QString actual =
            (property == "N") ? QStringList(p->components()).join(u';') : p->text();
        QCOMPARE(actual, expected);
    }

    void parameters_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("parameter");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("value");

        auto row = [](const char* tag, const char* line, const char* version, const char* parameter,
                      const QString& expected, const QString& value) {
            QTest::newRow(tag) << QByteArray(line) << version << parameter << expected << value;
        };
        row("bare 2.1 types", "TEL;WORK;VOICE:1", "2.1", "TYPE", "WORK,VOICE", "1");
        row("bare QUOTED-PRINTABLE is the encoding", "NOTE;QUOTED-PRINTABLE:a=3Db", "2.1",
            "ENCODING", "QUOTED-PRINTABLE", "a=b");
        row("bare charset name", "TEL;WORK;utf-8;QUOTED-PRINTABLE;de-DE:gesch=C3=A4ftlich", "2.1",
            "TYPE", "WORK,DE-DE", QString::fromUtf8("geschäftlich"));
        row("empty parameter", "ADR;HOME;PREF;:;;Weg 1;Ort;;1;D", "2.1", "TYPE", "HOME,PREF",
            "Weg 1");
        row("repeated TYPE and trailing comma", "TEL;type=WORK;type=pref;TYPE=FAX,:1", "3.0",
            "TYPE", "WORK,PREF,FAX", "1");
        row("quoted TYPE list", "TEL;TYPE=\"voice,home\":1", "4.0", "TYPE", "VOICE,HOME", "1");
        row("quoted value with colon and semicolon",
            "ADR;LABEL=\"a, b; c: d\";TYPE=work:;;Street;City;;;", "4.0", "LABEL", "a, b; c: d",
            "Street");
        row("RFC 6868 carets in 4.0", "ADR;LABEL=\"x^ny^'z^^\":;;Street;;;;", "4.0", "LABEL",
            "x\ny\"z^", "Street");
        row("carets stay in 3.0", "ADR;LABEL=\"x^ny\":;;Street;;;;", "3.0", "LABEL", "x^ny",
            "Street");
        row("our own parameter decodes carets in 3.0",
            "X-ZETTELWERK-USERPROP-A;X-ZETTELWERK-NAME=\"A^'B\":v", "3.0", "X-ZETTELWERK-NAME",
            "A\"B", "v");
        row("parameter fold with a tab", "EMAIL;TYPE=WORK;X-EVOLUTION-UI-\r\n\tSLOT=1:a@b.de",
            "3.0", "X-EVOLUTION-UI-SLOT", "1", "a@b.de");
    }

    void parameters()
    {
        QFETCH(QByteArray, line);
        QFETCH(QString, version);
        QFETCH(QString, parameter);
        QFETCH(QString, expected);
        QFETCH(QString, value);

        const VCard card = onlyCard("BEGIN:VCARD\r\nVERSION:" + version.toLatin1() + "\r\n" + line +
                                    "\r\nEND:VCARD\r\n");
        QCOMPARE(card.properties().size(), 1);
        const VCardProperty& p = card.properties().first();
        const QString actual =
            parameter == u"TYPE" ? p.types().join(u',') : p.parameter(parameter.toLatin1());
        QCOMPARE(actual, expected);
        const QStringList parts = p.components();
        QCOMPARE(parts.size() > 2 ? parts[2] : p.text(), value);
    }

    void malformedCardsAreSkipped_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QStringList>("loaded");
        QTest::addColumn<int>("issueLine");
        QTest::addColumn<QString>("issueText");

        const QByteArray a = "BEGIN:VCARD\r\nFN:A\r\nEND:VCARD\r\n";
        const QByteArray c = "BEGIN:VCARD\r\nFN:C\r\nEND:VCARD\r\n";
        QTest::newRow("END missing before the next card")
            << a + "BEGIN:VCARD\r\nFN:B\r\n" + c << QStringList{"A", "C"} << 4
            << "Der Kontakt ab Zeile 4 endet nicht mit END:VCARD, bevor in Zeile 6 der nächste "
               "beginnt; er wird übersprungen.";
        QTest::newRow("file cut off in the last card")
            << a + c + "BEGIN:VCARD\r\nFN:D\r\nTEL:12" << QStringList{"A", "C"} << 7
            << "Der Kontakt ab Zeile 7 endet nicht mit END:VCARD (Datei unvollständig?); er wird "
               "übersprungen.";
        QTest::newRow("NUL bytes in a card")
            << a + QByteArray("BEGIN:VCARD\r\nFN:B\0\0\r\nEND:VCARD\r\n", 31) + c
            << QStringList{"A", "C"} << 4
            << "Der Kontakt ab Zeile 4 enthält Binärdaten (Nullbytes) und wird übersprungen.";
        QTest::newRow("card without any data")
            << a + "BEGIN:VCARD\r\n\r\nEND:VCARD\r\n" + c << QStringList{"A", "C"} << 4
            << "Der Kontakt ab Zeile 4 enthält keine Angaben und wird übersprungen.";
        QTest::newRow("no card at all") << QByteArray("just some text\r\n") << QStringList{} << 0
                                        << "Die Datei enthält keinen Kontakt (BEGIN:VCARD fehlt).";
    }

    void malformedCardsAreSkipped()
    {
        QFETCH(QByteArray, input);
        QFETCH(QStringList, loaded);
        QFETCH(int, issueLine);
        QFETCH(QString, issueText);

        const VCardReader::Result r = VCardReader::read(input);
        QStringList names;
        for (const VCard& card : r.cards)
            names.append(card.find("FN")->text());
        QCOMPARE(names, loaded);
        QCOMPARE(r.issues.size(), 1);
        QCOMPARE(r.issues.first().line, issueLine);
        QCOMPARE(r.issues.first().message, issueText);
    }

    // Only a regular file (or a link to one) within the size limit is read; anything else is
    // refused at once, without waiting on a pipe or filling memory from a device.
    void onlyRegularFilesAreRead_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("message");
        QTest::newRow("device") << "/dev/zero"
                                << "'/dev/zero' ist keine gewöhnliche Datei";
        QTest::newRow("pipe") << "pipe"
                              << "ist keine gewöhnliche Datei";
        QTest::newRow("one byte over 64 MB") << "sparse"
                                             << "ist größer als 64 MB";
        QTest::newRow("link to a card file") << "link" << QString();
    }
    void onlyRegularFilesAreRead()
    {
        QFETCH(QString, kind);
        QFETCH(QString, message);
        QTemporaryDir dir;
        QString path = dir.filePath(kind);
        if (kind == u"pipe") {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        } else if (kind == u"sparse") {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly) && f.resize(VCardReader::kMaxFileSize + 1));
        } else if (kind == u"link") {
            QFile f(dir.filePath("card.vcf"));
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("BEGIN:VCARD\nFN:A\nEND:VCARD\n");
            f.close();
            QVERIFY(QFile::link(f.fileName(), path));
        } else {
            path = kind;
        }
        const VCardReader::Result r = VCardReader::readFile(path);
        QCOMPARE(r.fileUnreadable, !message.isEmpty());
        QCOMPARE(r.cards.size(), message.isEmpty() ? 1 : 0);
        QCOMPARE(r.issues.size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty())
            QVERIFY2(r.issues[0].message.contains(message), qPrintable(r.issues[0].message));
    }

    // A file of nothing but broken cards reports a bounded number of them.
    void brokenCardsBeyondTheLimitAreCounted()
    {
        const VCardReader::Result r = VCardReader::read(QByteArray("BEGIN:VCARD\n").repeated(150));
        QCOMPARE(r.issues.size(), VCardReader::kMaxIssuesPerFile + 1);
        QCOMPARE(r.issues.last().message,
                 QStringLiteral("50 weitere fehlerhafte Kontakte der Datei werden übersprungen."));
    }

    void base64IsKeptUndecoded()
    {
        // 2.1 block indented by four blanks and ended by an empty line, then the next property.
        const QByteArray input =
            "BEGIN:VCARD\r\nVERSION:2.1\r\nKEY;X509;ENCODING=BASE64:\r\n"
            "    MIIDITCCAoqg\r\n    AwIBAgIQ==\r\n\r\n\r\nEMAIL;INTERNET:a@b.de\r\n"
            "PHOTO;JPEG;B:\r\n/9j/4AAQ\r\nSkZJRg==\r\n\r\nEND:VCARD\r\n";
        const VCard card = onlyCard(input);
        const VCardProperty* key = card.find("KEY");
        QVERIFY(key && key->isBinary());
        QCOMPARE(QString(key->value).remove(u' '), "MIIDITCCAoqgAwIBAgIQ==");
        QCOMPARE(card.find("EMAIL")->text(), "a@b.de");
        const VCardProperty* photo = card.find("PHOTO");
        QVERIFY(photo && photo->isBinary());
        QCOMPARE(photo->value, "/9j/4AAQSkZJRg==");
    }

    void lineWithoutColonIsKeptUninterpreted()
    {
        const VCard card = onlyCard("BEGIN:VCARD\nX-EVOLUTION-FILE-AS:Ximian, Inc.\nFN\nN:\n"
                                    "UID:pas-id-1\nEND:VCARD\n");
        QCOMPARE(card.version(), VCardVersion::V30); // no VERSION line
        QVERIFY(!card.hasVersionLine());
        QCOMPARE(card.find("FN"), nullptr);
        QCOMPARE(card.properties().size(), 4);
        QVERIFY(card.properties()[1].malformed);
        QCOMPARE(card.properties()[1].raw, QByteArray("FN"));
        QCOMPARE(card.find("UID")->text(), "pas-id-1");
    }

    void agentCardStaysInsideItsCard()
    {
        // A 2.1 AGENT embeds a whole card; it is neither a contact of its own nor a truncation.
        const QByteArray input = "BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Boss\r\nAGENT:\r\n"
                                 "BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Assistant\r\nEND:VCARD\r\n"
                                 "TEL:1\r\nEND:VCARD\r\nBEGIN:VCARD\r\nFN:Next\r\nEND:VCARD\r\n";
        const VCardReader::Result r = VCardReader::read(input);
        QVERIFY(r.issues.isEmpty());
        QCOMPARE(r.cards.size(), 2);
        QCOMPARE(r.cards[0].indexesOf("FN").size(), 1);
        QCOMPARE(r.cards[0].find("FN")->text(), "Boss");
        QCOMPARE(r.cards[0].find("TEL")->text(), "1");
        QVERIFY(r.cards[0].find("AGENT"));
        QCOMPARE(r.cards[1].find("FN")->text(), "Next");
    }

    void peekDecodesOneProperty()
    {
        // VERSION after the data: peek must still apply 2.1 rules to N.
        const QByteArray card =
            "BEGIN:VCARD\r\nN;CHARSET=Windows-1252:M\xfcller;Hans\\;Peter;;;\r\n"
            "FN:x\r\nVERSION:2.1\r\nEND:VCARD\r\n";
        const std::optional<VCardProperty> n = VCardReader::peek(card, "n");
        QVERIFY(n);
        QCOMPARE(n->components(),
                 (QStringList{QString::fromUtf8("Müller"), "Hans;Peter", "", "", ""}));
        QVERIFY(!VCardReader::peek(card, "ORG"));
    }

    void corpus_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("cards");
        QTest::addColumn<int>("card");
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QString>("text");

        // One row per file: how many cards, and one codec-level fact the file is there to show.
        // Mapped fields of the same files are checked in tst_contactitem.
        auto row = [](const char* file, int cards, int card, const char* property,
                      const QString& text) {
            corpusRows().append(QString::fromLatin1(file));
            QTest::newRow(file) << QString::fromLatin1(file) << cards << card
                                << QByteArray(property) << text;
        };
        row("eds-vcard-5.vcf", 1, 0, "X-EVOLUTION-FILE-AS",
            QString::fromUtf8("十城目管理大型知座"));
        row("ezvcard-fullcontact.vcf", 1, 0, "X-GENDER", "male");
        row("ezvcard-gmail-single2.vcf", 1, 0, "NOTE",
            "note line 1\nnote line 2\nCustomField: field value");
        row("ezvcard-issue114.vcf", 1, 0, "UID", "8b574c60-fd7f-4e99-b584-c5db131ae687");
        row("ezvcard-John_Doe_ANDROID.vcf", 6, 2, "FN", QString::fromUtf8("Ñ Ñ Ñ Ñ Ñ"));
        row("ezvcard-John_Doe_EVOLUTION.vcf", 1, 0, "X-COUCHDB-APPLICATION-ANNOTATIONS",
            "{\"Evolution\":{\"revision\":\"2012-03-05T13:32:54Z\"}}");
        row("ezvcard-John_Doe_GMAIL.vcf", 1, 0, "URL", "http://www.ibm.com");
        row("ezvcard-John_Doe_MS_OUTLOOK.vcf", 1, 0, "LABEL",
            "Cresent moon drive\nAlbaney, New York  12345");
        row("ezvcard-outlook-2003.vcf", 1, 0, "NOTE",
            "This is the note field!!\nSecond line\n\nThird line is empty\n");
        row("fkvcards-AnsiIssue.vcf", 1, 0, "LABEL",
            QString::fromUtf8("Lämmerweg 12\n98765 Kleindorf"));
        row("fkvcards-German.vcf", 1, 0, "FN", QString::fromUtf8("Sören Täve Nüßlebaum"));
        row("fkvcards-LabelIssue.vcf", 1, 0, "LABEL",
            QString::fromUtf8("Business-Straße 19\n76543 Schaffhausen"));
        row("fkvcards-utf-8.vcf", 1, 0, "FN", QString::fromUtf8("孔夫子"));
        row("fkvcards-v2_1.vcf", 1, 0, "LABEL",
            QString::fromUtf8("1\nFirmenstraße\nOrt Firma, Bundesland Firma PLZFirma\nLand Firma"));
        row("fkvcards-v4.vcf", 2, 1, "ROLE", QString::fromUtf8("Generalsekretär"));
        row("kcontacts-testfullvcard.vcf", 1, 0, "REV", "2014722T222710Z");
        row("kcontacts-vcard_extension_case_normalization.vcf", 1, 0,
            "X-KADDRESSBOOK-CRYPTOPROTOPREF",
            "inline openpgp,openpgp/mime,s/mime,s/mime opaque,any s/mime,any openpgp");
        row("kcontacts-vcardwithitemasapplesupport.vcf", 1, 0, "X-ABShowAs-ABShowAs", "COMPANY");
        row("kcontacts-vcard4.vcf", 1, 0, "LABEL", "401 Park Drive  3 West\nBoston, MA 02215\nUSA");
        row("kcontacts-vcard9.vcf", 1, 0, "NOTE",
            QString::fromUtf8("Длинный комментарий на русском языке, чтобы в результате получилась "
                              "строка более 70 символов."));
        row("kcontacts-vcard10.vcf", 5, 1, "URL", "http://some-webseite.com");
        row("kcontacts-vcard12.vcf", 1, 0, "EMAIL", "goodlooking@example.com");
        row("thunderbird-export-legacy-2.1.vcf", 2, 1, "NOTE",
            QString::fromUtf8("here's some unicode text…"));
        row("thunderbird-export-4.0.vcf", 2, 1, "NOTE",
            QString::fromUtf8("here's some unicode text…"));
    }

    void corpus()
    {
        QFETCH(QString, file);
        QFETCH(int, cards);
        QFETCH(int, card);
        QFETCH(QByteArray, property);
        QFETCH(QString, text);

        const QString dir = corpusDir();
        if (dir.isEmpty() || !QDir(dir).exists())
            QSKIP("The shared vCard corpus (ZW_SHARED_DIR/testdata/vcards) is not available.");

        const QString path = dir + u'/' + file;
        QFile f(path);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray before = f.readAll();
        f.close();

        const VCardReader::Result r = VCardReader::readFile(path);
        QVERIFY2(r.issues.isEmpty(),
                 r.issues.isEmpty() ? "" : qPrintable(r.issues.first().message));
        QCOMPARE(r.cards.size(), cards);
        const VCardProperty* p = r.cards[card].find(property);
        QVERIFY2(p, property.constData());
        QCOMPARE(p->text(), text);

        // Reading never changes the file.
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), before);

        // A 3.0 or 4.0 card nobody changed is written back byte for byte.
        for (const VCard& c : r.cards) {
            if (c.version() != VCardVersion::V21 && c.hasVersionLine()) {
                QByteArray written = VCardWriter::write(c);
                QVERIFY(before.contains(written.trimmed()));
            }
        }
    }

    void everyCorpusFileHasARow()
    {
        const QString dir = corpusDir();
        if (dir.isEmpty() || !QDir(dir).exists())
            QSKIP("The shared vCard corpus (ZW_SHARED_DIR/testdata/vcards) is not available.");
        if (corpusRows().isEmpty())
            corpus_data();
        for (const QString& f : QDir(dir).entryList({QStringLiteral("*.vcf")}, QDir::Files))
            QVERIFY2(corpusRows().contains(f), qPrintable(f + QStringLiteral(" has no test row")));
    }

    void utf16FileIsRead()
    {
        const QString text =
            QString::fromUtf8("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Jürgen\r\nEND:VCARD\r\n"
                              "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Zoë\r\nEND:VCARD\r\n");
        QStringEncoder le(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom);
        QStringEncoder be(QStringConverter::Utf16BE, QStringConverter::Flag::WriteBom);
        for (QStringEncoder* enc : {&le, &be}) {
            const QByteArray bytes = enc->encode(text);
            const VCardReader::Result r = VCardReader::read(bytes);
            QCOMPARE(r.cards.size(), 2);
            QCOMPARE(r.cards[0].find("FN")->text(), QString::fromUtf8("Jürgen"));
            QCOMPARE(r.cards[1].find("FN")->text(), QString::fromUtf8("Zoë"));
        }
    }
};

QTEST_GUILESS_MAIN(TstVCardReader)
#include "tst_vcardreader.moc"
