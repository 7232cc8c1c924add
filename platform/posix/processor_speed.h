// The processor's clock, from the kernel's own figures.
#pragma once

#include <cstdint>

namespace platform {

// In MHz; 0 where the kernel doesn't tell it.
uint32_t processor_speed();

}  // namespace platform
