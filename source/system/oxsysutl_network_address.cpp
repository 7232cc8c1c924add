// Hardware addresses of the network adapters.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/network_address.h"
#include "platform/adapters.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
constexpr uint32_t kFailed = 101;
constexpr size_t kFirstRoom = 704;  // bytes; few machines need more

void put(const IP_ADAPTER_INFO* adapter, MOLTE_MACLIST* list) {
    for (; adapter != nullptr && list->nCount < MOLTE_MACLIST_MAX; adapter = adapter->Next) {
        const size_t length = std::min<size_t>(adapter->AddressLength, MOLTE_MAC_SIZE);
        std::memcpy(list->aaMac[list->nCount], adapter->Address, length);
        ++list->nCount;
    }
}

}  // namespace

int32_t MOLTE_UTIL_GetMacAddress(MOLTE_MACLIST* pList) {
    if (pList == nullptr) return kModule.fail(molte::here(), kBadArgument);
    *pList = {};
    alignas(IP_ADAPTER_INFO) uint8_t first_room[kFirstRoom] = {};
    DWORD size = sizeof first_room;
    auto* adapters = reinterpret_cast<IP_ADAPTER_INFO*>(first_room);
    molte::Heap<uint8_t> room;
    DWORD answer = GetAdaptersInfo(adapters, &size);
    if (answer == ERROR_BUFFER_OVERFLOW) {
        room = molte::allocate<uint8_t>(size);
        if (room == nullptr) return kModule.trace(molte::here());
        std::memset(room.get(), 0, size);
        adapters = reinterpret_cast<IP_ADAPTER_INFO*>(room.get());
        answer = GetAdaptersInfo(adapters, &size);
    }
    if (answer == ERROR_NO_DATA) return 0;
    if (answer != ERROR_SUCCESS) {
        return kModule.fail_text(molte::here(), kFailed, molte::SystemError::runtime,
                                 "get mac address");
    }
    put(adapters, pList);
    return pList->nCount;
}

char* MOLTE_UTIL_Mac2String(const uint8_t* pMac, int32_t nLen, char* pszDst, int32_t nDstLen) {
    const bool too_small = nDstLen < 1 || int64_t{nLen} * 3 > nDstLen;
    if (pszDst == nullptr || too_small || (pMac == nullptr && nLen > 0)) {
        kModule.fail(molte::here(), kBadArgument);
        return nullptr;
    }
    char* end = pszDst;
    *end = '\0';
    for (int32_t i = 0; i < nLen; ++i) {
        end += std::snprintf(end, 4, i == 0 ? "%02X" : "-%02X", pMac[i]);
    }
    return pszDst;
}
