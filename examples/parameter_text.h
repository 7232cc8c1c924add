// A parameter's record and the text that people read and write.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>

#include "moltelib.h"

inline std::string text_of(const MOLTE_PARAMNETITEM& record) {
    const uint8_t* value = record.abyValue;
    switch (record.nType) {
        case 0:
            return std::to_string(static_cast<int32_t>(Char4To_uint4(value)));
        case 1: {
            const auto* bytes = reinterpret_cast<const char*>(value);
            const std::string text(bytes, strnlen(bytes, sizeof record.abyValue));
            return text.substr(0, text.find('\n'));  // one is a time with its line end
        }
        case 3:
            return std::to_string(static_cast<int64_t>(Char8To_uint8(value)));
        default:
            return "(bytes)";
    }
}

// The record says of what kind its value is.
inline void put_text(const char* text, MOLTE_PARAMNETITEM* record) {
    uint8_t* value = record->abyValue;
    std::memset(value, 0, sizeof record->abyValue);
    if (record->nType == 0) {
        uint4ToChar4(static_cast<uint32_t>(std::strtol(text, nullptr, 10)), value);
    } else if (record->nType == 3) {
        uint8ToChar8(static_cast<uint64_t>(std::strtoll(text, nullptr, 10)), value);
    } else {
        ORVEX_strncpy(reinterpret_cast<char*>(value), text, sizeof record->abyValue);
    }
}
