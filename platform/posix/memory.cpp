#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>

namespace platform {

namespace {

constexpr uintptr_t kLargePage = 2U << 20;
constexpr size_t kWorthIt = 2 * kLargePage;

}  // namespace

void expect_large_use(void* block, size_t size) {
    if (size < kWorthIt) return;
    // The whole large pages inside the block.
    const auto start = (reinterpret_cast<uintptr_t>(block) + kLargePage - 1) & ~(kLargePage - 1);
    const auto end = (reinterpret_cast<uintptr_t>(block) + size) & ~(kLargePage - 1);
    madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
}

size_t block_size(void* block) {
    return malloc_usable_size(block);
}

}  // namespace platform
