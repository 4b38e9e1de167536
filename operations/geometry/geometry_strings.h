// String-table ids of the geometry operations (0x380-0x47F).
#pragma once

#include "frame/string_table.h"

namespace zt {

enum EGeometryStringID : uint32_t {
    IDS_NAME_RESAMPLE = 0x380,      // "Raster Image - Resample"
    IDS_NAME_ROTATE = 0x381,        // "Raster Image - Rotate"
    IDS_NAME_PERSPECTIVE = 0x382,   // "Raster Image - Transform"
    IDS_NAME_POLAR = 0x383,         // "Raster Image - Polar Transformation"
    IDS_NAME_CANVASSIZE = 0x384,    // "Raster Image - Canvas Size"
    IDS_NAME_REMOVEBORDER = 0x385,  // "Raster Image - Remove Empty Border"
};

}  // namespace zt
