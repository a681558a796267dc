#include "document/OoxmlEngine.h"
#include "util/SystemErrorText.h"

#include "document/BlankDocument.h"
#include "document/DocumentErrors.h"
#include "document/OoxmlDocument.h"
#include "document/OoxmlSession.h"
#include "document/OoxmlTemplate.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>
#include <sys/stat.h>

namespace
{

constexpr int cacheSize = 16;

QString source()
{
    return QStringLiteral("Zettelwerk DOCX");
}

QString defaultOutputFolder()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return folder.isEmpty() ? QDir::homePath() : folder;
}

} // namespace

OoxmlEngine::OoxmlEngine() : m_session(std::make_shared<OoxmlSession>())
{
    m_session->outputFolder = defaultOutputFolder();
}

OoxmlEngine::~OoxmlEngine()
{
    try {
        quit(false);
    } catch (...) {
        // Closing without saving cannot fail; nothing to report from a destructor.
    }
}

QString OoxmlEngine::productName() const
{
    return QStringLiteral("Zettelwerk DOCX");
}

void OoxmlEngine::open()
{
    m_session->open = true;
}

bool OoxmlEngine::isOpen() const
{
    return m_session->open;
}

void OoxmlEngine::setVisible(bool visible)
{
    m_session->visible = visible;
}

bool OoxmlEngine::isVisible() const
{
    return m_session->visible;
}

void OoxmlEngine::quit(bool saveChanges)
{
    // Every document is closed even when saving one of them fails; the first failure is raised.
    std::exception_ptr failure;
    for (const std::shared_ptr<OoxmlDocument>& document : m_documents) {
        try {
            document->close(saveChanges);
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
            document->close(false);
        }
    }
    m_documents.clear();
    m_session->open = false;
    if (failure)
        std::rethrow_exception(failure);
}

std::shared_ptr<EngineDocument> OoxmlEngine::addDocument(const QString& templatePath)
{
    if (!m_session->open)
        throw ZwError(
            DocumentError::ServerGone,
            QStringLiteral("Die Textverarbeitung \"%1\" ist nicht geöffnet.").arg(productName()),
            source());
    std::shared_ptr<const OoxmlTemplate> parsed =
        templatePath.isEmpty() ? blankTemplate() : templateFor(templatePath);
    auto document = std::make_shared<OoxmlDocument>(std::move(parsed), templatePath, m_session);
    std::erase_if(m_documents, [](const auto& d) { return d->isClosed(); });
    m_documents.push_back(document);
    return document;
}

QList<std::shared_ptr<EngineDocument>> OoxmlEngine::documents() const
{
    QList<std::shared_ptr<EngineDocument>> open;
    for (const auto& document : m_documents) {
        if (!document->isClosed())
            open.append(document);
    }
    return open;
}

void OoxmlEngine::setOutputFolder(const QString& folder)
{
    m_session->outputFolderIsDefault = folder.isEmpty();
    m_session->outputFolder = folder.isEmpty() ? defaultOutputFolder() : folder;
}

QString OoxmlEngine::outputFolder() const
{
    return m_session->outputFolder;
}

void OoxmlEngine::setOpener(Opener opener)
{
    m_session->opener = std::move(opener);
}

void OoxmlEngine::setLimits(const OoxmlLimits& limits)
{
    m_limits = limits;
    clearTemplateCache();
}

void OoxmlEngine::setCompressionLevel(int level)
{
    m_session->compressionLevel = qBound(1, level, 9);
}

void OoxmlEngine::setSyncToDisk(bool sync)
{
    m_session->syncToDisk = sync;
}

void OoxmlEngine::clearTemplateCache()
{
    m_cache.clear();
}

std::shared_ptr<const OoxmlTemplate> OoxmlEngine::blankTemplate()
{
    if (!m_blank)
        m_blank = OoxmlTemplate::load(BlankDocument::package(), QStringLiteral("(leeres Dokument)"),
                                      m_limits);
    return m_blank;
}

std::shared_ptr<const OoxmlTemplate> OoxmlEngine::templateFor(const QString& path)
{
    const QString shown = QDir::toNativeSeparators(path);
    const QFileInfo info(path);
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0 || !S_ISREG(st.st_mode))
        throw ZwError(DocumentError::FileNotFound,
                      QStringLiteral("Die Dokumentvorlage \"%1\" wurde nicht gefunden.").arg(shown),
                      source());
    const QString key = info.absoluteFilePath();
    const qint64 modifiedNs = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    auto cached = m_cache.find(key);
    if (cached != m_cache.end() && cached->size == st.st_size && cached->modifiedNs == modifiedNs &&
        cached->inode == quint64(st.st_ino)) {
        cached->lastUse = ++m_useCounter;
        return cached->parsed;
    }

    if (quint64(st.st_size) > m_limits.maxFileBytes)
        throw ZwError(DocumentError::BadTemplate,
                      QStringLiteral("Die Dokumentvorlage \"%1\" ist zu groß (mehr als %2 MB).")
                          .arg(shown)
                          .arg(m_limits.maxFileBytes >> 20),
                      source());
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw ZwError(DocumentError::BadTemplate,
                      QStringLiteral("Die Dokumentvorlage \"%1\" kann nicht gelesen werden: %2")
                          .arg(shown, VuFileErrorText(file)),
                      source());
    // Reserve what the file holds, not the limit: one byte more tells a file that grew.
    const qint64 wanted = std::min<qint64>(st.st_size, qint64(m_limits.maxFileBytes)) + 1;
    QByteArray bytes = file.read(wanted);
    if (quint64(bytes.size()) > m_limits.maxFileBytes)
        throw ZwError(DocumentError::BadTemplate,
                      QStringLiteral("Die Dokumentvorlage \"%1\" ist zu groß (mehr als %2 MB).")
                          .arg(shown)
                          .arg(m_limits.maxFileBytes >> 20),
                      source());
    std::shared_ptr<const OoxmlTemplate> parsed =
        OoxmlTemplate::load(std::move(bytes), path, m_limits);

    if (m_cache.size() >= cacheSize && !m_cache.contains(key)) {
        auto oldest = m_cache.begin();
        for (auto it = m_cache.begin(); it != m_cache.end(); ++it) {
            if (it->lastUse < oldest->lastUse)
                oldest = it;
        }
        m_cache.erase(oldest);
    }
    CachedTemplate& entry = m_cache[key];
    entry.parsed = parsed;
    entry.size = st.st_size;
    entry.modifiedNs = modifiedNs;
    entry.inode = quint64(st.st_ino);
    entry.lastUse = ++m_useCounter;
    return parsed;
}
