/*
 * The file package: a head of 128 bytes, then items one behind the other, each on a multiple of 8.
 * An item is its head of 64 bytes, the folder and the name with a terminator each, the content, and
 * zeros up to the next multiple of 8. Numbers are big-endian byte fields (moltelib/byte_field.h),
 * reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_FILE_PACKAGE_RECORD_H
#define MOLTELIB_FORMAT_FILE_PACKAGE_RECORD_H

#include "moltelib/base.h"

typedef struct FILEPKG_HEAD {
    uint8_t nHeadSize[4]; /* 128 */
    char szMagic[15];     /* "ORVEX-Pkg-File" with its terminator */
    uint8_t abyReserved1[1];
    uint8_t nVersion[2];        /* 6 */
    uint8_t nSubVersion[2];     /* 0 */
    uint8_t n64TrailingItem[8]; /* position of an item that stays the last one; 0: none */
    uint8_t abyUuid[16];
    uint8_t abyReserved2[80];
} FILEPKG_HEAD;

typedef struct FILEPKG_ITEM {
    uint8_t nHeadSize[4]; /* 64 */
    uint8_t bCompressed;
    uint8_t bDirectory;
    uint8_t abyReserved1[10];
    uint8_t n64DataLen[8];  /* bytes of content */
    uint8_t n64FileSize[8]; /* when it was packed; this and the next three are 0 of a folder */
    uint8_t nChangeTime[4]; /* seconds since 1970, low 32 bits */
    uint8_t nModTime[4];
    uint8_t nDirLen[2]; /* bytes of the folder's name, relative to a root, without terminator */
    uint8_t nNameLen[2];
    uint8_t abyAttr[4]; /* the attribute byte of OXFILESTAT and the three behind it */
    char szMagic[8];    /* "PkgItem" with its terminator */
    uint8_t abyReserved2[8];
} FILEPKG_ITEM;

#if defined(__cplusplus)
static_assert(sizeof(FILEPKG_HEAD) == 128, "the layout is a format");
static_assert(offsetof(FILEPKG_HEAD, nVersion) == 20, "the layout is a format");
static_assert(offsetof(FILEPKG_HEAD, abyUuid) == 32, "the layout is a format");
static_assert(sizeof(FILEPKG_ITEM) == 64, "the layout is a format");
static_assert(offsetof(FILEPKG_ITEM, n64DataLen) == 16, "the layout is a format");
static_assert(offsetof(FILEPKG_ITEM, nDirLen) == 40, "the layout is a format");
static_assert(offsetof(FILEPKG_ITEM, szMagic) == 48, "the layout is a format");
#endif

#endif
