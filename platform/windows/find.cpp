#include "platform/find.h"

#include <cerrno>
#include <cstdio>

namespace platform {

int stat_found(HANDLE, const char* folder, const WIN32_FIND_DATAA* found, struct _stat64* status) {
    char path[2 * MAX_PATH];
    const int length = std::snprintf(path, sizeof path, "%s\\%s", folder, found->cFileName);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    return _stat64(path, status);
}

}  // namespace platform
