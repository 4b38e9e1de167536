#include "operations/blur/blur_strings.h"

namespace zt {

// No entries yet: the operations of this subsystem add theirs here.
std::span<const SStringEntry> BlurStrings() { return {}; }

}  // namespace zt
