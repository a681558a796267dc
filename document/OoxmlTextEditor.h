#pragma once

#include <QString>
#include <functional>
#include <pugixml.hpp>
#include <string>
#include <vector>

// A place in a paragraph where text goes: before `before` inside `parent` (at its end when
// `before` is empty). `parent` is a paragraph or an element inside one (hyperlink, field).
struct TextPosition {
    pugi::xml_node parent;
    pugi::xml_node before;
};

// Editing of WordprocessingML text as Word's selection does it: replace what lies between two
// range markers, type text with paragraph marks, tabs and line breaks. Nodes are moved, never
// copied, so handles to markers stay valid across edits.
class OoxmlTextEditor
{
public:
    using MarkerRemoved = std::function<void(pugi::xml_node bookmarkStart)>;

    // Hands out ids (w:id) not yet used in the document, for elements that a split copies:
    // content controls, tracked changes, property changes.
    class Ids
    {
    public:
        explicit Ids(long long next = 1) : m_next(next) {}
        std::string take() { return std::to_string(m_next++); }

    private:
        long long m_next;
    };

    // Closest paragraph holding the node; empty when the node lies between paragraphs.
    static pugi::xml_node paragraphOf(pugi::xml_node node);

    // Deletes everything between start and end (both kept), merging the paragraphs they lie in.
    // No marker of any other range (bookmark, comment, permission, move) is lost: ranges that
    // reach outside shrink to the edge, ranges wholly inside stay, collapsed at the start, as
    // do comment and note references. Fields cut by the range keep their structure (begin,
    // code, separator, end); only their result text inside goes. Table cells are emptied, never
    // removed, so that rows keep the columns of their grid. Markers in copies for older readers
    // (mc:Fallback) go with their copy; removed is told of each bookmark start among them.
    // Returns the position where typed text belongs: after start and what stays inside.
    static TextPosition replaceRange(pugi::xml_node start, pugi::xml_node end,
                                     const MarkerRemoved& removed);

    // A position inside a tracked deletion (w:del, w:moveFrom) moves out of it: the deletion
    // is split there, and the position lies between its halves. Text typed there is not deleted
    // text when the changes are accepted.
    static TextPosition outOfDeletion(TextPosition pos, Ids& ids);

    // Copies the run properties that text typed over start..end takes: the first run inside,
    // else the run before, else the run after, else the paragraph mark's. Returns the copy in
    // holder, or an empty node when there is no formatting.
    static pugi::xml_node formattingAt(pugi::xml_node start, pugi::xml_node end,
                                       pugi::xml_document& holder);

    // Types text at pos; returns the position after it. See EngineDocument::typeText().
    // Elements that a paragraph mark splits take fresh ids from ids.
    static TextPosition insertText(TextPosition pos, const QString& text, pugi::xml_node rPr,
                                   Ids& ids);

    // Start of the first paragraph of a body (created when there is none).
    static TextPosition startOf(pugi::xml_node body);

    // Whether the node lies inside an editing permission range (w:permStart .. w:permEnd)
    // of the part whose root is given.
    static bool insideEditableRange(pugi::xml_node root, pugi::xml_node node);

private:
    static TextPosition splitParagraph(TextPosition pos, Ids& ids);
    static std::vector<pugi::xml_node> splitAt(TextPosition pos, pugi::xml_node top, Ids& ids);
    static void moveIntoParagraph(pugi::xml_node start, pugi::xml_node end);
};
