// The module's class table, in the order the host enumerates it.
#pragma once

#include <span>

#include "frame/classes.h"

namespace zt {
std::span<const SClassEntry> ClassTable();
}
