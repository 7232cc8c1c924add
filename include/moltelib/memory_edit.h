/*
 * Block edits inside a flat buffer, and a small stream writer and reader. Buffers are the caller's
 * and hold what the edit needs.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_MEMORY_EDIT_H
#define MOLTELIB_MEMORY_EDIT_H

#include "moltelib/base.h"

/*
 * Removes n bytes at nPos of a buffer that holds nSize; what runs past the end is cut. The tail
 * moves down and the bytes freed at the end are zeroed. The new size, or -1 with error 434 for a
 * null buffer, an nPos outside 0 to nSize - 1 or an n outside 0 to nSize.
 */
MOLTE_API int32_t MOLTE_MemDelAndMove(void* pBuf, int32_t nSize, int32_t nPos, int32_t n);

/* The same in entries of nEntrySize bytes: arguments and result count entries. */
MOLTE_API int32_t MOLTE_EntryDelAndMove(void* pBuf, int32_t nCount, int32_t nPos, int32_t n,
                                        int32_t nEntrySize);

/*
 * Opens a gap of n bytes at nPos and copies pIns there; pIns must not lie in the buffer, which must
 * have room for nSize + n. The new size, or -1 with error 435 for a null pointer, a negative size
 * or position, a position past the size or an n below 1.
 */
MOLTE_API int32_t MOLTE_MemInsert(void* pBuf, int32_t nSize, const void* pIns, int32_t nPos,
                                  int32_t n);
MOLTE_API int32_t MOLTE_EntryInsert(void* pBuf, int32_t nCount, const void* pIns, int32_t nPos,
                                    int32_t n, int32_t nEntrySize);

/*
 * Writes n bytes at *pnPos of a buffer from ORVEX_release_malloc (*ppBuf may be null with a
 * capacity of 0). What does not fit makes the capacity grow by the shortfall rounded up to a
 * multiple of 1024. The new position, which also goes to *pnPos; -1 with error 20 when memory is
 * out, 50 for a negative number: then nothing has changed.
 */
MOLTE_API int32_t MOLTE_MEMOP_AddToStream(uint8_t** ppBuf, int32_t* pnCapacity, int32_t* pnPos,
                                          const void* pData, int32_t n);

/*
 * Reads n bytes at *pnPos of a buffer of nBufLen. The new position, which also goes to *pnPos; past
 * the end -1 with error 272 ("buflen=%d curpos=%d read=%d"), and the position stays.
 */
MOLTE_API int32_t MOLTE_MEMOP_GetFromStream(const void* pBuf, int32_t nBufLen, int32_t* pnPos,
                                            void* pOut, int32_t n);

#endif
