#include "document/OoxmlTextEditor.h"

#include <cstring>
#include <map>
#include <string>
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
    // of the previous one (an end); Word reads both places as the same.
    auto placeStart = [](pugi::xml_node marker, pugi::xml_node stop) {
        for (pugi::xml_node s = marker.next_sibling(); s && s != stop; s = s.next_sibling()) {
            if (pugi::xml_node p = paragraphInside(s, true)) {
                pugi::xml_node first = firstContent(p);
                if (first)
                    p.insert_move_before(marker, first);
                else
                    p.append_move(marker);
                return true;
            }
        }
        return false;
    };
    auto placeEnd = [](pugi::xml_node marker, pugi::xml_node stop) {
        for (pugi::xml_node s = marker.previous_sibling(); s && s != stop;
             s = s.previous_sibling()) {
            if (pugi::xml_node p = paragraphInside(s, false)) {
                p.append_move(marker);
                return true;
            }
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
    if (endOutside && !placeEnd(end, pugi::xml_node()))
        paragraphOf(start).append_move(end);
}

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

    // Ranges wholly inside go with the content; those reaching outside shrink to the edge.
    std::vector<pugi::xml_node> markers;
    for (const pugi::xml_node& node : doomed)
        collectMarkers(node, markers);
    std::map<std::string, int> seen;
    for (const pugi::xml_node& m : markers) {
        Marker marker;
        markerOf(m, marker);
        ++seen[marker.family + '#' + m.attribute("w:id").value()];
    }
    pugi::xml_node lastMovedStart = end;
    for (pugi::xml_node m : markers) {
        Marker marker;
        markerOf(m, marker);
        if (seen[marker.family + '#' + m.attribute("w:id").value()] > 1) {
            if (marker.isStart && marker.family == "bookmark" && removed)
                removed(m);
            continue;
        }
        if (marker.isStart) {
            end.parent().insert_move_after(m, lastMovedStart);
            lastMovedStart = m;
        } else {
            start.parent().insert_move_before(m, start);
        }
    }
    for (pugi::xml_node node : doomed) {
        // A doomed node may lie inside another doomed node already removed.
        if (node.parent())
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
    return TextPosition{start.parent(), start.next_sibling()};
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

TextPosition OoxmlTextEditor::splitParagraph(TextPosition pos)
{
    pugi::xml_node paragraph = is(pos.parent, "w:p") ? pos.parent : paragraphOf(pos.parent);
    if (!paragraph)
        return pos;
    pugi::xml_node next = paragraph.parent().insert_child_after("w:p", paragraph);
    if (pugi::xml_node pPr = paragraph.child("w:pPr")) {
        next.append_copy(pPr);
        // The section break stays with the paragraph mark, which now ends the second half.
        if (pugi::xml_node sectPr = pPr.child("w:sectPr"))
            pPr.remove_child(sectPr);
    }

    // Elements between the paragraph and the position (hyperlinks, fields, content controls)
    // are split as well: their second halves open the new paragraph.
    std::vector<pugi::xml_node> levels;
    for (pugi::xml_node n = pos.parent; n != paragraph; n = n.parent())
        levels.push_back(n);
    pugi::xml_node target = next;
    std::vector<pugi::xml_node> clones(levels.size());
    for (std::size_t i = levels.size(); i-- > 0;) {
        pugi::xml_node clone = target.append_child(levels[i].name());
        for (pugi::xml_attribute a : levels[i].attributes())
            clone.append_copy(a);
        if (is(levels[i], "w:sdt")) {
            for (pugi::xml_node child : levels[i].children()) {
                if (isProperties(child))
                    clone.append_copy(child);
            }
        }
        clones[i] = clone;
        target = clone;
    }
    pugi::xml_node innermost = levels.empty() ? next : clones[0];
    for (pugi::xml_node n = pos.before; n;) {
        pugi::xml_node following = n.next_sibling();
        innermost.append_move(n);
        n = following;
    }
    for (std::size_t i = 0; i < levels.size(); ++i) {
        pugi::xml_node container = i + 1 < levels.size() ? clones[i + 1] : next;
        for (pugi::xml_node n = levels[i].next_sibling(); n;) {
            pugi::xml_node following = n.next_sibling();
            container.append_move(n);
            n = following;
        }
    }
    return TextPosition{innermost, pos.before};
}

TextPosition OoxmlTextEditor::insertText(TextPosition pos, const QString& text, pugi::xml_node rPr)
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
            pos = splitParagraph(pos);
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
