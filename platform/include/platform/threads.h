// Threads. Their handles can be waited for (platform/kernel_objects.h): they are signalled from the
// end of the thread on.
#pragma once

#include "platform/kernel_objects.h"
#include "platform/types.h"

#if !defined(_WIN32)

#include <cstddef>

using LPTHREAD_START_ROUTINE = DWORD (*)(void* context);

constexpr DWORD STACK_SIZE_PARAM_IS_A_RESERVATION = 0x10000;
constexpr DWORD STILL_ACTIVE = 259;

// Runs routine(context) in a new thread, whose exit code is the result: the routine ends by
// returning, never by pthread_exit. stack_size is in bytes, 0 for the default of the system, and at
// least 1 MiB unless the only flag there is says otherwise. *number (may be null) becomes the
// thread's number. Null with ERROR_INVALID_PARAMETER for another flag or a null routine,
// ERROR_NOT_ENOUGH_MEMORY. The thread also runs without its handle.
HANDLE CreateThread(SECURITY_ATTRIBUTES* none, std::size_t stack_size,
                    LPTHREAD_START_ROUTINE routine, void* context, DWORD flags, DWORD* number);

// Ends a thread of CreateThread wherever it is, soon after the call: it leaves what it waits for,
// mutexes are abandoned, but what else it holds (critical sections, memory, and the locks of the
// run-time, if it is in a call of that) stays so. True for a thread that has ended. Uses the signal
// SIGRTMAX - 1 of the thread; ERROR_NOT_SUPPORTED if the program has a use for that.
BOOL TerminateThread(HANDLE thread, DWORD exit_code);

// STILL_ACTIVE until it ended; in a forked child, for good for the other threads of its parent.
BOOL GetExitCodeThread(HANDLE thread, DWORD* exit_code);

// The number of the calling thread: that of no other thread that lives.
DWORD GetCurrentThreadId();

#endif

namespace platform {

// Whether the calling process has a thread of that number.
bool thread_lives(DWORD number);

}  // namespace platform
