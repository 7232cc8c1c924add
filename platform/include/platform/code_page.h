// 8-bit text: the process's current code page.
//
// There is one current code page for the whole process. At start it is that of the "C" locale: each
// byte is a character of the same number, and no byte is a lead byte. set_locale chooses another:
//
//     name         code page
//     "C"          none, bytes 1:1
//     "chs"        936, simplified Chinese: one byte below 0x81, else two
//     "us", "esp"  1252, Latin: one byte each
//
// A system may know more names. A character that a code page lacks is an error, never replaced by
// a similar one, and whatever is decoded encodes to the same bytes. The functions need no installed
// locale, leave the C library's own locale alone where it isn't the same thing, and may be called
// from any thread; a thread that reads while another sets sees the old page or the new one.
#pragma once

#include <cstddef>

#include "platform/text.h"

#if defined(_WIN32)
#include <ctype.h>
#else
#include <atomic>

// Non-zero when the low byte of c is the first of a double-byte character.
int isleadbyte(int c);
#endif

namespace platform {

// Chooses the code page by name; a null name only asks. The locale now in force, as the system
// spells it, or null when the name is not known or its tables can't be made: then nothing changed.
const char* set_locale(const char* name);

// False in the "C" locale.
bool has_code_page();

// Asked for each character of a text.
#if defined(_WIN32)
inline bool is_lead_byte(unsigned char byte) {
    return isleadbyte(byte) != 0;
}
#else
extern std::atomic<unsigned> lead_byte_count;  // from kFirstLeadByte on; 0 in a code page without
constexpr unsigned kFirstLeadByte = 0x81;
inline bool is_lead_byte(unsigned char byte) {
    return byte - kFirstLeadByte < lead_byte_count.load(std::memory_order_relaxed);
}
#endif

// What a byte alone is, and its capital and small letter: itself if it has none. A lead byte is no
// character, and so nothing of all that. (isalpha, isspace, isprint, toupper, tolower)
bool is_letter(unsigned char byte);
bool is_white_beyond_ascii(unsigned char byte);
bool is_printed_beyond_ascii(unsigned char byte);
unsigned char capital_beyond_ascii(unsigned char byte);
unsigned char small_beyond_ascii(unsigned char byte);

inline bool is_white(unsigned char byte) {
    return byte < 0x80 ? is_space(byte) : is_white_beyond_ascii(byte);
}
inline bool is_printed(unsigned char byte) {
    return byte < 0x80 ? is_print(byte) : is_printed_beyond_ascii(byte);
}
inline unsigned char capital_of(unsigned char byte) {
    return byte < 0x80 ? to_upper(byte) : capital_beyond_ascii(byte);
}
inline unsigned char small_of(unsigned char byte) {
    return byte < 0x80 ? to_lower(byte) : small_beyond_ascii(byte);
}

// Compares byte by byte without regard to case, at most so many bytes: below 0, 0 or above 0.
// (_stricmp, _strnicmp)
int compare_no_case(const char* a, const char* b);
int compare_no_case(const char* a, const char* b, std::size_t limit);

// Bytes of the longest character: 1 or 2. (MB_CUR_MAX)
int longest_char();

// Decodes the character at text, of which at most limit bytes are looked at. Its bytes, 1 or 2; 0
// for the terminator, a null text or a limit of 0; -1 with errno EILSEQ when it is cut short or not
// in the code page. wide may be null. (mbtowc)
int char_to_wide(wchar_t* wide, const char* text, std::size_t limit);

// Encodes one character into bytes, room for 2. Its bytes, or -1 with errno EILSEQ. (wctomb)
int wide_to_char(char* bytes, wchar_t wide);

// The bytes of the character at text, as char_to_wide gives them. (mblen)
int char_length(const char* text, std::size_t limit);

// One code page for a whole text, whatever becomes of the current one meanwhile.
struct FixedPage {
    unsigned number;
    const void* tables;  // the system's own
};
constexpr unsigned kBytePage = 28591;  // that of the "C" locale

// The code page of a number: kBytePage, 936 or 1252; the current one for 0. False with errno when
// it isn't known, or its tables can't be made.
bool find_page(unsigned number, FixedPage& page);

// char_to_wide and wide_to_char in that page, for any character of Unicode.
int decode(const FixedPage& page, char32_t& character, const char* text, std::size_t limit);
int encode(const FixedPage& page, char* bytes, char32_t character);

constexpr std::size_t kBadText = static_cast<std::size_t>(-1);

// Converts a terminated text. With a null destination they measure: the units needed without the
// terminator. Else they write at most room units, the terminator when it fits, never a part of a
// character, and give the units written without the terminator. kBadText with errno EILSEQ at a
// character that can't be converted; in the "C" locale measuring wide text doesn't test it.
std::size_t multibyte_to_wide(wchar_t* wide, const char* text, std::size_t room);
std::size_t wide_to_multibyte(char* text, const wchar_t* wide, std::size_t room);

// The first place of part in text that begins at a whole character, or null; text itself for an
// empty part. (_mbsstr, by the code page of is_lead_byte)
const char* find_text(const char* text, const char* part);

}  // namespace platform
