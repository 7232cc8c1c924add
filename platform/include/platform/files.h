// Files by descriptor, by name and by stream, under the names of the Windows run-time.
//
// Names. `\` and `/` both separate. A name that is valid UTF-8 is taken as UTF-8; any other is
// walked by the current code page (platform/code_page.h), so that a trail byte 0x5C stays part of
// its character. All other bytes go to the system as they are: letter case counts, a drive letter
// is the name of a folder. A wide name becomes UTF-8. A name of 4096 bytes or more is ENAMETOOLONG,
// a null one EINVAL, a wide one with what is no character EILSEQ.
//
// Failure. -1, or null, with errno set; the last error (platform/last_error.h) then says the same.
// As on Windows a folder opened, or removed, like a file is EACCES.
//
// Ownership. Descriptors are the system's own; each is closed when another program is executed.
#pragma once

#include <cstdio>

#include "platform/types.h"

#if defined(_WIN32)

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <sys/locking.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/utime.h>

namespace platform {

inline constexpr char kLineEnd[] = "\r\n";

inline int rename_file(const char* from, const char* to) {
    return std::rename(from, to);
}
int open_to_read(const char* name, struct _stat64* status);
int open_to_read(const wchar_t* name, struct _stat64* status);
bool is_file(int fd, const char* name);
bool is_link(const char* name);
inline FILE* open_stream(const char* name, const char* mode) {
    return std::fopen(name, mode);
}
inline FILE* open_stream_wide(const wchar_t* name, const wchar_t* mode) {
    return _wfopen(name, mode);
}

}  // namespace platform

#else

#include <sys/stat.h>

#include <cstdint>

// The C library has these as macros for fields of its own struct stat; here they are plain names.
#undef st_atime
#undef st_mtime
#undef st_ctime

// Open flags. Reading, writing or both; the rest is added.
constexpr int _O_RDONLY = 0x0000;
constexpr int _O_WRONLY = 0x0001;
constexpr int _O_RDWR = 0x0002;
constexpr int _O_APPEND = 0x0008;      // each write goes to the end, as one step
constexpr int _O_RANDOM = 0x0010;      // a hint, not needed here
constexpr int _O_SEQUENTIAL = 0x0020;  // a hint, not needed here
constexpr int _O_NOINHERIT = 0x0080;   // every descriptor is so
constexpr int _O_CREAT = 0x0100;
constexpr int _O_TRUNC = 0x0200;  // needs writing
constexpr int _O_EXCL = 0x0400;   // with _O_CREAT: fail with EEXIST when the name is taken
constexpr int _O_BINARY = 0x8000;

// Bits of st_mode and of permissions.
constexpr int _S_IWRITE = 0x0080;  // the owner may write
constexpr int _S_IREAD = 0x0100;   // the owner may read
constexpr int _S_IFDIR = 0x4000;
constexpr int _S_IFREG = 0x8000;
constexpr int _S_IFMT = 0xF000;

// The state of a file. Times are seconds since 1970; st_ctime is that of the last change of the
// state (on Windows that of creation). Nothing but a folder has _S_IFDIR: a socket passes for a
// pipe, a block device for a character device. The size of a folder is 0.
struct _stat64 {
    uint64_t st_dev;
    uint64_t st_ino;
    uint16_t st_mode;
    uint32_t st_nlink;
    uint32_t st_uid;
    uint32_t st_gid;
    uint64_t st_rdev;
    int64_t st_size;
    int64_t st_atime;
    int64_t st_mtime;
    int64_t st_ctime;
};

struct __utimbuf64 {
    int64_t actime;
    int64_t modtime;
};

// Opens or creates; the descriptor. Bytes are never translated here, so _O_TEXT (0x4000) and all
// flags not listed above are EINVAL; on Windows _O_BINARY must be given for that. A new file gets
// the permission, less what the umask takes away and less writing for everyone: its lower nine bits
// as chmod knows them, of which Windows knows _S_IREAD and _S_IWRITE.
int _open(const char* name, int flags, int permission = _S_IREAD | _S_IWRITE);
int _wopen(const wchar_t* name, int flags, int permission = _S_IREAD | _S_IWRITE);

// Up to count bytes, at most 2^31 - 1; the number transferred, 0 at the end of the file. Neither is
// cut short by a signal. A write that ends early, as on a full disk, gives the bytes that were
// written and leaves the reason in errno.
int _read(int fd, void* buffer, unsigned count);
int _write(int fd, const void* data, unsigned count);

int _close(int fd);

// The new position, from the start (SEEK_SET), the present one or the end; the present position.
int64_t _lseeki64(int fd, int64_t offset, int origin);
int64_t _telli64(int fd);

int64_t _filelengthi64(int fd);

// Waits until what was written is on the disk.
int _commit(int fd);

int _fstat64(int fd, struct _stat64* status);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"  // the function has the name of its record
int _stat64(const char* name, struct _stat64* status);
#pragma GCC diagnostic pop
int _wstat64(const wchar_t* name, struct _stat64* status);

// Whether the name exists (0), may be written (2), read (4) or both (6) by this process: 0 or -1.
int _access(const char* name, int mode);
int _waccess(const wchar_t* name, int mode);

// Changes a file's permission. A mode of _S_IREAD and _S_IWRITE alone, all that Windows knows, sets
// or clears those two bits of the owner and keeps those of group and others. A mode that holds more
// permission bits, as one that comes from st_mode, is taken whole. Without _S_IWRITE nobody may
// write. A file that has the permission already is not touched.
int _chmod(const char* name, int mode);
int _wchmod(const wchar_t* name, int mode);

// Sets the access and modification times; null stands for now.
int _utime64(const char* name, const struct __utimbuf64* times);

int _mkdir(const char* name);
int _rmdir(const char* name);
int _chdir(const char* name);
int _unlink(const char* name);

// The current folder as the system spells it, into a buffer of size bytes; ERANGE when it is too
// small. A null buffer has one made by malloc.
char* _getcwd(char* buffer, int size);

// A name that no file has, in the folder that the environment variable TMP names, if there is one,
// else in the given folder, else in the system's folder for temporary files: folder, `\`, prefix, a
// number. The file is not made. The caller frees the text with free().
char* _tempnam(const char* folder, const char* prefix);

// Locks or unlocks size bytes from the present position on, for this descriptor: any other one, of
// this process or another, is kept out until it unlocks, closes, or its process ends, however. The
// lock binds those who lock, not those who only read or write. A descriptor may lock again what it
// holds. One that is open for reading alone gets a lock that keeps writers out, not other readers.
constexpr int _LK_UNLCK = 0;
constexpr int _LK_LOCK = 1;    // ten tries, a second apart, then EDEADLK
constexpr int _LK_NBLCK = 2;   // one try, then EACCES
constexpr int _LK_RLCK = 3;    // as _LK_LOCK
constexpr int _LK_NBRLCK = 4;  // as _LK_NBLCK
int _locking(int fd, int mode, long size);

// The descriptor as a handle of the system, for the calls that take one; it stays the descriptor's
// and isn't closed by itself. -1 for a descriptor that isn't open.
intptr_t _get_osfhandle(int fd);

// The descriptor of a stream, also of one that translates.
int _fileno(FILE* stream);

// The present position becomes the end of the file; what is added reads as zeros.
BOOL SetEndOfFile(HANDLE file);

// Copies content, permission and modification time, with holes kept; the latter two only where the
// target's file system, and its owner if it was there, allow. A target is written over unless
// fail_if_exists (then the last error is ERROR_FILE_EXISTS); a file is never copied onto itself
// (ERROR_SHARING_VIOLATION). A copy that fails leaves no target.
BOOL CopyFileA(const char* source, const char* target, BOOL fail_if_exists);

namespace platform {

// What the platform's own text files end a line with.
inline constexpr char kLineEnd[] = "\n";

// The descriptor in a handle of _get_osfhandle, or -1. Such a handle is an odd number below 2^32;
// the other handles of this folder are even, or above.
int handle_descriptor(HANDLE file);

// Gives a file or folder another name on the same disk (else EXDEV), and never replaces: a taken
// name is EEXIST. (rename, as it is on Windows.)
int rename_file(const char* from, const char* to);

// Whether a name is that of an open file, whatever its spelling: another name, a link. False as
// well for a name that can't be looked at.
bool is_file(int fd, const char* name);

// Whether a name is that of a symbolic link, or of what else stands for another place; false as
// well for a name that can't be looked at.
bool is_link(const char* name);

// Opens a file to be read from its start and tells its state in the same step. A pipe doesn't hold
// the caller up. As _open otherwise.
int open_to_read(const char* name, struct _stat64* status);
int open_to_read(const wchar_t* name, struct _stat64* status);

// Opens a stream by the modes "r", "w", "a" with "+" for both directions; with "b" for bytes as
// they stand, else, or with "t", for text. Text is written with the platform's own line end, and
// CR LF is read as LF on every platform. After such a pair was read, the stream may be read on, or
// put to its start or end, but not elsewhere (ESPIPE). Any other mode is EINVAL. Close with fclose.
//
// A stream opened with "a" adds at the end, wherever it was read: what is in its buffer goes there
// by one write when it is flushed, so that entries of processes don't mix. An entry bigger than
// the buffer goes as one by a flush and a _write to the stream's _fileno.
FILE* open_stream(const char* name, const char* mode);
FILE* open_stream_wide(const wchar_t* name, const wchar_t* mode);

}  // namespace platform

#endif
