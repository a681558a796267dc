#pragma once

#include <QString>
#include <functional>
#include <pugixml.hpp>

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

    // Closest paragraph holding the node; empty when the node lies between paragraphs.
    static pugi::xml_node paragraphOf(pugi::xml_node node);

    // Deletes everything between start and end (both kept), merging the paragraphs they lie in.
    // Bookmarks wholly inside go (removed is told of each); ranges reaching outside shrink.
    // Returns the position right after start.
    static TextPosition replaceRange(pugi::xml_node start, pugi::xml_node end,
                                     const MarkerRemoved& removed);

    // Copies the run properties that text typed over start..end takes: the first run inside,
    // else the run before, else the run after, else the paragraph mark's. Returns the copy in
    // holder, or an empty node when there is no formatting.
    static pugi::xml_node formattingAt(pugi::xml_node start, pugi::xml_node end,
                                       pugi::xml_document& holder);

    // Types text at pos; returns the position after it. See EngineDocument::typeText().
    static TextPosition insertText(TextPosition pos, const QString& text, pugi::xml_node rPr);

    // Start of the first paragraph of a body (created when there is none).
    static TextPosition startOf(pugi::xml_node body);

    // Whether the node lies inside an editing permission range (w:permStart .. w:permEnd)
    // of the part whose root is given.
    static bool insideEditableRange(pugi::xml_node root, pugi::xml_node node);

private:
    static TextPosition splitParagraph(TextPosition pos);
    static void moveIntoParagraph(pugi::xml_node start, pugi::xml_node end);
};
