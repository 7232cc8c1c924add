#include "platform/system.h"

#include "support/common.h"

namespace {

CHILD_ROLE(tell_command_line) {
    tell_parent(GetCommandLineA());
    return 0;
}

TEST(System, CommandLineQuotesWhatNeedsIt) {
#if defined(_WIN32)
    ChildProcess child("tell_command_line", {"plain", "two words"});
    const std::string expected = R"( --child-role tell_command_line "plain" "two words")";
#else
    ChildProcess child("tell_command_line", {"", "a\"b", "c\\d", "e f\\", "g\\\"h", "tab\tx"});
    const std::string expected =
        R"( --child-role tell_command_line "" "a\"b" c\d "e f\\" "g\\\"h" "tab	x")";
#endif
    const std::string line = child.read_line();
    EXPECT_TRUE(line.ends_with(expected)) << line;
}

#if !defined(_WIN32)
TEST(System, LanguageComesFromTheEnvironment) {
    unsetenv("LC_MESSAGES");
    const tuple<const char*, const char*, LANGID> rows[] = {
        {"", "zh_CN.UTF-8", 2052}, {"", "es_ES@euro", 3082}, {"", "zhx_CN", 1033}, {"", "", 1033},
        {"zh_TW", "de_DE", 1028},  {"POSIX", "zh_CN", 1033}};
    for (const auto& [all, lang, id] : rows) {
        setenv("LC_ALL", all, 1);
        setenv("LANG", lang, 1);
        EXPECT_EQ(GetUserDefaultLangID(), id) << all << '/' << lang;
        EXPECT_EQ(GetUserDefaultLCID(), LCID{id});
    }
}
#endif

}  // namespace
