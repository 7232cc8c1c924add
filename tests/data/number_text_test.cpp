#include "support/called.h"

namespace {

using std::string;

std::string bar_code_written(const Texts& row) {
    char text[] = "###############################";
    const int32_t length = std::stoi(row[1]);
    const int32_t result = uint8ToBarCode(std::stoull(row[0]), text, length);
    EXPECT_EQ(text[length + 1], '#');
    const string error = taken_error();
    EXPECT_EQ(result, error.empty() ? 1 : -1);
    return text + "|"s + error;
}

string key_built(const Texts& row) {
    char key[80];
    memset(key, '#', sizeof key);
    strcpy(key, row[0].c_str());
    EXPECT_EQ(MOLTE_BuildKey(key, text_or_null(row[1]), std::stoi(row[2])), 1) << row[0];
    return key;
}

std::wstring widened(const string& text) {
    return {text.begin(), text.end()};
}

string written(const Texts& row) {
    char text[2][21];
    wchar_t wide[2][21];
    const int64_t value = std::stoll(row[0]);
    const auto bits = static_cast<uint64_t>(value);
    EXPECT_EQ(MOLTE_i64toa(value, text[0]), row[0]);
    EXPECT_EQ(MOLTE_i64tow(value, wide[0]), widened(row[0]));
    EXPECT_EQ(MOLTE_ui64tow(bits, wide[1]), widened(MOLTE_ui64toa(bits, text[1])));
    return text[1];
}

string read(const Texts& row) {
    const int64_t value = MOLTE_atoi64(row[0].c_str());
    const std::wstring wide = widened(row[0]);
    EXPECT_EQ(MOLTE_atoui64(row[0].c_str()), static_cast<uint64_t>(value));
    EXPECT_EQ(MOLTE_wtoi64(wide.c_str()), value);
    EXPECT_EQ(MOLTE_wtoui64(wide.c_str()), static_cast<uint64_t>(value));
    return std::to_string(value);
}

string size_written(const Texts& row) {
    char text[32];
    return MOLTE_DiskSizeToString(std::stoll(row[0]), text, sizeof text);
}

string bytes_written(const Texts& row) {
    char text[] = "##########";
    const int32_t size = std::stoi(row[1]);
    EXPECT_EQ(MOLTE_Bin2String(row[0].data(), static_cast<int32_t>(row[0].size()), text, size),
              text);
    EXPECT_EQ(text[size], '#');
    return text;
}

TEST(NumberText, Rows) {
    check_rows(TEST_ROWS, {{"read bar code", called<BarCodeTo_uint8>},
                           {"write bar code", bar_code_written},
                           {"key", key_built},
                           {"write", written},
                           {"read", read},
                           {"limit", called<MOLTE_LimitData>},
                           {"limit or default", called<MOLTE_LimitDefData>},
                           {"all the same", called<MOLTE_IsAllSameChar>},
                           {"size", size_written},
                           {"bytes", bytes_written}});
    EXPECT_EQ(error_of(uint8ToBarCode(1, nullptr, 4)), "50 oxdatcnv");
    EXPECT_EQ(error_of(MOLTE_i64tow(1, nullptr)), "51 oxdatcnv");
    EXPECT_EQ(MOLTE_ui64tow(1, nullptr), nullptr);
}

TEST(Key, HasBounds) {
    char key[80] = "123456789";
    EXPECT_EQ(MOLTE_BuildKey(key, nullptr, 0), 0);
    // Longer than twice the length.
    EXPECT_EQ(error_of(MOLTE_BuildKey(key, nullptr, 4)), "50 oxdatcnv");
    EXPECT_STREQ(key, "123456789");
}

TEST(Number, TheThreadsBuffer) {
    char* mine = MOLTE_i64toa(-1, nullptr);
    EXPECT_EQ(mine, MOLTE_THDATA_GetBuffer());
    in_thread([] { EXPECT_STREQ(MOLTE_ui64toa(2, nullptr), "2"); }).join();
    EXPECT_STREQ(mine, "-1") << "another thread has its own";
}

TEST(Number, OfBoundedWideTexts) {
    const std::wstring longest = std::wstring(254, L' ') + L"7";
    EXPECT_EQ(MOLTE_wtoi64(longest.c_str()), 7);
    EXPECT_EQ(MOLTE_wtoui64((L" " + longest).c_str()), UINT64_MAX);
    EXPECT_EQ(error_of_this_thread(), "2624 oxstring dest buf size=256 <= src size=257");
    EXPECT_EQ(error_of(MOLTE_atoi64(nullptr)), "50 oxdatcnv");
}

TEST(SizesAndBytes, HaveBounds) {
    char text[8] = "";
    EXPECT_STREQ(MOLTE_DiskSizeToString(1023, text, 5), "1023");
    EXPECT_EQ(error_of(MOLTE_DiskSizeToString(1, text, 0)), "50 oxsysutl");
    EXPECT_EQ(MOLTE_Bin2String("x", 1, nullptr, 5), nullptr);
    EXPECT_EQ(MOLTE_Bin2String("x", 1, text, 0), nullptr);
    EXPECT_EQ(error_of(MOLTE_Bin2String(nullptr, 1, text, 5)), "50 oxsysutl");
    EXPECT_STREQ(MOLTE_Bin2String("abcd", INT32_MAX, text, 8), "616263");
    EXPECT_EQ(MOLTE_min(-1, 1) + MOLTE_max(-3, 2), 1);
    EXPECT_EQ(MOLTE_umin(UINT32_MAX, 1) + MOLTE_umax(UINT32_MAX - 5, 1), UINT32_MAX - 4);
}

TEST(Limits, Flags) {
    for (int32_t flag : {0, 1, 2, -1, INT32_MIN}) {
        const int32_t expected = flag != 0 ? 1 : 0;
        EXPECT_EQ(MOLTE_LimitBool(&flag), expected);
        EXPECT_EQ(flag, expected);
    }
}

}  // namespace
