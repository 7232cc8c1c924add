// Turning the bytes of many numbers round, with the widest instructions that this processor has.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

// Reverses the bytes of each of count numbers in place.
void swap_bytes(uint32_t* numbers, std::size_t count);

// The same without any choice of instructions.
void swap_bytes_plainly(uint32_t* numbers, std::size_t count);

}  // namespace platform
