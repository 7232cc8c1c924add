/*
 * Lists of keys and of SIDs: sorted in memory, stored as text files of one entry per line.
 *
 * A key is a slot of MOLTE_KEY_SLOT bytes with a text of at most 31 characters and its terminator;
 * a list of keys is a flat array of slots. Keys order by their bytes, unsigned, up to the
 * terminator; what stands behind it is not looked at. A slot whose first byte is 0 is deleted. A
 * SID is an unsigned 64-bit number; a list of SIDs is a flat array of them.
 *
 * Counts are numbers of entries; one below 1 means an empty list, whose pointer may then be null.
 * Errors are of module "oxsysutl"; a null pointer that isn't allowed is error 50, -1. A list that a
 * function gives is a block of exact size that the caller releases with ORVEX_free. Functions that
 * sort want some memory for their run; without it they only take longer.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_KEY_LIST_H
#define MOLTELIB_KEY_LIST_H

#include "moltelib/base.h"

#define MOLTE_KEY_SLOT 32

/* ---- Keys in memory ---- */

/* Sorts a list in place, deleted slots first. A null list of some keys leaves error 50. */
MOLTE_API void MOLTE_SortKeyList(char* pKeys, int32_t n);

/* The index of a key in a sorted list, or -1. Of several that are equal it may be any. */
MOLTE_API int32_t MOLTE_KeyInList(const char* pKeys, int32_t n, const char* pszKey);

/*
 * Removes a key by moving the later ones down; the last slot keeps its bytes, and the count is the
 * caller's to reduce. 1, or 0 for an index outside the list.
 */
MOLTE_API int32_t MOLTE_DelKeyInList(char* pKeys, int32_t n, int32_t nIndex);

/* Drops deleted slots, keeping the order; the new count. */
MOLTE_API int32_t MOLTE_RemoveZeroHeadKey(char* pKeys, int32_t n);

/*
 * Keeps the last of each run of equal keys of a sorted list; the new count. Deleted slots go as
 * well, but only if there is a duplicate: else nothing moves and the result is n, whatever it is.
 */
MOLTE_API int32_t MOLTE_RemoveDupKey(char* pKeys, int32_t n);

/* ---- Two lists of keys into a third ----
 *
 * Each sorts b in place and gives the count of the new list, in *ppOut; with 0 that is null. -1,
 * with a line in the history, when memory is out. b and a may be the same list.
 */

/* Keys of a that aren't in b, in a's order, repeated ones too. nA below 1 is given back, and b then
 * stays as it is. */
MOLTE_API int32_t MOLTE_KeyListSub(const char* pA, int32_t nA, char* pB, int32_t nB, char** ppOut);

/* Keys of a that are in b, in a's order, repeated ones too. */
MOLTE_API int32_t MOLTE_KeyListIntersect(const char* pA, int32_t nA, char* pB, int32_t nB,
                                         char** ppOut);

/*
 * b without duplicates, in order (b is left so, behind its new count undefined), and behind it keys
 * of a. The result isn't sorted. A key of a is left out when MOLTE_KeyInList finds it in the list
 * as it is by then; as that list is no longer sorted once a key of a stands in it, keys that are
 * there already can be missed: the result may hold duplicates. Sort it and use MOLTE_RemoveDupKey
 * where that matters.
 */
MOLTE_API int32_t MOLTE_KeyListUnion(const char* pA, int32_t nA, char* pB, int32_t nB,
                                     char** ppOut);

/* ---- Key files ----
 *
 * One entry per line, with any blanks and tabs before and behind it; LF or CR LF ends a line, and
 * blank lines count for nothing. Of a line longer than 127 bytes each piece of 127 counts as a
 * line. A byte 0 hides the rest of its line. An entry of 32 characters or more is passed over in
 * silence.
 */

/*
 * Loads a list, sorted and without duplicates; the count. *ppKeys is null unless that is above 0.
 * Slots are zero behind the text. When memory is out on the way, the keys read until then are the
 * list. 0 for a file without keys; of one that is empty a descriptor stays open.
 * -1: the error of ORVEX_FileStatByFileName (23 for a file that doesn't exist); 1 not opened, 3 not
 * read, each with the path; 124 "file length too long" for a file above some 200 MiB.
 */
MOLTE_API int32_t MOLTE_LoadKeyList(const char* pszPath, char** ppKeys);

/*
 * Writes a list, with the platform's line ends; n. For n below 1 it gives 0 and touches no file. A
 * file marked read-only is made writable first. -1: 1 not made, 4 not written whole, each with the
 * path.
 *
 * The list is written beside the old one, under its name with ".0.tmp" or a higher number, flushed
 * to the disk and renamed over it: the file is the old list or the new one, whatever fails, and so
 * is what a reader finds. Its folder must therefore be writable. The new file keeps the permission
 * and, as far as the system lets, the owner of the old one (on Windows it gets those of the
 * folder); a symbolic link stays and what it leads to is replaced; a hard link keeps the old list.
 * A process that is ended on the way leaves the ".tmp" file. Written in place, and so can be torn:
 * a device or a pipe; on Windows also what a symbolic link leads to and, while it is copied, a list
 * that somebody else holds open.
 */
MOLTE_API int32_t MOLTE_SaveKeyList(const char* pszPath, const char* pKeys, int32_t n);

/* ---- SIDs ---- */

/* Compares two SIDs behind pointers: -1, 0 or 1. */
MOLTE_API int32_t MOLTE_CompSID(const void* pA, const void* pB);

/* Sorts a list in place, smallest first. A null list of some SIDs leaves error 50. */
MOLTE_API void MOLTE_SortSIDList(uint64_t* pSids, int32_t n);

/* Removes the duplicates of a sorted list; the new count. 1 for n below 2, also for no SID. */
MOLTE_API int32_t MOLTE_RemoveDupSID(uint64_t* pSids, int32_t n);

/*
 * As MOLTE_LoadKeyList, with these differences. A line is a decimal number as MOLTE_atoi64 reads
 * it: text that is none is 0, and what is above 2^63 - 1 becomes that. A line that gives -1 is
 * passed over. *ppSids is touched only when the count is above 0. The largest file is 10485760
 * bytes.
 */
MOLTE_API int32_t MOLTE_LoadSIDList(const char* pszPath, uint64_t** ppSids);

/* As MOLTE_SaveKeyList, in decimal. Beware: numbers from 2^63 up aren't read back. */
MOLTE_API int32_t MOLTE_SaveSIDList(const char* pszPath, const uint64_t* pSids, int32_t n);

#endif
