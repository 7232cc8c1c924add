#include "support/rows.h"
#include "support/test.h"

namespace {

std::string decoded(const Texts& row) {
    const Text bytes = text_or_null(row[0]);
    int32_t length = 77;
    const int32_t value = UTF8CharToInt(bytes, &length);
    EXPECT_EQ(UTF8CharToInt(bytes, nullptr), value);
    EXPECT_EQ(UTF8CharByteLen(bytes), value < 0 ? -1 : length);
    return std::to_string(length) + " " + std::to_string(value);
}

std::string encoded(const Texts& row) {
    char out[] = "########";
    const int32_t length = IntToUTF8Char(std::stoi(row[0]), out);
    if (length < 0) return out;
    const std::string bytes(out, static_cast<size_t>(length));
    EXPECT_EQ(std::string(out, 9), bytes + std::string(9 - bytes.size(), 0)) << row[0];
    return bytes;
}

TEST(Utf8, Rows) {
    check_rows(TEST_ROWS, {{"decode", decoded}, {"encode", encoded}});
}

}  // namespace
