/*
 * A line buffer keeps the most recent lines of text in a fixed block of memory. It is a ring of
 * blocks of 4096 bytes: when all are full, the oldest is dropped whole. Every line has a 64-bit
 * identifier, counted from 0, that only grows; so a reader asks for what came after the last line
 * it saw, and learns from the identifiers what it missed:
 *
 *     uint64_t next = 0;
 *     while (OLINEBUF_GetMultiLine(&buf, text, sizeof text, &next) > 0) show(text);
 *
 * Any thread may add and read at once: the functions without UTIL in their name hold the buffer's
 * lock, but for making and releasing it. Those with UTIL are for use under that lock.
 *
 * A buffer that is null or not made is a bad argument: -1 with error 50 of module "olinebuf", or
 * the null or 0 that a function's result allows.
 *
 * Failures are reported under modules "olinebuf" and "moltevar".
 */
#ifndef MOLTELIB_LINE_BUFFER_H
#define MOLTELIB_LINE_BUFFER_H

#include "moltelib/base.h"
#include "moltelib/format/line_buffer_statistics.h"

#define OLINEBUF_BLOCK_SIZE 4096
#define OLINEBUF_LINE_MAX 4000 /* of a longer line the rest is lost */
#define OLINEBUF_NAME_SIZE 120

/* The caller's, or a text hook's. The lines held are nNextLineID - nLines to nNextLineID - 1. */
typedef struct OLINEBUF {
    int32_t bInited; /* made, and the lock exists */
    int32_t nBufSize;
    int32_t nLines;    /* lines held now */
    int32_t nCurBlock; /* the block being filled */
    int32_t bWrapped;  /* the ring has gone round */
    int32_t nBlocks;
    uint64_t nNextLineID; /* lines added so far */
    uint8_t* pBuf;        /* the blocks */
    char szName[OLINEBUF_NAME_SIZE];
    MOLTE_CRIT stLock;
} OLINEBUF;

/* A line's place in its block; the text has no terminator. */
typedef struct OLINEBUF_LINE {
    int32_t nLen;
    int32_t nOffset; /* from the start of the block */
} OLINEBUF_LINE;

/* A block: the table of lines grows upward, their text downward from the end. */
typedef struct OLINEBUF_BLOCK {
    int32_t nLineCount;
    int32_t nTextBytes;
    OLINEBUF_LINE astLine[511]; /* their text lies over the unused end of the table */
} OLINEBUF_BLOCK;

#if defined(__cplusplus)
static_assert(sizeof(OLINEBUF) == 256, "the size is part of the interface");
static_assert(sizeof(OLINEBUF_BLOCK) == OLINEBUF_BLOCK_SIZE, "the size is part of the interface");
#endif

/*
 * Makes an empty buffer of nSize bytes, held between 64 KiB and 16 MiB and rounded up to whole
 * blocks. The name is kept to its first 119 characters; null is the empty name. 1, or -1 with the
 * structure zeroed.
 */
MOLTE_API int32_t OLINEBUF_Init(OLINEBUF* pBuf, const char* pszName, int32_t nSize);

/*
 * Frees the buffer and zeroes the structure; 1. A buffer on the library's list (below) must not be
 * released: nothing takes it off.
 */
MOLTE_API int32_t OLINEBUF_Release(OLINEBUF* pBuf);

/* Stores a line; the bytes stored, at most 4000. 0 for a null text or an nLen below 1. */
MOLTE_API int32_t OLINEBUF_AddLine(OLINEBUF* pBuf, const char* pszText, int32_t nLen);

/*
 * Stores a text as lines, cut behind each line feed, which stays with its line; what follows the
 * last one is a line too. 1, also for an empty text, which adds nothing.
 */
MOLTE_API int32_t OLINEBUF_AddMultiLine(OLINEBUF* pBuf, const char* pszText);

/*
 * Copies line *pLineID to pszOut, cut to nOutSize - 1 bytes, with NO TERMINATOR. Its length, also
 * stored in *pnLen unless that is null; 0 for a line that isn't held. *pLineID stays.
 */
MOLTE_API int32_t OLINEBUF_GetLine(OLINEBUF* pBuf, char* pszOut, int32_t nOutSize, int32_t* pnLen,
                                   const uint64_t* pLineID);

/*
 * Gives the lines from *pLineID on, or from the oldest one held if that is later, joined as they
 * were stored and terminated; a line goes in whole or not at all. The bytes of the text; *pLineID
 * becomes the identifier behind the last line taken. 0 with an empty text when there is no line, or
 * the first isn't shorter than nOutSize: then *pLineID stays.
 */
MOLTE_API int32_t OLINEBUF_GetMultiLine(OLINEBUF* pBuf, char* pszOut, int32_t nOutSize,
                                        uint64_t* pLineID);

/* The oldest line held, and one past the newest. */
MOLTE_API uint64_t OLINEBUF_GetMinLineID(OLINEBUF* pBuf);
MOLTE_API uint64_t OLINEBUF_GetMaxLineID(OLINEBUF* pBuf);

/* Fills the record; 1. */
MOLTE_API int32_t OLINEBUF_DoStatistics(OLINEBUF* pBuf, OLINEBUF_STAT* pStat);

/* ---- Under the lock ---- */

/* The free room of a block in bytes of text: a line costs its length and 8. */
MOLTE_API int32_t OLINEBUF_UTIL_BufLeft(const OLINEBUF_BLOCK* pBlock);

/* 1 if a line of nLen bytes fits, else 0. */
MOLTE_API int32_t OLINEBUF_UTIL_CanHoldLine(const OLINEBUF_BLOCK* pBlock, int32_t nLen);

/* The block of that index; null when there is none. */
MOLTE_API OLINEBUF_BLOCK* OLINEBUF_UTIL_GetBlock(const OLINEBUF* pBuf, int32_t nBlock);

/* Copy nLen bytes to and from a block; 1, or -1 with error 50 when they don't lie in it. */
MOLTE_API int32_t OLINEBUF_UTIL_CopyStr(OLINEBUF_BLOCK* pBlock, int32_t nOffset,
                                        const char* pszText, int32_t nLen);
MOLTE_API int32_t OLINEBUF_UTIL_GetStr(const OLINEBUF_BLOCK* pBlock, int32_t nOffset, char* pszOut,
                                       int32_t nLen);

/* As the functions without UTIL. */
MOLTE_API int32_t OLINEBUF_UTIL_AddSimp(OLINEBUF* pBuf, const char* pszText, int32_t nLen);
MOLTE_API uint64_t OLINEBUF_UTIL_GetMinLineID(const OLINEBUF* pBuf);

/* The block and the index in it of a line; 1, or 0 when it isn't held. */
MOLTE_API int32_t OLINEBUF_UTIL_PosLineByID(const OLINEBUF* pBuf, uint64_t nLineID,
                                            int32_t* pnBlock, int32_t* pnIndex);

/* Copies one line by its place, as OLINEBUF_GetLine; 0 when there is no such line. */
MOLTE_API int32_t OLINEBUF_UTIL_GetLine(const OLINEBUF* pBuf, int32_t nBlock, int32_t nIndex,
                                        char* pszOut, int32_t nOutSize, int32_t* pnLen);

/*
 * Step through the blocks in use, from the newest back and from the oldest on. Begin with *pnBlock
 * -1, go on while the result is 1; with 0 *pnBlock stays. Forward in a ring that has gone round,
 * when the current block is the last one, the FIRST STEP GIVES THE CURRENT BLOCK, and so the walk
 * sees that one alone.
 */
MOLTE_API int32_t OLINEBUF_UTIL_BW_GetNextBKID(const OLINEBUF* pBuf, int32_t* pnBlock);
MOLTE_API int32_t OLINEBUF_UTIL_FW_GetNextBKID(const OLINEBUF* pBuf, int32_t* pnBlock);

/*
 * ---- The library's list of buffers ----
 *
 * A program's buffers by name. The list exists from bring-up to tear-down, has no lock of its own
 * and gives nothing up again but the buffer of a text hook that is closed. The module of its errors
 * is "moltevar".
 */

/* The buffer of exactly that name; null with error 117 ("line buf with given name NAME  does ...").
 */
MOLTE_API OLINEBUF* MOLTE_UTIL_GetLineBuf(const char* pszName);

/*
 * Puts a buffer on the list, which keeps the pointer; 1. -1 when its name is there already. It
 * LOOKS THE NAME UP FIRST: the error 117 of that search stays in the record after a success.
 */
MOLTE_API int32_t MOLTE_UTIL_AddLineBuf(OLINEBUF* pBuf);

/* OLINEBUF_GetMultiLine on the buffer of that name; -1 when there is none. */
MOLTE_API int32_t MOLTE_UTIL_GetTxtInfo(const char* pszName, char* pszOut, int32_t nOutSize,
                                        uint64_t* pLineID);

/*
 * Installs a text hook that writes to a new line buffer (OTXTHOOK_MEMTXT_InstallHook, whose nId is
 * nOption: the number that identifies the hook) and puts the buffer on the list; the result of
 * MOLTE_UTIL_AddLineBuf. -1 when there is no buffer. A hook whose buffer can't go on the list
 * stays.
 */
MOLTE_API int32_t MOLTE_UTIL_AddMemTextHook(const char* pszName, int32_t nBufSize, uint32_t nMask,
                                            int32_t nOption);

#endif
