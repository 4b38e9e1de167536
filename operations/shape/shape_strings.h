// String-table ids of the shape effects and masks operations (0x280-0x37F).
#pragma once

#include "frame/string_table.h"

namespace zt {

enum EShapeStringID : uint32_t {
    IDS_NAME_DROPSHADOW = 0x280,       // "Raster Image - Drop Shadow"
    IDS_NAME_OUTLINES = 0x281,         // "Raster Image - Outline"
    IDS_NAME_AUTOMASK = 0x282,         // "Raster Image - Mask"
    IDS_NAME_MODIFYMASK = 0x283,       // "Raster Image - Modify Mask"
    IDS_NAME_LONGSHADOW = 0x284,       // "Raster Image - Long shadow"
    IDS_NAME_SATIN = 0x285,            // "Raster Image - Satin"
    IDS_NAME_CONTOURGRADIENT = 0x286,  // "Raster Image - Shape gradient"
    IDS_NAME_PROJECTEDSHADOW = 0x287,  // "Raster Image - Projected Shadow"
    IDS_NAME_BEVEL = 0x288,            // "Raster Image - Bevel"
};

}  // namespace zt
