// The console: keys as they are typed, and who is told that the process is to end.
#pragma once

#include "platform/last_error.h"
#include "platform/types.h"

#if defined(_WIN32)
#include <conio.h>

namespace platform {

// There a key that is asked for is never shown.
class HiddenKeys {
 public:
    HiddenKeys() {}  // NOLINT: is made for its lifetime
    HiddenKeys(const HiddenKeys&) = delete;
    HiddenKeys& operator=(const HiddenKeys&) = delete;
};

}  // namespace platform

#else

// The next key as it is typed, not shown; waits for it. Of a terminal, which is standard input, or
// else that of the session: 13 for Enter, 3 for its interrupt key, 8 for its erase key, 0 or 224
// and with the next call another code for keys that send a sequence, other keys as they are; EOF
// (-1) for its end-of-input key, and when it hangs up. Without a terminal the bytes of standard
// input as a stream, 13 for a line end, EOF at its end.
int _getch();

constexpr DWORD CTRL_C_EVENT = 0;
constexpr DWORD CTRL_CLOSE_EVENT = 2;
constexpr DWORD CTRL_SHUTDOWN_EVENT = 6;

using PHANDLER_ROUTINE = BOOL (*)(DWORD event);

// Adds a handler for SIGINT (CTRL_C_EVENT), SIGHUP (CTRL_CLOSE_EVENT) and SIGTERM
// (CTRL_SHUTDOWN_EVENT), or takes away the one added last of equal ones. The last added is called
// first; the first that gives TRUE has seen to the event, and the process runs on. When none has,
// the signal ends it. A null handler: CTRL_C_EVENT is nothing from now on, or is again.
//
// The first call that adds takes the three signals over, except those that are ignored, for good,
// and makes the thread on which handlers are called, one at a time. A forked child has none: there
// a signal ends the process until this is called again, which finds the handlers of the parent.
//
// ERROR_INVALID_PARAMETER for one that isn't there; ERROR_NOT_ENOUGH_MEMORY beyond 32 handlers, and
// when there is no thread to be had.
BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);

namespace platform {

// While one lives the keys that are typed are not shown, and none waits for the end of its line, so
// that between two calls of _getch there is nothing to be seen. Those typed ahead, and those left
// over, are kept. The terminal is as before at the end, and when the process ends by exit or by a
// signal, apart from SIGKILL, real-time signals and those of a crash. One thread at a time has
// them, with as many as it likes.
class HiddenKeys {
 public:
    HiddenKeys();
    ~HiddenKeys();
    HiddenKeys(const HiddenKeys&) = delete;
    HiddenKeys& operator=(const HiddenKeys&) = delete;
};

}  // namespace platform

#endif
