// What events and semaphores have in common: a word above 0 is a signal.
#pragma once

#include "kernel_object.h"

namespace platform {

inline bool word_is_set(const Object& object, DWORD) {
    return object.state().word != 0;
}

inline Taken take_one(Object& object, DWORD) {
    std::atomic<std::uint32_t>& word = object.state().word;
    std::uint32_t signals = word;
    while (signals > 0) {
        if (word.compare_exchange_weak(signals, signals - 1)) return Taken::signal;
    }
    return Taken::nothing;
}

}  // namespace platform
