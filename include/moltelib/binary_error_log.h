/*
 * The binary error log: one file of fixed size per installation, "berrlog.dat" in the LOG folder of
 * the main path, that takes texts as time-stamped entries and gives back those that are newer than
 * a given time. Its layout is in moltelib/format/binary_error_log_record.h. Every call opens and
 * closes the file, so it is meant for errors, not for traffic.
 *
 * Programs of the system live with how the file behaves, and it is kept:
 * - The map is not read when the file is opened. So all entries go to block 0; a full block is
 *   cleared and begun again; and each entry WRITES A ZEROED MAP OVER THE HEAD, with n64NextSeq 1:
 *   after the first entry the head is no longer valid, and nothing looks at it.
 * - The text of an entry of LEN bytes lies LEN bytes behind the start of its block, over whatever
 *   lies there: two entries of one length leave the text of the second, and one of under 16 bytes
 *   lies over the block's own numbers.
 * - BERRLOG_AddLog gives 0, also after a failure.
 * - A retrieval that meets no entry older than its filter goes on through the empty blocks behind,
 *   to the end of the file, where the read fails: -1, and no text.
 *
 * Failures are -1 with an error of module "oxerrlog" and a line in the history for each function
 * that passes it on. Threads and processes exclude each other by a lock on the file's first byte,
 * which is waited for up to ten seconds.
 *
 * Failures are reported under module "oxerrlog".
 */
#ifndef MOLTELIB_BINARY_ERROR_LOG_H
#define MOLTELIB_BINARY_ERROR_LOG_H

#include "moltelib/base.h"
#include "moltelib/file_handle.h"
#include "moltelib/format/binary_error_log_record.h"

/* An open log. */
typedef struct BERRLOG_FILE {
    ORVEX_HFILE* pFile;
    BERRLOG_FILEMAP* pMap; /* all zero: it isn't read from the file */
    int64_t n64FileLen;
    int64_t n64Seq;      /* stays 0 */
    int32_t nBlockCount; /* stays 0 */
} BERRLOG_FILE;

/* ---- The log of the installation ---- */

/* The log's path, which takes 144 bytes of pszDst at most; -1 without a main path. */
MOLTE_API int32_t MOLTE_BERRLOG_PathFileName(char* pszDst);

/* Adds a text; 0, also when the file can't be written, and for no text. -1 without a main path. */
MOLTE_API int32_t MOLTE_BERRLOG_AddLog(const char* pszText, int32_t nLen);

/* BERRLOG_RetrLog on the log; -1 without a main path. */
MOLTE_API int32_t MOLTE_BERRLOG_Retr(BERRLOG_ENTRY** ppEntries, char** ppszText,
                                     const BERRLOG_FILTER* pFilter);

/*
 * Make the log's critical section exist, bringing the library up if it isn't, and leave it. THE
 * FIRST DOESN'T ENTER IT, so neither excludes anybody, and the second does nothing. Both 1.
 */
MOLTE_API int32_t MOLTE_ERRLOG_Lock(void);
MOLTE_API int32_t MOLTE_ERRLOG_UnLock(void);

/* ---- Any file of this form ---- */

/*
 * Makes a file anew, for the owner alone, of as many blocks as nSize bytes take, at least 32; with
 * an nSize below 1025 of 128 blocks. 1; on failure the file is removed.
 */
MOLTE_API int32_t BERRLOG_CreateFile(const char* pszPath, int64_t nSize);

/*
 * Adds an entry to a file, which is made first if need be; always 0. A text that doesn't fit behind
 * the others begins the block again; in an empty block one of more than 8128 bytes is cut to that.
 * Of a text of more than 4096 bytes only what fits between its offset and the end of the block is
 * kept: NOTHING OF ONE OF 8192 BYTES that begins a full block again.
 */
MOLTE_API int32_t BERRLOG_AddLog(const char* pszPath, const char* pszText, int32_t nLen);

/*
 * Collects the texts of the entries from the filter's time on, one behind the other without
 * terminators, into *ppszText, which the caller frees with ORVEX_free. The number of entries;
 * THE ENTRIES THEMSELVES ARE NOT GIVEN: *ppEntries becomes null. With no entries 0 and a null text.
 * A walk past the last entry that a block has room for is error 298; of a text that runs past its
 * block only the part inside is taken.
 */
MOLTE_API int32_t BERRLOG_RetrLog(const char* pszPath, BERRLOG_ENTRY** ppEntries, char** ppszText,
                                  const BERRLOG_FILTER* pFilter);

/* ---- Its parts ---- */

/* Fill a file head, and a whole map with its head; 1. */
MOLTE_API int32_t BERRLOG_InitFileHead(BERRLOG_FILEHEAD* pHead);
MOLTE_API int32_t BERRLOG_InitFileMap(BERRLOG_FILEMAP* pMap);

/* 1 if size and magic of the head are right; else 0, with error 298. */
MOLTE_API int32_t BERRLOG_IsValidFileHead(const BERRLOG_FILEHEAD* pHead);
MOLTE_API int32_t BERRLOG_IsValidFileMap(const BERRLOG_FILEMAP* pMap);

/* Where block nBlock lies; pFile is not looked at. */
MOLTE_API int64_t BERRLOG_CalcBlockOffset(const BERRLOG_FILE* pFile, int32_t nBlock);

/* Opens and locks a file and fills *pFile; 1, or -1 with all undone. */
MOLTE_API int32_t BERRLOG_OpenFile(const char* pszPath, BERRLOG_FILE* pFile);

/* Unlocks and closes, frees the map and zeroes *pFile; 1. */
MOLTE_API int32_t BERRLOG_CloseFile(BERRLOG_FILE* pFile);

/* Write and read nLen bytes at a position; 1, or -1, also for a negative nLen. */
MOLTE_API int32_t BERRLOG_SaveRawData(BERRLOG_FILE* pFile, int64_t nOffset, const void* pData,
                                      int32_t nLen);
MOLTE_API int32_t BERRLOG_ReadRawData(BERRLOG_FILE* pFile, int64_t nOffset, void* pData,
                                      int32_t nLen);

/* The same with a whole block. */
MOLTE_API int32_t BERRLOG_ReadBlock(BERRLOG_FILE* pFile, int32_t nBlock, BERRLOG_BLOCK* pBlock);
MOLTE_API int32_t BERRLOG_SaveBlock(BERRLOG_FILE* pFile, int32_t nBlock,
                                    const BERRLOG_BLOCK* pBlock);

/* The smaller of n and 8128. */
MOLTE_API int32_t BERRLOG_UTIL_CutLen(int32_t n);

/*
 * 1 if the block has room for an entry of *pnLen bytes and 64 to spare. Else 0 if it holds entries,
 * and 1 with *pnLen cut to 8128 if it is empty.
 */
MOLTE_API int32_t BERRLOG_UTIL_CanHoldLog(const BERRLOG_BLOCK* pBlock, int32_t* pnLen);

#endif
