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

// Parses; on failure returns the German reason (empty on success).
QString parse(pugi::xml_document& dom, const std::string& text);
std::string serialize(const pugi::xml_document& dom);

// Resolves a relationship target against the folder of the part that owns the relationship
// ("word/document.xml" + "header1.xml" -> "word/header1.xml"; "/x" -> "x"; ".." climbs).
std::string resolveTarget(const std::string& sourcePart, const std::string& target);
// "word/document.xml" -> "word/_rels/document.xml.rels"; "" (the package) -> "_rels/.rels".
std::string relsPathOf(const std::string& part);
// The part a relationships part belongs to ("word/_rels/document.xml.rels" -> "word/document.xml").
std::string sourceOfRels(const std::string& relsPath);

// Last segment of a relationship type URI ("…/relationships/header" -> "header").
std::string relationshipKind(const char* type);

} // namespace OoxmlXml
