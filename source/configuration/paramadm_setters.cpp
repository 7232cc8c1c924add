// The usual bodies of setters, one algorithm for the three kinds of value.
#include <ctime>

#include "configuration/paramadm.h"
#include "moltelib/byte_field.h"
#include "moltelib/error.h"
#include "moltelib/parameter_file.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/text.h"

using molte::here;
using namespace molte::paramadm;

namespace {

constexpr uint32_t kAbsent = 52;

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
        if (value.read(name) < 0 && GetRvexErrNo() != kAbsent)
            return kModule.trace(Value::kReadLine);
    }
    if (mode == MOLTE_PARAM_FROM_NET) value.take(*record);
    return 1;
}

}  // namespace

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
