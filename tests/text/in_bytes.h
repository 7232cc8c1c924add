// Rows of texts in the code page of another language.
#pragma once

#include "support/rows.h"
#include "support/test.h"

// Where double-byte characters aren't known.
template <std::string (*told)(const Texts& row)>
std::string in_bytes(const Texts& row) {
    OXLANG_SetLocale(OXLANG_ENGLISH);
    const std::string text = told(row);
    OXLANG_SetLocale(OXLANG_CHINESE);
    return text;
}
