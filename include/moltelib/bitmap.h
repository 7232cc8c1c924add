/*
 * Images in BMP files, uncompressed, of 8 bits with a palette or of 24 bits (blue, green, red); and
 * a picture of the screen.
 *
 *     ORVEX_SaveDataAsBMP("print.bmp", pixels, 500, 500, 8);     // raw data, grey
 *
 *     OXBMPFILESTRUCT image;
 *     if (ORVEX_LoadBMPFromFile("print.bmp", &image) == 1) {
 *         use(image.pData, image.pInfo->nWidth, image.pInfo->nHeight);
 *         ORVEX_OXBMPFILESTRUCT_Free(&image);
 *     }
 *
 * In memory an image has its top row first and its rows one behind the other, bits * width / 8
 * bytes each. Only in a file are rows padded.
 *
 * What can be torn. A file that is saved is EMPTIED when it is opened: whatever fails from then on,
 * the old content is gone, and what was written of the new one stays. Before a file is opened "the
 * owner reads and writes" is added to its mode, and stays added. A new file gets just that mode.
 *
 * Success is 1. A failure is -1 with an error: 1 not opened (the name), 3 not read whole, 4 not
 * written whole ("fd=%d buf=%p size=%d"), 5 position not set, 299 no bitmap that can be loaded
 * ("should 8 or 24 bits"), 407 and 408 arguments; or 20 of "oxsysutl", no memory. Functions may be
 * called from any thread.
 *
 * Failures are reported under module "oximgop".
 */
#ifndef MOLTELIB_BITMAP_H
#define MOLTELIB_BITMAP_H

#include "moltelib/base.h"
#include "moltelib/format/bitmap_record.h"

/* An image that was loaded. What its pointers show belongs to whoever holds the record. */
typedef struct OXBMPFILESTRUCT {
    OXBITMAPFILEHEADER stFileHead; /* as it was read */
    OXBITMAPINFOHEADER* pInfo;     /* height positive, size 40; the palette lies behind it */
    uint8_t* pData;                /* rows, top row first */
} OXBMPFILESTRUCT;

/* ---- Raw data ---- */

/*
 * Writes nHeight rows of nWidth pixels, top row first in memory and in the file (whose height is
 * negative for that). nBits is 8, with a grey palette, or 24. The resolution is told as 20,000
 * pixels a metre. Error 407 for null, a size below 1, other bits, and a file that would pass 4 GiB.
 */
MOLTE_API int32_t ORVEX_SaveDataAsBMP(const char* pszName, const void* pData, int32_t nWidth,
                                      int32_t nHeight, int32_t nBits);
MOLTE_API int32_t ORVEX_SaveDataAsBMPW(const wchar_t* pwszName, const void* pData, int32_t nWidth,
                                       int32_t nHeight, int32_t nBits);

/* ---- Loaded images ---- */

/*
 * Loads a file, whichever row it has first, into a record that is cleared before and whose former
 * content isn't freed. An info header longer than 40 bytes is read as one of 40, with the palette
 * behind its whole length. 8 bits with 0 colours used have 256, in the loaded header too.
 *
 * Error 299: another type or depth, a width below 1, a height of 0 or the smallest number, any
 * compression, an info header below 40 bytes. 408 for null. 3, before memory is taken, for a file
 * that is shorter than what it tells. On failure the record is zeros.
 */
MOLTE_API int32_t ORVEX_LoadBMPFromFile(const char* pszName, OXBMPFILESTRUCT* pImage);
MOLTE_API int32_t ORVEX_LoadBMPFromFileW(const wchar_t* pwszName, OXBMPFILESTRUCT* pImage);

/*
 * Writes an image with its palette and its resolution. The height is written AS IT STANDS in the
 * record and the rows as they lie in memory: after a load the height is positive, which means that
 * the bottom row comes first, so THE FILE SHOWS THE IMAGE UPSIDE DOWN. To keep it upright make
 * pInfo->nHeight negative before. 8 bits with 0 colours used are written WITHOUT A PALETTE.
 *
 * The record isn't changed. Of its file header only the reserved words are used. Error 407 for
 * null, for what couldn't be loaded either (299 above), for more than 256 colours, and for a file
 * that would pass 4 GiB.
 */
MOLTE_API int32_t ORVEX_SaveBMPToFile(const char* pszName, const OXBMPFILESTRUCT* pImage);
MOLTE_API int32_t ORVEX_SaveBMPToFileW(const wchar_t* pwszName, const OXBMPFILESTRUCT* pImage);

/* Frees what a record holds and clears it; 1. */
MOLTE_API int32_t ORVEX_OXBMPFILESTRUCT_Free(OXBMPFILESTRUCT* pImage);

/* Store a field of a file header, low byte first. */
MOLTE_API void ORVEX_OXBITMAPFILEHEADER_SetSize(OXBITMAPFILEHEADER* pHead, uint32_t nSize);
MOLTE_API void ORVEX_OXBITMAPFILEHEADER_SetOffsetBits(OXBITMAPFILEHEADER* pHead, uint32_t nOffset);

/* ---- The screen ---- */

/*
 * Takes a picture of the whole screen: the desktop of Windows, or the default screen of the X
 * server that DISPLAY names (libX11 is looked for at run time). *ppBuf becomes a whole BMP file of
 * *pnLen bytes, bottom row first, which the caller frees with ORVEX_free: of as many bits as the
 * screen's bitmap has, so of 32 as a rule (blue, green, red and a byte without meaning), which
 * ORVEX_LoadBMPFromFile REFUSES; 8 and fewer come with their palette.
 *
 * When the pixels can't be had of the bitmap, THE RESULT IS STILL 1: the system's last error is
 * printed to the standard output with "%d\n", and the pixels are zeros.
 *
 * Errors: 50 with the system's error and the name of the call that failed, as without a display;
 * 20 of "oxsysutl". *ppBuf is then null and *pnLen 0.
 */
MOLTE_API int32_t CaptureScreen(uint8_t** ppBuf, int32_t* pnLen);

#endif
