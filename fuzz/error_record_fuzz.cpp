// An error record as a peer may send it: printed, read back and reported on.
#include "frame.h"

void try_input(std::string_view input) {
    ORVEX_ERRDATA record{};
    std::memcpy(&record, input.data(), std::min(input.size(), sizeof record));
    char text[8192];
    const auto length = static_cast<int32_t>(input.size() % sizeof text) + 1;
    ORVEX_Err_sPrintParam(text, length, &record);
    must(strnlen(text, sizeof text) < static_cast<size_t>(length));
    ORVEX_Err_sPrintSimpleWithOption(text, sizeof text, &record);
    must(MOLTELIB_ErrorLine(&record, text, length) == 1);
    must(std::string_view(text).find_first_of("\x1B\n") == std::string::npos);
    must(MOLTELIB_ErrorLine(&record, text, sizeof text) == 1);
    must(std::strlen(text) < MOLTELIB_ERROR_LINE_SIZE - 1);
    char bytes[144];
    ORVEX_Err_GetErrData(&record, bytes, sizeof bytes);
    ORVEX_SetErrData(&record);
    ORVEX_Err_AddNL(1, "fuzz");
    must(ORVEX_GetErrData()->nHistCount <= 14 || record.nHistCount > 14);
}
