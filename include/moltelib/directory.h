/*
 * Folders and disks: splitting names, walking folders, listing and deleting, measuring use and free
 * space. Names are built with a backslash, and split at one (or at a colon) only.
 *
 * A failure is -1 with an error, of module "oxdirop", or "oxdskinf" where disks are asked; success
 * is 1. Symbolic links are not followed into folders: a listing passes over a link to a folder, and
 * deleting takes the link, not what it leads to. Functions may be called from any thread.
 *
 * Failures are reported under modules "oxdirop" and "oxdskinf".
 */
#ifndef MOLTELIB_DIRECTORY_H
#define MOLTELIB_DIRECTORY_H

#include "moltelib/array.h"
#include "moltelib/base.h"
#include "moltelib/format/file_stat_record.h"

/* What a find gives: the layout of the system's WIN32_FIND_DATAA. */
typedef struct OXFINDDATA {
    uint32_t dwFileAttributes;
    uint32_t ftCreationTime[2]; /* low half first; 100 ns since 1601-01-01 00:00 UTC */
    uint32_t ftLastAccessTime[2];
    uint32_t ftLastWriteTime[2];
    uint32_t nFileSizeHigh;
    uint32_t nFileSizeLow;
    uint32_t dwReserved0;
    uint32_t dwReserved1;
    char cFileName[260];
    char cAlternateFileName[14];
} OXFINDDATA;

#if defined(__cplusplus)
static_assert(sizeof(OXFINDDATA) == 320, "the layout is the system's");
#endif

/* ---- Names ---- */

/*
 * The folder of a file name, without its last backslash but with a last colon, "." when there is
 * none; and the base name. Either out may be null.
 */
MOLTE_API int32_t ORVEX_FileName2Path(const char* pszName, char* pszDir, char* pszBase);

/*
 * Splits a name with wild characters (* and ?) in its last component into folder and pattern; any
 * other name is all folder. 0, with both empty, for null or an empty name.
 */
MOLTE_API int32_t ORVEX_FileSplitDirName(const char* pszName, char* pszDir, char* pszPattern);

/* Makes each / and \ the delimiter; second bytes of double-byte characters stay. */
MOLTE_API int32_t ORVEX_TransPathDelimiter(char* pszPath, char cDelimiter);

/* ---- Finding ---- */

/*
 * Starts a walk over the entries that match; of a name without wild characters in its last
 * component over all entries of that folder. The first entry goes to *pData. The find's handle, to
 * be closed; -1 with error 27 for null or an empty name, 1 (with the pattern) when there is no
 * entry.
 */
MOLTE_API int64_t ORVEX_FileFindFirst(const char* pszName, OXFINDDATA* pData);

/* The next entry; 1, or 0 at the end. */
MOLTE_API int32_t ORVEX_FileFindNext(int64_t nFind, OXFINDDATA* pData);
MOLTE_API int32_t ORVEX_FileFindClose(int64_t nFind);

/* The name of the entry; it stays the record's. */
MOLTE_API char* ORVEX_FileFindGetName(OXFINDDATA* pData);

/*
 * Zeroes the state record and copies the entry's long and short name there. Errors: 28 for null,
 * 1001 for a name of 264 characters and more.
 */
MOLTE_API int32_t ORVEX_FileFindCopyName(const OXFINDDATA* pData, OXFILESTAT* pRecord);

/* ---- Folders ---- */

/* Changes the current folder, for all threads; error 29. */
MOLTE_API int32_t ORVEX_ChDir(const char* pszPath);

/* The current folder; pszBuf, or null with error 142. */
MOLTE_API char* ORVEX_Getcwd(char* pszBuf, int32_t nSize);

/* 1 for a folder, 0 for anything else; -1 when there is no such name. */
MOLTE_API int32_t ORVEX_NameIsPath(const char* pszName);

/*
 * 1 when a folder has no entries, and when there is no such name. 0 with error 900 when it has
 * some, -1 with error 402 when the name is no folder.
 */
MOLTE_API int32_t ORVEX_IsDirEmpty(const char* pszName);

/*
 * Deletes the files of a folder whose name begins with the prefix, ends with the suffix (whatever
 * the case; both may be null) and is nMinLen to nMaxLen bytes long. 1, also when one could not be
 * deleted: that ends the walk with error 17. 0 when nothing begins so.
 */
MOLTE_API int32_t ORVEX_DelFileInDir(const char* pszDir, const char* pszPrefix,
                                     const char* pszSuffix, int32_t nMinLen, int32_t nMaxLen);

/*
 * Deletes the files of a folder, with bRecursive also the folders in it, and at last the folder.
 * The first failure ends it, with error 17 for what can't be deleted.
 */
MOLTE_API int32_t ORVEX_DelFileInPathRecur(const char* pszDir, int32_t bRecursive);

/* ---- Lists: the caller frees *pp... with ORVEX_free; the result is the count ---- */

/*
 * The entries of a folder, folders among them, with their state; in no order. 0, with *ppList as it
 * was, when there are none. Error 401 for null.
 */
MOLTE_API int32_t ORVEX_GetFileListInDir(const char* pszDir, OXFILESTAT** ppList);

/*
 * The files of a tree, without its folders, each name in 128 bytes and relative to pszDir: "file",
 * "folder\file". A longer name is error 1001. One entry that can't be read fails the whole list.
 */
MOLTE_API int32_t ORVEX_RecurGetFileList(const char* pszDir, char (**ppList)[128]);

/*
 * The same with their state. Mind the form of the names: "\file" in the folder itself, "a\\file"
 * (two backslashes) and "a\b\\file" below.
 */
MOLTE_API int32_t ORVEX_RecurGetFileListLong(const char* pszDir, OXFILESTAT** ppList);

/*
 * What the two do for one folder: appends the files of root and relative path, and of the folders
 * in it, to an array of their elements. A relative path is empty or ends in a backslash.
 */
MOLTE_API int32_t ORVEX_UTIL_RecurFileList(const char* pszRoot, const char* pszRelative,
                                           PA* pArray);
MOLTE_API int32_t ORVEX_UTIL_RecurFileListLong(const char* pszRoot, const char* pszRelative,
                                               PA* pArray);

/* ---- Disks ---- */

/*
 * The bytes that a file takes, or the entries of a folder: a file of at least a byte counts in
 * whole 4096 bytes there, a folder that isn't empty 4096 more. 0 for null; -1 when there is no such
 * name. A folder that can't be walked COUNTS 0, and leaves error 1 behind.
 */
MOLTE_API int64_t ORVEX_DiskUsedInDir(const char* pszName);

/*
 * Size of a folder's disk and what the caller may use of it, in bytes; either out may be null. The
 * result is what may be used. Error 10, with both 0.
 */
MOLTE_API int64_t ORVEX_DISK_GetInfoEx(const char* pszDir, int64_t* pnTotal, int64_t* pnAvailable);

/* The same in units of 1048576 bytes, at most 2147483647 of them. */
MOLTE_API int32_t ORVEX_DISK_GetInfo(const char* pszDir, int32_t* pnTotal, int32_t* pnAvailable);

/*
 * 1 when the disk of a file name's folder has room for that many bytes and 32 MB more, else 0 with
 * error 202. Disks with 32 units or less have room for nothing.
 */
MOLTE_API int32_t ORVEX_DISK_CanHoldFile(const char* pszFileName, int64_t nBytes);

#endif
