#include "document/OoxmlTemplate.h"

#include "document/OoxmlXml.h"

#include <QCollator>
#include <QLocale>
#include <QSet>
#include <algorithm>
#include <cstring>

namespace
{

const char* const documentMainType =
    "application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml";

// Content types of macro code and of what only macros use; none of it goes into a .docx.
bool isMacroType(const char* type)
{
    static const char* const types[] = {
        "application/vnd.ms-office.vbaProject",
        "application/vnd.ms-word.vbaData+xml",
        "application/vnd.ms-word.attachedToolbars",
        "application/vnd.ms-word.keyMapCustomizations+xml",
    };
    for (const char* t : types) {
        if (std::strcmp(type, t) == 0)
            return true;
    }
    return false;
}

std::string lowerAscii(std::string text)
{
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    }
    return text;
}

std::string withoutLeadingSlash(const char* name)
{
    return std::string(name[0] == '/' ? name + 1 : name);
}

bool isOn(const char* value)
{
    return std::strcmp(value, "1") == 0 || std::strcmp(value, "true") == 0 ||
           std::strcmp(value, "on") == 0;
}

} // namespace

std::shared_ptr<const OoxmlTemplate>
OoxmlTemplate::load(QByteArray bytes, const QString& displayPath, const OoxmlLimits& limits)
{
    std::shared_ptr<OoxmlTemplate> result(new OoxmlTemplate);
    result->m_package = std::make_unique<OoxmlPackage>(std::move(bytes), displayPath, limits);
    result->read(limits);
    return result;
}

int OoxmlTemplate::partIndex(const std::string& entryName) const
{
    const auto it = m_partByName.find(entryName);
    return it == m_partByName.end() ? -1 : it->second;
}

const OoxmlZipWriter::Compressed* OoxmlTemplate::replacement(const std::string& entryName) const
{
    const auto it = m_replacements.find(entryName);
    return it == m_replacements.end() ? nullptr : &it->second;
}

bool OoxmlTemplate::isProtectionElement(const pugi::xml_node& node)
{
    if (std::strcmp(node.name(), "w:documentProtection") != 0)
        return false;
    const char* edit = node.attribute("w:edit").value();
    const bool restricting = std::strcmp(edit, "readOnly") == 0 ||
                             std::strcmp(edit, "comments") == 0 || std::strcmp(edit, "forms") == 0;
    return restricting && isOn(node.attribute("w:enforcement").value());
}

QStringList OoxmlTemplate::visibleSorted(const QStringList& names)
{
    QStringList visible;
    QSet<QString> seen;
    for (const QString& name : names) {
        if (name.isEmpty() || name.startsWith(QLatin1Char('_')))
            continue;
        const QString key = name.toLower();
        if (seen.contains(key))
            continue;
        seen.insert(key);
        visible.append(name);
    }
    static const QCollator collator = [] {
        QCollator c{QLocale(QLocale::German, QLocale::Germany)};
        c.setCaseSensitivity(Qt::CaseInsensitive);
        return c;
    }();
    std::sort(visible.begin(), visible.end(), [](const QString& a, const QString& b) {
        const int order = collator.compare(a, b);
        return order != 0 ? order < 0 : a < b;
    });
    return visible;
}

OoxmlTemplate::Part& OoxmlTemplate::parsePart(const std::string& entryName, bool story)
{
    const int known = partIndex(entryName);
    if (known >= 0)
        return *m_parts[std::size_t(known)];
    const OoxmlPackage::Entry* entry = m_package->find(entryName);
    auto part = std::make_unique<Part>();
    part->name = entry->name;
    part->story = story;
    OoxmlXml::ParseInfo info;
    const QString reason = OoxmlXml::parse(part->dom, m_package->read(*entry), &info);
    part->mustRewrite = info.mustRewrite;
    if (!reason.isEmpty())
        m_package->fail(QStringLiteral("Der Eintrag \"%1\" ist kein gültiges XML (%2).")
                            .arg(QString::fromStdString(entry->name), reason));
    m_partByName.emplace(part->name, int(m_parts.size()));
    m_parts.push_back(std::move(part));
    return *m_parts.back();
}

void OoxmlTemplate::read(const OoxmlLimits& limits)
{
    const OoxmlPackage::Entry* typesEntry = m_package->find("[Content_Types].xml");
    if (!typesEntry)
        m_package->fail(QStringLiteral("Die Inhaltstypen ([Content_Types].xml) fehlen."));
    pugi::xml_document contentTypes;
    QString reason = OoxmlXml::parse(contentTypes, m_package->read(*typesEntry));
    if (!reason.isEmpty())
        m_package->fail(
            QStringLiteral("Der Eintrag \"[Content_Types].xml\" ist kein gültiges XML (%1).")
                .arg(reason));

    // The main part is what the package relationships call the office document.
    std::string mainName = "word/document.xml";
    if (const OoxmlPackage::Entry* rootRels = m_package->find("_rels/.rels")) {
        pugi::xml_document rels;
        if (OoxmlXml::parse(rels, m_package->read(*rootRels)).isEmpty()) {
            for (pugi::xml_node rel : rels.document_element().children("Relationship")) {
                if (OoxmlXml::relationshipKind(rel.attribute("Type").value()) == "officeDocument") {
                    mainName = OoxmlXml::resolveTarget("", rel.attribute("Target").value());
                    break;
                }
            }
        }
    }
    const OoxmlPackage::Entry* mainEntry = m_package->find(mainName);
    if (!mainEntry)
        m_package->fail(QStringLiteral("Der Word-Dokumentteil (%1) fehlt.")
                            .arg(QString::fromStdString(mainName)));
    Part& main = parsePart(mainEntry->name, true);
    const char* rootName = main.dom.document_element().name();
    const std::size_t rootLength = std::strlen(rootName);
    if (rootLength < 8 || std::strcmp(rootName + rootLength - 8, "document") != 0 ||
        !main.dom.document_element().child("w:body"))
        m_package->fail(QStringLiteral("Der Word-Dokumentteil (%1) enthält keinen Text.")
                            .arg(QString::fromStdString(mainEntry->name)));
    mainName = mainEntry->name;

    std::string stylesName;
    if (const OoxmlPackage::Entry* mainRels = m_package->find(OoxmlXml::relsPathOf(mainName))) {
        pugi::xml_document rels;
        reason = OoxmlXml::parse(rels, m_package->read(*mainRels));
        if (!reason.isEmpty())
            m_package->fail(QStringLiteral("Der Eintrag \"%1\" ist kein gültiges XML (%2).")
                                .arg(QString::fromStdString(mainRels->name), reason));
        for (pugi::xml_node rel : rels.document_element().children("Relationship")) {
            if (std::strcmp(rel.attribute("TargetMode").value(), "External") == 0)
                continue;
            const std::string kind = OoxmlXml::relationshipKind(rel.attribute("Type").value());
            const bool story =
                kind == "header" || kind == "footer" || kind == "footnotes" || kind == "endnotes";
            const OoxmlPackage::Entry* target =
                m_package->find(OoxmlXml::resolveTarget(mainName, rel.attribute("Target").value()));
            if (!target)
                continue;
            if (kind == "styles")
                stylesName = target->name;
            if (!story && kind != "settings")
                continue;
            Part& part = parsePart(target->name, story);
            if (kind == "settings")
                m_settingsPart = partIndex(part.name);
        }
    }

    dropMacros(contentTypes);
    checkOtherParts(stylesName);

    // Whatever the template's type, the result is a plain document.
    pugi::xml_node typesRoot = contentTypes.document_element();
    pugi::xml_node mainOverride;
    const std::string mainKey = lowerAscii(mainName);
    for (pugi::xml_node node : typesRoot.children("Override")) {
        if (lowerAscii(withoutLeadingSlash(node.attribute("PartName").value())) == mainKey) {
            mainOverride = node;
            break;
        }
    }
    if (!mainOverride) {
        mainOverride = typesRoot.append_child("Override");
        mainOverride.append_attribute("PartName") = ("/" + mainName).c_str();
        mainOverride.append_attribute("ContentType");
    }
    if (!mainOverride.attribute("ContentType"))
        mainOverride.append_attribute("ContentType");
    mainOverride.attribute("ContentType").set_value(documentMainType);
    const std::string typesText = OoxmlXml::serialize(contentTypes);
    {
        // What is saved must call the main part a document, whatever the template said.
        pugi::xml_document written;
        m_mainIsDocument = OoxmlXml::parse(written, typesText).isEmpty();
        for (pugi::xml_node node : written.document_element().children("Override")) {
            if (lowerAscii(withoutLeadingSlash(node.attribute("PartName").value())) == mainKey)
                m_mainIsDocument =
                    m_mainIsDocument &&
                    std::strcmp(node.attribute("ContentType").value(), documentMainType) == 0;
        }
    }
    m_replacements[typesEntry->name] = OoxmlZipWriter::compress(typesText, 9);

    if (m_settingsPart >= 0) {
        for (pugi::xml_node node : part(m_settingsPart).dom.document_element().children()) {
            if (isProtectionElement(node))
                m_protected = true;
        }
    }

    std::vector<OoxmlBookmarks::Story> stories;
    for (int i = 0; i < partCount(); ++i) {
        Part& p = *m_parts[std::size_t(i)];
        if (p.story) {
            stories.push_back({i, p.dom.document_element()});
            p.census = OoxmlBookmarks::census(OoxmlXml::serialize(p.dom));
        }
    }
    QStringList names;
    for (const auto& [key, bookmark] : OoxmlBookmarks::scan(stories)) {
        names.append(bookmark.name);
        for (const OoxmlBookmarks::Place& place : bookmark.places)
            m_parts[std::size_t(place.part)]->hasBookmarks = true;
    }
    m_bookmarkNames = visibleSorted(names);
    (void)limits;
}

bool OoxmlTemplate::isPlaceholderStyle(const char* styleId) const
{
    for (const std::string& id : m_placeholderStyles) {
        if (id == styleId)
            return true;
    }
    return false;
}

namespace
{

// Highest numeric w:id below root; iterative, the depth being the input's.
long long highestId(pugi::xml_node root, long long highest)
{
    OoxmlXml::forEachBelow(root, [&highest](pugi::xml_node n) {
        if (pugi::xml_attribute id = n.attribute("w:id")) {
            const long long value = id.as_llong();
            if (value > highest && value < (1ll << 53))
                highest = value;
        }
        return true;
    });
    return highest;
}

bool isXmlEntry(const std::string& name)
{
    const std::string lower = lowerAscii(name);
    auto endsWith = [&lower](const char* tail) {
        const std::size_t n = std::strlen(tail);
        return lower.size() >= n && lower.compare(lower.size() - n, n, tail) == 0;
    };
    return endsWith(".xml") || endsWith(".rels");
}

} // namespace

void OoxmlTemplate::checkOtherParts(const std::string& stylesName)
{
    // Entries are later copied without inflating; prove now that each one is sound and every
    // XML part well-formed in its declared encoding, so that a damaged template is refused
    // instead of passing its damage on. A part Word would refuse as it stands (a document type
    // declaration) is written anew.
    m_placeholderStyles = {"PlaceholderText"};
    for (const OoxmlPackage::Entry& entry : m_package->entries()) {
        if (m_dropped.count(entry.name))
            continue;
        if (const int index = partIndex(entry.name); index >= 0) {
            m_maxId = highestId(m_parts[std::size_t(index)]->dom, m_maxId);
            continue;
        }
        if (!isXmlEntry(entry.name)) {
            m_package->verify(entry);
            continue;
        }
        pugi::xml_document dom;
        OoxmlXml::ParseInfo info;
        const QString reason = OoxmlXml::parse(dom, m_package->read(entry), &info);
        if (!reason.isEmpty())
            m_package->fail(QStringLiteral("Der Eintrag \"%1\" ist kein gültiges XML (%2).")
                                .arg(QString::fromStdString(entry.name), reason));
        m_maxId = highestId(dom, m_maxId);
        if (info.mustRewrite && !m_replacements.count(entry.name))
            m_replacements[entry.name] = OoxmlZipWriter::compress(OoxmlXml::serialize(dom), 9);
        if (entry.name == stylesName) {
            for (pugi::xml_node style : dom.document_element().children("w:style")) {
                if (std::strcmp(style.child("w:name").attribute("w:val").value(),
                                "Placeholder Text") == 0)
                    m_placeholderStyles.push_back(style.attribute("w:styleId").value());
            }
        }
    }
}

void OoxmlTemplate::dropMacros(pugi::xml_document& contentTypes)
{
    pugi::xml_node root = contentTypes.document_element();
    std::unordered_map<std::string, std::string> overrides; // lower-case name -> type
    std::unordered_map<std::string, std::string> defaults;  // lower-case extension -> type
    for (pugi::xml_node node : root.children("Override"))
        overrides[lowerAscii(withoutLeadingSlash(node.attribute("PartName").value()))] =
            node.attribute("ContentType").value();
    for (pugi::xml_node node : root.children("Default"))
        defaults[lowerAscii(node.attribute("Extension").value())] =
            node.attribute("ContentType").value();

    std::unordered_set<std::string> droppedLower;
    for (const OoxmlPackage::Entry& entry : m_package->entries()) {
        const std::string key = lowerAscii(entry.name);
        std::string type;
        if (const auto it = overrides.find(key); it != overrides.end()) {
            type = it->second;
        } else {
            const std::size_t dot = key.rfind('.');
            if (dot != std::string::npos) {
                if (const auto d = defaults.find(key.substr(dot + 1)); d != defaults.end())
                    type = d->second;
            }
        }
        if (isMacroType(type.c_str()))
            droppedLower.insert(key);
    }
    if (droppedLower.empty())
        return;
    for (const OoxmlPackage::Entry& entry : m_package->entries()) {
        const std::string key = lowerAscii(entry.name);
        const std::string owner = lowerAscii(OoxmlXml::sourceOfRels(entry.name));
        if (droppedLower.count(key) || (!owner.empty() && droppedLower.count(owner)))
            m_dropped.insert(entry.name);
    }

    // Relationships that point at a dropped part go as well.
    for (const OoxmlPackage::Entry& entry : m_package->entries()) {
        if (m_dropped.count(entry.name) || entry.name.size() < 5 ||
            entry.name.compare(entry.name.size() - 5, 5, ".rels") != 0)
            continue;
        pugi::xml_document rels;
        if (!OoxmlXml::parse(rels, m_package->read(entry)).isEmpty())
            continue;
        const std::string owner = OoxmlXml::sourceOfRels(entry.name);
        bool changed = false;
        for (pugi::xml_node rel = rels.document_element().child("Relationship"); rel;) {
            pugi::xml_node next = rel.next_sibling("Relationship");
            const std::string target =
                lowerAscii(OoxmlXml::resolveTarget(owner, rel.attribute("Target").value()));
            if (std::strcmp(rel.attribute("TargetMode").value(), "External") != 0 &&
                droppedLower.count(target)) {
                rels.document_element().remove_child(rel);
                changed = true;
            }
            rel = next;
        }
        if (changed)
            m_replacements[entry.name] = OoxmlZipWriter::compress(OoxmlXml::serialize(rels), 9);
    }

    for (pugi::xml_node node = root.first_child(); node;) {
        pugi::xml_node next = node.next_sibling();
        const bool macroDefault = std::strcmp(node.name(), "Default") == 0 &&
                                  isMacroType(node.attribute("ContentType").value());
        const bool droppedOverride =
            std::strcmp(node.name(), "Override") == 0 &&
            droppedLower.count(lowerAscii(withoutLeadingSlash(node.attribute("PartName").value())));
        if (macroDefault || droppedOverride)
            root.remove_child(node);
        node = next;
    }
}
