// The blocks of a line buffer: storing a line, finding one, stepping through. Under the lock.
#include <algorithm>
#include <cstring>

#include "core/modules.h"
#include "moltelib/line_buffer.h"

namespace {

constexpr auto kModule = molte::kOlinebuf;
using molte::kBadArgument;
constexpr int32_t kLineCost = sizeof(OLINEBUF_LINE);
constexpr int32_t kTableRoom = 510;  // one entry less than a block has, as a margin

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

}  // namespace

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
