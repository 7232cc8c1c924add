/*
 * File packages: a tree of files and folders in one file (moltelib/format/file_package_record.h).
 *
 *     FILEPKG_NewPkgFile("a.pkg", "C:\\data", NULL, "tree", NULL, 0);
 *     FILEPKG_GetItemList("a.pkg", &list);
 *
 * What is packed is named by a root, which the package doesn't hold, a folder relative to it
 * (null or empty: the root itself) and a name. There is no compression but by the caller's routine.
 *
 * Programs of the system live with how packages behave, and it is kept:
 * - FILEPKG_ExtractItem AND FILEPKG_Extract WRITE AS MANY BYTES AS AN ITEM HAS, BUT FROM THE START
 *   OF THE PACKAGE, not the item's content; of AN EMPTY ITEM THE WHOLE PACKAGE. The content is had
 *   by FILEPKG_ExtractIntoMemory.
 * - The filters of FILEPKG_Extract name WHAT IS LEFT OUT.
 * - In a package with a trailing item a new one is written where the length of the package LESS THE
 *   TRAILING ITEM'S POSITION is, over whatever lies there, and the head isn't told.
 *
 * A package is untrusted: lengths are compared with what is left of the file, and an item that lies
 * about them is error 128. Nothing is extracted to a name that is absolute, begins with a drive or
 * has ".." between separators, nor through a symbolic link below the root, nor over the package
 * itself: error 128 as well. To extract, a root must not be empty.
 *
 * A failure is -1 with an error and a line in the history for each function that passes it on. A
 * null pointer that has no meaning told, or such a root, is error 50, a full name of 4400 bytes and
 * more (of a package, or of a file whose content is packed, 256 and more) error 124. A package has
 * one writer, and nothing locks it. bFlag is passed on and never looked at.
 *
 * Failures are reported under module "ofilepkg".
 */
#ifndef MOLTELIB_FILE_PACKAGE_H
#define MOLTELIB_FILE_PACKAGE_H

#include "moltelib/base.h"
#include "moltelib/file_handle.h"
#include "moltelib/format/file_package_record.h"
#include "moltelib/format/file_stat_record.h"

#define FILEPKG_PATH_SIZE 4400

/*
 * A caller's compression. To pack: given the full name of a file, it writes the name of the one to
 * pack instead into pszTarget, of FILEPKG_PATH_SIZE bytes; that file is not deleted, and the item
 * is NOT MARKED as compressed. To extract: makes pszTarget, the final name, of the content in
 * pszSource. nZero is 0. Negative for a failure.
 */
typedef int32_t (*FILEPKG_CONVERT)(const char* pszSource, char* pszTarget, int32_t nZero);

/* ---- Heads ---- */

/* Fills the head of a package, with a new UUID; 1. */
MOLTE_API int32_t FILEPKG_InitFileHead(FILEPKG_HEAD* pHead);

/* 1 if length and both versions are right, WHATEVER THE TEXT; else 0 with error 128. */
MOLTE_API int32_t FILEPKG_IsFileHeadValid(const FILEPKG_HEAD* pHead);

/* Fills the head of an item: zeros, its length, its text; 1. */
MOLTE_API int32_t FILEPKG_InitItemHead(FILEPKG_ITEM* pItem);

/* 1 if length and text are right, else 0 with error 128. */
MOLTE_API int32_t FILEPKG_IsItemHeadValid(const FILEPKG_ITEM* pItem);

/* The bytes of an item with all that belongs to it, a multiple of 8. */
MOLTE_API int64_t FILEPKG_UTIL_ItemLen(const FILEPKG_ITEM* pItem);

/* ---- Names: joined with backslashes into pszOut, which has room for all; 1 ---- */

MOLTE_API int32_t FILEPKG_BuildFileName(const char* pszRoot, const char* pszDir,
                                        const char* pszName, char* pszOut);
MOLTE_API int32_t FILEPKG_BuildRelPath(const char* pszDir, const char* pszName, char* pszOut);

/* The same of an item in memory (FILEPKG_ExtractIntoMemory), without a root; ALWAYS 0. */
MOLTE_API int32_t FILEPKG_UTIL_RelPathFileName(const uint8_t* pItem, char* pszOut);

/* ---- Packing ---- */

/*
 * Makes an empty package, or EMPTIES A FILE THAT IS THERE. 1, ALSO WHEN IT CAN'T BE WRITTEN, which
 * the error record tells; -1 when it can't be made.
 */
MOLTE_API int32_t FILEPKG_New(const char* pszPackage);

/*
 * Fills an item's head for a file or folder: the lengths of folder and name, and of a file its
 * state. 1. The content's length stays 0.
 */
MOLTE_API int32_t FILEPKG_GetFileInfo(const char* pszRoot, const char* pszDir, const char* pszName,
                                      FILEPKG_ITEM* pItem);

/*
 * Adds an item: its head, folder and name, and the content of file pszSource, whose length goes
 * into *pItem; of a folder nothing, and pszSource may be null. What is neither file nor folder (a
 * pipe) has no content and isn't opened. A source that is read-only is made writable. 1.
 *
 * Errors: 128 for a package's or item's bad head, lengths that are not those of pszDir and pszName
 * (where the folder's is 0, pszDir isn't looked at), and a place below 128 or between two multiples
 * of 8 that a trailing item's position would lead to; 293 ("orgpos=%s") for a package whose length
 * is no multiple of 8; 292 for a trailing item too large for memory; 3 for a source that becomes
 * shorter. After a failure the package has its old length, and a trailing item stands where it was.
 */
MOLTE_API int32_t FILEPKG_AddInItem(ORVEX_HFILE* pPackage, FILEPKG_ITEM* pItem, const char* pszDir,
                                    const char* pszName, const char* pszSource);

/*
 * Adds a file, or a folder with all that is in it, each folder before what it holds. A symbolic
 * link to a folder is packed as an empty folder, one to a file as that file; ONE THAT LEADS NOWHERE
 * IS A FAILURE, as is all that can't be read. 1. After a failure items stay that were added before
 * it; of those in the last 256 KiB all are taken back when the package can't be written. A process
 * that dies on the way, or a package that can't be cut again either, leaves an item torn at the
 * end, and so a package to which nothing more can be added as a rule.
 */
MOLTE_API int32_t FILEPKG_AddFileToPackage(ORVEX_HFILE* pPackage, const char* pszRoot,
                                           const char* pszDir, const char* pszName,
                                           FILEPKG_CONVERT pfnCompress, int32_t bFlag);

/* The same to a package by name; the second makes it anew first. 1. */
MOLTE_API int32_t FILEPKG_AddFile(const char* pszPackage, const char* pszRoot, const char* pszDir,
                                  const char* pszName, FILEPKG_CONVERT pfnCompress, int32_t bFlag);
MOLTE_API int32_t FILEPKG_NewPkgFile(const char* pszPackage, const char* pszRoot,
                                     const char* pszDir, const char* pszName,
                                     FILEPKG_CONVERT pfnCompress, int32_t bFlag);

/* ---- Reading ---- */

/*
 * Reads the item at a position (the first one is at 128) into a block that the caller frees with
 * ORVEX_free: head, folder, name, and with bContent the content and the zeros behind it. Both
 * terminators are there whatever the package says. 1; -1 with *ppItem null: error 423 for a
 * position below 128, a line in the history alone for one at or past the end, 292 ("itemsize=%s")
 * for content of more than 1 GiB.
 */
MOLTE_API int32_t FILEPKG_ExtractIntoMemory(ORVEX_HFILE* pPackage, int64_t nPos, uint8_t** ppItem,
                                            int32_t bContent);

/*
 * Makes the folder, or the file, of the item at a position under a root; of a file, the bytes are
 * THE FIRST ONES OF THE PACKAGE (see above) and both times the item's. The file's folder must be
 * there; A FILE THAT IS THERE IS EMPTIED FIRST, and a failure leaves what was written. Of a
 * compressed item the bytes go to a temporary file beside it, of which pfnDecompress makes the
 * final one; without that routine it is error 50. *pItem gets the item's head before it is
 * tested. 1. Errors: 424 for a position below 128, a line in the history alone for one that leaves
 * no room for an item's head, 294 when there is no temporary name.
 */
MOLTE_API int32_t FILEPKG_ExtractItem(ORVEX_HFILE* pPackage, const char* pszRoot, int64_t nPos,
                                      FILEPKG_CONVERT pfnDecompress, FILEPKG_ITEM* pItem);

/*
 * Extracts the item at a position above 0, else all; 1. With a filter an item is LEFT OUT if its
 * folder is pszDirFilter, or, when there is none, if it has a folder; and if its name is
 * pszNameFilter; whatever the case of letters. With a name filter THE FIRST ITEM THAT IS EXTRACTED
 * ENDS THE WALK. Behind one that was extracted, an item that is left out IS STEPPED OVER BY THAT
 * ONE'S LENGTH, which is a failure (error 128) where no item begins there.
 */
MOLTE_API int32_t FILEPKG_Extract(const char* pszPackage, const char* pszRoot,
                                  const char* pszDirFilter, const char* pszNameFilter, int64_t nPos,
                                  FILEPKG_CONVERT pfnDecompress, int32_t bFlag);

/*
 * The items of a package with folder and name, cut to 263 bytes, size, attributes and two times;
 * the caller frees *ppList with ORVEX_free. Their number; 0, with null, when there are none. The
 * head of the package isn't looked at.
 */
MOLTE_API int32_t FILEPKG_GetItemList(const char* pszPackage, OXFILESTAT** ppList);

/* Such a record of an item in memory; 1. */
MOLTE_API int32_t FILEPKG_UTIL_Item2FileStat(const uint8_t* pItem, OXFILESTAT* pRecord);

/* ---- Kept names that do nothing; 0 ---- */

MOLTE_API int32_t FILEPKG_Compress(void);
MOLTE_API int32_t FILEPKG_AddInComment(void);

#endif
