// What the files of module "oidrange" share.
#pragma once

#include <algorithm>

#include "core/modules.h"
#include "moltelib/id_range.h"

namespace molte::id_range {

inline constexpr auto kModule = molte::kOidrange;

// A bad argument; -1.
inline int32_t refuse(int32_t line = __builtin_LINE()) {
    return kModule.fail(line, kBadArgument);
}

// Whether none of these pointers is null; else that is reported.
template <typename... Pointers>
bool given(Pointers... pointers) {
    if (((pointers != nullptr) && ...)) return true;
    refuse();
    return false;
}

constexpr bool is_empty(const OX_IDRANGE& range) {
    return range.nEnd <= range.nStart;
}
constexpr uint32_t count_of(const OX_IDRANGE& range) {
    return is_empty(range) ? 0 : range.nEnd - range.nStart;
}
constexpr bool overlap(const OX_IDRANGE& a, const OX_IDRANGE& b) {
    return std::max(a.nStart, b.nStart) < std::min(a.nEnd, b.nEnd);
}
constexpr bool same(const OX_IDRANGE& a, const OX_IDRANGE& b) {
    return a.nStart == b.nStart && a.nEnd == b.nEnd;
}

}  // namespace molte::id_range
