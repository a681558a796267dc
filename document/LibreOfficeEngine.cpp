#include "document/LibreOfficeEngine.h"

#include "document/DocumentErrors.h"
#include "document/LibreOfficeConnection.h"
#include "document/LibreOfficeDocument.h"
#include "document/LibreOfficeSession.h"
#include "document/LibreOfficeText.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>
#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/container/XNameAccess.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/lang/XComponent.hpp>
#include <com/sun/star/text/XBookmarksSupplier.hpp>
#include <com/sun/star/text/XTextContent.hpp>
#include <com/sun/star/text/XTextDocument.hpp>
#include <com/sun/star/text/XTextRange.hpp>
#include <com/sun/star/util/XCloseable.hpp>

using namespace com::sun::star;
using css::uno::Reference;
using css::uno::UNO_QUERY;
using rtl::OUString;

namespace
{

QString source()
{
    return QStringLiteral("LibreOffice Writer");
}

QString defaultOutputFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return folder.isEmpty() ? QDir::homePath() : folder;
}

beans::PropertyValue property(const char* name, const uno::Any& value)
{
    beans::PropertyValue p;
    p.Name = OUString::createFromAscii(name);
    p.Value = value;
    return p;
}

// A file Writer could only read as plain text is no template: the type detection falls back
// to the text filters for anything it does not know.
bool readAsPlainText(const Reference<lang::XComponent>& component)
{
    Reference<frame::XModel> model(component, UNO_QUERY);
    if (!model.is())
        return false;
    for (const beans::PropertyValue& arg : model->getArgs()) {
        OUString filter;
        if (arg.Name == "FilterName" && (arg.Value >>= filter))
            return filter.startsWith("Text");
    }
    return false;
}

} // namespace

LibreOfficeEngine::LibreOfficeEngine(const QString& soffice)
    : m_soffice(soffice.isEmpty() ? QStandardPaths::findExecutable(QStringLiteral("soffice"))
                                  : soffice),
      m_session(std::make_shared<LibreOfficeSession>())
{
    m_session->outputFolder = defaultOutputFolder();
}

LibreOfficeEngine::~LibreOfficeEngine()
{
    try {
        quit(false);
    } catch (...) {
        // Closing without saving leaves nothing to report from a destructor.
    }
}

QString LibreOfficeEngine::productName() const
{
    return QStringLiteral("LibreOffice Writer");
}

QString LibreOfficeEngine::profileFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/KVAR/libreoffice-profile");
}

bool LibreOfficeEngine::canShowWindows(const QString& soffice)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return false;
    // libreoffice-*-nogui has no VCL plug-in: that office can only run headless.
    const QDir program = QFileInfo(QFileInfo(soffice).canonicalFilePath()).absoluteDir();
    return !program.entryList({QStringLiteral("libvclplug_*.so")}, QDir::Files).isEmpty();
}

void LibreOfficeEngine::setTimeouts(int startMs, int callMs)
{
    m_startTimeoutMs = startMs;
    m_callTimeoutMs = callMs;
    if (m_session->connection)
        m_session->connection->setCallTimeout(callMs);
}

void LibreOfficeEngine::open()
{
    if (m_session->connection && m_session->connection->isAlive()) {
        m_session->open = true;
        return;
    }
    if (m_soffice.isEmpty() || !QFileInfo(m_soffice).isExecutable())
        throw ZwError(DocumentError::FileNotFound,
                      QStringLiteral("LibreOffice ist auf diesem PC nicht installiert."), source());
    // The office's own UNO runtime is what the program talks through (a wrapped or sandboxed
    // soffice has none beside it).
    const QString program = QFileInfo(QFileInfo(m_soffice).canonicalFilePath()).absolutePath();
    if (!QFileInfo::exists(program + QStringLiteral("/unorc")) ||
        !QFileInfo::exists(program + QStringLiteral("/types/offapi.rdb")))
        throw ZwError(DocumentError::FileNotFound,
                      QStringLiteral("LibreOffice in \"%1\" bringt keine UNO-Laufzeit mit "
                                     "(unorc, types/offapi.rdb).")
                          .arg(QDir::toNativeSeparators(program)),
                      source());
    m_session->connection.reset();
    LibreOfficeConnection::Options options;
    options.soffice = m_soffice;
    options.profileFolder = profileFolder();
    options.headless = !canShowWindows(m_soffice);
    options.startTimeoutMs = m_startTimeoutMs;
    options.callTimeoutMs = m_callTimeoutMs;
    auto connection = std::make_shared<LibreOfficeConnection>(options);
    connection->connect();
    m_session->connection = std::move(connection);
    m_session->open = true;
}

bool LibreOfficeEngine::isOpen() const
{
    return m_session->open && m_session->connection && m_session->connection->isAlive();
}

void LibreOfficeEngine::setVisible(bool visible)
{
    m_session->visible = visible;
}

bool LibreOfficeEngine::isVisible() const
{
    return m_session->visible;
}

void LibreOfficeEngine::quit(bool saveChanges)
{
    std::exception_ptr failure;
    for (const std::shared_ptr<LibreOfficeDocument>& document : m_documents) {
        try {
            document->close(saveChanges);
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
            try {
                document->close(false);
            } catch (...) {
            }
        }
    }
    m_documents.clear();
    if (m_session->connection) {
        m_session->connection->release();
        m_session->connection.reset();
    }
    m_session->open = false;
    if (failure)
        std::rethrow_exception(failure);
}

std::shared_ptr<EngineDocument> LibreOfficeEngine::addDocument(const QString& templatePath)
{
    if (!m_session->open || !m_session->connection)
        throw ZwError(
            DocumentError::ServerGone,
            QStringLiteral("Die Textverarbeitung \"%1\" ist nicht geöffnet.").arg(productName()),
            source());
    const QString shown = QDir::toNativeSeparators(templatePath);
    if (!templatePath.isEmpty() && !QFileInfo(templatePath).isFile())
        throw ZwError(DocumentError::FileNotFound,
                      QStringLiteral("Die Dokumentvorlage \"%1\" wurde nicht gefunden.").arg(shown),
                      source());
    LibreOfficeConnection& office = *m_session->connection;
    const bool live = m_session->visible && !office.headless();
    const QString url = templatePath.isEmpty()
                            ? QStringLiteral("private:factory/swriter")
                            : QUrl::fromLocalFile(QFileInfo(templatePath).absoluteFilePath())
                                  .toString(QUrl::FullyEncoded);
    const QString cannotOpen =
        QStringLiteral("LibreOffice kann die Dokumentvorlage \"%1\" nicht öffnen.").arg(shown);
    Reference<lang::XComponent> model = office.call(
        [&] {
            // As a template: a new, untitled document; the file itself is only read. Macros
            // in the template do not run, nor do dialogs that would wait for an answer.
            const beans::PropertyValue list[] = {
                property("AsTemplate", uno::Any(true)), property("Hidden", uno::Any(!live)),
                property("MacroExecutionMode", uno::Any(sal_Int16(0))),
                property("UpdateDocMode", uno::Any(sal_Int16(0)))};
            const uno::Sequence<beans::PropertyValue> args(list, 4);
            Reference<lang::XComponent> loaded =
                office.desktop()->loadComponentFromURL(toOU(url), OUString("_blank"), 0, args);
            if (loaded.is() && (!Reference<text::XTextDocument>(loaded, UNO_QUERY).is() ||
                                (!templatePath.isEmpty() && readAsPlainText(loaded)))) {
                Reference<util::XCloseable> closeable(loaded, UNO_QUERY);
                if (closeable.is())
                    closeable->close(true);
                loaded.clear();
            }
            return loaded;
        },
        DocumentError::BadTemplate, cannotOpen);
    if (!model.is())
        throw ZwError(DocumentError::BadTemplate, cannotOpen, source());
    auto document = std::make_shared<LibreOfficeDocument>(model, templatePath, live, m_session);
    std::erase_if(m_documents, [](const auto& d) { return d->isClosed(); });
    m_documents.push_back(document);
    return document;
}

QList<std::shared_ptr<EngineDocument>> LibreOfficeEngine::documents() const
{
    QList<std::shared_ptr<EngineDocument>> open;
    for (const auto& document : m_documents) {
        if (!document->isClosed())
            open.append(document);
    }
    return open;
}

void LibreOfficeEngine::setOutputFolder(const QString& folder)
{
    m_session->outputFolderIsDefault = folder.isEmpty();
    m_session->outputFolder = folder.isEmpty() ? defaultOutputFolder() : folder;
}

QString LibreOfficeEngine::outputFolder() const
{
    return m_session->outputFolder;
}

void LibreOfficeEngine::setOpener(Opener opener)
{
    m_session->opener = std::move(opener);
}

void LibreOfficeEngine::setSaveFormat(const QString& format)
{
    m_session->saveFormat = format;
}

qint64 LibreOfficeEngine::officeProcessId() const
{
    const QList<qint64> pids = LibreOfficeConnection::processesServing(
        LibreOfficeConnection::pipeNameFor(profileFolder()));
    return pids.isEmpty() ? 0 : pids.first();
}

QList<std::pair<QString, QString>> LibreOfficeEngine::readBookmarks(const QString& path)
{
    if (!m_session->open || !m_session->connection)
        throw ZwError(
            DocumentError::ServerGone,
            QStringLiteral("Die Textverarbeitung \"%1\" ist nicht geöffnet.").arg(productName()),
            source());
    LibreOfficeConnection& office = *m_session->connection;
    const QString url =
        QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toString(QUrl::FullyEncoded);
    return office.call(
        [&] {
            const beans::PropertyValue list[] = {property("ReadOnly", uno::Any(true)),
                                                 property("Hidden", uno::Any(true))};
            const Reference<lang::XComponent> model = office.desktop()->loadComponentFromURL(
                toOU(url), OUString("_blank"), 0, uno::Sequence<beans::PropertyValue>(list, 2));
            QList<std::pair<QString, QString>> marks;
            Reference<text::XBookmarksSupplier> supplier(model, UNO_QUERY);
            if (supplier.is()) {
                const Reference<container::XNameAccess> all = supplier->getBookmarks();
                for (const OUString& name : all->getElementNames()) {
                    if (name.startsWith("_"))
                        continue;
                    Reference<text::XTextContent> mark(all->getByName(name), UNO_QUERY);
                    const OUString text = mark.is() ? mark->getAnchor()->getString() : OUString();
                    marks.append({fromOU(name), fromOU(text)});
                }
            }
            Reference<util::XCloseable> closeable(model, UNO_QUERY);
            if (closeable.is())
                closeable->close(true);
            std::sort(marks.begin(), marks.end(), [](const auto& a, const auto& b) {
                return a.first.compare(b.first, Qt::CaseInsensitive) < 0;
            });
            return marks;
        },
        DocumentError::BadTemplate,
        QStringLiteral("LibreOffice kann \"%1\" nicht lesen.").arg(QDir::toNativeSeparators(path)));
}
