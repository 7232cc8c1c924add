// Allocations of the library's own, and how they are reported.
#pragma once

#include <cstdint>

namespace molte {

// Out of memory, as ORVEX_release_realloc reports it: error 20 with ENOMEM. Always -1.
int32_t refuse_growth(int64_t old_bytes, int64_t added_bytes);

// As ORVEX_release_malloc, but zeroed, and using up memory only where it is written.
void* zeroed_malloc(int64_t size);

}  // namespace molte
