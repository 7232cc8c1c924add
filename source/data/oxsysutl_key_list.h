// What the files of sorted lists and arrays share.
#pragma once

#include <cstdint>

#include "core/modules.h"
#include "data/key_order.h"

namespace molte::lists {

inline constexpr auto kModule = molte::kOxsysutl;

// A bad argument; -1.
inline int32_t refuse(int32_t line = __builtin_LINE()) {
    return kModule.fail(line, kBadArgument);
}

// Whether a list can be read: it may be null when it is empty.
inline bool readable(const void* list, int32_t count) {
    return list != nullptr || count < 1;
}

inline size_t length(int32_t count) {
    return count < 1 ? 0 : static_cast<size_t>(count);
}

}  // namespace molte::lists
