// Blocks of programs' own, one for each thread. The getters take a key record, the others the key
// alone; that asymmetry is the interface.
#include <cstdlib>

#include "core/modules.h"
#include "moltelib/thread_data.h"
#include "platform/thread_local_storage.h"

namespace {

constexpr auto kModule = molte::kOxthrdat;
using molte::kBadArgument;

}  // namespace

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
