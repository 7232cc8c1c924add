/*
 * Item packages: one flat block of bytes with named items of any length. It is built in memory and
 * sent as it is: nUsed bytes from pData on.
 *
 *     MOLTE_ITEMPKG_OPS package;
 *     MOLTE_ITEMPKG_New(&package, 0);
 *     MOLTE_ITEMPKG_AddItemEx(&package, "Card", 7, card, card_size);
 *     send(socket, package.pData, package.nUsed);
 *     MOLTE_ITEMPKG_Free(&package);
 *
 * Whoever receives a block compares its length with that which its head tells before anything is
 * trusted, then wraps and checks it:
 *
 *     MOLTE_ITEMPKG_BuildOpsFromData(&package, block);
 *     if (package.nUsed <= received && MOLTE_ITEMPKG_IsValidHead(&package) > 0) ...
 *
 * Items are checked as they are walked over: a block that has lied about its items costs an error,
 * and nothing outside nUsed bytes is read.
 *
 * AN ITEM IS AN ADDRESS IN THE BLOCK: whatever adds, updates or deletes makes it void. Its head is
 * a MOLTE_ITEMHEAD, its data stands behind that. Names are whole texts of at most 31 characters;
 * several items may have one name, and the first of them is found.
 *
 * Results are 1, or -1: null where nothing is said of it is error 50; with memory out, or a package
 * that would need more than 0x7FFFFFFF bytes, the error is 20 of "oxsysutl" and the package is as
 * it was. A package belongs to one thread at a time. Errors of a block that isn't as it should be,
 * each with a line of every function that passes it on:
 *
 *     425  the head of the package; its bytes as data
 *     426  the head of an item; its 48 bytes as data
 *     427  a position past the bytes in use, or a negative one
 *     428  fewer than 48 bytes left
 *     429  an item that runs past the bytes in use
 *
 * Failures are reported under module "oitempkg".
 */
#ifndef MOLTELIB_ITEM_PACKAGE_H
#define MOLTELIB_ITEM_PACKAGE_H

#include "moltelib/base.h"
#include "moltelib/format/item_package_record.h"

/* A package in memory. The structure may be read, and is changed through the functions below. */
typedef struct MOLTE_ITEMPKG_OPS {
    uint8_t* pData; /* the block, which begins with a MOLTE_ITEMPKG_HEAD */
    int32_t nUsed;  /* bytes in use, of head and all items */
    int32_t nAlloc; /* bytes allocated */
} MOLTE_ITEMPKG_OPS;

/* ---- Packages ---- */

/*
 * Makes an empty package in a zeroed block of nSize bytes, 1,024 at least and 268,435,456 at most:
 * it grows when it must. On failure the handle is zeroed; what it held is not released.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_New(MOLTE_ITEMPKG_OPS* pOps, int32_t nSize);

/*
 * Wraps a block of at least 64 bytes with no test and no copy: both sizes are that which its head
 * tells in nUsed. The block stays the caller's. Items may be added only to one that came from
 * ORVEX_release_malloc, for it moves: it is the handle's then.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_BuildOpsFromData(MOLTE_ITEMPKG_OPS* pOps, void* pData);

/* Frees the block, which must be the handle's own, and zeroes the handle; 0 for null. */
MOLTE_API int32_t MOLTE_ITEMPKG_Free(MOLTE_ITEMPKG_OPS* pOps);

/*
 * 1 if the head of the block is that of a package with nUsed bytes in use; else 0 with error 425,
 * whose data are 64 bytes of the block, or what there is. What the head tells of allocated bytes is
 * not looked at. 0 also for null.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_IsValidHead(const MOLTE_ITEMPKG_OPS* pOps);

/* ---- Heads of items ---- */

/* 1 if size and tag are those of an item's head; else 0 with error 426. 0 also for null. */
MOLTE_API int32_t MOLTE_ITEMPKG_IsValidItem(const MOLTE_ITEMHEAD* pItem);

/*
 * Makes the head of an item without data; a null name is an empty one. One of 32 characters and
 * more is refused with error 50, and the head stays as it was: cutting would make two names one.
 */
MOLTE_API int32_t MOLTE_ITEMHEAD_Init(MOLTE_ITEMHEAD* pHead, const char* pszName,
                                      int32_t nItemType);

/* ---- Adding ---- */

/*
 * Adds an item with a copy of nLen bytes at the end, whether or not there is one of that name. A
 * block that is too small grows to what is needed, rounded up to a multiple of 8,192. Name and data
 * may lie in the package. A null name is an empty one. Error 50 for a name of 32 characters and
 * more, a negative nLen, null data with a length, and a handle without a package.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_AddItemEx(MOLTE_ITEMPKG_OPS* pOps, const char* pszName,
                                          int32_t nItemType, const void* pData, int32_t nLen);

/* The same with what a complete item holds. */
MOLTE_API int32_t MOLTE_ITEMPKG_AddItem(MOLTE_ITEMPKG_OPS* pOps, const MOLTE_ITEMHEAD* pItem);

/* ---- Walking and finding ----
 *
 *     for (int32_t more = ITEMPKG_GetFirstItem(&package, &item, &pos, &next); more > 0;
 *          more = ITEMPKG_GetNextItem(&package, &item, &pos, &next)) ...
 */

/*
 * Gives the item at offset *pnNext and its offset, and moves *pnNext behind it: 1; 0 at the end, -1
 * for a bad item, and then all three are as they were.
 */
MOLTE_API int32_t ITEMPKG_GetNextItem(const MOLTE_ITEMPKG_OPS* pOps, MOLTE_ITEMHEAD** ppItem,
                                      int32_t* pnPos, int32_t* pnNext);

/* The same from the start: *pnPos becomes 0 and *pnNext 64 first. */
MOLTE_API int32_t ITEMPKG_GetFirstItem(const MOLTE_ITEMPKG_OPS* pOps, MOLTE_ITEMHEAD** ppItem,
                                       int32_t* pnPos, int32_t* pnNext);

/*
 * Gives the first item of a name, and its offset, each unless its pointer is null: 1; 0 when there
 * is none; -1 for a bad item on the way.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_GetItemEx(const MOLTE_ITEMPKG_OPS* pOps, const char* pszName,
                                          MOLTE_ITEMHEAD** ppItem, int32_t* pnPos);

/* The same without the offset. */
MOLTE_API int32_t MOLTE_ITEMPKG_GetItem(const MOLTE_ITEMPKG_OPS* pOps, const char* pszName,
                                        MOLTE_ITEMHEAD** ppItem);

/*
 * Gives copies of all heads, in the order of the package, in a list that the caller releases with
 * ORVEX_free: how many. 0 for a package without items, and *ppDir is then as it was, as it is on
 * failure.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_GetItemDir(const MOLTE_ITEMPKG_OPS* pOps, MOLTE_ITEMHEAD** ppDir);

/* ---- Changing ---- */

/*
 * Deletes the first item of a name and moves what follows down; 0 when there is none. No memory is
 * returned, and what lies behind the bytes in use becomes zero.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_DelItem(MOLTE_ITEMPKG_OPS* pOps, const char* pszName);

/*
 * Deletes the first item of the name of a complete item, if there is one, and adds that item AT THE
 * END. It may lie in the package. What can't be added leaves the old one where it was.
 */
MOLTE_API int32_t MOLTE_ITEMPKG_UpdateItem(MOLTE_ITEMPKG_OPS* pOps, const MOLTE_ITEMHEAD* pItem);

#endif
