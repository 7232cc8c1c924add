// The calling thread's error record as one line: "number module data".
#pragma once

#include <cstring>
#include <string>

#include "moltelib.h"

inline std::string error_of_this_thread() {
    const ORVEX_ERRDATA* record = ORVEX_GetErrData();
    char data[144];
    const int length = record->nDataLen;
    ORVEX_Err_GetErrData(ORVEX_GetErrData(), data, sizeof data);
    std::string text = std::to_string(GetRvexErrNo()) + " ";
    text.append(record->szFile, strnlen(record->szFile, sizeof record->szFile));
    if (length > 0) text.append(" ").append(data, static_cast<size_t>(length));
    return text;
}

// Its history as "line module, line module".
inline std::string history_of_this_thread() {
    const ORVEX_ERRDATA* record = ORVEX_GetErrData();
    std::string text;
    for (int i = 0; i < record->nHistCount; ++i) {
        const ORVEX_ERRHIST& entry = record->astHist[i];
        if (i > 0) text += ", ";
        text += std::to_string(entry.nLine[0] << 8 | entry.nLine[1]) + " " + entry.szFile;
    }
    return text;
}

// The source line of the failure itself.
inline int error_line_of_this_thread() {
    const ORVEX_ERRDATA* record = ORVEX_GetErrData();
    return record->nLine[0] << 8 | record->nLine[1];
}
