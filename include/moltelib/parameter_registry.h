/*
 * The records of the parameter registry.
 */
#ifndef MOLTELIB_PARAMETER_REGISTRY_H
#define MOLTELIB_PARAMETER_REGISTRY_H

#include "moltelib/array.h"
#include "moltelib/base.h"

struct MOLTE_PARAMITEM;

/* Updates the value of a parameter; pRecord and nMode as for MOLTE_PARAMITEM's owner. */
typedef int32_t (*MOLTE_PARAMSETTER)(struct MOLTE_PARAMITEM* pItem, const void* pRecord,
                                     int32_t nMode);

/* A parameter of the running program. */
typedef struct MOLTE_PARAMITEM {
    const char* pszName;
    void* pValue; /* lives in the owner's data */
    MOLTE_PARAMSETTER pfnSet;
    void* pOwner;
    uint8_t nType;     /* 0 32-bit integer, 1 text, 2 raw bytes, 3 64-bit integer */
    int16_t nId;       /* the setter's own number of this item */
    uint32_t tChanged; /* time of the last setter call, seconds since 1970 */
    int32_t nMaxLen;   /* room at pValue for text and raw bytes */
} MOLTE_PARAMITEM;

/* The registry, 160 bytes; all zero means not made. */
typedef struct MOLTE_PARAMADM {
    PA stItems; /* pointers to MOLTE_PARAMITEM */
    int32_t bInited;
    int32_t nReserved;
    MOLTE_CRIT stLock;
    uint8_t abyReserved[24];
} MOLTE_PARAMADM;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_PARAMADM) == 160);
#endif

#endif
