#include "moltelib.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "support/error_of.h"

namespace {

TEST(BarCode, Reads) {
    const struct {
        const char* text;
        uint64_t value;
    } rows[] = {{"", 0},
                {nullptr, 0},
                {"12A4", 12},
                {"A12", 0},
                {" 12", 0},
                {"-5", 0},
                {"000123", 123},
                {"9999999999999999999", 9999999999999999999U},
                {"12345678901234567899", 1234567890123456789},
                {"00000000000000000001234", 0}};
    for (const auto& row : rows) EXPECT_EQ(BarCodeTo_uint8(row.text), row.value);
}

TEST(BarCode, Writes) {
    const struct {
        uint64_t value;
        int32_t len;
        const char* text;
        const char* error;
    } rows[] = {
        {123, 4, "0123", ""},
        {0, 4, "0000", ""},
        {0, 2, "00", ""},
        {UINT64_MAX, 21, "018446744073709551615", ""},
        {123, 3, "000", "36 oxdatcnv bufflen=3 barcodelen=3 bar=123"},
        {123, 2, "00", "36 oxdatcnv bufflen=2 barcodelen=3 bar=123"},
        {0, 1, "0", "36 oxdatcnv bufflen=1 barcodelen=1 bar=0"},
        {7, 0, "", "36 oxdatcnv bufflen=0 barcodelen=1 bar=7"},
    };
    for (const auto& row : rows) {
        char text[32];
        memset(text, '#', sizeof text);
        ORVEX_Err_ClearError();
        EXPECT_EQ(uint8ToBarCode(row.value, text, row.len), row.error[0] == 0 ? 1 : -1);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(text[row.len + 1], '#');
        EXPECT_EQ(GetRvexErrNo() != 0 ? error_of_this_thread() : "", row.error);
    }
    char text[4];
    EXPECT_EQ(uint8ToBarCode(1, nullptr, 4), -1);
    EXPECT_EQ(uint8ToBarCode(1, text, -1), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxdatcnv");
}

TEST(Key, Builds) {
    const std::string digits31 = "1234567890123456789012345678901";
    const struct {
        std::string key;
        const char* prefix;
        int32_t len;
        std::string result;
    } rows[] = {
        {"123", "A", 8, "A0000123"},
        {"123", nullptr, 8, "00000123"},
        {"", "AB", 4, "AB00"},
        {"123", "ABCDEFGH", 5, "AB123"},
        {"1234", "A", 4, "1234"},
        {"123456", nullptr, 4, "1200"},
        {"123456", "A", 4, "1200"},
        {"12345678", nullptr, 4, "1234"},
        {"7", "A", -1, "A" + std::string(29, '0') + "7"},
        {"7", "A", 32, "A" + std::string(29, '0') + "7"},
        {digits31, "A", 99, digits31},
        {digits31 + "x", nullptr, 31, "1" + std::string(30, '0')},
    };
    for (const auto& row : rows) {
        char key[80];
        memset(key, '#', sizeof key);
        strcpy(key, row.key.c_str());
        EXPECT_EQ(MOLTE_BuildKey(key, row.prefix, row.len), 1) << row.key;
        EXPECT_EQ(key, row.result) << row.key;
    }
    char key[80] = "123456789";
    EXPECT_EQ(MOLTE_BuildKey(key, nullptr, 0), 0);
    EXPECT_EQ(MOLTE_BuildKey(key, nullptr, 4), -1) << "longer than twice the length";
    EXPECT_EQ(error_of_this_thread(), "50 oxdatcnv");
    EXPECT_STREQ(key, "123456789");
    EXPECT_EQ(MOLTE_BuildKey(nullptr, nullptr, 4), -1);
}

TEST(Number, Texts) {
    const struct {
        int64_t value;
        const char* text;
        const char* as_unsigned;
        const wchar_t* wide;
        const wchar_t* wide_unsigned;
    } rows[] = {{0, "0", "0", L"0", L"0"},
                {INT64_MAX, "9223372036854775807", "9223372036854775807", L"9223372036854775807",
                 L"9223372036854775807"},
                {INT64_MIN, "-9223372036854775808", "9223372036854775808", L"-9223372036854775808",
                 L"9223372036854775808"},
                {-1, "-1", "18446744073709551615", L"-1", L"18446744073709551615"}};
    for (const auto& row : rows) {
        char text[21];
        wchar_t wide[21];
        const auto bits = static_cast<uint64_t>(row.value);
        EXPECT_EQ(MOLTE_i64toa(row.value, text), text);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(MOLTE_ui64toa(bits, text), text);
        EXPECT_STREQ(text, row.as_unsigned);
        EXPECT_STREQ(MOLTE_i64toa(row.value, nullptr), row.text);
        EXPECT_STREQ(MOLTE_ui64toa(bits, nullptr), row.as_unsigned);
        EXPECT_EQ(MOLTE_i64tow(row.value, wide), wide);
        EXPECT_STREQ(wide, row.wide);
        EXPECT_EQ(MOLTE_ui64tow(bits, wide), wide);
        EXPECT_STREQ(wide, row.wide_unsigned);
    }
}

TEST(Number, TheThreadsBuffer) {
    EXPECT_EQ(MOLTE_i64toa(1, nullptr), MOLTE_THDATA_GetBuffer());
    char* mine = MOLTE_i64toa(1, nullptr);
    std::thread([] {
        EXPECT_STREQ(MOLTE_ui64toa(2, nullptr), "2");
        MOLTE_THDATA_FreeData();
    }).join();
    EXPECT_STREQ(mine, "1") << "another thread has its own";
    EXPECT_EQ(MOLTE_i64tow(1, nullptr), nullptr);
    EXPECT_EQ(error_of_this_thread(), "51 oxdatcnv");
    EXPECT_EQ(MOLTE_ui64tow(1, nullptr), nullptr);
}

TEST(Number, Reads) {
    const struct {
        const char* text;
        const wchar_t* wide;
        int64_t value;
    } rows[] = {{" -12x", L" -12x", -12},
                {"", L"", 0},
                {"18446744073709551615", L"18446744073709551615", INT64_MAX},
                {"-9223372036854775809", L"-9223372036854775809", INT64_MIN}};
    for (const auto& row : rows) {
        EXPECT_EQ(MOLTE_atoi64(row.text), row.value);
        EXPECT_EQ(MOLTE_atoui64(row.text), static_cast<uint64_t>(row.value));
        EXPECT_EQ(MOLTE_wtoi64(row.wide), row.value);
        EXPECT_EQ(MOLTE_wtoui64(row.wide), static_cast<uint64_t>(row.value));
    }
    const std::wstring longest = std::wstring(254, L' ') + L"7";
    EXPECT_EQ(MOLTE_wtoi64(longest.c_str()), 7);
    EXPECT_EQ(MOLTE_wtoi64((L" " + longest).c_str()), -1);
    EXPECT_EQ(error_of_this_thread(), "2624 oxstring dest buf size=256 <= src size=257");
    const wchar_t outside[] = {L'1', 0x4E00, 0};
    EXPECT_EQ(MOLTE_wtoui64(outside), UINT64_MAX);
    EXPECT_EQ(MOLTE_atoi64(nullptr), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxdatcnv");
    EXPECT_EQ(MOLTE_wtoi64(nullptr), -1);
}

TEST(Limits, Clamp) {
    const struct {
        int32_t min;
        int32_t max;
        int32_t v;
        int32_t clamped;
        int32_t or_three;
    } rows[] = {{1, 5, 0, 1, 3}, {1, 5, 1, 1, 1}, {1, 5, 4, 4, 4},
                {1, 5, 5, 5, 5}, {1, 5, 6, 5, 3}, {5, 1, 7, 1, 3}};
    for (const auto& row : rows) {
        EXPECT_EQ(MOLTE_LimitData(row.min, row.max, row.v), row.clamped) << row.v;
        EXPECT_EQ(MOLTE_LimitDefData(row.min, row.max, row.v, 3), row.or_three) << row.v;
    }
    for (const int32_t v : {0, 1, 2, -1, INT32_MIN}) {
        int32_t flag = v;
        EXPECT_EQ(MOLTE_LimitBool(&flag), v != 0 ? 1 : 0);
        EXPECT_EQ(flag, v != 0 ? 1 : 0);
    }
    EXPECT_EQ(MOLTE_LimitBool(nullptr), -1);
    EXPECT_EQ(MOLTE_IsAllSameChar("aaa", 3, 'a'), 1);
    EXPECT_EQ(MOLTE_IsAllSameChar("aab", 3, 'a'), 0);
    EXPECT_EQ(MOLTE_IsAllSameChar("aab", 2, 'a'), 1);
    EXPECT_EQ(MOLTE_IsAllSameChar("\xFF", 1, 0xFF), 1);
    EXPECT_EQ(MOLTE_IsAllSameChar(nullptr, 0, 'a'), 1);
    EXPECT_EQ(MOLTE_IsAllSameChar(nullptr, -1, 'a'), 1);
}

}  // namespace
