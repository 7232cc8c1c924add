// What the library itself asks of critical sections, and how its waiting loops wait.
#pragma once

#include "moltelib/base.h"
#include "platform/types.h"

namespace molte {

// Whether the calling thread holds it.
[[nodiscard]] bool holds(const OXCRITSECT& section);

// The lock of ORVEX_InnerTimeLock, made at its first use.
OXCRITSECT& time_lock();

// Whether the program has asked everything that waits to give up.
[[nodiscard]] bool stop_requested();

// Waits until another look is due: the event was signalled, which is told by true, or a second has
// passed. It passes after a wait that failed as well; that is only reported.
[[nodiscard]] bool wait_for_next_look(OXHANDLE event);

// The time limit of a wait. Seconds below 1 mean none, and so do those whose milliseconds the
// platform can't hold.
[[nodiscard]] DWORD wait_limit(int32_t seconds);

}  // namespace molte
