// What a call of the platform that failed left as the last error.
#pragma once

#include "platform/last_error.h"

// The last error of a call that failed, 0 for one that didn't. None is seen twice.
inline DWORD error_if(bool failed) {
    const DWORD error = failed ? GetLastError() : 0;
    SetLastError(0x20000BAD);
    return error;
}
