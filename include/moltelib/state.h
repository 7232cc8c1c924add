/*
 * The one global record of the library, bring-up and tear-down, the short global lock and the
 * counters of file traffic.
 *
 * Loading the library does nothing. A program brings it up from its main thread before it starts
 * others, and tears it down when they have ended:
 *
 *     if (ORVEX_BASE_InitVar() < 0) ORVEX_Err_Print();
 *     ...
 *     ORVEX_BASE_ReleaseVar();
 *
 * There is a flag and no reference count: of two modules that both bring the library up, the first
 * that tears it down leaves the other without it.
 *
 * Failures are reported under module "moltevar".
 */
#ifndef MOLTELIB_STATE_H
#define MOLTELIB_STATE_H

#include "moltelib/array.h"
#include "moltelib/base.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/thread_list.h"

/* What the machine is; all numbers but the first two may be 0 for "not known". 64 bytes. */
typedef struct ORVEX_SYSINFO {
    uint32_t nPhysicalMemInMB;
    uint32_t nCpuCount;
    uint32_t nCpuSpeedInMhz;
    uint32_t nOsType;
    uint32_t nReserved;
    uint32_t nCpuSpeedInMhz2; /* the speed again */
    uint32_t nCpuClass;
    uint32_t nCpuModel;
    uint32_t bCpuFastMulti;     /* 1 for a fast CPU with at least 2 processors */
    uint32_t nRefCPUSpeedInMhz; /* parameter RefCPUSpeedInMhz */
    uint32_t anReserved[6];
} ORVEX_SYSINFO;

/* State of the text hooks, 256 bytes; all zero, but for the lock, when they aren't up. */
typedef struct OXTXTHOOKSTATE {
    int32_t bInited;
    int32_t bCsReady;       /* texts are taken */
    int64_t n64OutputTicks; /* parameter OutputTextTimeInHiReso: time spent in all hooks */
    int32_t nOutputSec;     /* parameter OutputTextTimeInSec: the same in seconds */
    struct OTXTHOOK_NODE* pHead;
    MOLTE_CRIT stLock; /* never deleted once made: threads may print while the process ends */
    MOLTE_PARAMITEM astParam[2];
    void* pTxtLog; /* data of the hook of MOLTE_TXTLOG_AddLog */
    uint64_t anReserved[3];
} OXTXTHOOKSTATE;

/* The global record. All zero at load; programs of the system read it, and write what is marked. */
typedef struct MOLTE_BASEVAR {
    int32_t nReserved1;
    int32_t nInitCount; /* 0 before bring-up, 1 after: a flag, no reference count */
    uint8_t abyReserved2[64];
    int32_t bErrLogEnabled;    /* text error log on; 1 at bring-up; programs may write it */
    int32_t bBackupErrLogFile; /* parameter BackupErrLogFile */
    MOLTE_CRIT stShortOpLock;  /* the short global lock */
    PA stLineBufList;          /* registered line buffers, 8-byte pointers */
    char szAppName[256];       /* full path of the running program */
    char szAppShortName[32];   /* its file name, at most 31 characters */
    MOLTE_PARAMADM stParamAdm;
    char szDbIniName[32];       /* parameter DBININAME */
    char szDefaultUserName[16]; /* parameter DefaultUserName */
    char szOsPlatform[64];      /* parameter OsPlatform */
    char szAppVersion[32];      /* parameter AppVersion */
    ORVEX_SYSINFO stSysInfo;
    MOLTE_PARAMITEM astParam[48]; /* the library's own parameters */
    int32_t bOutputMsg;           /* printing on */
    int32_t nDisableTxtLog;       /* parameter DisableTxtLog */
    int32_t nStartupTimeInt;      /* parameter SystemStartupTimeInt: seconds since 1970 */
    int32_t bFastExpandFile;      /* parameter FastExpandFile: growing a file writes no zeros */
    int32_t bSupportException;    /* parameter SupportException */
    int32_t bSupportStackTrace;   /* parameter SupportStackTrace: keep call traces */
    int32_t bIsDebugVersion;      /* parameter IsDebugVersion, always 0 */
    char szStartupTime[32];       /* parameter SystemStartupTime: text of the start */
    uint32_t nPrintInfoMask;      /* mask of MOLTE_PrintInfo, 0 after bring-up */
    uint32_t nPrintErrorMask;     /* mask of MOLTE_PrintError, 8200 after bring-up */
    int64_t n64HiResoTickPerSec;  /* parameter HiResoTickPerSec */
    MOLTE_CRIT stCounterLock;     /* guards the six counters; a leaf lock */
    uint8_t abyReserved3[64];
    int64_t n64ReadCount; /* whole reads, their bytes and their high-resolution ticks */
    int64_t n64WriteCount;
    int64_t n64ReadByteCount;
    int64_t n64WriteByteCount;
    int64_t n64ReadTimeUsed;
    int64_t n64WriteTimeUsed;
    int32_t nServerStartupTime; /* parameter ServerStartupTime */
    char szHostName[16];        /* computer name, written to every error record */
    int32_t bStopAll;           /* written by the program: every waiting function gives up */
    int32_t bSockSafeClose;     /* parameter SockSafeClose */
    int32_t nKernelBit;         /* parameter KernelBit, 64 */
    int32_t nAppFileSize;       /* bytes of the program file, 0 when not known */
    int32_t nListenBacklogCnt;  /* parameter ListenBacklogCnt; 100 until it is read */
    MOLTE_THREADLIST stThreadList;
    OXTXTHOOKSTATE stTextHook;
} MOLTE_BASEVAR;

#if defined(__cplusplus)
static_assert(sizeof(ORVEX_SYSINFO) == 64);
static_assert(sizeof(OXTXTHOOKSTATE) == 256);
#endif

/* The one of the process. */
MOLTE_API MOLTE_BASEVAR g_stBv;

/*
 * Brings the library up: 1 when this call did it, 0 when it is up. -1 on failure, with the history
 * in the error record; what was done so far stays. A failure before nInitCount is raised may be
 * tried again; after a later one the next call gives 0, and only ORVEX_BASE_ReleaseVar leads on.
 * Success leaves in the error record what was met on the way: a parameter that the INI file lacks,
 * a program without a version, the faults of the file of string resources. A szAppName that a
 * program has set before stays, and its szAppShortName with it; so does a szAppVersion.
 *
 * A thread that calls while another one brings the library up waits for the end, and gets 0. One
 * that runs or closes a text hook, or holds ORVEX_InnerTimeLock, waits no longer than until
 * nInitCount is raised, since bring-up may need the lock that it holds; the short lock is there
 * then, and what else is missing comes while it runs. ORVEX_ShortOpLock, MOLTE_ERRLOG_Lock,
 * MOLTE_BERRLOG_Retr and MOLTE_WaitThreadBurst call this only while nInitCount is 0. When the
 * thread that does it is ended in the middle, or a process is forked in which it isn't, the next
 * call begins again if nInitCount wasn't raised, and else takes it for a failure: 0.
 */
MOLTE_API int32_t ORVEX_BASE_InitVar(void);

/*
 * Tears it down; always 1. No other thread may be inside the library. The blocks of other threads
 * are not freed: each calls MOLTE_THDATA_FreeData before it ends. Afterwards ORVEX_BASE_InitVar can
 * run again; program name, version and parameter values keep what they held.
 */
MOLTE_API int32_t ORVEX_BASE_ReleaseVar(void);

/* Closes the text hooks; runs by itself at process exit once the library was up. 1, or 0 when no
 * hooks are up. */
MOLTE_API int32_t ORVEX_BASE_AtExit(void);

/*
 * Enter and leave the short global lock, for a few instructions; recursive. The first brings the
 * library up if it isn't. Both 1.
 */
MOLTE_API int32_t ORVEX_ShortOpLock(void);
MOLTE_API int32_t ORVEX_ShortOpUnLock(void);

/* Zeroes the block and makes its critical section; 1, or -1 with error 50 for null. Two names. */
MOLTE_API int32_t MOLTE_InitCrit(MOLTE_CRIT* pCrit);
MOLTE_API int32_t MOLTE_COUNTER_Init(MOLTE_CRIT* pCrit);

/* Deletes the critical section if it was made, and zeroes the block; 1. Two names. */
MOLTE_API int32_t MOLTE_ReleaseCrit(MOLTE_CRIT* pCrit);
MOLTE_API int32_t MOLTE_COUNTER_Release(MOLTE_CRIT* pCrit);

/* Count one read or write with its bytes and high-resolution ticks: 1, or 0 before bring-up. */
MOLTE_API int32_t MOLTE_COUNTER_ReadInc(int64_t n64Bytes, int64_t n64Ticks);
MOLTE_API int32_t MOLTE_COUNTER_WriteInc(int64_t n64Bytes, int64_t n64Ticks);

/* The name of the running operating system; "win x64" stands for "Unix". */
MOLTE_API const char* MOLTE_UTIL_MacroOs(void);

/* Writes time and number of the build to pszDst, 40 bytes, unless it is null; 1130. */
MOLTE_API int32_t ORVEX_BASE_BuildVerAndTime(char* pszDst);

/* Always 0, whatever the processor. */
MOLTE_API int32_t MOLTE_IsBigEndian(void);

/* Does nothing. */
MOLTE_API void ORVEX_SYS_SetRLimit(void);

#endif
