// The block of each thread, its named items and call trace, and blocks of programs' own.
#include "moltelib/thread_data.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "core/modules.h"
#include "moltelib/memory.h"
#include "moltelib/state.h"
#include "moltelib/text_hook.h"
#include "moltelib/thread_list.h"
#include "platform/critical_section.h"
#include "platform/thread_local_storage.h"

namespace {

constexpr auto kModule = molte::kOxthrdat;

constinit MOLTE_THDATAKEY block_key{};
constinit platform::Lock key_lock;

bool have_key() {
    return std::atomic_ref(block_key.bInited).load(std::memory_order_acquire) != 0;
}

// Reports nothing: there may be no record to report in.
bool make_key() {
    const std::lock_guard guard(key_lock);
    if (have_key()) return true;
    const DWORD made = TlsAlloc();
    if (made == TLS_OUT_OF_INDEXES) return false;
    block_key.nKey = made;
    block_key.nDataSize = sizeof(MOLTE_THDATA);
    std::atomic_ref(block_key.bInited).store(1, std::memory_order_release);
    return true;
}

MOLTE_THDATA* make_block() {
    auto* const block = static_cast<MOLTE_THDATA*>(std::calloc(1, sizeof(MOLTE_THDATA)));
    if (block == nullptr) return nullptr;
    if (TlsSetValue(block_key.nKey, block) == FALSE) {
        std::free(block);
        return nullptr;
    }
    return block;
}

using molte::kBadArgument;
constexpr uint32_t kNoRoom = 117;
using molte::kNotFound;
using molte::kTooLong;

// Only the first item is looked at, whatever the number of items. This is meant.
bool finds(const MOLTE_THDATA& block, const char* name) {
    return block.nItemCount > 0 && std::strcmp(block.astItem[0].szName, name) == 0;
}

void* no_item(int32_t line, const char* text) {
    kModule.fail_text(line, kNotFound, molte::SystemError::none, text);
    return nullptr;
}

constexpr size_t kLineSize = 32;  // 11 characters, a number, a line feed

// The calling thread's trace, or null.
MOLTE_CALLTRACEHEAD* own_trace() {
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetDataNoAlloc();
    return block != nullptr && block->pCallTrace != nullptr ? &block->pCallTrace->stTrace : nullptr;
}

// Writes the frames of a trace as lines, as many whole ones as fit, into SIZE bytes.
void write_history(const MOLTE_CALLTRACEHEAD& trace, char* buf, size_t size) {
    for (int32_t i = 0; i < trace.nCount; ++i) {
        const MOLTE_CALLTRACEENT& entry = trace.pEnt[i];
        char line[kLineSize];
        const int length = std::snprintf(line, sizeof line, "%.11s%d\n", entry.szFile, entry.nLine);
        const auto bytes = static_cast<size_t>(length);
        if (bytes >= size) return;
        std::memcpy(buf, line, bytes + 1);
        buf += bytes;
        size -= bytes;
    }
}

// The calling thread's trace as text; empty when traces are off or it has none.
void own_history(char* buf, size_t size) {
    buf[0] = '\0';
    const MOLTE_CALLTRACEHEAD* const trace = own_trace();
    if (g_stBv.bSupportStackTrace != 0 && trace != nullptr) write_history(*trace, buf, size);
}

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

// ---- The block of each thread ----

int32_t MOLTE_THDATA_Init(void) {
    return have_key() || make_key() ? 1 : kModule.trace(25);
}

int32_t MOLTE_THDATA_Destroy(void) {
    const std::lock_guard guard(key_lock);
    if (!have_key()) return 0;
    TlsFree(block_key.nKey);
    block_key.nKey = 0;
    block_key.nDataSize = 0;
    std::atomic_ref(block_key.bInited).store(0, std::memory_order_release);
    return 1;
}

MOLTE_THDATA* MOLTE_THDATA_GetData(void) {
    if (!have_key() && !make_key()) return nullptr;
    auto* const block = static_cast<MOLTE_THDATA*>(TlsGetValue(block_key.nKey));
    return block != nullptr ? block : make_block();
}

MOLTE_THDATA* MOLTE_THDATA_GetDataNoAlloc(void) {
    return have_key() ? static_cast<MOLTE_THDATA*>(TlsGetValue(block_key.nKey)) : nullptr;
}

int32_t MOLTE_THDATA_FreeData(void) {
    if (!have_key()) return 0;
    MOLTE_THDATA* const block = MOLTE_THDATA_GetDataNoAlloc();
    if (block == nullptr) return 1;
    if (block->pCallTrace != nullptr) MOLTE_THREADLIST_Remove(&g_stBv.stThreadList);
    TlsSetValue(block_key.nKey, nullptr);
    std::free(block);
    return 1;
}

char* MOLTE_THDATA_GetBuffer(void) {
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    return block != nullptr ? block->szBuffer : nullptr;
}

int32_t MOLTE_THDATA_SetInnerThreadFlag(int32_t bFlag) {
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return 0;
    block->bInnerThread = bFlag;
    return bFlag;
}

int32_t MOLTE_THDATA_IsInnerThread(void) {
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    return block != nullptr ? block->bInnerThread : 0;
}

int32_t MOLTE_THDATA_SetClientData(const void* pData, int32_t nLen) {
    if (pData == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return -1;
    const int32_t length = nLen < 0 ? MOLTE_CLIENTDATA_SIZE : std::min(nLen, MOLTE_CLIENTDATA_SIZE);
    std::memcpy(block->abyClientData, pData, static_cast<size_t>(length));
    block->nClientDataLen = length;
    block->bHasClientData = 1;
    return length;
}

int32_t MOLTE_THDATA_GetClientData(void* pBuf, int32_t nLen) {
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return -1;
    if (block->bHasClientData == 0) return 0;
    if (pBuf == nullptr || nLen < 0) return kModule.fail(molte::here(), molte::kBadArgument);
    const int32_t length = std::min(nLen, block->nClientDataLen);
    std::memcpy(pBuf, block->abyClientData, static_cast<size_t>(length));
    return length;
}

// ---- The named items of a thread ----

int32_t MOLTE_THITEMDAT_Add(const char* pszName, void* pData) {
    using molte::SystemError;
    if (pszName == nullptr) return kModule.fail(molte::here(), kBadArgument);
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return -1;
    if (block->nItemCount >= MOLTE_THITEM_MAX) {
        return kModule.fail(146, kNoRoom, SystemError::none,
                            "No more space to hold more entries : %s", pszName);
    }
    const size_t length = std::strlen(pszName);
    if (length >= MOLTE_THITEM_NAME_SIZE) {
        return kModule.fail(152, kTooLong, SystemError::none, "Name %s too long", pszName);
    }
    MOLTE_THITEM& item = block->astItem[block->nItemCount++];
    std::memcpy(item.szName, pszName, length + 1);
    item.pData = pData;
    return 1;
}

int32_t MOLTE_THITEMDAT_Remove(const char* pszName) {
    if (pszName == nullptr) return kModule.fail(molte::here(), kBadArgument);
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return -1;
    if (!finds(*block, pszName)) return 0;
    std::copy(block->astItem + 1, block->astItem + block->nItemCount, block->astItem);
    block->astItem[--block->nItemCount] = {};
    return 1;
}

int32_t MOLTE_THITEMDAT_RemoveLast(void) {
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return -1;
    if (block->nItemCount < 1) {
        no_item(193, "no data for last entry");
        return -1;
    }
    block->astItem[--block->nItemCount] = {};
    return 1;
}

void* MOLTE_THITEMDAT_Get(const char* pszName) {
    if (pszName == nullptr) {
        kModule.fail(molte::here(), kBadArgument);
        return nullptr;
    }
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return nullptr;
    if (finds(*block, pszName)) return block->astItem[0].pData;
    kModule.fail(215, kNotFound, molte::SystemError::none, "data with name %s not found", pszName);
    return nullptr;
}

void* MOLTE_THITEMDAT_GetLast(void) {
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return nullptr;
    if (block->nItemCount < 1) return no_item(227, "no data for last entry");
    return block->astItem[block->nItemCount - 1].pData;
}

void* MOLTE_THITEMDAT_GetByIndex(int32_t nIndex) {
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    if (block == nullptr) return nullptr;
    // A negative index would read in front of the items.
    if (nIndex >= 0 && nIndex < block->nItemCount) return block->astItem[nIndex].pData;
    kModule.fail(241, kNotFound, molte::SystemError::none, "no data for index=%d", nIndex);
    return nullptr;
}

// ---- The call traces of the threads ----

int32_t MOLTE_STACKTRACE_AddEnt(const char* pszFile, int32_t nLine) {
    // Before bring-up there is no list to join, whatever the parameter says.
    const bool ready = g_stBv.stThreadList.stCrit.bInited != 0;
    if (g_stBv.bSupportStackTrace == 0 || !ready) return 0;
    MOLTE_THREADLIST_Add(&g_stBv.stThreadList, pszFile, nLine);
    MOLTE_CALLTRACEHEAD* const trace = own_trace();
    if (trace == nullptr) return 0;
    // Joining the list has recorded a thread's first frame already: it stands twice. This is meant.
    return MOLTE_CALLTRACEHEAD_PushEnt(trace, pszFile, nLine);
}

int32_t MOLTE_STACKTRACE_RemoveEnt(int32_t nCount) {
    MOLTE_CALLTRACEHEAD* const trace = own_trace();
    return trace != nullptr ? MOLTE_CALLTRACEHEAD_PopEnt(trace, nCount) : 0;
}

int32_t MOLTE_STACKTRACE_GetHistory(char* pszBuf) {
    if (pszBuf == nullptr) return 0;
    own_history(pszBuf, SIZE_MAX);  // the caller's buffer is large enough
    return 1;
}

int32_t ORVEX_ERRLOG_LogStackTrace(void) {
    char history[1024];
    own_history(history, sizeof history);
    MOLTE_PrintError("call stack is \n%s\n", history);
    return 0;
}

// ---- Frames of a trace ----

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

// ---- Blocks of programs' own, one for each thread ----

// The getters take a key record, the others the key alone; that asymmetry is the interface.

int32_t ORVEX_InitThreadDataKey(uint32_t* pKey) {
    if (pKey == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const DWORD made = TlsAlloc();
    if (made == TLS_OUT_OF_INDEXES) return -1;
    *pKey = made;
    return 1;
}

int32_t ORVEX_ReleaseThreadDataKey(uint32_t* pKey) {
    if (pKey == nullptr) return kModule.fail(molte::here(), kBadArgument);
    TlsFree(*pKey);
    return 1;
}

void* ORVEX_GetThreadSpecDataNoAlloc(const MOLTE_THDATAKEY* pRec) {
    return pRec != nullptr ? TlsGetValue(pRec->nKey) : nullptr;
}

void* ORVEX_GetThreadSpecData(const MOLTE_THDATAKEY* pRec) {
    if (pRec == nullptr || pRec->nDataSize < 1) return nullptr;
    if (void* const block = TlsGetValue(pRec->nKey)) return block;
    void* const block = std::calloc(1, static_cast<size_t>(pRec->nDataSize));
    if (block == nullptr) {
        kModule.fail(molte::here(), molte::kOutOfMemory, molte::SystemError::runtime);
        return nullptr;
    }
    if (TlsSetValue(pRec->nKey, block) != FALSE) return block;
    std::free(block);
    return nullptr;
}

int32_t ORVEX_FreeThreadSpecData(const uint32_t* pKey) {
    if (pKey == nullptr) return kModule.fail(molte::here(), kBadArgument);
    void* const block = TlsGetValue(*pKey);
    TlsSetValue(*pKey, nullptr);
    std::free(block);
    return 1;
}

int32_t ORVEX_HasThreadSpecData(const uint32_t* pKey) {
    return pKey != nullptr && TlsGetValue(*pKey) != nullptr ? 1 : 0;
}
