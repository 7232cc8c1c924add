// Processes, this one and others: their times and memory; and starting programs. A failure sets the
// last error.
#pragma once

#include "platform/kernel_objects.h"
#include "platform/system.h"
#include "platform/types.h"

#if !defined(_WIN32)

#include <cstddef>

constexpr DWORD PROCESS_QUERY_INFORMATION = 0x0400;
constexpr DWORD CREATE_NEW_CONSOLE = 0x10;
constexpr DWORD NORMAL_PRIORITY_CLASS = 0x20;

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;      // 1 to 12
    WORD wDayOfWeek;  // 0 is Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

// Sizes in bytes.
struct PROCESS_MEMORY_COUNTERS {
    DWORD cb;  // the size of this record, set by the caller
    DWORD PageFaultCount;
    std::size_t PeakWorkingSetSize;
    std::size_t WorkingSetSize;
    std::size_t PagefileUsage;      // private memory that was touched, in memory or swapped out
    std::size_t PeakPagefileUsage;  // the same: the kernel keeps no peak
};

DWORD GetCurrentProcessId();

// A handle of the process with that number, for the calls below; to be closed. It stays that of the
// same process when the number is given to another. ERROR_INVALID_PARAMETER where there is no such
// process, ERROR_NOT_SUPPORTED for another access than PROCESS_QUERY_INFORMATION: so it can't be
// waited for either (ERROR_ACCESS_DENIED). Handles aren't inherited: inherit must be FALSE.
HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD number);

// When it began, and the processor time it took in the kernel and outside. The end is not told: 0.
// ERROR_NOT_FOUND when it is gone.
BOOL GetProcessTimes(HANDLE process, FILETIME* creation, FILETIME* end, FILETIME* kernel,
                     FILETIME* user);
BOOL GetProcessMemoryInfo(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size);

struct STARTUPINFOA {
    DWORD cb;  // the size of this record, set by the caller
};

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;  // a second handle of the process
    DWORD dwProcessId;
    DWORD dwThreadId;
};

// Starts the program at path, by the rules of platform/files.h and from nowhere else, with the
// environment, folder and umask of this process. Both handles of *process are to be closed; they
// can't be waited for, and the calls above know them. The new process is no child of this one, so
// nothing of it is left to be reaped, and its end raises no signal here. No descriptor but the
// first three goes with it; signals have their default handling there, and none is blocked.
//
// The flags: CREATE_NEW_CONSOLE gives it a session of its own without a terminal, and /dev/null for
// those three. NORMAL_PRIORITY_CLASS needs nothing here.
//
// line is the command line, null or empty for the path in quotes. Its words are the program's
// arguments, and are made of it as the run-time of Windows does it. They end at blanks and tabs
// outside quotes; a character, not a byte, is what counts.
// - The first reaches to its end as it stands, less its quotes.
// - In the others 2n backslashes before a quote are n and the quote begins or ends a quoted
//   stretch; one more makes it a quote like any byte, as a second quote within a quoted stretch
//   does.
//
// False with ERROR_FILE_NOT_FOUND for no such file, ERROR_PATH_NOT_FOUND for no such folder or an
// empty path, ERROR_NOT_ENOUGH_MEMORY where no more processes may be, ERROR_BAD_EXE_FORMAT for one
// that is no program, ERROR_ACCESS_DENIED for one that may not be run, ERROR_FILENAME_EXCED_RANGE
// for a line of 32767 bytes or more, ERROR_INVALID_PARAMETER for a null path or record, and for a
// start->cb too small. All that is marked none must be null and inherit FALSE, else
// ERROR_NOT_SUPPORTED, as for other flags.
BOOL CreateProcessA(const char* path, char* line, SECURITY_ATTRIBUTES* none,
                    SECURITY_ATTRIBUTES* none_either, BOOL inherit, DWORD flags,
                    void* no_environment, const char* no_folder, STARTUPINFOA* start,
                    PROCESS_INFORMATION* process);

// The date and time of day, UTC. False with ERROR_INVALID_PARAMETER from the year 30828 on.
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts);

#endif
