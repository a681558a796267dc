#pragma once

#include "document/OoxmlBookmarks.h"
#include "document/OoxmlLimits.h"
#include "document/OoxmlPackage.h"
#include "document/OoxmlZipWriter.h"

#include <QStringList>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// A template read and checked once, never changed afterwards, shared by every document made
// from it: the package, the parsed text parts (main text, headers, footers, notes) and
// settings, and what turns the template into a plain document when saving (the content types
// of a document, macros left out).
class OoxmlTemplate
{
public:
    struct Part {
        std::string name; // entry name in the package
        pugi::xml_document dom;
        bool story = false; // holds text: main, header, footer, footnotes, endnotes
        bool hasBookmarks = false;
        // Written anew even when unchanged (see OoxmlXml::ParseInfo::mustRewrite).
        bool mustRewrite = false;
        // Bookmark markers as the check before saving counts them.
        OoxmlBookmarks::Census census;
    };

    // Raises ZwError(BadTemplate) with a German text naming displayPath.
    static std::shared_ptr<const OoxmlTemplate> load(QByteArray bytes, const QString& displayPath,
                                                     const OoxmlLimits& limits);

    const OoxmlPackage& package() const { return *m_package; }
    const QString& displayPath() const { return m_package->displayPath(); }

    int partCount() const { return int(m_parts.size()); }
    const Part& part(int index) const { return *m_parts[std::size_t(index)]; }
    // Index of the parsed part stored under this entry name, -1 for none.
    int partIndex(const std::string& entryName) const;
    static constexpr int mainPart = 0;
    int settingsPart() const { return m_settingsPart; }

    // Entries that are left out of a saved document (macros and what refers to them only).
    bool isDropped(const std::string& entryName) const { return m_dropped.count(entryName) > 0; }
    // New content for an entry when saved as a document (content types, relationships),
    // compressed once for all documents.
    const OoxmlZipWriter::Compressed* replacement(const std::string& entryName) const;

    // Visible bookmark names of all text parts, sorted as in Word.
    const QStringList& bookmarkNames() const { return m_bookmarkNames; }
    // Write protection that refuses typing (read-only, comments, forms), as enforced in settings.
    bool isProtected() const { return m_protected; }
    // Style ids of the style that shows a content control's placeholder ("Placeholder Text").
    bool isPlaceholderStyle(const char* styleId) const;
    // Highest numeric w:id in any part; new ids are taken above it.
    long long maxId() const { return m_maxId; }
    // Whether the saved content types call the main part a document (checked before saving).
    bool mainIsDocument() const { return m_mainIsDocument; }

    static bool isProtectionElement(const pugi::xml_node& node);
    // Sorted by name without regard to case, hidden ones ("_" prefix) dropped, duplicates merged.
    static QStringList visibleSorted(const QStringList& names);

private:
    OoxmlTemplate() = default;
    void read(const OoxmlLimits& limits);
    Part& parsePart(const std::string& entryName, bool story);
    void checkOtherParts(const std::string& stylesName);
    void dropMacros(pugi::xml_document& contentTypes);

    std::unique_ptr<OoxmlPackage> m_package;
    std::vector<std::unique_ptr<Part>> m_parts;
    std::unordered_map<std::string, int> m_partByName;
    int m_settingsPart = -1;
    std::unordered_set<std::string> m_dropped;
    std::unordered_map<std::string, OoxmlZipWriter::Compressed> m_replacements;
    QStringList m_bookmarkNames;
    bool m_protected = false;
    std::vector<std::string> m_placeholderStyles;
    long long m_maxId = 0;
    bool m_mainIsDocument = false;
};
