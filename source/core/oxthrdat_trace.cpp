// Call traces: pushing and popping frames.
#include <algorithm>
#include <cstring>

#include "moltelib/memory.h"
#include "moltelib/thread_data.h"

namespace {

constexpr size_t kNameLength = sizeof(MOLTE_CALLTRACEENT::szFile) - 1;
constexpr int32_t kGrowBy = 16;

bool has_room(MOLTE_CALLTRACEHEAD* head) {
    if (head->nCount < head->nCapacity) return true;
    void* entries = head->pEnt;
    const bool grown =
        ORVEX_release_realloc(&entries, sizeof(MOLTE_CALLTRACEENT), &head->nCapacity, kGrowBy) == 1;
    head->pEnt = static_cast<MOLTE_CALLTRACEENT*>(entries);
    return grown;
}

}  // namespace

int32_t MOLTE_CALLTRACEHEAD_PushEnt(MOLTE_CALLTRACEHEAD* pHead, const char* pszFile,
                                    int32_t nLine) {
    if (pHead == nullptr) return 0;
    if (pHead->nSkip >= 1 || !has_room(pHead)) {
        ++pHead->nSkip;
        return 0;
    }
    const char* const name = pszFile != nullptr ? pszFile : "";
    const size_t length = std::strlen(name);
    const size_t kept = std::min(length, kNameLength);
    MOLTE_CALLTRACEENT& entry = pHead->pEnt[pHead->nCount++];
    entry = {};
    std::memcpy(entry.szFile, name + (length - kept), kept);
    entry.nLine = nLine;
    return 1;
}

int32_t MOLTE_CALLTRACEHEAD_PopEnt(MOLTE_CALLTRACEHEAD* pHead, int32_t nCount) {
    if (pHead == nullptr || nCount < 1) return 0;  // a negative count would push
    if (pHead->nSkip >= nCount) {
        pHead->nSkip -= nCount;
        return 0;
    }
    // nSkip keeps its value, so a trace that ran out of memory stays short. This is meant.
    pHead->nCount = std::max(0, pHead->nCount - (nCount - pHead->nSkip));
    return 1;
}
