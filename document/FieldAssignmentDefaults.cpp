#include "document/FieldAssignmentDefaults.h"

#include "document/FieldAssignmentList.h"
#include "util/AppInfo.h"

#include <QDir>

namespace
{

QString entryOf(const QString& templatePath,
                std::initializer_list<std::pair<const char*, const char*>> pairs)
{
    QString entry = templatePath;
    for (const auto& [bookmark, field] : pairs)
        entry += QLatin1Char('|') + QString::fromUtf8(bookmark) + QLatin1Char('=') +
                 QString::fromUtf8(field);
    return entry;
}

} // namespace

QString sampleLetterTemplatePath()
{
    return QDir::toNativeSeparators(AppInfo::dataFolder() + QStringLiteral("/Bsp-Brief.dotx"));
}

QString sampleFaxTemplatePath()
{
    return QDir::toNativeSeparators(AppInfo::dataFolder() + QStringLiteral("/Bsp-FAX.dotx"));
}

void SetDefaultFieldAssignments(FieldAssignmentList& list, QString& specialFieldsString)
{
    specialFieldsString = QStringLiteral(
        "Von-Firma=<Ihre Firma>|Von-Abteilung=<Ihre Abteilung>|Von-Durchwahl=<Ihre Durchwahl>|"
        "Von-FAX=<Ihre FAX-Nummer>|Von-Name=<Ihr Name>|Von-Kurzzeichen=<Ihr Kurzzeichen>|"
        "Von-Unterschrift=i.A. <Ihr Name>");

    for (int i = list.count(); i >= 1; --i)
        list.removeAt(i);

    QString empty = kEmptyDocument;
    for (int n = 1; n <= 30; ++n)
        empty += QStringLiteral("|(%1. Zeile)=-").arg(n);
    list.add(kEmptyDocument, empty);

    const QString fax = sampleFaxTemplatePath();
    list.add(fax, entryOf(fax, {{"AnAbteilung", "Abteilung (OF)"},
                                {"AnFAX", "FAX geschäftlich (OF)"},
                                {"AnFirma", "Firma (OF)"},
                                {"AnName", "Anrede+Name (ZF)"},
                                {"AnTelefon", "Telefon geschäftlich (OF)"},
                                {"Betreff", "-"},
                                {"Briefanrede", "Briefanrede+Name (ZF)"},
                                {"Nachricht", "-"},
                                {"VonAbteilung", "Von-Abteilung (SF)"},
                                {"VonFAX", "Von-FAX (SF)"},
                                {"VonFirma", "Von-Firma (SF)"},
                                {"VonName", "Von-Name (SF)"},
                                {"VonTelefon", "Von-Durchwahl (SF)"}}));

    const QString letter = sampleLetterTemplatePath();
    list.add(letter, entryOf(letter, {{"Bearbeiter", "Von-Name (SF)"},
                                      {"BearbeiterDurchwahl", "Von-Durchwahl (SF)"},
                                      {"Briefanrede", "Briefanrede+Name (ZF)"},
                                      {"Empfänger1", "1. Anschrift-Zeile (ZF)"},
                                      {"Empfänger2", "2. Anschrift-Zeile (ZF)"},
                                      {"Empfänger3", "3. Anschrift-Zeile (ZF)"},
                                      {"Empfänger4", "4. Anschrift-Zeile (ZF)"},
                                      {"Empfänger5", "5. Anschrift-Zeile (ZF)"},
                                      {"Empfänger6", "6. Anschrift-Zeile (ZF)"},
                                      {"Empfänger7", "7. Anschrift-Zeile (ZF)"}}));
}
