// Identifiers that nobody else has.
#pragma once

#include "platform/types.h"

#if defined(_WIN32)
#include <objbase.h>
#else

using HRESULT = LONG;
constexpr HRESULT S_OK = 0;
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);

struct GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
};

// A random one, version 4 of RFC 9562, of the kernel's random bytes. A child of fork, and of a bare
// clone, never gives what its parent gives. E_FAIL when the kernel has none.
HRESULT CoCreateGuid(GUID* guid);

#endif
