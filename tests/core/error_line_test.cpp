#include "moltelib/error_line.h"

#include "support/rows.h"
#include "support/test.h"

namespace {

// A buffer of just that size, so that a sanitizer sees what passes it.
std::string line_of(const ORVEX_ERRDATA& record, int32_t size = MOLTELIB_ERROR_LINE_SIZE) {
    std::vector<char> text(static_cast<size_t>(size), '#');
    EXPECT_EQ(MOLTELIB_ErrorLine(&record, text.data(), size), 1);
    return text.data();
}

ORVEX_ERRDATA record_of(const std::string& data) {
    ORVEX_Err_Set(3, 0, "m", 7, static_cast<uint8_t>(data.size()), data.data(), 0);
    ORVEX_ERRDATA record = *ORVEX_GetErrData();
    record.stTime = {};
    std::memset(record.szHostName, 0, sizeof record.szHostName + sizeof record.szEnv);
    return record;
}

std::string line_with(const Texts& row) {
    ORVEX_ERRDATA record = record_of("");
    const size_t offset = row[0].empty() ? 0 : std::stoul(row[0]);
    if (offset == 212) record.nHistCount = 1;
    if (offset > 0) row[1].copy(reinterpret_cast<char*>(&record) + offset, row[1].size());
    return line_of(record);
}

std::string line_of_data(const Texts& row) {
    return line_of(record_of(row[0]));
}

TEST(ErrorLine, Rows) {
    char buffer[2] = "#";
    EXPECT_EQ(MOLTELIB_ErrorLine(nullptr, buffer, 2), 0);
    EXPECT_STREQ(buffer, "");
    OXLANG_SetLocale(OXLANG_ENGLISH);
    for (const Texts& row : rows_of(TEST_ROWS, "lines")) EXPECT_EQ(line_with(row), row.back());
    for (const Texts& row : rows_of(TEST_ROWS, "data")) EXPECT_EQ(line_of_data(row), row[1]);
    OXLANG_SetLocale(OXLANG_CHINESE);
    for (const Texts& row : rows_of(TEST_ROWS, "data in Chinese"))
        EXPECT_EQ(line_of_data(row), row[1]);
}

// Every field full, with what grows most; whatever the room, the line is a part of the whole one.
TEST(ErrorLine, StaysInItsRoom) {
    for (const int byte : {0x01, 0x81, 0xFF}) {
        ORVEX_ERRDATA record;
        std::memset(&record, byte, sizeof record);
        OXLANG_SetLocale(OXLANG_CHINESE);
        const std::string whole = line_of(record);
        EXPECT_TRUE(whole.ends_with("\"")) << whole;
        for (int32_t size = 1; size < static_cast<int32_t>(whole.size()) + 1; ++size) {
            const std::string part = line_of(record, size);
            ASSERT_EQ(part, whole.substr(0, std::min(part.size(), static_cast<size_t>(size) - 1)));
        }
    }
}

}  // namespace
