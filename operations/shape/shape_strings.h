// String-table ids of the shape effects and masks operations (0x280-0x37F).
#pragma once

#include "frame/string_table.h"

namespace zt {

enum EShapeStringID : uint32_t {
};

}  // namespace zt
