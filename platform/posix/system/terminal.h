// The terminal while keys are hidden.
#pragma once

namespace platform {

// Sets it back, if this process has changed it. May be called from a signal handler.
void show_keys_again();

}  // namespace platform
