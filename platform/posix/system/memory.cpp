#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace platform {

namespace {

constexpr size_t kWorthIt = size_t{4} << 20;
constexpr size_t kCleared = size_t{1} << 20;

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

// calloc would clear by hand, and so take up, what the heap had in use before. Whole pages are
// given back instead, and read as zeros from then on.
void* zeroed_block(size_t size) {
    if (size < kCleared) return std::calloc(1, size);
    auto* const block = static_cast<std::uint8_t*>(std::malloc(size));
    if (block == nullptr) return nullptr;
    const auto page = static_cast<size_t>(getpagesize());
    const size_t head = (page - reinterpret_cast<uintptr_t>(block) % page) % page;
    const size_t pages = (size - head) / page * page;
    std::uint8_t* const first = block + head;
    const int before = errno;
    if (madvise(first, pages, MADV_DONTNEED) != 0) std::memset(first, 0, pages);
    errno = before;
    std::memset(block, 0, head);
    std::memset(first + pages, 0, size - head - pages);
    return block;
}

}  // namespace platform
