#include "document/OoxmlDocument.h"

#include "document/DocumentErrors.h"
#include "document/OoxmlTemplate.h"
#include "document/OoxmlXml.h"
#include "document/OoxmlZipWriter.h"
#include "document/UniqueFileWriter.h"
#include "util/ZwError.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cstring>
#include <deque>
#include <unordered_set>

namespace
{

QString source()
{
    return QStringLiteral("Zettelwerk DOCX");
}

std::string keyOf(const QString& name)
{
    return name.toLower().toStdString();
}

pugi::xml_node nextElement(pugi::xml_node node)
{
    if (node.first_child())
        return node.first_child();
    while (node) {
        if (node.next_sibling())
            return node.next_sibling();
        node = node.parent();
    }
    return pugi::xml_node();
}

} // namespace

OoxmlDocument::OoxmlDocument(std::shared_ptr<const OoxmlTemplate> source, QString templatePath,
                             std::shared_ptr<OoxmlSession> session)
    : m_template(std::move(source)), m_templatePath(std::move(templatePath)),
      m_session(std::move(session))
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
    for (int i = 0; i < m_template->partCount(); ++i) {
        const OoxmlTemplate::Part& part = m_template->part(i);
        if (!part.story || !part.hasBookmarks)
            continue;
        pugi::xml_document& dom = self->writablePart(i);
        // A start pairs with the next end of the same id; the copies of a text box kept for
        // older readers (mc:Fallback) thus give a second place of the same bookmark.
        std::unordered_map<std::string, std::deque<std::pair<std::string, std::size_t>>> open;
        for (pugi::xml_node n = dom.first_child(); n; n = nextElement(n)) {
            const char* name = n.name();
            if (name[0] != 'w' || std::strncmp(name, "w:bookmark", 10) != 0)
                continue;
            const std::string id = n.attribute("w:id").value();
            if (std::strcmp(name + 10, "Start") == 0) {
                const QString bookmarkName = QString::fromUtf8(n.attribute("w:name").value());
                if (bookmarkName.isEmpty())
                    continue;
                Bookmark& bookmark = m_bookmarks[keyOf(bookmarkName)];
                if (bookmark.name.isEmpty())
                    bookmark.name = bookmarkName;
                bookmark.places.push_back(Place{i, n, pugi::xml_node()});
                open[id].emplace_back(keyOf(bookmarkName), bookmark.places.size() - 1);
            } else if (std::strcmp(name + 10, "End") == 0) {
                auto it = open.find(id);
                if (it == open.end() || it->second.empty())
                    continue;
                const auto [key, place] = it->second.front();
                it->second.pop_front();
                m_bookmarks[key].places[place].end = n;
            }
        }
    }
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
        m_insertion = OoxmlTextEditor::insertText(m_insertion, text, rPr);
        m_changedParts[std::size_t(m_insertionPart)] = true;
        m_dirty = true;
        return;
    }

    Bookmark& bookmark = m_bookmarks.at(m_selected);
    for (const Place& place : bookmark.places) {
        if (!isEditable(place.part, place.start))
            refuseProtected();
    }
    std::unordered_set<pugi::xml_node_struct*> removedStarts;
    const auto removed = [&removedStarts](pugi::xml_node start) {
        removedStarts.insert(start.internal_object());
    };
    bool first = true;
    for (Place& place : bookmark.places) {
        if (removedStarts.count(place.start.internal_object()))
            continue;
        if (!place.end) {
            // A start without an end is read as an empty bookmark.
            place.end = place.start.parent().insert_child_after("w:bookmarkEnd", place.start);
            place.end.append_attribute("w:id") = place.start.attribute("w:id").value();
        }
        pugi::xml_document holder;
        const pugi::xml_node rPr = OoxmlTextEditor::formattingAt(place.start, place.end, holder);
        TextPosition pos = OoxmlTextEditor::replaceRange(place.start, place.end, removed);
        pos = OoxmlTextEditor::insertText(pos, text, rPr);
        m_changedParts[std::size_t(place.part)] = true;
        if (first) {
            m_insertion = pos;
            m_insertionPart = place.part;
            first = false;
        }
    }
    if (!removedStarts.empty()) {
        // Bookmarks that lay wholly inside the replaced content are gone, as in Word.
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

QByteArray OoxmlDocument::package() const
{
    ensureUsable();
    const OoxmlPackage& package = m_template->package();
    OoxmlZipWriter writer;
    for (const OoxmlPackage::Entry& entry : package.entries()) {
        if (m_template->isDropped(entry.name))
            continue;
        const int part = m_template->partIndex(entry.name);
        if (part >= 0 && m_changedParts[std::size_t(part)]) {
            writer.addData(entry.name, OoxmlXml::serialize(*m_parts[std::size_t(part)]),
                           m_session->compressionLevel);
        } else if (const auto* replacement = m_template->replacement(entry.name)) {
            writer.addCompressed(entry.name, *replacement);
        } else {
            writer.addCopy(entry.name, package.archive(), entry.index);
        }
    }
    return writer.finish();
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
