// An error record as a peer may send it: printed, read back and reported on.
#include <cstring>

#include "moltelib.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ORVEX_ERRDATA record{};
    std::memcpy(&record, data, size < sizeof record ? size : sizeof record);
    char text[8192];
    const auto length = static_cast<int32_t>(size % sizeof text) + 1;
    ORVEX_Err_sPrintParam(text, length, &record);
    if (strnlen(text, sizeof text) >= static_cast<size_t>(length)) __builtin_trap();
    ORVEX_Err_sPrintSimpleWithOption(text, sizeof text, &record);
    char bytes[144];
    ORVEX_Err_GetErrData(&record, bytes, sizeof bytes);
    ORVEX_SetErrData(&record);
    ORVEX_Err_AddNL(1, "fuzz");
    if (ORVEX_GetErrData()->nHistCount > 14 && record.nHistCount <= 14) __builtin_trap();
    return 0;
}
