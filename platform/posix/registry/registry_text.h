// The text of the registry's file: lines, of which each is a key, a value of the key above it, or
// something else, which stays as it is.
#pragma once

#include <string_view>

#include "platform/types.h"
#include "text/growing_text.h"

namespace platform {

struct RegistryValue {
    DWORD type = 0;
    DWORD number = 0;  // of REG_DWORD
    GrowingText text;  // of REG_SZ, without a terminator
};

// Where a key and a value of it stand in the text.
struct Place {
    bool has_key = false;      // the key, or one below it
    bool has_section = false;  // the key itself has a line
    std::string_view value;    // what stands behind the "="; empty when there is no such value
    size_t start = 0;          // the line with the value, or where one is to go
    size_t end = 0;
};

// A path is that of a key below the root, an empty name that of the unnamed value.
Place look_up(std::string_view store, std::string_view path, std::string_view name);

// False for what is no value.
bool parse_value(std::string_view text, RegistryValue& value);

void append_value_line(std::string_view name, const RegistryValue& value, GrowingText& out);

// The store with a line instead of the one at the place, or added there, below the key's own line,
// which is made when it is missing.
void append_changed(std::string_view store, const Place& place, std::string_view path,
                    std::string_view line, GrowingText& out);

}  // namespace platform
