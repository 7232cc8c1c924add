/*
 * PA, the growing array of fixed-size items.
 */
#ifndef MOLTELIB_ARRAY_H
#define MOLTELIB_ARRAY_H

#include "moltelib/base.h"

typedef struct PA {
    int32_t nItemSize;  /* bytes per item */
    int32_t nCount;     /* items in use */
    int32_t nCapacity;  /* items allocated */
    int32_t nGrowBy;    /* growth quantum in items */
    void* pData;        /* the items, contiguous; null when nCapacity is 0 */
    uint64_t nReserved;
} PA;

#endif
