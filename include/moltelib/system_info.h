/*
 * What the program runs on: operating system and computer name.
 */
#ifndef MOLTELIB_SYSTEM_INFO_H
#define MOLTELIB_SYSTEM_INFO_H

#include "moltelib/base.h"

/*
 * The operating system as a small number; MOLTE_OsType2String names it. 15 is never given; Windows
 * newer than 6.1 is 18, of another major version 19; a Unix is 11.
 */
MOLTE_API int32_t ORVEX_GetOsType(void);

/* The name of an OS type, "Unkown" (so written) for a number without one; not to be freed. */
MOLTE_API const char* MOLTE_OsType2String(int32_t nOsType);

/* "Unix" for 0, "Windows" for 1, else "Unknown". */
MOLTE_API const char* MOLTE_OsClass2String(int32_t nOsClass);

/*
 * Writes the computer's name to dst, cut to nLen - 1 characters: 1. When it can't be had dst is
 * empty, and with bReport set error 127 is reported: -1. A null dst or an nLen below 1 is error 50.
 */
MOLTE_API int32_t ORVEX_GetComputerNameWithOpt(char* dst, int32_t nLen, int32_t bReport);
MOLTE_API int32_t ORVEX_GetComputerName(char* dst, int32_t nLen); /* reports */

/* The same as wide text; nLen counts characters. */
MOLTE_API int32_t ORVEX_GetComputerNameWithOptW(wchar_t* dst, int32_t nLen, int32_t bReport);
MOLTE_API int32_t ORVEX_GetComputerNameW(wchar_t* dst, int32_t nLen);

#endif
