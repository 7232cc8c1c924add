#include "platform/machine.h"

#include <fcntl.h>
#include <linux/stat.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "kernel_text.h"
#include "path.h"

namespace {

using platform::KernelText;

constexpr uint64_t kKilobyte = 1024;

// What the addresses of a 64-bit process can count to on each machine at least.
constexpr uint64_t kAddresses = uint64_t{1} << 47;

uint64_t page_size() {
    return static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

uint64_t addresses_allowed() {
    rlimit limit{};
    const bool limited = getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur < kAddresses;
    return limited ? limit.rlim_cur : kAddresses;
}

uint64_t addresses_used() {
    return strtoull(KernelText("/proc/self/statm").text(), nullptr, 10) * page_size();
}

uint64_t difference(uint64_t a, uint64_t b) {
    return a > b ? a - b : 0;
}

// A text with its terminator into room bytes.
bool copy(char* destination, DWORD room, const char* text) {
    const size_t size = strlen(text) + 1;
    if (destination == nullptr || size > room) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return false;
    }
    memcpy(destination, text, size);
    return true;
}

struct Free {
    void operator()(char* text) const { free(text); }
};
struct Close {
    void operator()(FILE* file) const { fclose(file); }
};

// Of the lines "36 35 98:0 / /mnt rw,noatime master:1 - ext4 /dev/root rw" the one of a mount.
class MountLine {
 public:
    explicit MountLine(uint64_t mount) {
        const std::unique_ptr<FILE, Close> list(fopen("/proc/self/mountinfo", "re"));
        char* line = nullptr;
        size_t room = 0;
        found_ = false;
        while (list != nullptr && !found_ && getline(&line, &room, list.get()) >= 0) {
            found_ = strtoull(line, nullptr, 10) == mount;
        }
        line_.reset(line);
    }

    // The name of the file system, or null.
    [[nodiscard]] const char* type() {
        char* type = found_ ? strstr(line_.get(), " - ") : nullptr;
        if (type == nullptr) return nullptr;
        type += strlen(" - ");
        type[strcspn(type, " \n")] = '\0';
        return type;
    }

 private:
    std::unique_ptr<char, Free> line_;
    bool found_;
};

}  // namespace

BOOL GlobalMemoryStatusEx(MEMORYSTATUSEX* status) {
    if (status == nullptr || status->dwLength != sizeof *status) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const KernelText memory("/proc/meminfo");
    const uint64_t total = memory.number("MemTotal:") * kKilobyte;
    const uint64_t available = memory.number("MemAvailable:") * kKilobyte;
    if (total == 0) {
        platform::set_last_error_from_errno();
        return FALSE;
    }
    status->dwMemoryLoad = static_cast<DWORD>(difference(total, available) * 100 / total);
    status->ullTotalPhys = total;
    status->ullAvailPhys = available;
    status->ullTotalPageFile = total + memory.number("SwapTotal:") * kKilobyte;
    status->ullAvailPageFile = available + memory.number("SwapFree:") * kKilobyte;
    status->ullTotalVirtual = addresses_allowed();
    status->ullAvailVirtual = difference(status->ullTotalVirtual, addresses_used());
    status->ullAvailExtendedVirtual = 0;
    return TRUE;
}

void GetSystemInfo(SYSTEM_INFO* info) {
    info->dwPageSize = static_cast<DWORD>(page_size());
    info->dwNumberOfProcessors =
        static_cast<DWORD>(std::max(sysconf(_SC_NPROCESSORS_ONLN), long{1}));
}

BOOL GetUserNameA(char* name, DWORD* size) {
    char texts[16384];
    passwd entry{};
    passwd* user = nullptr;
    if (size == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const int error = getpwuid_r(geteuid(), &entry, texts, sizeof texts, &user);
    if (user == nullptr) {
        SetLastError(error == 0 ? ERROR_NOT_FOUND : platform::error_number(error));
        return FALSE;
    }
    const DWORD room = *size;
    *size = static_cast<DWORD>(strlen(user->pw_name) + 1);
    return copy(name, room, user->pw_name) ? TRUE : FALSE;
}

BOOL GetVolumeInformationA(const char* folder, char* volume, DWORD, DWORD* serial,
                           DWORD* longest_name, DWORD* flags, char* file_system, DWORD size) {
    if (volume != nullptr || serial != nullptr || longest_name != nullptr || flags != nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const platform::KernelPath path(folder);
    struct statx status {};
    if (!path.valid() || statx(AT_FDCWD, path.get(), 0, STATX_MNT_ID, &status) != 0) {
        platform::set_last_error_from_errno();
        return FALSE;
    }
    MountLine line(status.stx_mnt_id);
    const char* type = (status.stx_mask & STATX_MNT_ID) != 0 ? line.type() : nullptr;
    if (type == nullptr) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return FALSE;
    }
    return copy(file_system, size, type) ? TRUE : FALSE;
}
