// Texts of the library are in its code page; the terminal has an encoding of its own.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "moltelib.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#endif

namespace terminal {

// A text in the code page; none when the code page lacks a character of it.
inline std::optional<std::string> from_wide(const std::wstring& wide) {
    char* text = ox_wcstombs(wide.c_str());
    if (text == nullptr) return std::nullopt;
    std::string result(text);
    ORVEX_free(text);
    return result;
}

// The same of UTF-8, also none when it is malformed.
inline std::optional<std::string> from_utf8(const std::string& utf8) {
    char* text = MOLTELIB_CodePageFromUtf8(utf8.c_str(), MOLTELIB_PAGE_PROCESS);
    if (text == nullptr) return std::nullopt;
    std::string result(text);
    ORVEX_free(text);
    return result;
}

#if defined(_WIN32)

// An argument of the program.
inline std::optional<std::string> from_argument(const char* argument) {
    wchar_t wide[1024];
    if (MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, argument, -1, wide, 1024) <= 0) {
        return std::nullopt;
    }
    return from_wide(wide);
}

inline std::string encoded(const wchar_t* text) {
    const UINT page = GetConsoleOutputCP() != 0 ? GetConsoleOutputCP() : CP_UTF8;
    char out[8192];
    const int size = WideCharToMultiByte(page, 0, text, -1, out, sizeof out, nullptr, nullptr);
    return size > 0 ? std::string(out, static_cast<size_t>(size) - 1) : "(not for this terminal)";
}

#else

inline std::optional<std::string> from_argument(const char* argument) {
    return from_utf8(argument);
}

inline std::string utf8(const wchar_t* text) {
    std::string out;
    for (; *text != L'\0'; ++text) {
        char bytes[8];
        const int32_t size = IntToUTF8Char(static_cast<int32_t>(*text), bytes);
        out.append(bytes, size > 0 ? static_cast<size_t>(size) : 0);
    }
    return out;
}

// UTF-8, unless the user's locale names another encoding that has all the characters.
inline std::string encoded(const wchar_t* text) {
    std::setlocale(LC_CTYPE, "");
    const bool named = std::strcmp(nl_langinfo(CODESET), "ANSI_X3.4-1968") != 0;
    char out[8192];
    const size_t size = named ? std::wcstombs(out, text, sizeof out) : static_cast<size_t>(-1);
    std::setlocale(LC_CTYPE, "C");
    return size < sizeof out ? std::string(out, size) : utf8(text);
}

#endif

inline void show(const char* text) {
    wchar_t* wide = ox_mbstowcs(text);
    std::fputs(wide != nullptr ? encoded(wide).c_str() : "(not in the code page)\n", stdout);
    ORVEX_free(wide);
}

// The error record of this thread.
inline void show_error() {
    char text[2048];
    ORVEX_Err_sPrint(text, sizeof text);
    show(text);
}

}  // namespace terminal
