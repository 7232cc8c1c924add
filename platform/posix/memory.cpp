#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>

namespace platform {

namespace {

constexpr uintptr_t kPage = 4096;
constexpr size_t kWorthIt = size_t{4} << 20;

}  // namespace

void expect_large_use(void* block, size_t size) {
    if (size < kWorthIt) return;
    // All pages of the block: with the hint on a part only, the kernel could no longer move it
    // whole when it grows.
    const auto start = reinterpret_cast<uintptr_t>(block) & ~(kPage - 1);
    const auto end = reinterpret_cast<uintptr_t>(block) + block_size(block);
    madvise(reinterpret_cast<void*>(start), (end - start + kPage - 1) & ~(kPage - 1),
            MADV_HUGEPAGE);
}

size_t block_size(void* block) {
    return malloc_usable_size(block);
}

}  // namespace platform
