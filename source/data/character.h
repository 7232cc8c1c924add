// Characters of 8-bit text in the process's code page.
#pragma once

#include <cstdint>

#include "platform/code_page.h"

namespace molte {

// A byte, or lead byte * 256 + trail byte; a lead byte that ends its text stands for itself.
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

}  // namespace molte
