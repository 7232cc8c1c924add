#include <sys/stat.h>

#include "support/test.h"

namespace {

TEST(Names, FolderBaseNameAndPattern) {
    const tuple<Text, Text, Text> bases[] = {{"c:", "c:", ""},    {"c:\\a", "c:", "a"},
                                             {"c:a", "c:", "a"},  {"a\\b\\c.t", "a\\b", "c.t"},
                                             {"\\a", "", "a"},    {"plain", ".", "plain"},
                                             {"a/b", ".", "a/b"}, {"a\\", "a", ""},
                                             {"", ".", ""}};
    char dir[64];
    char base[64];
    for (const auto& [name, expected_dir, expected_base] : bases) {
        EXPECT_EQ(ORVEX_FileName2Path(name, dir, base), 1);
        EXPECT_STREQ(dir, expected_dir) << name;
        EXPECT_STREQ(base, expected_base) << name;
        EXPECT_EQ(ORVEX_FileName2Path(name, nullptr, nullptr), 1);
    }
    const tuple<Text, Text, Text> patterns[] = {
        {"a\\*.txt", "a", "*.txt"}, {"\\*.txt", "\\", "*.txt"},     {"*.txt", ".", "*.txt"},
        {"a\\b", "a\\b", ""},       {"a\\b\\", "a\\b", ""},         {"a\\b?c", "a", "b?c"},
        {"a*\\b", "a*\\b", ""},     {"a\\b*c\\d?", "a\\b*c", "d?"}, {"plain", "plain", ""}};
    for (const auto& [name, expected_dir, pattern] : patterns) {
        EXPECT_EQ(ORVEX_FileSplitDirName(name, dir, base), 1);
        EXPECT_STREQ(dir, expected_dir) << name;
        EXPECT_STREQ(base, pattern) << name;
    }
    for (const Text none : {Text{}, ""}) EXPECT_EQ(ORVEX_FileSplitDirName(none, dir, base), 0);
    EXPECT_STREQ(dir, "");
    char path[] = "a\\b/c\\";
    EXPECT_EQ(ORVEX_TransPathDelimiter(path, '/'), 1);
    EXPECT_STREQ(path, "a/b/c/");
}

TEST(Find, ADirectoryOrAPattern) {
    const TempFolder folder;
    folder.write("one.txt", "1");
    folder.write("two.dat", "22");
    const auto find = [&](const std::string& name) {
        Texts names;
        OXFINDDATA data;
        const int64_t handle = ORVEX_FileFindFirst(name.c_str(), &data);
        if (handle == -1) return Texts{"error " + error_of_this_thread()};
        do names.emplace_back(ORVEX_FileFindGetName(&data));
        while (ORVEX_FileFindNext(handle, &data) > 0);
        EXPECT_EQ(ORVEX_FileFindClose(handle), 1);
        std::sort(names.begin(), names.end());
        return names;
    };
    const Texts all = {".", "..", "one.txt", "two.dat"};
    EXPECT_EQ(find(folder.str()), all);
    EXPECT_EQ(find(folder.str() + "\\"), all);
    EXPECT_EQ(find(folder.str() + "\\*"), all);
    EXPECT_EQ(find(folder.str() + "\\*.dat"), Texts{"two.dat"});
    EXPECT_EQ(find(folder.str() + "\\?ne.*"), Texts{"one.txt"});
    const std::string none = folder.str() + "\\none";
    EXPECT_EQ(find(none), Texts{"error 1 oxdirop " + none + "\\*"});
    EXPECT_EQ(find(""), Texts{"error 27 oxdirop"});
    const std::string endless(5000, 'x');
    OXFINDDATA data;
    EXPECT_EQ(ORVEX_FileFindFirst(endless.c_str(), &data), -1);
    EXPECT_EQ(error_number_of(ORVEX_FileFindFirst(nullptr, &data)), 27U);
    EXPECT_EQ(ORVEX_FileFindNext(-1, &data), 0);
    EXPECT_EQ(ORVEX_FileFindClose(-1), 0);
}

TEST(Find, CopiesTheNames) {
    OXFINDDATA data{};
    OXFILESTAT record;
    std::memset(&record, 0xEE, sizeof record);
    std::memset(data.cFileName, 'n', 259);
    std::strcpy(data.cAlternateFileName, "SHORT~1.TXT");
    EXPECT_EQ(ORVEX_FileFindCopyName(&data, &record), 1);
    EXPECT_EQ(record.szName + ":"s + record.szShortName, std::string(259, 'n') + ":SHORT~1.TXT");
    EXPECT_EQ(error_number_of(ORVEX_FileFindCopyName(nullptr, &record)), 28U);
}

TEST(Folder, KindsAndEmptiness) {
    const TempFolder folder;
    const std::string file = folder.write("f", "x");
    fs::create_directory(folder.path() / "d");
    EXPECT_EQ(ORVEX_NameIsPath(folder.str().c_str()), 1);
    EXPECT_EQ(ORVEX_NameIsPath(file.c_str()), 0);
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_NameIsPath((folder / "none").c_str())), 23U);
    EXPECT_EQ(ORVEX_IsDirEmpty((folder / "none").c_str()), 1);
    EXPECT_EQ(ORVEX_IsDirEmpty((folder / "d").c_str()), 1);
    EXPECT_EQ(ORVEX_IsDirEmpty(folder.str().c_str()), 0);
    EXPECT_EQ(error_of_this_thread(), "900 oxdirop " + folder.str() + " is not empty");
    EXPECT_EQ(error_of(ORVEX_IsDirEmpty(file.c_str())), "402 oxdirop " + file + " is not path");
    const fs::path before = fs::current_path();
    EXPECT_EQ(ORVEX_ChDir(folder.str().c_str()), 1);
    char here[4096];
    EXPECT_EQ(ORVEX_Getcwd(here, sizeof here), here);
    EXPECT_EQ(fs::weakly_canonical(here), fs::weakly_canonical(folder.path()));
    EXPECT_EQ(error_number_of(ORVEX_Getcwd(here, 2)), 142U);
    EXPECT_EQ(error_of(ORVEX_ChDir((folder / "none").c_str())), "29 oxdirop " + (folder / "none"));
    fs::current_path(before);
}

TEST(Delete, ByPrefixSuffixAndLength) {
    const TempFolder folder;
    for (const char* name : {"pre1.TMP", "pre22.tmp", "pre333.tmp", "pre.dat", "xpre.tmp"}) {
        folder.write(name, "");
    }
    EXPECT_EQ(ORVEX_DelFileInDir(folder.str().c_str(), "pre", ".tmp", 0, 9), 1);
    EXPECT_EQ(names_in(folder.path()), (Texts{"pre.dat", "pre333.tmp", "xpre.tmp"}));
    EXPECT_EQ(ORVEX_DelFileInDir(folder.str().c_str(), "none", nullptr, 0, 99), 0);
    EXPECT_EQ(ORVEX_DelFileInDir(folder.str().c_str(), nullptr, nullptr, 8, 99), 1);
    EXPECT_EQ(names_in(folder.path()), Texts{"pre.dat"});
    fs::create_directory(folder.path() / "sub");
    EXPECT_EQ(ORVEX_DelFileInDir(folder.str().c_str(), "sub", nullptr, 0, 99), 1);
    EXPECT_EQ(error_of_this_thread(), "17 oxdirop " + folder.str() + "\\sub");
    EXPECT_EQ(names_in(folder.path()), (Texts{"pre.dat", "sub"}));
}

TEST(Delete, ATreeWithItsLinksButNotWhatTheyLeadTo) {
    const TempFolder folder;
    const TempFolder outside;
    outside.write("kept", "x");
    fs::create_directories(folder.path() / "t" / "a" / "b");
    folder.write("t/f", "");
    folder.write("t/a/b/g", "");
#if !defined(_WIN32)
    fs::create_directory_symlink(outside.path(), folder.path() / "t" / "a" / "link");
    fs::create_symlink("nowhere", folder.path() / "t" / "dangling");
#endif
    const std::string tree = folder / "t";
    EXPECT_EQ(ORVEX_DelFileInPathRecur(tree.c_str(), 0), -1);  // a folder can't be unlinked
    EXPECT_TRUE(fs::exists(folder.path() / "t" / "a" / "b" / "g"));
    EXPECT_EQ(ORVEX_DelFileInPathRecur(tree.c_str(), 1), 1);
    EXPECT_FALSE(fs::exists(folder.path() / "t"));
    EXPECT_TRUE(fs::exists(outside.path() / "kept"));
    EXPECT_EQ(error_number_of(ORVEX_DelFileInPathRecur(tree.c_str(), 1)), 1U);
    EXPECT_EQ(ORVEX_DelFileInPathRecur("", 1), -1);  // not the root
}

class Tree : public testing::Test {
 protected:
    Tree() {
        fs::create_directories(folder_.path() / "a" / "b");
        fs::create_directories(folder_.path() / "empty");
        folder_.write("r", "1");
        folder_.write("a/s", "22");
        folder_.write("a/b/t", "333");
#if !defined(_WIN32)
        fs::create_directory_symlink(folder_.path(), folder_.path() / "a" / "loop");
        fs::create_symlink("nowhere", folder_.path() / "a" / "dangling");
#endif
    }
    TempFolder folder_;
};

TEST_F(Tree, ListsRelativeNames) {
    char(*list)[128] = nullptr;
    const int32_t count = ORVEX_RecurGetFileList(folder_.str().c_str(), &list);
    ASSERT_EQ(count, 3);
    Texts names(list, list + count);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Texts{"a\\b\\t", "a\\s", "r"}));
    ORVEX_free(list);
    EXPECT_EQ(ORVEX_RecurGetFileList((folder_ / "empty").c_str(), &list), 0);
    const std::string none = folder_ / "none";
    EXPECT_EQ(error_of(ORVEX_RecurGetFileList(none.c_str(), &list)), "1 oxdirop " + none + "\\\\*");
    OXFILESTAT* long_list = nullptr;
    EXPECT_EQ(error_of(ORVEX_RecurGetFileListLong(none.c_str(), &long_list)),
              "1 oxdirop " + none + "\\*");
}

#if !defined(_WIN32)
// What Windows has no names or kinds for.
TEST_F(Tree, StarsInNamesAndSockets) {
    fs::create_directories(folder_.path() / "a" / "s*");
    folder_.write("a/s*/u", "4444");
    ASSERT_EQ(mknod((folder_ / "a/socket").c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_EQ(ORVEX_NameIsPath((folder_ / "a/socket").c_str()), 0);
    char(*list)[128] = nullptr;
    EXPECT_EQ(ORVEX_RecurGetFileList(folder_.str().c_str(), &list), 5);
    ORVEX_free(list);
    OXFILESTAT* long_list = nullptr;
    EXPECT_EQ(ORVEX_GetFileListInDir((folder_ / "a/s*").c_str(), &long_list), 1);
    ORVEX_free(long_list);
    EXPECT_EQ(ORVEX_IsDirEmpty((folder_ / "a/s*").c_str()), 0);
    EXPECT_EQ(ORVEX_DiskUsedInDir((folder_ / "a/s*").c_str()), 4096);
    EXPECT_EQ(ORVEX_DelFileInPathRecur((folder_ / "a").c_str(), 1), 1);
    EXPECT_EQ(names_in(folder_.path()), (Texts{"empty", "r"}));
}
#endif

TEST_F(Tree, ListsStatesUnderTheirPeculiarNames) {
    OXFILESTAT* list = nullptr;
    const int32_t count = ORVEX_RecurGetFileListLong(folder_.str().c_str(), &list);
    ASSERT_EQ(count, 3);
    Texts names;
    for (int32_t i = 0; i < count; ++i) {
        names.push_back(std::string(list[i].szName) + " " + std::to_string(list[i].nSize[7]));
        EXPECT_EQ(ORVEX_FileIsDirByMode(&list[i]), 0);
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Texts{"\\r 1", "a\\\\s 2", "a\\b\\\\t 3"}));
    ORVEX_free(list);
}

TEST_F(Tree, ListsOneFolder) {
    OXFILESTAT* list = nullptr;
    const int32_t count = ORVEX_GetFileListInDir(folder_.str().c_str(), &list);
    ASSERT_EQ(count, 3);
    Texts names;
    for (int32_t i = 0; i < count; ++i) {
        names.push_back(std::string(list[i].szName) +
                        (ORVEX_FileIsDirByMode(&list[i]) != 0 ? "/" : ""));
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Texts{"a/", "empty/", "r"}));
    ORVEX_free(list);
    EXPECT_EQ(ORVEX_GetFileListInDir((folder_ / "empty").c_str(), &list), 0);
    EXPECT_EQ(error_number_of(ORVEX_GetFileListInDir(nullptr, &list)), 401U);
}

TEST_F(Tree, ANameThatDoesNotFitFailsTheList) {
    const std::string deep = "a/" + std::string(100, 'd');
    fs::create_directories(folder_.path() / deep);
    folder_.write(deep + "/" + std::string(30, 'n'), "");
    char(*list)[128] = nullptr;
    EXPECT_EQ(error_of(ORVEX_RecurGetFileList(folder_.str().c_str(), &list)),
              "1001 oxdirop " + std::string(30, 'n'));
    OXFILESTAT* long_list = nullptr;
    EXPECT_EQ(ORVEX_RecurGetFileListLong(folder_.str().c_str(), &long_list), 4);
    ORVEX_free(long_list);
}

TEST(DiskUse, CountsClustersAndFolders) {
    const TempFolder folder;
    EXPECT_EQ(ORVEX_DiskUsedInDir(nullptr), 0);
    EXPECT_EQ(ORVEX_DiskUsedInDir(folder.str().c_str()), 0);
    const std::string file = folder.write("f", std::string(4097, 'x'));
    EXPECT_EQ(ORVEX_DiskUsedInDir(file.c_str()), 4097);  // a file alone: its length
    folder.write("g", "");
    EXPECT_EQ(ORVEX_DiskUsedInDir(folder.str().c_str()), 8192);
    fs::create_directories(folder.path() / "d" / "empty");
    EXPECT_EQ(ORVEX_DiskUsedInDir(folder.str().c_str()), 8192);
    folder.write("d/h", "1");
    EXPECT_EQ(ORVEX_DiskUsedInDir(folder.str().c_str()), 8192 + 4096 + 4096);
    EXPECT_EQ(ORVEX_DiskUsedInDir((folder / "none").c_str()), -1);
}

TEST(Disk, RoomWithAReserve) {
    const TempFolder folder;
    int64_t total = 0;
    int64_t available = 0;
    EXPECT_GT(ORVEX_DISK_GetInfoEx(folder.str().c_str(), &total, &available), 0);
    EXPECT_GE(total, available);
    int32_t units = 0;
    EXPECT_EQ(ORVEX_DISK_GetInfo(folder.str().c_str(), nullptr, &units), units);
    EXPECT_NEAR(static_cast<double>(units), static_cast<double>(available) / 1048576, 1024);
    const std::string file = folder.str() + "\\f";
    EXPECT_EQ(ORVEX_DISK_CanHoldFile(file.c_str(), 1), 1);
    EXPECT_EQ(ORVEX_DISK_CanHoldFile(file.c_str(), INT64_MAX), 0);
    EXPECT_EQ(
        error_of_this_thread().rfind("202 oxdskinf Need 9223372036854775807 bytes,  Left ", 0), 0U);
    total = available = 7;
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_DISK_GetInfoEx((folder / "none").c_str(), &total, &available)),
              10U);
    EXPECT_EQ(total, 0);
    EXPECT_EQ(available, 0);
    EXPECT_EQ(ORVEX_DISK_CanHoldFile((folder.str() + "\\none\\f").c_str(), 1), -1);
}

}  // namespace
