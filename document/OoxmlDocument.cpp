#include "document/OoxmlDocument.h"

#include "document/DocumentErrors.h"
#include "document/OoxmlTemplate.h"
#include "document/OoxmlXml.h"
#include "document/OoxmlZipWriter.h"
#include "document/UniqueFileWriter.h"
#include "util/ErrorRoutine.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cstring>
#include <deque>
#include <unordered_set>
#include <zip.h>

namespace
{

QString source()
{
    return QStringLiteral("Zettelwerk DOCX");
}

std::string keyOf(const QString& name)
{
    return OoxmlBookmarks::keyOf(name);
}

// The content control around a node, when it shows its placeholder text.
pugi::xml_node placeholderControl(pugi::xml_node node)
{
    for (node = node.parent(); node; node = node.parent()) {
        if (std::strcmp(node.name(), "w:sdt") == 0)
            return node.child("w:sdtPr").child("w:showingPlcHdr") ? node : pugi::xml_node();
    }
    return pugi::xml_node();
}

// A run of nothing but text (no text box, picture, field or reference in it).
bool isPlainTextRun(pugi::xml_node run)
{
    static const char* const plain[] = {"w:rPr",
                                        "w:t",
                                        "w:tab",
                                        "w:br",
                                        "w:cr",
                                        "w:sym",
                                        "w:noBreakHyphen",
                                        "w:softHyphen",
                                        "w:lastRenderedPageBreak"};
    for (pugi::xml_node child : run.children()) {
        if (std::none_of(std::begin(plain), std::end(plain), [&child](const char* name) {
                return std::strcmp(child.name(), name) == 0;
            }))
            return false;
    }
    return true;
}

// The plain text runs of a control's content (its placeholder), without recursion.
std::vector<pugi::xml_node> placeholderRuns(pugi::xml_node content)
{
    std::vector<pugi::xml_node> runs;
    OoxmlXml::forEachBelow(content, [&runs](pugi::xml_node n) {
        const bool run = std::strcmp(n.name(), "w:r") == 0;
        if (run && isPlainTextRun(n))
            runs.push_back(n);
        return !run;
    });
    return runs;
}

} // namespace

OoxmlDocument::OoxmlDocument(std::shared_ptr<const OoxmlTemplate> source, QString templatePath,
                             std::shared_ptr<OoxmlSession> session)
    : m_template(std::move(source)), m_templatePath(std::move(templatePath)),
      m_session(std::move(session)), m_ids(m_template->maxId() + 1)
{
    m_parts.resize(std::size_t(m_template->partCount()));
    m_changedParts.assign(std::size_t(m_template->partCount()), false);
}

OoxmlDocument::~OoxmlDocument() = default;

void OoxmlDocument::ensureUsable() const
{
    if (m_closed)
        throw ZwError(DocumentError::ObjectDeleted,
                      QStringLiteral("Das Dokument wurde geschlossen und kann nicht mehr "
                                     "verwendet werden."),
                      source());
}

pugi::xml_document& OoxmlDocument::writablePart(int index)
{
    std::unique_ptr<pugi::xml_document>& own = m_parts[std::size_t(index)];
    if (!own) {
        own = std::make_unique<pugi::xml_document>();
        own->reset(m_template->part(index).dom);
    }
    return *own;
}

void OoxmlDocument::buildIndex() const
{
    if (m_indexed)
        return;
    auto* self = const_cast<OoxmlDocument*>(this);
    std::vector<OoxmlBookmarks::Story> stories;
    for (int i = 0; i < m_template->partCount(); ++i) {
        const OoxmlTemplate::Part& part = m_template->part(i);
        if (part.story && part.hasBookmarks)
            stories.push_back({i, self->writablePart(i).document_element()});
    }
    m_bookmarks = OoxmlBookmarks::scan(stories);
    m_indexed = true;
    m_namesValid = false;
}

const QStringList& OoxmlDocument::names() const
{
    if (!m_indexed)
        return m_template->bookmarkNames();
    if (!m_namesValid) {
        QStringList all;
        for (const auto& [key, bookmark] : m_bookmarks) {
            if (!bookmark.places.empty())
                all.append(bookmark.name);
        }
        m_names = OoxmlTemplate::visibleSorted(all);
        m_namesValid = true;
    }
    return m_names;
}

int OoxmlDocument::bookmarkCount() const
{
    ensureUsable();
    return int(names().size());
}

QString OoxmlDocument::bookmarkName(int index) const
{
    ensureUsable();
    const QStringList& list = names();
    if (index < 1 || index > list.size())
        throw ZwError(DocumentError::NoSuchItem,
                      QStringLiteral("Das angeforderte Element ist nicht in der Sammlung "
                                     "vorhanden (Textmarke Nr. %1 von %2).")
                          .arg(index)
                          .arg(list.size()),
                      source());
    return list.at(index - 1);
}

bool OoxmlDocument::bookmarkExists(const QString& name) const
{
    ensureUsable();
    buildIndex();
    const auto it = m_bookmarks.find(keyOf(name));
    return it != m_bookmarks.end() && !it->second.places.empty();
}

void OoxmlDocument::goToBookmark(const QString& name)
{
    ensureUsable();
    buildIndex();
    const std::string key = keyOf(name);
    const auto it = m_bookmarks.find(key);
    if (it == m_bookmarks.end() || it->second.places.empty())
        throw ZwError(DocumentError::BookmarkMissing,
                      QStringLiteral("Die Textmarke \"%1\" existiert nicht.").arg(name), source());
    m_selected = key;
}

bool OoxmlDocument::isProtected() const
{
    ensureUsable();
    return m_template->isProtected() && !m_unprotected;
}

bool OoxmlDocument::isEditable(int part, pugi::xml_node node) const
{
    if (!m_template->isProtected() || m_unprotected)
        return true;
    return OoxmlTextEditor::insideEditableRange(m_parts[std::size_t(part)]->document_element(),
                                                node);
}

void OoxmlDocument::refuseProtected() const
{
    throw ZwError(DocumentError::Protected,
                  QStringLiteral("Diese Methode oder Eigenschaft ist nicht verfügbar, weil das "
                                 "Dokument geschützt ist."),
                  source());
}

void OoxmlDocument::unprotect()
{
    ensureUsable();
    if (m_unprotected || !m_template->isProtected())
        return;
    pugi::xml_document& settings = writablePart(m_template->settingsPart());
    pugi::xml_node root = settings.document_element();
    while (pugi::xml_node protection = root.child("w:documentProtection"))
        root.remove_child(protection);
    m_changedParts[std::size_t(m_template->settingsPart())] = true;
    m_unprotected = true;
    m_dirty = true;
}

void OoxmlDocument::typeText(const QString& text)
{
    ensureUsable();
    if (m_selected.empty()) {
        if (m_insertionPart < 0) {
            pugi::xml_document& main = writablePart(OoxmlTemplate::mainPart);
            m_insertion = OoxmlTextEditor::startOf(main.document_element().child("w:body"));
            m_insertionPart = OoxmlTemplate::mainPart;
        }
        const pugi::xml_node at = m_insertion.before ? m_insertion.before : m_insertion.parent;
        if (!isEditable(m_insertionPart, at))
            refuseProtected();
        // Typed text takes the formatting of the character before the insertion point.
        pugi::xml_node probe =
            m_insertion.before ? m_insertion.parent.insert_child_before("zw:at", m_insertion.before)
                               : m_insertion.parent.append_child("zw:at");
        pugi::xml_document holder;
        const pugi::xml_node rPr = OoxmlTextEditor::formattingAt(probe, probe, holder);
        probe.parent().remove_child(probe);
        m_insertion = OoxmlTextEditor::insertText(m_insertion, text, rPr, m_ids);
        m_changedParts[std::size_t(m_insertionPart)] = true;
        m_dirty = true;
        return;
    }

    Bookmark& bookmark = m_bookmarks.at(m_selected);
    for (const Place& place : bookmark.places) {
        if (!isEditable(place.part, place.start))
            refuseProtected();
    }
    // Copies for older readers that lie inside the replaced content go with it.
    std::unordered_set<pugi::xml_node_struct*> removedStarts;
    const auto removed = [&removedStarts](pugi::xml_node start) {
        removedStarts.insert(start.internal_object());
    };
    bool first = true;
    for (const Place& place : bookmark.places) {
        if (removedStarts.count(place.start.internal_object()))
            continue;
        TextPosition after;
        fillPlace(place, text, removed, after);
        m_changedParts[std::size_t(place.part)] = true;
        if (first) {
            m_insertion = after;
            m_insertionPart = place.part;
            first = false;
        }
    }
    if (!removedStarts.empty()) {
        for (auto& [key, other] : m_bookmarks) {
            auto& places = other.places;
            places.erase(std::remove_if(places.begin(), places.end(),
                                        [&removedStarts](const Place& p) {
                                            return removedStarts.count(p.start.internal_object()) >
                                                   0;
                                        }),
                         places.end());
        }
        m_namesValid = false;
    }
    m_selected.clear();
    m_dirty = true;
}

void OoxmlDocument::fillPlace(const Place& place, const QString& text,
                              const OoxmlTextEditor::MarkerRemoved& removed, TextPosition& after)
{
    pugi::xml_document holder;
    pugi::xml_node rPr;
    // Typing into a control that shows its placeholder replaces the placeholder and takes the
    // control's own run formatting, or the placeholder's without the placeholder style.
    if (pugi::xml_node control = placeholderControl(place.start)) {
        pugi::xml_node sdtPr = control.child("w:sdtPr");
        if (pugi::xml_node own = sdtPr.child("w:rPr"))
            rPr = holder.append_copy(own);
        else
            rPr = OoxmlTextEditor::formattingAt(place.start, place.end, holder);
        if (pugi::xml_node style = rPr.child("w:rStyle");
            style && m_template->isPlaceholderStyle(style.attribute("w:val").value()))
            rPr.remove_child(style);
        sdtPr.remove_child("w:showingPlcHdr");
        for (pugi::xml_node run : placeholderRuns(control.child("w:sdtContent")))
            run.parent().remove_child(run);
    } else {
        rPr = OoxmlTextEditor::formattingAt(place.start, place.end, holder);
    }
    TextPosition pos = OoxmlTextEditor::replaceRange(place.start, place.end, removed);
    pos = OoxmlTextEditor::outOfDeletion(pos, m_ids);
    after = OoxmlTextEditor::insertText(pos, text, rPr, m_ids);
}

QByteArray OoxmlDocument::package() const
{
    ensureUsable();
    const OoxmlPackage& package = m_template->package();
    OoxmlZipWriter writer;
    std::vector<std::pair<int, std::string>> written;
    for (const OoxmlPackage::Entry& entry : package.entries()) {
        if (m_template->isDropped(entry.name))
            continue;
        const int part = m_template->partIndex(entry.name);
        const bool changed = part >= 0 && m_changedParts[std::size_t(part)];
        if (changed || (part >= 0 && m_template->part(part).mustRewrite)) {
            const pugi::xml_document& dom =
                changed ? *m_parts[std::size_t(part)] : m_template->part(part).dom;
            written.emplace_back(part, OoxmlXml::serialize(dom, entry.size + entry.size / 8));
            writer.addData(entry.name, written.back().second, m_session->compressionLevel);
        } else if (const auto* replacement = m_template->replacement(entry.name)) {
            writer.addCompressed(entry.name, *replacement);
        } else {
            writer.addCopy(entry.name, package.archive(), entry.index);
        }
    }
    QByteArray bytes = writer.finish();
    verify(written, bytes);
    return bytes;
}

void OoxmlDocument::refuseSave(const QString& cause, const QString& detail) const
{
    const QString shown = m_templatePath.isEmpty() ? QStringLiteral("(leeres Dokument)")
                                                   : QDir::toNativeSeparators(m_templatePath);
    VuLog(LogLevel::Error, QStringLiteral("Prüfung vor dem Speichern (%1): %2").arg(shown, detail));
    throw ZwError(DocumentError::ResultInvalid,
                  QStringLiteral("Das Dokument aus der Vorlage \"%1\" wurde nicht gespeichert, "
                                 "weil es fehlerhaft geworden wäre: %2 Die Vorlage bleibt "
                                 "unverändert.")
                      .arg(shown, cause),
                  source());
}

void OoxmlDocument::verify(std::vector<std::pair<int, std::string>>& written,
                           const QByteArray& bytes) const
{
    if (!m_template->mainIsDocument())
        refuseSave(QStringLiteral("Der Hauptteil wäre nicht als Dokument eingetragen."),
                   QStringLiteral("[Content_Types].xml nennt den Hauptteil nicht als Dokument"));
    for (auto& [part, text] : written) {
        const OoxmlTemplate::Part& original = m_template->part(part);
        const QString name = QString::fromStdString(original.name);
        // Counted before the text is parsed in place (it is compressed already, no copy).
        const OoxmlBookmarks::Census census =
            original.story ? OoxmlBookmarks::census(text) : OoxmlBookmarks::Census();
        const bool validUtf8 = OoxmlXml::isValidUtf8(text.data(), text.size());
        pugi::xml_document dom;
        const pugi::xml_parse_result parsed = dom.load_buffer_inplace(
            text.data(), text.size(), pugi::parse_minimal, pugi::encoding_utf8);
        if (!parsed || !validUtf8)
            refuseSave(QStringLiteral("Ein Teil des Dokuments wäre kein gültiges XML."),
                       QStringLiteral("%1: %2 an Position %3")
                           .arg(name, QString::fromUtf8(parsed.description()))
                           .arg(parsed.offset));
        if (!original.story)
            continue;
        const QString cause = OoxmlBookmarks::compare(original.census, census);
        if (!cause.isEmpty())
            refuseSave(cause, name + QStringLiteral(": ") + cause);
    }
    // The package as a whole must open as a zip archive with every entry in it.
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source =
        zip_source_buffer_create(bytes.constData(), zip_uint64_t(bytes.size()), 0, &error);
    zip_t* zip =
        source ? zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error) : nullptr;
    zip_int64_t count = -1;
    if (zip) {
        count = zip_get_num_entries(zip, 0);
        zip_discard(zip);
    } else if (source) {
        zip_source_free(source);
    }
    zip_error_fini(&error);
    std::size_t expected = 0;
    for (const OoxmlPackage::Entry& entry : m_template->package().entries())
        expected += m_template->isDropped(entry.name) ? 0 : 1;
    if (count < 0 || std::size_t(count) != expected)
        refuseSave(QStringLiteral("Das ZIP-Archiv wäre unvollständig."),
                   QStringLiteral("%1 statt %2 Einträge").arg(count).arg(expected));
}

QString OoxmlDocument::save(const QString& folder)
{
    ensureUsable();
    QString target = folder;
    if (target.isEmpty()) {
        target = m_session->outputFolder;
        // The user's documents folder may not exist yet on a fresh account.
        if (m_session->outputFolderIsDefault)
            QDir().mkpath(target);
    }
    m_savedPath = UniqueFileWriter::write(target, documentBaseName(), QStringLiteral(".docx"),
                                          package(), m_session->syncToDisk);
    m_dirty = false;
    return m_savedPath;
}

QString OoxmlDocument::present()
{
    ensureUsable();
    if (m_savedPath.isEmpty() || m_dirty)
        save();
    if (m_session->visible && m_session->opener)
        m_session->opener(m_savedPath);
    return m_savedPath;
}

void OoxmlDocument::close(bool saveChanges)
{
    if (m_closed)
        return;
    if (saveChanges && m_dirty)
        save();
    m_closed = true;
    m_bookmarks.clear();
    m_parts.clear();
    m_template.reset();
}
