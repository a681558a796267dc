#pragma once

// Pieces of WordprocessingML body text, for templates the tests write themselves.

#include <initializer_list>
#include <string>

namespace WordXml
{

inline std::string run(const std::string& text, const std::string& rPr = std::string())
{
    return "<w:r>" + rPr + "<w:t xml:space=\"preserve\">" + text + "</w:t></w:r>";
}

inline std::string start(int id, const std::string& name)
{
    return "<w:bookmarkStart w:id=\"" + std::to_string(id) + "\" w:name=\"" + name + "\"/>";
}

inline std::string end(int id)
{
    return "<w:bookmarkEnd w:id=\"" + std::to_string(id) + "\"/>";
}

inline std::string para(const std::string& content, const std::string& pPr = std::string())
{
    return "<w:p>" + pPr + content + "</w:p>";
}

// Word writes a text box twice: for current readers and as VML for older ones.
inline std::string textBoxRun(const std::string& content)
{
    return "<w:r><mc:AlternateContent><mc:Choice Requires=\"wps\"><w:drawing><wps:wsp><wps:txbx>"
           "<w:txbxContent>" +
           content +
           "</w:txbxContent></wps:txbx></wps:wsp></w:drawing></mc:Choice><mc:Fallback><w:pict>"
           "<v:shape><v:textbox><w:txbxContent>" +
           content +
           "</w:txbxContent></v:textbox></v:shape></w:pict></mc:Fallback></mc:AlternateContent></"
           "w:r>";
}

inline std::string textBox(const std::string& content)
{
    return para(textBoxRun(content));
}

inline std::string field(const char* type)
{
    return std::string("<w:r><w:fldChar w:fldCharType=\"") + type + "\"/></w:r>";
}

// A table of one row with the given cells.
inline std::string tableRow(std::initializer_list<std::string> cells)
{
    std::string row = "<w:tbl><w:tblPr/><w:tblGrid><w:gridCol/><w:gridCol/></w:tblGrid><w:tr>";
    for (const std::string& cell : cells)
        row += "<w:tc><w:tcPr><w:tcW w:w=\"2000\" w:type=\"dxa\"/></w:tcPr>" + cell + "</w:tc>";
    return row + "</w:tr></w:tbl>";
}

} // namespace WordXml
