/*
 * Text output. All text that the system prints goes through one list of hooks. A message carries a
 * mask, a hook has one of its own, and the hook gets the text if the two share a bit in each of
 * three groups: direction, class and destination.
 *
 *     OTXTHOOK_STDOUT_InstallHook(OXMSG_TO_OUTER, 1);
 *     MOLTE_OutMsg(OXMSG_TO_OUTER | OXMSG_OUTER | OXMSG_INFO, "%d records\n", count);
 *
 * The built-in hooks write to a text file, to standard output, to a memory line buffer, to the
 * binary and to the text error log; a program installs any callback of its own. Texts go out as
 * they come: no hook but that of the text error log adds a line end.
 *
 * Any thread may call. One lock is held while hooks run, so they run one at a time, the hook that
 * was installed last first, and a slow one stops all printing. It is reentrant: a hook that prints
 * is served, and the list is walked again for it; it may also remove hooks, itself included. A hook
 * must see to it that what it prints doesn't come back to it for ever.
 *
 * Printing before bring-up, and after the hooks were released, does nothing. Printing never fails:
 * the results of the hooks are ignored, and a message that no hook takes is gone. Failures of the
 * other functions are errors of module "otxthook".
 *
 * Failures are reported under module "otxthook".
 */
#ifndef MOLTELIB_TEXT_HOOK_H
#define MOLTELIB_TEXT_HOOK_H

#include <stdarg.h>

#include "moltelib/base.h"
#include "moltelib/line_buffer.h"
#include "moltelib/parameter_registry.h"

/* ---- The mask ---- */

#define OXMSG_LEVEL_MASK 0x7u /* level of the logger, passed through */
#define OXMSG_ERROR 0x8u      /* the printed error record goes with the message */

#define OXMSG_INNER 0x10u /* direction: from an inner worker thread */
#define OXMSG_OUTER 0x20u /* direction: from any other thread */
#define OXMSG_DIRECTION_MASK 0x30u

#define OXMSG_ERROR_TEXT 0x40u /* class */
#define OXMSG_INFO 0x80u       /* class */
#define OXMSG_CLASS_MASK 0xC0u

/* Destinations. The defaults are what a hook gets that names no direction or no class itself. */
#define OXMSG_TO_INNER 0x100u        /* inner message: inner, information */
#define OXMSG_TO_OUTER 0x200u        /* outer message: outer, information */
#define OXMSG_TO_ERROR_LOG 0x400u    /* a further error log: both, error text */
#define OXMSG_TO_FREE_11 0x800u      /* free for callers; no defaults */
#define OXMSG_TO_BINARY_LOG 0x1000u  /* binary error log: both, error text */
#define OXMSG_TO_TEXT_LOG 0x2000u    /* text error log: both, error text */
#define OXMSG_TO_STDOUT 0x4000u      /* standard output: both, information */
#define OXMSG_TO_INNER_FILE 0x8000u  /* inner text to file: inner, information */
#define OXMSG_TO_OUTER_FILE 0x10000u /* outer text to file: outer, information */
#define OXMSG_TO_LOGGER 0x20000u     /* logger hook; no defaults */
#define OXMSG_TO_FREE_18 0x40000u
#define OXMSG_TO_FREE_19 0x80000u
#define OXMSG_DESTINATION_MASK 0xFFF00u

#define OXMSG_MODULE_SHIFT 20 /* the bits above: module number of MOLTE_LOGGER_PrintInfo */

/* ---- Hooks ---- */

/*
 * Gets a text that is terminated and nLen bytes long, with the final mask of the message and the
 * hook's data. Gets called at its removal. Their results are ignored.
 */
typedef int32_t (*OTXTHOOK_OUTTEXT)(uint32_t nMask, void* pUserData, int32_t nDataSize,
                                    const char* pszText, int32_t nLen);
typedef int32_t (*OTXTHOOK_CLOSE)(void* pUserData, int32_t nDataSize);

/* An installed hook; pfnOutText and nId together identify it. To be read, not written. */
typedef struct OTXTHOOK_NODE {
    uint32_t nMask; /* with the defaults */
    int32_t nDataSize;
    void* pUserData;
    OTXTHOOK_OUTTEXT pfnOutText;
    OTXTHOOK_CLOSE pfnClose; /* may be null */
    struct OTXTHOOK_NODE* pNext;
    int32_t nId;
    int32_t nTotalSec;     /* time spent in this hook, in seconds */
    int64_t n64TotalTicks; /* the same in high-resolution ticks */
    uint8_t bLogger;       /* the mask held OXMSG_TO_LOGGER */
} OTXTHOOK_NODE;

#if defined(__cplusplus)
static_assert(sizeof(OTXTHOOK_NODE) == 64, "the size is part of the interface");
#endif

/*
 * Brings the hooks up, with the parameters OutputTextTimeInHiReso and OutputTextTimeInSec, the time
 * spent in all hooks; 1, or 0 when they are up. Called at bring-up, and by the first installation
 * before it.
 */
MOLTE_API int32_t OTXTHOOK_Init(void);

/*
 * Closes and frees all hooks; 1, or 0 when they aren't up. Called at tear-down and at process exit.
 * Threads may still print: they find no hook.
 */
MOLTE_API int32_t OTXTHOOK_Release(void);

/*
 * Installs a hook in front of the others; 1. pUserData stays the caller's (pfnClose may free it),
 * and goes to the callbacks with nDataSize as they are. The mask is completed by the defaults of
 * its destinations, in the order 8, 9, 15, 16, 14, 10, 12, 13 of their bits, each only where no
 * direction, or no class, is set yet: 768 gets inner alone.
 * Errors: 432 ("mask can not be zero"), 433 ("text hook=%p id=%d\n") for a null pfnOutText or an
 * nId from 100000 up, 132 ("txt hook with given id %d exists").
 * A SUCCESS LEAVES ERROR 305 in the record: it is what looking for the pair found.
 */
MOLTE_API int32_t OTXTHOOK_InstallHook(OTXTHOOK_OUTTEXT pfnOutText, OTXTHOOK_CLOSE pfnClose,
                                       void* pUserData, int32_t nDataSize, uint32_t nMask,
                                       int32_t nId);

/* Takes a hook out, closes and frees it; 1, or -1 with error 305 ("Hook id=%d"). Never while
 * another thread is in it. */
MOLTE_API int32_t OTXTHOOK_RemoveHook(OTXTHOOK_OUTTEXT pfnOutText, int32_t nId);

/*
 * The node of a hook, good until it is removed; null with error 305 ("txt hook with given id %d
 * does not exist").
 */
MOLTE_API OTXTHOOK_NODE* OTXTHOOK_UTIL_GetHook(OTXTHOOK_OUTTEXT pfnOutText, int32_t nId);

/* The mask with nDirection if it has no direction, and with nClass if it has no class. */
MOLTE_API uint32_t OTXTHOOK_UTIL_GetDefPropMask(uint32_t nMask, uint32_t nDirection,
                                                uint32_t nClass);

/*
 * Registers the two parameters of above, as the first of the registry if it is called at bring-up;
 * 1. A value that the INI file has but that can't be read costs that parameter alone. The other
 * updates them (MOLTE_PARAMSETTER): 1, or -1 with a line in the history.
 */
MOLTE_API int32_t OTXTHOOK_PARAM_Init(void);
MOLTE_API int32_t OTXTHOOK_PARAM_Set(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                                     int32_t nMode, int32_t nIndex);

/* ---- Built-in hooks. Each adds to nMask what is said; nMask else as above. 1 or -1 ---- */

/*
 * Appends to a text file, which stays open until the hooks are released; it is flushed then. The
 * mask must name a destination: error 432 ("mask can not be 0, may be 2file"). Error 1 with the
 * path. The hook's data, or null.
 */
MOLTE_API void* OTXTHOOK_TXTFILE_InstallHook(const char* pszPath, uint32_t nMask, int32_t nId);

/* To standard output, flushed each time; adds OXMSG_TO_STDOUT. */
MOLTE_API int32_t OTXTHOOK_STDOUT_InstallHook(uint32_t nMask, int32_t nId);

/*
 * Each text as one line into a new line buffer, which the hook owns. The mask must name a
 * destination: error 432 ("mask can not be 0, may be outmsg or innermsg"). The buffer, or null.
 */
MOLTE_API OLINEBUF* OTXTHOOK_MEMTXT_InstallHook(const char* pszName, int32_t nSize, uint32_t nMask,
                                                int32_t nId);

/* To the binary error log; adds OXMSG_TO_BINARY_LOG. */
MOLTE_API int32_t OTXTHOOK_BERRLOG_InstallHook(uint32_t nMask, int32_t nId);

/* To the text error log with a line end, while bErrLogEnabled is set; adds OXMSG_TO_TEXT_LOG. */
MOLTE_API int32_t OTXTHOOK_TERRLOG_InstallHook(uint32_t nMask, int32_t nId);

/*
 * The process's one text file hook of this name: a second one is error 132 ("allready exists").
 * The other switches it off (1) and on (0); gives bFlag back, or 0 when there is no such hook.
 */
MOLTE_API int32_t MOLTE_TXTLOG_AddLog(const char* pszPath, uint32_t nMask, int32_t nId);
MOLTE_API int32_t MOLTE_TXTLOG_DisableLog(int32_t bFlag);

/*
 * Loads the optional logger library "odlogger64.dll" (moltelib/plugin.h tells where from) if the
 * parameter InstallOdcsLogger is set, and lets its Logger_InstallHook(0, nId) install a hook. Its
 * handle, or null. The other calls its Logger_RemoveHook(nId), closes it and clears *phModule; 1,
 * or 0 when there is nothing to remove.
 */
MOLTE_API OXHANDLE Install_Odcs_Hook(int32_t nId);
MOLTE_API int32_t Remove_Odcs_Hook(OXHANDLE* phModule, int32_t nId);

/* ---- Printing ---- */

/*
 * Offers a text, terminated and nLen bytes long, to the hooks; 1, or 0 for no text or no hooks. A
 * mask without destination gets outer message and outer text to file, and with OXMSG_ERROR the text
 * error log; one without direction and class gets outer and information; one with OXMSG_ERROR gets
 * error text, unless bit 0 of nOption is set.
 */
MOLTE_API int32_t OTXTHOOK_OutText(uint32_t nMask, const char* pszText, int32_t nLen,
                                   int32_t nOption);

/*
 * Format a message, followed with OXMSG_ERROR by the printed error record, to 4095 bytes in all,
 * and offer it; 1, or 0 when the hooks aren't up. For a message that no hook can take nothing is
 * formatted.
 */
MOLTE_API int32_t MOLTE_UTIL_OutMsgEx(uint32_t nMask, const char* pszFmt, va_list args,
                                      int32_t nOption) MOLTE_PRINTF(2, 0);
MOLTE_API int32_t MOLTE_UTIL_OutMsg(uint32_t nMask, const char* pszFmt, va_list args)
    MOLTE_PRINTF(2, 0);
MOLTE_API int32_t MOLTE_OutMsg(uint32_t nMask, const char* pszFmt, ...) MOLTE_PRINTF(2, 3);

/* The same with inner, information, inner message and inner text to file. */
MOLTE_API int32_t MOLTE_OutMsgOldFmt(const char* pszFmt, ...) MOLTE_PRINTF(1, 2);

/*
 * Print, while printing is on, with the mask, nPrintInfoMask or nPrintErrorMask of g_stBv, and all
 * destinations and the direction of the calling thread. nPrintInfoMask is 0 at bring-up and so
 * names no class: MOLTE_PrintInfo REACHES NOBODY until a program sets one. nPrintErrorMask has
 * OXMSG_ERROR: the error record goes with the text. 1; 0 when printing is off or no hooks are up.
 */
MOLTE_API int32_t MOLTE_Print(uint32_t nMask, const char* pszFmt, ...) MOLTE_PRINTF(2, 3);
MOLTE_API int32_t MOLTE_PrintInfo(const char* pszFmt, ...) MOLTE_PRINTF(1, 2);
MOLTE_API int32_t MOLTE_PrintError(const char* pszFmt, ...) MOLTE_PRINTF(1, 2);

/* Prints the calling thread's call trace, to 1023 bytes, as an error; 0. */
MOLTE_API int32_t ORVEX_ERRLOG_LogStackTrace(void);

/* All destinations with inner for a thread marked as inner worker, else with outer. */
MOLTE_API uint32_t MOLTE_UTIL_GetInOutMask(void);

/* Switch MOLTE_Print, its two kin and the logger on and off (bOutputMsg of g_stBv); 1. */
MOLTE_API int32_t MOLTE_UTIL_EnableOuputMsg(void);
MOLTE_API int32_t MOLTE_UTIL_DisableOutputMsg(void);

/*
 * Formats a text to 8191 bytes and gives it to every hook with OXMSG_TO_LOGGER, whatever else their
 * masks say, with the mask of nModule << 20, the level and OXMSG_TO_LOGGER. 1; 0 when printing is
 * off, no hooks are up or the text is empty.
 */
MOLTE_API int32_t MOLTE_LOGGER_PrintInfo(uint32_t nLevel, uint32_t nModule, const char* pszFmt, ...)
    MOLTE_PRINTF(3, 4);

/* Does nothing; 0. */
MOLTE_API int32_t MOLTE_NullInfoOut(const char* pszFmt, ...) MOLTE_PRINTF(1, 2);

#endif
