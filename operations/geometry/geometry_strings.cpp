#include "operations/geometry/geometry_strings.h"

namespace zt {

// No entries yet: the operations of this subsystem add theirs here.
std::span<const SStringEntry> GeometryStrings() { return {}; }

}  // namespace zt
