#include "platform/memory.h"

#include <malloc.h>

namespace platform {

void expect_large_use(void* /*block*/, size_t /*size*/) {}

size_t block_size(void* block) {
    return block != nullptr ? _msize(block) : 0;
}

}  // namespace platform
