// Walking folders.
#include "platform/find.h"

#include "platform/code_page.h"
#include "support/common.h"
#include "support/error_if.h"
#include "support/rows.h"

namespace {

// The names that a pattern finds, in order, and the last error behind the last one.
std::string find_all(const std::string& pattern) {
    std::set<std::string> names;
    WIN32_FIND_DATAA found;
    const HANDLE find = FindFirstFileA(pattern.c_str(), &found);
    BOOL more = find != INVALID_HANDLE_VALUE;
    for (; more != FALSE; more = FindNextFileA(find, &found)) names.insert(found.cFileName);
    const DWORD error = GetLastError();
    EXPECT_EQ(FindClose(find) != FALSE, find != INVALID_HANDLE_VALUE);
    std::string all;
    for (const auto& name : names) all += name + " ";
    return all + std::to_string(error);
}

// In a folder with these files what the patterns of a table find.
void expect_found(const std::string& table, const Texts& files) {
    const TempFolder folder;
    for (const std::string& name : files) folder.write(name, "");
    for (const Texts& row : rows_of(TEST_ROWS, table)) {
        EXPECT_EQ(find_all(folder.str() + "\\" + row[0]), row[1]) << row[0];
    }
}

TEST(Find, Patterns) {
    expect_found("patterns", {"a", "ab", "a.txt", "ab.txt", "a.b.txt", "abc", "a.b", "x.tx"});
    EXPECT_EQ(find_all(""), "3");
}

TEST(Find, StatesOfTheEntries) {
    const TempFolder folder;
    const std::string file = folder.write("file", "12345");
    fs::create_directory(folder.path() / "sub");
    struct __utimbuf64 times = {.actime = 1000000000, .modtime = 1234567890};
    _utime64(file.c_str(), &times);
    _chmod(file.c_str(), _S_IREAD);
    WIN32_FIND_DATAA found;
    FindClose(FindFirstFileA(file.c_str(), &found));
    EXPECT_EQ(found.nFileSizeLow, 5u);
    EXPECT_NE(found.dwFileAttributes & FILE_ATTRIBUTE_READONLY, 0u);
    // 2009-02-13 23:31:30 UTC in 100 ns since 1601.
    EXPECT_EQ(found.ftLastWriteTime.dwHighDateTime, 128790414900000000u >> 32);
    EXPECT_EQ(found.ftLastWriteTime.dwLowDateTime, DWORD(128790414900000000u));
    FindClose(FindFirstFileA((folder / "su?").c_str(), &found));
    EXPECT_NE(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_EQ(found.nFileSizeLow, 0u);
}

#if !defined(_WIN32)

TEST(Find, ClosedAndForeignHandles) {
    WIN32_FIND_DATAA found;
    struct _stat64 status;
    const HANDLE closed = FindFirstFileA("*", &found);
    ASSERT_NE(FindClose(closed), FALSE);
    const HANDLE open = FindFirstFileA("*", &found);
    EXPECT_NE(open, closed);
    for (const HANDLE handle : {closed, INVALID_HANDLE_VALUE, HANDLE{nullptr}, HANDLE{&found}}) {
        EXPECT_EQ(error_if(!FindNextFileA(handle, &found)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(FindClose(handle), FALSE);
        EXPECT_EQ(platform::stat_found(handle, ".", &found, &status), -1);
    }
    EXPECT_NE(FindClose(open), FALSE);
}

TEST(Find, NamesKeepCaseAndCharacters) {
    platform::set_locale("chs");
    expect_found("characters",
                 {"U.g", "u.g", "\xE4\xB8\xAD", "\xD6\xD0", "\xC0\x5C.g", std::string(255, 'n')});
    platform::set_locale("C");
}

TEST(Find, Links) {
    const TempFolder folder;
    fs::create_symlink(folder.path(), folder.path() / "to_folder");
    fs::create_symlink("nowhere", folder.path() / "broken");
    for (const auto first : {FindFirstFileA, platform::find_first_name}) {
        for (const std::string name : {"to_folder", "broken"}) {
            WIN32_FIND_DATAA found;
            FindClose(first((folder / name).c_str(), &found));
            const DWORD kind = name == "to_folder" ? FILE_ATTRIBUTE_DIRECTORY : 0;
            EXPECT_EQ(found.dwFileAttributes, FILE_ATTRIBUTE_REPARSE_POINT | kind) << name;
        }
    }
}

#endif

}  // namespace
