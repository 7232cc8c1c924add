/*
 * INI parameter files: plain text, lines of a name and a value. They stand in the CONF folder of
 * the installation; the usual one is "rvexinit.ini" (ORVEX_PARAMETER_SetIniFileName takes another).
 *
 *     # a comment
 *     ListenBacklogCnt = 64   # a comment on a line
 *
 * A line. Blanks and tabs at its start are skipped. The name runs to a blank, tab, "#", "=" or the
 * line end; then come blanks and tabs, "=", blanks and tabs, and the value, which runs to the first
 * "#", tab or line end: blanks inside it and at its end are part of it, those before a comment too,
 * and what follows a tab is lost. Lines that are empty, that begin with "#", have no name or no "="
 * give no value, and neither does a name that the file ends with. A line ends with LF or CR LF; one
 * longer than 2,047 bytes counts as several lines. There are no sections. Of a name that stands
 * twice the LAST line is read and the FIRST is changed, so such a name can't be set.
 *
 * A value is a text of at most 127 bytes in a slot of 128 bytes; a longer one, in a file or from a
 * caller, is cut. Arrays of values are slots in a row; arrays of names are pointers.
 *
 * Every call opens the file, locks it, walks it through and closes it: nothing is kept in memory,
 * and threads and processes may call at any time. A file that is missing is made, empty; one that
 * can't be opened or read to its end is never written. A change rewrites the file in place, so that
 * locks hold, and keeps all other lines byte for byte, and a UTF-8 byte order mark before them,
 * which reading passes over. When no value changes the file isn't touched.
 *
 * What can be torn. A write that fails, as on a full disk, puts the old content back. A process or
 * machine that stops in the middle of a write, and a disk that refuses that as well, leave a file
 * whose beginning is new and whose rest is old or missing. There is no backup.
 *
 * Results are 1, or -1 with an error of module "oxparam", unless told otherwise: 1 (the path) the
 * file can't be opened, 2 it can't be locked, 20 no memory, 50 a null argument or, to be written,
 * a line feed in a text or an empty name, 303 a file of 1 GB and more; without a main path 1000.
 *
 * Failures are reported under module "oxparam".
 */
#ifndef MOLTELIB_PARAMETER_FILE_H
#define MOLTELIB_PARAMETER_FILE_H

#include "moltelib/base.h"
#include "moltelib/format/date_time_record.h"

#define MOLTE_PARAM_SLOT 128

/* 1, at first: names are compared exactly. 0: without regard to case, as MOLTE_STR_stricmp does. */
MOLTE_API int32_t g_bParamIsCaseSensitive;

/* ---- Files by path ---- */

/*
 * Reads the values of nCount names. A name that isn't there leaves its slot empty, and that is no
 * failure. Of a name that is asked for twice the first slot is filled.
 */
MOLTE_API int32_t PARAMETER_GetValueArray(const char* pszPath, const char* const* ppszNames,
                                          char* pszValues, int32_t nCount);

/*
 * Sets the values of nCount names: a line that is there is written anew as "name = value", with
 * its comment kept; names that aren't there are added at the end.
 */
MOLTE_API int32_t PARAMETER_SetValueArray(const char* pszPath, const char* const* ppszNames,
                                          const char* pszValues, int32_t nCount);

/* 1 if any of the values differs from that in the file, 0 if none does or nCount is below 1. */
MOLTE_API int32_t UTIL_PARAMETER_IsParamNeedSet(const char* pszPath, const char* const* ppszNames,
                                                const char* pszValues, int32_t nCount);

/* The array functions with one name: pszValue is one slot to read to, or a text to write. */
MOLTE_API int32_t PARAMETER_GetValue(const char* pszPath, const char* pszName, char* pszValue);
MOLTE_API int32_t PARAMETER_SetValue(const char* pszPath, const char* pszName,
                                     const char* pszValue);

/* ---- The default file ---- */

/* As the functions above, of the default file. */
MOLTE_API int32_t ORVEX_PARAMETER_GetValueArray(const char* const* ppszNames, char* pszValues,
                                                int32_t nCount);
MOLTE_API int32_t ORVEX_PARAMETER_SetValueArray(const char* const* ppszNames, const char* pszValues,
                                                int32_t nCount);

/* An absent or empty value is error 52 (the name), here and in all functions that follow. */
MOLTE_API int32_t ORVEX_PARAMETER_GetValue(const char* pszName, char* pszValue);
MOLTE_API int32_t get_RVEX_src(const char* pszName, char* pszValue); /* the same */
MOLTE_API int32_t ORVEX_PARAMETER_SetValue(const char* pszName, const char* pszValue);

/*
 * A number that the value begins with. None: error 257, of a bool 258 ("name=%s val=%s"); a bool
 * other than 0 and 1: error 413 ("name=%s value=%d not 0 or 1"). GetValueLong takes any text: what
 * is no number is 0. On failure *pnValue stays as it was. A number beyond 32 bits loses its high
 * bits.
 */
MOLTE_API int32_t ORVEX_PARAMETER_GetValueInt(const char* pszName, int32_t* pnValue);
MOLTE_API int32_t ORVEX_PARAMETER_GetValueLong(const char* pszName, int64_t* pn64Value);
MOLTE_API int32_t ORVEX_PARAMETER_GetValueBool(const char* pszName, int32_t* pbValue);
MOLTE_API int32_t ORVEX_PARAMETER_SetValueInt(const char* pszName, int32_t nValue);

/* A value YYYYMMDDhhmmss; what follows is ignored. Shorter: error 50 of "oxdatcnv" ("bad format").
 */
MOLTE_API int32_t ORVEX_PARAMETER_GetValueDateTime(const char* pszName, ORVEXDATETIME* pDateTime);

/*
 * The server of the database, "DBServerName", to a slot, and its port, "DBServerPort". A missing
 * port is 6798 and no failure; error 52 is then left behind.
 */
MOLTE_API int32_t ORVEX_PARAMETER_GetServerNameAndPort(char* pszName, int32_t* pnPort);

/* szDefaultUserName of g_stBv, to 16 bytes. */
MOLTE_API int32_t ORVEX_PARAMETER_GetDefaultUserName(char* pszName);

/* ---- Other files of the CONF folder ---- */

/* A null pszFile stands for the default file when reading; when writing it is error 50. */
MOLTE_API int32_t ORVEX_PARAMETER_GetValueByFN(const char* pszFile, const char* pszName,
                                               char* pszValue);
MOLTE_API int32_t ORVEX_PARAMETER_GetIntValueByFN(const char* pszFile, const char* pszName,
                                                  int32_t* pnValue);
MOLTE_API int32_t ORVEX_PARAMETER_SetValueByFN(const char* pszFile, const char* pszName,
                                               const char* pszValue);

/* ---- The list of servers, "exfsvr.cfg" ---- */

/* Its path, which takes 144 bytes of pszDst at most. */
MOLTE_API int32_t ORVEX_PARAMETER_CFGEXFFileName(char* pszDst);

/*
 * Reads the list: texts one after the other, each with its terminator, in a block that the caller
 * frees. *pnCount is their number, the result the bytes of them all; 0 and null for an empty file.
 * Empty lines are left out; one of more than 515 characters counts as several. A missing file is -1
 * with error 23.
 */
MOLTE_API int32_t ORVEX_PARAMETER_GetCFGEXFServer(char** ppszList, int32_t* pnCount);

/* Writes nCount texts that lie so one after the other. The same can be torn as of an INI file. */
MOLTE_API int32_t ORVEX_PARAMETER_SetCFGEXFServer(const char* pszList, int32_t nCount);

/* ---- The identity of the machine, "serverid.dat" ---- */

/*
 * Reads the 16 bytes, 1; or makes a new identity and writes it, 2. An error is then left behind.
 * Beware: whatever keeps the file from being read, and be it that descriptors are out, makes the
 * identity a NEW one; the file is emptied and written anew. One that is written in part, which is
 * error 4, counts as none the next time.
 */
MOLTE_API int32_t ORVEX_PARAMETER_GetServerID(uint8_t* pabyId);

/* Removes the file; 0, or -1. */
MOLTE_API int32_t ORVEX_PARAMETER_DelServerID(void);

#endif
