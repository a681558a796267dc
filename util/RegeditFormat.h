#pragma once

#include "util/RegistryBackend.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <vector>

// One value of a key as kept in memory.
struct RegistryValue {
    QString name; // empty: the key's default value, "@" in the file
    quint32 type = Reg::TypeSz;
    RegistryData data;
};

// One key with its values (in the order they were first set) and its sub-keys (sorted as
// the registry lists them: by upper-case name). Names compare without regard to case; the
// spelling of the first writer is kept.
//
// Tearing a tree down and writing it out never recurse: the stack would run out long before
// the heap, so no depth a tree reaches can crash the program.
struct RegistryNode {
    QString name;
    QList<RegistryValue> values;
    std::vector<RegistryNode> children;

    RegistryNode() = default;
    RegistryNode(const RegistryNode&) = delete; // a copy would recurse
    RegistryNode(RegistryNode&&) noexcept = default;
    RegistryNode& operator=(const RegistryNode&) = delete;
    RegistryNode& operator=(RegistryNode&&) noexcept = default;
    ~RegistryNode();

    RegistryNode* child(const QString& childName);
    const RegistryNode* child(const QString& childName) const;
    // The existing child of that name, or a new one spelled as given.
    RegistryNode& addChild(const QString& childName, bool* created = nullptr);
    // -1 when missing.
    int valueIndex(const QString& valueName) const;
};

// The REGEDIT4 text format, the registry's own export format, one file per root key:
//
//   REGEDIT4
//
//   [HKEY_CURRENT_USER\Software\KVAR]
//   "Description"="Kvarsystem"
//   "Count"=dword:0000000a
//
// Strings escape only "\" and the quote, as regedit does. A string holding line breaks or
// other control characters cannot be written that way and is stored as hex(1): with its
// UTF-8 bytes. Files are written in UTF-8; files in the Windows code page (regedit's own
// REGEDIT4 export) are read as windows-1252 when they are no valid UTF-8.
namespace RegeditFormat
{

// Windows allows keys 512 levels below the root; a file with deeper keys is damaged.
inline constexpr int kMaxDepth = 512;

struct ParseResult {
    bool ok = true;
    int line = 0;   // 1-based line of the fault
    QString reason; // German, e.g. "ungültiger DWORD-Wert"
};

// Parses the text of one root's file into `tree` (which it clears first). Every key must lie
// below `rootName` and at most kMaxDepth levels deep. An empty file is an empty store.
ParseResult parse(const QByteArray& content, const QString& rootName, RegistryNode& tree);

// The file text of `tree`: every key in order, each followed by a blank line. The root
// itself is written only when it holds values.
QByteArray serialize(const RegistryNode& tree, const QString& rootName);

} // namespace RegeditFormat
