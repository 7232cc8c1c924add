#include <cstring>
#include <cwchar>

#include "core/owners.h"
#include "core/report.h"
#include "moltelib/number_text.h"
#include "moltelib/text_convert.h"
#include "moltelib/thread_data.h"
#include "platform/text.h"

namespace {

constexpr molte::Module kModule("oxdatcnv");

constexpr int kMaxBarCodeDigits = 19;
constexpr int32_t kMaxKeyLength = 31;
constexpr int kNumberTextSize = 32;

// The buffer to use: the caller's, the thread's, or the one that is left.
char* text_buffer(char* given, char* fallback) {
    if (given != nullptr) return given;
    char* own = MOLTE_THDATA_GetBuffer();
    return own != nullptr ? own : fallback;
}

// The text of a number as wide characters in buf.
wchar_t* widen(const char* text, wchar_t* buf) {
    const molte::Heap<wchar_t> wide(ox_mbstowcs(text));
    if (wide == nullptr) {
        kModule.trace(molte::here());
        return nullptr;
    }
    return wcscpy(buf, wide.get());
}

int64_t read_wide(const wchar_t* s) {
    char text[256];
    if (MOLTE_STR_wcstombs(s, text, sizeof text) < 0) return kModule.trace(molte::here());
    return _atoi64(text);
}

}  // namespace

uint64_t BarCodeTo_uint8(const char* s) {
    uint64_t value = 0;
    for (int i = 0; s != nullptr && i < kMaxBarCodeDigits && s[i] >= '0' && s[i] <= '9'; ++i) {
        value = value * 10 + static_cast<uint64_t>(s[i] - '0');
    }
    return value;
}

int32_t uint8ToBarCode(uint64_t v, char* buf, int32_t len) {
    if (buf == nullptr || len < 0) return kModule.fail(molte::here(), molte::kBadArgument);
    memset(buf, '0', static_cast<size_t>(len));
    buf[len] = 0;
    char digits[kNumberTextSize];
    const auto count = static_cast<int32_t>(strlen(_ui64toa(v, digits, 10)));
    if (count >= len) {
        return kModule.fail(molte::here(), 36, molte::SystemError::none,
                            "bufflen=%d barcodelen=%d bar=%s", len, count, digits);
    }
    memcpy(buf + len - count, digits, static_cast<size_t>(count));
    return 1;
}

int32_t MOLTE_BuildKey(char* key, const char* prefix, int32_t keyLen) {
    if (keyLen == 0) return 0;
    if (key == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    if (keyLen < 0 || keyLen > kMaxKeyLength) keyLen = kMaxKeyLength;
    const auto wanted = static_cast<size_t>(keyLen);
    const size_t length = strnlen(key, wanted * 2 + 1);
    if (length > wanted * 2) return kModule.fail(molte::here(), molte::kBadArgument);
    if (length == wanted) return 1;
    char work[kMaxKeyLength + 1];
    memset(work, '0', wanted);
    if (length < wanted) {
        const size_t padding = wanted - length;
        memcpy(work + padding, key, length);
        if (prefix != nullptr) memcpy(work, prefix, strnlen(prefix, padding));
    } else {
        memcpy(work, key, length - wanted);
    }
    memcpy(key, work, wanted);
    key[wanted] = 0;
    return 1;
}

char* MOLTE_i64toa(int64_t v, char* buf) {
    static char fallback[kNumberTextSize];
    return _i64toa(v, text_buffer(buf, fallback), 10);
}

char* MOLTE_ui64toa(uint64_t v, char* buf) {
    static char fallback[kNumberTextSize];
    return _ui64toa(v, text_buffer(buf, fallback), 10);
}

wchar_t* MOLTE_i64tow(int64_t v, wchar_t* buf) {
    if (buf == nullptr) {
        kModule.fail(molte::here(), 51, molte::SystemError::runtime);
        return nullptr;
    }
    return widen(MOLTE_i64toa(v, nullptr), buf);
}

wchar_t* MOLTE_ui64tow(uint64_t v, wchar_t* buf) {
    if (buf == nullptr) {
        kModule.fail(molte::here(), 51, molte::SystemError::runtime);
        return nullptr;
    }
    return widen(MOLTE_ui64toa(v, nullptr), buf);
}

int64_t MOLTE_atoi64(const char* s) {
    return s != nullptr ? _atoi64(s) : kModule.fail(molte::here(), molte::kBadArgument);
}

uint64_t MOLTE_atoui64(const char* s) {
    return static_cast<uint64_t>(MOLTE_atoi64(s));
}

int64_t MOLTE_wtoi64(const wchar_t* s) {
    return read_wide(s);
}

uint64_t MOLTE_wtoui64(const wchar_t* s) {
    return static_cast<uint64_t>(read_wide(s));
}

int32_t MOLTE_LimitData(int32_t min, int32_t max, int32_t v) {
    if (v < min) return min;
    return v < max ? v : max;
}

int32_t MOLTE_LimitDefData(int32_t min, int32_t max, int32_t v, int32_t def) {
    return v >= min && v <= max ? v : def;
}

int32_t MOLTE_LimitBool(int32_t* pv) {
    if (pv == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    *pv = *pv != 0 ? 1 : 0;
    return *pv;
}

int32_t MOLTE_IsAllSameChar(const void* buf, int32_t n, uint8_t ch) {
    const auto* bytes = static_cast<const uint8_t*>(buf);
    for (int32_t i = 0; i < n; ++i) {
        if (bytes[i] != ch) return 0;
    }
    return 1;
}
