// How names of files are spelled.

#include "platform/code_page.h"
#include "platform/files.h"
#include "platform/last_error.h"
#include "support/common.h"

namespace {

constexpr int kNew = 33538;

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

int create(const char* name) {
    return _open(name, kNew, 384);
}
int create(const wchar_t* name) {
    return _wopen(name, kNew, 384);
}

// A file is made by one spelling, and must be there under the system's own.
template <typename Char>
bool made_as(const Char* spelled, const fs::path& meant) {
    const int fd = create(spelled);
    std::error_code ignored;
    return fd >= 0 && _close(fd) == 0 && fs::remove(meant, ignored);
}

TEST_F(Paths, BothDelimitersSeparate) {
    fs::create_directories("a/b");
    for (const char* name : {"a\\b\\x", "a/b/x", "a/b\\x", "a\\\\b\\..\\b\\x"}) {
        EXPECT_TRUE(made_as(name, "a/b/x")) << name;
    }
    EXPECT_TRUE(made_as(L"a\\b/x", "a/b/x"));
}

#if !defined(_WIN32)

TEST_F(Paths, DoubleByteNamesKeepTheirTrailByte) {
    ASSERT_NE(platform::set_locale("chs"), nullptr);
    fs::create_directories("d/\xC0");
    fs::create_directory("\xE4\xB8\xAD");
    const char* const rows[][2] = {
        // 0xC0 0x5C is one character of the code page.
        {"d\\\xC0\x5C.txt", "d/\xC0\x5C.txt"},
        // Valid UTF-8 is taken as such, though 0xAD 0x5C would be a character of the code page.
        {"\xE4\xB8\xAD\\x", "\xE4\xB8\xAD/x"},
        // A lead byte at the end stands alone.
        {"d\\x\xC0", "d/x\xC0"},
        // Not UTF-8: too long a form, a surrogate, beyond the last character.
        {"d\\\xE0\x80\x80\xE0\x5C", "d/\xE0\x80\x80\xE0\x5C"},
        {"d\\\xED\xA0\x80\x41\xE0\x5C", "d/\xED\xA0\x80\x41\xE0\x5C"},
        {"d\\\xF4\x90\x80\x80\xE0\x5C", "d/\xF4\x90\x80\x80\xE0\x5C"},
    };
    for (const auto& row : rows) EXPECT_TRUE(made_as(row[0], row[1])) << row[1];
    // In another code page the same bytes are a folder and a name.
    platform::set_locale("us");
    EXPECT_TRUE(made_as("d\\\xC0\x5C.txt", "d/\xC0/.txt"));
}

TEST_F(Paths, WideNamesAreUtf8) {
    EXPECT_TRUE(made_as(L"\u00E9\u4E2D\U0001F642", "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x99\x82"));
    for (const wchar_t bad :
         {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, static_cast<wchar_t>(-1)}) {
        const wchar_t name[] = {L'a', bad, 0};
        EXPECT_EQ(create(name), -1);
        EXPECT_EQ(errno, EILSEQ);
    }
}

TEST_F(Paths, ADriveIsAFolderAndCaseCounts) {
    fs::create_directory("C:");
    EXPECT_TRUE(made_as("C:\\x", "C:/x"));
    EXPECT_EQ(_access("c:\\", 0), -1);
    EXPECT_EQ(_access(nullptr, 0), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Paths, TheLongestName) {
    std::string longest = "x";
    while (longest.size() < 4095) longest.insert(0, ".\\");
    const std::wstring wide(longest.begin(), longest.end());
    EXPECT_TRUE(made_as(longest.c_str(), "x"));
    EXPECT_TRUE(made_as(wide.c_str(), "x"));
    for (const int fd : {create((longest + "y").c_str()), create((wide + L"y").c_str())}) {
        EXPECT_EQ(fd, -1);
        EXPECT_EQ(errno, ENAMETOOLONG);
        EXPECT_EQ(GetLastError(), ERROR_FILENAME_EXCED_RANGE);
    }
}

#endif

}  // namespace
