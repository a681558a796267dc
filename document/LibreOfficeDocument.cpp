#include "document/LibreOfficeDocument.h"

#include "document/DocumentErrors.h"
#include "document/LibreOfficeConnection.h"
#include "document/LibreOfficeDocxRepair.h"
#include "document/LibreOfficeText.h"
#include "document/UniqueFileWriter.h"
#include "util/SystemErrorText.h"
#include "util/ZwError.h"

#include <QCollator>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSet>
#include <QTemporaryDir>
#include <QUrl>
#include <com/sun/star/awt/XTopWindow.hpp>
#include <com/sun/star/awt/XWindow.hpp>
#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/container/XNameAccess.hpp>
#include <com/sun/star/container/XNamed.hpp>
#include <com/sun/star/frame/XController.hpp>
#include <com/sun/star/frame/XFrame.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/frame/XStorable.hpp>
#include <com/sun/star/lang/XMultiServiceFactory.hpp>
#include <com/sun/star/text/XBookmarksSupplier.hpp>
#include <com/sun/star/text/XText.hpp>
#include <com/sun/star/text/XTextContent.hpp>
#include <com/sun/star/text/XTextDocument.hpp>
#include <com/sun/star/text/XTextSectionsSupplier.hpp>
#include <com/sun/star/util/XCloseable.hpp>

using namespace com::sun::star;
using css::uno::Reference;
using css::uno::UNO_QUERY;
using css::uno::UNO_QUERY_THROW;
using rtl::OUString;

namespace
{

// Writer's string insertion makes a paragraph of CR and a line break of LF: "\r\n", "\r" and
// "\n" each start a paragraph, as the interface promises, and "\v" is a line break.
OUString writerText(const QString& text)
{
    QString s = text;
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\r"));
    s.replace(QLatin1Char('\n'), QLatin1Char('\r'));
    s.replace(QLatin1Char('\v'), QLatin1Char('\n'));
    return toOU(s);
}

bool isOpenDocumentTemplate(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix == u"odt" || suffix == u"ott" || suffix == u"fodt";
}

const QCollator& germanCollator()
{
    static const QCollator collator = [] {
        QCollator c{QLocale(QLocale::German, QLocale::Germany)};
        c.setCaseSensitivity(Qt::CaseInsensitive);
        return c;
    }();
    return collator;
}

} // namespace

LibreOfficeDocument::LibreOfficeDocument(Reference<lang::XComponent> model, QString templatePath,
                                         bool live, std::shared_ptr<LibreOfficeSession> session)
    : m_model(std::move(model)), m_templatePath(std::move(templatePath)), m_live(live),
      m_session(std::move(session))
{
}

LibreOfficeDocument::~LibreOfficeDocument()
{
    try {
        close(false);
    } catch (...) {
        // An office that is gone has closed the document already.
    }
}

void LibreOfficeDocument::ensureUsable() const
{
    if (m_closed || !m_session->connection)
        throw ZwError(DocumentError::ObjectDeleted,
                      QStringLiteral("Das Dokument ist bereits geschlossen."),
                      QStringLiteral("LibreOffice Writer"));
}

const QStringList& LibreOfficeDocument::names() const
{
    ensureUsable();
    if (!m_namesValid) {
        const uno::Sequence<OUString> all = m_session->connection->call(
            [&] {
                Reference<text::XBookmarksSupplier> supplier(m_model, UNO_QUERY_THROW);
                return supplier->getBookmarks()->getElementNames();
            },
            DocumentError::BadTemplate,
            QStringLiteral("Die Textmarken können nicht gelesen werden."));
        m_allNames.clear();
        m_names.clear();
        QSet<QString> seen;
        for (const OUString& name : all) {
            const QString n = fromOU(name);
            m_allNames.append(n);
            if (n.isEmpty() || n.startsWith(QLatin1Char('_')) || seen.contains(n.toLower()))
                continue;
            seen.insert(n.toLower());
            m_names.append(n);
        }
        std::sort(m_names.begin(), m_names.end(), [](const QString& a, const QString& b) {
            const int order = germanCollator().compare(a, b);
            return order != 0 ? order < 0 : a < b;
        });
        m_namesValid = true;
    }
    return m_names;
}

int LibreOfficeDocument::bookmarkCount() const
{
    return int(names().size());
}

QString LibreOfficeDocument::bookmarkName(int index) const
{
    const QStringList& visible = names();
    if (index < 1 || index > visible.size())
        throw ZwError(DocumentError::NoSuchItem,
                      QStringLiteral("Die Textmarke Nr. %1 gibt es nicht (das Dokument hat %2).")
                          .arg(index)
                          .arg(visible.size()),
                      QStringLiteral("LibreOffice Writer"));
    return visible[index - 1];
}

QString LibreOfficeDocument::actualName(const QString& name) const
{
    names();
    for (const QString& n : std::as_const(m_allNames)) {
        if (n.compare(name, Qt::CaseInsensitive) == 0)
            return n;
    }
    return QString();
}

bool LibreOfficeDocument::bookmarkExists(const QString& name) const
{
    return !actualName(name).isEmpty();
}

void LibreOfficeDocument::goToBookmark(const QString& name)
{
    const QString actual = actualName(name);
    if (actual.isEmpty())
        throw ZwError(DocumentError::BookmarkMissing,
                      QStringLiteral("Die Textmarke \"%1\" gibt es im Dokument nicht.").arg(name),
                      QStringLiteral("LibreOffice Writer"));
    m_selected = actual;
}

void LibreOfficeDocument::typeText(const QString& text)
{
    ensureUsable();
    if (isProtected())
        throw ZwError(DocumentError::Protected,
                      QStringLiteral("Das Dokument ist geschützt; der Text kann nicht "
                                     "geschrieben werden."),
                      QStringLiteral("LibreOffice Writer"));
    write(text);
}

void LibreOfficeDocument::write(const QString& text)
{
    const OUString content = writerText(text);
    const QString bookmark = m_selected;
    m_session->connection->call(
        [&] {
            if (bookmark.isEmpty()) {
                if (!m_insertion.is()) {
                    Reference<text::XTextDocument> document(m_model, UNO_QUERY_THROW);
                    m_insertion = document->getText()->createTextCursor();
                    m_insertion->gotoStart(false);
                }
                m_insertion->setString(content);
                m_insertion->collapseToEnd();
                return;
            }
            // The bookmark is taken out and set again around the new text, so that it encloses
            // the text even where it was collapsed; the text takes the formatting found there.
            Reference<text::XBookmarksSupplier> supplier(m_model, UNO_QUERY_THROW);
            Reference<text::XTextContent> mark(supplier->getBookmarks()->getByName(toOU(bookmark)),
                                               UNO_QUERY_THROW);
            const Reference<text::XTextRange> anchor = mark->getAnchor();
            const Reference<text::XText> owner = anchor->getText();
            const Reference<text::XTextCursor> cursor = owner->createTextCursorByRange(anchor);
            owner->removeTextContent(mark);
            cursor->setString(content);
            Reference<lang::XMultiServiceFactory> factory(m_model, UNO_QUERY_THROW);
            Reference<text::XTextContent> renewed(
                factory->createInstance(OUString("com.sun.star.text.Bookmark")), UNO_QUERY_THROW);
            Reference<container::XNamed>(renewed, UNO_QUERY_THROW)->setName(toOU(bookmark));
            owner->insertTextContent(Reference<text::XTextRange>(cursor.get()), renewed, true);
            m_insertion = owner->createTextCursorByRange(cursor->getEnd());
        },
        DocumentError::BookmarkMissing,
        bookmark.isEmpty()
            ? QStringLiteral("Der Text kann nicht eingefügt werden.")
            : QStringLiteral("Der Text kann nicht an Textmarke \"%1\" geschrieben werden.")
                  .arg(bookmark));
    m_selected.clear();
    m_dirty = true;
}

bool LibreOfficeDocument::isProtected() const
{
    ensureUsable();
    if (m_protection < 0) {
        m_protection = m_session->connection->call(
            [&] {
                Reference<text::XTextSectionsSupplier> supplier(m_model, UNO_QUERY);
                if (!supplier.is())
                    return 0;
                const Reference<container::XNameAccess> sections = supplier->getTextSections();
                for (const OUString& name : sections->getElementNames()) {
                    Reference<beans::XPropertySet> section(sections->getByName(name), UNO_QUERY);
                    bool isProtected = false;
                    if (section.is() &&
                        (section->getPropertyValue(OUString("IsProtected")) >>= isProtected) &&
                        isProtected)
                        return 1;
                }
                return 0;
            },
            DocumentError::BadTemplate, QStringLiteral("Der Schutz des Dokuments ist unbekannt."));
    }
    return m_protection == 1;
}

void LibreOfficeDocument::unprotect()
{
    ensureUsable();
    m_session->connection->call(
        [&] {
            Reference<text::XTextSectionsSupplier> supplier(m_model, UNO_QUERY);
            if (!supplier.is())
                return;
            const Reference<container::XNameAccess> sections = supplier->getTextSections();
            for (const OUString& name : sections->getElementNames()) {
                Reference<beans::XPropertySet> section(sections->getByName(name), UNO_QUERY);
                if (section.is())
                    section->setPropertyValue(OUString("IsProtected"), uno::Any(false));
            }
        },
        DocumentError::Protected,
        QStringLiteral("Der Dokumentschutz kann nicht aufgehoben werden."));
    m_protection = 0;
}

QString LibreOfficeDocument::saveExtension() const
{
    const QString format = m_session->saveFormat.toLower();
    if (format == u"pdf" || format == u"odt" || format == u"docx")
        return QLatin1Char('.') + format;
    return isOpenDocumentTemplate(m_templatePath) ? QStringLiteral(".odt")
                                                  : QStringLiteral(".docx");
}

QString LibreOfficeDocument::save(const QString& folder)
{
    ensureUsable();
    QString target = folder;
    if (target.isEmpty()) {
        target = m_session->outputFolder;
        if (m_session->outputFolderIsDefault)
            QDir().mkpath(target);
    }
    const QString extension = saveExtension();
    const QString filter = extension == u".pdf"   ? QStringLiteral("writer_pdf_Export")
                           : extension == u".odt" ? QStringLiteral("writer8")
                                                  : QStringLiteral("MS Word 2007 XML");
    // The office writes into a private folder; the file gets its name in the output folder
    // under the never-overwriting rule of every saved document.
    QTemporaryDir scratch;
    if (!scratch.isValid())
        throw ZwError(DocumentError::SaveFailed,
                      QStringLiteral("Kein temporärer Ordner für das Dokument: %1")
                          .arg(scratch.errorString()),
                      QStringLiteral("LibreOffice Writer"));
    const QString scratchFile = scratch.filePath(QStringLiteral("dokument") + extension);
    m_session->connection->call(
        [&] {
            Reference<frame::XStorable> storable(m_model, UNO_QUERY_THROW);
            uno::Sequence<beans::PropertyValue> args(1);
            args.getArray()[0].Name = OUString("FilterName");
            args.getArray()[0].Value <<= toOU(filter);
            storable->storeToURL(toOU(QUrl::fromLocalFile(scratchFile).toString()), args);
        },
        DocumentError::SaveFailed,
        QStringLiteral("LibreOffice kann das Dokument nicht als %1 speichern.").arg(extension));
    if (extension == u".docx")
        LibreOfficeDocxRepair::repairBookmarks(scratchFile);
    QFile written(scratchFile);
    if (!written.open(QIODevice::ReadOnly))
        throw ZwError(DocumentError::SaveFailed,
                      QStringLiteral("Das von LibreOffice gespeicherte Dokument fehlt: %1")
                          .arg(VuFileErrorText(written)),
                      QStringLiteral("LibreOffice Writer"));
    m_savedPath =
        UniqueFileWriter::write(target, documentBaseName(), extension, written.readAll(), true);
    m_dirty = false;
    return m_savedPath;
}

QString LibreOfficeDocument::present()
{
    ensureUsable();
    if (m_live && m_session->visible) {
        m_session->connection->call(
            [&] {
                Reference<frame::XModel> model(m_model, UNO_QUERY_THROW);
                const Reference<awt::XWindow> window =
                    model->getCurrentController()->getFrame()->getContainerWindow();
                window->setVisible(true);
                Reference<awt::XTopWindow> top(window, UNO_QUERY);
                if (top.is())
                    top->toFront();
            },
            DocumentError::ServerGone, QStringLiteral("Das Dokument kann nicht gezeigt werden."));
        m_presented = true;
        return QString();
    }
    if (m_savedPath.isEmpty() || m_dirty)
        save();
    if (m_session->visible && m_session->opener)
        m_session->opener(m_savedPath);
    return m_savedPath;
}

void LibreOfficeDocument::close(bool saveChanges)
{
    if (m_closed)
        return;
    if (saveChanges && m_dirty && !isOpenForUser())
        save();
    m_closed = true;
    // A document handed to the user is the user's now: it stays open in its window.
    if (isOpenForUser() || !m_session->connection)
        return;
    const Reference<lang::XComponent> model = std::move(m_model);
    m_insertion.clear();
    m_session->connection->call(
        [&] {
            Reference<util::XCloseable> closeable(model, UNO_QUERY);
            if (closeable.is())
                closeable->close(true);
            else
                model->dispose();
        },
        DocumentError::ObjectDeleted,
        QStringLiteral("Das Dokument kann nicht geschlossen werden."));
}
