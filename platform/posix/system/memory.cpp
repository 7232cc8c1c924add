#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace platform {

namespace {

constexpr size_t kWorthIt = size_t{4} << 20;

}  // namespace

void expect_large_use(void* block, size_t size) {
    if (size < kWorthIt) return;
    // All pages of the block: with the hint on a part only, the kernel could no longer move it
    // whole when it grows.
    const auto page = static_cast<uintptr_t>(getpagesize());
    const auto start = reinterpret_cast<uintptr_t>(block) & ~(page - 1);
    const auto end = reinterpret_cast<uintptr_t>(block) + block_size(block);
    const int before = errno;
    madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
    errno = before;
}

size_t block_size(void* block) {
    return malloc_usable_size(block);
}

}  // namespace platform
