#include "platform/processes.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "files/descriptor.h"
#include "kernel/kernel_object.h"
#include "platform/last_error.h"
#include "system/kernel_text.h"
#include "system/process_object.h"

using platform::KernelText;
using platform::OpenFile;
using platform::Process;

namespace {

constexpr uint64_t kTicksPerSecond = 10'000'000;
constexpr uint64_t kSecondsBefore1970 = 11'644'473'600;

// Null with the last error without memory.
platform::ObjectPointer make_process(int folder) {
    OpenFile owned(folder);
    platform::ObjectPointer process = platform::make_object<Process>(folder);
    if (process) (void)owned.release();
    return process;
}

// A thread's number is no process's, although it has a folder too.
bool is_process(int folder, DWORD number) {
    return KernelText(folder, "status").number("Tgid:") == number;
}

// Null with the last error.
platform::ObjectPointer process_of(HANDLE handle) {
    if (handle == INVALID_HANDLE_VALUE) {
        return make_process(platform::open_process_folder("/proc/self"));
    }
    const platform::ObjectLock lock;
    return platform::ObjectPointer(platform::find_object(handle, platform::ObjectType::process));
}

int folder_of(const platform::ObjectPointer& process) {
    return static_cast<Process&>(*process).folder;
}

// Without a folder it was gone when it was looked for.
void set_gone() {
    const bool gone = errno == ESRCH || errno == EBADF;
    SetLastError(gone ? ERROR_NOT_FOUND : platform::error_number(errno));
}

FILETIME file_time(uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

uint64_t ticks_of(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<uint64_t>(time.tv_sec) * kTicksPerSecond +
           static_cast<uint64_t>(time.tv_nsec) / 100;
}

// Of a process, in clock ticks of the kernel.
struct Times {
    unsigned long user;
    unsigned long kernel;
    unsigned long long start;  // since the machine started
};

// The fields behind the name, which stands in brackets and may hold anything.
bool read_times(const KernelText& state, Times* times) {
    const char* behind_name = strrchr(state.text(), ')');
    return behind_name != nullptr &&
           sscanf(behind_name,
                  ") %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu %*d %*d %*d %*d %*d %*d "
                  "%llu",
                  &times->user, &times->kernel, &times->start) == 3;
}

}  // namespace

namespace platform {

int open_process_folder(const char* path) {
    return open(path, O_PATH | O_DIRECTORY | O_CLOEXEC);
}

int open_process_folder(DWORD number) {
    char path[32];
    snprintf(path, sizeof path, "/proc/%u", number);
    return open_process_folder(path);
}

}  // namespace platform

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(getpid());
}

HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD number) {
    if (access != PROCESS_QUERY_INFORMATION || inherit != FALSE) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    OpenFile folder(platform::open_process_folder(number));
    if (!folder.valid() && errno != ENOENT) {
        platform::set_last_error_from_errno();
        return nullptr;
    }
    if (!folder.valid() || !is_process(folder.get(), number)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return platform::add_handle(make_process(folder.release()));
}

BOOL GetProcessTimes(HANDLE process, FILETIME* creation, FILETIME* end, FILETIME* kernel,
                     FILETIME* user) {
    const platform::Unbroken unbroken;
    const auto found = process_of(process);
    if (!found) return FALSE;
    const KernelText state(folder_of(found), "stat");
    Times times{};
    if (!read_times(state, &times)) {
        set_gone();
        return FALSE;
    }
    const uint64_t unit = kTicksPerSecond / static_cast<uint64_t>(sysconf(_SC_CLK_TCK));
    const uint64_t machine_start = ticks_of(CLOCK_REALTIME) - ticks_of(CLOCK_BOOTTIME);
    *creation =
        file_time(kSecondsBefore1970 * kTicksPerSecond + machine_start + times.start * unit);
    *end = {};
    *kernel = file_time(times.kernel * unit);
    *user = file_time(times.user * unit);
    return TRUE;
}

BOOL GetProcessMemoryInfo(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size) {
    if (counters == nullptr || size < sizeof *counters) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    const platform::Unbroken unbroken;
    const auto found = process_of(process);
    if (!found) return FALSE;
    const KernelText status(folder_of(found), "status");
    if (!status.valid()) {
        set_gone();
        return FALSE;
    }
    constexpr size_t kilobyte = 1024;
    *counters = {};
    counters->cb = sizeof *counters;
    counters->WorkingSetSize = status.number("VmRSS:") * kilobyte;
    counters->PeakWorkingSetSize = status.number("VmHWM:") * kilobyte;
    counters->PagefileUsage = (status.number("RssAnon:") + status.number("VmSwap:")) * kilobyte;
    counters->PeakPagefileUsage = counters->PagefileUsage;
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts) {
    const uint64_t ticks = uint64_t{time->dwHighDateTime} << 32 | time->dwLowDateTime;
    const auto seconds =
        static_cast<time_t>(ticks / kTicksPerSecond) - static_cast<time_t>(kSecondsBefore1970);
    tm utc{};
    if (ticks >> 63 != 0 || gmtime_r(&seconds, &utc) == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *parts = {
        static_cast<WORD>(utc.tm_year + 1900), static_cast<WORD>(utc.tm_mon + 1),
        static_cast<WORD>(utc.tm_wday),        static_cast<WORD>(utc.tm_mday),
        static_cast<WORD>(utc.tm_hour),        static_cast<WORD>(utc.tm_min),
        static_cast<WORD>(utc.tm_sec),         static_cast<WORD>(ticks % kTicksPerSecond / 10'000)};
    return TRUE;
}
