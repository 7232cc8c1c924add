// What core asks of the floors above it beside the calls that the interface itself makes. Each is
// defined where it belongs; the text is also asked for when nothing is loaded.
#pragma once

#include <cstdint>

namespace molte {

// The text of a number in the language that is loaded; null where there is none.
[[nodiscard]] const char* text_by_number(uint32_t number);

// Writes the path of the LOG folder, of at most 135 characters; 1, or -1 and reported.
[[nodiscard]] int32_t log_folder(char* dst);

}  // namespace molte
