// Memory that is the content of a file, or that processes have in common under a name.
//
// A mapping is an object of platform/kernel_objects.h: handles, names, CloseHandle, forks and what
// a crash leaves are as told there; it can't be waited for. A view is the memory itself. It
// outlives the handles of its mapping (but not the name, which goes with the last handle), is
// inherited by a forked child, and ends with UnmapViewOfFile or the process.
#pragma once

#include <cstddef>

#include "platform/kernel_objects.h"
#include "platform/types.h"

#if !defined(_WIN32)

constexpr DWORD PAGE_READONLY = 2;
constexpr DWORD PAGE_READWRITE = 4;
constexpr DWORD FILE_MAP_WRITE = 2;  // and read
constexpr DWORD FILE_MAP_READ = 4;
constexpr DWORD FILE_MAP_ALL_ACCESS = 0xF001F;

// Maps the open file behind a handle of _get_osfhandle; with INVALID_HANDLE_VALUE new memory, all
// zeros, of that many bytes rounded up to pages. With a name, room for it all is taken at once: a
// machine with too little fails here (ERROR_DISK_FULL), not where the memory is used; without one
// it is taken where it is used, as all memory of a process.
//
// Of a file, size 0 is its length; an empty file is then ERROR_FILE_INVALID. A size beyond the end
// lengthens a file that is mapped to be written, by zeros on the disk, and is
// ERROR_NOT_ENOUGH_MEMORY for one that is mapped to be read. A file that isn't open for reading,
// and for writing if that is wanted, is ERROR_ACCESS_DENIED; what isn't a plain file or isn't open,
// ERROR_INVALID_HANDLE; any other protection than the two above, or memory of size 0,
// ERROR_INVALID_PARAMETER. The descriptor may be closed afterwards.
//
// A name that is in use by a mapping gives that one, with its file or memory, size and protection;
// of this call only the file is looked at. A process that comes to another's file by its name finds
// the file by the path that it had: one that was renamed or removed since is ERROR_FILE_NOT_FOUND,
// one that was replaced ERROR_FILE_INVALID.
HANDLE CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES* none, DWORD protection, DWORD size_high,
                          DWORD size_low, const char* name);
// The access isn't looked at, and inherit must be FALSE.
HANDLE OpenFileMappingA(DWORD access, BOOL inherit, const char* name);

// A view of that many bytes from an offset on; with 0 bytes, to the end. The offset must be a
// multiple of 64 KiB, else ERROR_MAPPED_ALIGNMENT, and within the mapping, else
// ERROR_INVALID_PARAMETER. More bytes than it has from there, or writing where it is for reading,
// is ERROR_ACCESS_DENIED; a file that was cut since, ERROR_FILE_INVALID. Who cuts a file while it
// is mapped ends whoever touches what is gone. (On Windows nobody can.)
void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high, DWORD offset_low,
                    std::size_t bytes);

// ERROR_INVALID_ADDRESS for what isn't the start of a view.
BOOL UnmapViewOfFile(const void* view);

#endif

namespace platform {

// The bytes of a view, rounded up to pages; what lies behind the end of its file or memory is zero.
// 0 for what isn't the start of a view.
std::size_t view_size(const void* view);

}  // namespace platform
