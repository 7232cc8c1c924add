/*
 * An item package as it is sent: a head of 64 bytes, then items one behind the other, each at a
 * multiple of 4 from the start. An item is a head of 48 bytes, its data, and up to 3 bytes of
 * padding of any value. Numbers are big-endian (moltelib/byte_field.h).
 */
#ifndef MOLTELIB_FORMAT_ITEM_PACKAGE_RECORD_H
#define MOLTELIB_FORMAT_ITEM_PACKAGE_RECORD_H

#include "moltelib/base.h"

#define MOLTE_ITEMPKG_MAGIC "<ORVEX50NetPackage>"
#define MOLTE_ITEMPKG_VERSION 5
#define MOLTE_ITEM_TAG "Item" /* without its terminator */
#define MOLTE_ITEM_NAME_SIZE 32

typedef struct MOLTE_ITEMPKG_HEAD {
    uint8_t nHeadSize[4]; /* 64 */
    char szMagic[24];     /* MOLTE_ITEMPKG_MAGIC with its terminator, the rest 0 */
    uint8_t nUsed[4];     /* bytes in use, of this head and all items */
    uint8_t nVersion[2];  /* MOLTE_ITEMPKG_VERSION */
    uint8_t nZero[2];     /* must be 0 */
    uint8_t abyReserved1[20];
    uint8_t nAlloc[4]; /* bytes that the sender had allocated; says nothing to who receives them */
    uint8_t abyReserved2[4];
} MOLTE_ITEMPKG_HEAD;

typedef struct MOLTE_ITEMHEAD {
    uint8_t nHeadSize[4];              /* 48 */
    char szName[MOLTE_ITEM_NAME_SIZE]; /* a text with its terminator, the rest 0 */
    uint8_t nDataLen[4];               /* bytes of the data that follows */
    uint8_t nItemType[4];              /* the caller's */
    char szTag[4];                     /* MOLTE_ITEM_TAG */
} MOLTE_ITEMHEAD;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_ITEMPKG_HEAD) == 64, "the layout is a format");
static_assert(offsetof(MOLTE_ITEMPKG_HEAD, nUsed) == 28, "the layout is a format");
static_assert(offsetof(MOLTE_ITEMPKG_HEAD, nVersion) == 32, "the layout is a format");
static_assert(offsetof(MOLTE_ITEMPKG_HEAD, nAlloc) == 56, "the layout is a format");
static_assert(sizeof(MOLTE_ITEMHEAD) == 48, "the layout is a format");
static_assert(offsetof(MOLTE_ITEMHEAD, nDataLen) == 36, "the layout is a format");
static_assert(offsetof(MOLTE_ITEMHEAD, szTag) == 44, "the layout is a format");
#endif

#endif
