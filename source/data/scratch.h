// Memory for lists: for the run of a function that can do without it, and for whole ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "core/owners.h"
#include "platform/memory.h"

namespace molte {

struct ScratchFree {
    void operator()(void* block) const { std::free(block); }
};

template <typename T>
using Scratch = std::unique_ptr<T[], ScratchFree>;

// Null when there is none, which is no error and isn't reported. It is expected to be filled.
template <typename T>
[[nodiscard]] Scratch<T> scratch(size_t count) {
    Scratch<T> block(static_cast<T*>(std::malloc(count * sizeof(T))));
    if (block != nullptr) platform::expect_large_use(block.get(), count * sizeof(T));
    return block;
}

// As allocate(), for a list that is filled at once.
template <typename T>
[[nodiscard]] Heap<T> allocate_list(size_t count) {
    auto block = allocate<T>(static_cast<int64_t>(count));
    if (block != nullptr) platform::expect_large_use(block.get(), count * sizeof(T));
    return block;
}

}  // namespace molte
