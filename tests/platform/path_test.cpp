// How names of files are spelled where the system has another delimiter.
#if !defined(_WIN32)

#include "platform/code_page.h"
#include "platform/files.h"
#include "platform/last_error.h"
#include "support/rows.h"

namespace {

constexpr int kNew = 33538;

// By relative names; puts the code page back.
class Paths : public InFolder {
 protected:
    void SetUp() override { fs::current_path(folder_.path()); }
    void TearDown() override { platform::set_locale("C"); }
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

TEST_F(Paths, DoubleByteNamesKeepTheirTrailByte) {
    for (const char* folder : {"d/\xC0", "\xE4\xB8\xAD"}) fs::create_directories(folder);
    for (const auto& [locale, rows] : tables_of(TEST_ROWS)) {
        ASSERT_NE(platform::set_locale(locale.c_str()), nullptr);
        for (const Texts& row : rows) EXPECT_TRUE(made_as(row[0].c_str(), row[1])) << row[1];
    }
}

TEST_F(Paths, WideNamesAreUtf8) {
    EXPECT_TRUE(made_as(L".\\\u00E9\u4E2D\U0001F642", "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x99\x82"));
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

}  // namespace

#endif
