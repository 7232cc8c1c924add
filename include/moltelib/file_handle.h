/*
 * File handles: a descriptor together with the file's name, so that every failure can name the
 * file. Over the plain calls they add: a failed read or write goes to the text error log with
 * position and length, whole transfers are counted and timed (the counters of g_stBv), and growing
 * a file asks for room on the disk first.
 *
 * A handle is one thread's at a time. A failure is -1 (or null) with an error of module "ofilehop".
 * Open flags and permissions are those of moltelib/file.h. Lengths and positions are in bytes.
 *
 * Failures are reported under module "ofilehop".
 */
#ifndef MOLTELIB_FILE_HANDLE_H
#define MOLTELIB_FILE_HANDLE_H

#include "moltelib/base.h"

#define ORVEX_HFILE_NAME_SIZE 256

/* From ORVEX_HFILE_Open or its kin to ORVEX_HFILE_Close; 384 bytes from the library's allocator. */
typedef struct ORVEX_HFILE {
    char szFileName[ORVEX_HFILE_NAME_SIZE]; /* as given at opening */
    int32_t fd;                             /* negative when there is none */
    uint8_t abyReserved[124];               /* stays zero */
} ORVEX_HFILE;

#if defined(__cplusplus)
static_assert(sizeof(ORVEX_HFILE) == 384, "the size is part of the interface");
#endif

/* ---- Opening and closing ---- */

/*
 * Opens a file after making its owner read and write it; with nFlags 0 to read and write. Null with
 * error 124 for a name of 256 characters and more, 1 when it can't be opened.
 */
MOLTE_API ORVEX_HFILE* ORVEX_HFILE_Open(const char* pszName, int32_t nFlags);

/*
 * Opens, and with 0x100 in nFlags creates, without changing a mode. Null with error 7. A name of
 * any length serves; the handle keeps its first 255 characters.
 */
MOLTE_API ORVEX_HFILE* ORVEX_HFILE_OpenMode(const char* pszName, int32_t nFlags,
                                            int32_t nPermission);

/* The same with create added; creating anew; creating anew for the owner alone. Creating anew
 * empties a file that is there. */
MOLTE_API ORVEX_HFILE* ORVEX_HFILE_CreateOpen(const char* pszName, int32_t nFlags,
                                              int32_t nPermission);
MOLTE_API ORVEX_HFILE* ORVEX_HFILE_Create(const char* pszName, int32_t nPermission);
MOLTE_API ORVEX_HFILE* ORVEX_HFILE_NewBinaryFile(const char* pszName);

/* Closes, frees and clears the caller's pointer; 0 when there is nothing to close. */
MOLTE_API int32_t ORVEX_HFILE_Close(ORVEX_HFILE** ppFile);

/* ---- Position, locks ---- */

/* The position; -1 for null, or with error 5. */
MOLTE_API int64_t ORVEX_HFILE_CurrentPos(ORVEX_HFILE* pFile);

/*
 * Sets the position: nOrigin 0 counts from the start, 1 from here, 2 from the end. The new position
 * whatever it is: compare it. From the start, another one than asked for is also reported: error 5.
 * -1 for null.
 */
MOLTE_API int64_t ORVEX_HFILE_Seek(ORVEX_HFILE* pFile, int64_t nOffset, int32_t nOrigin);

/* Locks a range with ten tries, a second apart; unlocks it. As ORVEX_FileRecordLock, -1 for null */
MOLTE_API int32_t ORVEX_HFILE_Lock(ORVEX_HFILE* pFile, int64_t nOffset, int32_t nSize);
MOLTE_API int32_t ORVEX_HFILE_Unlock(ORVEX_HFILE* pFile, int64_t nOffset, int32_t nSize);

/* ---- Transfers ---- */

/*
 * One transfer at the position; the bytes transferred. Fewer than nLen, at the end of the file say,
 * are a failure too: error 3 or 4 with the file's name, an entry in the text error log, and the
 * short count as result.
 */
MOLTE_API int64_t ORVEX_HFILE_Read(ORVEX_HFILE* pFile, void* pBuf, int64_t nLen);
MOLTE_API int64_t ORVEX_HFILE_Write(ORVEX_HFILE* pFile, const void* pData, int64_t nLen);

/* The same at a position, which is set first; -1 when it can't be. */
MOLTE_API int64_t ORVEX_HFILE_ReadS(ORVEX_HFILE* pFile, void* pBuf, int64_t nPos, int64_t nLen);
MOLTE_API int64_t ORVEX_HFILE_WriteS(ORVEX_HFILE* pFile, const void* pData, int64_t nPos,
                                     int64_t nLen);

/* Waits until what was written is on the disk; 1, or -1 with error 26. */
MOLTE_API int32_t ORVEX_HFILE_Commit(ORVEX_HFILE* pFile);

/* ---- Size and mode ---- */

/* The length of the file; -1 with error 10. */
MOLTE_API int64_t ORVEX_HFILE_Size(ORVEX_HFILE* pFile);

/*
 * Cuts or grows the file and gives the new length. Growing asks for room on the disk first and
 * writes zeros, unless bFastExpandFile of g_stBv is set. -1 with error 202 (no room), 291, or that
 * of the step that failed; the file may then be half grown.
 */
MOLTE_API int64_t ORVEX_HFILE_UTIL_ChangeSize(ORVEX_HFILE* pFile, int64_t nNewSize);

/* The same, but a file that could not be grown wholly gets its old length back. */
MOLTE_API int64_t ORVEX_HFILE_ChangeSize(ORVEX_HFILE* pFile, int64_t nNewSize);

/* Changes the mode of a file BY NAME; the system's result, with nothing reported. */
MOLTE_API int32_t ORVEX_HFILE_ChangeMode(const char* pszName, int32_t nMode);

/* ---- Whole jobs ---- */

/*
 * Loads a range into a buffer that the caller frees with ORVEX_free: at most nLen bytes from
 * nOffset (-1: 512 MB), up to the end of the file. The bytes loaded; 0, with *ppBuf as it was, when
 * nOffset is at or past the end.
 */
MOLTE_API int64_t ORVEX_HFILE_Load(const char* pszName, uint8_t** ppBuf, int64_t nOffset,
                                   int64_t nLen);

/* Writes a range of a file, which is made or grown (with zeros) as need be; nLen. A failure on the
 * way leaves the part that was written. */
MOLTE_API int64_t ORVEX_HFILE_AddUpdate(const char* pszName, const void* pData, int64_t nPos,
                                        int64_t nLen);

/*
 * Copies nLen bytes between two files; below 1, or above the source's length, stands for the
 * source's WHOLE length, whatever nSourcePos is. 1, or 0 when there is nothing to copy. The target
 * isn't cut. nUnused is not looked at. With pBuf null a buffer of at most 4 MB is made.
 */
MOLTE_API int32_t ORVEX_HFILE_Copy(ORVEX_HFILE* pTarget, int64_t nTargetPos, ORVEX_HFILE* pSource,
                                   int64_t nSourcePos, int64_t nLen, int32_t nUnused, void* pBuf,
                                   int32_t nBufSize);

/*
 * Moves a range inside one file, safely where the two overlap; the file grows as need be, and
 * shrinks back when that fails. A length below 1 stands for the file's; it is cut at the end of the
 * file. 1, or 0 when there is nothing to move. The buffer as above.
 */
MOLTE_API int32_t ORVEX_HFILE_Move(ORVEX_HFILE* pFile, int64_t nTargetPos, int64_t nSourcePos,
                                   int64_t nLen, int32_t nUnused, void* pBuf, int32_t nBufSize);

/*
 * Copies a file to a name of its own; an empty name is filled with one beside the source (the
 * buffer then holds the source's folder and 24 bytes more). 0 whether the copy worked or not: a
 * failure shows in the error record alone. -1 when no name was found. A file of that name is
 * emptied first, and a copy that fails leaves what was written. Is it the source itself, by
 * whatever name, nothing is done but a line in the history.
 */
MOLTE_API int32_t ORVEX_HFILE_Dup(ORVEX_HFILE* pSource, char* pszTarget);

/*
 * The same from a name, after asking for room on the disk: its length and 50 MB. Only a disk that
 * can't be asked stops the call (-1); too little room does not.
 */
MOLTE_API int32_t ORVEX_HFILE_DupFile(const char* pszSource, char* pszTarget);

#endif
