#include "platform/adapters.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace {

struct Free {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

// The link of an entry that counts, else null.
const sockaddr_ll* link_of(const ifaddrs& entry) {
    if (entry.ifa_addr == nullptr || entry.ifa_addr->sa_family != AF_PACKET) return nullptr;
    const auto* link = reinterpret_cast<const sockaddr_ll*>(entry.ifa_addr);
    const bool counts = (entry.ifa_flags & IFF_LOOPBACK) == 0 && link->sll_hatype == ARPHRD_ETHER;
    return counts ? link : nullptr;
}

IP_ADAPTER_INFO adapter_of(const char* name, const sockaddr_ll& link) {
    IP_ADAPTER_INFO adapter{};
    memcpy(adapter.AdapterName, name, strnlen(name, sizeof adapter.AdapterName - 1));
    adapter.AddressLength = link.sll_halen;
    memcpy(adapter.Address, link.sll_addr, sizeof adapter.Address);
    adapter.Index = static_cast<DWORD>(link.sll_ifindex);
    return adapter;
}

}  // namespace

DWORD GetAdaptersInfo(IP_ADAPTER_INFO* adapters, DWORD* size) {
    ifaddrs* first = nullptr;
    if (size == nullptr) return ERROR_INVALID_PARAMETER;
    if (getifaddrs(&first) != 0) return platform::error_number(errno);
    const std::unique_ptr<ifaddrs, Free> list(first);
    const size_t room = adapters != nullptr ? *size / sizeof(IP_ADAPTER_INFO) : 0;
    size_t count = 0;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        const sockaddr_ll* link = link_of(*entry);
        if (link == nullptr) continue;
        if (count < room) {
            adapters[count] = adapter_of(entry->ifa_name, *link);
            if (count > 0) adapters[count - 1].Next = &adapters[count];
        }
        ++count;
    }
    if (count == 0) return ERROR_NO_DATA;
    *size = static_cast<DWORD>(count * sizeof(IP_ADAPTER_INFO));
    return count <= room ? ERROR_SUCCESS : ERROR_BUFFER_OVERFLOW;
}
