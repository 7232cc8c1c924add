// The parameter registry: its list, and the records that travel.
#include <algorithm>
#include <cstring>

#include "configuration/paramadm.h"
#include "core/owners.h"
#include "moltelib/byte_field.h"
#include "moltelib/parameter_file.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "platform/text.h"

using molte::here;
using molte::SystemError;
using namespace molte::paramadm;

namespace {

constexpr int32_t kFirstCapacity = 512;
constexpr int32_t kGrowth = 64;
constexpr uint32_t kNotRegistered = 117;

MOLTE_PARAMADM& registry() {
    return g_stBv.stParamAdm;
}

MOLTE_PARAMITEM** items() {
    return static_cast<MOLTE_PARAMITEM**>(registry().stItems.pData);
}

bool all_given(const void* records, int32_t count) {
    return records != nullptr || count < 1;
}

template <typename Number>
Number number_at(const void* place) {
    Number number;
    std::memcpy(&number, place, sizeof number);
    return number;
}

// A text whose room isn't told is terminated.
size_t text_length(const MOLTE_PARAMITEM& item, int32_t limit) {
    if (item.nMaxLen > 0) limit = std::min(item.nMaxLen, limit);
    return strnlen(static_cast<const char*>(item.pValue), static_cast<size_t>(limit));
}

void put_value(const MOLTE_PARAMITEM& item, MOLTE_PARAMNETITEM* record) {
    uint8_t* const out = record->abyValue;
    constexpr int32_t kRoom = sizeof record->abyValue;
    switch (item.nType) {
        case MOLTE_PARAM_INT:
            uint4ToChar4(number_at<uint32_t>(item.pValue), out);
            break;
        case MOLTE_PARAM_TEXT:
            std::memcpy(out, item.pValue, text_length(item, kRoom - 1));
            break;
        case MOLTE_PARAM_BYTES:
            std::memcpy(out, item.pValue, static_cast<size_t>(std::clamp(item.nMaxLen, 0, kRoom)));
            break;
        case MOLTE_PARAM_LONG:
            uint8ToChar8(number_at<uint64_t>(item.pValue), out);
            break;
        default:
            break;
    }
}

int32_t write_to_ini(const MOLTE_PARAMNETITEM& record) {
    const NetName name(record.szName);
    const uint8_t* const value = record.abyValue;
    char number[24];
    switch (record.nType) {
        case MOLTE_PARAM_INT:
            return ORVEX_PARAMETER_SetValueInt(name.text(),
                                               static_cast<int32_t>(Char4To_uint4(value)));
        case MOLTE_PARAM_TEXT:
            return ORVEX_PARAMETER_SetValue(name.text(), NetText(value).text());
        case MOLTE_PARAM_LONG:
            _i64toa(static_cast<int64_t>(Char8To_uint8(value)), number, 10);
            return ORVEX_PARAMETER_SetValue(name.text(), number);
        default:
            return 0;
    }
}

}  // namespace

int32_t MOLTE_PARAMADM_Init(MOLTE_PARAMADM* pAdm) {
    if (pAdm == nullptr) return kModule.fail(here(), kBadArgument);
    if (pAdm->bInited != 0) return 0;
    *pAdm = {};
    MOLTE_InitCrit(&pAdm->stLock);
    if (PA_Init(&pAdm->stItems, sizeof(MOLTE_PARAMITEM*), kFirstCapacity) < 0) {
        kModule.trace(31);
        MOLTE_PARAMADM_Release(pAdm);
        return -1;
    }
    pAdm->stItems.nGrowBy = kGrowth;
    pAdm->bInited = 1;
    MOLTE_PARAMNAME_Init(g_stParamName);
    return 1;
}

int32_t MOLTE_PARAMADM_Release(MOLTE_PARAMADM* pAdm) {
    if (pAdm == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_ReleaseCrit(&pAdm->stLock);
    PA_Release(&pAdm->stItems);
    *pAdm = {};
    return 1;
}

int32_t MOLTE_PARAMADM_Register(MOLTE_PARAMITEM* const* ppItem) {
    if (ppItem == nullptr || *ppItem == nullptr) return kModule.fail(here(), kBadArgument);
    if (MOLTE_PARAMADM_Init(&registry()) < 0) return kModule.trace(87);
    if (PA_Append(&registry().stItems, ppItem) < 0) return kModule.trace(88);
    return 1;
}

MOLTE_PARAMITEM* MOLTE_PARAMADM_GetMemValPt(const char* pszName) {
    if (MOLTE_PARAMADM_Init(&registry()) < 0) {
        kModule.trace(101);
        return nullptr;
    }
    if (pszName != nullptr) {
        MOLTE_PARAMITEM** const end = items() + registry().stItems.nCount;
        MOLTE_PARAMITEM** const found = std::find_if(items(), end, [pszName](const auto* item) {
            return item->pszName != nullptr && std::strcmp(item->pszName, pszName) == 0;
        });
        if (found != end) return *found;
    }
    kModule.fail_text(107, kNotRegistered, SystemError::none, pszName);
    return nullptr;
}

const char* MOLTE_PARAMADM_GetStrVal(const char* pszName) {
    const MOLTE_PARAMITEM* item = MOLTE_PARAMADM_GetMemValPt(pszName);
    if (item != nullptr) return static_cast<const char*>(item->pValue);
    kModule.trace(196);
    return nullptr;
}

int32_t MOLTE_PARAMITEM_Mem2Net(const MOLTE_PARAMITEM* pItem, MOLTE_PARAMNETITEM* pRecord) {
    if (pItem == nullptr || pRecord == nullptr) return kModule.fail(here(), kBadArgument);
    *pRecord = {};
    if (pItem->pszName != nullptr) {
        ORVEX_strncpy(pRecord->szName, pItem->pszName, sizeof pRecord->szName);
    }
    pRecord->nType = pItem->nType;
    pRecord->nMaxLen = static_cast<uint8_t>(pItem->nMaxLen);
    uint4ToChar4(pItem->tChanged, pRecord->tChanged);
    if (pItem->pValue != nullptr) put_value(*pItem, pRecord);
    pRecord->bValid = 1;
    return 1;
}

int32_t MOLTE_PARAMADM_GetAllNetVal(MOLTE_PARAMNETITEM** ppItems) {
    if (ppItems == nullptr) return kModule.fail(here(), kBadArgument);
    *ppItems = nullptr;
    if (MOLTE_PARAMADM_Init(&registry()) < 0) return kModule.trace(120);
    const int32_t count = registry().stItems.nCount;
    if (count < 1) return 0;
    auto records = molte::allocate<MOLTE_PARAMNETITEM>(count);
    if (records == nullptr) return kModule.trace(124);
    for (int32_t i = 0; i < count; ++i) MOLTE_PARAMITEM_Mem2Net(items()[i], &records[size_t(i)]);
    *ppItems = records.release();
    return count;
}

int32_t MOLTE_PARAMADM_GetNetVal(MOLTE_PARAMNETITEM* pItems, int32_t nCount) {
    if (!all_given(pItems, nCount)) return kModule.fail(here(), kBadArgument);
    for (int32_t i = 0; i < nCount; ++i) {
        pItems[i].bValid = 0;
        const MOLTE_PARAMITEM* item = MOLTE_PARAMADM_GetMemValPt(NetName(pItems[i].szName).text());
        if (item != nullptr) MOLTE_PARAMITEM_Mem2Net(item, &pItems[i]);
    }
    return 1;
}

int32_t MOLTE_PARAMADM_SetNetVal(const MOLTE_PARAMNETITEM* pItems, int32_t nCount, int32_t nMode) {
    if (nMode == MOLTE_PARAM_REGISTER) return 0;
    if (!all_given(pItems, nCount)) return kModule.fail(here(), kBadArgument);
    for (int32_t i = 0; i < nCount; ++i) {
        MOLTE_PARAMITEM* item = MOLTE_PARAMADM_GetMemValPt(NetName(pItems[i].szName).text());
        if (item != nullptr && item->pfnSet != nullptr) item->pfnSet(item, &pItems[i], nMode, i);
    }
    return 1;
}

int32_t MOLTE_PARAMADM_SetIniFile(const MOLTE_PARAMNETITEM* pItems, int32_t nCount, int32_t nMode) {
    if (nMode == MOLTE_PARAM_REGISTER) return 0;
    if (!all_given(pItems, nCount)) return kModule.fail(here(), kBadArgument);
    for (int32_t i = 0; i < nCount; ++i) {
        if (write_to_ini(pItems[i]) < 0) return kModule.trace(169);
    }
    return 1;
}
