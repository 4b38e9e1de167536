// String-table ids of the colour operations (0x100-0x1FF).
#pragma once

#include "frame/string_table.h"

namespace zt {

enum EColourStringID : uint32_t {
    IDS_NAME_SHIFTHUE = 0x100,              // "Raster Image - Shift Hue"
    IDS_NAME_COLORIZE = 0x110,              // "Raster Image - Colorize"
    IDS_NAME_COLORTRANSFORMATIONS = 0x111,  // "Raster Image - Color Adjustments"
    IDS_NAME_BACKGROUNDBLEND = 0x112,       // "Raster Image - Blend with Background"
    IDS_NAME_FADE = 0x113,                  // "Raster Image - Fade"
    IDS_NAME_REDUCECOLORS = 0x114,          // "Raster Image - Reduce Colors"
    IDS_NAME_CONVOLUTION = 0x115,           // "Custom convolution filter"
};

}  // namespace zt
