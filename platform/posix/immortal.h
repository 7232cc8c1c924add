// A static object that is there before any code runs and is never destroyed, since threads may use
// it until the process is gone. To be declared constinit.
#pragma once

namespace platform {

template <typename T>
union Immortal {
    constexpr Immortal() : value() {}
    ~Immortal() {}
    T value;
};

}  // namespace platform
