// Walking folders.
#include "platform/find.h"

#include "platform/code_page.h"
#include "support/common.h"
#include "support/error_if.h"

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

TEST(Find, Patterns) {
    const TempFolder folder;
    for (const char* name : {"a", "ab", "a.txt", "ab.txt", "a.b.txt", "abc", "a.b", "x.tx"}) {
        folder.write(name, "");
    }
    const char* all = ". .. a a.b a.b.txt a.txt ab ab.txt abc x.tx 18";
    const char* const rows[][2] = {{"*", all},
                                   {"*.*", all},
                                   {"?*", all},
                                   {"a??", "a.b abc 18"},
                                   {"a?.txt", "ab.txt 18"},
                                   {"a.*", "a a.b a.b.txt a.txt 18"},
                                   {"*.*.txt", "a.b.txt 18"},
                                   {"**b", "a.b ab 18"},
                                   {"abc", "abc 18"},
                                   {"none", "2"},
                                   {"none\\*", "3"}};
    for (const auto& [pattern, found] : rows) {
        EXPECT_EQ(find_all(folder.str() + "\\" + pattern), found) << pattern;
    }
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
    for (const auto first : {FindFirstFileA, platform::find_first_name}) {
        const HANDLE find = first((folder / "*").c_str(), &found);
        do {
            const bool is_file = std::string(found.cFileName) == "file";
            struct _stat64 status = {};
            EXPECT_EQ(platform::stat_found(find, folder.str().c_str(), &found, &status), 0);
            EXPECT_EQ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0, is_file);
            EXPECT_EQ((status.st_mode & _S_IFDIR) == 0, is_file);
            EXPECT_EQ(status.st_size, is_file ? 5 : 0);
            if (first == FindFirstFileA) {
                EXPECT_EQ(found.nFileSizeLow, status.st_size);
            }
        } while (FindNextFileA(find, &found) != FALSE);
        FindClose(find);
    }
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
    const TempFolder folder;
    const std::string longest(255, 'n');
    for (const std::string name : {"U.g", "u.g", "\xE4\xB8\xAD", "\xD6\xD0", "\xC0\x5C.g"}) {
        folder.write(name, "");
    }
    folder.write(longest, "");
    std::string stars;
    for (int i = 0; i < 100; ++i) stars += "*n";
    platform::set_locale("chs");
    const std::string rows[][2] = {
        {"U*.g", "U.g 18"},
        {"?", ". \xD6\xD0 \xE4\xB8\xAD 18"},
        {"\xC0\x5C.?", "\xC0\x5C.g 18"},  // the trail byte is no delimiter
        {"*\xD0", "2"},                   // nor is it the start of a character
        {"n*", longest + " 18"},
        {stars + "*x", "2"},  // tried in turn, not in all combinations
        {std::string(260, '*'), "123"},
    };
    for (const auto& [pattern, found] : rows) {
        EXPECT_EQ(find_all(folder.str() + "\\" + pattern), found) << pattern;
    }
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
