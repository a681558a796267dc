#include "document/OoxmlXml.h"

#include <cstring>
#include <vector>

namespace OoxmlXml
{

namespace
{
struct StringWriter : pugi::xml_writer {
    std::string text;
    void write(const void* data, size_t size) override
    {
        text.append(static_cast<const char*>(data), size);
    }
};
} // namespace

QString parse(pugi::xml_document& dom, const std::string& text)
{
    const pugi::xml_parse_result result =
        dom.load_buffer(text.data(), text.size(), parseFlags, pugi::encoding_auto);
    if (result)
        return QString();
    QString reason;
    switch (result.status) {
    case pugi::status_out_of_memory:
        reason = QStringLiteral("zu wenig Arbeitsspeicher");
        break;
    case pugi::status_end_element_mismatch:
        reason = QStringLiteral("End-Tag passt nicht zum Start-Tag");
        break;
    case pugi::status_unrecognized_tag:
    case pugi::status_bad_start_element:
    case pugi::status_bad_end_element:
        reason = QStringLiteral("fehlerhaftes Tag");
        break;
    case pugi::status_bad_attribute:
        reason = QStringLiteral("fehlerhaftes Attribut");
        break;
    case pugi::status_no_document_element:
        reason = QStringLiteral("kein Wurzelelement");
        break;
    default:
        reason = QStringLiteral("ungültiges XML");
        break;
    }
    return QStringLiteral("%1 an Position %2").arg(reason).arg(result.offset);
}

std::string serialize(const pugi::xml_document& dom)
{
    StringWriter writer;
    dom.save(writer, "", saveFlags, pugi::encoding_utf8);
    return std::move(writer.text);
}

std::string resolveTarget(const std::string& sourcePart, const std::string& target)
{
    std::vector<std::string> segments;
    auto push = [&segments](const std::string& path) {
        std::size_t start = 0;
        while (start <= path.size()) {
            std::size_t end = path.find('/', start);
            if (end == std::string::npos)
                end = path.size();
            const std::string segment = path.substr(start, end - start);
            if (segment == "..") {
                if (!segments.empty())
                    segments.pop_back();
            } else if (!segment.empty() && segment != ".") {
                segments.push_back(segment);
            }
            start = end + 1;
        }
    };
    if (target.empty() || target[0] != '/') {
        const std::size_t slash = sourcePart.rfind('/');
        if (slash != std::string::npos)
            push(sourcePart.substr(0, slash));
    }
    push(target);
    std::string result;
    for (const std::string& segment : segments) {
        if (!result.empty())
            result += '/';
        result += segment;
    }
    return result;
}

std::string relsPathOf(const std::string& part)
{
    const std::size_t slash = part.rfind('/');
    if (slash == std::string::npos)
        return "_rels/" + part + ".rels";
    return part.substr(0, slash) + "/_rels/" + part.substr(slash + 1) + ".rels";
}

std::string sourceOfRels(const std::string& relsPath)
{
    const std::string marker = "_rels/";
    const std::size_t at = relsPath.rfind(marker);
    if (at == std::string::npos || relsPath.size() < 5 ||
        relsPath.compare(relsPath.size() - 5, 5, ".rels") != 0)
        return std::string();
    const std::string name =
        relsPath.substr(at + marker.size(), relsPath.size() - 5 - at - marker.size());
    return relsPath.substr(0, at) + name;
}

std::string relationshipKind(const char* type)
{
    const char* slash = std::strrchr(type, '/');
    return slash ? std::string(slash + 1) : std::string(type);
}

} // namespace OoxmlXml
