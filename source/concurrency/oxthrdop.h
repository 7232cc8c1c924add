// What the library itself asks of critical sections.
#pragma once

#include "moltelib/base.h"

namespace molte {

// Whether the calling thread holds it.
[[nodiscard]] bool holds(const OXCRITSECT& section);

// The lock of ORVEX_InnerTimeLock, made at its first use.
OXCRITSECT& time_lock();

}  // namespace molte
