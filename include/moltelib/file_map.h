/*
 * An open file as memory.
 *
 * A mapping has a name, which is the file's as it was given at opening with every backslash as a
 * slash, of at most 254 bytes. MIND: NAMES ARE COMPARED AS THEY STAND, AND ALL PROCESSES OF THE
 * USER SHARE THEM. Who maps "data.bin" while another process has a "data.bin" of ANOTHER FOLDER
 * mapped gets THE OTHER'S FILE, WITH THE SIZE AND THE PROTECTION OF ITS MAPPING. Open what is
 * mapped by its full name. The name of an event, mutex or semaphore (moltelib/event.h,
 * process_lock.h) can't be that of a mapping at the same time: error 259.
 *
 * Failures are reported under module "ofilemap".
 */
#ifndef MOLTELIB_FILE_MAP_H
#define MOLTELIB_FILE_MAP_H

#include "moltelib/base.h"
#include "moltelib/file_handle.h"

/* A mapping and its view; of a file here, of memory in moltelib/shared_memory.h. */
typedef struct MOLTE_FMAP {
    OXHANDLE hMapping; /* null when closed */
    void* pView;       /* null when closed */
} MOLTE_FMAP;

/* For nFlags of MOLTE_FMAP_Map: to be read alone. */
#define MOLTE_FMAP_READONLY 0x100

/*
 * Maps nSize bytes from nOffset on, to be read and written unless nFlags holds MOLTE_FMAP_READONLY;
 * other bits aren't looked at. With nSize 0 to the end of the file. nOffset is a multiple of 65536.
 * The view is pMap->pView, until MOLTE_FMAP_Unmap, also when the file is closed before. What was in
 * *pMap before is overwritten, not closed.
 *
 * A FILE THAT IS SHORTER THAN nOffset + nSize IS MADE THAT LONG, with zeros, when it is mapped to
 * be written; to be read it is error 259. Who cuts a file that is mapped ends the process that
 * touches what is gone, where the system doesn't forbid it.
 *
 * 1, or -1 with *pMap zeroed and error
 *   259 ("create file mapping error" and straight behind it the file's name) when there is no
 *       mapping: a negative number, a sum beyond 63 bits, an empty file with nSize 0, no room on
 *       the disk, a file that isn't open for what is wanted;
 *   260 ("MAP file error" and the name) when there is no view: an nOffset between the steps, more
 *       than the mapping has that stood under the name;
 *   50 for a null pointer.
 */
MOLTE_API int32_t MOLTE_FMAP_Map(MOLTE_FMAP* pMap, ORVEX_HFILE* pFile, int64_t nOffset,
                                 int64_t nSize, int32_t nFlags);

/* Ends view and mapping, where there are such, and zeroes *pMap. 1; 0 for null. */
MOLTE_API int32_t MOLTE_FMAP_Unmap(MOLTE_FMAP* pMap);

#endif
