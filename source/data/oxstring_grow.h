// Growing arrays of the string family.
#pragma once

#include <cstdint>

#include "core/oxsysutl_memory.h"
#include "moltelib/memory.h"

namespace molte {

// Adds zeroed items to an array that is held by pointer and capacity. -1 without memory, or when
// the array would pass 2^31 - 1 bytes, with error 20; it is then as it was.
template <typename T>
int32_t grow(T*& items, int32_t& capacity, int64_t count) {
    constexpr int64_t kSize = sizeof(T);
    if ((capacity + count) * kSize > INT32_MAX) {
        return refuse_growth(capacity * kSize, count * kSize);
    }
    void* block = items;
    const int32_t result =
        ORVEX_release_realloc(&block, sizeof(T), &capacity, static_cast<int32_t>(count));
    if (result > 0) items = static_cast<T*>(block);
    return result;
}

}  // namespace molte
