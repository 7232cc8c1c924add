// How names of files are spelled.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "platform/code_page.h"
#include "platform/files.h"
#include "platform/last_error.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

constexpr int kNew = 33538;
constexpr int kRead = 32768;

// Runs in a folder of its own, by relative names, and puts the code page back.
class Paths : public testing::Test {
 protected:
    void SetUp() override { fs::current_path(folder_.path()); }
    void TearDown() override {
        platform::set_locale("C");
        fs::current_path(before_);
    }

    const fs::path before_ = fs::current_path();
    const TempFolder folder_;
};

// A file is made by one spelling, and must be there under the system's own.
template <typename Char>
bool made_as(const Char* spelled, const fs::path& meant) {
    int fd = -1;
    if constexpr (sizeof(Char) == 1) {
        fd = _open(spelled, kNew, 384);
    } else {
        fd = _wopen(spelled, kNew, 384);
    }
    if (fd >= 0) _close(fd);
    std::error_code ignored;
    return fd >= 0 && fs::remove(meant, ignored);
}

TEST_F(Paths, BothDelimitersSeparate) {
    ASSERT_EQ(_mkdir("a"), 0);
    ASSERT_EQ(_mkdir("a\\b"), 0);
    const fs::path meant = fs::path("a") / "b" / "x.txt";
    for (const char* spelled :
         {"a\\b\\x.txt", "a/b/x.txt", "a/b\\x.txt", ".\\a\\b/x.txt", "a\\\\b\\..\\b\\x.txt"}) {
        EXPECT_TRUE(made_as(spelled, meant)) << spelled;
    }
    EXPECT_TRUE(made_as(L"a\\b\\x.txt", meant));
    EXPECT_TRUE(made_as(L"a/b/x.txt", meant));
}

TEST_F(Paths, NullAndEmpty) {
    errno = 0;
    EXPECT_EQ(_open("", kRead), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(_wopen(L"", kRead), -1);
    EXPECT_EQ(errno, ENOENT);
}

#if !defined(_WIN32)

TEST_F(Paths, DoubleByteNamesKeepTheirTrailByte) {
    ASSERT_NE(platform::set_locale("chs"), nullptr);
    ASSERT_EQ(_mkdir("d"), 0);
    const struct {
        const char* spelled;
        const char* meant;
    } rows[] = {
        // 0xC0 0x5C is one character of the code page.
        {"d\\\xC0\x5C.txt", "d/\xC0\x5C.txt"},
        {"d\\\xD6\xD0\xB5\x5C", "d/\xD6\xD0\xB5\x5C"},
        // Valid UTF-8 is taken as such: here the byte before the delimiter is no lead byte.
        {"d\\..\\d\\\xE4\xB8\xAD", "d/\xE4\xB8\xAD"},
        // 0xAD would be one in the code page.
        {"\xE4\xB8\xAD\\x", "\xE4\xB8\xAD/x"},
        // A lead byte at the end stands alone.
        {"d\\x\xC0", "d/x\xC0"},
        // Not UTF-8: too long a form, a surrogate, beyond the last character.
        {"d\\\xC1\x5C", "d/\xC1\x5C"},
        {"d\\\xE0\x80\x80\xE0\x5C", "d/\xE0\x80\x80\xE0\x5C"},
        {"d\\\xED\xA0\x80\x41\xE0\x5C", "d/\xED\xA0\x80\x41\xE0\x5C"},
        {"d\\\xF4\x90\x80\x80\xE0\x5C", "d/\xF4\x90\x80\x80\xE0\x5C"},
    };
    ASSERT_EQ(_mkdir("\xE4\xB8\xAD"), 0);
    for (const auto& row : rows) EXPECT_TRUE(made_as(row.spelled, row.meant)) << row.meant;
    // Without the code page the same bytes are a folder and a name.
    platform::set_locale("us");
    ASSERT_EQ(_mkdir("d\\\xC0"), 0);
    EXPECT_TRUE(made_as("d\\\xC0\x5C.txt", "d/\xC0/.txt"));
}

TEST_F(Paths, WideNamesAreUtf8) {
    EXPECT_TRUE(made_as(L"\u4E2D.txt", "\xE4\xB8\xAD.txt"));
    EXPECT_TRUE(made_as(L"\u00E9\U0001F642", "\xC3\xA9\xF0\x9F\x99\x82"));
    for (const wchar_t bad : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, wchar_t{-1}}) {
        const wchar_t name[] = {L'a', bad, 0};
        EXPECT_EQ(_wopen(name, kNew, 384), -1);
        EXPECT_EQ(errno, EILSEQ);
    }
}

TEST_F(Paths, CaseCountsAndADriveIsAFolder) {
    ASSERT_EQ(_mkdir("C:"), 0);
    EXPECT_TRUE(made_as("C:\\x", "C:/x"));
    folder_.write("name", "");
    EXPECT_EQ(_access("NAME", 0), -1);
    EXPECT_EQ(_access(nullptr, 0), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Paths, TheLongestName) {
    std::string longest = "x";
    while (longest.size() < 4095) longest.insert(0, ".\\");
    const std::wstring wide(longest.begin(), longest.end());
    EXPECT_TRUE(made_as(longest.c_str(), "x"));
    EXPECT_TRUE(made_as(wide.c_str(), "x"));
    const std::string slashes = "/" + std::string(4095, '/');
    for (const std::string& name : {longest + "y", slashes}) {
        EXPECT_EQ(_open(name.c_str(), kNew, 384), -1);
        EXPECT_EQ(errno, ENAMETOOLONG);
        EXPECT_EQ(GetLastError(), ERROR_FILENAME_EXCED_RANGE);
    }
    EXPECT_EQ(_wopen((wide + L"y").c_str(), kNew, 384), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

#endif

}  // namespace
