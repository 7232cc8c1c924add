/*
 * The text error log: one file per installation, "errlog.txt" in the LOG folder of the main path,
 * to which all programs of the machine append. At 10 MiB it turns over into a numbered backup,
 * "errlog_0000.txt" and on; the backups are held to 128 MiB in all by removing the oldest.
 *
 * An entry is written as one piece at the end of the file, so that entries of threads and processes
 * stay whole: an empty line, "======>" with the time, the program's path; its version and start
 * time; size of the program, CPU count, memory and platform; the caller's text; and with a code
 * other than 0 the thread's error record (moltelib/error.h).
 *
 * A log that can't be written never makes its caller fail: the LOG folder must be there, for nobody
 * makes it here, else entries are lost in silence; one for which there is too little room,
 * in memory or on the disk, is cut. The log is on after bring-up (bErrLogEnabled of
 * g_stBv). Functions may be called from any thread.
 *
 * Failures are reported under module "orvexerr".
 */
#ifndef MOLTELIB_ERROR_LOG_H
#define MOLTELIB_ERROR_LOG_H

#include "moltelib/base.h"

/* The code of ORVEX_ERRLOG_LogEx that closes the log. */
#define ORVEX_ERRLOG_CLOSE 99999

/* Makes the log's lock, if it isn't made yet; 1. */
MOLTE_API int32_t ORVEX_ERRLOG_Init(void);

/* Hold the log across several entries; the holder may log. Always 1. */
MOLTE_API int32_t ORVEX_ERRLOG_Lock(void);
MOLTE_API int32_t ORVEX_ERRLOG_Unlock(void);

/* The log's path, which takes 143 bytes of pszBuf at most; -1 without a main path. */
MOLTE_API int32_t ORVEX_ERRLOG_GetFileName(char* pszBuf);

/*
 * Writes an entry: the text of pszFmt (null for none) and, with nCode other than 0, the thread's
 * error record. 1, also when the file can't be written; 0 when the log is off, -1 without a main
 * path. With nCode 99999 it closes the log instead: 1 (0 when the log is off: then nothing closes).
 */
MOLTE_API int32_t ORVEX_ERRLOG_LogEx(int32_t nCode, const char* pszFmt, ...) MOLTE_PRINTF(2, 3);

/* Logs a line of text (null: the head lines alone), the second with the error record. */
MOLTE_API int32_t ORVEX_ERRLOG_Log(const char* pszText);
MOLTE_API int32_t ORVEX_ERRLOG_SysErrLog(const char* pszText);

/* Closes the log; the next entry opens it again. */
MOLTE_API int32_t ORVEX_ERRLOG_Close(void);

/* Removes the log's file; 0, or -1. */
MOLTE_API int32_t ORVEX_ERRLOG_Clear(void);

/* Turns the log over when it has reached that many KiB; 1, or -1 without a main path. */
MOLTE_API int32_t ORVEX_ERRLOG_ClearIfSizeLargerThan(int32_t nKiB);

/*
 * The older form: a log of at least nKiB (below 1: 4096) is removed or, with bBackupErrLogFile of
 * g_stBv, gets the first free name of "errlog_0000.txt" to "errlog_9998.txt". 0, or the result of
 * the removal.
 */
MOLTE_API int32_t ORVEX_ERRLOG_ClearIfSizeLargerThan_Old(int32_t nKiB);

/*
 * Turns any growing file over: pszDir\pszName + pszExt of at least nMinSize bytes becomes
 * pszDir\pszName_NNNN + pszExt with the number behind the highest there is (behind 2147483647 the
 * first free one); before that the lowest numbers are removed until backups and file together are
 * below nTotalLimit bytes. Always 1.
 */
MOLTE_API int32_t MOLTE_BackupFile(const char* pszDir, const char* pszName, const char* pszExt,
                                   int64_t nTotalLimit, int64_t nMinSize);

/*
 * The path of a backup by number; of -1 the file's own, of -2 the pattern that finds its backups.
 * The result of ox_snprintf.
 */
MOLTE_API int32_t MOLTE_BuildBackupFileName(char* pszDst, int32_t nDstLen, const char* pszDir,
                                            const char* pszName, int32_t nIndex,
                                            const char* pszExt);

#endif
