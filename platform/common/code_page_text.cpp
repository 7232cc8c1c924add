// Whole texts, on every system made of single characters.
#include <cerrno>
#include <cstring>
#include <cwchar>

#include "platform/code_page.h"

namespace platform {

int char_length(const char* text, std::size_t limit) {
    return char_to_wide(nullptr, text, limit);
}

std::size_t multibyte_to_wide(wchar_t* wide, const char* text, std::size_t room) {
    std::size_t count = 0;
    for (; wide == nullptr || count < room; ++count) {
        const int length = char_to_wide(wide != nullptr ? wide + count : nullptr, text, 2);
        if (length < 0) return kBadText;
        if (length == 0) break;
        text += length;
    }
    return count;
}

std::size_t wide_to_multibyte(char* text, const wchar_t* wide, std::size_t room) {
    // Kept from the run-time of the first platform: here a bad character shows only later.
    if (text == nullptr && !has_code_page()) return wcslen(wide);
    std::size_t size = 0;
    for (; *wide != 0; ++wide) {
        char bytes[2];
        const int length = wide_to_char(bytes, *wide);
        if (length < 0) return kBadText;
        if (text != nullptr) {
            if (room - size < static_cast<std::size_t>(length)) return size;
            memcpy(text + size, bytes, static_cast<std::size_t>(length));
        }
        size += static_cast<std::size_t>(length);
    }
    if (text != nullptr && size < room) text[size] = 0;
    return size;
}

const char* find_text(const char* text, const char* part) {
    const std::size_t size = strlen(part);
    if (size == 0) return text;
    while (*text != 0) {
        if (strncmp(text, part, size) == 0) return text;
        const bool two = is_lead_byte(static_cast<unsigned char>(*text)) && text[1] != 0;
        text += two ? 2 : 1;
    }
    return nullptr;
}

}  // namespace platform
