/*
 * Files by descriptor and by name: length, state and mode, record locks, temporary names, making
 * folders, opening files that are marked read-only, changing sizes.
 *
 * Names are 8-bit text, or wide text where the function's name ends in W; the twins are alike in
 * all else. Paths are built with a backslash.
 *
 * A failure is -1 with an error of module "oxfileop" whose data is the name, unless told otherwise,
 * and success is 1. Functions may be called from any thread; threads that share a descriptor share
 * its position.
 *
 * Open flags and modes are numbers (below), alike on every platform.
 *
 * Failures are reported under module "oxfileop".
 */
#ifndef MOLTELIB_FILE_H
#define MOLTELIB_FILE_H

#include <stdio.h>

#include "moltelib/base.h"
#include "moltelib/format/file_stat_record.h"

/* Open flags: all that the library uses. Bytes go in and out as they are. */
enum {
    ORVEX_OPEN_READ = 32768,
    ORVEX_OPEN_WRITE = 32769,
    ORVEX_OPEN_UPDATE = 32770,   /* reads and writes, as do all below */
    ORVEX_OPEN_CREATE = 33026,   /* makes the file, or takes the one that is there */
    ORVEX_OPEN_ANEW = 33538,     /* makes the file, or empties the one that is there */
    ORVEX_OPEN_RESERVE = 34050,  /* makes the file, which must not be there */
    ORVEX_OPEN_EXCLUSIVE = 34562 /* the same, with the flag that empties */
};

/* Bits of a file's mode, which are also the permission of a file that is made. */
enum {
    ORVEX_MODE_OWNER_WRITES = 0x80,
    ORVEX_MODE_OWNER_READS = 0x100,
    ORVEX_MODE_OWNER = 0x180, /* both: 384 */
    ORVEX_MODE_FOLDER = 0x4000
};

/* The system's own record of a file's state; the same fields on every platform. */
#if defined(_WIN32)
#include <sys/stat.h>
#include <sys/types.h>
typedef struct _stat64 OXSTAT64;
#else
/* Where <sys/stat.h> makes st_atime the macro st_atim.tv_sec, the field answers to that as well. */
typedef struct OXSTATTIME {
    int64_t tv_sec;
} OXSTATTIME;
#pragma push_macro("st_atime")
#pragma push_macro("st_mtime")
#pragma push_macro("st_ctime")
#undef st_atime
#undef st_mtime
#undef st_ctime
typedef struct OXSTAT64 {
    uint64_t st_dev;
    uint64_t st_ino;
    uint16_t st_mode;
    uint32_t st_nlink;
    uint32_t st_uid;
    uint32_t st_gid;
    uint64_t st_rdev;
    int64_t st_size;
    union {
        int64_t st_atime;
        OXSTATTIME st_atim;
    };
    union {
        int64_t st_mtime;
        OXSTATTIME st_mtim;
    };
    union {
        int64_t st_ctime;
        OXSTATTIME st_ctim;
    };
} OXSTAT64;
#pragma pop_macro("st_atime")
#pragma pop_macro("st_mtime")
#pragma pop_macro("st_ctime")
#endif

/* ---- State and mode ---- */

/* The length in bytes; -1 with error 10 ("fd=%d"). */
MOLTE_API int64_t ORVEX_FileLen(int32_t fd);

/* The state of an open file; 0, or -1 with nothing reported. */
MOLTE_API int32_t ORVEX_FileStatByFileDes(int32_t fd, OXSTAT64* pStatus);

/* The state of a file by name: 0; -1 with error 23 when there is none, 10 when it can't be had. */
MOLTE_API int32_t ORVEX_FileStatByFileName(const char* pszName, OXSTAT64* pStatus);
MOLTE_API int32_t ORVEX_FileStatByFileNameW(const wchar_t* pwszName, OXSTAT64* pStatus);

/* Its length, or -1 as above. */
MOLTE_API int64_t ORVEX_FileLenByFileName(const char* pszName);
MOLTE_API int64_t ORVEX_FileLenByFileNameW(const wchar_t* pwszName);

/* The state as a record, with the name as given, cut to 263 bytes. */
MOLTE_API int32_t ORVEX_GetFileStat(const char* pszName, OXFILESTAT* pRecord);

/*
 * Fills every field of the record but the two names; the attribute bits are added to those that are
 * set, so zero it first. Always 0.
 */
MOLTE_API int32_t ORVEX_FileSetModeToFS(const OXSTAT64* pStatus, OXFILESTAT* pRecord);

/* The mode bits that a record tells: both of the owner's and that of a folder. */
MOLTE_API int32_t ORVEX_FileGetModeFromFS(const OXFILESTAT* pRecord);

/* 1 for the record of a folder, else 0. */
MOLTE_API int32_t ORVEX_FileIsDirByMode(const OXFILESTAT* pRecord);

/* The mode bits, also stored in *pnMode unless that is null; or the negative result, in both. */
MOLTE_API int32_t ORVEX_FileGetMode(const char* pszName, int32_t* pnMode);
MOLTE_API int32_t ORVEX_FileGetModeW(const wchar_t* pwszName, int32_t* pnMode);
MOLTE_API int32_t ORVEX_FileGetModeByFD(int32_t fd, int32_t* pnMode);

/*
 * Adds and takes away mode bits; 0. -1 with error 13 when they can't be changed, with the error of
 * ORVEX_FileStatByFileName when they can't be read.
 */
MOLTE_API int32_t ORVEX_FileChangeMode(const char* pszName, int32_t nSet, int32_t nClear);
MOLTE_API int32_t ORVEX_FileChangeModeW(const wchar_t* pwszName, int32_t nSet, int32_t nClear);

/* Gives the file the mode of a state record; 1, or -1 with error 13. */
MOLTE_API int32_t ORVEX_FileChangeModeByStat(const char* pszName, const OXSTAT64* pStatus);

/* Sets both times, in seconds since 1970; 0, or -1 with nothing reported. */
MOLTE_API int32_t ORVEX_FileChangeModAccessTime(const char* pszName, int64_t nAccessTime,
                                                int64_t nModTime);

/* Kept names that do nothing. */
MOLTE_API int32_t ORVEX_FileChmodByFD(int32_t fd, int32_t nMode);                     /* 1 */
MOLTE_API int32_t ORVEX_FileChangeModeByFD(int32_t fd, int32_t nSet, int32_t nClear); /* 0 */

/* ---- Locks ---- */

/*
 * Locks or unlocks nSize bytes at nOffset, for this descriptor alone; its end ends the lock. Modes:
 * 0 unlock; 1 lock, with ten tries a second apart; 2 lock with one try; 3 as 1 and 4 as 2, though
 * their names speak of reading. A lock keeps out all other descriptors that ask for one. But on
 * Linux one that was OPENED FOR READING ALONE keeps out, in every mode, none but those that may
 * write: whoever must be alone opens for writing. The descriptor's position moves while the call
 * runs, and its low 32 bits are the result: test for -1 alone.
 * Errors: 5 ("fd=%d offset=%s op=%d") when the position can't be set, 2 ("fd=%d mode=%d size=%d").
 */
MOLTE_API int32_t ORVEX_FileRecordLock(int32_t fd, int32_t nMode, int64_t nOffset, int32_t nSize);

/*
 * Takes a file as a lock: makes it if need be and locks its first byte, with one try. The open
 * descriptor: keep it as long as the lock, close it to release. Errors: 7 not opened, 2 not locked.
 */
MOLTE_API int32_t ORVEX_LockFile(const char* pszName);

/* The same for nSize bytes at the descriptor position of a stream; 1. Errors: 50 for null, 2. */
MOLTE_API int32_t ORVEX_FP_FileLock(FILE* pStream, int32_t nMode, int32_t nSize);

/* ---- Names and folders ---- */

/*
 * A name for a temporary file that doesn't exist yet, to pszOut without a bound; error 296
 * ("path=%s prefix=%s").
 */
MOLTE_API int32_t ORVEX_TempFileName(const char* pszDir, char* pszOut, const char* pszPrefix);

/*
 * Reserves a temporary name in a folder by making an empty file of it: prefix ("otmp" for null or
 * empty), the first free number from 0 to 999998, ".tmp". -1 with nothing reported when there is
 * none or the folder takes none, with error 50 for a null folder or buffer. The caller's buffer
 * holds the folder's length and 24 bytes more, and the prefix's.
 */
MOLTE_API int32_t ORVEX_UTIL_GetTempFileName(const char* pszDir, char* pszOut,
                                             const char* pszPrefix);

/* The same beside a file: in the folder before its last backslash or colon, else in ".". */
MOLTE_API int32_t ORVEX_UTIL_TempFNFromFN(const char* pszFileName, char* pszOut,
                                          const char* pszPrefix);

/*
 * Makes a folder and those above it; what exists stays. The text is changed while the call runs and
 * put back. nUnused is not looked at. Errors: 50 ("path name is empty") for null or an empty path,
 * 1 with the folder that can't be made.
 */
MOLTE_API int32_t ORVEX_DirCreateRecur(char* pszPath, int32_t nUnused);

/* Makes the folder that a file is to stand in: before its last backslash or colon, else ".". */
MOLTE_API int32_t ORVEX_CreatePathByFileName(const char* pszFileName);

/*
 * Gives two files each other's name, by way of A's name with ".dhX". A step that fails is undone as
 * far as can be; error 14 with A's name. A process that dies between the steps leaves one of them
 * under that third name.
 */
MOLTE_API int32_t ORVEX_FileExchangeName(const char* pszA, const char* pszB);

/* ---- Opening, making, sizes ---- */

/*
 * Opens a file after adding "the owner reads and writes" to its mode, which stays added. Tried
 * twice when access is denied, with a second of waiting after each: a file that stays denied costs
 * two seconds. The descriptor, or a negative value; of a file that can't be opened nothing but the
 * failed change of mode is reported.
 */
MOLTE_API int32_t ORVEX_FileOpenByChmod(const char* pszName, int32_t nFlags);
MOLTE_API int32_t ORVEX_FileOpenByChmodW(const wchar_t* pwszName, int32_t nFlags);

/* Closes a descriptor that isn't negative; 1. */
MOLTE_API int32_t ORVEX_FileCloseByChmod(int32_t fd);

/*
 * Makes a file that must not exist yet and writes nLen bytes of pData to it (none for null or an
 * nLen below 1). Calls wait for each other. Errors: 1; 4 ("fd=%d buf=%p size=%d"), and then the
 * file stays with what was written, as after a death on the way.
 */
MOLTE_API int32_t ORVEX_FileExclCreate(const char* pszName, const void* pData, int32_t nLen,
                                       int32_t nPermission);
MOLTE_API int32_t ORVEX_FileExclCreateW(const wchar_t* pwszName, const void* pData, int32_t nLen,
                                        int32_t nPermission);

/*
 * Opens a file; one that can't be opened is made with that content (the flags serve as permission)
 * and opened then. The descriptor, or -1 with error 1.
 */
MOLTE_API int32_t ORVEX_FileOpenCreate(const char* pszName, const void* pData, int32_t nLen,
                                       int32_t nFlags);
MOLTE_API int32_t ORVEX_FileOpenCreateW(const wchar_t* pwszName, const void* pData, int32_t nLen,
                                        int32_t nFlags);

/* Makes an empty file, or empties one. Error 1. A file that gets descriptor 0 stays open. */
MOLTE_API int32_t ORVEX_NewEmptyFile(const char* pszName);

/*
 * Cuts or extends an open file; what is added reads as zeros. 0. Errors: 5 ("fd=%d offset=%s
 * op=%d"), 15 ("bad file fd=%d", "set end of file"). The position is the new end.
 */
MOLTE_API int32_t ORVEX_UTIL_ChSizeByFD(int32_t fd, int64_t nNewSize);

/*
 * The same; growth is written as zeros, so that the disk space is taken, unless bFastExpandFile of
 * g_stBv is set. 1. Errors: 10, 4 ("fd=%d buf=%p size=%d"), 5, 15 ("fd=%d newsize=%s").
 */
MOLTE_API int32_t ORVEX_UTIL_FileExpand(int32_t fd, int64_t nNewSize);

/* The same by name; error 1 when it can't be opened. */
MOLTE_API int32_t ORVEX_FileChangeSizeByFN(const char* pszName, int64_t nNewSize);

#endif
