// Formatting, number text, and the characters of ASCII.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>
#else

// printf into a buffer of size characters. The characters written without the terminator, which is
// written only if there is room for it: a text of exactly size characters fills the buffer and
// gives size. A longer text fills the buffer too and gives -1, and so does one that can't be made
// in the current code page. A null text measures.
//
// Conversions are those of C with the lengths h hh l ll j z t L and I64 I32 I w, and further
// - c and s take characters of the function's own kind, C and S of the other kind; h before them
//   means 8-bit and l or w wide characters, which are converted by the current code page, and then
//   the width and precision of a text count characters;
// - p gives 16 hexadecimal digits, a null text "(null)", and n writes nothing.
int _vsnprintf(char* text, std::size_t size, const char* format, va_list arguments);
int _vsnwprintf(wchar_t* text, std::size_t size, const wchar_t* format, va_list arguments);
__attribute__((format(printf, 3, 4))) int _snprintf(char* text, std::size_t size,
                                                    const char* format, ...);

// The bytes such a text has without its terminator, or -1.
int _vscprintf(const char* format, va_list arguments);

// The number in the base 2 to 36, digits beyond 9 as small letters; text. Room for 65 bytes always
// suffices. Only base 10 knows a sign: in others a negative value is taken as unsigned.
char* _i64toa(int64_t value, char* text, int base);
char* _ui64toa(uint64_t value, char* text, int base);

// Reads white space, a sign and decimal digits, up to the first other byte. 0 without a digit, the
// smallest or largest number for one beyond it.
int64_t _atoi64(const char* text);
#endif

namespace platform {

// Bytes as the "C" locale classes them, whatever locale is in force: 128 and up are no letters,
// no blanks and not printed. By the code page: platform/code_page.h.
constexpr bool is_space(unsigned char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool is_print(unsigned char c) {
    return c >= ' ' && c <= '~';
}
constexpr bool is_digit(unsigned char c) {
    return c >= '0' && c <= '9';
}
constexpr unsigned char to_lower(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 32) : c;
}
constexpr unsigned char to_upper(unsigned char c) {
    return c >= 'a' && c <= 'z' ? static_cast<unsigned char>(c - 32) : c;
}

}  // namespace platform
