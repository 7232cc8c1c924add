// The folders that a program of the system finds where it is installed.
#pragma once

#include "moltelib.h"

// Names the folder to the library and makes what is missing. Programs log to LOG, which none of
// them makes by itself.
inline bool make_installation(const char* folder) {
    constexpr int32_t kOwnerReadWrite = 384;
    if (ORVEX_SetMainPath(folder) < 0 || ORVEX_SYS_CreatePath() < 0) return false;
    char log[512];
    return ORVEX_LOG_PathName(log) > 0 && ORVEX_DirCreateRecur(log, kOwnerReadWrite) > 0;
}
