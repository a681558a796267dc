#include "cli/ZettelwerkCli.h"
#include "util/SystemErrorText.h"

#include "cli/CliContactSource.h"
#include "cli/CliExitCode.h"
#include "cli/CliFailure.h"
#include "cli/CliFieldListing.h"
#include "contacts/ClsFieldsString.h"
#include "contacts/FolderChangeWatch.h"
#include "contacts/OlItem.h"
#include "document/ClsWord.h"
#include "document/DocumentErrors.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignments.h"
#include "document/OoxmlEngine.h"
#include "util/AppInfo.h"
#include "util/ClsRegistry.h"
#include "util/ErrorRoutine.h"
#include "util/FileRegistryBackend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace
{

QString shown(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

// Values are printed one per line: line breaks inside a value are shown as "\n".
QString oneLine(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\\n"));
    text.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    text.replace(QLatin1Char('\r'), QStringLiteral("\\n"));
    return text;
}

// The bookmark pairs of an entry as the fill walks them: up to the first empty pair.
QList<std::pair<QString, QString>> assignedPairs(const QString& entry)
{
    QList<std::pair<QString, QString>> pairs;
    const QStringList tokens = entry.split(QLatin1Char('|')).mid(1);
    for (const QString& token : tokens) {
        if (token.isEmpty())
            break;
        const qsizetype eq = token.indexOf(QLatin1Char('='));
        if (eq >= 1)
            pairs.append({token.left(eq), token.mid(eq + 1)});
    }
    return pairs;
}

// Why the engine refused a template; only asked after CreateDocument failed, whose reason
// went to the log.
QString templateProblem(const QString& templateFile)
{
    try {
        OoxmlEngine engine;
        engine.open();
        engine.addDocument(templateFile);
    } catch (...) {
        return vuErrorFromCurrentException().description();
    }
    return QString();
}

} // namespace

ZettelwerkCli::ZettelwerkCli()
{
    setUserInterface(&m_ui);
    // One search per process: a folder is never looked at twice.
    FolderChangeWatch::disable();
}

ZettelwerkCli::~ZettelwerkCli()
{
    setUserInterface(nullptr);
}

int ZettelwerkCli::run(const QStringList& arguments)
{
    try {
        const CliOptions options = CliOptions::parse(arguments);
        if (options.help) {
            CliUserInterface::printOut(CliOptions::helpText());
            return CliExitCode::Ok;
        }
        if (options.version) {
            CliUserInterface::printOut(QStringLiteral("zettelwerk-cli ") + AppInfo::versionText());
            return CliExitCode::Ok;
        }
        loadSettings();
        connectContacts(options);
        applyAddressFlags(options);
        if (options.listHits) {
            listHits(options);
            return CliExitCode::Ok;
        }
        const ContactItem contact = findContact(options);
        if (options.listFields) {
            listFields(options, contact);
            return CliExitCode::Ok;
        }
        CliUserInterface::printOut(shown(fill(options, contact)));
        // The document is there, but not as the assignments ask: say which bookmark and why.
        for (const BookmarkFailure& failure : m_bookmarkFailures)
            CliUserInterface::printError(
                QStringLiteral("Die Textmarke '%1' (zugeordnet: %2) wurde nicht gefüllt: %3")
                    .arg(failure.bookmark, failure.field,
                         failure.cause.description().isEmpty()
                             ? QStringLiteral("unbekannter Fehler")
                             : failure.cause.description()));
        return m_bookmarkFailures.isEmpty() ? CliExitCode::Ok : CliExitCode::BookmarkFailed;
    } catch (const CliFailure& failure) {
        CliUserInterface::printError(failure.message());
        return failure.exitCode();
    } catch (...) {
        const ZwError e = vuErrorFromCurrentException();
        CliUserInterface::printError(
            QStringLiteral("Unerwarteter Fehler %1: %2").arg(e.number()).arg(e.description()));
        return CliExitCode::DocumentFailed;
    }
}

void ZettelwerkCli::loadSettings()
{
    // This program only reads: a damaged settings file is reported and left for Zettelwerk
    // itself to move aside; the run goes on with the defaults.
    auto backend = std::make_shared<FileRegistryBackend>();
    backend->makeReadOnly();
    backend->setReporter([](const QString& text) { CliUserInterface::printError(text); });
    ClsRegistry registry(backend);
    registry.setCompany(QStringLiteral("KVAR"));
    registry.setKey(settingsKey(registry));
    try {
        ReadSettings(registry, m_settings, m_assignments, m_specialFields);
    } catch (...) {
        const ZwError e = vuErrorFromCurrentException();
        throw CliFailure(CliExitCode::Settings,
                         QStringLiteral("Die Einstellungen (%1) können nicht gelesen werden: %2")
                             .arg(registry.Key(), e.description()));
    }
}

void ZettelwerkCli::connectContacts(const CliOptions& o)
{
    OlStoreRoots roots = OlStoreRoots::defaults(m_settings.PublicFoldersPath);
    if (!o.passwordFile.isEmpty()) {
        QFile file(o.passwordFile);
        if (!file.open(QIODevice::ReadOnly)) {
            throw CliFailure(CliExitCode::Usage,
                             QStringLiteral("Die Kennwortdatei '%1' kann nicht gelesen werden: %2")
                                 .arg(shown(o.passwordFile), VuFileErrorText(file)));
        }
        QString password = QString::fromUtf8(file.readLine());
        while (password.endsWith(u'\n') || password.endsWith(u'\r'))
            password.chop(1);
        roots.cardDav.keepLogins = false;
        // Asked once: a refused password is not offered again.
        roots.cardDav.askLogin =
            [password](const CardDavLoginRequest& r) -> std::optional<CardDavLogin> {
            if (r.failed || r.user.isEmpty())
                return std::nullopt;
            return CardDavLogin{r.user, password};
        };
    }
    m_folder = std::make_unique<ClsOutlookVgContactFolder>(std::make_shared<OlApplication>(roots));
    // A contact without "Firma 2" is normal; the address block just goes on without it.
    m_folder->setRaiseErrorEvents(true);
}

void ZettelwerkCli::applyAddressFlags(const CliOptions& o)
{
    m_folder->setTitleAndNameOnSameLine(
        o.titleAndNameOnSameLine.value_or(m_settings.TitleAndNameOnSameLine));
    m_folder->setAddEmptyLineBeforeCity(
        o.addEmptyLineBeforeCity.value_or(m_settings.AddEmptyLineBeforeCity));
    m_folder->setAddNToHerr(o.addNToHerr.value_or(m_settings.AddNToHerr));
}

ContactItem ZettelwerkCli::findContact(const CliOptions& o)
{
    CliContactSource source(*m_folder, m_ui);
    if (!o.vcardFile.isEmpty())
        return source.fromFile(o.vcardFile, o.number);
    const OlItems hits = source.search(o.folder, o.lastName);
    return source.hit(hits, o.number, o.folder, o.lastName);
}

void ZettelwerkCli::listHits(const CliOptions& o)
{
    CliContactSource source(*m_folder, m_ui);
    const OlItems hits = source.search(o.folder, o.lastName);
    const long count = hits.Count();
    if (count == 0)
        source.hit(hits, 1, o.folder, o.lastName); // says there is none
    for (long i = 1; i <= count; ++i) {
        try {
            CliUserInterface::printOut(CliContactSource::hitLine(i, hits.Item(i)));
        } catch (...) {
            CliUserInterface::printError(
                QStringLiteral("Treffer Nr. %1 kann nicht gelesen werden: %2")
                    .arg(i)
                    .arg(vuErrorFromCurrentException().description()));
        }
    }
}

ContactFieldResolver ZettelwerkCli::resolverFor(const CliOptions& o, const ContactItem& contact)
{
    return [this, &o, &contact](const QString& baseName, int fieldType) {
        return m_folder->GetFieldData(&contact, baseName, fieldType, o.addressType, o.addressOrder,
                                      o.addressStyle);
    };
}

void ZettelwerkCli::listFields(const CliOptions& o, const ContactItem& contact)
{
    const auto rows = CliFieldListing::fieldValues(
        resolverFor(o, contact), m_folder->GetUserPropertyNames(&contact), m_specialFields);
    for (const auto& [field, value] : rows)
        CliUserInterface::printOut(field + u'\t' + oneLine(value));
}

int ZettelwerkCli::templatePosition(const CliOptions& o, QString& templateFile) const
{
    if (o.templatePath.trimmed().compare(kEmptyDocument, Qt::CaseInsensitive) == 0) {
        templateFile = kEmptyDocument;
        const int position = m_assignments.position(kEmptyDocument);
        if (position == 0)
            throw CliFailure(CliExitCode::NoAssignment,
                             QStringLiteral("Für \"(leeres Dokument)\" ist keine Feldzuordnung "
                                            "eingetragen."));
        return position;
    }

    const QFileInfo info(o.templatePath);
    templateFile = shown(info.absoluteFilePath());
    QFile probe(info.absoluteFilePath());
    if (!info.isFile() || !probe.open(QIODevice::ReadOnly))
        throw CliFailure(CliExitCode::TemplateMissing,
                         QStringLiteral("Auf die Vorlagendatei '") + templateFile +
                             QStringLiteral("' kann nicht zugegriffen werden!\r\nÜberprüfen Sie "
                                            "die Einstellungen, Zugriffsrechte und "
                                            "Netzwerkverbindungen!"));
    probe.close();

    // The entry is keyed by the path the user chose the template with; the same file reached
    // by another path (a link, a relative path) is the same template.
    int position = m_assignments.position(templateFile);
    if (position == 0) {
        const QString canonical = info.canonicalFilePath();
        for (int i = 1; i <= m_assignments.count() && position == 0; ++i) {
            const QString key = m_assignments.key(i);
            if (key != kEmptyDocument &&
                QFileInfo(QDir::fromNativeSeparators(key)).canonicalFilePath() == canonical)
                position = i;
        }
    }
    if (position == 0) {
        QString message =
            QStringLiteral("Für die Vorlage '%1' ist keine Feldzuordnung eingetragen.\n"
                           "Ordnen Sie ihre Textmarken zuerst in Zettelwerk unter 'Extras' den "
                           "Feldern zu. Eingetragene Vorlagen:")
                .arg(templateFile);
        for (const QString& key : m_assignments.keys())
            message += QStringLiteral("\n  ") + key;
        throw CliFailure(CliExitCode::NoAssignment, message);
    }
    // The document is made from the template as the user assigned it, as the wizard does; a
    // key that differs from the file only in case is kept as given.
    const QString key = QDir::fromNativeSeparators(m_assignments.key(position));
    if (QFileInfo(key).isFile())
        templateFile = shown(QFileInfo(key).absoluteFilePath());
    return position;
}

QString ZettelwerkCli::fill(const CliOptions& o, const ContactItem& contact)
{
    QString templateFile;
    const int position = templatePosition(o, templateFile);

    ClsWord word;
    // Word's own formats become .docx through the built-in engine, without starting an office;
    // LibreOffice serves the older formats and writes .odt and PDF.
    const bool officeFormat = o.format == u"odt" || o.format == u"pdf";
    if (!word.SetUsedVersion(officeFormat ? ClsWord::kVersionLibreOffice : ClsWord::kVersionOoxml))
        throw CliFailure(
            CliExitCode::DocumentFailed,
            QStringLiteral("--format %1 braucht LibreOffice Writer: %2.")
                .arg(o.format, ClsWord::notInstalledText(ClsWord::kVersionLibreOffice)));
    word.setSaveFormat(o.format);
    const QString outputFolder =
        o.outputFolder.isEmpty() ? m_settings.OutputFolder : o.outputFolder;
    if (!outputFolder.isEmpty()) {
        const QString absolute = QFileInfo(outputFolder).absoluteFilePath();
        const QFileInfo target(absolute); // a link is taken for what it leads to
        if (!target.isDir())
            throw CliFailure(CliExitCode::OutputFolder,
                             (target.exists()
                                  ? QStringLiteral("Der Ausgabeordner '%1' ist kein Ordner.")
                                  : QStringLiteral("Der Ausgabeordner '%1' existiert nicht."))
                                 .arg(shown(absolute)));
        word.setOutputFolder(absolute);
    }
    // Invisible: the document is saved, never opened.
    if (!word.OpenWord(false))
        throw CliFailure(CliExitCode::OutputFolder,
                         QStringLiteral("Keine Verbindung zu Word möglich!\r\n\r\nÜberprüfen Sie, "
                                        "ob der Ausgabeordner beschreibbar und LibreOffice Writer "
                                        "korrekt installiert ist!\r\nAusgabeordner: ") +
                             shown(word.effectiveOutputFolder()));

    const WordDocument document = word.CreateDocument(templateFile, false, false);
    if (!document)
        throw CliFailure(
            CliExitCode::DocumentFailed,
            QStringLiteral("Aus der Vorlage '%1' kann kein Dokument erstellt werden: %2")
                .arg(templateFile, word.lastErrorDescription().isEmpty()
                                       ? templateProblem(templateFile)
                                       : word.lastErrorDescription()));
    // Named after the template and its recipient, as the wizard names it.
    document->setRecipientName(contact.names().fileAs);

    // Assignments naming a bookmark the template lacks would be skipped without a word.
    for (const auto& [bookmark, field] : assignedPairs(m_assignments.item(position))) {
        if (field != QLatin1String("-") && !bookmark.startsWith(QLatin1Char('(')) &&
            !document->bookmarkExists(bookmark))
            CliUserInterface::printError(QStringLiteral("Warnung: Die Vorlage hat keine Textmarke "
                                                        "'%1' (zugeordnet: %2).")
                                             .arg(bookmark, field));
    }

    QList<BookmarkFailure> failures;
    FillWordBookmarks(m_assignments, position, word, document, resolverFor(o, contact),
                      m_specialFields, {}, &failures);
    // A bookmark the template lacks was named above already.
    for (const BookmarkFailure& failure : failures) {
        if (failure.cause.number() != DocumentError::BookmarkMissing)
            m_bookmarkFailures.append(failure);
    }
    QString saved = document->savedPath();
    if (saved.isEmpty()) {
        // The fill saves the document; its reason for failing went to the log, so ask again.
        try {
            saved = document->present();
        } catch (...) {
            throw CliFailure(CliExitCode::DocumentFailed,
                             QStringLiteral("Das Dokument kann nicht gespeichert werden: %1")
                                 .arg(vuErrorFromCurrentException().description()));
        }
    }
    return saved;
}
