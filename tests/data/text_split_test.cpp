#include "support/rows.h"
#include "support/test.h"

namespace {

constexpr int32_t kUntouched = -77;

// The arguments; every one must lie in the block that the first one starts.
Texts arguments_of(const std::string& line) {
    int32_t count = kUntouched;
    char** arguments = OXSTR_CmdStr2Arg(line.c_str(), &count);
    Texts texts;
    if (arguments == nullptr) {
        EXPECT_EQ(count, kUntouched);
        return texts;
    }
    const char* next = arguments[0];
    for (int32_t i = 0; i < count; ++i) {
        EXPECT_EQ(arguments[i], next);
        texts.emplace_back(arguments[i]);
        next = arguments[i] + texts.back().size() + 1;
    }
    ORVEX_free(arguments[0]);
    ORVEX_free(arguments);
    return texts;
}

Texts items_of(const char* text, const char* delim) {
    int32_t count = kUntouched;
    char** items = ox_strsplit(text, delim, &count);
    EXPECT_EQ(items == nullptr, count == 0);
    Texts texts;
    for (int32_t i = 0; i < count; ++i) {
        texts.emplace_back(items[i]);
        ORVEX_free(items[i]);
    }
    ORVEX_free(items);
    return texts;
}

std::string joined(const Texts& texts) {
    std::string all;
    for (const std::string& text : texts) all += "<" + text + ">";
    return all;
}

TEST(Split, Rules) {
    check_rows(TEST_ROWS,
               {{"arguments", [](const Texts& row) { return joined(arguments_of(row[0])); }},
                {"items", [](const Texts& row) {
                     return joined(items_of(text_or_null(row[0]), row[1].c_str()));
                 }}});
    int32_t count = kUntouched;
    EXPECT_EQ(error_of(OXSTR_CmdStr2Arg(nullptr, &count)), "50 oxstring");
    count = kUntouched;
    EXPECT_EQ(ox_strsplit("a", nullptr, &count), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(error_of_this_thread(), "50 oxstring");
}

TEST(Split, ListsGrow) {
    std::string text;
    Texts expected;
    for (int i = 0; i < 100; ++i) {
        expected.push_back(std::to_string(i));
        text.append(expected.back()).append(" ");
    }
    EXPECT_EQ(items_of(text.c_str(), " "), expected);
    EXPECT_EQ(arguments_of(text), expected);
}

}  // namespace
