// What growing arrays report when they may not grow.
#pragma once

#include <cstdint>

namespace molte {

// Out of memory, as ORVEX_release_realloc reports it: error 20 with ENOMEM. Always -1.
int32_t refuse_growth(int64_t old_bytes, int64_t added_bytes);

}  // namespace molte
