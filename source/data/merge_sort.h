// A stable sort for a comparison that is called by pointer: few calls, no jump that depends on what
// they give, and nothing outside the items is touched whatever they give.
#pragma once

#include <cstddef>

namespace molte {

using Compare = int (*)(const void*, const void*);

// As std::qsort, and stable where there is memory.
void merge_sort(void* items, size_t count, size_t size, Compare compare);

}  // namespace molte
