/*
 * What the running program is: its path and command line.
 */
#ifndef MOLTELIB_APPLICATION_H
#define MOLTELIB_APPLICATION_H

#include "moltelib/base.h"

/* Copies the raw command line, cut to nDstLen - 1 characters; 1, or -1 with error 50 for null. */
MOLTE_API int32_t MOLTE_GetCommandLine(char* pszDst, int32_t nDstLen);

/* Writes the full path of the program's file, cut to nDstLen - 1 characters: 1, or -1. */
MOLTE_API int32_t MOLTE_Win_GetExeName(char* pszDst, int32_t nDstLen);

/*
 * Writes the program's name, cut to nDstLen - 1 characters: the first word of the command line if
 * that is in quotes, else the full path of its file. 1, 0 when the command line is empty. A null
 * pszDst or an nDstLen below 1 is error 50, -1.
 */
MOLTE_API int32_t MOLTE_GetAppName(char* pszDst, int32_t nDstLen);

/*
 * Set the name (at most 255 characters) and the version text (at most 31) that stand in g_stBv. A
 * name set before bring-up stays, and the short name then remains empty. 1, or -1 with error 50
 * for null. Call them at start: they take no lock.
 */
MOLTE_API int32_t MOLTE_SetAppName(const char* pszName);
MOLTE_API int32_t MOLTE_SetAppVersion(const char* pszText);

#endif
