#include "document/LibreOfficeDocxRepair.h"

#include <QFile>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <vector>
#include <zip.h>

namespace
{

// The parts that hold text with bookmarks: the body, headers, footers, notes and comments.
bool isStoryPart(const std::string& name)
{
    if (name.rfind("word/", 0) != 0 || name.size() < 9 ||
        name.compare(name.size() - 4, 4, ".xml") != 0 || name.find('/', 5) != std::string::npos)
        return false;
    for (const char* prefix : {"word/document", "word/header", "word/footer", "word/footnotes",
                               "word/endnotes", "word/comments"}) {
        if (name.rfind(prefix, 0) == 0)
            return true;
    }
    return false;
}

// Returns how many bookmarks were mended in the part.
int mend(pugi::xml_document& part)
{
    const pugi::xpath_node_set marks =
        part.select_nodes("//*[local-name()='bookmarkStart' or local-name()='bookmarkEnd']");
    std::set<std::string> ended;
    for (const pugi::xpath_node& m : marks) {
        if (std::string(m.node().name()).ends_with("bookmarkEnd"))
            ended.insert(m.node().attribute("w:id").value());
    }
    int mended = 0;
    std::vector<pugi::xml_node> starts;
    for (const pugi::xpath_node& m : marks) {
        if (std::string(m.node().name()).ends_with("bookmarkStart"))
            starts.push_back(m.node());
    }
    for (std::size_t i = 0; i < starts.size(); ++i) {
        pugi::xml_node open = starts[i];
        if (!open || ended.count(open.attribute("w:id").value()))
            continue;
        const std::string name = open.attribute("w:name").value();
        for (std::size_t j = i + 1; j < starts.size(); ++j) {
            pugi::xml_node pair = starts[j];
            if (!pair || name != pair.attribute("w:name").value() ||
                !ended.count(pair.attribute("w:id").value()))
                continue;
            const std::string pairId = pair.attribute("w:id").value();
            const std::string query = "//*[local-name()='bookmarkEnd' and @w:id='" + pairId + "']";
            pugi::xml_node end = part.select_node(query.c_str()).node();
            if (!end)
                break;
            end.attribute("w:id").set_value(open.attribute("w:id").value());
            pair.parent().remove_child(pair);
            starts[j] = pugi::xml_node();
            ++mended;
            break;
        }
    }
    return mended;
}

} // namespace

int LibreOfficeDocxRepair::repairBookmarks(const QString& docxPath)
{
    int error = 0;
    zip_t* archive = zip_open(QFile::encodeName(docxPath).constData(), 0, &error);
    if (!archive)
        return -1;
    int total = 0;
    std::vector<std::string> keep; // buffers handed to libzip live until zip_close
    keep.reserve(std::size_t(zip_get_num_entries(archive, 0)));
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* entryName = zip_get_name(archive, zip_uint64_t(i), 0);
        if (!entryName || !isStoryPart(entryName))
            continue;
        zip_stat_t st;
        if (zip_stat_index(archive, zip_uint64_t(i), 0, &st) != 0 || st.size > (64u << 20))
            continue;
        std::string data(st.size, '\0');
        zip_file_t* file = zip_fopen_index(archive, zip_uint64_t(i), 0);
        if (!file)
            continue;
        const zip_int64_t got = zip_fread(file, data.data(), st.size);
        zip_fclose(file);
        if (got != zip_int64_t(st.size))
            continue;
        pugi::xml_document part;
        if (!part.load_buffer(data.data(), data.size(),
                              pugi::parse_default | pugi::parse_ws_pcdata_single |
                                  pugi::parse_declaration))
            continue;
        const int mended = mend(part);
        if (mended == 0)
            continue;
        struct Writer : pugi::xml_writer {
            std::string out;
            void write(const void* d, size_t n) override
            {
                out.append(static_cast<const char*>(d), n);
            }
        } writer;
        // The parsed declaration node is written as it was (standalone="yes" included).
        part.save(writer, "", pugi::format_raw | pugi::format_no_declaration);
        keep.push_back(std::move(writer.out));
        zip_source_t* source =
            zip_source_buffer(archive, keep.back().data(), keep.back().size(), 0);
        if (!source || zip_file_replace(archive, zip_uint64_t(i), source, 0) != 0) {
            zip_source_free(source);
            zip_discard(archive);
            return -1;
        }
        total += mended;
    }
    if (zip_close(archive) != 0) {
        zip_discard(archive);
        return -1;
    }
    return total;
}
