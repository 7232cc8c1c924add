// The parameter registry: its list, the records that travel, and the usual bodies of setters.
#include "moltelib/parameter_registry.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/byte_field.h"
#include "moltelib/error.h"
#include "moltelib/parameter_file.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "platform/text.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kParamadm;
using molte::kBadArgument;
constexpr int32_t kFirstCapacity = 512;
constexpr int32_t kGrowth = 64;
constexpr uint32_t kNotRegistered = 117;

// A text of a record, that may fill its field, with a terminator.
template <size_t kSize>
class Terminated {
 public:
    explicit Terminated(const void* field) {
        std::memcpy(text_, field, kSize);
        text_[kSize] = '\0';
    }
    [[nodiscard]] const char* text() const { return text_; }

 private:
    char text_[kSize + 1];
};

using NetName = Terminated<sizeof(MOLTE_PARAMNETITEM::szName)>;
using NetText = Terminated<sizeof(MOLTE_PARAMNETITEM::abyValue)>;

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

// How one kind of value is registered, set and read.
struct IntValue {
    static constexpr uint8_t kType = MOLTE_PARAM_INT;
    static constexpr int32_t kRegisterLine = 215;
    static constexpr int32_t kReadLine = 222;
    int32_t* value;
    int32_t first;

    [[nodiscard]] void* place() const { return value; }
    void reset() const { *value = first; }
    int32_t read(const char* name) const { return ORVEX_PARAMETER_GetValueInt(name, value); }
    void take(const MOLTE_PARAMNETITEM& record) const {
        *value = static_cast<int32_t>(Char4To_uint4(record.abyValue));
    }
};

struct LongValue {
    static constexpr uint8_t kType = MOLTE_PARAM_LONG;
    static constexpr int32_t kRegisterLine = 243;
    static constexpr int32_t kReadLine = 250;
    int64_t* value;
    int64_t first;

    [[nodiscard]] void* place() const { return value; }
    void reset() const { *value = first; }
    int32_t read(const char* name) const { return ORVEX_PARAMETER_GetValueLong(name, value); }
    void take(const MOLTE_PARAMNETITEM& record) const {
        *value = static_cast<int64_t>(Char8To_uint8(record.abyValue));
    }
};

struct TextValue {
    static constexpr uint8_t kType = MOLTE_PARAM_TEXT;
    static constexpr int32_t kRegisterLine = 274;
    static constexpr int32_t kReadLine = 286;
    char* value;
    const char* first;
    int32_t size;

    [[nodiscard]] void* place() const { return value; }
    void reset() const {
        if (first != nullptr && first != value) ORVEX_strncpy(value, first, size);
    }
    int32_t read(const char* name) const {
        char text[MOLTE_PARAM_SLOT];
        if (ORVEX_PARAMETER_GetValue(name, text) < 0) return -1;
        ORVEX_strncpy(value, text, size);
        return 1;
    }
    void take(const MOLTE_PARAMNETITEM& record) const {
        ORVEX_strncpy(value, NetText(record.abyValue).text(), size);
    }
};

template <typename Value>
int32_t enter(MOLTE_PARAMITEM* item, const char* name, MOLTE_PARAMSETTER setter,
              const Value& value) {
    MOLTE_PARAMITEM_SetMemItem(item, name, Value::kType, setter, value.place());
    if constexpr (Value::kType == MOLTE_PARAM_TEXT) item->nMaxLen = value.size;
    if (MOLTE_PARAMADM_Register(&item) < 0) return kModule.trace(Value::kRegisterLine);
    return 1;
}

template <typename Value>
int32_t act(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode, const char* name,
            MOLTE_PARAMSETTER setter, const Value& value) {
    const bool registers = mode == MOLTE_PARAM_REGISTER;
    if (value.place() == nullptr || name == nullptr || (registers && item == nullptr) ||
        (mode == MOLTE_PARAM_FROM_NET && record == nullptr)) {
        return kModule.fail(here(), kBadArgument);
    }
    if (registers && enter(item, name, setter, value) < 0) return -1;
    if (registers || mode == MOLTE_PARAM_RESET) value.reset();
    if (registers || mode == MOLTE_PARAM_READ) {
        if (value.read(name) < 0 && GetRvexErrNo() != molte::kAbsent)
            return kModule.trace(Value::kReadLine);
    }
    if (mode == MOLTE_PARAM_FROM_NET) value.take(*record);
    return 1;
}

}  // namespace

// ---- The parameter registry ----

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

// ---- The usual bodies of setters, one algorithm for the three kinds of value ----

void* MOLTE_PARAMITEM_SetMemItem(MOLTE_PARAMITEM* pItem, const char* pszName, uint8_t nType,
                                 MOLTE_PARAMSETTER pfnSet, void* pValue) {
    if (pItem == nullptr) {
        kModule.fail(here(), kBadArgument);
        return nullptr;
    }
    pItem->pszName = pszName;
    pItem->nType = nType;
    pItem->pfnSet = pfnSet;
    pItem->pValue = pValue;
    pItem->tChanged = static_cast<uint32_t>(std::time(nullptr));
    return pValue;
}

int32_t MOLTE_PARAMADM_IntAct(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                              int32_t nMode, int32_t nDefault, const char* pszName,
                              MOLTE_PARAMSETTER pfnSet, int32_t* pnValue) {
    return act(pItem, pRecord, nMode, pszName, pfnSet, IntValue{pnValue, nDefault});
}

int32_t MOLTE_PARAMADM_LongAct(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                               int32_t nMode, int64_t n64Default, const char* pszName,
                               MOLTE_PARAMSETTER pfnSet, int64_t* pn64Value) {
    return act(pItem, pRecord, nMode, pszName, pfnSet, LongValue{pn64Value, n64Default});
}

int32_t MOLTE_PARAMADM_StrAct(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord,
                              int32_t nMode, const char* pszDefault, const char* pszName,
                              MOLTE_PARAMSETTER pfnSet, char* pszValue, int32_t nMaxLen) {
    return act(pItem, pRecord, nMode, pszName, pfnSet, TextValue{pszValue, pszDefault, nMaxLen});
}
