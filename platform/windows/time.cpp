#include "platform/time.h"

#include <cerrno>

char* platform::asctime(const tm* local) {
    if (local == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    return ::asctime(local);
}

long platform::clock() {
    return ::clock();
}
