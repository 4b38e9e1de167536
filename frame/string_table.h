// The module's string table: ids with an English and a Czech text, grouped in blocks of 16
// by id / 16. Each subsystem keeps its ids and texts in its own file, in its own id range.
#pragma once

#include <cstdint>
#include <span>

namespace zt {

struct SStringEntry {
    uint32_t id;
    const char16_t* english;
    const char16_t* czech;
};

// Every entry of every subsystem.
std::span<const SStringEntry> StringTable();

// Id ranges: colour 0x100-0x1FF, blur 0x200-0x27F, shape effects and masks 0x280-0x37F,
// geometry 0x380-0x47F.
std::span<const SStringEntry> ColourStrings();
std::span<const SStringEntry> BlurStrings();
std::span<const SStringEntry> ShapeStrings();
std::span<const SStringEntry> GeometryStrings();

}  // namespace zt
