// String-table ids of the geometry operations (0x380-0x47F).
#pragma once

#include "frame/string_table.h"

namespace zt {

enum EGeometryStringID : uint32_t {
};

}  // namespace zt
