// Walking folders.
#include "platform/find.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "platform/code_page.h"
#include "platform/last_error.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

// The names that a pattern finds; the last error behind the last one.
Names find_all(const std::string& pattern, DWORD* error = nullptr) {
    Names names;
    WIN32_FIND_DATAA found;
    SetLastError(0);
    const HANDLE find = FindFirstFileA(pattern.c_str(), &found);
    BOOL more = find != INVALID_HANDLE_VALUE;
    for (; more != FALSE; more = FindNextFileA(find, &found)) {
        EXPECT_TRUE(names.insert(found.cFileName).second) << found.cFileName;
    }
    if (error != nullptr) *error = GetLastError();
    EXPECT_EQ(FindClose(find) != FALSE, find != INVALID_HANDLE_VALUE);
    return names;
}

TEST(Find, Patterns) {
    const TempFolder folder;
    const Names all = {"a", "ab", "a.txt", "ab.txt", "a.b.txt", "abc", "a.b", "x.tx", "noext"};
    for (const auto& name : all) folder.write(name, "");
    Names everything = all;
    everything.insert({".", ".."});
    const struct {
        const char* pattern;
        Names names;
    } rows[] = {
        {"*", everything},
        {"*.*", everything},
        {"?*", everything},
        {"*.txt", {"a.txt", "ab.txt", "a.b.txt"}},
        {"a?", {"ab"}},
        {"a??", {"a.b", "abc"}},
        {"a?.txt", {"ab.txt"}},
        {"a.*", {"a", "a.txt", "a.b", "a.b.txt"}},
        {"a*.*", {"a", "ab", "a.txt", "ab.txt", "a.b.txt", "abc", "a.b"}},
        {"*.*.txt", {"a.b.txt"}},
        {"*b*t", {"a.b.txt", "ab.txt"}},
        {"**b", {"ab", "a.b"}},
        {"*.t?", {"x.tx"}},
        {"noext.*", {"noext"}},
        {"noext?", {}},
        {"abc", {"abc"}},
        {"none", {}},
    };
    for (const auto& row : rows) {
        DWORD error = 0;
        EXPECT_EQ(find_all(folder / row.pattern, &error), row.names) << row.pattern;
        EXPECT_EQ(error, row.names.empty() ? ERROR_FILE_NOT_FOUND : ERROR_NO_MORE_FILES)
            << row.pattern;
    }
}

TEST(Find, WhereThereIsNothing) {
    const TempFolder folder;
    const std::string file = folder.write("file", "");
    const struct {
        std::string pattern;
        DWORD error;
    } rows[] = {{"", ERROR_PATH_NOT_FOUND},
                {folder / "none\\*", ERROR_PATH_NOT_FOUND},
                {folder / "none\\none", ERROR_PATH_NOT_FOUND},
                {folder.str() + "\\", ERROR_FILE_NOT_FOUND}};
    for (const auto& row : rows) {
        DWORD error = 0;
        EXPECT_TRUE(find_all(row.pattern, &error).empty()) << row.pattern;
        EXPECT_EQ(error, row.error) << row.pattern;
    }
    EXPECT_TRUE(find_all(file + "\\*").empty());
    EXPECT_EQ(find_all(folder / "*"), (Names{".", "..", "file"}));
    EXPECT_EQ(find_all(folder.str() + "/*"), (Names{".", "..", "file"}));
}

TEST(Find, TellsStateAndSize) {
    const TempFolder folder;
    folder.write("file", "12345");
    struct __utimbuf64 times = {.actime = 1000000000, .modtime = 1234567890};
    ASSERT_EQ(_utime64((folder / "file").c_str(), &times), 0);
    ASSERT_EQ(_chmod((folder / "file").c_str(), _S_IREAD), 0);
    ASSERT_EQ(_mkdir((folder / "sub").c_str()), 0);
    WIN32_FIND_DATAA found;
    HANDLE find = FindFirstFileA((folder / "f*").c_str(), &found);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found.nFileSizeLow, 5u);
    EXPECT_EQ(found.nFileSizeHigh, 0u);
    EXPECT_EQ(found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY),
              FILE_ATTRIBUTE_READONLY);
    // 2009-02-13 23:31:30 UTC in 100 ns since 1601.
    EXPECT_EQ(
        uint64_t{found.ftLastWriteTime.dwHighDateTime} << 32 | found.ftLastWriteTime.dwLowDateTime,
        128790414900000000u);
    EXPECT_STREQ(found.cAlternateFileName, "");
    FindClose(find);
    find = FindFirstFileA((folder / "sub").c_str(), &found);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    EXPECT_NE(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
    FindClose(find);
}

TEST(Find, NamesWithStatesOnDemand) {
    const TempFolder folder;
    folder.write("file", "12345");
    ASSERT_EQ(_mkdir((folder / "sub").c_str()), 0);
    WIN32_FIND_DATAA found;
    const HANDLE find = platform::find_first_name((folder / "*").c_str(), &found);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    Names names;
    do {
        const std::string name = found.cFileName;
        names.insert(name);
        struct _stat64 status = {};
        EXPECT_EQ(platform::stat_found(find, folder.str().c_str(), &found, &status), 0);
        const bool is_folder = name != "file";
        EXPECT_EQ((status.st_mode & _S_IFDIR) != 0, is_folder) << name;
        EXPECT_EQ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0, is_folder) << name;
        EXPECT_TRUE(is_folder || status.st_size == 5);
    } while (FindNextFileA(find, &found) != FALSE);
    EXPECT_EQ(names, (Names{".", "..", "file", "sub"}));
    EXPECT_NE(FindClose(find), FALSE);
}

TEST(Find, RoomOnADisk) {
    const TempFolder folder;
    ULARGE_INTEGER available = {};
    ULARGE_INTEGER total = {};
    ASSERT_NE(GetDiskFreeSpaceExA(folder.str().c_str(), &available, &total, nullptr), FALSE);
    std::error_code error;
    EXPECT_EQ(total.QuadPart, fs::space(folder.path(), error).capacity);
    EXPECT_GT(available.QuadPart, 0u);
    EXPECT_LE(available.QuadPart, total.QuadPart);
    EXPECT_NE(GetDiskFreeSpaceExA(nullptr, nullptr, nullptr, nullptr), FALSE);
    EXPECT_EQ(GetDiskFreeSpaceExA((folder / "none").c_str(), &available, nullptr, nullptr), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    const std::string file = folder.write("f", "");
    EXPECT_EQ(GetDiskFreeSpaceExA(file.c_str(), &available, nullptr, nullptr), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_DIRECTORY);
}

#if !defined(_WIN32)

TEST(Find, ClosedAndForeignHandles) {
    const TempFolder folder;
    WIN32_FIND_DATAA found;
    struct _stat64 status;
    const HANDLE closed = FindFirstFileA((folder / "*").c_str(), &found);
    ASSERT_NE(closed, INVALID_HANDLE_VALUE);
    ASSERT_NE(FindClose(closed), FALSE);
    const HANDLE open = FindFirstFileA((folder / "*").c_str(), &found);
    EXPECT_NE(open, closed);
    for (const HANDLE handle : {closed, INVALID_HANDLE_VALUE, HANDLE{nullptr},
                                reinterpret_cast<HANDLE>(uintptr_t{0x1234})}) {
        EXPECT_EQ(FindNextFileA(handle, &found), FALSE);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(FindClose(handle), FALSE);
        EXPECT_EQ(platform::stat_found(handle, ".", &found, &status), -1);
        EXPECT_EQ(errno, EBADF);
    }
    EXPECT_NE(FindNextFileA(open, &found), FALSE);
    EXPECT_NE(FindClose(open), FALSE);
}

TEST(Find, NamesKeepCaseAndCharacters) {
    const TempFolder folder;
    for (const char* name : {"Upper.TXT", "upper.txt", "\xE4\xB8\xAD.dat", "\xD6\xD0.dat"}) {
        folder.write(name, "");
    }
    platform::set_locale("chs");
    EXPECT_EQ(find_all(folder / "U*.TXT"), (Names{"Upper.TXT"}));
    EXPECT_EQ(find_all(folder / "UPPER.TXT"), Names{});
    EXPECT_EQ(find_all(folder / "?.dat"), (Names{"\xE4\xB8\xAD.dat", "\xD6\xD0.dat"}));
    EXPECT_EQ(find_all(folder / "??.dat"), Names{});
    // The trail byte of the first is no delimiter, and the second half of a character no start.
    folder.write("\xC0\x5C.g", "");
    EXPECT_EQ(find_all(folder.str() + "\\\xC0\x5C.?"), (Names{"\xC0\x5C.g"}));
    EXPECT_EQ(find_all(folder / "*\xD0.dat"), Names{});
    platform::set_locale("C");
}

TEST(Find, Links) {
    const TempFolder folder;
    const TempFolder other;
    other.write("inside", "123");
    fs::create_symlink(other.path(), folder.path() / "to_folder");
    fs::create_symlink(other.path() / "inside", folder.path() / "to_file");
    fs::create_symlink("nowhere", folder.path() / "broken");
    const struct {
        const char* name;
        DWORD attributes;
        int status;
    } rows[] = {{"to_folder", FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY, 0},
                {"to_file", FILE_ATTRIBUTE_REPARSE_POINT, 0},
                {"broken", FILE_ATTRIBUTE_REPARSE_POINT, -1}};
    for (const auto& row : rows) {
        for (const auto first : {FindFirstFileA, platform::find_first_name}) {
            WIN32_FIND_DATAA found;
            const HANDLE find = first((folder / row.name).c_str(), &found);
            ASSERT_NE(find, INVALID_HANDLE_VALUE) << row.name;
            EXPECT_EQ(found.dwFileAttributes, row.attributes) << row.name;
            struct _stat64 status;
            EXPECT_EQ(platform::stat_found(find, ".", &found, &status), row.status) << row.name;
            FindClose(find);
        }
    }
}

TEST(Find, LongPatternsAndNames) {
    const TempFolder folder;
    const std::string longest(255, 'n');
    folder.write(longest, "");
    EXPECT_EQ(find_all(folder / "n*"), (Names{longest}));
    EXPECT_EQ(find_all(folder / longest), (Names{longest}));
    DWORD error = 0;
    EXPECT_TRUE(find_all(folder / std::string(260, '*'), &error).empty());
    EXPECT_EQ(error, ERROR_INVALID_NAME);
    EXPECT_TRUE(find_all(std::string(5000, 'x'), &error).empty());
    // Many stars are tried in turn, not in all combinations.
    std::string stars;
    for (int i = 0; i < 100; ++i) stars += "*n";
    EXPECT_TRUE(find_all(folder / (stars + "*x")).empty());
    EXPECT_TRUE(find_all("\\*").contains("tmp"));
}

#endif

}  // namespace
