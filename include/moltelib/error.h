/*
 * Error reporting. A function that fails stores one record on its thread with ORVEX_Err_Set; each
 * function that passes the failure on adds its own line with ORVEX_Err_AddNL and returns a negative
 * value (a pointer: null). Whoever is at the top reads, prints, logs or sends the record.
 *
 *     if (ORVEX_HFILE_Read(file, buffer, size) < 0) {
 *         ORVEX_Err_AddNL(__LINE__, "matcher");
 *         return -1;
 *     }
 *
 * The current record is the thread's, the first part of its block (moltelib/thread_data.h). Threads
 * without a block, for want of memory, share one static record. A function that succeeds leaves the
 * record alone, so GetRvexErrNo tells something only right after a failure.
 *
 * Reporting never fails, allocates nothing after a thread's first report and works before bring-up.
 * It takes no lock but that of local time (moltelib/thread.h), and when the host name or the
 * operating system is not yet known one that guards the filling in. Text that does not fit a field
 * is cut. Null where text is expected counts as empty text.
 *
 * Failures are reported under module "orvexerr".
 */
#ifndef MOLTELIB_ERROR_H
#define MOLTELIB_ERROR_H

#include <stdio.h>

#include "moltelib/base.h"
#include "moltelib/format/error_record.h"

/* A program's own table of error texts, for the check functions below. */
typedef struct ErrStringStruct {
    uint32_t nErrNo;
    const char* pszText;
} ErrStringStruct;

#if defined(__cplusplus)
static_assert(sizeof(ErrStringStruct) == 16);
#endif

/* Shows a text to whoever watches the program; the result is not used. */
typedef int32_t (*ORVEX_MONITORFUN)(const char* pszText);

/* ---- Storing ---- */

/*
 * Overwrites the current record with a failure: always 0.
 *   nErrNo     the library's error number
 *   nSysErrNo  the system's number, see nOption
 *   szFile     the source; of what stands behind its last backslash 32 characters are kept; a
 *              slash is no delimiter here
 *   nLine      the source line; its low 16 bits are kept
 *   nDataLen   bytes at pData, of which 144 are kept; texts of more than 255 bytes pass 255
 *   pData      data of the failure, as a name or a message; may be null
 *   nOption    0 a fault the caller found itself, nSysErrNo is 0
 *              1 a call of the run-time failed, nSysErrNo is errno
 *              3 a call of the platform failed, nSysErrNo is GetLastError()
 *              4 a socket call failed, nSysErrNo is errno
 * With an nOption the record also takes the system's message of nSysErrNo, and as nWinErrNo the
 * platform's last error at the moment of the call; for the error numbers 71 to 83 the last socket
 * error. Time, host name and environment line are filled in. The host name stays empty in the one
 * record that finds it not yet known.
 */
MOLTE_API int32_t ORVEX_Err_Set(uint32_t nErrNo, uint32_t nSysErrNo, const char* szFile,
                                int32_t nLine, uint8_t nDataLen, const void* pData,
                                uint8_t nOption);

/*
 * Adds a caller to the history: the low 16 bits of the line, and the first 17 characters of what
 * stands behind the last backslash of szFile. The history keeps its first 14 entries; later
 * ones are dropped. With no error recorded the record becomes error 103 at line 142 first.
 */
MOLTE_API int32_t ORVEX_Err_AddNL(int32_t nLine, const char* szFile);

/* ---- The record as a whole ---- */

/*
 * The current record, never null; it stays the library's and is overwritten by the thread's next
 * report.
 */
MOLTE_API ORVEX_ERRDATA* ORVEX_GetErrData(void);

/* 1, or -1 with error 50 for a null record. */
MOLTE_API int32_t ORVEX_SetErrData(const ORVEX_ERRDATA* pSrc); /* becomes the current record */
MOLTE_API int32_t ORVEX_CopyErrData(ORVEX_ERRDATA* pDst);      /* takes the current record */
MOLTE_API int32_t ORVEX_Err_ClearError(void);                  /* no error recorded any more */

/* ---- Parts of the record ---- */

MOLTE_API uint32_t GetRvexErrNo(void);   /* 0: no error recorded */
MOLTE_API int32_t GetRvexSubErrNo(void); /* sign-extended from 16 bits */

/* Keeps the low 16 bits of nSubErrNo; 1. */
MOLTE_API int32_t ORVEX_Err_SetSubErrno(int32_t nSubErrNo);

/* Sets the system's number and, unless szText is null, its message, cut to 59 characters; 1. */
MOLTE_API int32_t ORVEX_Err_SetSysErrStr(uint32_t nSysErrNo, const char* szText);

/* The size of buffer that ORVEX_Err_GetErrData fills: 144. */
MOLTE_API int32_t ORVEX_Err_DataBufLen(void);

/*
 * Stores nLen bytes, at most 144, as error data of a record; the record's nDataLen is the caller's
 * to set. 1, or -1 with error 50 for null or a negative nLen.
 */
MOLTE_API int32_t ORVEX_Err_SetErrData(ORVEX_ERRDATA* pRec, const void* pData, int32_t nLen);

/*
 * Copies the error data of a record to pBuf in one run and gives its length. An nDataLen above 144
 * is lowered to 144 in the record first. nBufLen is not looked at: pBuf holds 144 bytes. -1 with
 * error 50 for null.
 */
MOLTE_API int32_t ORVEX_Err_GetErrData(ORVEX_ERRDATA* pRec, void* pBuf, int32_t nBufLen);

/*
 * Writes the environment line to szBuf and gives szBuf back: program name, its version, operating
 * system, bytes of the program file, physical memory in MB and 32 or 64 bits, with blanks between.
 * Bounded as ox_snprintf: a line of nLen bytes or more fills the buffer without a terminator, and
 * one of exactly nLen reports error 501. In every case it first puts 64 into g_stBv.nKernelBit and
 * the name of the system into g_stBv.szOsPlatform if they are not set. Null or an nLen below 1:
 * nothing is written.
 */
MOLTE_API char* ORVEX_GetEnvString(char* szBuf, int32_t nLen);

/*
 * ---- Texts of error numbers ----
 *
 * They stay the library's, and are good until tear-down. Bring-up loads them once, from the string
 * resource of the language that the parameter DEF_LANG_ID names, or of the user's where that is
 * absent or 0; without a file for it, from the Chinese one. NOTHING CHANGES THEM LATER, neither
 * OXLANG_LID_Set nor a new value of DEF_LANG_ID: another language takes tear-down and bring-up.
 */

/* The text, or "Unknown" for a number that the resource lacks and where none is loaded. */
MOLTE_API const char* GetRVEXErrStrByErrno(uint32_t nErrNo);
MOLTE_API const char* ORVEX_Err_GetErrString(uint32_t nErrNo); /* the same */
MOLTE_API const char* GetRvexErrStr(void);                     /* of the current record */

/* ---- Reports of programs, and the monitor that may watch them ---- */

/*
 * Report an error found by a run-time call (errno, module "orvexerr"), without and with a text,
 * then show the monitor the text that RvexErrPrintf kept last: their own error is not shown.
 * Always 0. The text is cut to 255 bytes.
 */
MOLTE_API int32_t SetRvexErrNo(uint32_t nErrNo);
MOLTE_API int32_t SetRvexErr(uint32_t nErrNo, const char* szText);

/* Keeps a text of at most 255 bytes for the whole process and shows it to the monitor; 0. */
MOLTE_API int32_t RvexErrPrintf(const char* szFormat, ...) MOLTE_PRINTF(1, 2);

/* Shows a text of at most 1023 bytes to the monitor, if messages are watched; 0. */
MOLTE_API int32_t RvexMessage(const char* szFormat, ...) MOLTE_PRINTF(1, 2);

/*
 * Lets the monitor see errors ("PU-RVEX ERROR :> " and the kept text) and messages, or not; 1. A
 * null pfnMonitor stands for ORVEX_MSGSHOWFUN. For the whole process, unguarded: set it at start.
 */
MOLTE_API int32_t SetRvexMonitorStatus(int32_t bErr, int32_t bMsg, ORVEX_MONITORFUN pfnMonitor);

/* Shows a text in a message box without a title; the platform's result, 0 where there is none. */
MOLTE_API int32_t ORVEX_MSGSHOWFUN(const char* pszText);

/* ---- Printing. nOption of every printer is accepted and has no effect ---- */

/*
 * Print a record as lines that end in "\r\n"; output that does not fit stops at nBufLen, always
 * terminated. 1; 0 for a null buffer, an nBufLen below 1, or a null record, which leaves the buffer
 * empty. A record from elsewhere may hold anything: nothing outside its fields is read.
 */
MOLTE_API int32_t ORVEX_Err_sPrintParamWithOptionEx(char* szBuf, int32_t nBufLen,
                                                    const ORVEX_ERRDATA* pRec, uint32_t nOption);
MOLTE_API int32_t ORVEX_Err_sPrintParamWithOption(char* szBuf, int32_t nBufLen,
                                                  const ORVEX_ERRDATA* pRec, uint32_t nOption);
MOLTE_API int32_t ORVEX_Err_sPrintParam(char* szBuf, int32_t nBufLen, const ORVEX_ERRDATA* pRec);

/* The same of the current record. */
MOLTE_API int32_t ORVEX_Err_sPrintWithOption(char* szBuf, int32_t nBufLen, uint32_t nOption);
MOLTE_API int32_t ORVEX_Err_sPrint(char* szBuf, int32_t nBufLen);

/* Prints only the line with number and text of the error. */
MOLTE_API int32_t ORVEX_Err_sPrintSimpleWithOption(char* szBuf, int32_t nBufLen,
                                                   const ORVEX_ERRDATA* pRec);

/* Print the current record, at most 2047 bytes, to a stream; null is standard output. 1. */
MOLTE_API int32_t ORVEX_Err_fPrintWithOption(FILE* fp, uint32_t nOption);
MOLTE_API int32_t ORVEX_Err_fPrint(FILE* fp);
MOLTE_API int32_t ORVEX_Err_PrintWithOption(uint32_t nOption); /* to standard output */
MOLTE_API int32_t ORVEX_Err_Print(void);

/* ---- Helpers ---- */

/*
 * Appends szSrc at szDst[*pnPos], cut to fit nSize bytes with a terminator; moves *pnPos behind it
 * and gives it. With *pnPos at nSize - 1 or beyond nothing is done: nSize - 1. -1 with error 50 for
 * a null pointer or a negative position.
 */
MOLTE_API int32_t ORVEX_StrCopy(char* szDst, const char* szSrc, int32_t* pnPos, int32_t nSize);

/* For qsort and bsearch: the difference of the error numbers of two ErrStringStruct. */
MOLTE_API int32_t ErrStringStruct_Cmp(const void* pA, const void* pB);

/*
 * The tables: a count of 0 is an empty table, whose pointer may be null. Any other null, and a
 * negative count, give -1 with error 50.
 */

/* Sorts a table by error number; 1, 0 for an empty one. */
MOLTE_API int32_t ErrStringStruct_Sort(ErrStringStruct* pTable, int32_t nCount);

/* Sorts the table and names each repeated number on standard output; 1 if there is any, else 0. */
MOLTE_API int32_t ORVEX_UTIL_CheckDupErrNo(ErrStringStruct* pTable, int32_t nCount);

/* Names on standard output each of nCount numbers, with szLabel, that a sorted table lacks; 0. */
MOLTE_API int32_t ORVEX_UTIL_CheckExistErr(const ErrStringStruct* pA, int32_t nCount,
                                           const ErrStringStruct* pTable, int32_t nTableCount,
                                           const char* szLabel);

/* Does nothing; always 0. */
MOLTE_API int32_t ORVEX_Err_CheckDupErrNo(void);

#endif
