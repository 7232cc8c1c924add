// Error numbers and records in words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "output.h"
#include "tool.h"

namespace tool {

struct ErrorText {
    uint32_t number;
    const char* text[3];  // by Language
};

// All, by number; null for a number that has none.
const std::vector<ErrorText>& error_texts();
const ErrorText* error_text(uint32_t number);
std::string error_text(uint32_t number, Language language);  // "Unknown" as the library says
std::vector<std::string> modules_of(uint32_t number);        // that raise it

// A record, which may be anybody's: nothing outside its fields is read.
Json object_of(const ORVEX_ERRDATA& record, Language language);
std::string words_of(const ORVEX_ERRDATA& record, Language language);  // lines, each with its end
std::string line_of(const ORVEX_ERRDATA& record);
// As far as a person needs it who sees the failure happen.
std::string short_words_of(const ORVEX_ERRDATA& record, Language language);

}  // namespace tool
