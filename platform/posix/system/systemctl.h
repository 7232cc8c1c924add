// The program of the service manager.
#pragma once

#include <cstddef>
#include <initializer_list>

namespace platform {

// Whether there is one. ERROR_NOT_SUPPORTED if not.
bool has_systemctl();

// Runs it with these words to its end, and keeps what it prints, as much as there is room for, as a
// text; null: nothing is kept. False with the last error when it couldn't be run, or told a
// failure.
bool run_systemctl(std::initializer_list<const char*> words, char* output, size_t room);

}  // namespace platform
