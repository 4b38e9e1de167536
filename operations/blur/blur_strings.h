// String-table ids of the blur operations (0x200-0x27F).
#pragma once

#include "frame/string_table.h"

namespace zt {

enum EBlurStringID : uint32_t {
    IDS_NAME_BLUR = 0x200,  // "Raster Image - Blur"
};

}  // namespace zt
