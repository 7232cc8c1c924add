/*
 * The version of a program: four numbers, which stand in its file. On Windows they are the file
 * version of its version resource, elsewhere a note of the ELF file; moltelib/program_version.h
 * puts them there, from one source for both.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_APPLICATION_VERSION_H
#define MOLTELIB_APPLICATION_VERSION_H

#include "moltelib/base.h"
#include "moltelib/format/application_version_record.h"

/* The longest text of a version, "65535.65535.65535.65535", with its terminator. */
#define MOLTE_APPVERSION_TEXT_SIZE 24

/*
 * Reads the version from a program's file; pVersion is cleared first. 1, or -1 with the path as
 * data and error 273 when the file can't be read or has none, 274 or 275 when what it has is no
 * version. Error 50 for null.
 */
MOLTE_API int32_t MOLTE_GetAppVersion(const char* pszPath, MOLTE_APPVERSION* pVersion);

/* The same as text, "1.2.3.4"; pszDst has room for MOLTE_APPVERSION_TEXT_SIZE bytes. */
MOLTE_API int32_t MOLTE_GetAppVerString(const char* pszPath, char* pszDst);

/* Writes the text of a version to pszDst, as above, and returns it; null with error 50 for null. */
MOLTE_API char* MOLTE_AppVersionToString(const MOLTE_APPVERSION* pVersion, char* pszDst);

/* -1, 0 or 1 by the four numbers in order. -1 with error 50 for null. */
MOLTE_API int32_t MOLTE_CmpAppVersion(const MOLTE_APPVERSION* pA, const MOLTE_APPVERSION* pB);

/* -1, 0 or 1. (The letters of the name are meant.) */
MOLTE_API int32_t UITL_uint2Cmp(uint16_t nA, uint16_t nB);

/*
 * For versions that are dates, such as 20181231: 1 if nVersion isn't below the wanted one or isn't
 * known (below 1), else 0.
 */
MOLTE_API int32_t MOLTE_IsDateVerMatch(int32_t nVersion, int32_t nWanted);

/*
 * For the first lines of main(): 1 if an argument behind the first is exactly "-printver", and then
 * the program's version has been printed to standard output ("1.2.3.4. 64 bit Release" and a line
 * feed), or the error that it has none; 0 if not.
 *
 *     if (UTIL_IsPrintVer(argc, argv)) return 0;
 */
MOLTE_API int32_t UTIL_IsPrintVer(int32_t nArgc, char** ppszArgv);

/* Prints a text to standard output as it stands; 1, or -1 with error 50 for null. */
MOLTE_API int32_t MOLTE_VER_Output(const char* pszText);

#endif
