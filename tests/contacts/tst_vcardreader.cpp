#include "contacts/VCardReader.h"
#include "contacts/VCardWriter.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"

#include <QStringEncoder>
#include <QTemporaryDir>
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

// A card in one line: its version ("(3.0)" without VERSION line), then every line as
// NAME=text, base64 data without its blanks as NAME=b:data, a line without colon as !raw.
QString describe(const VCard& card)
{
    static const char* const versions[] = {"2.1", "3.0", "4.0"};
    QString out = QString::fromLatin1(versions[int(card.version())]);
    if (!card.hasVersionLine())
        out = u'(' + out + u')';
    for (const VCardProperty& p : card.properties()) {
        if (p.malformed) // never taken for a line of that name
            out +=
                QStringLiteral(" | !") + QString::fromUtf8(p.raw) + (card.find(p.raw) ? "?" : "");
        else if (p.isBinary())
            out += QStringLiteral(" | %1=b:%2")
                       .arg(QString::fromUtf8(p.name), QString(p.value).remove(u' '));
        else
            out += QStringLiteral(" | %1=%2").arg(QString::fromUtf8(p.name), p.text());
    }
    return out;
}

QByteArray utf16(QStringConverter::Encoding encoding, const QString& text)
{
    QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
    return encoder.encode(text);
}

} // namespace

class TstVCardReader : public QObject
{
    Q_OBJECT

private slots:
    // The first line of a card as read: NAME=text (N and ADR: the components, joined with ;).
    void codecRules_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QByteArray>("parameter");
        // `line` in a card of that version, or the whole input when the version is empty.
        auto row = [](const char* tag, const QByteArray& version, const QByteArray& line,
                      const QString& expected, const QByteArray& parameter = {}) {
            QTest::newRow(tag) << (version.isEmpty() ? line
                                                     : "BEGIN:VCARD\r\nVERSION:" + version +
                                                           "\r\n" + line + "\r\nEND:VCARD\r\n")
                               << expected << parameter;
        };
        row("3.0 fold with one blank", "3.0", "NOTE:Hello Wo\r\n rld", "NOTE=Hello World");
        row("fold with a tab", "3.0", "NOTE:Hello Wo\r\n\trld", "NOTE=Hello World");
        row("continuation with two blanks keeps one", "3.0", "NOTE:Hello\r\n  World",
            "NOTE=Hello World");
        row("fold splitting a UTF-8 sequence", "3.0",
            "NOTE:\xd0\xb1\xd0\xbe\xd0\r\n \xbb\xd0\xb5\xd0\xb5", QString::fromUtf8("NOTE=более"));
        row("fold inside the parameter list", "3.0", "TEL;TY\r\n PE=WORK:123", "TEL=123");
        row("2.1 soft break splitting =0D=/=0A", "2.1",
            "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=\r\n=0Atwo", "NOTE=one\ntwo");
        row("2.1 soft break splitting a word", "2.1", "NOTE;ENCODING=QUOTED-PRINTABLE:Ameri=\r\nca",
            "NOTE=America");
        row("soft break with blanks after the =", "2.1",
            "NOTE;ENCODING=QUOTED-PRINTABLE:Ameri=  \r\nca", "NOTE=America");
        row("soft break, continuation starting with a blank", "2.1",
            "NOTE;ENCODING=QUOTED-PRINTABLE:Land=\r\n Firma", "NOTE=Land Firma");
        row("soft break, continuation starting with =C3=91", "2.1",
            "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=91=\r\n=C3=91;;;;",
            QString::fromUtf8("N=ÑÑ;;;;"));
        row("soft break before a line that looks like a property", "2.1",
            "NOTE;QUOTED-PRINTABLE:a=\r\nURL:b\r\nFN:x", "NOTE=aURL:b");
        row("final = without a following line", "2.1", "ORG;ENCODING=QUOTED-PRINTABLE:abc=\r\n",
            "ORG=abc");
        row("quoted-printable in 3.0", "3.0", "NOTE;ENCODING=QUOTED-PRINTABLE:a=0Ab", "NOTE=a\nb");
        row("CHARSET=windows-1252 with raw 8-bit", "2.1",
            "FN;CHARSET=Windows-1252:Stra\xdf"
            "e",
            QString::fromUtf8("FN=Straße"));
        row("ISO-8859-1 read as windows-1252", "2.1", "FN;CHARSET=ISO-8859-1:\x80 5",
            QString::fromUtf8("FN=€ 5"));
        row("raw UTF-8 without CHARSET", "2.1", "FN:S\xc3\xb6ren", QString::fromUtf8("FN=Sören"));
        row("raw windows-1252 without CHARSET", "2.1", "FN:S\xf6ren \x93x\x94",
            QString::fromUtf8("FN=Sören “x”"));
        row("quoted-printable UTF-8 without CHARSET", "2.1", "note;quoted-printable:text=E2=80=A6",
            QString::fromUtf8("note=text…"));
        row("quoted-printable windows-1252", "2.1",
            "LABEL;CHARSET=Windows-1252;QUOTED-PRINTABLE:M=F6=DFlitz",
            QString::fromUtf8("LABEL=Mößlitz"));
        row("unknown charset falls back", "2.1", "FN;CHARSET=blabla:M\xf6",
            QString::fromUtf8("FN=Mö"));
        row("3.0 escapes", "3.0", "NOTE:a\\nb\\, c\\; d\\\\e\\Nf", "NOTE=a\nb, c; d\\e\nf");
        row("unknown escape keeps the character", "3.0", "URL:http\\://example.com",
            "URL=http://example.com");
        row("2.1 only escapes the semicolon", "2.1", "NOTE:C:\\new\\; x, y", "NOTE=C:\\new; x, y");
        row("2.1 comma is literal in N", "2.1", "N:Doe;John;Richter,James;;",
            "N=Doe;John;Richter,James;;");
        row("group prefix", "3.0", "item1.EMAIL;TYPE=INTERNET:a@b.de", "EMAIL=a@b.de");
        row("lower-case names", {}, "begin:vcard\r\nfn:x\r\nversion:2.1\r\nend:vcard\r\n", "fn=x");
        row("UTF-8 byte order mark", {},
            "\xef\xbb\xbf"
            "BEGIN:VCARD\r\nFN:x\r\nEND:VCARD\r\n",
            "FN=x");
        row("LF line ends", {}, "BEGIN:VCARD\nVERSION:3.0\nFN:a\n b\nEND:VCARD\n", "FN=ab");
        row("CR line ends", {}, "BEGIN:VCARD\rVERSION:3.0\rFN:a\r b\rEND:VCARD\r", "FN=ab");
        row("CR CR LF line ends", {},
            "BEGIN:VCARD\r\r\nVERSION:3.0\r\r\nFN:a\r\r\n b\r\r\nEND:VCARD\r\r\n", "FN=ab");
        row("no final line break", {}, "BEGIN:VCARD\r\nFN:x\r\nEND:VCARD", "FN=x");
        row("text outside the card is ignored", {},
            "garbage\r\nFN:no\r\n\r\nBEGIN:VCARD\r\nFN:yes\r\nEND:VCARD\r\ntrailer\r\n", "FN=yes");
        // With a parameter named last, its value (TYPE: all types) follows the name.
        row("bare 2.1 types", "2.1", "TEL;WORK;VOICE:1", "TEL;TYPE=WORK,VOICE=1", "TYPE");
        row("bare QUOTED-PRINTABLE is the encoding", "2.1", "NOTE;QUOTED-PRINTABLE:a=3Db",
            "NOTE;ENCODING=QUOTED-PRINTABLE=a=b", "ENCODING");
        row("bare charset name", "2.1", "TEL;WORK;utf-8;QUOTED-PRINTABLE;de-DE:gesch=C3=A4ftlich",
            QString::fromUtf8("TEL;TYPE=WORK,DE-DE=geschäftlich"), "TYPE");
        row("empty parameter", "2.1", "ADR;HOME;PREF;:;;Weg 1;Ort;;1;D",
            "ADR;TYPE=HOME,PREF=;;Weg 1;Ort;;1;D", "TYPE");
        row("repeated TYPE and trailing comma", "3.0", "TEL;type=WORK;type=pref;TYPE=FAX,:1",
            "TEL;TYPE=WORK,PREF,FAX=1", "TYPE");
        row("quoted TYPE list", "4.0", "TEL;TYPE=\"voice,home\":1", "TEL;TYPE=VOICE,HOME=1",
            "TYPE");
        row("quoted value with colon and semicolon", "4.0",
            "ADR;LABEL=\"a, b; c: d\";TYPE=work:;;Street;City;;;",
            "ADR;LABEL=a, b; c: d=;;Street;City;;;", "LABEL");
        row("RFC 6868 carets in 4.0", "4.0", "ADR;LABEL=\"x^ny^'z^^\":;;Street;;;;",
            "ADR;LABEL=x\ny\"z^=;;Street;;;;", "LABEL");
        row("carets stay in 3.0", "3.0", "ADR;LABEL=\"x^ny\":;;Street;;;;",
            "ADR;LABEL=x^ny=;;Street;;;;", "LABEL");
        row("our own parameter decodes carets in 3.0", "3.0",
            "X-ZETTELWERK-USERPROP-A;X-ZETTELWERK-NAME=\"A^'B\":v",
            "X-ZETTELWERK-USERPROP-A;X-ZETTELWERK-NAME=A\"B=v", "X-ZETTELWERK-NAME");
        row("parameter fold with a tab", "3.0",
            "EMAIL;TYPE=WORK;X-EVOLUTION-UI-\r\n\tSLOT=1:a@b.de",
            "EMAIL;X-EVOLUTION-UI-SLOT=1=a@b.de", "X-EVOLUTION-UI-SLOT");
    }

    void codecRules()
    {
        QFETCH(QByteArray, input);
        QFETCH(QString, expected);
        QFETCH(QByteArray, parameter);
        const VCard card = onlyCard(input);
        QVERIFY(!card.properties().isEmpty());
        const VCardProperty& p = card.properties().first();
        QString actual = QString::fromUtf8(p.name);
        if (!parameter.isEmpty())
            actual += u';' + QString::fromLatin1(parameter) + u'=' +
                      (parameter == "TYPE" ? p.types().join(u',') : p.parameter(parameter));
        const bool structured = p.isNamed("N") || p.isNamed("ADR");
        QCOMPARE(actual + u'=' + (structured ? p.components().join(u';') : p.text()), expected);
    }

    // Which cards a file gives, each in one line (see describe()), and what it reports: how
    // many problems, and the last one with its line.
    void cards_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QStringList>("cards");
        QTest::addColumn<int>("issues");
        QTest::addColumn<QString>("lastIssue");

        const QByteArray a = "BEGIN:VCARD\r\nFN:A\r\nEND:VCARD\r\n";
        const QByteArray c = "BEGIN:VCARD\r\nFN:C\r\nEND:VCARD\r\n";
        const QStringList ac = {"(3.0) | FN=A", "(3.0) | FN=C"};
        auto row = [](const char* tag, const QByteArray& input, const QStringList& cards,
                      int issues = 0, const QString& lastIssue = {}) {
            QTest::newRow(tag) << input << cards << issues << lastIssue;
        };
        row("END missing before the next card", a + "BEGIN:VCARD\r\nFN:B\r\n" + c, ac, 1,
            "4: Der Kontakt ab Zeile 4 endet nicht mit END:VCARD, bevor in Zeile 6 der nächste "
            "beginnt; er wird übersprungen.");
        row("file cut off in the last card", a + c + "BEGIN:VCARD\r\nFN:D\r\nTEL:12", ac, 1,
            "7: Der Kontakt ab Zeile 7 endet nicht mit END:VCARD (Datei unvollständig?); er wird "
            "übersprungen.");
        row("NUL bytes in a card",
            a + QByteArray("BEGIN:VCARD\r\nFN:B\0\0\r\nEND:VCARD\r\n", 31) + c, ac, 1,
            "4: Der Kontakt ab Zeile 4 enthält Binärdaten (Nullbytes) und wird übersprungen.");
        row("card without any data", a + "BEGIN:VCARD\r\n\r\nEND:VCARD\r\n" + c, ac, 1,
            "4: Der Kontakt ab Zeile 4 enthält keine Angaben und wird übersprungen.");
        row("no card at all", "just some text\r\n", {}, 1,
            "0: Die Datei enthält keinen Kontakt (BEGIN:VCARD fehlt).");
        // A file of nothing but broken cards reports a bounded number of them.
        row("broken cards beyond the limit are counted", QByteArray("BEGIN:VCARD\n").repeated(150),
            {}, VCardReader::kMaxIssuesPerFile + 1,
            "0: 50 weitere fehlerhafte Kontakte der Datei werden übersprungen.");
        // 2.1 block indented by four blanks and ended by an empty line, then the next property.
        row("base64 is kept undecoded",
            "BEGIN:VCARD\r\nVERSION:2.1\r\nKEY;X509;ENCODING=BASE64:\r\n    MIIDITCCAoqg\r\n"
            "    AwIBAgIQ==\r\n\r\n\r\nEMAIL;INTERNET:a@b.de\r\nPHOTO;JPEG;B:\r\n/9j/4AAQ\r\n"
            "SkZJRg==\r\n\r\nEND:VCARD\r\n",
            {"2.1 | KEY=b:MIIDITCCAoqgAwIBAgIQ== | EMAIL=a@b.de | PHOTO=b:/9j/4AAQSkZJRg=="});
        row("line without colon kept uninterpreted",
            "BEGIN:VCARD\nX-EVOLUTION-FILE-AS:Ximian, Inc.\nFN\nN:\nUID:pas-id-1\nEND:VCARD\n",
            {"(3.0) | X-EVOLUTION-FILE-AS=Ximian, Inc. | !FN | N= | UID=pas-id-1"});
        // A 2.1 AGENT embeds a whole card; it is neither a contact of its own nor a truncation.
        row("AGENT card stays inside its card",
            "BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Boss\r\nAGENT:\r\nBEGIN:VCARD\r\nVERSION:2.1\r\n"
            "FN:Assistant\r\nEND:VCARD\r\nTEL:1\r\nEND:VCARD\r\nBEGIN:VCARD\r\nFN:Next\r\nEND:"
            "VCARD\r\n",
            {"2.1 | FN=Boss | AGENT=\nBEGIN:VCARD\nVERSION:2.1\nFN:Assistant\nEND:VCARD | TEL=1",
             "(3.0) | FN=Next"});
        const QString two =
            QString::fromUtf8("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Jürgen\r\nEND:VCARD\r\n"
                              "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Zoë\r\nEND:VCARD\r\n");
        const QStringList twoCards = {QString::fromUtf8("3.0 | FN=Jürgen"),
                                      QString::fromUtf8("3.0 | FN=Zoë")};
        row("UTF-16LE with byte order mark", utf16(QStringConverter::Utf16LE, two), twoCards);
        row("UTF-16BE with byte order mark", utf16(QStringConverter::Utf16BE, two), twoCards);
    }

    void cards()
    {
        QFETCH(QByteArray, input);
        QFETCH(QStringList, cards);
        QFETCH(int, issues);
        QFETCH(QString, lastIssue);
        const VCardReader::Result r = VCardReader::read(input);
        QStringList found;
        for (const VCard& card : r.cards)
            found.append(describe(card));
        QCOMPARE(found, cards);
        QCOMPARE(r.issues.size(), issues);
        if (issues > 0)
            QCOMPARE(QStringLiteral("%1: ").arg(r.issues.last().line) + r.issues.last().message,
                     lastIssue);
    }

    // Only a regular file (or a link to one) within the size limit is read; anything else is
    // refused at once, without waiting on a pipe or filling memory from a device.
    void onlyRegularFilesAreRead_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("message");
        QTest::newRow("device") << QStringLiteral("/dev/zero")
                                << "'/dev/zero' ist keine gewöhnliche Datei";
        QTest::newRow("pipe") << QStringLiteral("pipe") << "ist keine gewöhnliche Datei";
        QTest::newRow("one byte over 64 MB") << QStringLiteral("sparse") << "ist größer als 64 MB";
        QTest::newRow("link to a card file") << "link" << QString();
    }
    void onlyRegularFilesAreRead()
    {
        QFETCH(QString, kind);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString path = kind.startsWith(u'/') ? kind : dir.filePath(kind);
        if (kind == u"pipe") {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        } else if (kind == u"sparse") {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly) && f.resize(VCardReader::kMaxFileSize + 1));
        } else if (kind == u"link") {
            QVERIFY(QFile::link(
                writeFile(dir.filePath("card.vcf"), "BEGIN:VCARD\nFN:A\nEND:VCARD\n"), path));
        }
        const VCardReader::Result r = VCardReader::readFile(path);
        QCOMPARE(r.fileUnreadable, !message.isEmpty());
        QCOMPARE(r.cards.size(), message.isEmpty() ? 1 : 0);
        QCOMPARE(r.issues.size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty())
            QVERIFY2(r.issues[0].message.contains(message), qPrintable(r.issues[0].message));
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
        const QString dir = TestEnvironment::sharedDir() + QStringLiteral("/testdata/vcards/");
        QStringList listed;
        auto row = [&listed, &dir](const char* file, int cards, int card, const char* property,
                                   const QString& text) {
            listed.append(QString::fromLatin1(file));
            QTest::newRow(file) << dir + QString::fromLatin1(file) << cards << card
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
        for (const QString& f : QDir(dir).entryList({QStringLiteral("*.vcf")}, QDir::Files)) {
            if (!listed.contains(f))
                QTest::newRow(qPrintable(f)) << dir + f << 0 << 0 << QByteArray() << QString();
        }
    }

    void corpus()
    {
        QFETCH(QString, file);
        QFETCH(int, cards);
        QFETCH(int, card);
        QFETCH(QByteArray, property);
        QFETCH(QString, text);
        if (!QFileInfo::exists(file))
            QSKIP("The shared vCard corpus (ZW_SHARED_DIR/testdata/vcards) is not available.");
        QVERIFY2(cards > 0, "a file of the corpus without a row here");

        const QByteArray before = readAll(file);
        const VCardReader::Result r = VCardReader::readFile(file);
        QVERIFY2(r.issues.isEmpty(),
                 r.issues.isEmpty() ? "" : qPrintable(r.issues.first().message));
        QCOMPARE(r.cards.size(), cards);
        const VCardProperty* p = r.cards[card].find(property);
        QVERIFY2(p, property.constData());
        QCOMPARE(p->text(), text);
        QCOMPARE(readAll(file), before); // reading never changes the file

        // A 3.0 or 4.0 card nobody changed is written back byte for byte.
        for (const VCard& c : r.cards) {
            if (c.version() != VCardVersion::V21 && c.hasVersionLine())
                QVERIFY(before.contains(VCardWriter::write(c).trimmed()));
        }
    }
};

QTEST_GUILESS_MAIN(TstVCardReader)
#include "tst_vcardreader.moc"
