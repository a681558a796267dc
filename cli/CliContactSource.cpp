#include "cli/CliContactSource.h"

#include "cli/CliExitCode.h"
#include "cli/CliFailure.h"
#include "cli/CliUserInterface.h"
#include "contacts/ClsOutlookVgContactFolder.h"
#include "contacts/OlFolder.h"
#include "contacts/OlItem.h"
#include "contacts/VCardReader.h"
#include "util/ErrorRoutine.h"

#include <QDir>
#include <QFileInfo>

namespace
{

// The system's own texts of a failed OpenFolder; the last one names the cause.
constexpr QStringView kNoContacts = u"' beinhaltet keine Kontakte!";
// Restrict's error number for a filter it cannot parse.
constexpr long kInvalidFilter = 5;

QString shown(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

} // namespace

CliContactSource::CliContactSource(ClsOutlookVgContactFolder& folder, CliUserInterface& ui)
    : m_folder(folder), m_ui(ui)
{
}

ContactItem CliContactSource::fromFile(const QString& path, int number)
{
    const QFileInfo info(path);
    if (!info.exists())
        throw CliFailure(
            CliExitCode::ContactMissing,
            QStringLiteral("Die Kontaktdatei '%1' wurde nicht gefunden.").arg(shown(path)));
    if (info.isDir())
        throw CliFailure(CliExitCode::ContactMissing,
                         QStringLiteral("'%1' ist ein Ordner, keine vCard-Datei. Für einen "
                                        "Kontaktordner der Sitzung gilt --ordner.")
                             .arg(shown(path)));
    // Only the wanted card is parsed: memory stays near the file's size however many
    // cards it holds.
    QByteArray bytes;
    QString problem;
    if (!VCardReader::loadFile(info.absoluteFilePath(), bytes, problem))
        throw CliFailure(CliExitCode::ContactMissing, problem);
    bytes = VCardReader::normalizeEncoding(bytes);
    QList<VCardReader::Issue> issues;
    const QList<VCardReader::Chunk> chunks = VCardReader::split(bytes, &issues);
    if (chunks.isEmpty()) {
        QString message =
            QStringLiteral("Die Datei '%1' enthält keinen lesbaren Kontakt.").arg(shown(path));
        if (!issues.isEmpty())
            message += u'\n' + issues.first().message;
        throw CliFailure(CliExitCode::ContactMissing, message);
    }
    if (number > chunks.size())
        throw CliFailure(CliExitCode::ContactMissing,
                         QStringLiteral("Die Datei '%1' enthält nur %2 Kontakt(e); Nummer %3 gibt "
                                        "es nicht.")
                             .arg(shown(path))
                             .arg(chunks.size())
                             .arg(number));
    const VCardReader::Chunk& chunk = chunks.at(number - 1);
    const VCard card =
        VCardReader::parse(QByteArrayView(bytes).sliced(chunk.offset, chunk.size), chunk.line);
    if (OlItem::messageClassOf(card) != QLatin1String("IPM.Contact"))
        throw CliFailure(CliExitCode::ContactMissing,
                         QStringLiteral("Die Karte Nr. %1 in '%2' ist kein Kontakt, sondern eine "
                                        "Verteilerliste.")
                             .arg(number)
                             .arg(shown(path)));
    return ContactItem(card, info.absoluteFilePath(), number - 1);
}

OlItems CliContactSource::search(const QString& folderPath, const QString& lastName)
{
    if (!m_folder.OutlookLogon())
        throw CliFailure(CliExitCode::FolderMissing, QStringLiteral("Keine Verbindung zu Outlook"));

    // OpenFolder tells its failures in boxes; they become this program's message.
    m_ui.beginCapture();
    const std::shared_ptr<OlFolder> folder = m_folder.OpenFolder(folderPath);
    const QStringList boxes = m_ui.endCapture();
    if (!folder) {
        const QString cause =
            boxes.isEmpty()
                ? QStringLiteral("Öffnen des Ordners '%1' nicht möglich!").arg(folderPath)
                : boxes.last();
        const bool notContacts = cause.endsWith(kNoContacts);
        throw CliFailure(notContacts ? CliExitCode::NotContactFolder : CliExitCode::FolderMissing,
                         cause);
    }
    for (const QString& box : boxes)
        CliUserInterface::printError(box);

    try {
        const OlItems all = folder->Items();
        if (lastName.isEmpty())
            return all;
        // The filter language doubles a quote inside a quoted value: O'Brien is found.
        QString quoted = lastName;
        quoted.replace(QLatin1Char('\''), QStringLiteral("''"));
        return all.Restrict(QStringLiteral("[LastName] = '") + quoted + QStringLiteral("'"));
    } catch (...) {
        const ZwError e = vuErrorFromCurrentException();
        // A name the filter cannot take is a wrong argument, not a missing folder.
        if (e.number() == kInvalidFilter)
            throw CliFailure(CliExitCode::Usage,
                             QStringLiteral("Nach dem Nachnamen '%1' kann nicht gesucht werden: %2")
                                 .arg(lastName, e.description()));
        throw CliFailure(CliExitCode::FolderMissing,
                         QStringLiteral("Der Ordner '%1' kann nicht durchsucht werden: %2")
                             .arg(folderPath, e.description()));
    }
}

ContactItem CliContactSource::hit(const OlItems& hits, int number, const QString& folderPath,
                                  const QString& lastName)
{
    const long count = hits.Count();
    const QString what =
        lastName.isEmpty()
            ? QStringLiteral("Der Ordner '%1'").arg(folderPath)
            : QStringLiteral("Die Suche nach '%1' im Ordner '%2'").arg(lastName, folderPath);
    if (count == 0)
        throw CliFailure(CliExitCode::ContactMissing,
                         what + (lastName.isEmpty() ? QStringLiteral(" enthält keine Kontakte.")
                                                    : QStringLiteral(" ergab keinen Treffer.")));
    if (number > count)
        throw CliFailure(CliExitCode::ContactMissing,
                         what + QStringLiteral(" ergab nur %1 Treffer; Nummer %2 gibt es nicht.")
                                    .arg(count)
                                    .arg(number));
    OlItem item;
    try {
        item = hits.Item(number);
    } catch (...) {
        const ZwError e = vuErrorFromCurrentException();
        throw CliFailure(CliExitCode::ContactMissing,
                         QStringLiteral("Treffer Nr. %1 kann nicht gelesen werden: %2")
                             .arg(number)
                             .arg(e.description()));
    }
    if (!item.isContact() || !item.contact())
        throw CliFailure(CliExitCode::ContactMissing,
                         QStringLiteral("Treffer Nr. %1 ('%2') ist kein Kontakt.")
                             .arg(number)
                             .arg(item.Subject()));
    return *item.contact();
}

QString CliContactSource::hitLine(long number, const OlItem& item)
{
    const auto text = [&item](const char* property) {
        return item.value(QString::fromLatin1(property)).toString();
    };
    return QStringLiteral("%1\t%2\t%3\t%4\t%5")
        .arg(number)
        .arg(text("FileAs"), text("LastName"), text("FirstName"), text("CompanyName"));
}
