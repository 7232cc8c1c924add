// Processes, this one and others: their times and memory. A failure sets the last error.
#pragma once

#include "platform/kernel_objects.h"
#include "platform/system.h"
#include "platform/types.h"

#if !defined(_WIN32)

#include <cstddef>

constexpr DWORD PROCESS_QUERY_INFORMATION = 0x0400;

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

// The date and time of day, UTC. False with ERROR_INVALID_PARAMETER from the year 30828 on.
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts);

#endif
