// The network adapters.
#pragma once

#if defined(_WIN32)
#include <winsock2.h>
// After it:
#include <iphlpapi.h>
#else

#include "platform/last_error.h"
#include "platform/system.h"
#include "platform/types.h"

constexpr DWORD ERROR_NO_DATA = 232;

// An adapter, and the next one behind it in the caller's memory.
struct IP_ADAPTER_INFO {
    IP_ADAPTER_INFO* Next;
    char AdapterName[260];
    std::uint32_t AddressLength;
    BYTE Address[8];
    DWORD Index;
};

// All adapters but loopback that have an Ethernet address, in the kernel's order. *size is the room
// in bytes; ERROR_BUFFER_OVERFLOW (111) and the size that is needed where they don't fit,
// ERROR_NO_DATA where there are none.
DWORD GetAdaptersInfo(IP_ADAPTER_INFO* adapters, DWORD* size);

#endif
