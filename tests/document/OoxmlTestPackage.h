#pragma once

// Small Office Open XML packages written by the tests themselves, and readers for results.

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <vector>
#include <zip.h>

namespace OoxmlTestPackage
{

inline const char* const wNs =
    "xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\" "
    "xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\" "
    "xmlns:wps=\"http://schemas.microsoft.com/office/word/2010/wordprocessingShape\" "
    "xmlns:v=\"urn:schemas-microsoft-com:vml\"";

inline const char* const templateType =
    "application/vnd.openxmlformats-officedocument.wordprocessingml.template.main+xml";
inline const char* const macroTemplateType =
    "application/vnd.ms-word.template.macroEnabledTemplate.main+xml";
inline const char* const documentType =
    "application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml";

using Entries = std::vector<std::pair<std::string, std::string>>;

inline const char* const xmlDeclaration =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";

inline std::string documentXml(const std::string& body)
{
    return std::string(xmlDeclaration) + "<w:document " + wNs + "><w:body>" + body +
           "<w:sectPr/></w:body></w:document>";
}

inline std::string partXml(const char* root, const std::string& body)
{
    return std::string(xmlDeclaration) + "<" + root + " " + wNs + ">" + body + "</" + root + ">";
}

inline std::string relationshipsXml(const std::string& relationships)
{
    return std::string(xmlDeclaration) +
           R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)" +
           relationships + "</Relationships>";
}

struct Template {
    std::string body;
    std::string header;   // header1.xml content inside w:hdr; empty: none
    std::string footer;   // footer1.xml content inside w:ftr
    std::string settings; // children of w:settings
    const char* mainType = templateType;
    bool macros = false;
    Entries extra;
};

// The package in this order: content types, package relationships, word/document.xml, its
// relationships, then settings, header, footer, macro parts and t.extra.
inline Entries entriesOf(const Template& t)
{
    const std::string officeRel =
        "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
    const std::string wml = "application/vnd.openxmlformats-officedocument.wordprocessingml.";
    std::string types =
        std::string(xmlDeclaration) +
        R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
        R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)"
        R"(<Default Extension="xml" ContentType="application/xml"/>)";
    std::string rels;
    Entries parts;
    // A part under word/, with a content type and a relationship from the main part if given.
    auto add = [&](const std::string& name, const std::string& type, const std::string& relType,
                   const std::string& data) {
        if (!type.empty())
            types += "<Override PartName=\"/word/" + name + "\" ContentType=\"" + type + "\"/>";
        if (!relType.empty())
            rels += "<Relationship Id=\"rId" + std::to_string(parts.size() + 2) + "\" Type=\"" +
                    relType + "\" Target=\"" + name + "\"/>";
        parts.push_back({"word/" + name, data});
    };
    add("settings.xml", wml + "settings+xml", officeRel + "settings",
        partXml("w:settings", t.settings));
    if (!t.header.empty())
        add("header1.xml", wml + "header+xml", officeRel + "header", partXml("w:hdr", t.header));
    if (!t.footer.empty())
        add("footer1.xml", wml + "footer+xml", officeRel + "footer", partXml("w:ftr", t.footer));
    if (t.macros) {
        types += R"(<Default Extension="bin" ContentType="application/vnd.ms-office.vbaProject"/>)";
        add("vbaProject.bin", "",
            "http://schemas.microsoft.com/office/2006/relationships/vbaProject",
            std::string("\xD0\xCF\x11\xE0 macro code", 15));
        add("_rels/vbaProject.bin.rels", "", "",
            relationshipsXml(
                R"(<Relationship Id="rId1" Type="http://schemas.microsoft.com/office/2006/relationships/wordVbaData" Target="vbaData.xml"/>)"));
        add("vbaData.xml", "application/vnd.ms-word.vbaData+xml", "",
            R"(<?xml version="1.0"?><wne:vbaSuppData xmlns:wne="http://schemas.microsoft.com/office/word/2006/wordml"/>)");
    }
    types += "<Override PartName=\"/word/document.xml\" ContentType=\"" + std::string(t.mainType) +
             "\"/></Types>";
    Entries entries = {
        {"[Content_Types].xml", types},
        {"_rels/.rels", relationshipsXml("<Relationship Id=\"rId1\" Type=\"" + officeRel +
                                         "officeDocument\" Target=\"word/document.xml\"/>")},
        {"word/document.xml", documentXml(t.body)},
        {"word/_rels/document.xml.rels", relationshipsXml(rels)},
    };
    entries.insert(entries.end(), parts.begin(), parts.end());
    entries.insert(entries.end(), t.extra.begin(), t.extra.end());
    return entries;
}

// Writes a zip; returns false when libzip refuses.
inline bool writeZip(const QString& path, const Entries& entries)
{
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!zip)
        return false;
    for (const auto& [name, data] : entries) {
        zip_source_t* source = zip_source_buffer(zip, data.data(), data.size(), 0);
        if (zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8) < 0) {
            zip_source_free(source);
            zip_discard(zip);
            return false;
        }
    }
    return zip_close(zip) == 0;
}

// Reads every entry of a zip file (name -> data); empty map when it is no zip.
inline std::map<std::string, std::string> readZip(const QString& path)
{
    std::map<std::string, std::string> result;
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY | ZIP_CHECKCONS, &error);
    if (!zip)
        return result;
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t st;
        zip_stat_index(zip, zip_uint64_t(i), 0, &st);
        std::string data(st.size, '\0');
        zip_file_t* file = zip_fopen_index(zip, zip_uint64_t(i), 0);
        const zip_int64_t got = zip_fread(file, data.data(), st.size);
        zip_fclose(file);
        if (got == zip_int64_t(st.size))
            result[st.name] = data;
    }
    zip_close(zip);
    return result;
}

inline QString textOf(pugi::xml_node node)
{
    QString text;
    for (pugi::xml_node n = node.first_child(); n; n = n.next_sibling()) {
        const std::string name = n.name();
        if (name == "w:t")
            text += QString::fromUtf8(n.text().get());
        else if (name == "w:tab")
            text += QLatin1Char('\t');
        else if (name == "w:br")
            text += QLatin1Char('\v');
        else if (name != "w:pPr" && name != "w:rPr" && name != "mc:Fallback")
            text += textOf(n);
    }
    return text;
}

// Text of every paragraph of a part in document order (text boxes as their own paragraphs
// after the one holding them are not listed separately: mc:Fallback copies are skipped).
inline QStringList paragraphs(pugi::xml_node root)
{
    QStringList result;
    for (pugi::xpath_node p : root.select_nodes("//w:p[not(ancestor::mc:Fallback)]"))
        result.append(textOf(p.node()));
    return result;
}

// Text between the start and end of a bookmark: the first start of that name that has an end
// (a start without one is no bookmark).
inline QString bookmarkTextFrom(pugi::xml_node start);
inline QString bookmarkText(pugi::xml_node root, const char* name)
{
    QString result = QStringLiteral("<missing>");
    root.find_node([name, &result](pugi::xml_node n) {
        if (std::string(n.name()) != "w:bookmarkStart" ||
            std::string(n.attribute("w:name").value()) != name)
            return false;
        result = bookmarkTextFrom(n);
        return result != QLatin1String("<unterminated>");
    });
    return result;
}

inline QString bookmarkTextFrom(pugi::xml_node start)
{
    const std::string id = start.attribute("w:id").value();
    QString text;
    bool paragraphBreak = false;
    for (pugi::xml_node n = start;;) {
        if (n.first_child()) {
            n = n.first_child();
        } else {
            while (n && !n.next_sibling()) {
                n = n.parent();
                if (std::string(n.name()) == "w:p")
                    paragraphBreak = true;
            }
            if (!n)
                return QStringLiteral("<unterminated>");
            n = n.next_sibling();
        }
        const std::string nodeName = n.name();
        if (nodeName == "w:bookmarkEnd" && id == n.attribute("w:id").value())
            return text;
        if (nodeName == "w:p" && paragraphBreak) {
            text += QLatin1Char('\r');
            paragraphBreak = false;
        }
        if (nodeName == "w:t")
            text += QString::fromUtf8(n.text().get());
        else if (nodeName == "w:tab")
            text += QLatin1Char('\t');
    }
}

// What a bookmark holds in whichever part under word/ it lies; "<missing>" in none.
inline QString bookmarkTextInAnyPart(const std::map<std::string, std::string>& entries,
                                     const char* name)
{
    for (const auto& [part, text] : entries) {
        pugi::xml_document dom;
        if (part.rfind("word/", 0) != 0 ||
            !dom.load_string(text.c_str(), pugi::parse_default | pugi::parse_ws_pcdata_single))
            continue;
        const QString inside = bookmarkText(dom, name);
        if (inside != QLatin1String("<missing>"))
            return inside;
    }
    return QStringLiteral("<missing>");
}

} // namespace OoxmlTestPackage
