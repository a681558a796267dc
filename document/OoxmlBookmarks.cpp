#include "document/OoxmlBookmarks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>

namespace
{

// Visits every element below root in document order with whether it lies in a copy kept for
// older readers. Iterative: the depth of a part is the input's to choose.
template <typename Visit> void walk(pugi::xml_node root, const Visit& visit)
{
    int fallback = 0;
    pugi::xml_node n = root.first_child();
    while (n) {
        if (n.type() == pugi::node_element)
            visit(n, fallback > 0);
        if (n.first_child()) {
            if (n.name()[0] == 'm' && OoxmlBookmarks::isFallback(n))
                ++fallback;
            n = n.first_child();
            continue;
        }
        while (n && n != root && !n.next_sibling()) {
            n = n.parent();
            if (n != root && n.name()[0] == 'm' && OoxmlBookmarks::isFallback(n))
                --fallback;
        }
        if (!n || n == root)
            break;
        n = n.next_sibling();
    }
}

bool isMarker(const pugi::xml_node& node, bool& start)
{
    const char* name = node.name();
    if (name[0] != 'w' || name[1] != ':' || name[2] != 'b' ||
        std::strncmp(name, "w:bookmark", 10) != 0)
        return false;
    if (std::strcmp(name + 10, "Start") == 0) {
        start = true;
        return true;
    }
    if (std::strcmp(name + 10, "End") == 0) {
        start = false;
        return true;
    }
    return false;
}

} // namespace

std::string OoxmlBookmarks::keyOf(const QString& name)
{
    return name.toLower().toStdString();
}

bool OoxmlBookmarks::isFallback(const pugi::xml_node& node)
{
    return std::strcmp(node.name(), "mc:Fallback") == 0;
}

std::unordered_map<std::string, OoxmlBookmarks::Bookmark>
OoxmlBookmarks::scan(const std::vector<Story>& stories)
{
    struct Pair {
        int part;
        pugi::xml_node start;
        pugi::xml_node end;
        bool fallback;
    };
    std::vector<Pair> pairs; // in the order of their starts
    for (const Story& story : stories) {
        std::unordered_map<std::string, std::deque<std::size_t>> open;
        walk(story.root, [&](pugi::xml_node n, bool fallback) {
            bool start = false;
            if (!isMarker(n, start))
                return;
            // A text box is a story of its own, and so is each copy of it: a start pairs only
            // with an end in the same one.
            std::string id = n.attribute("w:id").value();
            for (pugi::xml_node up = n.parent(); up && up != story.root; up = up.parent()) {
                if (std::strcmp(up.name(), "w:txbxContent") == 0) {
                    id += '@' +
                          std::to_string(reinterpret_cast<std::uintptr_t>(up.internal_object()));
                    break;
                }
            }
            if (start) {
                if (!*n.attribute("w:name").value())
                    return;
                open[id].push_back(pairs.size());
                pairs.push_back(Pair{story.part, n, pugi::xml_node(), fallback});
                return;
            }
            const auto it = open.find(id);
            if (it == open.end() || it->second.empty())
                return;
            pairs[it->second.front()].end = n;
            it->second.pop_front();
        });
    }

    std::unordered_map<std::string, Bookmark> result;
    // Places Word shows first, then the copies for older readers.
    for (int pass = 0; pass < 2; ++pass) {
        for (const Pair& pair : pairs) {
            if (!pair.end || pair.fallback != (pass == 1))
                continue;
            const QString name = QString::fromUtf8(pair.start.attribute("w:name").value());
            Bookmark& bookmark = result[keyOf(name)];
            if (bookmark.places.empty()) {
                bookmark.name = name;
            } else if (pass == 0) {
                continue; // a later pair of a name already taken
            }
            bookmark.places.push_back(Place{pair.part, pair.start, pair.end});
        }
    }
    return result;
}

OoxmlBookmarks::Census OoxmlBookmarks::census(std::string_view xml)
{
    struct Count {
        int starts = 0;
        int ends = 0;
        bool ordered = true;
    };
    std::map<std::string_view, Count> counts;
    Census result;
    const char* p = xml.data();
    const char* const end = p + xml.size();
    auto startsWith = [&end](const char* at, std::string_view word) {
        return std::size_t(end - at) > word.size() &&
               std::memcmp(at, word.data(), word.size()) == 0 &&
               (at[word.size()] == ' ' || at[word.size()] == '/' || at[word.size()] == '>');
    };
    int fallback = 0;
    while ((p = static_cast<const char*>(std::memchr(p, '<', std::size_t(end - p))))) {
        ++p;
        const char* close = static_cast<const char*>(std::memchr(p, '>', std::size_t(end - p)));
        if (!close)
            break;
        if (startsWith(p, "mc:Fallback")) {
            if (close[-1] != '/')
                ++fallback;
        } else if (startsWith(p, "/mc:Fallback")) {
            fallback = std::max(0, fallback - 1);
        } else if (fallback == 0) {
            const bool start = startsWith(p, "w:bookmarkStart");
            if (start || startsWith(p, "w:bookmarkEnd")) {
                ++result.markers;
                const std::string_view tag(p, std::size_t(close - p));
                std::string_view id;
                if (const std::size_t at = tag.find(" w:id=\""); at != std::string_view::npos) {
                    const std::size_t from = at + 7;
                    const std::size_t quote = tag.find('"', from);
                    if (quote != std::string_view::npos)
                        id = tag.substr(from, quote - from);
                }
                Count& count = counts[id];
                if (start) {
                    ++count.starts;
                } else {
                    if (count.starts == 0)
                        count.ordered = false;
                    ++count.ends;
                }
            }
        }
        p = close + 1;
    }
    for (const auto& [id, count] : counts) {
        if (count.starts == 1 && count.ends == 1 && count.ordered)
            result.pairedIds.emplace_back(id);
    }
    return result;
}

QString OoxmlBookmarks::compare(const Census& before, const Census& after)
{
    if (after.markers != before.markers)
        return QStringLiteral("Es gingen Textmarken verloren oder wurden verdoppelt (%1 statt %2 "
                              "Markierungen).")
            .arg(after.markers)
            .arg(before.markers);
    std::vector<std::string> broken;
    std::set_difference(before.pairedIds.begin(), before.pairedIds.end(), after.pairedIds.begin(),
                        after.pairedIds.end(), std::back_inserter(broken));
    if (!broken.empty())
        return QStringLiteral("Anfang und Ende der Textmarke mit der Kennung %1 passen nicht mehr "
                              "zusammen.")
            .arg(QString::fromStdString(broken.front()));
    return QString();
}
