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
#include <string_view>

#include "files/path.h"
#include "system/kernel_text.h"

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

// A text into room bytes, terminated.
bool copy(char* destination, DWORD room, std::string_view text) {
    if (destination == nullptr || text.size() >= room) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return false;
    }
    memcpy(destination, text.data(), text.size());
    destination[text.size()] = '\0';
    return true;
}

// A user, in the caller's room; 0, or errno. The machine's own list comes first: the C library's
// look-up, which asks every list there is, ends the process when it has no memory.
int find_user(uid_t number, passwd* entry, char* texts, size_t size, passwd** user) {
    // A name with a sign in front refers to another list.
    const auto is_other = [=](const passwd& read) {
        return read.pw_uid != number || strchr("+-", read.pw_name[0]) != nullptr;
    };
    FILE* const own = fopen("/etc/passwd", "re");
    int error = errno;
    if (own != nullptr) {
        do error = fgetpwent_r(own, entry, texts, size, user);
        while (error == 0 && is_other(*entry));
        fclose(own);
    }
    return error == ENOENT ? getpwuid_r(number, entry, texts, size, user) : error;
}

// Of the lines "36 35 98:0 / /mnt rw,noatime master:1 - ext4 /dev/root rw" the one of a mount.
std::string_view line_of(const KernelText& mounts, uint64_t mount) {
    const char* line = mounts.text();
    while (*line != '\0' && strtoull(line, nullptr, 10) != mount) {
        line = strchrnul(line, '\n');
        if (*line != '\0') ++line;
    }
    return {line, strchrnul(line, '\n')};
}

// The name of its file system, or nothing.
std::string_view type_of(std::string_view line) {
    constexpr std::string_view before = " - ";
    const size_t dash = line.find(before);
    if (dash == std::string_view::npos) return {};
    line.remove_prefix(dash + before.size());
    return line.substr(0, line.find(' '));
}

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
    const int error = find_user(geteuid(), &entry, texts, sizeof texts, &user);
    if (error != 0 || user == nullptr) {
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
    const KernelText mounts("/proc/self/mountinfo");
    const bool told = (status.stx_mask & STATX_MNT_ID) != 0;
    const std::string_view type = told ? type_of(line_of(mounts, status.stx_mnt_id)) : "";
    // What is mounted outside the root of this process (chroot) is in no list it can read.
    return copy(file_system, size, type.empty() ? "unknown" : type) ? TRUE : FALSE;
}
