/*
 * Memory with a name, common to the processes of the user, and on top of it files that live only in
 * memory: one process saves a block of that name, another reads it, and an event tells that it did.
 *
 *     the saver:  MOLTE_MTEMPF_SaveBinFile(&block, "list", data, size);
 *                 MOLTE_MTEMPF_WaitFileToRead("list-read", 30);
 *                 MOLTE_MTEMPF_RemoveFile(&block);
 *     the reader: MOLTE_MTEMPF_ReadBinFile("list", &bytes, &size);
 *                 MOLTE_MTEMPF_SetFileReadFlag("list-read");
 *
 * A block lives as long as any process holds it, and goes with the last one, however that ends.
 * Nothing here locks: the event is the only order between saver and reader. Names are those of all
 * objects that processes have in common, at most 254 bytes: a mutex, say, and a block can't have
 * one name. MIND: A MAPPED FILE (moltelib/file_map.h) HAS SUCH A NAME TOO, AND IS THEN WHAT IS
 * FOUND.
 *
 * A null pointer that has no meaning told is error 50, and -1.
 *
 * Failures are reported under module "oxshmem".
 */
#ifndef MOLTELIB_SHARED_MEMORY_H
#define MOLTELIB_SHARED_MEMORY_H

#include "moltelib/base.h"
#include "moltelib/file_map.h"

/* ---- Blocks ---- */

/*
 * Makes a block of nSize bytes, all zero, or finds the one of that name with what it holds; which,
 * isn't told. It is to be read and written at pMap->pView. With pszName null or empty it is the
 * process's own, and that of children that it forks. What was in *pMap is overwritten, not closed.
 *
 * 1, or -1 with *pMap zeroed and the name as data: error 259 when there is no block (an nSize below
 * 1, too little memory); 260 when it can't be seen, OR WHEN THE ONE THAT WAS FOUND IS SMALLER than
 * nSize (its size counts rounded up to pages).
 */
MOLTE_API int32_t MOLTE_SHMEM_Create(MOLTE_FMAP* pMap, int64_t nSize, const char* pszName);

/* Opens a block that stands, whole. 1, or -1 as above; error 261 when there is none. Its size isn't
 * told: let the block hold it. */
MOLTE_API int32_t MOLTE_SHMEM_Open(MOLTE_FMAP* pMap, const char* pszName);

/* Gives it up; as MOLTE_FMAP_Unmap. */
MOLTE_API int32_t MOLTE_SHMEM_Release(MOLTE_FMAP* pMap);

/* ---- Files in memory; a backslash in a file's name is the same as a slash ---- */

/*
 * Saves nLen bytes (pData may be null with 0) as a block: a 32-bit word in the machine's order, and
 * the data. THE WORD HOLDS THE LENGTH OF THE NAME, NOT OF THE DATA: it is how these blocks are
 * stamped, and it is what a reader gets. So give a file of N bytes a name of N characters, or let
 * the reader open the block by MOLTE_SHMEM_Open. The file lives until MOLTE_MTEMPF_RemoveFile.
 * A block of that name that stands is written over.
 *
 * 1, or -1 with *pMap zeroed, the error of MOLTE_SHMEM_Create and a line in the history.
 */
MOLTE_API int32_t MOLTE_MTEMPF_SaveBinFile(MOLTE_FMAP* pMap, const char* pszName, const void* pData,
                                           int64_t nLen);

/*
 * Reads AS MANY BYTES AS THE WORD TELLS, which is as many as the name has characters, into a buffer
 * that the caller frees with ORVEX_free; never more than there are in the block's pages, zeros
 * behind the data. Their number, also in *pnLen; -1, with null and 0 there, with the error of
 * MOLTE_SHMEM_Open or of the allocator and a line in the history.
 */
MOLTE_API int32_t MOLTE_MTEMPF_ReadBinFile(const char* pszName, uint8_t** ppBuf, int32_t* pnLen);

/*
 * Waits at most nSeconds (below 1: without end) until a reader sets the flag of that name, an
 * event. 1 WHATEVER CAME: a flag, the end of the time, or no event (the error record tells).
 */
MOLTE_API int32_t MOLTE_MTEMPF_WaitFileToRead(const char* pszEvent, int32_t nSeconds);

/*
 * Sets the flag. 1, ALSO WHEN NOBODY WAITS: that leaves error 287 of moltelib/event.h, and a flag
 * that can't be set error 288.
 */
MOLTE_API int32_t MOLTE_MTEMPF_SetFileReadFlag(const char* pszEvent);

/* Removes a file as the saver's; as MOLTE_FMAP_Unmap. */
MOLTE_API int32_t MOLTE_MTEMPF_RemoveFile(MOLTE_FMAP* pMap);

#endif
