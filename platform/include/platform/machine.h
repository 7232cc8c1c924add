// The machine: memory, processors, who uses it, and the file systems of its disks. A failure sets
// the last error.
#pragma once

#include "platform/last_error.h"
#include "platform/types.h"

#if !defined(_WIN32)

struct MEMORYSTATUSEX {
    DWORD dwLength;      // sizeof(MEMORYSTATUSEX), set by the caller
    DWORD dwMemoryLoad;  // percent of physical memory in use
    std::uint64_t ullTotalPhys;
    std::uint64_t ullAvailPhys;      // what programs can get without swapping
    std::uint64_t ullTotalPageFile;  // physical memory and swap together
    std::uint64_t ullAvailPageFile;
    std::uint64_t ullTotalVirtual;  // addresses of the calling process
    std::uint64_t ullAvailVirtual;
    std::uint64_t ullAvailExtendedVirtual;  // 0
};

struct SYSTEM_INFO {
    DWORD dwPageSize;
    DWORD dwNumberOfProcessors;
};

// False with ERROR_INVALID_PARAMETER for another dwLength.
BOOL GlobalMemoryStatusEx(MEMORYSTATUSEX* status);

void GetSystemInfo(SYSTEM_INFO* info);

// The name of the user the program runs as. *size is the room in bytes, and then what the name with
// its terminator takes; ERROR_INSUFFICIENT_BUFFER where it doesn't fit, ERROR_NOT_FOUND for a user
// without a name.
BOOL GetUserNameA(char* name, DWORD* size);

// The kernel's name for the kind of file system that a folder is on ("ext4"), in size bytes;
// ERROR_INSUFFICIENT_BUFFER where it doesn't fit. The folder is spelled as platform/files.h says.
// What else a volume has isn't told: those pointers must be null, else ERROR_INVALID_PARAMETER.
BOOL GetVolumeInformationA(const char* folder, char* volume, DWORD volume_size, DWORD* serial,
                           DWORD* longest_name, DWORD* flags, char* file_system, DWORD size);

#endif
