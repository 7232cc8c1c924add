// The heap: hints and what a block really holds.
#pragma once

#include <cstddef>

namespace platform {

// Says that a fresh heap block is about to be filled from end to end, so that large pages are worth
// their while. A hint: it changes no content and never fails.
void expect_large_use(void* block, size_t size);

// The bytes that a block of malloc really has room for, at least what was asked for. 0 for null.
size_t block_size(void* block);

// A block of malloc that is zeros. A large one takes up memory only where it is written, whatever
// the heap used it for before. Null without memory.
void* zeroed_block(size_t size);

}  // namespace platform
