#pragma once

#include "contacts/OlItem.h"
#include "contacts/VCardFolderIndex.h"

#include <QList>
#include <QString>
#include <memory>
#include <optional>

// The items of a folder, or the items a Restrict left: Outlook's Items collection.
//
// Items are numbered from 1 in a stable order (file name, then position in the file). The
// collection keeps the listing it was made from, so its numbering does not move while the
// caller walks it, even when files are added to the folder meanwhile.
class OlItems
{
public:
    // No items (a folder that is not backed by files).
    OlItems() = default;
    // All items of a folder.
    explicit OlItems(std::shared_ptr<VCardFolderIndex> index);

    using Progress = VCardFolderIndex::Progress;

    // Number of items. For a whole folder the first call reads every file once (nothing
    // is parsed); `progress` may break that off (ZwError 18, see VCardFolderIndex).
    long Count(const Progress& progress = {}) const;
    // Item `index` (1-based), parsed now. Throws ZwError 9 for an index out of range, or
    // the index's error when the file vanished or changed.
    OlItem Item(long index) const;
    // Count(), and for a whole folder the hit list rows of every item read in the same pass
    // (a restricted collection has the rows of its items already).
    long countWithRows(const Progress& progress = {}) const;
    // The hit list values of item `index` (1-based), equal to those of Item(index) but
    // without parsing the whole card. Throws as Item() does.
    OlItemRow row(long index) const;
    // The items that match the filter (OlFilter), in the same order. Throws ZwError 5 with a
    // German text for a filter that cannot be parsed; `progress` may break the reading off
    // (ZwError 18).
    OlItems Restrict(const QString& filter, const Progress& progress = {}) const;
    // After Restrict(filter) or countWithRows() on this collection was broken off (ZwError
    // 18): the items found until then, in the same order; `filter` as given to Restrict, or
    // empty after countWithRows().
    OlItems foundBeforeAbort(const QString& filter = {}) const;

private:
    OlItems(std::shared_ptr<VCardFolderIndex> index, QList<VCardFolderIndex::Hit> hits);
    // Where item `index` (1-based) lies; ZwError 9 when out of range.
    VCardFolderIndex::Hit hit(long index) const;

    std::shared_ptr<VCardFolderIndex> m_index;
    std::optional<QList<VCardFolderIndex::Hit>> m_hits; // none: the whole folder
};
