/*
 * What the program runs on: operating system, memory, processors and file systems, one process's
 * use of memory and time, and the names of user and computer. All functions may be called from any
 * thread. A null pointer that nothing else is said of is error 50, -1.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_SYSTEM_INFO_H
#define MOLTELIB_SYSTEM_INFO_H

#include "moltelib/base.h"
#include "moltelib/format/computer_info_record.h"
#include "moltelib/format/file_system_info_record.h"
#include "moltelib/format/memory_status_record.h"
#include "moltelib/format/process_info_record.h"
#include "moltelib/state.h"

/* ---- Operating system ---- */

/*
 * The operating system as a small number; MOLTE_OsType2String names it. 15 is never given; Windows
 * newer than 6.1 is 18, of another major version 19; a Unix is 11.
 */
MOLTE_API int32_t ORVEX_GetOsType(void);

/* The name of an OS type, "Unkown" (so written) for a number without one; not to be freed. */
MOLTE_API const char* MOLTE_OsType2String(int32_t nOsType);

/* "Unix" for 0, "Windows" for 1, else "Unknown". */
MOLTE_API const char* MOLTE_OsClass2String(int32_t nOsClass);

/* 1 on Windows of the NT line, so on each of today; 0 elsewhere. */
MOLTE_API int32_t ORVEX_PlatformIsNT(void);

/* 1 for the OS types 3, 4, 5, 7 and 14 alone, else 0: later systems (12, 13, 16 and on) too. */
MOLTE_API int32_t ORVEX_IsWinNTSeries(int32_t nOsType);

/* ---- Memory and processors ---- */

/*
 * Memory, processors and OS type; the rest of the record becomes 0. Always 1, but for null. A
 * memory of less than a MB is told as 4096 MB.
 */
MOLTE_API int32_t ORVEX_GetSimpSysInfo(ORVEX_SYSINFO* pInfo);

/* The same, the speed of the processor, and ORVEX_GetCPUProp. -1, all but the speed filled, when
 * the speed can't be had. */
MOLTE_API int32_t ORVEX_GetSysInfo(ORVEX_SYSINFO* pInfo);

/*
 * Fills class, model, "fast" and reference speed from nCpuSpeedInMhz and nCpuCount; 1. Above 1200
 * MHz the model is 4 and the reference speed three quarters of the speed; with at least two
 * processors then "fast" is 1 and it is three quarters of that, cut to a whole number.
 */
MOLTE_API int32_t ORVEX_GetCPUProp(ORVEX_SYSINFO* pInfo);

/*
 * The speed of the first processor in MHz, 0 where the system doesn't tell; also stored unless
 * pnSpeed is null. -1 with error 253 where the system keeps no such figures.
 */
MOLTE_API int32_t GetCPUSpeedInMhz(int32_t* pnSpeed);

/* How busy all processors are together, in percent: measured over 100 milliseconds. -1 when that
 * can't be had; nothing is reported. */
MOLTE_API int32_t MOLTE_GetCpuUsage(void);

/* Fills the record; 1. Takes the 100 milliseconds of MOLTE_GetCpuUsage. */
MOLTE_API int32_t MOLTE_GetMemStatus(MOLTE_MEMSTATUS* pStatus);

/* Fills the record; 1. */
MOLTE_API int32_t MOLTE_GetComputerInfo(MOLTE_COMPUTERINFO* pInfo);

/* ---- Processes ---- */

/* The identifier of the calling process. */
MOLTE_API int32_t MOLTE_GetProcessID(void);

/*
 * Fills the record for the process whose identifier stands in its nProcessId; all else is cleared
 * first. 1, with 0 in what the system doesn't tell; -1 with error 276 ("open process error. N")
 * when the process can't be opened. The creation time is a UTC reading taken for local time, so off
 * by the zone's offset. The system's peak of page file use is the use of now on Linux.
 */
MOLTE_API int32_t MOLTE_GetProcessInfo(MOLTE_PROCESSINFO* pInfo);

/* ---- File systems ---- */

/*
 * The kind of file system that holds the root of the drive a path begins with ("C:..."). 1, the
 * type 0 for one that has no number here. -1 with error 101: "path too short" for null or less than
 * two characters, "FORMAT ERROR" when it begins with no drive, the path when the drive is not
 * there. pInfo is cleared first. On Linux a drive is a folder of that name, as everywhere.
 */
MOLTE_API int32_t MOLTE_GetFileSystemInfo(const char* pszPath, MOLTE_FILESYSTEMINFO* pInfo);

/* "FAT16" 1, "FAT32" 2, "NTFS" 3, "JFS" 10, "JFS2" 11; another number is "unknown". Not to be
 * freed. */
MOLTE_API const char* MOLTE_FileSystemType2Name(int32_t nType);

/* And back, whatever the case of letters; 0 for a name that isn't there. NULL GIVES 1. */
MOLTE_API int32_t MOLTE_FileSystemName2Type(const char* pszName);

/* ---- Names ---- */

/*
 * Write the name of the user the program runs as; the two are the same. 1, or -1 with error 265
 * ("get logon user name failed") when there is none or it doesn't fit nLen characters.
 */
MOLTE_API int32_t ORVEX_GetLogonUserName(char* dst, int32_t nLen);
MOLTE_API int32_t ORVEX_GetEffectiveUserName(char* dst, int32_t nLen);

/*
 * Writes the computer's name to dst, cut to nLen - 1 characters: 1. When it can't be had dst is
 * empty, and with bReport set error 127 is reported: -1. A null dst or an nLen below 1 is error 50.
 */
MOLTE_API int32_t ORVEX_GetComputerNameWithOpt(char* dst, int32_t nLen, int32_t bReport);
MOLTE_API int32_t ORVEX_GetComputerName(char* dst, int32_t nLen); /* reports */

/* The same as wide text; nLen counts characters. One that doesn't fit is NOT cut: error 2624, -1.
 */
MOLTE_API int32_t ORVEX_GetComputerNameWithOptW(wchar_t* dst, int32_t nLen, int32_t bReport);
MOLTE_API int32_t ORVEX_GetComputerNameW(wchar_t* dst, int32_t nLen);

#endif
