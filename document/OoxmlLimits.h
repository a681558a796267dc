#pragma once

#include <cstdint>

// Bounds that protect the program against hostile or broken templates (zip bombs, archives
// with absurd numbers of entries). A template beyond any of them is refused.
struct OoxmlLimits {
    // Largest template file read at all.
    std::uint64_t maxFileBytes = 256ull << 20;
    // Most entries in the archive.
    std::uint32_t maxEntries = 10000;
    // Largest inflated size of one entry, declared or actually inflated.
    std::uint64_t maxEntryBytes = 128ull << 20;
    // Largest sum of the declared inflated sizes of all entries.
    std::uint64_t maxTotalBytes = 1024ull << 20;
};
