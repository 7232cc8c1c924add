// Sizes and bytes as text, and the smaller and larger of two numbers.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "core/modules.h"
#include "moltelib/number_text.h"

using molte::here;
using molte::kBadArgument;

namespace {

constexpr auto kModule = molte::kOxsysutl;

}  // namespace

char* MOLTE_DiskSizeToString(int64_t size, char* dst, int32_t dstLen) {
    if (dst == nullptr || dstLen < 1) {
        kModule.fail(here(), kBadArgument);
        return nullptr;
    }
    const auto room = static_cast<size_t>(dstLen);
    size = std::max<int64_t>(size, 0);
    if (size < 1024) {
        std::snprintf(dst, room, "%d Byte%s", static_cast<int>(size), size > 1 ? "s" : "");
        return dst;
    }
    constexpr const char* units[] = {"KB", "MB", "GB", "TB", "PB"};
    const char* const* unit = units;
    double value = static_cast<double>(size) / 1024;
    // A unit ends at 1000 of it although it has 1024: meant, so that no text has five digits.
    for (; value >= 1000 && unit != std::end(units) - 1; ++unit) value /= 1024;
    std::snprintf(dst, room, "%5.2f %s", value, *unit);
    return dst;
}

char* MOLTE_Bin2String(const void* data, int32_t len, char* dst, int32_t dstLen) {
    if (dst == nullptr || dstLen < 1) return nullptr;
    *dst = '\0';
    if (len < 1) return dst;
    if (data == nullptr) {
        kModule.fail(here(), kBadArgument);
        return nullptr;
    }
    const auto* const bytes = static_cast<const uint8_t*>(data);
    const int32_t count = std::min(len, (dstLen - 1) / 2);
    char* to = dst;
    for (int32_t i = 0; i < count; ++i) {
        constexpr char digits[] = "0123456789ABCDEF";
        *to++ = digits[bytes[i] >> 4];
        *to++ = digits[bytes[i] & 15];
    }
    *to = '\0';
    return dst;
}

int32_t MOLTE_min(int32_t a, int32_t b) {
    return std::min(a, b);
}
int32_t MOLTE_max(int32_t a, int32_t b) {
    return std::max(a, b);
}
uint32_t MOLTE_umin(uint32_t a, uint32_t b) {
    return std::min(a, b);
}
uint32_t MOLTE_umax(uint32_t a, uint32_t b) {
    return std::max(a, b);
}
