// Characters and lines of 8-bit text, and the growing arrays of module "oxstring".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/oxsysutl_memory.h"
#include "moltelib/memory.h"
#include "platform/code_page.h"

namespace molte {

// A character in the process's code page: a byte, or lead byte * 256 + trail byte; a lead byte that
// ends its text stands for itself.
struct Character {
    int32_t value;
    int32_t size;  // bytes; 0 at the end of the text
};

inline Character first_character(const char* text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) return {lead, lead != 0 ? 1 : 0};
    const auto trail = platform::is_lead_byte(lead) ? static_cast<unsigned char>(text[1]) : 0;
    return trail != 0 ? Character{lead * 256 + trail, 2} : Character{lead, 1};
}

// Of ASCII, on every platform and in every locale.
inline bool is_ascii_letter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// A single-byte character as a capital; others have none.
inline int32_t capital_of(int32_t value) {
    if (value < 0 || value > 0xFF) return value;
    return platform::capital_of(static_cast<unsigned char>(value));
}

// Takes a piece from the front of a text file, as a run-time that reads it through a buffer of
// fixed size sees it: it ends with LF, with the text, or is cut before it gets longer than this
// many bytes, CR LF counted as one.
inline std::string_view take_line(std::string_view& text, size_t longest) {
    std::string_view line = text.substr(0, longest + 1);
    line = line.substr(0, line.find('\n') + 1);
    if (line.empty() || (line.size() > longest && !line.ends_with("\r\n"))) {
        line = text.substr(0, longest);
    }
    text.remove_prefix(line.size());
    return line;
}

// A format or a text that can't be converted.
inline constexpr uint32_t kNotConverted = 103;

// Adds zeroed items to an array that is held by pointer and capacity. -1 without memory, or when
// the array would pass 2^31 - 1 bytes, with error 20; it is then as it was.
template <typename T>
int32_t grow(T*& items, int32_t& capacity, int64_t count) {
    constexpr int64_t kSize = sizeof(T);
    if ((capacity + count) * kSize > INT32_MAX) {
        return refuse_growth(capacity * kSize, count * kSize);
    }
    void* block = items;
    const int32_t result =
        ORVEX_release_realloc(&block, sizeof(T), &capacity, static_cast<int32_t>(count));
    if (result > 0) items = static_cast<T*>(block);
    return result;
}

}  // namespace molte
