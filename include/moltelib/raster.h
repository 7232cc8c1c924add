/*
 * Turning, mirroring and cutting raster images of one byte per pixel, top row first, rows one
 * behind the other without padding. Rows of more bytes a pixel can be turned upside down, no more.
 *
 * A width, height or count below 1 is an image without pixels: nothing is done, and the result is
 * that of success. Source and target must not overlap, unless told otherwise. Functions may be
 * called from any thread.
 *
 * A failure is -1: error 20, no memory, with a line in the history; the image is then as it was,
 * the target of a cut isn't.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_RASTER_H
#define MOLTELIB_RASTER_H

#include "moltelib/base.h"

/* ---- Mirrors, in place; 1 or -1 ---- */

/* Exchanges the first row and the last, and so on. A row has nRowSize bytes. */
MOLTE_API int32_t MOLTE_UTIL_UpSideDownData(void* pData, int32_t nRowSize, int32_t nRows);

/* Reverses the bytes of each row. */
MOLTE_API int32_t MOLTE_UTIL_LeftRightData(void* pData, int32_t nRowSize, int32_t nRows);

/* Copies bytes in reverse: the target's first one is *pLast, the next the one before that. */
MOLTE_API void MOLTE_UTIL_ReverseCopy(const void* pLast, void* pTarget, int32_t nCount);

/*
 * ---- Right angles; 1 or -1 ----
 *
 * nWidth and nHeight are those of the source. A null target stands for the source itself, by way of
 * a copy on the heap; else the target has room for as many bytes.
 */

/*
 * Called a turn by 90 degrees, but a TRANSPOSITION: rows become columns, the top row the left
 * column, so a print comes out MIRRORED. The target has nWidth rows of nHeight bytes.
 */
MOLTE_API int32_t MOLTE_UTIL_Rotate90Deg(void* pData, int32_t nWidth, int32_t nHeight,
                                         void* pTarget);

/* A half turn. */
MOLTE_API int32_t MOLTE_UTIL_Rotate180Deg(void* pData, int32_t nWidth, int32_t nHeight,
                                          void* pTarget);

/*
 * A quarter turn counter-clockwise: the right column becomes the top row. The target has nWidth
 * rows of nHeight bytes.
 */
MOLTE_API int32_t MOLTE_UTIL_Rotate270Deg(void* pData, int32_t nWidth, int32_t nHeight,
                                          void* pTarget);

/*
 * The same by an angle in degrees, into a block that the caller frees with ORVEX_free, and with the
 * result's width and height. An angle of 360 and more counts by its remainder; to a negative one,
 * after the same, 360 is added: -90 is 270, but -360 IS 360 AND NO RIGHT ANGLE. 0 copies. 1, or 0
 * with nothing touched for any angle that isn't 0, 90, 180 or 270 then; -1 gives nothing either.
 */
MOLTE_API int32_t MOLTE_UTIL_RotateInDeg(const void* pData, int32_t nWidth, int32_t nHeight,
                                         uint8_t** ppBuf, int32_t* pnWidth, int32_t* pnHeight,
                                         int32_t nAngle);

/* A kept name that does nothing; its arguments aren't looked at. Always 0. */
MOLTE_API int32_t MOLTE_UTIL_RotateAnyAngle(const void* pData, int32_t nWidth, int32_t nHeight,
                                            uint8_t** ppBuf, int32_t* pnWidth, int32_t* pnHeight,
                                            int32_t nAngle);

/* ---- Cuts ---- */

/*
 * Copies the rectangle whose upper left corner is (x, y) in the source to the target of
 * nTargetWidth by nTargetHeight. It may pass the source at any side: bytes of the target outside
 * the source stay as they are. 1, or 0 when it lies beside the source.
 */
MOLTE_API int32_t MOLTE_UTIL_RectCut(const void* pSource, int32_t nWidth, int32_t nHeight,
                                     void* pTarget, int32_t nTargetWidth, int32_t nTargetHeight,
                                     int32_t x, int32_t y);

/*
 * The same turned by an angle in degrees, which counts as in MOLTE_UTIL_RotateInDeg. What lies
 * outside the source is byFill. 1, also when nothing of the source is met; -1.
 *
 * 0      The cut at (x, y).
 * 90     The cut at (x - nTargetHeight, y), turned by MOLTE_UTIL_Rotate270Deg.
 * 180    The cut at (x - nTargetWidth, y - nTargetHeight), turned by MOLTE_UTIL_Rotate180Deg. IT IS
 *        CUT WITH WIDTH AND HEIGHT EXCHANGED, so only a square target shows what one would expect.
 * 270    The cut at (x, y - nTargetWidth), turned by MOLTE_UTIL_Rotate180Deg AS WELL, so that it is
 *        a picture of nTargetHeight by nTargetWidth upside down.
 * else   Target pixel (i, j) is the place (u * cos + v * sin + x, v * cos - u * sin + y) of the
 *        source, with u = x + i and v = y + j: THE TURN IS ABOUT (0, 0), and (x, y) is added twice.
 *        It is the bilinear mix of the four pixels around that place, cut to an integer of which
 *        the low byte is stored. Right of the LAST COLUMN lies the NEXT ROW'S first byte, and
 *        behind the image 0; up to a pixel LEFT OF OR ABOVE the image, where the mix goes beyond
 *        the two pixels that it is made of, is taken for inside.
 *
 * nIgnored1 and nIgnored2 aren't looked at. The result has the same bytes whatever the processor.
 */
MOLTE_API int32_t MOLTE_UTIL_RotateCutInDeg(const void* pSource, int32_t nWidth, int32_t nHeight,
                                            void* pTarget, int32_t nTargetWidth,
                                            int32_t nTargetHeight, int32_t nAngle, int32_t x,
                                            int32_t y, int32_t nIgnored1, int32_t nIgnored2,
                                            uint8_t byFill);

#endif
