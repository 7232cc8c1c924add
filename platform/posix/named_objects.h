// The named objects that this process has open.
#pragma once

#include "kernel_object.h"

namespace platform {

// After the closing of a handle: the last one of the process gives the name up.
void leave_if_unused(Object& object);

// In a forked child, where nothing else runs: for each that is open, with a handle or without.
void for_each_named_object(void (*call)(Object& object));

}  // namespace platform
