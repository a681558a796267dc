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

inline std::string documentXml(const std::string& body)
{
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
                       "<w:document ") +
           wNs + "><w:body>" + body + "<w:sectPr/></w:body></w:document>";
}

inline std::string partXml(const char* root, const std::string& body)
{
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n<") +
           root + " " + wNs + ">" + body + "</" + root + ">";
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

inline Entries entriesOf(const Template& t)
{
    std::string types =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" "
        "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
    if (t.macros)
        types += "<Default Extension=\"bin\" ContentType=\"application/vnd.ms-office.vbaProject\"/>"
                 "<Override PartName=\"/word/vbaData.xml\" "
                 "ContentType=\"application/vnd.ms-word.vbaData+xml\"/>";
    types += std::string("<Override PartName=\"/word/document.xml\" ContentType=\"") + t.mainType +
             "\"/><Override PartName=\"/word/settings.xml\" "
             "ContentType=\"application/vnd.openxmlformats-officedocument.wordprocessingml."
             "settings+xml\"/>";
    std::string rels = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
                       "<Relationships "
                       "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                       "<Relationship Id=\"rIdS\" Type=\"http://schemas.openxmlformats.org/"
                       "officeDocument/2006/relationships/settings\" Target=\"settings.xml\"/>";
    if (!t.header.empty()) {
        types += "<Override PartName=\"/word/header1.xml\" ContentType=\"application/"
                 "vnd.openxmlformats-officedocument.wordprocessingml.header+xml\"/>";
        rels += "<Relationship Id=\"rIdH\" Type=\"http://schemas.openxmlformats.org/"
                "officeDocument/2006/relationships/header\" Target=\"header1.xml\"/>";
    }
    if (!t.footer.empty()) {
        types += "<Override PartName=\"/word/footer1.xml\" ContentType=\"application/"
                 "vnd.openxmlformats-officedocument.wordprocessingml.footer+xml\"/>";
        rels += "<Relationship Id=\"rIdF\" Type=\"http://schemas.openxmlformats.org/"
                "officeDocument/2006/relationships/footer\" Target=\"footer1.xml\"/>";
    }
    if (t.macros)
        rels += "<Relationship Id=\"rIdV\" Type=\"http://schemas.microsoft.com/office/2006/"
                "relationships/vbaProject\" Target=\"vbaProject.bin\"/>";
    types += "</Types>";
    rels += "</Relationships>";

    Entries entries = {
        {"[Content_Types].xml", types},
        {"_rels/.rels",
         "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n<Relationships "
         "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
         "Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
         "relationships/officeDocument\" Target=\"word/document.xml\"/></Relationships>"},
        {"word/document.xml", documentXml(t.body)},
        {"word/_rels/document.xml.rels", rels},
        {"word/settings.xml", partXml("w:settings", t.settings)},
    };
    if (!t.header.empty())
        entries.push_back({"word/header1.xml", partXml("w:hdr", t.header)});
    if (!t.footer.empty())
        entries.push_back({"word/footer1.xml", partXml("w:ftr", t.footer)});
    if (t.macros) {
        entries.push_back({"word/vbaProject.bin", std::string("\xD0\xCF\x11\xE0 macro code", 15)});
        entries.push_back({"word/_rels/vbaProject.bin.rels",
                           "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
                           "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/"
                           "relationships\"><Relationship Id=\"rId1\" Type=\"http://schemas."
                           "microsoft.com/office/2006/relationships/wordVbaData\" "
                           "Target=\"vbaData.xml\"/></Relationships>"});
        entries.push_back({"word/vbaData.xml", "<?xml version=\"1.0\"?><wne:vbaSuppData "
                                               "xmlns:wne=\"http://schemas.microsoft.com/office/"
                                               "word/2006/wordml\"/>"});
    }
    for (const auto& e : t.extra)
        entries.push_back(e);
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

} // namespace OoxmlTestPackage
