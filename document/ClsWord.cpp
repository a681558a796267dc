#include "document/ClsWord.h"

#include "document/DocumentErrors.h"
#include "document/FailureLog.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/LibreOfficeEngine.h"
#include "document/OoxmlEngine.h"
#include "util/AppInfo.h"
#include "util/ErrorRoutine.h"
#include "util/SystemErrorText.h"
#include "util/TextUtil.h"
#include "util/UserInterface.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <limits>
#include <optional>

const QString ClsWord::kVersionLibreOffice = QStringLiteral("LO");
const QString ClsWord::kVersionOoxml = QStringLiteral("OOXML");

namespace
{

constexpr long kObjectNotSet = 91;
constexpr long kOverflow = 6;
constexpr long kPathAccess = 75;

QString source()
{
    return QStringLiteral("ClsWord");
}

QString sofficePath()
{
    // LibreOffice's core can be installed without Writer (Debian's UNO development package
    // brings it alone); only an office with its Writer module beside it can fill templates.
    const QString soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    if (soffice.isEmpty())
        return {};
    const QDir program = QFileInfo(QFileInfo(soffice).canonicalFilePath()).dir();
    return program.exists(QStringLiteral("libswlo.so")) ? soffice : QString();
}

// Only blanks count, as in the trim the system has always used: a tab or a line break is text.
bool isBlankOnly(const QString& text)
{
    for (const QChar c : text) {
        if (c != QLatin1Char(' '))
            return false;
    }
    return true;
}

EngineDocument& usable(const WordDocument& document)
{
    if (!document)
        throw ZwError(kObjectNotSet, QStringLiteral("Objektvariable nicht festgelegt"), source());
    return *document;
}

} // namespace

ClsWord::ClsWord() = default;

// The engine closes its documents unsaved when it goes: documents not handed to the user are
// dropped, never saved behind the user's back.
ClsWord::~ClsWord() = default;

QStringList ClsWord::knownVersions()
{
    return {kVersionLibreOffice, kVersionOoxml};
}

QString ClsWord::productNameOf(const QString& version)
{
    if (version == kVersionLibreOffice)
        return QStringLiteral("LibreOffice Writer");
    if (version == kVersionOoxml)
        return QStringLiteral("Zettelwerk DOCX");
    return QString();
}

QString ClsWord::useVersionCaption(const QString& version)
{
    return productNameOf(version) + QStringLiteral(" verwenden");
}

QString ClsWord::notInstalledText(const QString& version)
{
    return productNameOf(version) + QStringLiteral(" ist nicht installiert");
}

bool ClsWord::IsVersionInstalled(const QString& sRequiredVersion) const
{
    if (sRequiredVersion == kVersionOoxml)
        return true;
    if (sRequiredVersion == kVersionLibreOffice)
        return !sofficePath().isEmpty();
    return false;
}

QString ClsWord::programDirectoryOf(const QString& version)
{
    if (version == kVersionOoxml)
        return VuEnsureTrailingSeparator(AppInfo::programFolder());
    if (version == kVersionLibreOffice) {
        const QString soffice = sofficePath();
        if (!soffice.isEmpty())
            return VuEnsureTrailingSeparator(QFileInfo(soffice).absolutePath());
    }
    return QString();
}

bool ClsWord::SetUsedVersion(const QString& sVersion)
{
    if (!knownVersions().contains(sVersion))
        return false;
    const bool installed = IsVersionInstalled(sVersion);
    m_usedVersion = installed ? sVersion : QString();
    m_programDirectory = installed ? programDirectoryOf(sVersion) : QString();
    return installed;
}

QString ClsWord::Version()
{
    if (m_usedVersion.isEmpty()) {
        for (const QString& version : knownVersions()) {
            if (SetUsedVersion(version))
                break;
        }
    }
    return m_usedVersion;
}

QString ClsWord::ProductName()
{
    return productNameOf(Version());
}

bool ClsWord::needsLibreOffice(const QString& templatePath)
{
    static const QStringList legacy{QStringLiteral("dot"), QStringLiteral("doc"),
                                    QStringLiteral("rtf"), QStringLiteral("odt"),
                                    QStringLiteral("ott"), QStringLiteral("fodt")};
    return legacy.contains(QFileInfo(templatePath).suffix().toLower());
}

DocumentEngine* ClsWord::engine() const
{
    const bool office = m_usedVersion == kVersionLibreOffice;
    DocumentEngine* own = office ? m_office.get() : m_engine.get();
    return own ? own : (office ? m_engine.get() : m_office.get());
}

void ClsWord::setSaveFormat(const QString& format)
{
    m_saveFormat = format;
    if (auto* office = dynamic_cast<LibreOfficeEngine*>(m_office.get()))
        office->setSaveFormat(format);
}

void ClsWord::setOfficeTimeouts(int startMs, int callMs)
{
    m_officeStartMs = startMs;
    m_officeCallMs = callMs;
    if (auto* office = dynamic_cast<LibreOfficeEngine*>(m_office.get()))
        office->setTimeouts(startMs, callMs);
}

void ClsWord::logFailure(const QString& line, const ZwError& cause)
{
    // The first failure since the document was begun is the cause; calls that fail after it
    // only because there is no document must not hide it.
    if (m_lastErrorNumber == 0)
        keepFailure(cause);
    logDocumentFailure(line, cause);
}

QString ClsWord::effectiveOutputFolder() const
{
    if (!m_outputFolder.isEmpty())
        return m_outputFolder;
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return documents.isEmpty() ? QDir::homePath() : documents;
}

void ClsWord::ensureOutputFolder() const
{
    const QString folder = effectiveOutputFolder();
    const QString shown = QDir::toNativeSeparators(folder);
    // The user's documents folder may not exist yet on a fresh account; a folder the user
    // chose is never created, since a missing one usually means a drive that is not mounted.
    if (m_outputFolder.isEmpty() && !QFileInfo::exists(folder))
        QDir().mkpath(folder);
    if (!QFileInfo(folder).isDir())
        throw ZwError(kPathAccess,
                      QStringLiteral("Der Ausgabeordner \"%1\" existiert nicht.").arg(shown),
                      source());
    // Permission bits do not tell (access lists, read-only mounts, root): try it.
    QTemporaryFile probe(folder + QStringLiteral("/.zettelwerk-probe-XXXXXX"));
    if (!probe.open())
        throw ZwError(kPathAccess,
                      QStringLiteral("Der Ausgabeordner \"%1\" ist nicht beschreibbar: %2")
                          .arg(shown, VuFileErrorText(probe)),
                      source());
}

void ClsWord::dropEngine(bool office)
{
    std::unique_ptr<DocumentEngine>& slot = slotFor(office);
    if (m_currentDocument && slot) {
        for (const auto& document : slot->documents()) {
            if (document == m_currentDocument)
                m_currentDocument.reset();
        }
    }
    slot.reset();
}

bool ClsWord::openEngine(bool office, bool bVisible)
{
    ui().setHourglass(true);
    std::unique_ptr<DocumentEngine>& slot = slotFor(office);
    for (int attempt = 1;; ++attempt) {
        std::optional<ZwError> failure;
        try {
            if (!slot) {
                if (office) {
                    auto engine = std::make_unique<LibreOfficeEngine>();
                    engine->setSaveFormat(m_saveFormat);
                    engine->setTimeouts(m_officeStartMs, m_officeCallMs);
                    slot = std::move(engine);
                } else {
                    slot = std::make_unique<OoxmlEngine>();
                }
                slot->setOpener(m_opener);
                slot->open();
                slot->setVisible(bVisible);
            } else if (!slot->isOpen()) {
                // The word processor was closed or crashed behind our back: start a fresh one.
                throw ZwError(DocumentError::ServerGone,
                              QStringLiteral("Die Textverarbeitung antwortet nicht mehr."),
                              source());
            }
            ensureOutputFolder();
            slot->setOutputFolder(effectiveOutputFolder());
            ui().setHourglass(false);
            keepFailure(ZwError(0, QString(), QString()));
            return true;
        } catch (...) {
            failure.emplace(vuErrorFromCurrentException());
        }
        dropEngine(office);
        if (failure->number() == DocumentError::ServerGone && attempt == 1)
            continue;
        logFailure(QStringLiteral("Fehler beim Öffnen von Word"), *failure);
        ui().setHourglass(false);
        return false;
    }
}

bool ClsWord::OpenWord(bool bVisible)
{
    if (Version().isEmpty())
        return false;
    return openEngine(m_usedVersion == kVersionLibreOffice, bVisible);
}

void ClsWord::CloseWord(bool bSaveChanges)
{
    if (Version().isEmpty())
        return;
    for (const bool office : {false, true}) {
        if (std::unique_ptr<DocumentEngine>& slot = slotFor(office)) {
            try {
                slot->quit(bSaveChanges);
            } catch (...) {
                // Errors are ignored here; every document is closed all the same.
            }
        }
        dropEngine(office);
    }
    m_currentDocument.reset();
}

WordDocument ClsWord::CreateDocument(const QString& sDotFile, bool bWordVisible,
                                     bool bCloseOldDocument)
{
    if (Version().isEmpty())
        return {};
    const QString templatePath = sDotFile == kEmptyDocument ? QString() : sDotFile;
    keepFailure(ZwError(0, QString(), QString()));
    const bool legacy = needsLibreOffice(templatePath);
    const bool office = m_usedVersion == kVersionLibreOffice || legacy;
    if (legacy && !IsVersionInstalled(kVersionLibreOffice)) {
        logFailure(QStringLiteral("Fehler beim Erzeugen eines Word-Dokuments"),
                   ZwError(DocumentError::OfficeMissing,
                           QStringLiteral("Für die Vorlage \"%1\" wird LibreOffice Writer "
                                          "benötigt. LibreOffice ist auf diesem PC nicht "
                                          "installiert.")
                               .arg(QDir::toNativeSeparators(templatePath)),
                           source()));
        return {};
    }
    for (int attempt = 1;; ++attempt) {
        if (!openEngine(office, bWordVisible))
            return {};
        std::unique_ptr<DocumentEngine>& engine = slotFor(office);
        std::optional<ZwError> failure;
        try {
            if (m_currentDocument) {
                if (bCloseOldDocument) {
                    try {
                        m_currentDocument->close(false);
                    } catch (...) {
                        // Closing a document that is already gone is no failure.
                    }
                }
                m_currentDocument.reset();
            }
            engine->setVisible(bWordVisible);
            m_currentDocument = engine->addDocument(templatePath);
            return m_currentDocument;
        } catch (...) {
            failure.emplace(vuErrorFromCurrentException());
        }
        // A word processor that went away meanwhile is started afresh (once).
        if (failure->number() == DocumentError::ServerGone && attempt == 1) {
            dropEngine(office);
            continue;
        }
        logFailure(QStringLiteral("Fehler beim Erzeugen eines Word-Dokuments"), *failure);
        return {};
    }
}

bool ClsWord::SetText(const WordDocument& oDoc, const QString& sText, const QString& sBookmark)
{
    if (Version().isEmpty())
        return false;
    std::optional<ZwError> failure;
    try {
        EngineDocument& document = usable(oDoc);
        if (isBlankOnly(sText))
            return true;
        const bool atBookmark = !sBookmark.isEmpty() && !sBookmark.startsWith(QLatin1Char('('));
        const auto write = [&] {
            if (atBookmark) {
                document.goToBookmark(sBookmark);
                document.typeText(sText);
            } else {
                // Successive placeholders build successive lines of a blank document.
                document.typeText(sText + QStringLiteral("\r\n"));
            }
        };
        try {
            write();
        } catch (const ZwError& e) {
            if (e.number() != DocumentError::Protected)
                throw;
            // A protected template: lift the protection and write once more.
            document.unprotect();
            write();
        }
        return true;
    } catch (...) {
        failure.emplace(vuErrorFromCurrentException());
    }
    QString line = QStringLiteral("Fehler beim Schreiben von '") + sText + QLatin1Char('\'');
    if (!sBookmark.isEmpty())
        line += QStringLiteral(" an Textmarke '") + sBookmark + QLatin1Char('\'');
    logFailure(line, *failure);
    return false;
}

qint16 ClsWord::GetBookmarkCount(const WordDocument& oDoc)
{
    if (Version().isEmpty())
        return 0;
    try {
        const int count = usable(oDoc).bookmarkCount();
        if (count > std::numeric_limits<qint16>::max())
            throw ZwError(kOverflow,
                          QStringLiteral("Überlauf: die Vorlage hat %1 Textmarken, gelesen werden "
                                         "können höchstens %2.")
                              .arg(count)
                              .arg(std::numeric_limits<qint16>::max()),
                          source());
        keepFailure(ZwError(0, QString(), QString()));
        return qint16(count);
    } catch (...) {
        logFailure(QStringLiteral("GetBookmarkCount"), vuErrorFromCurrentException());
    }
    return 0;
}

QString ClsWord::GetBookmarkName(const WordDocument& oDoc, qint16 nIndex)
{
    if (Version().isEmpty())
        return QString();
    try {
        return usable(oDoc).bookmarkName(nIndex);
    } catch (...) {
        logFailure(QStringLiteral("GetBookmarkName"), vuErrorFromCurrentException());
    }
    return QString();
}

QString ClsWord::presentDocument(const WordDocument& oDoc)
{
    keepFailure(ZwError(0, QString(), QString()));
    try {
        return usable(oDoc).present();
    } catch (...) {
        logFailure(QStringLiteral("Fehler beim Speichern des Word-Dokuments"),
                   vuErrorFromCurrentException());
    }
    return QString();
}

void ClsWord::keepFailure(const ZwError& failure)
{
    m_lastErrorNumber = failure.number();
    m_lastErrorDescription = failure.description();
}

void ClsWord::setOutputFolder(const QString& folder)
{
    m_outputFolder = folder;
}

void ClsWord::setOpener(DocumentEngine::Opener opener)
{
    m_opener = std::move(opener);
    for (const bool office : {false, true}) {
        if (std::unique_ptr<DocumentEngine>& slot = slotFor(office))
            slot->setOpener(m_opener);
    }
}
