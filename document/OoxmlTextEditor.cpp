#include "document/OoxmlTextEditor.h"

#include "document/OoxmlXml.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace
{

bool is(const pugi::xml_node& node, const char* name)
{
    return std::strcmp(node.name(), name) == 0;
}

// Containers that hold paragraphs rather than runs.
bool isBlockContainer(const pugi::xml_node& node)
{
    static const char* const names[] = {
        "w:body",    "w:tc",      "w:txbxContent", "w:hdr",       "w:ftr",     "w:footnote",
        "w:endnote", "w:comment", "w:docPartBody", "w:footnotes", "w:endnotes"};
    for (const char* name : names) {
        if (is(node, name))
            return true;
    }
    return node.type() == pugi::node_document;
}

// Property elements (pPr, tcPr, sdtPr, tblGrid ...) are never content to delete.
bool isProperties(const pugi::xml_node& node)
{
    const std::size_t length = std::strlen(node.name());
    return (length > 2 && std::strcmp(node.name() + length - 2, "Pr") == 0) ||
           is(node, "w:tblGrid");
}

struct Marker {
    std::string family;
    bool isStart = false;
};

// Range markers: bookmarks, permissions, comment and move ranges.
bool markerOf(const pugi::xml_node& node, Marker& marker)
{
    const char* name = node.name();
    if (std::strncmp(name, "w:", 2) != 0)
        return false;
    name += 2;
    const std::size_t length = std::strlen(name);
    const bool start = length > 5 && std::strcmp(name + length - 5, "Start") == 0;
    const bool end = length > 3 && std::strcmp(name + length - 3, "End") == 0;
    if (!start && !end)
        return false;
    const std::string family(name, length - (start ? 5 : 3));
    if (family != "bookmark" && family != "perm" && family != "commentRange" &&
        family != "moveFromRange" && family != "moveToRange")
        return false;
    marker.family = family;
    marker.isStart = start;
    return true;
}

pugi::xml_node nextInOrder(pugi::xml_node node)
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

pugi::xml_node previousInOrder(pugi::xml_node node)
{
    if (pugi::xml_node sibling = node.previous_sibling()) {
        while (sibling.last_child())
            sibling = sibling.last_child();
        return sibling;
    }
    return node.parent();
}

bool isAncestorOf(pugi::xml_node ancestor, pugi::xml_node node)
{
    for (node = node.parent(); node; node = node.parent()) {
        if (node == ancestor)
            return true;
    }
    return false;
}

// First (or last) paragraph inside a block element, not counting text boxes inside runs.
pugi::xml_node paragraphInside(pugi::xml_node node, bool first)
{
    if (is(node, "w:p"))
        return node;
    if (is(node, "w:r") || node.type() != pugi::node_element)
        return pugi::xml_node();
    for (pugi::xml_node child = first ? node.first_child() : node.last_child(); child;
         child = first ? child.next_sibling() : child.previous_sibling()) {
        if (pugi::xml_node found = paragraphInside(child, first))
            return found;
    }
    return pugi::xml_node();
}

bool isTextRun(const pugi::xml_node& node)
{
    return is(node, "w:r") && !is(node.parent(), "w:del") && !is(node.parent(), "w:moveFrom");
}

pugi::xml_node firstContent(pugi::xml_node paragraph)
{
    pugi::xml_node pPr = paragraph.child("w:pPr");
    return pPr ? pPr.next_sibling() : paragraph.first_child();
}

void collectAfter(pugi::xml_node node, pugi::xml_node upTo, std::vector<pugi::xml_node>& out)
{
    for (; node && node != upTo; node = node.parent()) {
        for (pugi::xml_node s = node.next_sibling(); s; s = s.next_sibling()) {
            if (!isProperties(s))
                out.push_back(s);
        }
    }
}

void collectBefore(pugi::xml_node node, pugi::xml_node upTo, std::vector<pugi::xml_node>& out)
{
    for (; node && node != upTo; node = node.parent()) {
        for (pugi::xml_node s = node.previous_sibling(); s; s = s.previous_sibling()) {
            if (!isProperties(s))
                out.push_back(s);
        }
    }
}

// Every node strictly between a and b (a before b, neither containing the other), taken
// as the largest whole subtrees.
void collectBetween(pugi::xml_node a, pugi::xml_node b, std::vector<pugi::xml_node>& out)
{
    std::vector<pugi::xml_node> chainA;
    for (pugi::xml_node n = a; n; n = n.parent())
        chainA.push_back(n);
    pugi::xml_node childB = b;
    pugi::xml_node common = b.parent();
    auto inChainA = [&chainA](pugi::xml_node n) {
        for (const pugi::xml_node& c : chainA) {
            if (c == n)
                return true;
        }
        return false;
    };
    while (common && !inChainA(common)) {
        childB = common;
        common = common.parent();
    }
    pugi::xml_node childA = a;
    while (childA.parent() != common)
        childA = childA.parent();
    collectAfter(a, childA, out);
    for (pugi::xml_node s = childA.next_sibling(); s && s != childB; s = s.next_sibling()) {
        if (!isProperties(s))
            out.push_back(s);
    }
    collectBefore(b, childB, out);
}

void collectMarkers(pugi::xml_node node, std::vector<pugi::xml_node>& out)
{
    Marker marker;
    if (markerOf(node, marker)) {
        out.push_back(node);
        return;
    }
    for (pugi::xml_node child : node.children())
        collectMarkers(child, out);
}

pugi::xml_node insertAt(TextPosition pos, const char* name)
{
    return pos.before ? pos.parent.insert_child_before(name, pos.before)
                      : pos.parent.append_child(name);
}

bool needsPreserve(const QString& text)
{
    return !text.isEmpty() &&
           (text.front().isSpace() || text.back().isSpace() || text.contains(QLatin1String("  ")));
}

// Characters XML 1.0 cannot carry; Word drops them as well when typing.
bool isTypable(char16_t c)
{
    return c >= 0x20 && c != 0xFFFE && c != 0xFFFF;
}

} // namespace

pugi::xml_node OoxmlTextEditor::paragraphOf(pugi::xml_node node)
{
    for (; node; node = node.parent()) {
        if (is(node, "w:p"))
            return node;
        if (isBlockContainer(node))
            return pugi::xml_node();
    }
    return pugi::xml_node();
}

void OoxmlTextEditor::moveIntoParagraph(pugi::xml_node start, pugi::xml_node end)
{
    // A marker between paragraphs moves to the start of the next paragraph (a start) or the end
    // of the previous one (an end); Word reads both places as the same. A table (or other
    // block) lying wholly inside the range gets a new paragraph beside it instead: a marker
    // moved into its cells would cut the table apart.
    auto placeStart = [end](pugi::xml_node marker, pugi::xml_node stop) {
        for (pugi::xml_node s = marker.next_sibling(); s && s != stop; s = s.next_sibling()) {
            pugi::xml_node p = paragraphInside(s, true);
            if (!p)
                continue;
            if (p != s && !isAncestorOf(s, end)) {
                s.parent().insert_child_before("w:p", s).append_move(marker);
                return true;
            }
            pugi::xml_node first = firstContent(p);
            if (first)
                p.insert_move_before(marker, first);
            else
                p.append_move(marker);
            return true;
        }
        return false;
    };
    auto placeEnd = [start](pugi::xml_node marker) {
        for (pugi::xml_node s = marker.previous_sibling(); s; s = s.previous_sibling()) {
            pugi::xml_node p = paragraphInside(s, false);
            if (!p)
                continue;
            if (p != s && !isAncestorOf(s, start)) {
                s.parent().insert_child_after("w:p", s).append_move(marker);
                return true;
            }
            p.append_move(marker);
            return true;
        }
        return false;
    };

    const bool startOutside = !paragraphOf(start);
    const bool endOutside = !paragraphOf(end);
    const bool siblings = start.parent() == end.parent();
    if (startOutside && !placeStart(start, siblings ? end : pugi::xml_node())) {
        // Nothing to hold the start before the end: give the bookmark a paragraph of its own.
        pugi::xml_node p = start.parent().insert_child_before("w:p", start);
        p.append_move(start);
        if (endOutside && siblings) {
            p.append_move(end);
            return;
        }
    }
    if (endOutside && !placeEnd(end))
        paragraphOf(start).append_move(end);
}

namespace
{

pugi::xml_node nextSkipping(pugi::xml_node node)
{
    while (node) {
        if (node.next_sibling())
            return node.next_sibling();
        node = node.parent();
    }
    return pugi::xml_node();
}

bool hasChild(const pugi::xml_node& node, const char* name)
{
    return bool(node.child(name));
}

bool insideFallback(pugi::xml_node node)
{
    for (node = node.parent(); node; node = node.parent()) {
        if (is(node, "mc:Fallback"))
            return true;
    }
    return false;
}

// Bookmark starts inside a subtree, without recursion.
void bookmarkStartsIn(pugi::xml_node root, const OoxmlTextEditor::MarkerRemoved& removed)
{
    if (!removed)
        return;
    OoxmlXml::forEachBelow(root, [&removed](pugi::xml_node n) {
        if (is(n, "w:bookmarkStart"))
            removed(n);
        return true;
    });
}

} // namespace

TextPosition OoxmlTextEditor::replaceRange(pugi::xml_node start, pugi::xml_node end,
                                           const MarkerRemoved& removed)
{
    if (!paragraphOf(start) || !paragraphOf(end))
        moveIntoParagraph(start, end);
    pugi::xml_node ps = paragraphOf(start);
    pugi::xml_node pe = paragraphOf(end);

    std::vector<pugi::xml_node> doomed;
    bool merge = false;
    if (ps == pe) {
        collectBetween(start, end, doomed);
    } else if (!isAncestorOf(ps, pe) && !isAncestorOf(pe, ps)) {
        collectAfter(start, ps, doomed);
        collectBefore(end, pe, doomed);
        collectBetween(ps, pe, doomed);
        merge = ps.parent() == pe.parent();
    }

    // What must survive the deletion, in document order: markers of other ranges, field
    // structure, references to comments and notes.
    std::vector<pugi::xml_node> markers, fieldRuns, references;
    for (pugi::xml_node n = nextInOrder(start); n && n != end;) {
        Marker marker;
        if (is(n, "mc:Fallback")) {
            bookmarkStartsIn(n, removed);
            n = nextSkipping(n);
        } else if (markerOf(n, marker)) {
            if (insideFallback(n)) {
                if (marker.isStart && marker.family == "bookmark" && removed)
                    removed(n);
            } else {
                markers.push_back(n);
            }
            n = nextSkipping(n);
        } else if (is(n, "w:r") && (hasChild(n, "w:fldChar") || hasChild(n, "w:instrText"))) {
            fieldRuns.push_back(n);
            n = nextSkipping(n);
        } else if (is(n, "w:r") &&
                   (hasChild(n, "w:commentReference") || hasChild(n, "w:footnoteReference") ||
                    hasChild(n, "w:endnoteReference"))) {
            references.push_back(n);
            n = nextSkipping(n);
        } else {
            // Other runs are searched too: a text box inside one holds markers of its own.
            n = nextInOrder(n);
        }
    }

    std::vector<pugi::xml_node> before, inside, after; // where each survivor goes
    std::map<std::string, int> seen;
    auto markerKey = [](const pugi::xml_node& m) {
        Marker marker;
        markerOf(m, marker);
        return marker.family + '#' + m.attribute("w:id").value();
    };
    for (const pugi::xml_node& m : markers)
        ++seen[markerKey(m)];
    // Survivors are placed in document order; collect them first, then sort into the three.
    std::vector<std::pair<pugi::xml_node, int>> placed; // node, 0 before / 1 inside / 2 after
    for (const pugi::xml_node& m : markers) {
        Marker marker;
        markerOf(m, marker);
        const int where = seen[markerKey(m)] > 1 ? 1 : (marker.isStart ? 2 : 0);
        placed.emplace_back(m, where);
    }
    // A field wholly inside goes; one cut by the range keeps its begin, code, separator and
    // end, on the side of the range where the rest of the field lies.
    std::vector<std::vector<pugi::xml_node>> open;
    for (const pugi::xml_node& run : fieldRuns) {
        const char* type = run.child("w:fldChar").attribute("w:fldCharType").value();
        if (std::strcmp(type, "begin") == 0) {
            open.push_back({run});
        } else if (open.empty()) {
            placed.emplace_back(run, 0);
        } else if (std::strcmp(type, "end") == 0) {
            open.pop_back();
        } else {
            open.back().push_back(run);
        }
    }
    for (const auto& field : open) {
        for (const pugi::xml_node& run : field)
            placed.emplace_back(run, 2);
    }
    for (const pugi::xml_node& run : references)
        placed.emplace_back(run, 1);
    // Restore document order across the three sources.
    std::unordered_map<pugi::xml_node_struct*, std::size_t> order;
    if (placed.size() > 1) {
        std::size_t i = 0;
        for (pugi::xml_node n = nextInOrder(start); n && n != end; n = nextInOrder(n))
            order[n.internal_object()] = i++;
    }
    std::stable_sort(placed.begin(), placed.end(), [&order](const auto& a, const auto& b) {
        return order[a.first.internal_object()] < order[b.first.internal_object()];
    });
    std::unordered_set<pugi::xml_node_struct*> survivors;
    for (const auto& [node, where] : placed) {
        survivors.insert(node.internal_object());
        (where == 0 ? before : where == 1 ? inside : after).push_back(node);
    }

    for (const pugi::xml_node& n : before)
        start.parent().insert_move_before(n, start);
    pugi::xml_node lastAfter = end;
    for (const pugi::xml_node& n : after) {
        end.parent().insert_move_after(n, lastAfter);
        lastAfter = n;
    }
    pugi::xml_node lastInside = start;
    for (const pugi::xml_node& n : inside) {
        start.parent().insert_move_after(n, lastInside);
        lastInside = n;
    }

    for (pugi::xml_node node : doomed) {
        // A doomed node may lie inside another doomed node already removed, or be a survivor.
        if (!node.parent() || survivors.count(node.internal_object()))
            continue;
        if (is(node, "w:tc")) {
            // A cell goes empty; removing it would leave its row short of the grid's columns.
            for (pugi::xml_node child = node.first_child(); child;) {
                pugi::xml_node next = child.next_sibling();
                if (!is(child, "w:tcPr"))
                    node.remove_child(child);
                child = next;
            }
            node.append_child("w:p");
            continue;
        }
        node.parent().remove_child(node);
    }

    if (merge) {
        pugi::xml_node mergedPr = pe.child("w:pPr");
        for (pugi::xml_node child = firstContent(pe); child;) {
            pugi::xml_node next = child.next_sibling();
            ps.append_move(child);
            child = next;
        }
        // A section break ends with the later paragraph mark; keep it.
        if (pugi::xml_node sectPr = mergedPr.child("w:sectPr")) {
            pugi::xml_node pPr = ps.child("w:pPr");
            if (!pPr)
                pPr = ps.prepend_child("w:pPr");
            if (pugi::xml_node old = pPr.child("w:sectPr"))
                pPr.remove_child(old);
            pPr.append_move(sectPr);
        }
        pe.parent().remove_child(pe);
    }
    return TextPosition{lastInside.parent(), lastInside.next_sibling()};
}

pugi::xml_node OoxmlTextEditor::formattingAt(pugi::xml_node start, pugi::xml_node end,
                                             pugi::xml_document& holder)
{
    pugi::xml_node run;
    for (pugi::xml_node n = start == end ? end : nextInOrder(start); n && n != end;
         n = nextInOrder(n)) {
        if (isTextRun(n)) {
            run = n;
            break;
        }
    }
    const pugi::xml_node paragraph = paragraphOf(start);
    if (!run && paragraph) {
        for (pugi::xml_node n = previousInOrder(start); n && n != paragraph;
             n = previousInOrder(n)) {
            if (isTextRun(n) && paragraphOf(n) == paragraph) {
                run = n;
                break;
            }
        }
    }
    const pugi::xml_node endParagraph = paragraphOf(end);
    if (!run && endParagraph) {
        for (pugi::xml_node n = nextInOrder(end); n && isAncestorOf(endParagraph, n);
             n = nextInOrder(n)) {
            if (isTextRun(n) && paragraphOf(n) == endParagraph) {
                run = n;
                break;
            }
        }
    }
    pugi::xml_node source;
    if (run)
        source = run.child("w:rPr");
    else if (paragraph)
        source = paragraph.child("w:pPr").child("w:rPr");
    if (!source)
        return pugi::xml_node();
    pugi::xml_node copy = holder.append_copy(source);
    static const char* const revisions[] = {"w:rPrChange", "w:ins", "w:del", "w:moveFrom",
                                            "w:moveTo"};
    for (const char* name : revisions) {
        while (pugi::xml_node child = copy.child(name))
            copy.remove_child(child);
    }
    return copy;
}

namespace
{

// Gives every w:id in the subtree a fresh id: the subtree is a copy of elements that must stay
// unique (content controls, tracked changes, property changes).
void renumber(pugi::xml_node root, OoxmlTextEditor::Ids& ids)
{
    OoxmlXml::forEachBelow(root, [&ids](pugi::xml_node n) {
        if (pugi::xml_attribute id = n.attribute("w:id"))
            id.set_value(ids.take().c_str());
        // A content control's id is an element of its properties.
        if (is(n, "w:id") && is(n.parent(), "w:sdtPr"))
            n.attribute("w:val").set_value(ids.take().c_str());
        return true;
    });
}

} // namespace

std::vector<pugi::xml_node> OoxmlTextEditor::splitAt(TextPosition pos, pugi::xml_node top, Ids& ids)
{
    // Every element from the position up to top is split; the second halves, with copies of
    // the attributes and properties of the first, follow top and receive what lay after pos.
    std::vector<pugi::xml_node> levels;
    for (pugi::xml_node n = pos.parent; n && n != top; n = n.parent())
        levels.push_back(n);
    levels.push_back(top);
    std::vector<pugi::xml_node> clones(levels.size());
    pugi::xml_node container = top.parent();
    pugi::xml_node anchor = top;
    for (std::size_t i = levels.size(); i-- > 0;) {
        pugi::xml_node clone = i + 1 == levels.size()
                                   ? container.insert_child_after(levels[i].name(), anchor)
                                   : clones[i + 1].append_child(levels[i].name());
        if (!is(levels[i], "w:p")) {
            for (pugi::xml_attribute a : levels[i].attributes())
                clone.append_copy(a);
        }
        for (pugi::xml_node child : levels[i].children()) {
            if (isProperties(child))
                clone.append_copy(child);
        }
        renumber(clone, ids);
        clones[i] = clone;
    }
    for (pugi::xml_node n = pos.before; n;) {
        pugi::xml_node following = n.next_sibling();
        clones[0].append_move(n);
        n = following;
    }
    for (std::size_t i = 0; i + 1 < levels.size(); ++i) {
        for (pugi::xml_node n = levels[i].next_sibling(); n;) {
            pugi::xml_node following = n.next_sibling();
            clones[i + 1].append_move(n);
            n = following;
        }
    }
    return clones;
}

TextPosition OoxmlTextEditor::splitParagraph(TextPosition pos, Ids& ids)
{
    pugi::xml_node paragraph = is(pos.parent, "w:p") ? pos.parent : paragraphOf(pos.parent);
    if (!paragraph)
        return pos;
    // Elements between the paragraph and the position (hyperlinks, fields, content controls)
    // are split as well: their second halves open the new paragraph.
    const std::vector<pugi::xml_node> clones = splitAt(pos, paragraph, ids);
    // The section break stays with the paragraph mark, which now ends the second half.
    if (pugi::xml_node sectPr = paragraph.child("w:pPr").child("w:sectPr"))
        paragraph.child("w:pPr").remove_child(sectPr);
    return TextPosition{clones.front(), pos.before};
}

TextPosition OoxmlTextEditor::outOfDeletion(TextPosition pos, Ids& ids)
{
    pugi::xml_node deletion;
    for (pugi::xml_node n = pos.parent; n && !is(n, "w:p") && !isBlockContainer(n);
         n = n.parent()) {
        if (is(n, "w:del") || is(n, "w:moveFrom"))
            deletion = n;
    }
    if (!deletion)
        return pos;
    pugi::xml_node second = splitAt(pos, deletion, ids).back();
    if (!second.first_child())
        second.parent().remove_child(second);
    return TextPosition{deletion.parent(), deletion.next_sibling()};
}

TextPosition OoxmlTextEditor::insertText(TextPosition pos, const QString& text, pugi::xml_node rPr,
                                         Ids& ids)
{
    pugi::xml_node run;
    QString segment;
    auto ensureRun = [&] {
        if (!run) {
            run = insertAt(pos, "w:r");
            if (rPr)
                run.append_copy(rPr);
        }
    };
    auto flush = [&] {
        if (segment.isEmpty())
            return;
        ensureRun();
        pugi::xml_node t = run.append_child("w:t");
        if (needsPreserve(segment))
            t.append_attribute("xml:space") = "preserve";
        t.append_child(pugi::node_pcdata).set_value(segment.toUtf8().constData());
        segment.clear();
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        if (c == u'\r' || c == u'\n') {
            flush();
            if (c == u'\r' && i + 1 < text.size() && text.at(i + 1) == u'\n')
                ++i;
            pos = splitParagraph(pos, ids);
            run = pugi::xml_node();
        } else if (c == u'\t' || c == u'\v' || c == u'\f') {
            flush();
            ensureRun();
            pugi::xml_node mark = run.append_child(c == u'\t' ? "w:tab" : "w:br");
            if (c == u'\f')
                mark.append_attribute("w:type") = "page";
        } else if (QChar::isSurrogate(c)) {
            // Only a complete pair is a character.
            if (QChar::isHighSurrogate(c) && i + 1 < text.size() &&
                text.at(i + 1).isLowSurrogate()) {
                segment.append(text.at(i));
                segment.append(text.at(++i));
            }
        } else if (isTypable(c)) {
            segment.append(QChar(c));
        }
    }
    flush();
    return pos;
}

TextPosition OoxmlTextEditor::startOf(pugi::xml_node body)
{
    pugi::xml_node paragraph = paragraphInside(body, true);
    if (!paragraph) {
        pugi::xml_node sectPr = body.child("w:sectPr");
        paragraph = sectPr ? body.insert_child_before("w:p", sectPr) : body.append_child("w:p");
    }
    return TextPosition{paragraph, firstContent(paragraph)};
}

bool OoxmlTextEditor::insideEditableRange(pugi::xml_node root, pugi::xml_node node)
{
    std::map<std::string, int> open;
    int depth = 0;
    for (pugi::xml_node n = root; n; n = nextInOrder(n)) {
        if (n == node)
            return depth > 0;
        if (is(n, "w:permStart")) {
            ++open[n.attribute("w:id").value()];
            ++depth;
        } else if (is(n, "w:permEnd")) {
            auto it = open.find(n.attribute("w:id").value());
            if (it != open.end() && it->second > 0) {
                --it->second;
                --depth;
            }
        }
    }
    return false;
}
