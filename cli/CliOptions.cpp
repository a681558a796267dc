#include "cli/CliOptions.h"

#include "cli/CliExitCode.h"
#include "cli/CliFailure.h"

#include <QCommandLineParser>

namespace
{

const QString kProgram = QStringLiteral("zettelwerk-cli");

// One table for the parser and the help text, so that they cannot drift apart.
struct OptionRow {
    QStringList names;
    const char* valueName; // nullptr: a switch
    const char* help;
};

const QList<OptionRow>& optionTable()
{
    static const QList<OptionRow> rows = {
        {{"k", "kontakt"},
         "datei",
         "Kontakt aus einer vCard-Datei (.vcf): die erste Karte, mit --nummer die n-te."},
        {{"o", "ordner"},
         "pfad",
         "Kontaktordner der Sitzung, z.B. \"Root\\Beispielkontakte\" oder \"Root\\Persönliche "
         "Ordner\\Kontakte\"."},
        {{"n", "nachname"},
         "name",
         "Im Ordner nach diesem Nachnamen suchen (genauer Vergleich, ohne Groß-/Kleinschreibung). "
         "Ohne --nachname zählen alle Kontakte des Ordners."},
        {{"nummer"}, "n", "Den n-ten Treffer (bzw. die n-te Karte der Datei) nehmen; Standard 1."},
        {{"liste"},
         nullptr,
         "Die Treffer der Suche nummeriert auflisten, statt ein Dokument zu schreiben."},
        {{"v", "vorlage"},
         "datei",
         "Vorlage (.dotx, .dotm, .docx; mit LibreOffice auch .dot, .doc, .rtf, .odt, .ott) oder "
         "\"(leeres Dokument)\". Für die Vorlage muss eine "
         "Feldzuordnung eingetragen sein."},
        {{"a", "adresse"}, "0|1|2", "Adresstyp: 0 geschäftlich (Standard), 1 privat, 2 weitere."},
        {{"reihenfolge"}, "0|1", "0 Firma zuerst (Standard), 1 Person zuerst."},
        {{"anrede"}, "0|1", "0 förmlich \"Sehr geehrte(r)\" (Standard), 1 vertraut \"Liebe(r)\"."},
        {{"anrede-name-eine-zeile"},
         "ja|nein",
         "Anrede und Name in einer Anschrift-Zeile (Standard: Einstellung)."},
        {{"leerzeile-vor-ort"},
         "ja|nein",
         "Leerzeile zwischen Straße und Ort (Standard: Einstellung)."},
        {{"herrn"}, "ja|nein", "\"Herr\" in der Anschrift als \"Herrn\" (Standard: Einstellung)."},
        {{"ausgabe", "out"},
         "ordner",
         "Ordner für das fertige Dokument (Standard: Einstellung, sonst der Dokumente-Ordner)."},
        {{"passwort-datei"},
         "datei",
         "Kennwort für einen CardDAV-Server (Einstellung \"PublicFoldersPath\"): die erste Zeile "
         "der Datei. Den Benutzernamen nennt die Adresse (https://anna@host/). Ohne diese Option "
         "gilt das im Schlüsselbund gespeicherte Kennwort."},
        {{"format"},
         "docx|odt|pdf",
         "Format des Dokuments (Standard: docx für Word-Vorlagen, odt für OpenDocument-Vorlagen); "
         "odt und pdf schreibt LibreOffice."},
        {{"felder", "fields"},
         nullptr,
         "Alle Felder mit ihren Werten für den Kontakt ausgeben (Feldname, Tabulator, Wert), statt "
         "ein Dokument zu schreiben."},
        {{"h", "hilfe", "help"}, nullptr, "Diese Hilfe anzeigen."},
        {{"version"}, nullptr, "Die Programmversion anzeigen."},
    };
    return rows;
}

QString shownName(const QString& name)
{
    return (name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name;
}

QString displayNames(const OptionRow& row)
{
    QStringList shown;
    for (const QString& n : row.names)
        shown.append(shownName(n));
    return shown.join(QStringLiteral(", "));
}

// Words of `text` in lines of at most `width` characters, each line indented.
QString wrapped(const QString& text, const QString& indent, int width)
{
    QString result;
    QString line = indent;
    for (const QString& word : text.split(u' ', Qt::SkipEmptyParts)) {
        if (line.size() > indent.size() && line.size() + 1 + word.size() > width) {
            result += line + u'\n';
            line = indent;
        }
        if (line.size() > indent.size())
            line += u' ';
        line += word;
    }
    return result + line + u'\n';
}

CliFailure usage(const QString& message)
{
    return CliFailure(CliExitCode::Usage, message + QStringLiteral("\nAufruf: ") + kProgram +
                                              QStringLiteral(" --hilfe zeigt alle Optionen."));
}

// The one value of an option; given twice is a mistake rather than a silent choice.
QString singleValue(const QCommandLineParser& parser, const QString& name)
{
    const QStringList values = parser.values(name);
    if (values.size() > 1)
        throw usage(QStringLiteral("Die Option --%1 ist mehrfach angegeben.").arg(name));
    return values.isEmpty() ? QString() : values.first();
}

int choice(const QCommandLineParser& parser, const QString& name, int max, const QString& meaning)
{
    const QString text = singleValue(parser, name).trimmed();
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < 0 || value > max)
        throw usage(QStringLiteral("Ungültiger Wert '%1' für --%2: erlaubt sind %3.")
                        .arg(singleValue(parser, name), name, meaning));
    return value;
}

std::optional<bool> yesNo(const QCommandLineParser& parser, const QString& name)
{
    if (!parser.isSet(name))
        return std::nullopt;
    const QString text = singleValue(parser, name).trimmed().toLower();
    if (text == QLatin1String("ja") || text == QLatin1String("1"))
        return true;
    if (text == QLatin1String("nein") || text == QLatin1String("0"))
        return false;
    throw usage(QStringLiteral("Ungültiger Wert '%1' für --%2: erlaubt sind ja und nein.")
                    .arg(singleValue(parser, name), name));
}

// QCommandLineParser's own error texts are English; this names the problem in German.
QString parseErrorText(const QCommandLineParser& parser, const QStringList& arguments)
{
    if (!parser.unknownOptionNames().isEmpty())
        return QStringLiteral("Unbekannte Option: %1")
            .arg(shownName(parser.unknownOptionNames().first()));
    // Otherwise a value is missing: the last argument is an option that takes one.
    const QString last = arguments.size() > 1 ? arguments.last() : QString();
    return QStringLiteral("Nach der Option %1 fehlt der Wert.").arg(last);
}

} // namespace

CliOptions CliOptions::parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    for (const OptionRow& row : optionTable()) {
        QCommandLineOption option(row.names, QString::fromUtf8(row.help));
        if (row.valueName)
            option.setValueName(QString::fromUtf8(row.valueName));
        parser.addOption(option);
    }
    if (!parser.parse(arguments))
        throw usage(parseErrorText(parser, arguments));

    CliOptions o;
    o.help = parser.isSet(QStringLiteral("hilfe"));
    o.version = parser.isSet(QStringLiteral("version"));
    if (o.help || o.version)
        return o;
    if (!parser.positionalArguments().isEmpty())
        throw usage(
            QStringLiteral("Unerwartetes Argument: %1").arg(parser.positionalArguments().first()));

    o.vcardFile = singleValue(parser, QStringLiteral("kontakt"));
    o.folder = singleValue(parser, QStringLiteral("ordner")).trimmed();
    o.lastName = singleValue(parser, QStringLiteral("nachname")).trimmed();
    o.listHits = parser.isSet(QStringLiteral("liste"));
    o.templatePath = singleValue(parser, QStringLiteral("vorlage"));
    o.outputFolder = singleValue(parser, QStringLiteral("ausgabe"));
    o.format = singleValue(parser, QStringLiteral("format")).toLower();
    if (!o.format.isEmpty() && o.format != u"docx" && o.format != u"odt" && o.format != u"pdf")
        throw usage(QStringLiteral("Ungültiger Wert '%1' für --format: erlaubt sind docx, odt und "
                                   "pdf.")
                        .arg(o.format));
    o.listFields = parser.isSet(QStringLiteral("felder"));
    o.passwordFile = singleValue(parser, QStringLiteral("passwort-datei"));

    const bool fromFile = parser.isSet(QStringLiteral("kontakt"));
    const bool fromFolder = parser.isSet(QStringLiteral("ordner"));
    if (fromFile && fromFolder)
        throw usage(
            QStringLiteral("Bitte nur eine Kontaktquelle angeben: --kontakt oder --ordner."));
    if (!fromFile && !fromFolder)
        throw usage(QStringLiteral("Kein Kontakt angegeben: --kontakt <vCard-Datei> oder "
                                   "--ordner <Pfad> mit --nachname <Name>."));
    if (fromFile && o.vcardFile.trimmed().isEmpty())
        throw usage(QStringLiteral("Der Name der vCard-Datei ist leer."));
    if (fromFolder && o.folder.isEmpty())
        throw usage(QStringLiteral("Der Ordnerpfad ist leer."));
    if (fromFile && parser.isSet(QStringLiteral("nachname")))
        throw usage(QStringLiteral("--nachname gilt nur mit --ordner."));
    if (fromFile && o.listHits)
        throw usage(QStringLiteral("--liste gilt nur mit --ordner."));

    if (parser.isSet(QStringLiteral("nummer"))) {
        const QString text = singleValue(parser, QStringLiteral("nummer"));
        bool ok = false;
        o.number = text.trimmed().toInt(&ok);
        if (!ok || o.number < 1)
            throw usage(QStringLiteral("Ungültige Nummer '%1': erwartet wird eine ganze Zahl ab 1.")
                            .arg(text));
    }
    if (parser.isSet(QStringLiteral("adresse")))
        o.addressType = choice(parser, QStringLiteral("adresse"), 2,
                               QStringLiteral("0 (geschäftlich), 1 (privat) und 2 (weitere)"));
    if (parser.isSet(QStringLiteral("reihenfolge")))
        o.addressOrder = choice(parser, QStringLiteral("reihenfolge"), 1,
                                QStringLiteral("0 (Firma zuerst) und 1 (Person zuerst)"));
    if (parser.isSet(QStringLiteral("anrede")))
        o.addressStyle = choice(parser, QStringLiteral("anrede"), 1,
                                QStringLiteral("0 (förmlich) und 1 (vertraut)"));
    o.titleAndNameOnSameLine = yesNo(parser, QStringLiteral("anrede-name-eine-zeile"));
    o.addEmptyLineBeforeCity = yesNo(parser, QStringLiteral("leerzeile-vor-ort"));
    o.addNToHerr = yesNo(parser, QStringLiteral("herrn"));

    if (o.listFields && o.listHits)
        throw usage(QStringLiteral("--felder und --liste schließen sich aus."));
    const bool needsTemplate = !o.listFields && !o.listHits;
    if (needsTemplate && !parser.isSet(QStringLiteral("vorlage")))
        throw usage(QStringLiteral("Keine Vorlage angegeben: --vorlage <Datei> oder "
                                   "--vorlage \"(leeres Dokument)\"."));
    if (needsTemplate && o.templatePath.trimmed().isEmpty())
        throw usage(QStringLiteral("Der Name der Vorlage ist leer."));
    if (parser.isSet(QStringLiteral("ausgabe")) && o.outputFolder.trimmed().isEmpty())
        throw usage(QStringLiteral("Der Ausgabeordner ist leer."));
    return o;
}

QString CliOptions::helpText()
{
    QString text = QStringLiteral(
        "Aufruf: zettelwerk-cli (--kontakt <vCard-Datei> | --ordner <Pfad> [--nachname <Name>])\n"
        "                       --vorlage <Datei> [Optionen]\n"
        "        zettelwerk-cli ... --felder\n"
        "        zettelwerk-cli --ordner <Pfad> [--nachname <Name>] --liste\n"
        "\n"
        "Füllt die Textmarken einer Vorlage mit den Daten eines Kontakts, wie \"Fertigstellen\"\n"
        "im Assistenten, ohne Fenster und ohne Rückfragen. Feldzuordnungen, Spezialfelder und\n"
        "Anschrift-Optionen stammen aus den Einstellungen des Benutzers; sie werden nur gelesen.\n"
        "Das fertige Dokument (.docx) wird unter einem neuen Namen im Ausgabeordner gespeichert\n"
        "und sein Pfad ausgegeben; eine vorhandene Datei wird nie überschrieben.\n"
        "\n"
        "Optionen:\n");
    for (const OptionRow& row : optionTable()) {
        QString left = QStringLiteral("  ") + displayNames(row);
        if (row.valueName)
            left += QStringLiteral(" <") + QString::fromUtf8(row.valueName) + u'>';
        text += left + u'\n';
        text += wrapped(QString::fromUtf8(row.help), QStringLiteral("        "), 88);
    }
    text += QStringLiteral(
        "\n"
        "Rückgabewerte:\n"
        "  0  erfolgreich\n"
        "  1  falsche oder fehlende Argumente\n"
        "  2  Kontakt nicht gefunden (Datei fehlt oder ist unlesbar, keine Karte, kein Treffer)\n"
        "  3  Kontaktordner nicht gefunden oder nicht lesbar\n"
        "  4  der Ordner beinhaltet keine Kontakte\n"
        "  5  Vorlage nicht gefunden oder nicht lesbar\n"
        "  6  für die Vorlage ist keine Feldzuordnung eingetragen\n"
        "  7  Ausgabeordner fehlt oder ist nicht beschreibbar\n"
        "  8  Dokument konnte nicht erstellt oder gespeichert werden\n"
        "  9  Einstellungen können nicht gelesen werden\n"
        "  10 Dokument gespeichert, aber eine Textmarke konnte nicht gefüllt werden (welche und\n"
        "     warum, steht in der Fehlerausgabe)\n"
        "\n"
        "Beispiele:\n"
        "  zettelwerk-cli --kontakt max.vcf --vorlage Bsp-Brief.dotx\n"
        "  zettelwerk-cli --ordner \"Root\\Beispielkontakte\" --nachname Müller --nummer 2 \\\n"
        "                 --vorlage Bsp-FAX.dotx --reihenfolge 1 --ausgabe /tmp\n");
    return text;
}
