#include <charconv>

#include "platform/text.h"

char* _ui64toa(uint64_t value, char* text, int base) {
    *std::to_chars(text, text + 64, value, base).ptr = 0;
    return text;
}

char* _i64toa(int64_t value, char* text, int base) {
    if (base != 10 || value >= 0) return _ui64toa(static_cast<uint64_t>(value), text, base);
    text[0] = '-';
    _ui64toa(0 - static_cast<uint64_t>(value), text + 1, base);
    return text;
}

int64_t _atoi64(const char* text) {
    while (platform::is_space(static_cast<unsigned char>(*text))) ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    const uint64_t limit = static_cast<uint64_t>(INT64_MAX) + (negative ? 1 : 0);
    uint64_t value = 0;
    for (; platform::is_digit(static_cast<unsigned char>(*text)); ++text) {
        const auto digit = static_cast<uint64_t>(*text - '0');
        value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
    }
    return static_cast<int64_t>(negative ? 0 - value : value);
}
