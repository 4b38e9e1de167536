// Ids of the module's string table. Every id has an English and a Czech text; ids are
// grouped in blocks of 16 by id / 16.
#pragma once

#include <cstdint>
#include <span>

namespace zt {

enum EStringID : uint32_t {
    IDS_NAME_SHIFTHUE = 0x100,  // "Raster Image - Shift Hue"
};

struct SStringEntry {
    uint32_t id;
    const char16_t* english;
    const char16_t* czech;
};

std::span<const SStringEntry> StringTable();

}  // namespace zt
