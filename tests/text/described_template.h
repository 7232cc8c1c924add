// What a compiled pattern is made of, for the tests and for the fuzz target.
#pragma once

#include <string>

#include "moltelib.h"

// In the words of wild_template.txt; "!" where its fields contradict each other.
inline std::string described_template(const MOLTE_WMTEMPL& templ) {
    std::string all;
    for (int32_t i = 0; i < templ.nSubStr; ++i) {
        const MOLTE_WMSUBSTR& piece = templ.pSubStr[i];
        if (piece.nType < 1 || piece.nType > 3) return "!";
        all += " *.r"[piece.nType];
        if ((piece.pChar != nullptr) != (piece.nType == 3)) all += '!';
        for (int32_t k = 0; k < piece.nChar; ++k) {
            const MOLTE_WMCHAR& element = piece.pChar[k];
            if (element.nType < 1 || element.nType > 3 || element.nLen < 0) return "!";
            const bool has_text = element.nType != MOLTE_WMCHAR_ANY && element.nLen > 0;
            if ((element.pText != nullptr) != has_text) all += '!';
            all += std::string("(") + " ?[a"[element.nType] + (element.bNegate == 1 ? "^" : "") +
                   (element.bMB == 1 ? "m" : "") + std::to_string(element.nLen) + ":";
            if (has_text) all.append(element.pText, static_cast<size_t>(element.nLen));
            if (has_text && element.pText[element.nLen] != '\0') all += '!';
            all += ')';
        }
    }
    return all;
}
