// A static object that is never destroyed, since threads may use it until the process is gone.
#pragma once

namespace platform {

template <typename T>
union Immortal {
    Immortal() : value() {}
    ~Immortal() {}
    T value;
};

}  // namespace platform
