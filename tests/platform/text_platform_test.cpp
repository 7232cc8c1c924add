#include "platform/text.h"

#include <cwchar>
#include <iterator>

#include "platform/code_page.h"
#include "support/common.h"

namespace {

int format(char* text, size_t size, const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    const int result = _vsnprintf(text, size, pattern, arguments);
    va_end(arguments);
    return result;
}

int format(wchar_t* text, size_t size, const wchar_t* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    const int result = _vsnwprintf(text, size, pattern, arguments);
    va_end(arguments);
    return result;
}

int measure(const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    const int result = _vscprintf(pattern, arguments);
    va_end(arguments);
    return result;
}

// The text, or "-1".
template <typename... Arguments>
std::string made(const char* pattern, Arguments... arguments) {
    char text[256];
    if (format(text, sizeof text, pattern, arguments...) < 0) return "-1";
    EXPECT_EQ(measure(pattern, arguments...), static_cast<int>(strlen(text)));
    return text;
}

template <typename... Arguments>
std::wstring made(const wchar_t* pattern, Arguments... arguments) {
    wchar_t text[256];
    return format(text, 256, pattern, arguments...) < 0 ? L"-1" : text;
}

TEST(Format, Conversions) {
    EXPECT_EQ(made("%hd|%I64d %I64x %I32d %Iu", 70000, int64_t{-5}, int64_t{255}, 3, size_t{4}),
              "4464|-5 ff 3 4");
    EXPECT_EQ(
        made("%lld %llu %zu %jd %td", INT64_MIN, UINT64_MAX, size_t{5}, intmax_t{-6}, ptrdiff_t{7}),
        "-9223372036854775808 18446744073709551615 5 -6 7");
    EXPECT_EQ(made("%*d|%-*d|%*d|%.*s|%.*d", 5, 3, 4, 3, -4, 2, 2, "abc", -1, 5),
              "    3|3   |2   |ab|5");
    EXPECT_EQ(made("[%s|%5s|%-5s|%.2s|%c|%3c]", "ab", "ab", "ab", "abc", 'x', 'y'),
              "[ab|   ab|ab   |ab|x|  y]");
    EXPECT_EQ(made("%s|100%%", static_cast<const char*>(nullptr)), "(null)|100%");
    EXPECT_EQ(made("%p", reinterpret_cast<void*>(0x12AB)), "00000000000012AB");
    EXPECT_EQ(made("%.150f", 0.5), "0.5" + std::string(149, '0'));
    EXPECT_EQ(measure("%2000d", 1), 2000);
}

#if !defined(_WIN32)  // where the formatter is the system's own

// A conversion in any dress.
std::string any_pattern(std::mt19937_64& random, const char* length, const char* letters) {
    std::string pattern = "<%";
    for (const char flag : {'-', '+', ' ', '0', '#'}) {
        if (random() % 4 == 0) pattern += flag;
    }
    if (random() % 2 == 0) pattern += std::to_string(1 + random() % 30);
    if (random() % 3 == 0) pattern.append(".").append(std::to_string(random() % 25));
    pattern.append(length).append(1, letters[random() % strlen(letters)]).append(">");
    return pattern;
}

template <typename T>
void expect_as_library(const std::string& pattern, T value) {
    char expected[512];
    char text[512];
    snprintf(expected, sizeof expected, pattern.c_str(), value);
    ASSERT_GE(format(text, sizeof text, pattern.c_str(), value), 0);
    EXPECT_STREQ(text, expected) << pattern;
}

TEST(Format, AgreesWithTheLibrary) {
    std::mt19937_64 random(1);
    const double special[] = {
        0.0,    -0.0,     0.5,       1e22, 999999.5, 1e-5, 1.7976931348623157e308,
        5e-324, INFINITY, -INFINITY, NAN};
    for (int round = 0; round < 20000; ++round) {
        const auto bits = static_cast<int64_t>(random()) >> (random() % 64);
        expect_as_library(any_pattern(random, "", "duxXo"), static_cast<int>(bits));
        expect_as_library(any_pattern(random, "hh", "duxXo"), static_cast<int>(bits));
        expect_as_library(any_pattern(random, "ll", "duxXo"), bits);
        double value = special[random() % std::size(special)];
        if (round % 3 == 1) value = static_cast<double>(random() % 2000000) / 1000 - 1000;
        if (round % 3 == 2) memcpy(&value, &bits, sizeof value);
        expect_as_library(any_pattern(random, "", "fFeEgGaA"), value);
    }
}

#endif

TEST(Format, WideAndNarrowMeet) {
    EXPECT_EQ(made(L"%s|%hs|%ls|%S|%c|%C|%5.1f", L"w", "n", L"l", "N", L'c', 'C', 1.5),
              L"w|n|l|N|c|C|  1.5");
    EXPECT_EQ(
        made("%S|%ls|%ws|%hs|%lc|%C|%4ls|%.1ls", L"w", L"l", L"v", "n", L'x', L'y', L"ab", L"ab"),
        "w|l|v|n|x|y|  ab|a");
    const wchar_t han[] = {L'a', 0x4E00, 0};
    EXPECT_EQ(made("[%ls]", han), "-1");
    if (platform::set_locale("chs") == nullptr) GTEST_SKIP() << "no such locale";
    EXPECT_EQ(made("[%ls]", han), "[a\xD2\xBB]");
    EXPECT_EQ(made("[%.1ls|%.2ls|%4ls]", han, han, han), "[a|a\xD2\xBB|  a\xD2\xBB]");
    EXPECT_EQ(made("[%C]", 0x4E00), "[\xD2\xBB]");
    EXPECT_EQ(made(L"[%hs]", "a\xD2\xBB"), std::wstring(L"[") + han + L"]");
    platform::set_locale("C");
}

TEST(Bytes, CompareWithoutCase) {
    const tuple<const char*, const char*, size_t, int> rows[] = {
        {"aBc", "AbC", 9, 0},   {"a", "B", 9, -1},    {"abc", "AB", 9, 1}, {"[", "A", 9, -1},
        {"\xE9", "\xC9", 9, 1}, {"abX", "ABy", 2, 0}, {"a", "b", 0, 0}};
    for (const auto& [a, b, size, order] : rows) {
        const int result = platform::compare_no_case(a, b, size);
        EXPECT_EQ((result > 0) - (result < 0), order) << a << b;
    }
}

}  // namespace
