/*
 * One complete job on a file by name: load, save, copy, read or update a range. Each call opens,
 * works and closes, and leaves no descriptor behind. Nothing is locked. Functions may be called
 * from any thread.
 *
 * What can be torn. Files are written in place, with no backup. Save, CopyWrite and FileCopyWithBuf
 * EMPTY the target when they open it: whatever fails from then on, the old content is gone, and
 * what was written of the new one stays. A range that is written in part stays so. To keep the old
 * content write to a name beside it and exchange the names (ORVEX_FileExchangeName). Nothing is
 * flushed to the disk.
 *
 * A failure is -1 with an error of module "oxfileop": 1 not opened, 3 not read whole, 4 not written
 * whole, 5 position not set, 10 and 23 no state (moltelib/file.h); or 20 of "oxsysutl", no memory.
 * Before a file is opened "the owner reads and writes" is added to its mode, and stays added, save
 * by the loading of text and ORVEX_FileCopy; saving text gives it that mode. Lengths are in bytes.
 *
 * Failures are reported under module "oxfileop".
 */
#ifndef MOLTELIB_WHOLE_FILE_H
#define MOLTELIB_WHOLE_FILE_H

#include "moltelib/base.h"

/*
 * Loads a file into a buffer that the caller frees with ORVEX_free; its length is the result and
 * goes to *pnLen, which is 0 otherwise. 0 when the file doesn't exist, with no error, or is empty,
 * as a folder is; *ppBuf is then as it was. A file of 0x40000000 bytes and more is error 303.
 */
MOLTE_API int32_t ORVEX_LoadBinDataFile(const char* pszName, uint8_t** ppBuf, int32_t* pnLen);
MOLTE_API int32_t ORVEX_LoadBinDataFileW(const wchar_t* pwszName, uint8_t** ppBuf, int32_t* pnLen);

/*
 * The same for text: CR LF becomes LF, the text is terminated, and its length in characters is
 * counted behind that change. A failed read is error 4 here.
 */
MOLTE_API int32_t ORVEX_LoadTextDataFile(const char* pszName, char** ppszText, int32_t* pnLen);
MOLTE_API int32_t ORVEX_LoadTextDataFileW(const wchar_t* pwszName, char** ppszText, int32_t* pnLen);

/* Writes a file anew; 0, with nothing touched, for null data or an nLen below 1. */
MOLTE_API int32_t ORVEX_SaveBinDataToFile(const char* pszName, const void* pData, int32_t nLen);
MOLTE_API int32_t ORVEX_SaveBinDataToFileW(const wchar_t* pwszName, const void* pData,
                                           int32_t nLen);

/*
 * Writes a text file anew, with the platform's line ends. How much could be written isn't looked
 * at: a full disk isn't told. Error 50 for a null text that has a length, and a negative length.
 */
MOLTE_API int32_t ORVEX_SaveTextDataToFile(const char* pszName, const char* pszText, int32_t nLen);
MOLTE_API int32_t ORVEX_SaveTextDataToFileW(const wchar_t* pwszName, const char* pszText,
                                            int32_t nLen);

/*
 * Writes a range of a file that exists; nLen. A negative offset counts as 0; one at the end
 * appends; beyond it is error 297: no holes. Error 405 for an nLen below 1 or null.
 */
MOLTE_API int32_t ORVEX_WriteBinDataToFile(const char* pszName, int64_t nOffset, const void* pData,
                                           int32_t nLen);
MOLTE_API int32_t ORVEX_AppendBinDataToFile(const char* pszName, const void* pData, int32_t nLen);

/*
 * Reads a range; nLen, or 0 when the file doesn't exist. A negative offset counts as 0. A range
 * that passes the end is error 297 and nothing is read. Error 406 for an nLen below 1 or null.
 */
MOLTE_API int32_t ORVEX_ReadBinDataFile(const char* pszName, int64_t nOffset, void* pBuf,
                                        int32_t nLen);

/*
 * Copies content and attributes by the system's own call; error 12 with the source's name. With
 * bFailIfExists a target that exists is left alone, and a failure. A copy that fails on its way
 * leaves no target, also if there was one before.
 */
MOLTE_API int32_t ORVEX_FileCopy(const char* pszSource, const char* pszTarget,
                                 int32_t bFailIfExists);

/*
 * Copies by way of the caller's buffer, with the source's mode and, unless it is empty, its times.
 * nUnused is not looked at. Error 12 (the target's name) when both names are one file, links and
 * other spellings included; 50 without a buffer.
 */
MOLTE_API int32_t ORVEX_FileCopyWithBuf(const char* pszSource, const char* pszTarget,
                                        int32_t nUnused, void* pBuf, int32_t nBufSize);

/*
 * Keeping a copy of a remote file in step. Times are seconds since 1970.
 * CopyWrite stores a whole copy under a given time; 0. CopyUpdate changes a range (it may pass the
 * end but leave no hole: error 403) and puts the modification time back, as both times; 0.
 * CopyRead reads the first nLen bytes, which must be there, and gives the modification time; nLen.
 * CopyReadPart reads a range; nLen, 0 for an nLen below 1. A negative offset counts as 0 there, but
 * is an error in CopyUpdate. A range that passes the end is error 404.
 * Null is taken for no bytes; with a length it is error 50, and so is a negative nLen of CopyWrite
 * and CopyRead.
 */
MOLTE_API int32_t ORVEX_CopyWrite(const char* pszName, const void* pData, int32_t nLen,
                                  int64_t nTime);
MOLTE_API int32_t ORVEX_CopyUpdate(const char* pszName, const void* pData, int64_t nOffset,
                                   int32_t nLen);
MOLTE_API int32_t ORVEX_CopyRead(const char* pszName, void* pBuf, int32_t nLen, int64_t* pnTime);
MOLTE_API int32_t ORVEX_CopyReadPart(const char* pszName, void* pBuf, int64_t nOffset,
                                     int32_t nLen);

#endif
