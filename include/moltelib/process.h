/*
 * Starting programs.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_PROCESS_H
#define MOLTELIB_PROCESS_H

#include "moltelib/base.h"

/*
 * Starts the program at pszPath and doesn't wait for it. It gets a console of its own: on POSIX a
 * session without a terminal, with nothing to read and no place for its output; no open file or
 * socket goes with it. Its end leaves nothing to be waited for.
 *
 * pszCommandLine is its whole command line, THE FIRST WORD OF WHICH IS ITS NAME for itself and no
 * argument; null or empty means the path. No shell sees it: on POSIX it is split as Windows
 * programs do it. Words end at blanks and tabs outside double quotes; "\"" is a quote, and
 * backslashes in front of one count by pairs; in the first word a backslash is nothing special.
 *
 *     MOLTE_Exec("C:\\BIN\\report.exe", "report \"two words\" 7");
 *
 * 1; -1 with error 101 ("error=%d" and the system's error) when it can't be started, with error 50
 * for a null path.
 */
MOLTE_API int32_t MOLTE_Exec(const char* pszPath, const char* pszCommandLine);

/*
 * Asks for the running program to be started again in nWaitSec seconds, by the companion program
 * BIN\oxrunat.exe of the installation (the main path). The caller goes on, and ends itself. It will
 * be started by its path alone, szAppName of g_stBv, without arguments.
 *
 * ALWAYS 0. What failed is on record: error 1000 of module "oxmnpath" without a main path, error 50
 * for a program without a name (before bring-up) or with a quote in it, and what MOLTE_Exec tells.
 */
MOLTE_API int32_t MOLTE_UTIL_Restart(int32_t nWaitSec);

#endif
