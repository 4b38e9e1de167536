#include "operations/shape/shape_strings.h"

namespace zt {

// No entries yet: the operations of this subsystem add theirs here.
std::span<const SStringEntry> ShapeStrings() { return {}; }

}  // namespace zt
