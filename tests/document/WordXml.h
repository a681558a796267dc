#pragma once

// Pieces of WordprocessingML body text, for templates the tests write themselves.

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
inline std::string textBox(const std::string& content)
{
    return "<w:p><w:r><mc:AlternateContent><mc:Choice Requires=\"wps\"><w:drawing><wps:wsp>"
           "<wps:txbx><w:txbxContent>" +
           content +
           "</w:txbxContent></wps:txbx></wps:wsp></w:drawing></mc:Choice><mc:Fallback><w:pict>"
           "<v:shape><v:textbox><w:txbxContent>" +
           content +
           "</w:txbxContent></v:textbox></v:shape></w:pict></mc:Fallback></mc:AlternateContent>"
           "</w:r></w:p>";
}

} // namespace WordXml
