// The table that an installation carries.

#include "pinyin_table.h"

namespace {

const std::string& real_table() {
    static const std::string lines = read_bytes(RESOURCE_FOLDER "/CONF/LANG/HZ/PINYIN.TXT");
    return lines;
}

constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ ";

// The characters of a line, behind its letters.
std::vector<int32_t> codes_in(const std::string& line) {
    std::vector<int32_t> codes;
    for (size_t i = line.find_first_not_of(kLetters); i + 1 < line.size(); i += 2) {
        codes.push_back(static_cast<uint8_t>(line[i]) * 256 + static_cast<uint8_t>(line[i + 1]));
    }
    return codes;
}

TEST(PinyinData, every_reading_of_every_line_is_kept) {
    const PinyinTable table(real_table());
    ASSERT_EQ(table.built(), 1);
    std::istringstream lines(real_table());
    std::set<int32_t> characters;
    for (std::string line; std::getline(lines, line);) {
        const std::string syllable = line.substr(0, line.find_first_not_of(kLetters));
        for (const int32_t code : codes_in(line)) {
            ASSERT_NE((" " + readings_of(code) + " ").find(" " + syllable + " "), std::string::npos)
                << code << " " << syllable;
            characters.insert(code);
        }
    }
    EXPECT_GT(characters.size(), 20900U);
    EXPECT_EQ(readings_of(0xD6D8), "ZHONG CHONG TONG");
}

TEST(PinyinData, common_characters_begin_with_their_common_reading) {
    const PinyinTable table(real_table());
    std::ifstream lines(TEST_DATA "/common_readings.txt", std::ios::binary);
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line[0] == '#') continue;
        const std::string common = line.substr(0, line.find(' '));
        for (const int32_t code : codes_in(line)) {
            const std::string readings = readings_of(code);
            EXPECT_EQ(readings.substr(0, readings.find(' ')), common) << std::hex << code;
            ++count;
        }
    }
    EXPECT_GE(count, 600);
}

}  // namespace
