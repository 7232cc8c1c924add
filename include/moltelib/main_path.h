/*
 * Where an installation lives. All its programs find their folders from one root, the main path,
 * which is kept in the machine's registry under HKEY_LOCAL_MACHINE, or is given by the program.
 * Every folder and well-known file name of the system is derived from it.
 *
 * Names are built with a backslash. The functions that write a name into pszDst leave its bounds to
 * the caller. A main path has at most 127 characters, so 136 bytes hold every folder, 261 bytes the
 * parameter file (whose own name may have 127 too) and 165 the database list. Their result is 1, or
 * -1 when no main path is known; then the error is 1000, or that of the registry (InitMainPath).
 *
 * The main path is read once, on one thread, during bring-up; afterwards any thread may ask.
 *
 * Failures are reported under modules "oxmnpath" and "oxfname".
 */
#ifndef MOLTELIB_MAIN_PATH_H
#define MOLTELIB_MAIN_PATH_H

#include "moltelib/base.h"

/* The main path, or null with error 1000 when none is known. Never reads the registry. */
MOLTE_API const char* GetMainPath(void);

/* The main path, read from the registry when none is known yet; null with its error. */
MOLTE_API const char* UTIL_GetMainPath(void);

/*
 * Sets the main path without the registry; an empty text is taken. Null, or 128 characters and
 * more: -1 with error 124.
 */
MOLTE_API int32_t ORVEX_SetMainPath(const char* pszPath);

/* The registry key of the system; also copied to pszBuf (64 bytes) unless that is null. */
MOLTE_API const char* GetRegKeyName(char* pszBuf);

/*
 * Reads the main path from the registry unless one is known; clears the thread's error record. -1
 * with error 253 (no key) or 254 (no value of under 128 bytes). After a failure the main path
 * COUNTS AS KNOWN and is empty: a second call returns 1, and names begin with a backslash. Callers
 * that need to tell must test the first result.
 * A percent sign in the stored path isn't kept literally: "%%" stands for one, and any other
 * conversion in it prints nothing.
 */
MOLTE_API int32_t InitMainPath(void);

/*
 * Writes the main path to the registry and makes its folder; the path in use stays as it is. -1
 * with error 412 for null or an empty path, 255 or 256 when the registry refuses, 1 when the folder
 * can't be made.
 */
MOLTE_API int32_t CreateMainPath(const char* pszPath);

/* ---- Folders: the main path itself, and those under it ---- */

MOLTE_API int32_t ORVEX_SYS_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_TEMP_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_CONF_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_DLL_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_DOC_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_TOOLS_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_RMTCONF_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_EXE_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_BIN_PathName(char* pszDst);
MOLTE_API int32_t ORVEX_LOG_PathName(char* pszDst);

/*
 * Makes the main path and CONF, RMTCONF, BIN, TEMP and EXE in it; LOG, DLL, DOC and TOOLS are not
 * made here. 1, or -1 with error 1 at the first that can't be made.
 */
MOLTE_API int32_t ORVEX_SYS_CreatePath(void);

/* ---- Files ---- */

/* The name of the parameter file, "rvexinit.ini" unless it was set; not to be freed. */
MOLTE_API const char* ORVEX_PARAMETER_GetIniFileName(void);

/* 1; 0 for null or an empty name, which change nothing; -1, with no error, from 128 characters. */
MOLTE_API int32_t ORVEX_PARAMETER_SetIniFileName(const char* pszName);

/* The parameter file, or pszName of any length, in the CONF folder. */
MOLTE_API int32_t ORVEX_PARAMETER_PathFileName(char* pszDst);
MOLTE_API int32_t ORVEX_PARAMETER_PathFileNameByFN(char* pszDst, const char* pszName);

/*
 * The database list in the CONF folder: szDbIniName of g_stBv, or "dbnumina.ini" when that is
 * empty.
 */
MOLTE_API int32_t ORVEX_DBCFG_PathFileName(char* pszDst);

#endif
