// String-table ids of the colour operations (0x100-0x1FF).
#pragma once

#include "frame/string_table.h"

namespace zt {

enum EColourStringID : uint32_t {
    IDS_NAME_SHIFTHUE = 0x100,  // "Raster Image - Shift Hue"
};

}  // namespace zt
