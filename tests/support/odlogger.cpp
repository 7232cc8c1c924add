// A logger library as Install_Odcs_Hook looks for one. It exports what its hook saw last.
#include <cstdio>
#include <cstring>

#include "moltelib.h"

#if defined(_WIN32)
#define PLUGIN __declspec(dllexport)
#else
#define PLUGIN __attribute__((visibility("default")))
#endif

extern "C" {
PLUGIN char Logger_Seen[256];
PLUGIN int32_t Logger_InstallHook(void* nothing, int32_t id);
PLUGIN int32_t Logger_RemoveHook(int32_t id);
}

namespace {

int32_t out_text(uint32_t mask, void*, int32_t, const char* text, int32_t length) {
    return std::snprintf(Logger_Seen, sizeof Logger_Seen, "%x %d %s", mask, length, text);
}

}  // namespace

int32_t Logger_InstallHook(void* nothing, int32_t id) {
    if (nothing != nullptr) return -1;
    return OTXTHOOK_InstallHook(out_text, nullptr, nullptr, 0, OXMSG_TO_LOGGER, id);
}

int32_t Logger_RemoveHook(int32_t id) {
    std::strcpy(Logger_Seen, "removed");
    return OTXTHOOK_RemoveHook(out_text, id);
}
