#include "document/OoxmlXml.h"

#include <QStringDecoder>
#include <cstdint>
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

namespace
{

const char* const wordNs = "http://schemas.openxmlformats.org/wordprocessingml/2006/main";
const char* const compatibilityNs = "http://schemas.openxmlformats.org/markup-compatibility/2006";
const char* const relationshipsNs = "http://schemas.openxmlformats.org/package/2006/relationships";
const char* const contentTypesNs = "http://schemas.openxmlformats.org/package/2006/content-types";

struct Preferred {
    const char* uri;
    const char* prefix; // "" for the default namespace
};
const Preferred preferred[] = {
    {wordNs, "w"}, {compatibilityNs, "mc"}, {relationshipsNs, ""}, {contentTypesNs, ""}};
constexpr std::size_t preferredCount = sizeof preferred / sizeof preferred[0];

std::string lowerAscii(std::string text)
{
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    }
    return text;
}

// The encoding named in an XML declaration at the start of 8-bit text; empty for none.
std::string declaredEncoding(const std::string& text, std::size_t from)
{
    if (text.compare(from, 5, "<?xml") != 0)
        return std::string();
    const std::size_t close = text.find("?>", from);
    const std::size_t at = text.find("encoding", from);
    if (at == std::string::npos || close == std::string::npos || at > close)
        return std::string();
    const std::size_t quote = text.find_first_of("\"'", at);
    if (quote == std::string::npos || quote > close)
        return std::string();
    const std::size_t endQuote = text.find(text[quote], quote + 1);
    if (endQuote == std::string::npos || endQuote > close)
        return std::string();
    return lowerAscii(text.substr(quote + 1, endQuote - quote - 1));
}

struct Scope {
    std::string prefix;
    std::string uri;
};

const char* uriOf(const std::vector<Scope>& scopes, const std::string& prefix)
{
    for (auto it = scopes.rbegin(); it != scopes.rend(); ++it) {
        if (it->prefix == prefix)
            return it->uri.c_str();
    }
    return nullptr;
}

// Renames elements (and prefixed attributes) of the preferred namespaces to their usual
// prefixes. A namespace whose usual prefix is bound to another URI anywhere is left alone.
void normalizePrefixes(pugi::xml_document& dom)
{
    pugi::xml_node root = dom.document_element();
    if (!root)
        return;
    // First pass: which namespaces need renaming, and which cannot be renamed safely.
    bool needed[preferredCount] = {};
    bool blocked[preferredCount] = {};
    std::vector<Scope> scopes;
    std::vector<std::size_t> marks;
    auto enter = [&scopes, &marks](pugi::xml_node n) {
        marks.push_back(scopes.size());
        for (pugi::xml_attribute a : n.attributes()) {
            const char* name = a.name();
            if (std::strncmp(name, "xmlns", 5) != 0)
                continue;
            if (name[5] == 0)
                scopes.push_back({std::string(), a.value()});
            else if (name[5] == ':')
                scopes.push_back({std::string(name + 6), a.value()});
        }
    };
    auto leave = [&scopes, &marks] {
        scopes.resize(marks.back());
        marks.pop_back();
    };
    auto prefixOf = [](const char* name) {
        const char* colon = std::strchr(name, ':');
        return colon ? std::string(name, std::size_t(colon - name)) : std::string();
    };
    // Walks every element in document order, calling visit(node) after its scope is entered.
    auto walk = [&](const auto& visit) {
        scopes.clear();
        marks.clear();
        pugi::xml_node n = root;
        enter(n);
        visit(n);
        for (;;) {
            pugi::xml_node child = n.first_child();
            while (child && child.type() != pugi::node_element)
                child = child.next_sibling();
            if (child) {
                n = child;
                enter(n);
                visit(n);
                continue;
            }
            for (;;) {
                leave();
                if (n == root)
                    return;
                pugi::xml_node next = n.next_sibling();
                while (next && next.type() != pugi::node_element)
                    next = next.next_sibling();
                if (next) {
                    n = next;
                    enter(n);
                    visit(n);
                    break;
                }
                n = n.parent();
            }
        }
    };
    bool any = false;
    walk([&](pugi::xml_node n) {
        for (std::size_t i = scopes.size(); i-- > marks.back();) {
            for (std::size_t k = 0; k < preferredCount; ++k) {
                if (scopes[i].prefix == preferred[k].prefix && scopes[i].uri != preferred[k].uri)
                    blocked[k] = true;
            }
        }
        const char* uri = uriOf(scopes, prefixOf(n.name()));
        if (!uri)
            return;
        for (std::size_t k = 0; k < preferredCount; ++k) {
            if (std::strcmp(uri, preferred[k].uri) == 0 &&
                prefixOf(n.name()) != preferred[k].prefix) {
                needed[k] = true;
                any = true;
            }
        }
    });
    if (!any)
        return;
    bool rename[preferredCount];
    bool anyRename = false;
    for (std::size_t k = 0; k < preferredCount; ++k) {
        rename[k] = needed[k] && !blocked[k];
        anyRename = anyRename || rename[k];
    }
    if (!anyRename)
        return;
    auto target = [&rename](const char* uri) -> const Preferred* {
        if (!uri)
            return nullptr;
        for (std::size_t k = 0; k < preferredCount; ++k) {
            if (rename[k] && std::strcmp(uri, preferred[k].uri) == 0)
                return &preferred[k];
        }
        return nullptr;
    };
    auto localOf = [](const char* name) {
        const char* colon = std::strchr(name, ':');
        return std::string(colon ? colon + 1 : name);
    };
    walk([&](pugi::xml_node n) {
        const std::string prefix = prefixOf(n.name());
        if (const Preferred* p = target(uriOf(scopes, prefix)); p && prefix != p->prefix) {
            const std::string local = localOf(n.name());
            n.set_name((*p->prefix ? std::string(p->prefix) + ':' + local : local).c_str());
        }
        for (pugi::xml_attribute a : n.attributes()) {
            const std::string attributePrefix = prefixOf(a.name());
            if (attributePrefix.empty() || attributePrefix == "xmlns" || attributePrefix == "xml")
                continue;
            const Preferred* p = target(uriOf(scopes, attributePrefix));
            if (p && *p->prefix && attributePrefix != p->prefix)
                a.set_name((std::string(p->prefix) + ':' + localOf(a.name())).c_str());
        }
    });
    // The usual prefixes are declared on the root; the old declarations stay, since other
    // attributes (mc:Ignorable) may name them.
    for (std::size_t k = 0; k < preferredCount; ++k) {
        if (!rename[k])
            continue;
        const std::string attribute =
            *preferred[k].prefix ? std::string("xmlns:") + preferred[k].prefix : "xmlns";
        if (pugi::xml_attribute a = root.attribute(attribute.c_str()))
            a.set_value(preferred[k].uri);
        else
            root.append_attribute(attribute.c_str()) = preferred[k].uri;
    }
}

} // namespace

QString parse(pugi::xml_document& dom, const std::string& text, ParseInfo* info)
{
    // pugixml tells UTF-16 and UTF-32 by their byte order mark or by the pattern of "<?"; 8-bit
    // text is read in the encoding its declaration names.
    const bool wide = text.size() >= 2 &&
                      (text[0] == 0 || text[1] == 0 || (text[0] == '\xFE' && text[1] == '\xFF') ||
                       (text[0] == '\xFF' && text[1] == '\xFE'));
    pugi::xml_encoding encoding = pugi::encoding_auto;
    std::string converted;
    const std::string* source = &text;
    bool rewrite = false;
    if (!wide) {
        const std::size_t from = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
        const std::string declared = declaredEncoding(text, from);
        encoding = pugi::encoding_utf8;
        if (declared == "iso-8859-1" || declared == "latin1" || declared == "iso_8859-1") {
            encoding = pugi::encoding_latin1;
        } else if (declared.rfind("utf-16", 0) == 0 || declared.rfind("utf-32", 0) == 0 ||
                   declared.rfind("ucs-", 0) == 0) {
            // Declared wide but stored in single bytes: read as UTF-8, written with the truth.
            rewrite = true;
        } else if (!declared.empty() && declared != "utf-8" && declared != "utf8") {
            QStringDecoder decoder(declared.c_str());
            if (!decoder.isValid())
                return QStringLiteral("unbekannte Zeichenkodierung \"%1\"")
                    .arg(QString::fromStdString(declared));
            const QString decoded = decoder(QByteArrayView(text.data(), qsizetype(text.size())));
            if (decoder.hasError())
                return QStringLiteral("Zeichen außerhalb der Kodierung \"%1\"")
                    .arg(QString::fromStdString(declared));
            converted = decoded.toUtf8().toStdString();
            source = &converted;
        }
        if (encoding == pugi::encoding_utf8 && !isValidUtf8(source->data(), source->size()))
            return QStringLiteral("ungültige UTF-8-Zeichen");
    }
    const pugi::xml_parse_result result =
        dom.load_buffer(source->data(), source->size(), parseFlags | pugi::parse_doctype, encoding);
    if (result) {
        for (pugi::xml_node n = dom.first_child(); n;) {
            pugi::xml_node next = n.next_sibling();
            if (n.type() == pugi::node_doctype) {
                dom.remove_child(n);
                rewrite = true;
            }
            n = next;
        }
        pugi::xml_node declaration = dom.first_child();
        if (declaration.type() == pugi::node_declaration) {
            pugi::xml_attribute declared = declaration.attribute("encoding");
            if (declared && std::strcmp(declared.value(), "UTF-8") != 0)
                declared.set_value("UTF-8");
        }
        normalizePrefixes(dom);
        if (info)
            info->mustRewrite = rewrite;
        return QString();
    }
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

std::string serialize(const pugi::xml_document& dom, std::size_t sizeHint)
{
    StringWriter writer;
    writer.text.reserve(sizeHint);
    dom.save(writer, "", saveFlags, pugi::encoding_utf8);
    return std::move(writer.text);
}

bool isValidUtf8(const char* data, std::size_t size)
{
    const auto* p = reinterpret_cast<const unsigned char*>(data);
    const auto* end = p + size;
    while (p < end) {
        // Most of a part is ASCII: pass it over eight bytes at a time.
        while (end - p >= 8) {
            std::uint64_t word;
            std::memcpy(&word, p, 8);
            if (word & 0x8080808080808080ull)
                break;
            p += 8;
        }
        if (p == end)
            break;
        const unsigned c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int length = 0;
        unsigned min = 0, value = 0;
        if ((c & 0xE0) == 0xC0) {
            length = 2, min = 0x80, value = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            length = 3, min = 0x800, value = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            length = 4, min = 0x10000, value = c & 0x07;
        } else {
            return false;
        }
        if (end - p < length)
            return false;
        for (int i = 1; i < length; ++i) {
            if ((p[i] & 0xC0) != 0x80)
                return false;
            value = (value << 6) | (p[i] & 0x3F);
        }
        if (value < min || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
            return false;
        p += length;
    }
    return true;
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
