// Walking folders, and the room on a disk. Names are spelled as platform/files.h says; a failure
// sets the last error.
//
//     WIN32_FIND_DATAA found;
//     HANDLE find = FindFirstFileA("folder\\*.txt", &found);
//     if (find != INVALID_HANDLE_VALUE) {
//         do use(found.cFileName); while (FindNextFileA(find, &found));
//         FindClose(find);
//     }
//
// The last component of the name is the pattern: `*` stands for any characters, `?` for one, a
// pattern's ".*" at its end also for no dot at all, so that "*.*" is everything. Without a wildcard
// it is the name of one file or folder. Letter case counts as it does in names. A folder's own "."
// and ".." are among its entries. The entries come in no order.
#pragma once

#include "platform/files.h"
#include "platform/types.h"

#if defined(_WIN32)

namespace platform {

inline HANDLE find_first_name(const char* pattern, WIN32_FIND_DATAA* found) {
    return FindFirstFileExA(pattern, FindExInfoBasic, found, FindExSearchNameMatch, nullptr, 0);
}
int stat_found(HANDLE find, const char* folder, const WIN32_FIND_DATAA* found,
               struct _stat64* status);

}  // namespace platform

#else

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x0001;  // its owner may not write it
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x0010;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x0080;         // none of the others
constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x0400;  // a symbolic link

// An entry. What is told of a symbolic link is that of the file or folder it leads to, if there is
// one.
struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;  // the last change of its state
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    char cFileName[MAX_PATH];
    char cAlternateFileName[14];  // there is none: empty
};

// The first entry, and a handle for the others; INVALID_HANDLE_VALUE with ERROR_FILE_NOT_FOUND when
// nothing matches or there is no pattern behind the last delimiter, ERROR_PATH_NOT_FOUND without
// the folder or a name, ERROR_DIRECTORY where it is none. A handle is for one thread at a time; a
// closed or foreign one is ERROR_INVALID_HANDLE.
HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* found);

// The next entry; FALSE with ERROR_NO_MORE_FILES behind the last.
BOOL FindNextFileA(HANDLE find, WIN32_FIND_DATAA* found);

BOOL FindClose(HANDLE find);

// The bytes that this user may still store, the size and the free bytes of the disk that holds a
// folder; a null folder is the current one. Nulls are passed over.
BOOL GetDiskFreeSpaceExA(const char* folder, ULARGE_INTEGER* available, ULARGE_INTEGER* total,
                         ULARGE_INTEGER* free_bytes);

namespace platform {

// As FindFirstFileA, for a walk that needs names and perhaps a few states: of each entry that this
// handle gives only the name, FILE_ATTRIBUTE_DIRECTORY and FILE_ATTRIBUTE_REPARSE_POINT are sure,
// for which most file systems needn't be asked again. On Windows there is no alternate name.
HANDLE find_first_name(const char* pattern, WIN32_FIND_DATAA* found);

// _stat64 of an entry of an open find, without walking the path again. The folder is the part of
// the pattern before its last delimiter, "." if there is none; it must not be null.
int stat_found(HANDLE find, const char* folder, const WIN32_FIND_DATAA* found,
               struct _stat64* status);

}  // namespace platform

#endif
