#pragma once

#include "document/EngineDocument.h"
#include "document/OoxmlBookmarks.h"
#include "document/OoxmlSession.h"
#include "document/OoxmlTextEditor.h"

#include <QByteArray>
#include <QStringList>
#include <memory>
#include <pugixml.hpp>
#include <unordered_map>
#include <vector>

class OoxmlTemplate;

// A document made from an Office Open XML template. It shares the template's parsed parts
// and copies a part only when it is first written to; saving writes only changed parts anew
// and copies every other entry compressed as it is.
class OoxmlDocument : public EngineDocument
{
public:
    OoxmlDocument(std::shared_ptr<const OoxmlTemplate> source, QString templatePath,
                  std::shared_ptr<OoxmlSession> session);
    ~OoxmlDocument() override;

    QString templatePath() const override { return m_templatePath; }
    int bookmarkCount() const override;
    QString bookmarkName(int index) const override;
    bool bookmarkExists(const QString& name) const override;
    void goToBookmark(const QString& name) override;
    void typeText(const QString& text) override;
    bool isProtected() const override;
    void unprotect() override;
    QString save(const QString& folder = QString()) override;
    QString savedPath() const override { return m_savedPath; }
    bool isDirty() const override { return m_dirty; }
    QString present() override;
    void close(bool saveChanges) override;
    bool isClosed() const override { return m_closed; }

    // The .docx as save() writes it.
    QByteArray package() const;

private:
    using Place = OoxmlBookmarks::Place;
    using Bookmark = OoxmlBookmarks::Bookmark;

    void ensureUsable() const;
    pugi::xml_document& writablePart(int index);
    void buildIndex() const;
    const QStringList& names() const;
    bool isEditable(int part, pugi::xml_node node) const;
    [[noreturn]] void refuseProtected() const;
    void fillPlace(const Place& place, const QString& text,
                   const OoxmlTextEditor::MarkerRemoved& removed, TextPosition& after);
    // The check before saving: raises ZwError(ResultInvalid) naming the template and the cause.
    // Parses the written texts in place (they are compressed already).
    void verify(std::vector<std::pair<int, std::string>>& written, const QByteArray& package) const;
    [[noreturn]] void refuseSave(const QString& cause, const QString& detail) const;

    std::shared_ptr<const OoxmlTemplate> m_template;
    QString m_templatePath;
    std::shared_ptr<OoxmlSession> m_session;

    // Own copies of parts, made on first need; empty while the template's is still good.
    mutable std::vector<std::unique_ptr<pugi::xml_document>> m_parts;
    std::vector<bool> m_changedParts;
    mutable std::unordered_map<std::string, Bookmark> m_bookmarks; // by lower-case UTF-8 name
    mutable bool m_indexed = false;
    mutable QStringList m_names;
    mutable bool m_namesValid = false;

    OoxmlTextEditor::Ids m_ids;
    std::string m_selected; // key of the selected bookmark; empty: the insertion point
    TextPosition m_insertion;
    int m_insertionPart = -1;

    bool m_unprotected = false;
    bool m_dirty = false;
    bool m_closed = false;
    QString m_savedPath;
};
