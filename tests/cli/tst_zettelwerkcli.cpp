#include "contacts/ContactFieldCatalogue.h"
#include "tests/cli/CliRunner.h"
#include "tests/support/TestEnvironment.h"
#include "util/SystemNames.h"

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

QStringList filesBelow(const QString& dir)
{
    QStringList files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    return files;
}

// The texts of the named bookmarks of a filled document.
QStringList bookmarks(const QString& docx, const QStringList& names)
{
    pugi::xml_document xml;
    if (!loadMainPart(docx, xml))
        return {QStringLiteral("(unreadable: %1)").arg(docx)};
    QStringList texts;
    for (const QString& name : names)
        texts.append(OoxmlTestPackage::bookmarkText(xml.root(), name.toUtf8().constData()));
    return texts;
}

void letterRow(const char* name, const QStringList& settings, const QStringList& options,
               const QString& lines, const QString& salutation = "Sehr geehrter Herr Berger,",
               const QByteArray& vcard = kBerger)
{
    QTest::newRow(name) << vcard << settings << options << lines.split(u'|') << salutation;
}

// arguments and settings ("Name=Value") may hold %V (the Berger card), %B (the letter
// template), %O (the output folder) and %D (the test folder).
void runRow(const char* name, const QStringList& arguments, int exitCode, const QString& expected,
            const QStringList& settings = {})
{
    QTest::newRow(name) << arguments << exitCode << expected << settings;
}

} // namespace

class TstZettelwerkCli : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_env;
    QString m_out; // output folder of the run
    QString m_vcf; // the Berger card

    QString letter() const { return binDir() + QStringLiteral("/Bsp-Brief.dotx"); }

    QString expand(QString s) const
    {
        return s.replace(QLatin1String("%V"), m_vcf)
            .replace(QLatin1String("%B"), letter())
            .replace(QLatin1String("%O"), m_out)
            .replace(QLatin1String("%D"), m_env->root());
    }

    void writeSettingsRows(const QStringList& settings)
    {
        QList<std::pair<QString, QString>> values;
        for (const QString& s : settings)
            values.append({s.section(u'=', 0, 0), expand(s.section(u'=', 1))});
        if (!values.isEmpty())
            writeSettings(values);
    }

    // Runs a fill that must succeed and returns the document written into `folder`: its path
    // is the one line on stdout, and stderr stays empty.
    QString fillOk(const QStringList& arguments, const QString& folder)
    {
        const Result r = run(arguments);
        const QString path = r.out.trimmed();
        if (!r.finished || r.exitCode != 0 || !r.err.isEmpty() || r.out != path + u'\n' ||
            QFileInfo(path).absolutePath() != folder || !path.endsWith(QLatin1String(".docx")) ||
            !QFileInfo::exists(path)) {
            qWarning("exit %d, stdout: %s, stderr: %s", r.exitCode, qPrintable(r.out),
                     qPrintable(r.err));
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
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("salutation");

        const QStringList flags{"TitleAndNameOnSameLine=True", "AddNToHerr=True",
                                "AddEmptyLineBeforeCity=False"};
        // A blank line before the city is " ", which is not written: the paragraph stays empty.
        letterRow("defaults: company first, blank line before city", {}, {},
                  "Muster GmbH|Herr|Hans Berger|Hauptstr. 1||80331 München|");
        letterRow("person first with Herrn", {}, {"--reihenfolge", "1", "--herrn", "ja"},
                  "Herrn|Hans Berger|Muster GmbH|Hauptstr. 1||80331 München|");
        letterRow("title and name on one line, familiar salutation", {},
                  {"--anrede-name-eine-zeile", "ja", "--herrn", "ja", "--anrede", "1"},
                  "Muster GmbH|Herrn Hans Berger|Hauptstr. 1||80331 München||",
                  "Lieber Herr Berger,");
        letterRow("private address without blank line", {},
                  {"--adresse", "1", "--leerzeile-vor-ort", "nein"},
                  "Muster GmbH|Herr|Hans Berger|Lindenweg 7|14467 Potsdam||");
        letterRow("other address that the contact lacks", {}, {"--adresse", "2"},
                  "Muster GmbH|Herr|Hans Berger||||");
        letterRow("flags from the settings", flags, {},
                  "Muster GmbH|Herrn Hans Berger|Hauptstr. 1|80331 München|||");
        letterRow("options beat the settings", flags,
                  {"--herrn", "nein", "--leerzeile-vor-ort", "ja"},
                  "Muster GmbH|Herr Hans Berger|Hauptstr. 1||80331 München||");
        letterRow("foreign country as the last line", {}, {},
                  "Atelier Favre|Frau|Claire Favre|Ring 3||1010 Wien|Österreich",
                  "Sehr geehrte Frau Favre,", card("Favre", "Claire", "Frau", "Atelier Favre"));
    }

    void letterFromVCard()
    {
        QFETCH(QByteArray, vcard);
        QFETCH(QStringList, settings);
        QFETCH(QStringList, options);
        QFETCH(QStringList, lines);
        QFETCH(QString, salutation);

        writeSettingsRows(settings);
        const QString vcf = writeFile(m_env->root() + QStringLiteral("/kontakt.vcf"), vcard);
        const QString docx = fillOk(
            QStringList{"--kontakt", vcf, "--vorlage", letter(), "--ausgabe", m_out} + options,
            m_out);
        QVERIFY(!docx.isEmpty());
        QStringList names;
        for (int n = 1; n <= 7; ++n)
            names.append(QStringLiteral("Empfänger%1").arg(n));
        names += {"Briefanrede", "Bearbeiter"};
        // Without stored settings the default special fields fill the sender.
        QCOMPARE(bookmarks(docx, names), lines << salutation << "<Ihr Name>");
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
        QCOMPARE(bookmarks(docx, {"Empfänger1", "Empfänger2", "Empfänger3", "Bearbeiter",
                                  "BearbeiterDurchwahl"}),
                 (QStringList{"Berger", "", "", "Erika Beispiel", "B-42"}));
    }

    void blankDocumentTakesItsLinePlaceholders()
    {
        writeSettings({{"SpecialFields", "Von-Name=Erika Beispiel"},
                       {"DotCount", "1"},
                       {"Dot1", "(leeres Dokument)|(1. Zeile)=1. Anschrift-Zeile (ZF)|(2. "
                                "Zeile)=2. Anschrift-Zeile (ZF)|(3. Zeile)=-|(4. Zeile)=Von-Name "
                                "(SF)"}});
        const QString docx = fillOk(
            {"--kontakt", m_vcf, "--vorlage", "(leeres Dokument)", "--ausgabe", m_out}, m_out);
        pugi::xml_document xml;
        QVERIFY(loadMainPart(docx, xml));
        QStringList lines = OoxmlTestPackage::paragraphs(xml.root());
        lines.removeAll(QString());
        QCOMPARE(lines, (QStringList{"Muster GmbH", "Herr", "Erika Beispiel"}));
    }

    // Without --ausgabe and without a stored folder the document goes to the documents folder.
    void writesANewFileEachTimeAndLeavesTheSettingsAlone()
    {
        const QString documents = m_env->root() + QStringLiteral("/home/Documents");
        // No settings stored: the program must not create any.
        const QStringList args{"--kontakt", m_vcf, "--vorlage", letter()};
        const QString first = fillOk(args, documents);
        QVERIFY(!first.isEmpty());
        QCOMPARE(filesBelow(m_env->configHome()), QStringList());
        const QByteArray before = readAll(first);

        const QString second = fillOk(args, documents);
        QVERIFY(!second.isEmpty());
        QVERIFY(second != first);
        QCOMPARE(readAll(first), before);

        // Stored settings stay byte for byte, and nothing is left beside them.
        writeSettings({{"AddNToHerr", "True"}});
        const QStringList stored = filesBelow(m_env->configHome());
        QCOMPARE(stored.size(), 1);
        const QByteArray settingsBefore = readAll(stored.first());
        QVERIFY(!fillOk(args, documents).isEmpty());
        QCOMPARE(filesBelow(m_env->configHome()), stored);
        QCOMPARE(readAll(stored.first()), settingsBefore);
    }

    // A damaged settings file (here: a key nested a million levels) is reported; the run goes
    // on with the defaults and leaves the file for the program to move aside.
    void damagedSettingsAreReportedAndLeftAlone()
    {
        const QByteArray damaged =
            "REGEDIT4\n\n[HKEY_CURRENT_USER" + QByteArray("\\k").repeated(1000000) + "]\n";
        const QString file = writeFile(
            m_env->configHome() + QStringLiteral("/KVAR/registry/HKEY_CURRENT_USER.reg"), damaged);
        const Result r = run({"--kontakt", m_vcf, "--felder"});
        QCOMPARE(r.exitCode, 0);
        QVERIFY2(r.err.contains(QStringLiteral("ist beschädigt (Zeile 3: Schlüssel tiefer als 512 "
                                               "Ebenen).\nSie bleibt unverändert")),
                 qPrintable(r.err));
        QVERIFY(r.out.contains(QStringLiteral("Firma (OF)\tMuster GmbH")));
        QCOMPARE(filesBelow(m_env->configHome()), QStringList{file});
        QCOMPARE(readAll(file), damaged);
    }

    // Every run that lists rather than writes, and every refusal: its exit code and its line on
    // stdout (exit code 0) or its message on stderr. Nothing is written to the output folder.
    void exitCodeAndMessage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("settings");

        // Searches in the folder store of the test; without --liste they list the fields.
        const QString k = QStringLiteral("Root\\Persönliche Ordner\\Kontakte");
        runRow("first of two hits", {"--ordner", k, "--nachname", "Müller"}, 0,
               "Vorname (OF)\tMax");
        runRow("second hit by number", {"--ordner", k, "--nachname", "Müller", "--nummer", "2"}, 0,
               "Vorname (OF)\tEva");
        runRow("name compares without case", {"--ordner", k, "--nachname", "MÜLLER"}, 0,
               "Vorname (OF)\tMax");
        runRow("without a name every contact counts", {"--ordner", k, "--nummer", "3"}, 0,
               "Vorname (OF)\tKarl");
        runRow("Root prefix is optional",
               {"--ordner", "Persönliche Ordner\\Kontakte", "--nachname", "Schmidt"}, 0,
               "Vorname (OF)\tKarl");
        runRow("the sample store beside the program",
               {"--ordner", "Root\\Beispielkontakte", "--nachname", "Müller"}, 0,
               "Firma (OF)\tMuster AG");
        runRow("hit list", {"--ordner", k, "--nachname", "Müller", "--liste"}, 0,
               "2\tMüller, Eva\tMüller\tEva\tBüro Müller");
        runRow("first names are not searched", {"--ordner", k, "--nachname", "Max"}, 2,
               "Die Suche nach 'Max' im Ordner 'Root\\Persönliche Ordner\\Kontakte' ergab keinen "
               "Treffer.");
        runRow("a quote in the name is searched, not a missing folder",
               {"--ordner", k, "--nachname", "O'Brien"}, 2,
               "Die Suche nach 'O'Brien' im Ordner 'Root\\Persönliche Ordner\\Kontakte' ergab "
               "keinen Treffer.");
        runRow("hit number beyond the hits",
               {"--ordner", k, "--nachname", "Müller", "--nummer", "3"}, 2,
               "ergab nur 2 Treffer; Nummer 3 gibt es nicht.");
        runRow("folder that does not exist",
               {"--ordner", "Root\\Persönliche Ordner\\Lieferanten", "--nachname", "X"}, 3,
               "Öffnen des Ordners 'Root\\Persönliche Ordner\\Lieferanten' nicht möglich!");
        runRow("store that does not exist", {"--ordner", "Root\\Postfach", "--nachname", "X"}, 3,
               "Öffnen des Ordners 'Root\\Postfach' nicht möglich!");
        runRow("calendar folder",
               {"--ordner", "Root\\Persönliche Ordner\\Kalender", "--nachname", "X"}, 4,
               "Der Ordner 'Root\\Persönliche Ordner\\Kalender' beinhaltet keine Kontakte!");

        // The fields of the Berger card.
        const QStringList fields{"--kontakt", "%V", "--felder", "--ausgabe", "%O"};
        runRow("catalogue field", fields, 0, "Firma (OF)\tMuster GmbH");
        runRow("catalogue field of two parts", fields, 0, "Vorname+Nachname (OF)\tHans Berger");
        runRow("empty catalogue field", fields, 0, "Abteilung (OF)\t");
        runRow("blank line before city", fields, 0, "5. Anschrift-Zeile (ZF)\t ");
        runRow("address line 9 after the end", fields, 0, "9. Anschrift-Zeile (ZF)\t");
        runRow("postcode and city", fields, 0, "PLZ+Ort ausgewählte Adresse (ZF)\t80331 München");
        runRow("domestic country is empty", fields, 0, "Land ausgewählte Adresse (ZF)\t");
        runRow("user property of the card", fields, 0, "Kenn-Nr (BF)\tB-42");
        runRow("default special field", fields, 0, "Von-Unterschrift (SF)\ti.A. <Ihr Name>");
        runRow("date", fields, 0,
               "Datum tt.mm.jjjj (EF)\t" + QDate::currentDate().toString("dd.MM.yyyy"));
        runRow("login name", fields, 0, "Benutzer Login-Name (EF)\t" + VuGetLoginName());

        const QStringList base{"--kontakt", "%V", "--vorlage", "%B", "--ausgabe", "%O"};
        runRow("no arguments", {}, 1, "Kein Kontakt angegeben");
        runRow("unknown option", base + QStringList{"--farbe", "rot"}, 1,
               "Unbekannte Option: --farbe");
        runRow("option without its value", {"--kontakt", "%V", "--vorlage"}, 1,
               "Nach der Option --vorlage fehlt der Wert.");
        runRow("stray argument", base + QStringList{"Müller"}, 1, "Unerwartetes Argument: Müller");
        runRow("two contact sources", base + QStringList{"--ordner", "Root\\Beispielkontakte"}, 1,
               "Bitte nur eine Kontaktquelle angeben");
        runRow("no template", {"--kontakt", "%V"}, 1, "Keine Vorlage angegeben");
        runRow("template twice", base + QStringList{"--vorlage", "%B"}, 1,
               "Die Option --vorlage ist mehrfach angegeben.");
        runRow("address type 3", base + QStringList{"--adresse", "3"}, 1,
               "Ungültiger Wert '3' für --adresse: erlaubt sind 0 (geschäftlich), 1 (privat) und 2 "
               "(weitere).");
        runRow("order is no number", base + QStringList{"--reihenfolge", "Firma"}, 1,
               "Ungültiger Wert 'Firma' für --reihenfolge");
        runRow("flag neither ja nor nein", base + QStringList{"--herrn", "vielleicht"}, 1,
               "Ungültiger Wert 'vielleicht' für --herrn");
        runRow("hit number 0", base + QStringList{"--nummer", "0"}, 1, "Ungültige Nummer '0'");
        runRow("last name with a file", base + QStringList{"--nachname", "Berger"}, 1,
               "--nachname gilt nur mit --ordner.");
        runRow("missing vCard file", {"--kontakt", "%D/fehlt.vcf", "--vorlage", "%B"}, 2,
               "Die Kontaktdatei '%D/fehlt.vcf' wurde nicht gefunden.");
        runRow("file without a card", {"--kontakt", "%D/notiz.vcf", "--vorlage", "%B"}, 2,
               "Die Datei '%D/notiz.vcf' enthält keinen lesbaren Kontakt.");
        runRow("contact file is a device", {"--kontakt", "/dev/zero", "--vorlage", "%B"}, 2,
               "'/dev/zero' ist keine gewöhnliche Datei");
        runRow("contact file is a pipe", {"--kontakt", "%D/pipe.vcf", "--vorlage", "%B"}, 2,
               "'%D/pipe.vcf' ist keine gewöhnliche Datei");
        runRow("contact file over 64 MB", {"--kontakt", "%D/riesig.vcf", "--vorlage", "%B"}, 2,
               "Die Datei '%D/riesig.vcf' ist größer als 64 MB");
        runRow("group card", {"--kontakt", "%D/gruppe.vcf", "--vorlage", "%B"}, 2,
               "Die Karte Nr. 1 in '%D/gruppe.vcf' ist kein Kontakt, sondern eine Verteilerliste.");
        runRow("card number beyond the file", base + QStringList{"--nummer", "2"}, 2,
               "enthält nur 1 Kontakt(e); Nummer 2 gibt es nicht.");
        runRow("missing template", {"--kontakt", "%V", "--vorlage", "%D/weg.dotx"}, 5,
               "Auf die Vorlagendatei '%D/weg.dotx' kann nicht zugegriffen werden!\nÜberprüfen "
               "Sie die Einstellungen, Zugriffsrechte und Netzwerkverbindungen!");
        runRow("template is a folder", {"--kontakt", "%V", "--vorlage", "%D"}, 5,
               "Auf die Vorlagendatei '%D' kann nicht zugegriffen werden!");
        runRow("template without assignment", {"--kontakt", "%V", "--vorlage", "%D/kopie.dotx"}, 6,
               "Für die Vorlage '%D/kopie.dotx' ist keine Feldzuordnung eingetragen.");
        runRow("blank document without assignment",
               {"--kontakt", "%V", "--vorlage", "(leeres Dokument)"}, 6,
               "Für \"(leeres Dokument)\" ist keine Feldzuordnung eingetragen.",
               {"DotCount=1", "Dot1=%B|Briefanrede=Briefanrede+Name (ZF)"});
        runRow("missing output folder",
               {"--kontakt", "%V", "--vorlage", "%B", "--ausgabe", "%D/nirgends"}, 7,
               "Der Ausgabeordner '%D/nirgends' existiert nicht.");
        runRow("missing output folder from the settings", {"--kontakt", "%V", "--vorlage", "%B"}, 7,
               "Der Ausgabeordner '%D/nirgends' existiert nicht.", {"OutputFolder=%D/nirgends"});
        runRow("output folder is a link to a file",
               {"--kontakt", "%V", "--vorlage", "%B", "--ausgabe", "%D/link"}, 7,
               "Der Ausgabeordner '%D/link' ist kein Ordner.");
        runRow("template that is no Word file",
               {"--kontakt", "%V", "--vorlage", "%D/kaputt.dotx", "--ausgabe", "%O"}, 8,
               "Aus der Vorlage '%D/kaputt.dotx' kann kein Dokument erstellt werden: ",
               {"DotCount=1", "Dot1=%D/kaputt.dotx|Briefanrede=Briefanrede+Name (ZF)"});
        runRow("template count that is no number", base, 9,
               "Die Einstellungen (Software\\KVAR\\Zettelwerk) können nicht gelesen werden: Typen "
               "unverträglich",
               {"DotCount=viele"});
    }

    void exitCodeAndMessage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, expected);
        QFETCH(QStringList, settings);

        const QString store = m_env->dataHome() + QStringLiteral("/Zettelwerk/Persönliche Ordner");
        writeFile(store + "/Kontakte/1-max.vcf", card("Müller", "Max", "Herr", "Muster AG"));
        writeFile(store + "/Kontakte/2-eva.vcf", card("Müller", "Eva", "Frau", "Büro Müller"));
        writeFile(store + "/Kontakte/3-karl.vcf", card("Schmidt", "Karl", "Herr", "Schmidt KG"));
        writeFile(store + "/Kalender/termin.ics",
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n");
        const QString dir = m_env->root();
        writeFile(dir + "/notiz.vcf", "Einkaufsliste: Milch, Brot\n");
        writeFile(dir + "/gruppe.vcf",
                  "BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:group\r\nFN:Team\r\nEND:VCARD\r\n");
        writeFile(dir + "/kaputt.dotx", "PK\x03\x04 abgeschnitten");
        QVERIFY(QFile::copy(letter(), dir + "/kopie.dotx"));
        QVERIFY(QFile::link(m_vcf, dir + "/link"));
        QCOMPARE(::mkfifo(QFile::encodeName(dir + "/pipe.vcf").constData(), 0600), 0);
        QFile huge(dir + "/riesig.vcf");
        QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize((64LL << 20) + 1));
        writeSettingsRows(settings);
        for (QString& a : arguments)
            a = expand(a);
        if (arguments.contains("--ordner") && !arguments.contains("--liste"))
            arguments << QStringLiteral("--felder");

        const Result r = run(arguments);
        QVERIFY(r.finished);
        QCOMPARE(r.exitCode, exitCode);
        QCOMPARE(filesBelow(m_out), QStringList());
        if (exitCode != 0) {
            QVERIFY2(r.err.contains(expand(expected)), qPrintable(r.err));
            QCOMPARE(r.out, QString());
            return;
        }
        QCOMPARE(r.err, QString());
        QStringList lines = r.out.split(u'\n');
        QCOMPARE(lines.takeLast(), QString());
        QVERIFY2(lines.contains(expected), qPrintable(r.out));
        if (arguments.contains("--liste"))
            return;
        // Every catalogue field once, in catalogue order.
        QStringList catalogue;
        for (const QString& line : lines) {
            if (line.section(u'\t', 0, 0).endsWith(QLatin1String(" (OF)")))
                catalogue.append(line.section(u'\t', 0, 0).chopped(5));
        }
        QCOMPARE(catalogue, ContactFieldCatalogue::displayNames());
    }

    void helpListsEveryExitCode()
    {
        const Result r = run({"--hilfe"});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.err, QString());
        QVERIFY(r.out.contains(QStringLiteral("Rückgabewerte:")));
        for (int code = 0; code <= 10; ++code)
            QVERIFY2(r.out.contains(QStringLiteral("\n  %1 ").arg(code)), qPrintable(r.out));
        QCOMPARE(run({"-h"}).out, r.out);
        QCOMPARE(run({"--version"}).out, QStringLiteral("zettelwerk-cli 1.0.0\n"));
    }
};

QTEST_GUILESS_MAIN(TstZettelwerkCli)
#include "tst_zettelwerkcli.moc"
