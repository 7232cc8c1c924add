// The block of each thread.
#include "moltelib/thread_data.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "core/modules.h"
#include "moltelib/state.h"
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

}  // namespace

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
