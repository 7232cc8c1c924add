// Line buffers: making them, adding lines, reading them, statistics.
#include <algorithm>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/byte_field.h"
#include "moltelib/line_buffer.h"
#include "moltelib/memory.h"
#include "moltelib/state.h"

namespace {

constexpr auto kModule = molte::kOlinebuf;
using molte::kBadArgument;
constexpr int32_t kLeastSize = 65536;
constexpr int32_t kMostSize = 16777216;

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
