/*
 * The two headers at the head of a BMP file, as Windows defines them. All numbers in a file are low
 * byte first; the file header is held as its bytes, the info header as numbers of the machine,
 * which are stored in the same way on every machine that the library runs on.
 *
 * A file is: file header; info header; palette; pixels. A row of the file is padded with zeros to a
 * multiple of four bytes.
 */
#ifndef MOLTELIB_FORMAT_BITMAP_RECORD_H
#define MOLTELIB_FORMAT_BITMAP_RECORD_H

#include "moltelib/base.h"

#define OXBITMAP_TYPE 19778 /* "BM" */

typedef struct OXBITMAPFILEHEADER {
    uint8_t nType[2];       /* low byte first, as all that follows */
    uint8_t nSize[4];       /* of the file in bytes */
    uint8_t abyReserved[4]; /* two words */
    uint8_t nOffsetBits[4]; /* where in the file the pixels begin */
} OXBITMAPFILEHEADER;

typedef struct OXBITMAPINFOHEADER {
    uint32_t nSize;   /* of this header */
    int32_t nWidth;   /* in pixels */
    int32_t nHeight;  /* in pixels; in a file negative for one whose top row comes first */
    uint16_t nPlanes; /* 1 */
    uint16_t nBitCount;
    uint32_t nCompression;  /* 0: none */
    uint32_t nSizeImage;    /* in bytes, or 0 */
    int32_t nXPelsPerMeter; /* resolution in pixels a metre */
    int32_t nYPelsPerMeter;
    uint32_t nColorsUsed; /* entries of the palette, each blue, green, red, 0 */
    uint32_t nColorsImportant;
} OXBITMAPINFOHEADER;

#if defined(__cplusplus)
static_assert(sizeof(OXBITMAPFILEHEADER) == 14, "the layout is a format");
static_assert(offsetof(OXBITMAPFILEHEADER, nOffsetBits) == 10, "the layout is a format");
static_assert(sizeof(OXBITMAPINFOHEADER) == 40, "the layout is a format");
static_assert(offsetof(OXBITMAPINFOHEADER, nBitCount) == 14, "the layout is a format");
static_assert(offsetof(OXBITMAPINFOHEADER, nColorsUsed) == 32, "the layout is a format");
#endif

#endif
