#include "platform/memory.h"

#include <malloc.h>

#include <cstdlib>

namespace platform {

void expect_large_use(void* /*block*/, size_t /*size*/) {}

size_t block_size(void* block) {
    return block != nullptr ? _msize(block) : 0;
}

// Large blocks are the system's own pages.
void* zeroed_block(size_t size) {
    return std::calloc(1, size);
}

}  // namespace platform
