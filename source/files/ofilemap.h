// Names of mappings.
#pragma once

#include "core/owners.h"

namespace molte {

// A copy with every backslash, which has a meaning in names of the system's objects, as a slash.
// Null on failure, which is then already reported.
[[nodiscard]] Heap<char> mapping_name(const char* name);

}  // namespace molte
