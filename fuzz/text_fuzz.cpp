// Text from outside: command lines, delimited lists, UTF-8 and the compact dates.
#include "frame.h"

namespace {

void split_command(const std::string& text) {
    int32_t count = 0;
    char** words = OXSTR_CmdStr2Arg(text.c_str(), &count);
    if (words == nullptr) return;
    for (int32_t i = 0; i < count; ++i) must(words[i][0] != '\0');  // no word is empty
    ORVEX_free(words[0]);
    ORVEX_free(words);
}

void split_list(const std::string& text) {
    int32_t count = 0;
    char** items = ox_strsplit(text.c_str(), ",", &count);
    for (int32_t i = 0; i < count; ++i) ORVEX_free(items[i]);
    ORVEX_free(items);
}

void decode(const std::string& text) {
    for (const char* at = text.c_str(); *at != '\0';) {
        int32_t length = 1;
        UTF8CharToInt(at, &length);
        at += std::min<size_t>(static_cast<size_t>(length), std::strlen(at));
    }
}

// What is converted comes back as it was.
void convert(const std::string& text) {
    for (const uint32_t page : {936U, 1252U, 65001U}) {
        char* const utf8 = MOLTELIB_Utf8FromCodePage(text.c_str(), page);
        if (utf8 == nullptr) continue;
        char* const back = MOLTELIB_CodePageFromUtf8(utf8, page);
        must(back != nullptr && std::strcmp(back, text.c_str()) == 0);
        ORVEX_free(back);
        ORVEX_free(utf8);
    }
}

}  // namespace

void try_input(std::string_view input) {
    const std::string text(input);
    split_command(text);
    split_list(text);
    decode(text);
    convert(text);
    ORVEXDATETIME moment;
    if (ORVEX_DateTime_DispFmt2DBFmt(text.c_str(), &moment) > 0) {
        char printed[32];
        ORVEX_DateTimeToStr(&moment, printed);
        RVEXDateTime_IsValid(&moment);
        ORVEX_Date_GetYearDay(&moment.stDate);
    }
}
