#include "support/test.h"

namespace {

using std::string;

TEST(BarCode, Reads) {
    const tuple<Text, uint64_t> rows[] = {{"", 0},
                                          {nullptr, 0},
                                          {"12A4", 12},
                                          {"A12", 0},
                                          {" 12", 0},
                                          {"-5", 0},
                                          {"000123", 123},
                                          {"9999999999999999999", 9999999999999999999U},
                                          {"12345678901234567899", 1234567890123456789},
                                          {"00000000000000000001234", 0}};
    for (const auto& [text, value] : rows) EXPECT_EQ(BarCodeTo_uint8(text), value);
}

TEST(BarCode, Writes) {
    ORVEX_Err_ClearError();
    const tuple<uint64_t, int32_t, Text, Text> rows[] = {
        {123, 4, "0123", ""},
        {0, 4, "0000", ""},
        {UINT64_MAX, 21, "018446744073709551615", ""},
        {123, 3, "000", "36 oxdatcnv bufflen=3 barcodelen=3 bar=123"},
        {0, 1, "0", "36 oxdatcnv bufflen=1 barcodelen=1 bar=0"},
        {7, 0, "", "36 oxdatcnv bufflen=0 barcodelen=1 bar=7"}};
    for (const auto& [value, len, expected, error] : rows) {
        char text[32];
        memset(text, '#', sizeof text);
        EXPECT_EQ(uint8ToBarCode(value, text, len), *error == 0 ? 1 : -1);
        EXPECT_EQ(taken_error(), error);
        EXPECT_STREQ(text, expected);
        EXPECT_EQ(text[len + 1], '#');
    }
    EXPECT_EQ(error_of(uint8ToBarCode(1, nullptr, 4)), "50 oxdatcnv");
}

TEST(Key, Builds) {
    const string digits = "1234567890123456789012345678901";
    const tuple<string, Text, int32_t, string> rows[] = {
        {"123", "A", 8, "A0000123"},
        {"123", nullptr, 8, "00000123"},
        {"", "AB", 4, "AB00"},
        {"123", "ABCDEFGH", 5, "AB123"},
        {"1234", "A", 4, "1234"},
        {"123456", "A", 4, "1200"},
        {"12345678", nullptr, 4, "1234"},
        {"7", "A", -1, "A" + string(29, '0') + "7"},
        {digits, "A", 99, digits},
        {digits + "x", nullptr, 31, "1" + string(30, '0')}};
    for (const auto& [given, prefix, len, result] : rows) {
        char key[80];
        memset(key, '#', sizeof key);
        strcpy(key, given.c_str());
        EXPECT_EQ(MOLTE_BuildKey(key, prefix, len), 1) << given;
        EXPECT_EQ(key, result) << given;
    }
    char key[80] = "123456789";
    EXPECT_EQ(MOLTE_BuildKey(key, nullptr, 0), 0);
    // Longer than twice the length.
    EXPECT_EQ(error_of(MOLTE_BuildKey(key, nullptr, 4)), "50 oxdatcnv");
    EXPECT_STREQ(key, "123456789");
}

TEST(Number, Texts) {
    const tuple<int64_t, Text, Text> rows[] = {
        {0, "0", "0"},
        {INT64_MAX, "9223372036854775807", "9223372036854775807"},
        {INT64_MIN, "-9223372036854775808", "9223372036854775808"},
        {-1, "-1", "18446744073709551615"}};
    for (const auto& [value, expected, as_unsigned] : rows) {
        char text[21];
        wchar_t wide[21];
        const auto bits = static_cast<uint64_t>(value);
        EXPECT_STREQ(MOLTE_i64toa(value, text), expected);
        EXPECT_STREQ(MOLTE_ui64toa(bits, text), as_unsigned);
        EXPECT_EQ(MOLTE_i64tow(value, wide), std::wstring(expected, expected + strlen(expected)));
        EXPECT_EQ(MOLTE_ui64tow(bits, wide),
                  std::wstring(as_unsigned, as_unsigned + strlen(as_unsigned)));
    }
    EXPECT_EQ(error_of(MOLTE_i64tow(1, nullptr)), "51 oxdatcnv");
    EXPECT_EQ(MOLTE_ui64tow(1, nullptr), nullptr);
}

TEST(Number, TheThreadsBuffer) {
    char* mine = MOLTE_i64toa(-1, nullptr);
    EXPECT_EQ(mine, MOLTE_THDATA_GetBuffer());
    std::thread([] {
        EXPECT_STREQ(MOLTE_ui64toa(2, nullptr), "2");
        MOLTE_THDATA_FreeData();
    }).join();
    EXPECT_STREQ(mine, "-1") << "another thread has its own";
}

TEST(Number, Reads) {
    const tuple<Text, const wchar_t*, int64_t> rows[] = {
        {" -12x", L" -12x", -12},
        {"", L"", 0},
        {"18446744073709551615", L"18446744073709551615", INT64_MAX},
        {"-9223372036854775809", L"-9223372036854775809", INT64_MIN}};
    for (const auto& [text, wide, value] : rows) {
        EXPECT_EQ(MOLTE_atoi64(text), value);
        EXPECT_EQ(MOLTE_atoui64(text), static_cast<uint64_t>(value));
        EXPECT_EQ(MOLTE_wtoi64(wide), value);
        EXPECT_EQ(MOLTE_wtoui64(wide), static_cast<uint64_t>(value));
    }
    const std::wstring longest = std::wstring(254, L' ') + L"7";
    EXPECT_EQ(MOLTE_wtoi64(longest.c_str()), 7);
    EXPECT_EQ(MOLTE_wtoui64((L" " + longest).c_str()), UINT64_MAX);
    EXPECT_EQ(error_of_this_thread(), "2624 oxstring dest buf size=256 <= src size=257");
    EXPECT_EQ(error_of(MOLTE_atoi64(nullptr)), "50 oxdatcnv");
}

TEST(Limits, Clamp) {
    const tuple<int32_t, int32_t, int32_t, int32_t, int32_t> rows[] = {
        {1, 5, 0, 1, 3}, {1, 5, 1, 1, 1}, {1, 5, 4, 4, 4},
        {1, 5, 5, 5, 5}, {1, 5, 6, 5, 3}, {5, 1, 7, 1, 3}};
    for (const auto& [min, max, v, clamped, or_three] : rows) {
        EXPECT_EQ(MOLTE_LimitData(min, max, v), clamped) << v;
        EXPECT_EQ(MOLTE_LimitDefData(min, max, v, 3), or_three) << v;
    }
    for (int32_t flag : {0, 1, 2, -1, INT32_MIN}) {
        const int32_t expected = flag != 0 ? 1 : 0;
        EXPECT_EQ(MOLTE_LimitBool(&flag), expected);
        EXPECT_EQ(flag, expected);
    }
    EXPECT_EQ(MOLTE_IsAllSameChar("aab", 3, 'a'), 0);
    EXPECT_EQ(MOLTE_IsAllSameChar("aab", 2, 'a'), 1);
    EXPECT_EQ(MOLTE_IsAllSameChar("\xFF", 1, 0xFF), 1);
    EXPECT_EQ(MOLTE_IsAllSameChar(nullptr, -1, 'a'), 1);
}

}  // namespace
