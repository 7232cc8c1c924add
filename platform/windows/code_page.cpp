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

// By a code page of the system, 0 for bytes 1:1.
template <typename IsLead>
int decode_by(UINT page, IsLead is_lead, wchar_t* wide, const char* text, std::size_t limit) {
    if (text == nullptr || limit == 0) return 0;
    const auto byte = static_cast<unsigned char>(text[0]);
    wchar_t character[2] = {byte, 0};
    int length = 1;
    if (byte != 0 && page != 0) {
        length = is_lead(byte) ? 2 : 1;
        const bool cut = length == 2 && (limit < 2 || text[1] == 0);
        if (cut || MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, text, length, character, 2) != 1)
            return bad_character();
    }
    if (wide != nullptr) *wide = character[0];
    return byte == 0 ? 0 : length;
}

int encode_by(UINT page, char* bytes, wchar_t wide) {
    if (page == 0) {
        if (wide > 0xFF) return bad_character();
        *bytes = static_cast<char>(wide);
        return 1;
    }
    char encoded[8];
    BOOL replaced = FALSE;
    const int length = WideCharToMultiByte(page, WC_NO_BEST_FIT_CHARS, &wide, 1, encoded,
                                           sizeof encoded, nullptr, &replaced);
    if (length < 1 || length > 2 || replaced != FALSE) return bad_character();
    memcpy(bytes, encoded, static_cast<std::size_t>(length));
    return length;
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
    return decode_by(code_page(), is_lead_byte, wide, text, limit);
}

int wide_to_char(char* bytes, wchar_t wide) {
    return encode_by(code_page(), bytes, wide);
}

bool find_page(unsigned number, FixedPage& page) {
    if (number == 0) {
        page = {has_code_page() ? code_page() : kBytePage, nullptr};
        return true;
    }
    const bool known = number == kBytePage ||
                       ((number == 936 || number == 1252) && IsValidCodePage(number) != FALSE);
    if (known) page = {number, nullptr};
    if (!known) errno = EINVAL;
    return known;
}

int decode(const FixedPage& page, char32_t& character, const char* text, std::size_t limit) {
    wchar_t wide = 0;
    const UINT number = page.number != kBytePage ? page.number : 0;
    const auto is_lead = [number](unsigned char byte) {
        return IsDBCSLeadByteEx(number, byte) != FALSE;
    };
    const int length = decode_by(number, is_lead, &wide, text, limit);
    if (length > 0) character = wide;
    return length;
}

// These pages hold nothing beyond the first plane.
int encode(const FixedPage& page, char* bytes, char32_t character) {
    if (character > 0xFFFF) return bad_character();
    return encode_by(page.number != kBytePage ? page.number : 0, bytes,
                     static_cast<wchar_t>(character));
}

}  // namespace platform
