// Plug-in libraries.
#include <cwchar>

#include "core/modules.h"
#include "moltelib/plugin.h"
#include "platform/dynamic_library.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysop;
constexpr uint32_t kNotLoaded = 143;
constexpr uint32_t kNoSymbol = 146;
constexpr uint32_t kNotUnloaded = 147;

HMODULE native(OXHANDLE module) {
    return static_cast<HMODULE>(module);
}

}  // namespace

OXHANDLE OX_DLL_Open(const char* pszName, uint32_t nFlags) {
    OXHANDLE module = pszName != nullptr ? LoadLibraryExA(pszName, nullptr, nFlags) : nullptr;
    if (module == nullptr) kModule.fail_text(here(), kNotLoaded, SystemError::runtime, pszName);
    return module;
}

OXHANDLE OX_DLL_OpenW(const wchar_t* pwszName, uint32_t nFlags) {
    OXHANDLE module = pwszName != nullptr ? LoadLibraryExW(pwszName, nullptr, nFlags) : nullptr;
    if (module == nullptr) {
        const size_t length = pwszName != nullptr ? std::wcslen(pwszName) : 0;
        kModule.fail_bytes(here(), kNotLoaded, SystemError::runtime, pwszName,
                           static_cast<int64_t>(length * sizeof(wchar_t)));
    }
    return module;
}

void* OX_DLL_GetProc(OXHANDLE hModule, const char* pszName) {
    const FARPROC proc = hModule != nullptr && pszName != nullptr
                             ? GetProcAddress(native(hModule), pszName)
                             : nullptr;
    if (proc == nullptr) kModule.fail_text(here(), kNoSymbol, SystemError::runtime, pszName);
    return reinterpret_cast<void*>(proc);
}

int32_t OX_DLL_Close(OXHANDLE hModule) {
    if (hModule == nullptr) return 0;
    if (FreeLibrary(native(hModule)) != 0) return 1;
    return kModule.fail(here(), kNotUnloaded, SystemError::runtime);
}
