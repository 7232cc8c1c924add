/*
 * The named object file: blocks of one size, each in a chain; an object is a chain with a name, and
 * the free blocks are a chain that the file's map holds. The layout is in
 * moltelib/format/named_object_file_record.h. Here is the layer of files and blocks; rows and
 * objects above it are names alone.
 *
 * Programs of the system live with how this layer behaves, and it is kept. Know it before you
 * trust a file to it:
 * - A FILE THAT WAS JUST MADE CAN'T BE OPENED, NOR ANY FILE OF A MAP AND WHOLE BLOCKS: the reader
 *   expects 32 bytes and whole blocks.
 * - NOBF_Expand DOESN'T STOP BEHIND THE NEW BLOCKS: it goes on writing heads, and the file grows,
 *   until a write fails, be it for a full disk. It is then a failure, and nothing is undone.
 * - NOBF_AllocBlock AND NOBF_FreeBlock WRITE AN OBJECT OVER THE HEAD OF THE FILE, which then is no
 *   named object file any more.
 * - A block that is removed STAYS ITS SUCCESSOR'S PREVIOUS. One that is inserted behind another
 *   becomes ITS OWN NEXT; one that comes to an empty chain makes the call fail, or, with blocks of
 *   1024 bytes, SPOILS THE HEAD of the file.
 *
 * A failure is -1 with an error, and a line in the history for each function that passes it on;
 * what was written stays written. A null pointer to a record or a file that isn't open is error 50.
 * A NOBF_FILE is one thread's at a time, and nothing locks the file.
 *
 * Failures are reported under module "onobfile".
 */
#ifndef MOLTELIB_NAMED_OBJECT_FILE_H
#define MOLTELIB_NAMED_OBJECT_FILE_H

#include "moltelib/base.h"
#include "moltelib/file_handle.h"
#include "moltelib/format/named_object_file_record.h"

/* An open file. Its numbers are those of the opening: nothing brings them up to date. */
typedef struct NOBF_FILE {
    ORVEX_HFILE* pHandle;
    NOBF_MAP* pMap; /* a copy of the map; NOBF_Expand alone writes it back */
    uint64_t an64Reserved[2];
    int64_t nFileLen;
    int32_t nBlockCount;
    int32_t nBlockSize; /* bytes */
} NOBF_FILE;

/* An object in memory: what is stored, and the open file it belongs to. */
typedef struct NOBF_MEMOBJECT {
    NOBF_OBJECT stObject;
    NOBF_FILE* pFile; /* stays the caller's */
} NOBF_MEMOBJECT;

#if defined(__cplusplus)
static_assert(sizeof(NOBF_FILE) == 48, "the layout is the interface's");
static_assert(offsetof(NOBF_MEMOBJECT, pFile) == 128, "the pointer stands behind the record");
#endif

/* ---- Records ---- */

/* Fills a head (NOBF_FILEHEAD), with which a map begins; 1. */
MOLTE_API int32_t NOBF_InitFileHead(void* pHead);

/* 1 if size and magic are right, else 0 with error 302. */
MOLTE_API int32_t NOBF_IsValidFileHead(const void* pHead);

/* Makes an empty chain; 1. A name, which may be null, is cut to 39 bytes. */
MOLTE_API int32_t NOBF_InitNamedObject(NOBF_OBJECT* pObject, const char* pszName);

/* Fills a map: its head and two empty chains without names. The block size stays 0. 1. */
MOLTE_API int32_t NOBF_InitFileMap(NOBF_MAP* pMap);

/* 1 if its head is valid, else 0 as above. */
MOLTE_API int32_t NOBF_IsValidFileMap(const NOBF_MAP* pMap);

/* Where block nIndex lies: the block size times nIndex, and 1024. */
MOLTE_API int64_t NOBF_CalcBlockOffset(const NOBF_FILE* pFile, int32_t nIndex);

/* ---- Files ---- */

/*
 * Makes a file of a map and no blocks, or empties one, for the owner alone. nBlockSize is rounded
 * up to a multiple of 1024; below 1024 it becomes 32768. 0 WHETHER IT WORKED OR NOT: a failure
 * shows in the error record alone. When the file can't be made or written, WHATEVER HAS THE NAME IS
 * DELETED, ALSO A FILE THAT COULDN'T BE OPENED. A size that can't be rounded up in 32 bits is error
 * 430, and nothing is touched.
 */
MOLTE_API int32_t NOBF_CreateFile(const char* pszName, int32_t nBlockSize);

/*
 * Opens a file to be read and written and fills *pFile; 1, or -1 with all undone and *pFile zeroed.
 * Errors, beside those of opening and reading: 124 with the name for a file of less than 32 bytes,
 * 302 for a bad head, 430 ("block size=%d must be multiple of 1024"), and 431 ("file size not valid
 * expected=%s actual=%s") for a file that isn't 32 bytes and whole blocks long, or has more of them
 * than 2147483647.
 */
MOLTE_API int32_t NOBF_OpenFile(const char* pszName, NOBF_FILE* pFile);

/* Closes the file, frees the map and zeroes *pFile; 1. */
MOLTE_API int32_t NOBF_CloseFile(NOBF_FILE* pFile);

/* Write and read nLen bytes at a position; 1. */
MOLTE_API int32_t NOBF_SaveRawData(NOBF_FILE* pFile, int64_t nPos, const void* pData, int32_t nLen);
MOLTE_API int32_t NOBF_ReadRawData(NOBF_FILE* pFile, int64_t nPos, void* pData, int32_t nLen);

/* Write and read the head of block nIndex; 1. */
MOLTE_API int32_t NOBF_SaveBlockHead(NOBF_FILE* pFile, int32_t nIndex, const NOBF_BLOCKHEAD* pHead);
MOLTE_API int32_t NOBF_ReadBlockHead(NOBF_FILE* pFile, int32_t nIndex, NOBF_BLOCKHEAD* pHead);

/*
 * Lengthens the file by nBlocks blocks (8 if below 1) and writes heads from the last of them on,
 * WITHOUT AN END BUT A FAILURE, or number 2147483647; only behind that number the free chain gets
 * the new blocks (its number of blocks becomes that of the whole file) and the map is written. So
 * LET A LIMIT OF FILE SIZES STAND BEFORE THE CALL. More blocks than numbers are error 50.
 */
MOLTE_API int32_t NOBF_Expand(NOBF_FILE* pFile, int32_t nBlocks);

/* ---- Chains: nObjectPos is where the object's 128 bytes are stored ---- */

/*
 * Takes block nBlock out of a chain and stores the object; 1. The block's predecessor gets its
 * successor; THE SUCCESSOR KEEPS IT AS PREVIOUS.
 */
MOLTE_API int32_t NOBF_RemoveFromLink(NOBF_FILE* pFile, NOBF_OBJECT* pObject, int32_t nBlock,
                                      int64_t nObjectPos);

/*
 * Puts block nBlock into a chain and stores the object; 1. nWhere is the block it is to stand
 * behind, -1 the end of the chain, any other negative number its beginning.
 *
 * Behind a block it BECOMES ITS OWN NEXT, and the chain's last block stays the one it was. In front
 * of all it keeps nWhere as its previous; A NEXT THAT IS BLOCK 0 ISN'T TOLD of it. WHERE IT HAS NO
 * NEXT (an empty chain), what lies one block before block 0 is taken for a head and changed: a
 * failure, or with blocks of 1024 bytes bytes 12 to 15 of the file, in its magic, become nBlock.
 */
MOLTE_API int32_t NOBF_InsertToLink(NOBF_FILE* pFile, NOBF_OBJECT* pObject, int32_t nWhere,
                                    int32_t nBlock, int64_t nObjectPos);

/*
 * Moves the first free block to the end of the object's chain, and a block of it to the end of the
 * free ones; 1. The object is that of a NOBF_MEMOBJECT: ITS pFile IS READ BEHIND IT. Both objects
 * are stored AT POSITION 0, OVER THE HEAD OF THE FILE. Without a free block NOBF_Expand is called
 * first, with all that it does; when there is none then, error 295.
 */
MOLTE_API int32_t NOBF_AllocBlock(NOBF_OBJECT* pObject);
MOLTE_API int32_t NOBF_FreeBlock(NOBF_OBJECT* pObject, int32_t nBlock);

/* ---- Kept names that do nothing: 0, and 1 of the last ---- */

MOLTE_API int32_t NOBF_AddRow(void);
MOLTE_API int32_t NOBF_ReadRow(void);
MOLTE_API int32_t NOBF_SaveRow(void);
MOLTE_API int32_t NOBF_AddNamedObject(void);
MOLTE_API int32_t NOBF_DelNamedObject(void);
MOLTE_API int32_t NOBF_GetNamedObject(void);
MOLTE_API int32_t NOBF_Shrink(void);

#endif
