#include "contacts/ContactFieldCatalogue.h"
#include "tests/cli/CliRunner.h"
#include "tests/support/TestEnvironment.h"
#include "util/SystemNames.h"

#include <QCryptographicHash>
#include <QDate>
#include <QDirIterator>
#include <QTest>
#include <memory>
#include <sys/stat.h>

using namespace CliRunner;

namespace
{

const QByteArray kBerger =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Berger;Hans;;Herr;\r\nFN:Hans Berger\r\n"
    "ORG:Muster GmbH\r\n"
    "ADR;TYPE=WORK:;;Hauptstr. 1;München;;80331;Deutschland\r\n"
    "ADR;TYPE=HOME:;;Lindenweg 7;Potsdam;;14467;Deutschland\r\n"
    "TEL;TYPE=WORK,VOICE:089 123456\r\n"
    "X-ZETTELWERK-USERPROP-KENN-NR;X-ZETTELWERK-NAME=Kenn-Nr;"
    "X-ZETTELWERK-TYPE=text:B-42\r\nEND:VCARD\r\n";

QByteArray card(const char* last, const char* first, const char* title, const char* company)
{
    return QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nN:") + last + ';' + first + ";;" + title +
           ";\r\nFN:" + first + ' ' + last + "\r\nORG:" + company +
           "\r\nADR;TYPE=WORK:;;Ring 3;Wien;;1010;Österreich\r\nEND:VCARD\r\n";
}

QStringList sevenLines(const QString& joined)
{
    return joined.split(QLatin1Char('|'));
}

QByteArray sha1(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha1);
}

QStringList filesBelow(const QString& dir)
{
    QStringList files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    return files;
}

} // namespace

class TstZettelwerkCli : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_env;
    QString m_out; // output folder of the run
    QString m_vcf; // the Berger card

    QString letter() const { return binDir() + QStringLiteral("/Bsp-Brief.dotx"); }

    // Runs a fill that must succeed and returns the document written.
    QString fillOk(const QStringList& arguments)
    {
        const Result r = run(arguments);
        if (!r.finished || r.exitCode != 0 || !r.err.isEmpty()) {
            qWarning("exit %d, stderr: %s", r.exitCode, qPrintable(r.err));
            return QString();
        }
        const QString path = r.out.chopped(1);
        if (!r.out.endsWith(u'\n') || path.contains(u'\n') ||
            QFileInfo(path).absolutePath() != m_out || !path.endsWith(QLatin1String(".docx")) ||
            !QFileInfo::exists(path)) {
            qWarning("unexpected output: %s", qPrintable(r.out));
            return QString();
        }
        return path;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QFileInfo(program()).isExecutable(), qPrintable(program()));
        QVERIFY(QFileInfo::exists(letter()));
    }

    void init()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_out = m_env->root() + QStringLiteral("/out");
        QDir().mkpath(m_out);
        m_vcf = writeFile(m_env->root() + QStringLiteral("/berger.vcf"), kBerger);
    }

    void cleanup() { m_env.reset(); }

    void letterFromVCard_data()
    {
        QTest::addColumn<QByteArray>("vcard");
        QTest::addColumn<QStringList>("settings");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("lines");
        QTest::addColumn<QString>("salutation");

        // A blank line before the city is " ", which is not written: the paragraph stays empty.
        QTest::newRow("defaults: company first, blank line before city")
            << kBerger << QStringList() << QStringList()
            << "Muster GmbH|Herr|Hans Berger|Hauptstr. 1||80331 München|"
            << "Sehr geehrter Herr Berger,";
        QTest::newRow("person first with Herrn")
            << kBerger << QStringList() << QStringList{"--reihenfolge", "1", "--herrn", "ja"}
            << "Herrn|Hans Berger|Muster GmbH|Hauptstr. 1||80331 München|"
            << "Sehr geehrter Herr Berger,";
        QTest::newRow("title and name on one line, familiar salutation")
            << kBerger << QStringList()
            << QStringList{"--anrede-name-eine-zeile", "ja", "--herrn", "ja", "--anrede", "1"}
            << "Muster GmbH|Herrn Hans Berger|Hauptstr. 1||80331 München||"
            << "Lieber Herr Berger,";
        QTest::newRow("private address without blank line")
            << kBerger << QStringList()
            << QStringList{"--adresse", "1", "--leerzeile-vor-ort", "nein"}
            << "Muster GmbH|Herr|Hans Berger|Lindenweg 7|14467 Potsdam||"
            << "Sehr geehrter Herr Berger,";
        QTest::newRow("other address that the contact lacks")
            << kBerger << QStringList() << QStringList{"--adresse", "2"}
            << "Muster GmbH|Herr|Hans Berger||||"
            << "Sehr geehrter Herr Berger,";
        QTest::newRow("flags from the settings")
            << kBerger
            << QStringList{"TitleAndNameOnSameLine=True", "AddNToHerr=True",
                           "AddEmptyLineBeforeCity=False"}
            << QStringList() << "Muster GmbH|Herrn Hans Berger|Hauptstr. 1|80331 München|||"
            << "Sehr geehrter Herr Berger,";
        QTest::newRow("options beat the settings")
            << kBerger
            << QStringList{"TitleAndNameOnSameLine=True", "AddNToHerr=True",
                           "AddEmptyLineBeforeCity=False"}
            << QStringList{"--herrn", "nein", "--leerzeile-vor-ort", "ja"}
            << "Muster GmbH|Herr Hans Berger|Hauptstr. 1||80331 München||"
            << "Sehr geehrter Herr Berger,";
        QTest::newRow("foreign country as the last line")
            << card("Favre", "Claire", "Frau", "Atelier Favre") << QStringList() << QStringList()
            << "Atelier Favre|Frau|Claire Favre|Ring 3||1010 Wien|Österreich"
            << "Sehr geehrte Frau Favre,";
    }

    void letterFromVCard()
    {
        QFETCH(QByteArray, vcard);
        QFETCH(QStringList, settings);
        QFETCH(QStringList, options);
        QFETCH(QString, lines);
        QFETCH(QString, salutation);

        QList<std::pair<QString, QString>> values;
        for (const QString& s : settings)
            values.append({s.section(u'=', 0, 0), s.section(u'=', 1)});
        if (!values.isEmpty())
            writeSettings(values);
        const QString vcf = writeFile(m_env->root() + QStringLiteral("/kontakt.vcf"), vcard);

        const QString docx = fillOk(
            QStringList{"--kontakt", vcf, "--vorlage", letter(), "--ausgabe", m_out} + options);
        QVERIFY(!docx.isEmpty());
        pugi::xml_document xml;
        QVERIFY(loadMainPart(docx, xml));
        QStringList got;
        for (int n = 1; n <= 7; ++n)
            got.append(OoxmlTestPackage::bookmarkText(
                xml.root(), QStringLiteral("Empfänger%1").arg(n).toUtf8().constData()));
        QCOMPARE(got, sevenLines(lines));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml.root(), "Briefanrede"), salutation);
        // Without stored settings the default special fields fill the sender.
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml.root(), "Bearbeiter"),
                 QStringLiteral("<Ihr Name>"));
    }

    void usersOwnAssignmentAndSpecialFields_data()
    {
        QTest::addColumn<QString>("templateArgument");
        QTest::newRow("the path as stored") << QStringLiteral("%T");
        QTest::newRow("the same file through a link") << QStringLiteral("%L");
        QTest::newRow("a relative path") << QStringLiteral("%R");
    }

    void usersOwnAssignmentAndSpecialFields()
    {
        QFETCH(QString, templateArgument);
        const QString tpl = m_env->root() + QStringLiteral("/vorlagen/Mein Brief.dotx");
        QDir().mkpath(QFileInfo(tpl).absolutePath());
        QVERIFY(QFile::copy(letter(), tpl));
        const QString link = m_env->root() + QStringLiteral("/link.dotx");
        QVERIFY(QFile::link(tpl, link));
        writeSettings({{"SpecialFields", "Von-Name=Erika Beispiel|Von-Durchwahl=215"},
                       {"DotCount", "1"},
                       {"Dot1", tpl + "|Empfänger1=Nachname (OF)|Empfänger2=-|Bearbeiter=Von-Name "
                                      "(SF)|BearbeiterDurchwahl=Kenn-Nr (BF)|Fehlt=Firma (OF)"}});

        QString arg = templateArgument;
        arg.replace(QLatin1String("%T"), tpl).replace(QLatin1String("%L"), link);
        arg.replace(QLatin1String("%R"), QDir::current().relativeFilePath(tpl));

        const Result r =
            run({"--kontakt", m_vcf, "--vorlage", arg, "--ausgabe", m_out, "--adresse", "1"});
        QCOMPARE(r.exitCode, 0);
        // An assignment to a bookmark the template lacks is named, and the rest is filled.
        QCOMPARE(r.err, QStringLiteral("Warnung: Die Vorlage hat keine Textmarke 'Fehlt' "
                                       "(zugeordnet: Firma (OF)).\n"));
        const QString docx = r.out.trimmed();
        QCOMPARE(QFileInfo(docx).fileName(), QStringLiteral("Mein Brief - Berger, Hans.docx"));
        pugi::xml_document xml;
        QVERIFY(loadMainPart(docx, xml));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml.root(), "Empfänger1"),
                 QStringLiteral("Berger"));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml.root(), "Empfänger2"), QString());
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml.root(), "Empfänger3"), QString());
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml.root(), "Bearbeiter"),
                 QStringLiteral("Erika Beispiel"));
        QCOMPARE(OoxmlTestPackage::bookmarkText(xml.root(), "BearbeiterDurchwahl"),
                 QStringLiteral("B-42"));
    }

    void blankDocumentTakesItsLinePlaceholders()
    {
        writeSettings({{"SpecialFields", "Von-Name=Erika Beispiel"},
                       {"DotCount", "1"},
                       {"Dot1", "(leeres Dokument)|(1. Zeile)=1. Anschrift-Zeile (ZF)|(2. "
                                "Zeile)=2. Anschrift-Zeile (ZF)|(3. Zeile)=-|(4. Zeile)=Von-Name "
                                "(SF)"}});
        const QString docx =
            fillOk({"--kontakt", m_vcf, "--vorlage", "(leeres Dokument)", "--ausgabe", m_out});
        QVERIFY(!docx.isEmpty());
        pugi::xml_document xml;
        QVERIFY(loadMainPart(docx, xml));
        QStringList lines = OoxmlTestPackage::paragraphs(xml.root());
        lines.removeAll(QString());
        QCOMPARE(lines, (QStringList{"Muster GmbH", "Herr", "Erika Beispiel"}));
    }

    void writesANewFileEachTimeAndLeavesTheSettingsAlone()
    {
        // No settings stored: the program must not create any.
        const QStringList args{"--kontakt", m_vcf, "--vorlage", letter(), "--ausgabe", m_out};
        const QString first = fillOk(args);
        QVERIFY(!first.isEmpty());
        QCOMPARE(filesBelow(m_env->configHome()), QStringList());
        const QByteArray before = sha1(first);

        const QString second = fillOk(args);
        QVERIFY(!second.isEmpty());
        QVERIFY(second != first);
        QCOMPARE(sha1(first), before);

        // Stored settings stay byte for byte, and nothing is left beside them.
        writeSettings({{"AddNToHerr", "True"}});
        const QStringList stored = filesBelow(m_env->configHome());
        QCOMPARE(stored.size(), 1);
        const QByteArray settingsBefore = sha1(stored.first());
        QVERIFY(!fillOk(args).isEmpty());
        QCOMPARE(filesBelow(m_env->configHome()), stored);
        QCOMPARE(sha1(stored.first()), settingsBefore);
    }

    // A damaged settings file (here: a key nested a million levels) is reported; the run goes
    // on with the defaults and leaves the file for the program to move aside.
    void damagedSettingsAreReportedAndLeftAlone()
    {
        const QString file = writeFile(
            m_env->configHome() + QStringLiteral("/KVAR/registry/HKEY_CURRENT_USER.reg"),
            "REGEDIT4\n\n[HKEY_CURRENT_USER" + QByteArray("\\k").repeated(1000000) + "]\n");
        const QByteArray before = sha1(file);
        const Result r =
            run({"--kontakt", m_vcf, "--vorlage", letter(), "--ausgabe", m_out, "--felder"});
        QCOMPARE(r.exitCode, 0);
        QVERIFY2(r.err.contains(QStringLiteral("ist beschädigt (Zeile 3: Schlüssel tiefer als 512 "
                                               "Ebenen).\nSie bleibt unverändert")),
                 qPrintable(r.err));
        QVERIFY(r.out.contains(QStringLiteral("Firma (OF)\tMuster GmbH")));
        QCOMPARE(filesBelow(m_env->configHome()), QStringList{file});
        QCOMPARE(sha1(file), before);
    }

    void defaultOutputFolderIsTheDocumentsFolder()
    {
        const Result r = run({"--kontakt", m_vcf, "--vorlage", letter()});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(QFileInfo(r.out.trimmed()).absolutePath(),
                 m_env->root() + QStringLiteral("/home/Documents"));
    }

    void contactFromFolder_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("expected"); // a line of stdout, or a part of stderr

        const QString k = QStringLiteral("Root\\Persönliche Ordner\\Kontakte");
        QTest::newRow("first of two hits")
            << QStringList{"--ordner", k, "--nachname", "Müller"} << 0 << "Vorname (OF)\tMax";
        QTest::newRow("second hit by number")
            << QStringList{"--ordner", k, "--nachname", "Müller", "--nummer", "2"} << 0
            << "Vorname (OF)\tEva";
        QTest::newRow("name compares without case")
            << QStringList{"--ordner", k, "--nachname", "MÜLLER"} << 0 << "Vorname (OF)\tMax";
        QTest::newRow("without a name every contact counts")
            << QStringList{"--ordner", k, "--nummer", "3"} << 0 << "Vorname (OF)\tKarl";
        QTest::newRow("Root prefix is optional")
            << QStringList{"--ordner", "Persönliche Ordner\\Kontakte", "--nachname", "Schmidt"} << 0
            << "Vorname (OF)\tKarl";
        QTest::newRow("the sample store beside the program")
            << QStringList{"--ordner", "Root\\Beispielkontakte", "--nachname", "Müller"} << 0
            << "Firma (OF)\tMuster AG";
        QTest::newRow("first names are not searched")
            << QStringList{"--ordner", k, "--nachname", "Max"} << 2
            << "Die Suche nach 'Max' im Ordner 'Root\\Persönliche Ordner\\Kontakte' ergab keinen "
               "Treffer.";
        QTest::newRow("a quote in the name is searched, not a missing folder")
            << QStringList{"--ordner", k, "--nachname", "O'Brien"} << 2
            << "Die Suche nach 'O'Brien' im Ordner 'Root\\Persönliche Ordner\\Kontakte' ergab "
               "keinen Treffer.";
        QTest::newRow("hit number beyond the hits")
            << QStringList{"--ordner", k, "--nachname", "Müller", "--nummer", "3"} << 2
            << "ergab nur 2 Treffer; Nummer 3 gibt es nicht.";
        QTest::newRow("folder that does not exist")
            << QStringList{"--ordner", "Root\\Persönliche Ordner\\Lieferanten", "--nachname", "X"}
            << 3 << "Öffnen des Ordners 'Root\\Persönliche Ordner\\Lieferanten' nicht möglich!";
        QTest::newRow("store that does not exist")
            << QStringList{"--ordner", "Root\\Postfach", "--nachname", "X"} << 3
            << "Öffnen des Ordners 'Root\\Postfach' nicht möglich!";
        QTest::newRow("calendar folder")
            << QStringList{"--ordner", "Root\\Persönliche Ordner\\Kalender", "--nachname", "X"} << 4
            << "Der Ordner 'Root\\Persönliche Ordner\\Kalender' beinhaltet keine Kontakte!";
        QTest::newRow("hit list") << QStringList{"--ordner", k, "--nachname", "Müller", "--liste"}
                                  << 0 << "2\tMüller, Eva\tMüller\tEva\tBüro Müller";
    }

    void contactFromFolder()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, expected);

        const QString store = m_env->dataHome() + QStringLiteral("/Zettelwerk/Persönliche Ordner");
        writeFile(store + QStringLiteral("/Kontakte/1-max.vcf"),
                  card("Müller", "Max", "Herr", "Muster AG"));
        writeFile(store + QStringLiteral("/Kontakte/2-eva.vcf"),
                  card("Müller", "Eva", "Frau", "Büro Müller"));
        writeFile(store + QStringLiteral("/Kontakte/3-karl.vcf"),
                  card("Schmidt", "Karl", "Herr", "Schmidt KG"));
        writeFile(store + QStringLiteral("/Kalender/termin.ics"),
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n");

        if (!arguments.contains(QLatin1String("--liste")))
            arguments << QStringLiteral("--felder");
        const Result r = run(arguments);
        QVERIFY(r.finished);
        QCOMPARE(r.exitCode, exitCode);
        if (exitCode == 0) {
            QVERIFY2(r.out.split(u'\n').contains(expected), qPrintable(r.out));
            QCOMPARE(r.err, QString());
        } else {
            QVERIFY2(r.err.contains(expected), qPrintable(r.err));
            QCOMPARE(r.out, QString());
        }
    }

    void fieldsListing_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("value");
        QTest::newRow("catalogue field") << "Firma (OF)"
                                         << "Muster GmbH";
        QTest::newRow("catalogue field of two parts") << "Vorname+Nachname (OF)"
                                                      << "Hans Berger";
        QTest::newRow("empty catalogue field") << "Abteilung (OF)"
                                               << "";
        QTest::newRow("address line 1") << "1. Anschrift-Zeile (ZF)"
                                        << "Muster GmbH";
        QTest::newRow("address line 4 follows line 3") << "4. Anschrift-Zeile (ZF)"
                                                       << "Hauptstr. 1";
        QTest::newRow("blank line before city") << "5. Anschrift-Zeile (ZF)"
                                                << " ";
        QTest::newRow("address line 6") << "6. Anschrift-Zeile (ZF)"
                                        << "80331 München";
        QTest::newRow("address line 9 after the end") << "9. Anschrift-Zeile (ZF)"
                                                      << "";
        QTest::newRow("salutation") << "Briefanrede+Name (ZF)"
                                    << "Sehr geehrter Herr Berger,";
        QTest::newRow("postcode and city") << "PLZ+Ort ausgewählte Adresse (ZF)"
                                           << "80331 München";
        QTest::newRow("domestic country is empty") << "Land ausgewählte Adresse (ZF)"
                                                   << "";
        QTest::newRow("user property of the card") << "Kenn-Nr (BF)"
                                                   << "B-42";
        QTest::newRow("default special field") << "Von-Unterschrift (SF)"
                                               << "i.A. <Ihr Name>";
        QTest::newRow("date") << "Datum tt.mm.jjjj (EF)"
                              << QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"));
        QTest::newRow("login name") << "Benutzer Login-Name (EF)" << VuGetLoginName();
    }

    void fieldsListing()
    {
        QFETCH(QString, field);
        QFETCH(QString, value);
        const Result r = run({"--kontakt", m_vcf, "--felder", "--ausgabe", m_out});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.err, QString());
        QStringList lines = r.out.split(u'\n');
        QCOMPARE(lines.takeLast(), QString());
        QVERIFY2(lines.contains(field + u'\t' + value), qPrintable(r.out));
        // Every catalogue field once, in catalogue order; no document is written.
        QStringList catalogue;
        for (const QString& line : lines) {
            if (line.section(u'\t', 0, 0).endsWith(QLatin1String(" (OF)")))
                catalogue.append(line.section(u'\t', 0, 0).chopped(5));
        }
        QCOMPARE(catalogue, ContactFieldCatalogue::displayNames());
        QCOMPARE(filesBelow(m_out), QStringList());
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("settings");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");

        // %V the Berger card, %B the letter template, %O the output folder, %D the test folder.
        const QStringList base{"--kontakt", "%V", "--vorlage", "%B", "--ausgabe", "%O"};
        QTest::newRow("no arguments")
            << QStringList() << QStringList() << 1 << "Kein Kontakt angegeben";
        QTest::newRow("unknown option") << (base + QStringList{"--farbe", "rot"}) << QStringList()
                                        << 1 << "Unbekannte Option: --farbe";
        QTest::newRow("option without its value")
            << QStringList{"--kontakt", "%V", "--vorlage"} << QStringList() << 1
            << "Nach der Option --vorlage fehlt der Wert.";
        QTest::newRow("stray argument") << (base + QStringList{"Müller"}) << QStringList() << 1
                                        << "Unerwartetes Argument: Müller";
        QTest::newRow("two contact sources")
            << (base + QStringList{"--ordner", "Root\\Beispielkontakte"}) << QStringList() << 1
            << "Bitte nur eine Kontaktquelle angeben";
        QTest::newRow("no template")
            << QStringList{"--kontakt", "%V"} << QStringList() << 1 << "Keine Vorlage angegeben";
        QTest::newRow("template twice") << (base + QStringList{"--vorlage", "%B"}) << QStringList()
                                        << 1 << "Die Option --vorlage ist mehrfach angegeben.";
        QTest::newRow("address type 3")
            << (base + QStringList{"--adresse", "3"}) << QStringList() << 1
            << "Ungültiger Wert '3' für --adresse: erlaubt sind 0 "
               "(geschäftlich), 1 (privat) und 2 (weitere).";
        QTest::newRow("order is no number")
            << (base + QStringList{"--reihenfolge", "Firma"}) << QStringList() << 1
            << "Ungültiger Wert 'Firma' für --reihenfolge";
        QTest::newRow("flag neither ja nor nein")
            << (base + QStringList{"--herrn", "vielleicht"}) << QStringList() << 1
            << "Ungültiger Wert 'vielleicht' für --herrn";
        QTest::newRow("hit number 0") << (base + QStringList{"--nummer", "0"}) << QStringList() << 1
                                      << "Ungültige Nummer '0'";
        QTest::newRow("last name with a file")
            << (base + QStringList{"--nachname", "Berger"}) << QStringList() << 1
            << "--nachname gilt nur mit --ordner.";
        QTest::newRow("missing vCard file")
            << QStringList{"--kontakt", "%D/fehlt.vcf", "--vorlage", "%B"} << QStringList() << 2
            << "Die Kontaktdatei '%D/fehlt.vcf' wurde nicht gefunden.";
        QTest::newRow("file without a card")
            << QStringList{"--kontakt", "%D/notiz.vcf", "--vorlage", "%B"} << QStringList() << 2
            << "Die Datei '%D/notiz.vcf' enthält keinen lesbaren Kontakt.";
        QTest::newRow("contact file is a device")
            << QStringList{"--kontakt", "/dev/zero", "--vorlage", "%B"} << QStringList() << 2
            << "'/dev/zero' ist keine gewöhnliche Datei";
        QTest::newRow("contact file is a pipe")
            << QStringList{"--kontakt", "%D/pipe.vcf", "--vorlage", "%B"} << QStringList() << 2
            << "'%D/pipe.vcf' ist keine gewöhnliche Datei";
        QTest::newRow("contact file over 64 MB")
            << QStringList{"--kontakt", "%D/riesig.vcf", "--vorlage", "%B"} << QStringList() << 2
            << "Die Datei '%D/riesig.vcf' ist größer als 64 MB";
        QTest::newRow("group card")
            << QStringList{"--kontakt", "%D/gruppe.vcf", "--vorlage", "%B"} << QStringList() << 2
            << "Die Karte Nr. 1 in '%D/gruppe.vcf' ist kein Kontakt, sondern eine Verteilerliste.";
        QTest::newRow("card number beyond the file")
            << (base + QStringList{"--nummer", "2"}) << QStringList() << 2
            << "enthält nur 1 Kontakt(e); Nummer 2 gibt "
               "es nicht.";
        QTest::newRow("missing template")
            << QStringList{"--kontakt", "%V", "--vorlage", "%D/weg.dotx"} << QStringList() << 5
            << "Auf die Vorlagendatei '%D/weg.dotx' kann nicht zugegriffen werden!\nÜberprüfen "
               "Sie die Einstellungen, Zugriffsrechte und Netzwerkverbindungen!";
        QTest::newRow("template is a folder")
            << QStringList{"--kontakt", "%V", "--vorlage", "%D"} << QStringList() << 5
            << "Auf die Vorlagendatei '%D' kann nicht zugegriffen werden!";
        QTest::newRow("template without assignment")
            << QStringList{"--kontakt", "%V", "--vorlage", "%D/kopie.dotx"} << QStringList() << 6
            << "Für die Vorlage '%D/kopie.dotx' ist keine Feldzuordnung eingetragen.";
        QTest::newRow("blank document without assignment")
            << QStringList{"--kontakt", "%V", "--vorlage", "(leeres Dokument)"}
            << QStringList{"DotCount=1", "Dot1=%B|Briefanrede=Briefanrede+Name (ZF)"} << 6
            << "Für \"(leeres Dokument)\" ist keine Feldzuordnung eingetragen.";
        QTest::newRow("missing output folder")
            << QStringList{"--kontakt", "%V", "--vorlage", "%B", "--ausgabe", "%D/nirgends"}
            << QStringList() << 7 << "Der Ausgabeordner '%D/nirgends' existiert nicht.";
        QTest::newRow("missing output folder from the settings")
            << QStringList{"--kontakt", "%V", "--vorlage", "%B"}
            << QStringList{"OutputFolder=%D/nirgends"} << 7
            << "Der Ausgabeordner '%D/nirgends' existiert nicht.";
        QTest::newRow("output folder is a link to a file")
            << QStringList{"--kontakt", "%V", "--vorlage", "%B", "--ausgabe", "%D/link"}
            << QStringList() << 7 << "Der Ausgabeordner '%D/link' ist kein Ordner.";
        QTest::newRow("template that is no Word file")
            << QStringList{"--kontakt", "%V", "--vorlage", "%D/kaputt.dotx", "--ausgabe", "%O"}
            << QStringList{"DotCount=1", "Dot1=%D/kaputt.dotx|Briefanrede=Briefanrede+Name (ZF)"}
            << 8 << "Aus der Vorlage '%D/kaputt.dotx' kann kein Dokument erstellt werden: ";
        QTest::newRow("template count that is no number")
            << base << QStringList{"DotCount=viele"} << 9
            << "Die Einstellungen (Software\\KVAR\\Zettelwerk) können nicht gelesen werden: Typen "
               "unverträglich";
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, settings);
        QFETCH(int, exitCode);
        QFETCH(QString, message);

        const QString dir = m_env->root();
        writeFile(dir + QStringLiteral("/notiz.vcf"), "Einkaufsliste: Milch, Brot\n");
        writeFile(dir + QStringLiteral("/gruppe.vcf"),
                  "BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:group\r\nFN:Team\r\nEND:VCARD\r\n");
        writeFile(dir + QStringLiteral("/kaputt.dotx"), "PK\x03\x04 abgeschnitten");
        QVERIFY(QFile::copy(letter(), dir + QStringLiteral("/kopie.dotx")));
        QVERIFY(QFile::link(m_vcf, dir + QStringLiteral("/link")));
        QCOMPARE(::mkfifo(QFile::encodeName(dir + QStringLiteral("/pipe.vcf")).constData(), 0600),
                 0);
        QFile huge(dir + QStringLiteral("/riesig.vcf"));
        QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize((64LL << 20) + 1));
        const auto expand = [&](QString s) {
            return s.replace(QLatin1String("%V"), m_vcf)
                .replace(QLatin1String("%B"), letter())
                .replace(QLatin1String("%O"), m_out)
                .replace(QLatin1String("%D"), dir);
        };
        QList<std::pair<QString, QString>> values;
        for (const QString& s : settings)
            values.append({s.section(u'=', 0, 0), expand(s.section(u'=', 1))});
        if (!values.isEmpty())
            writeSettings(values);
        for (QString& a : arguments)
            a = expand(a);

        const Result r = run(arguments);
        QVERIFY(r.finished);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY2(r.err.contains(expand(message)), qPrintable(r.err));
        QCOMPARE(r.out, QString());
        QCOMPARE(filesBelow(m_out), QStringList());
    }

    void helpListsEveryExitCode()
    {
        const Result r = run({"--hilfe"});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.err, QString());
        QVERIFY(r.out.contains(QStringLiteral("Rückgabewerte:")));
        for (int code = 0; code <= 9; ++code)
            QVERIFY2(r.out.contains(QStringLiteral("\n  %1  ").arg(code)), qPrintable(r.out));
        QCOMPARE(run({"-h"}).out, r.out);
        QCOMPARE(run({"--version"}).out, QStringLiteral("zettelwerk-cli 1.0.0\n"));
    }
};

QTEST_GUILESS_MAIN(TstZettelwerkCli)
#include "tst_zettelwerkcli.moc"
