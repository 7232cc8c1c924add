// Line buffers: their blocks, making them, adding and reading lines, statistics; and the library's
// list of them.
#include <algorithm>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/array.h"
#include "moltelib/byte_field.h"
#include "moltelib/line_buffer.h"
#include "moltelib/memory.h"
#include "moltelib/state.h"
#include "moltelib/text_hook.h"

namespace {

constexpr auto kModule = molte::kOlinebuf;
constexpr auto kList = molte::kMoltevar;
using molte::kBadArgument;
constexpr int32_t kLeastSize = 65536;
constexpr int32_t kMostSize = 16777216;
constexpr int32_t kLineCost = sizeof(OLINEBUF_LINE);
constexpr int32_t kTableRoom = 510;  // one entry less than a block has, as a margin
constexpr uint32_t kNotInList = 117;

bool made(const OLINEBUF* buf) {
    return buf != nullptr && buf->bInited != 0;
}

int32_t refuse(int32_t line = molte::here()) {
    return kModule.fail(line, kBadArgument);
}

// Appends whole lines from a place on while they fit, with their terminator, into SIZE bytes. The
// bytes appended; *taken becomes the number of lines.
int32_t join_lines(const OLINEBUF& buf, int32_t at, int32_t index, char* out, int32_t size,
                   uint64_t* taken) {
    char* end = out;
    int32_t room = size;
    *taken = 0;
    for (;; at = (at + 1) % buf.nBlocks, index = 0) {
        const OLINEBUF_BLOCK* block = OLINEBUF_UTIL_GetBlock(&buf, at);
        for (; index < block->nLineCount; ++index) {
            const OLINEBUF_LINE& line = block->astLine[index];
            if (line.nLen >= room) return size - room;
            OLINEBUF_UTIL_GetStr(block, line.nOffset, end, line.nLen);
            end += line.nLen;
            room -= line.nLen;
            *end = '\0';
            ++*taken;
        }
        if (at == buf.nCurBlock) return size - room;
    }
}

// Blocks in use: the first ones, until the ring has gone round.
int32_t used_blocks(const OLINEBUF& buf) {
    return buf.bWrapped != 0 ? buf.nBlocks : buf.nCurBlock + 1;
}

uint32_t free_bytes(const OLINEBUF& buf) {
    uint32_t sum = 0;
    for (int32_t i = 0; i < used_blocks(buf); ++i) {
        sum += static_cast<uint32_t>(OLINEBUF_UTIL_BufLeft(OLINEBUF_UTIL_GetBlock(&buf, i)));
    }
    return sum;
}

bool lies_inside(int32_t offset, int32_t length) {
    return offset >= 0 && length >= 0 && offset <= OLINEBUF_BLOCK_SIZE - length;
}

// The run-time's own copying. A memcpy of what is known to be small becomes a string instruction,
// which takes longer to start than most lines take to copy.
void copy(char* to, const char* from, int32_t length) {
    std::memmove(to, from, static_cast<size_t>(length));
}

// Moves on to the next block, whose lines are dropped; the block.
OLINEBUF_BLOCK* begin_next_block(OLINEBUF* buf) {
    if (++buf->nCurBlock >= buf->nBlocks) {
        buf->bWrapped = 1;
        buf->nCurBlock = 0;
    }
    OLINEBUF_BLOCK* block = OLINEBUF_UTIL_GetBlock(buf, buf->nCurBlock);
    buf->nLines -= block->nLineCount;
    block->nLineCount = 0;
    block->nTextBytes = 0;
    return block;
}

OLINEBUF* buffer_at(int32_t index) {
    return static_cast<OLINEBUF**>(g_stBv.stLineBufList.pData)[index];
}

}  // namespace

int32_t OLINEBUF_Init(OLINEBUF* pBuf, const char* pszName, int32_t nSize) {
    if (pBuf == nullptr) return refuse();
    *pBuf = {};
    const int32_t held = std::clamp(nSize, kLeastSize, kMostSize);
    const int32_t blocks = (held + OLINEBUF_BLOCK_SIZE - 1) / OLINEBUF_BLOCK_SIZE;
    const int32_t size = blocks * OLINEBUF_BLOCK_SIZE;
    auto memory = molte::allocate<uint8_t>(size);
    if (memory == nullptr) return kModule.trace(molte::here());
    std::memset(memory.get(), 0, static_cast<size_t>(size));
    pBuf->pBuf = memory.release();
    pBuf->nBufSize = size;
    pBuf->nBlocks = blocks;
    MOLTE_InitCrit(&pBuf->stLock);
    pBuf->bInited = 1;
    if (pszName != nullptr) {
        std::memcpy(pBuf->szName, pszName, strnlen(pszName, OLINEBUF_NAME_SIZE - 1));
    }
    return 1;
}

int32_t OLINEBUF_Release(OLINEBUF* pBuf) {
    if (pBuf == nullptr) return refuse();
    if (pBuf->bInited != 0) MOLTE_ReleaseCrit(&pBuf->stLock);
    ORVEX_free(pBuf->pBuf);
    *pBuf = {};
    return 1;
}

int32_t OLINEBUF_AddLine(OLINEBUF* pBuf, const char* pszText, int32_t nLen) {
    if (!made(pBuf)) return refuse();
    const molte::CritGuard guard(pBuf->stLock);
    return OLINEBUF_UTIL_AddSimp(pBuf, pszText, nLen);
}

int32_t OLINEBUF_AddMultiLine(OLINEBUF* pBuf, const char* pszText) {
    if (!made(pBuf) || pszText == nullptr) return refuse();
    const molte::CritGuard guard(pBuf->stLock);
    while (*pszText != '\0') {
        const char* feed = std::strchr(pszText, '\n');
        const size_t length =
            feed != nullptr ? static_cast<size_t>(feed - pszText) + 1 : std::strlen(pszText);
        // Longer lines are cut all the same.
        OLINEBUF_UTIL_AddSimp(pBuf, pszText,
                              static_cast<int32_t>(std::min<size_t>(length, OLINEBUF_LINE_MAX)));
        pszText += length;
    }
    return 1;
}

int32_t OLINEBUF_GetLine(OLINEBUF* pBuf, char* pszOut, int32_t nOutSize, int32_t* pnLen,
                         const uint64_t* pLineID) {
    if (!made(pBuf) || pszOut == nullptr || pLineID == nullptr) return refuse();
    const molte::CritGuard guard(pBuf->stLock);
    int32_t block = 0;
    int32_t index = 0;
    if (OLINEBUF_UTIL_PosLineByID(pBuf, *pLineID, &block, &index) < 1) return 0;
    return OLINEBUF_UTIL_GetLine(pBuf, block, index, pszOut, nOutSize, pnLen);
}

int32_t OLINEBUF_GetMultiLine(OLINEBUF* pBuf, char* pszOut, int32_t nOutSize, uint64_t* pLineID) {
    if (!made(pBuf) || pszOut == nullptr || pLineID == nullptr) return refuse();
    if (nOutSize < 1) return 0;
    pszOut[0] = '\0';
    const molte::CritGuard guard(pBuf->stLock);
    // Found once: the lines behind it follow in the block, and in the blocks behind that.
    const uint64_t first = std::max(*pLineID, OLINEBUF_UTIL_GetMinLineID(pBuf));
    int32_t block = 0;
    int32_t index = 0;
    if (OLINEBUF_UTIL_PosLineByID(pBuf, first, &block, &index) < 1) return 0;
    uint64_t taken = 0;
    const int32_t length = join_lines(*pBuf, block, index, pszOut, nOutSize, &taken);
    if (taken > 0) *pLineID = first + taken;
    return length;
}

uint64_t OLINEBUF_GetMinLineID(OLINEBUF* pBuf) {
    if (!made(pBuf)) return 0;
    const molte::CritGuard guard(pBuf->stLock);
    return OLINEBUF_UTIL_GetMinLineID(pBuf);
}

uint64_t OLINEBUF_GetMaxLineID(OLINEBUF* pBuf) {
    if (!made(pBuf)) return 0;
    const molte::CritGuard guard(pBuf->stLock);
    return pBuf->nNextLineID;
}

int32_t OLINEBUF_DoStatistics(OLINEBUF* pBuf, OLINEBUF_STAT* pStat) {
    if (!made(pBuf) || pStat == nullptr) return refuse();
    const molte::CritGuard guard(pBuf->stLock);
    *pStat = {};
    uint4ToChar4(sizeof *pStat, pStat->nRecSize);
    uint4ToChar4(static_cast<uint32_t>(pBuf->nBufSize), pStat->nBufSize);
    uint4ToChar4(static_cast<uint32_t>(pBuf->nBlocks), pStat->nBlocks);
    uint4ToChar4(static_cast<uint32_t>(pBuf->nBlocks - used_blocks(*pBuf)), pStat->nUnusedBlocks);
    uint4ToChar4(free_bytes(*pBuf), pStat->nFreeBytes);
    uint4ToChar4(static_cast<uint32_t>(pBuf->nLines), pStat->nLines);
    uint8ToChar8(pBuf->nNextLineID, pStat->nNextLineID);
    return 1;
}

// The blocks: storing a line, finding one, stepping through. Under the lock.

int32_t OLINEBUF_UTIL_BufLeft(const OLINEBUF_BLOCK* pBlock) {
    if (pBlock == nullptr) return kModule.fail(molte::here(), kBadArgument);
    return (kTableRoom - pBlock->nLineCount) * kLineCost - pBlock->nTextBytes;
}

int32_t OLINEBUF_UTIL_CanHoldLine(const OLINEBUF_BLOCK* pBlock, int32_t nLen) {
    return pBlock != nullptr && OLINEBUF_UTIL_BufLeft(pBlock) >= nLen ? 1 : 0;
}

OLINEBUF_BLOCK* OLINEBUF_UTIL_GetBlock(const OLINEBUF* pBuf, int32_t nBlock) {
    if (pBuf == nullptr || nBlock < 0 || nBlock >= pBuf->nBlocks) return nullptr;
    return reinterpret_cast<OLINEBUF_BLOCK*>(pBuf->pBuf + int64_t{nBlock} * OLINEBUF_BLOCK_SIZE);
}

int32_t OLINEBUF_UTIL_CopyStr(OLINEBUF_BLOCK* pBlock, int32_t nOffset, const char* pszText,
                              int32_t nLen) {
    if (pBlock == nullptr || pszText == nullptr || !lies_inside(nOffset, nLen)) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    copy(reinterpret_cast<char*>(pBlock) + nOffset, pszText, nLen);
    return 1;
}

int32_t OLINEBUF_UTIL_GetStr(const OLINEBUF_BLOCK* pBlock, int32_t nOffset, char* pszOut,
                             int32_t nLen) {
    if (pBlock == nullptr || pszOut == nullptr || !lies_inside(nOffset, nLen)) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    copy(pszOut, reinterpret_cast<const char*>(pBlock) + nOffset, nLen);
    return 1;
}

int32_t OLINEBUF_UTIL_AddSimp(OLINEBUF* pBuf, const char* pszText, int32_t nLen) {
    if (pszText == nullptr || nLen < 1) return 0;
    OLINEBUF_BLOCK* block =
        pBuf != nullptr ? OLINEBUF_UTIL_GetBlock(pBuf, pBuf->nCurBlock) : nullptr;
    if (block == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const int32_t kept = std::min(nLen, OLINEBUF_LINE_MAX);
    if (OLINEBUF_UTIL_BufLeft(block) < kept) block = begin_next_block(pBuf);
    const int32_t offset = OLINEBUF_BLOCK_SIZE - kept - block->nTextBytes;
    OLINEBUF_UTIL_CopyStr(block, offset, pszText, kept);
    block->astLine[block->nLineCount++] = {kept, offset};
    block->nTextBytes += kept;
    ++pBuf->nLines;
    ++pBuf->nNextLineID;
    return kept;
}

uint64_t OLINEBUF_UTIL_GetMinLineID(const OLINEBUF* pBuf) {
    return pBuf != nullptr ? pBuf->nNextLineID - static_cast<uint64_t>(pBuf->nLines) : 0;
}

int32_t OLINEBUF_UTIL_PosLineByID(const OLINEBUF* pBuf, uint64_t nLineID, int32_t* pnBlock,
                                  int32_t* pnIndex) {
    if (pBuf == nullptr || pnBlock == nullptr || pnIndex == nullptr) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    if (nLineID >= pBuf->nNextLineID) return 0;
    uint64_t first = pBuf->nNextLineID;  // identifier of the first line of the block
    int32_t at = -1;
    while (OLINEBUF_UTIL_BW_GetNextBKID(pBuf, &at) > 0) {
        first -= static_cast<uint64_t>(OLINEBUF_UTIL_GetBlock(pBuf, at)->nLineCount);
        if (first > nLineID) continue;
        *pnBlock = at;
        *pnIndex = static_cast<int32_t>(nLineID - first);
        return 1;
    }
    return 0;
}

int32_t OLINEBUF_UTIL_GetLine(const OLINEBUF* pBuf, int32_t nBlock, int32_t nIndex, char* pszOut,
                              int32_t nOutSize, int32_t* pnLen) {
    const OLINEBUF_BLOCK* block = OLINEBUF_UTIL_GetBlock(pBuf, nBlock);
    if (block == nullptr || nIndex < 0 || nIndex >= block->nLineCount) return 0;
    const OLINEBUF_LINE& line = block->astLine[nIndex];
    const int32_t length = line.nLen < nOutSize ? line.nLen : std::max(nOutSize, 1) - 1;
    if (OLINEBUF_UTIL_GetStr(block, line.nOffset, pszOut, length) < 0) {
        return kModule.trace(molte::here());
    }
    if (pnLen != nullptr) *pnLen = length;
    return length;
}

int32_t OLINEBUF_UTIL_BW_GetNextBKID(const OLINEBUF* pBuf, int32_t* pnBlock) {
    if (pBuf == nullptr || pnBlock == nullptr) return kModule.fail(molte::here(), kBadArgument);
    if (*pnBlock == -1) {
        *pnBlock = pBuf->nCurBlock;
        return 1;
    }
    if (*pnBlock <= 0 && pBuf->bWrapped == 0) return 0;
    const int32_t next = (*pnBlock > 0 ? *pnBlock : pBuf->nBlocks) - 1;
    if (next == pBuf->nCurBlock) return 0;
    *pnBlock = next;
    return 1;
}

int32_t OLINEBUF_UTIL_FW_GetNextBKID(const OLINEBUF* pBuf, int32_t* pnBlock) {
    if (pBuf == nullptr || pnBlock == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const int32_t last = pBuf->nBlocks - 1;
    if (*pnBlock == -1) {
        // Behind the last block the first step isn't taken round to block 0. This is meant.
        *pnBlock = pBuf->bWrapped == 0 ? 0 : std::min(pBuf->nCurBlock + 1, last);
        return 1;
    }
    if (*pnBlock == pBuf->nCurBlock) return 0;
    if (*pnBlock >= last && pBuf->bWrapped == 0) return 0;
    *pnBlock = *pnBlock >= last ? 0 : *pnBlock + 1;
    return 1;
}

OLINEBUF* MOLTE_UTIL_GetLineBuf(const char* pszName) {
    const char* name = pszName != nullptr ? pszName : "";
    for (int32_t i = 0; i < g_stBv.stLineBufList.nCount; ++i) {
        if (std::strcmp(buffer_at(i)->szName, name) == 0) return buffer_at(i);
    }
    kList.fail(molte::here(), kNotInList, molte::SystemError::none, "%s %s %s\n",
               "line buf with given name", name, " does not exist");
    return nullptr;
}

int32_t MOLTE_UTIL_AddLineBuf(OLINEBUF* pBuf) {
    PA* list = &g_stBv.stLineBufList;
    if (pBuf == nullptr || list->nItemSize == 0) return kList.fail(molte::here(), kBadArgument);
    if (MOLTE_UTIL_GetLineBuf(pBuf->szName) != nullptr) return kList.trace(molte::here());
    return PA_SetAt(list, -1, &pBuf);
}

int32_t MOLTE_UTIL_GetTxtInfo(const char* pszName, char* pszOut, int32_t nOutSize,
                              uint64_t* pLineID) {
    OLINEBUF* buf = MOLTE_UTIL_GetLineBuf(pszName);
    if (buf == nullptr) return kList.trace(molte::here());
    return OLINEBUF_GetMultiLine(buf, pszOut, nOutSize, pLineID);
}

int32_t MOLTE_UTIL_AddMemTextHook(const char* pszName, int32_t nBufSize, uint32_t nMask,
                                  int32_t nOption) {
    OLINEBUF* buf = OTXTHOOK_MEMTXT_InstallHook(pszName, nBufSize, nMask, nOption);
    if (buf == nullptr) return kList.trace(molte::here());
    return MOLTE_UTIL_AddLineBuf(buf);
}
