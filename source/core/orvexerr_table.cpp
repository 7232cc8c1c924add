// Tables of error texts, and the checks that their owners run.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "moltelib/error.h"

namespace {

constexpr auto kModule = molte::kOrvexerr;
using molte::kBadArgument;

bool by_number(const ErrStringStruct& a, const ErrStringStruct& b) {
    return a.nErrNo < b.nErrNo;
}

// An empty table needs no pointer.
bool is_table(const ErrStringStruct* table, int32_t count) {
    return count == 0 || (table != nullptr && count > 0);
}

}  // namespace

int32_t ErrStringStruct_Cmp(const void* pA, const void* pB) {
    ErrStringStruct a;
    ErrStringStruct b;
    std::memcpy(&a, pA, sizeof a);
    std::memcpy(&b, pB, sizeof b);
    return static_cast<int32_t>(a.nErrNo - b.nErrNo);
}

int32_t ErrStringStruct_Sort(ErrStringStruct* pTable, int32_t nCount) {
    if (!is_table(pTable, nCount)) return kModule.fail(molte::here(), kBadArgument);
    if (nCount == 0) return 0;
    std::sort(pTable, pTable + nCount, by_number);
    return 1;
}

int32_t ORVEX_UTIL_CheckDupErrNo(ErrStringStruct* pTable, int32_t nCount) {
    if (ErrStringStruct_Sort(pTable, nCount) < 0) return kModule.trace(molte::here());
    int32_t found = 0;
    for (int32_t i = 1; i < nCount; ++i) {
        if (pTable[i].nErrNo != pTable[i - 1].nErrNo) continue;
        std::printf("duplicate error. %d\n", static_cast<int32_t>(pTable[i].nErrNo));
        found = 1;
    }
    return found;
}

int32_t ORVEX_UTIL_CheckExistErr(const ErrStringStruct* pA, int32_t nCount,
                                 const ErrStringStruct* pTable, int32_t nTableCount,
                                 const char* szLabel) {
    if (!is_table(pA, nCount) || !is_table(pTable, nTableCount)) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    for (int32_t i = 0; i < nCount; ++i) {
        if (std::binary_search(pTable, pTable + nTableCount, pA[i], by_number)) continue;
        std::printf("%s error %d not found\n", szLabel != nullptr ? szLabel : "",
                    static_cast<int32_t>(pA[i].nErrNo));
    }
    return 0;
}

int32_t ORVEX_Err_CheckDupErrNo(void) {
    return 0;
}

int32_t ORVEX_StrCopy(char* szDst, const char* szSrc, int32_t* pnPos, int32_t nSize) {
    if (szDst == nullptr || szSrc == nullptr || pnPos == nullptr || *pnPos < 0 || nSize < 1) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    if (*pnPos >= nSize - 1) return nSize - 1;
    const size_t length = strnlen(szSrc, static_cast<size_t>(nSize - 1 - *pnPos));
    std::memcpy(szDst + *pnPos, szSrc, length);
    *pnPos += static_cast<int32_t>(length);
    szDst[*pnPos] = '\0';
    return *pnPos;
}
