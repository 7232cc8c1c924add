// The library's list of line buffers.
#include <cstring>

#include "core/modules.h"
#include "moltelib/array.h"
#include "moltelib/line_buffer.h"
#include "moltelib/state.h"
#include "moltelib/text_hook.h"

namespace {

constexpr auto kModule = molte::kMoltevar;
using molte::kBadArgument;
constexpr uint32_t kNotInList = 117;

OLINEBUF* buffer_at(int32_t index) {
    return static_cast<OLINEBUF**>(g_stBv.stLineBufList.pData)[index];
}

}  // namespace

OLINEBUF* MOLTE_UTIL_GetLineBuf(const char* pszName) {
    const char* name = pszName != nullptr ? pszName : "";
    for (int32_t i = 0; i < g_stBv.stLineBufList.nCount; ++i) {
        if (std::strcmp(buffer_at(i)->szName, name) == 0) return buffer_at(i);
    }
    kModule.fail(molte::here(), kNotInList, molte::SystemError::none, "%s %s %s\n",
                 "line buf with given name", name, " does not exist");
    return nullptr;
}

int32_t MOLTE_UTIL_AddLineBuf(OLINEBUF* pBuf) {
    PA* list = &g_stBv.stLineBufList;
    if (pBuf == nullptr || list->nItemSize == 0) return kModule.fail(molte::here(), kBadArgument);
    if (MOLTE_UTIL_GetLineBuf(pBuf->szName) != nullptr) return kModule.trace(molte::here());
    return PA_SetAt(list, -1, &pBuf);
}

int32_t MOLTE_UTIL_GetTxtInfo(const char* pszName, char* pszOut, int32_t nOutSize,
                              uint64_t* pLineID) {
    OLINEBUF* buf = MOLTE_UTIL_GetLineBuf(pszName);
    if (buf == nullptr) return kModule.trace(molte::here());
    return OLINEBUF_GetMultiLine(buf, pszOut, nOutSize, pLineID);
}

int32_t MOLTE_UTIL_AddMemTextHook(const char* pszName, int32_t nBufSize, uint32_t nMask,
                                  int32_t nOption) {
    OLINEBUF* buf = OTXTHOOK_MEMTXT_InstallHook(pszName, nBufSize, nMask, nOption);
    if (buf == nullptr) return kModule.trace(molte::here());
    return MOLTE_UTIL_AddLineBuf(buf);
}
