// Single values, of the default file and of the other files of the CONF folder.
#include <cstring>

#include "configuration/parameter_file.h"
#include "moltelib/date_time.h"
#include "moltelib/main_path.h"
#include "moltelib/parameter_file.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "platform/text.h"

using namespace molte::ini;
using molte::here;
using molte::SystemError;

namespace {

constexpr uint32_t kNoNumber = 257;
constexpr uint32_t kNoBool = 258;
constexpr uint32_t kNotZeroOrOne = 413;
constexpr int32_t kDefaultServerPort = 6798;

using Value = char[MOLTE_PARAM_SLOT];

// A path of the CONF folder. The folder and the name of the default file have less than 128
// characters each.
class ConfPath {
 public:
    int32_t set_default() { return ORVEX_PARAMETER_PathFileName(path_); }
    int32_t set(const char* file) {
        if (file == nullptr || strnlen(file, kLongestName) == kLongestName) {
            return kModule.fail(here(), kBadArgument);
        }
        return ORVEX_PARAMETER_PathFileNameByFN(path_, file);
    }
    [[nodiscard]] const char* get() const { return path_; }

 private:
    static constexpr size_t kLongestName = 512;
    char path_[kLongestName + 160];
};

// A value that must be there.
int32_t present(const char* name, const char* value, int32_t line) {
    return value[0] != '\0' ? 1 : kModule.fail_text(line, kAbsent, SystemError::none, name);
}

// As "%d" reads, whose high bits are lost.
bool read_int(const char* text, int32_t* out) {
    const char* at = text;
    while (platform::is_space(static_cast<unsigned char>(*at))) ++at;
    if (*at == '+' || *at == '-') ++at;
    if (!platform::is_digit(static_cast<unsigned char>(*at))) return false;
    *out = static_cast<int32_t>(_atoi64(text));
    return true;
}

int32_t fail_number(int32_t line, uint32_t error, const char* name, const char* value) {
    return kModule.fail(line, error, SystemError::runtime, "name=%s val=%s", name, value);
}

}  // namespace

int32_t ORVEX_PARAMETER_GetValueArray(const char* const* ppszNames, char* pszValues,
                                      int32_t nCount) {
    ConfPath path;
    if (path.set_default() < 0) return kModule.trace(186);
    return PARAMETER_GetValueArray(path.get(), ppszNames, pszValues, nCount);
}

int32_t ORVEX_PARAMETER_SetValueArray(const char* const* ppszNames, const char* pszValues,
                                      int32_t nCount) {
    ConfPath path;
    if (path.set_default() < 0) return kModule.trace(356);
    return PARAMETER_SetValueArray(path.get(), ppszNames, pszValues, nCount);
}

int32_t ORVEX_PARAMETER_GetValue(const char* pszName, char* pszValue) {
    if (ORVEX_PARAMETER_GetValueArray(&pszName, pszValue, 1) < 0) return -1;
    return present(pszName, pszValue, 364);
}

int32_t get_RVEX_src(const char* pszName, char* pszValue) {
    return ORVEX_PARAMETER_GetValue(pszName, pszValue);
}

int32_t ORVEX_PARAMETER_SetValue(const char* pszName, const char* pszValue) {
    return ORVEX_PARAMETER_SetValueArray(&pszName, pszValue, 1);
}

int32_t ORVEX_PARAMETER_GetValueInt(const char* pszName, int32_t* pnValue) {
    if (pnValue == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(44);
    return read_int(value, pnValue) ? 1 : fail_number(47, kNoNumber, pszName, value);
}

int32_t ORVEX_PARAMETER_GetValueLong(const char* pszName, int64_t* pn64Value) {
    if (pn64Value == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(58);
    *pn64Value = _atoi64(value);
    return 1;
}

int32_t ORVEX_PARAMETER_GetValueBool(const char* pszName, int32_t* pbValue) {
    if (pbValue == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(67);
    int32_t number = 0;
    if (!read_int(value, &number)) return fail_number(70, kNoBool, pszName, value);
    if (number != 0 && number != 1) {
        return kModule.fail(75, kNotZeroOrOne, SystemError::none, "name=%s value=%d not 0 or 1",
                            pszName, number);
    }
    *pbValue = number;
    return 1;
}

int32_t ORVEX_PARAMETER_SetValueInt(const char* pszName, int32_t nValue) {
    Value value = "";
    _i64toa(nValue, value, 10);
    return ORVEX_PARAMETER_SetValue(pszName, value);
}

int32_t ORVEX_PARAMETER_GetValueDateTime(const char* pszName, ORVEXDATETIME* pDateTime) {
    if (pDateTime == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(87);
    return ORVEX_DateTime_DispFmt2DBFmt(value, pDateTime) < 0 ? -1 : 1;
}

int32_t ORVEX_PARAMETER_GetServerNameAndPort(char* pszName, int32_t* pnPort) {
    if (pnPort == nullptr) return kModule.fail(here(), kBadArgument);
    *pnPort = kDefaultServerPort;
    if (ORVEX_PARAMETER_GetValue("DBServerName", pszName) < 0) return kModule.trace(33);
    Value port = "";
    if (ORVEX_PARAMETER_GetValue("DBServerPort", port) > 0) read_int(port, pnPort);
    return 1;
}

int32_t ORVEX_PARAMETER_GetDefaultUserName(char* pszName) {
    if (pszName == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_strncpy(pszName, g_stBv.szDefaultUserName, sizeof g_stBv.szDefaultUserName);
    return 1;
}

int32_t ORVEX_PARAMETER_GetValueByFN(const char* pszFile, const char* pszName, char* pszValue) {
    if (pszFile == nullptr) return ORVEX_PARAMETER_GetValue(pszName, pszValue);
    ConfPath path;
    if (path.set(pszFile) < 0) return kModule.trace(here());
    if (PARAMETER_GetValue(path.get(), pszName, pszValue) < 0) return -1;
    return present(pszName, pszValue, here());
}

int32_t ORVEX_PARAMETER_GetIntValueByFN(const char* pszFile, const char* pszName,
                                        int32_t* pnValue) {
    if (pnValue == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValueByFN(pszFile, pszName, value) < 0) return kModule.trace(539);
    return read_int(value, pnValue) ? 1 : fail_number(542, kNoNumber, pszName, value);
}

int32_t ORVEX_PARAMETER_SetValueByFN(const char* pszFile, const char* pszName,
                                     const char* pszValue) {
    ConfPath path;
    if (path.set(pszFile) < 0) return kModule.trace(here());
    return PARAMETER_SetValue(path.get(), pszName, pszValue);
}
