// Tables of names with their numbers.
#include "moltelib/name_map.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/modules.h"

using molte::here;
using molte::kBadArgument;
using molte::kNotFound;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;

bool readable(const MOLTE_NAMEMAP* rows, int32_t count) {
    return rows != nullptr || count < 1;
}

// The first row that fits; null when none does.
template <typename Fits>
const MOLTE_NAMEMAP* find(const MOLTE_NAMEMAP* rows, int32_t count, Fits fits) {
    const MOLTE_NAMEMAP* const end = rows + std::max(count, 0);
    const MOLTE_NAMEMAP* const row = std::find_if(rows, end, fits);
    return row != end ? row : nullptr;
}

}  // namespace

int32_t MOLTE_NAMEMAP_Name2Val(const MOLTE_NAMEMAP* pRows, int32_t nCount, const char* pszName) {
    if (pszName == nullptr || !readable(pRows, nCount)) return kModule.fail(here(), kBadArgument);
    const MOLTE_NAMEMAP* row = find(pRows, nCount, [pszName](const MOLTE_NAMEMAP& candidate) {
        return candidate.pszName != nullptr && std::strcmp(candidate.pszName, pszName) == 0;
    });
    if (row == nullptr) return kModule.fail_text(here(), kNotFound, SystemError::none, pszName);
    return row->nValue;
}

const char* MOLTE_NAMEMAP_Val2Name(const MOLTE_NAMEMAP* pRows, int32_t nCount, int32_t nValue) {
    if (!readable(pRows, nCount)) {
        kModule.fail(here(), kBadArgument);
        return nullptr;
    }
    const MOLTE_NAMEMAP* row = find(pRows, nCount, [nValue](const MOLTE_NAMEMAP& candidate) {
        return candidate.pszName != nullptr && candidate.nValue == nValue;
    });
    if (row == nullptr) {
        kModule.fail(here(), kNotFound, SystemError::none, "value not exist %d", nValue);
        return nullptr;
    }
    return row->pszName;
}

int32_t MOLTE_NAMEMAPHEAD_Print(const MOLTE_NAMEMAPHEAD* pHead) {
    if (pHead == nullptr || !readable(pHead->pRows, pHead->nRowCount)) {
        return kModule.fail(here(), kBadArgument);
    }
    const auto or_empty = [](const char* text) { return text != nullptr ? text : ""; };
    std::printf("%s\n", or_empty(pHead->pszTitle));
    for (int32_t i = 0; i < pHead->nRowCount; ++i) {
        const MOLTE_NAMEMAP& row = pHead->pRows[i];
        std::printf("name=%32s  val=%d\n", or_empty(row.pszName), row.nValue);
    }
    return 1;
}

const char* MOLTE_OX_LANGID_Name(int32_t nId) {
    return nId == 0 ? "CHS" : nId == 1 ? "En" : nullptr;
}
