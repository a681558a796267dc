#pragma once

#include <QString>
#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// The bookmarks of a document as Word reads them, which is also what LibreOffice keeps when it
// reads the file back:
// - a bookmark is a w:bookmarkStart with a name and the next w:bookmarkEnd of the same id after
//   it in the same part; a start without such an end, or an end without a start, is no
//   bookmark (LibreOffice writes such stray markers; they are kept, never filled);
// - a name (compared without regard to case) belongs to the first such pair in document
//   order, main text first, then the other parts in the order given; later pairs of the same
//   name are no bookmark of that name;
// - the copy of a text box that Word keeps for older readers (mc:Fallback) repeats the
//   bookmark; that copy is a second place of the same bookmark and is filled alike.
class OoxmlBookmarks
{
public:
    struct Place {
        int part = -1;
        pugi::xml_node start;
        pugi::xml_node end;
    };
    struct Bookmark {
        QString name;
        // The first place is the one Word shows; further places are copies for older readers.
        std::vector<Place> places;
    };
    struct Story {
        int part = -1;
        pugi::xml_node root;
    };

    // Bookmarks of the stories by lower-case UTF-8 name.
    static std::unordered_map<std::string, Bookmark> scan(const std::vector<Story>& stories);

    // What the check before saving compares: the bookmark markers of a part outside the copies
    // for older readers, and the ids that form exactly one start and one end after it.
    struct Census {
        std::size_t markers = 0;
        std::vector<std::string> pairedIds; // sorted
    };
    // Counted in the part's text as this engine writes it (UTF-8, usual prefixes, attributes in
    // double quotes): a scan of the text is several times faster than a walk of the tree.
    static Census census(std::string_view xml);
    // Why a part whose markers were counted as `before` must not be written with `after`;
    // empty when every marker is still there and every pair still pairs. German.
    static QString compare(const Census& before, const Census& after);

    static std::string keyOf(const QString& name);
    static bool isFallback(const pugi::xml_node& node);
};
