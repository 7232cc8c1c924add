// The named items of a thread.
#include <algorithm>
#include <cstring>

#include "core/modules.h"
#include "moltelib/thread_data.h"

namespace {

constexpr auto kModule = molte::kOxthrdat;
using molte::kBadArgument;
constexpr uint32_t kNoRoom = 117;
constexpr uint32_t kNotFound = 120;
using molte::kTooLong;

// Only the first item is looked at, whatever the number of items. This is meant.
bool finds(const MOLTE_THDATA& block, const char* name) {
    return block.nItemCount > 0 && std::strcmp(block.astItem[0].szName, name) == 0;
}

void* no_item(int32_t line, const char* text) {
    kModule.fail_text(line, kNotFound, molte::SystemError::none, text);
    return nullptr;
}

}  // namespace

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
