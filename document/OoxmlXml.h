#pragma once

#include <QString>
#include <pugixml.hpp>
#include <string>

// The one way this engine parses and writes package XML. Whitespace-only text (a run of one
// blank) and the declaration with its standalone="yes" must survive a round trip unchanged.
namespace OoxmlXml
{

constexpr unsigned parseFlags =
    pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_declaration;
constexpr unsigned saveFlags = pugi::format_raw | pugi::format_no_declaration;

// What parse() found beyond the elements themselves.
struct ParseInfo {
    // The part as stored must not be copied into a document: it carries a document type
    // declaration (which Word refuses) or declares an encoding it is not written in. It is
    // written anew from the tree even when nothing in it changes.
    bool mustRewrite = false;
};

// Parses a part in the encoding it declares (UTF-8, UTF-16 LE/BE with or without byte order
// mark, ISO-8859-1, and any other encoding the declaration names and Qt knows). The tree is
// then in UTF-8 and its declaration says so, so that serialize() writes a part that is what it
// claims to be. Prefixes of the namespaces this engine looks for are made the usual ones
// ("w:", "mc:", unprefixed relationships and content types): namespaces are URIs, and a part
// written with "ns0:" means the same. On failure returns the German reason (empty on success).
QString parse(pugi::xml_document& dom, const std::string& text, ParseInfo* info = nullptr);
// sizeHint: the expected size, reserved up front (a large part grows otherwise by copying).
std::string serialize(const pugi::xml_document& dom, std::size_t sizeHint = 0);

// Whether text is valid UTF-8 (no overlong forms, no surrogates, nothing above U+10FFFF).
bool isValidUtf8(const char* data, std::size_t size);

// Resolves a relationship target against the folder of the part that owns the relationship
// ("word/document.xml" + "header1.xml" -> "word/header1.xml"; "/x" -> "x"; ".." climbs).
std::string resolveTarget(const std::string& sourcePart, const std::string& target);
// "word/document.xml" -> "word/_rels/document.xml.rels"; "" (the package) -> "_rels/.rels".
std::string relsPathOf(const std::string& part);
// The part a relationships part belongs to ("word/_rels/document.xml.rels" -> "word/document.xml").
std::string sourceOfRels(const std::string& relsPath);

// Visits root and every node below it in document order, without recursion (the depth of a
// part is the input's to choose). visit(node) returns false to pass over the node's children.
template <typename Visit> void forEachBelow(pugi::xml_node root, const Visit& visit)
{
    for (pugi::xml_node n = root; n;) {
        if (visit(n) && n.first_child()) {
            n = n.first_child();
            continue;
        }
        while (n != root && !n.next_sibling())
            n = n.parent();
        if (n == root)
            break;
        n = n.next_sibling();
    }
}

// Last segment of a relationship type URI ("…/relationships/header" -> "header").
std::string relationshipKind(const char* type);

} // namespace OoxmlXml
