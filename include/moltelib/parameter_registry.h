/*
 * The parameter registry: the settings of a running program, so that an administrator can see and
 * change them over the network. An item knows its name, its kind, where its value lives in the
 * program and which function, its setter, updates it. The rest of the program reads values where
 * they live and pays nothing for having them here.
 *
 * Every parameter takes its default at bring-up and then the value in the INI file
 * (moltelib/parameter_file.h). A client gets all parameters as 128-byte records
 * (moltelib/format/parameter_record.h) and sends such records back to change them.
 *
 * Nothing here locks. Register during bring-up, before other threads run; a reader may then see a
 * text half-changed while a setter runs. An item never leaves the registry until tear-down.
 *
 * Results are 1, and -1 with an error of module "paramadm", unless told otherwise.
 *
 * Failures are reported under modules "paramadm" and "moltevar".
 */
#ifndef MOLTELIB_PARAMETER_REGISTRY_H
#define MOLTELIB_PARAMETER_REGISTRY_H

#include "moltelib/array.h"
#include "moltelib/base.h"
#include "moltelib/format/parameter_record.h"

struct MOLTE_PARAMITEM;

/* What a setter is to do. */
#define MOLTE_PARAM_REGISTER 1 /* take the default, add the item, read the INI file */
#define MOLTE_PARAM_READ 2     /* read the INI file again */
#define MOLTE_PARAM_RESET 3    /* go back to the default */
#define MOLTE_PARAM_FROM_NET 4 /* take the value of a record */

/*
 * Updates the value of a parameter. pRecord is null but in mode 4; nIndex is the record's place
 * among those that were sent, else 0. A negative result is a failure, with its error.
 */
typedef int32_t (*MOLTE_PARAMSETTER)(struct MOLTE_PARAMITEM* pItem,
                                     const MOLTE_PARAMNETITEM* pRecord, int32_t nMode,
                                     int32_t nIndex);

/* A parameter of the running program. All it points at is the owner's and outlives the registry. */
typedef struct MOLTE_PARAMITEM {
    const char* pszName; /* at most 31 characters */
    void* pValue;
    MOLTE_PARAMSETTER pfnSet;
    void* pOwner;      /* the owner's state */
    uint8_t nType;     /* MOLTE_PARAM_INT, _TEXT, _BYTES or _LONG */
    int16_t nId;       /* the setter's own number of this item */
    uint32_t tChanged; /* time of the last setter call, seconds since 1970 */
    int32_t nMaxLen;   /* bytes at pValue for text and raw bytes */
} MOLTE_PARAMITEM;

/* The registry, 160 bytes; all zero means not made. That of the program is in g_stBv. */
typedef struct MOLTE_PARAMADM {
    PA stItems; /* pointers to MOLTE_PARAMITEM */
    int32_t bInited;
    int32_t nReserved;
    MOLTE_CRIT stLock; /* made and deleted; nothing enters it */
    uint8_t abyReserved[24];
} MOLTE_PARAMADM;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_PARAMADM) == 160);
#endif

/* ---- Names ---- */

#define MOLTE_PARAMNAME_COUNT 349

/*
 * The names of the whole system's parameters. Each index is a fixed number by which all its
 * libraries know a name; 292 to 296 are null. Filled when a registry is first made.
 */
MOLTE_API const char* g_stParamName[MOLTE_PARAMNAME_COUNT];

/* Fills a caller's table of MOLTE_PARAMNAME_COUNT pointers to constant text. */
MOLTE_API int32_t MOLTE_PARAMNAME_Init(const char** ppszTable);

/* ---- The registry ---- */

/* Makes a registry with room for 512 items, and fills g_stParamName; 0 when it is made already. */
MOLTE_API int32_t MOLTE_PARAMADM_Init(MOLTE_PARAMADM* pAdm);

/* Frees the list, not the items, and zeroes the object. */
MOLTE_API int32_t MOLTE_PARAMADM_Release(MOLTE_PARAMADM* pAdm);

/*
 * Appends *ppItem to the program's registry, which is made if need be. An item that is appended
 * twice stands in it twice. A null argument is error 50.
 */
MOLTE_API int32_t MOLTE_PARAMADM_Register(MOLTE_PARAMITEM* const* ppItem);

/* The first item with exactly that name; null with error 117 (the name) when there is none. */
MOLTE_API MOLTE_PARAMITEM* MOLTE_PARAMADM_GetMemValPt(const char* pszName);

/* The pValue of that item, to be read as text; null as above. */
MOLTE_API const char* MOLTE_PARAMADM_GetStrVal(const char* pszName);

/* ---- Records for the network ---- */

/* Zeroes the record and fills it from the item: name, kind, time and value, each cut to its room;
 * bValid becomes 1. */
MOLTE_API int32_t MOLTE_PARAMITEM_Mem2Net(const MOLTE_PARAMITEM* pItem,
                                          MOLTE_PARAMNETITEM* pRecord);

/*
 * One record for each item, in the order of registration, in a list that the caller frees: their
 * number; 0 and a null list when there are none; -1 with error 20 when memory is out.
 */
MOLTE_API int32_t MOLTE_PARAMADM_GetAllNetVal(MOLTE_PARAMNETITEM** ppItems);

/*
 * Fills nCount records by their szName. One whose name isn't registered keeps its bytes but has
 * bValid 0, and leaves error 117. Always 1.
 */
MOLTE_API int32_t MOLTE_PARAMADM_GetNetVal(MOLTE_PARAMNETITEM* pItems, int32_t nCount);

/*
 * Calls the setter of each record's item with the record, nMode and the record's index. A name that
 * isn't registered leaves error 117; what a setter answers isn't looked at. 1; 0 in mode 1, which
 * is refused.
 */
MOLTE_API int32_t MOLTE_PARAMADM_SetNetVal(const MOLTE_PARAMNETITEM* pItems, int32_t nCount,
                                           int32_t nMode);

/*
 * Writes the records' values to the INI file, by the kind in the record; raw bytes are left out.
 * The values in memory stay. 1; 0 in mode 1, which is refused; -1 at the first that can't be
 * written. nMode means nothing else here.
 */
MOLTE_API int32_t MOLTE_PARAMADM_SetIniFile(const MOLTE_PARAMNETITEM* pItems, int32_t nCount,
                                            int32_t nMode);

/* ---- For those who write setters ---- */

/* Fills these fields of the item, and tChanged with the present time; gives pValue back. */
MOLTE_API void* MOLTE_PARAMITEM_SetMemItem(MOLTE_PARAMITEM* pItem, const char* pszName,
                                           uint8_t nType, MOLTE_PARAMSETTER pfnSet, void* pValue);

/*
 * The usual body of a setter: does what the mode says to the value at the last pointer, and in
 * mode 1 fills and registers the item. A name that the INI file doesn't hold leaves the value as it
 * is (and error 52 behind); a text that is no number, or a file that can't be read, is a failure.
 * StrAct keeps texts within nMaxLen bytes, and with a null default leaves the text that is there.
 * Any other mode does nothing. Mode 4 with a null record is error 50. Values are not checked.
 */
MOLTE_API int32_t MOLTE_PARAMADM_IntAct(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                                        int32_t nMode, int32_t nDefault, const char* pszName,
                                        MOLTE_PARAMSETTER pfnSet, int32_t* pnValue);
MOLTE_API int32_t MOLTE_PARAMADM_LongAct(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                                         int32_t nMode, int64_t n64Default, const char* pszName,
                                         MOLTE_PARAMSETTER pfnSet, int64_t* pn64Value);
MOLTE_API int32_t MOLTE_PARAMADM_StrAct(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                                        int32_t nMode, const char* pszDefault, const char* pszName,
                                        MOLTE_PARAMSETTER pfnSet, char* pszValue, int32_t nMaxLen);

/* ---- The library's own parameters ---- */

/*
 * Reads what the machine is into g_stBv.stSysInfo and registers the 35 parameters in
 * g_stBv.astParam; a bad value in the INI file costs only that parameter. Part of bring-up. 1.
 */
MOLTE_API int32_t MOLTE_PARAM_Init(void);

/*
 * Their setter, by the item's nId; the table stands in resource/rvexinit.ini. 0, also for a
 * parameter that isn't changed in that mode and an nId that isn't one; -1 with lines of module
 * "moltevar". ListenBacklogCnt is kept between 32 and 200, but -1 makes it 2,147,483,647; a
 * CpuCount of 0 becomes 1.
 */
MOLTE_API int32_t MOLTE_PARAM_Set(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                                  int32_t nMode);

#endif
