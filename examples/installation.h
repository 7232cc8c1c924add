/* The folders that a program of the system finds where it is installed. For C and C++. */
#ifndef INSTALLATION_H
#define INSTALLATION_H

#include <stdbool.h>

#include "moltelib.h"

/*
 * Names the folder to the library and makes what is missing. Programs log to LOG, which none of
 * them makes by itself.
 */
static inline bool make_installation(const char* folder) {
    char log[136]; /* moltelib/main_path.h */
    return ORVEX_SetMainPath(folder) > 0 && ORVEX_SYS_CreatePath() > 0 &&
           ORVEX_LOG_PathName(log) > 0 && ORVEX_DirCreateRecur(log, 0) > 0;
}

#endif
