// The run-time's own conversions take a similar character where one is missing, and its search goes
// by another code page than the locale's, so these are made of the system's calls.
#include "platform/code_page.h"

#include <cctype>
#include <cerrno>
#include <cstring>

#include <windows.h>
#include <clocale>
#include <cstdlib>

namespace {

// The code page of the locale; 0 in the "C" locale.
UINT code_page() {
    return ___lc_codepage_func();
}

int bad_character() {
    errno = EILSEQ;
    return -1;
}

}  // namespace

namespace platform {

const char* set_locale(const char* name) {
    return setlocale(LC_ALL, name);
}

bool has_code_page() {
    return code_page() != 0;
}

// The run-time may answer anything for a lead byte.

bool is_letter(unsigned char byte) {
    return !is_lead_byte(byte) && isalpha(byte) != 0;
}

bool is_white_beyond_ascii(unsigned char byte) {
    return !is_lead_byte(byte) && isspace(byte) != 0;
}

bool is_printed_beyond_ascii(unsigned char byte) {
    return !is_lead_byte(byte) && isprint(byte) != 0;
}

unsigned char capital_beyond_ascii(unsigned char byte) {
    return is_lead_byte(byte) ? byte : static_cast<unsigned char>(toupper(byte));
}

unsigned char small_beyond_ascii(unsigned char byte) {
    return is_lead_byte(byte) ? byte : static_cast<unsigned char>(tolower(byte));
}

int longest_char() {
    return MB_CUR_MAX;
}

int char_to_wide(wchar_t* wide, const char* text, std::size_t limit) {
    if (text == nullptr || limit == 0) return 0;
    const auto byte = static_cast<unsigned char>(text[0]);
    wchar_t character[2] = {byte, 0};
    int length = 1;
    if (byte != 0 && has_code_page()) {
        length = is_lead_byte(byte) ? 2 : 1;
        const bool cut = length == 2 && (limit < 2 || text[1] == 0);
        if (cut || MultiByteToWideChar(code_page(), MB_ERR_INVALID_CHARS, text, length, character,
                                       2) != 1) {
            return bad_character();
        }
    }
    if (wide != nullptr) *wide = character[0];
    return byte == 0 ? 0 : length;
}

int wide_to_char(char* bytes, wchar_t wide) {
    if (!has_code_page()) {
        if (wide > 0xFF) return bad_character();
        *bytes = static_cast<char>(wide);
        return 1;
    }
    char encoded[8];
    BOOL replaced = FALSE;
    const int length = WideCharToMultiByte(code_page(), WC_NO_BEST_FIT_CHARS, &wide, 1, encoded,
                                           sizeof encoded, nullptr, &replaced);
    if (length < 1 || length > 2 || replaced != FALSE) return bad_character();
    memcpy(bytes, encoded, static_cast<std::size_t>(length));
    return length;
}

}  // namespace platform
