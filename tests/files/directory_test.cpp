#include <sys/stat.h>

#include "support/rows.h"
#include "support/test.h"

namespace {

template <auto part>
std::string parted(const Texts& row) {
    char dir[64];
    char base[64];
    EXPECT_EQ(part(row[0].c_str(), dir, base), 1);
    return dir + "|"s + base;
}

TEST(Names, FolderBaseNameAndPattern) {
    check_rows(TEST_ROWS, {{"base", parted<ORVEX_FileName2Path>},
                           {"pattern", parted<ORVEX_FileSplitDirName>}});
    EXPECT_EQ(ORVEX_FileName2Path("a", nullptr, nullptr), 1);
    char dir[64];
    char base[64];
    for (const Text none : {Text{}, ""}) EXPECT_EQ(ORVEX_FileSplitDirName(none, dir, base), 0);
    EXPECT_STREQ(dir, "");
    char path[] = "a\\b/c\\";
    EXPECT_EQ(ORVEX_TransPathDelimiter(path, '/'), 1);
    EXPECT_STREQ(path, "a/b/c/");
}

// r, a/s and a/b/t of one, two and three bytes, with links that no walk follows.
class Tree : public testing::Test {
 protected:
    Tree() {
        fs::create_directories(folder_.path() / "a" / "b");
        fs::create_directory(folder_.path() / "empty");
        folder_.write("r", "1");
        folder_.write("a/s", "22");
        folder_.write("a/b/t", "333");
#if !defined(_WIN32)
        fs::create_directory_symlink(folder_.path(), folder_.path() / "a" / "loop");
        fs::create_symlink("nowhere", folder_.path() / "a" / "dangling");
#endif
    }
    TempFolder folder_;
    const std::string root_ = folder_.str();
    const std::string none_ = root_ + "\\none";
};

// What a list function tells of a folder, in order; or its error.
template <typename Item, typename Describe>
Texts listed(int32_t (*list)(const char*, Item**), const std::string& folder, Describe describe) {
    Item* items = nullptr;
    const int32_t count = list(folder.c_str(), &items);
    if (count < 0) return {error_of_this_thread()};
    Texts texts;
    for (int32_t i = 0; i < count; ++i) texts.push_back(describe(items[i]));
    ORVEX_free(items);
    std::sort(texts.begin(), texts.end());
    return texts;
}

std::string name_and_size(const OXFILESTAT& record) {
    if (ORVEX_FileIsDirByMode(&record) != 0) return record.szName + "/"s;
    return record.szName + " "s + std::to_string(record.nSize[7]);
}
Texts short_list(const std::string& folder) {
    return listed(ORVEX_RecurGetFileList, folder,
                  [](const char* name) { return std::string(name); });
}
Texts long_list(const std::string& folder) {
    return listed(ORVEX_RecurGetFileListLong, folder, name_and_size);
}
Texts list_of_one(const std::string& folder) {
    return listed(ORVEX_GetFileListInDir, folder, name_and_size);
}

Texts found(const std::string& pattern) {
    OXFINDDATA data;
    const int64_t handle = ORVEX_FileFindFirst(pattern.c_str(), &data);
    if (handle == -1) return {error_of_this_thread()};
    Texts names;
    do names.emplace_back(ORVEX_FileFindGetName(&data));
    while (ORVEX_FileFindNext(handle, &data) > 0);
    EXPECT_EQ(ORVEX_FileFindClose(handle), 1);
    std::sort(names.begin(), names.end());
    return names;
}

TEST_F(Tree, FindsAFoldersNamesOrThoseOfAPattern) {
    for (const Text all : {"", "\\", "\\*"}) {
        EXPECT_EQ(found(root_ + all), (Texts{".", "..", "a", "empty", "r"}));
    }
    folder_.write("two.dat", "");
    EXPECT_EQ(found(root_ + "\\*.dat"), Texts{"two.dat"});
    EXPECT_EQ(found(root_ + "\\?wo.*"), Texts{"two.dat"});
    EXPECT_EQ(found(none_), Texts{"1 oxdirop " + none_ + "\\*"});
    EXPECT_EQ(found(""), Texts{"27 oxdirop"});
    EXPECT_EQ(found(std::string(5000, 'x')).size(), 1U);
    OXFINDDATA data{};
    EXPECT_EQ(error_number_of(ORVEX_FileFindFirst(nullptr, &data)), 27U);
    EXPECT_EQ(ORVEX_FileFindNext(-1, &data) + ORVEX_FileFindClose(-1), 0);
    OXFILESTAT record;
    std::memset(&record, 0xEE, sizeof record);
    std::memset(data.cFileName, 'n', 259);
    std::strcpy(data.cAlternateFileName, "SHORT~1.TXT");
    EXPECT_EQ(ORVEX_FileFindCopyName(&data, &record), 1);
    EXPECT_EQ(record.szName + ":"s + record.szShortName, std::string(259, 'n') + ":SHORT~1.TXT");
    EXPECT_EQ(error_number_of(ORVEX_FileFindCopyName(nullptr, &record)), 28U);
}

TEST_F(Tree, KindsAndEmptiness) {
    const std::string file = folder_ / "r";
    EXPECT_EQ(ORVEX_NameIsPath(root_.c_str()), 1);
    EXPECT_EQ(ORVEX_NameIsPath(file.c_str()), 0);
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_NameIsPath(none_.c_str())), 23U);
    EXPECT_EQ(ORVEX_IsDirEmpty(none_.c_str()), 1);
    EXPECT_EQ(ORVEX_IsDirEmpty((folder_ / "empty").c_str()), 1);
    EXPECT_EQ(ORVEX_IsDirEmpty(root_.c_str()), 0);
    EXPECT_EQ(error_of_this_thread(), "900 oxdirop " + root_ + " is not empty");
    EXPECT_EQ(error_of(ORVEX_IsDirEmpty(file.c_str())), "402 oxdirop " + file + " is not path");
    const fs::path before = fs::current_path();
    EXPECT_EQ(ORVEX_ChDir(root_.c_str()), 1);
    char here[4096];
    EXPECT_EQ(ORVEX_Getcwd(here, sizeof here), here);
    EXPECT_EQ(fs::weakly_canonical(here), fs::weakly_canonical(folder_.path()));
    EXPECT_EQ(error_number_of(ORVEX_Getcwd(here, 2)), 142U);
    EXPECT_EQ(error_of(ORVEX_ChDir(none_.c_str())), "29 oxdirop " + none_);
    fs::current_path(before);
}

TEST(Delete, ByPrefixSuffixAndLength) {
    const TempFolder folder;
    for (const char* name : {"pre1.TMP", "pre22.tmp", "pre333.tmp", "pre.dat", "xpre.tmp"}) {
        folder.write(name, "");
    }
    fs::create_directory(folder.path() / "sub");
    const tuple<Text, Text, int32_t, int32_t, int32_t, Texts> steps[] = {
        {"pre", ".tmp", 0, 9, 1, {"pre.dat", "pre333.tmp", "sub", "xpre.tmp"}},
        {"none", nullptr, 0, 99, 0, {"pre.dat", "pre333.tmp", "sub", "xpre.tmp"}},
        {nullptr, nullptr, 8, 99, 1, {"pre.dat", "sub"}},
        {"sub", nullptr, 0, 99, 1, {"pre.dat", "sub"}}};
    for (const auto& [prefix, suffix, least, most, result, left] : steps) {
        EXPECT_EQ(ORVEX_DelFileInDir(folder.str().c_str(), prefix, suffix, least, most), result);
        EXPECT_EQ(names_in(folder.path()), left);
    }
    EXPECT_EQ(error_of_this_thread(), "17 oxdirop " + folder.str() + "\\sub");
}

TEST_F(Tree, IsDeletedWithItsLinksButNotWhatTheyLeadTo) {
    const std::string tree = folder_ / "a";
    EXPECT_EQ(ORVEX_DelFileInPathRecur(tree.c_str(), 0), -1);  // a folder can't be unlinked
    EXPECT_TRUE(fs::exists(folder_.path() / "a" / "b" / "t"));
    EXPECT_EQ(ORVEX_DelFileInPathRecur(tree.c_str(), 1), 1);
    EXPECT_EQ(names_in(folder_.path()), (Texts{"empty", "r"}));
    EXPECT_EQ(error_number_of(ORVEX_DelFileInPathRecur(tree.c_str(), 1)), 1U);
    EXPECT_EQ(ORVEX_DelFileInPathRecur("", 1), -1);  // not the root
}

TEST_F(Tree, ListsUnderTheirPeculiarNames) {
    EXPECT_EQ(short_list(root_), (Texts{"a\\b\\t", "a\\s", "r"}));
    EXPECT_EQ(long_list(root_), (Texts{"\\r 1", "a\\\\s 2", "a\\b\\\\t 3"}));
    EXPECT_EQ(list_of_one(root_), (Texts{"a/", "empty/", "r 1"}));
    EXPECT_EQ(short_list(root_ + "\\empty"), Texts{});
    EXPECT_EQ(list_of_one(root_ + "\\empty"), Texts{});
    EXPECT_EQ(short_list(none_), Texts{"1 oxdirop " + none_ + "\\\\*"});
    EXPECT_EQ(long_list(none_), Texts{"1 oxdirop " + none_ + "\\*"});
    OXFILESTAT* list = nullptr;
    EXPECT_EQ(error_number_of(ORVEX_GetFileListInDir(nullptr, &list)), 401U);
    // A name that doesn't fit fails the list of names alone.
    const std::string deep = "a/" + std::string(100, 'd');
    fs::create_directories(folder_.path() / deep);
    folder_.write(deep + "/" + std::string(30, 'n'), "");
    EXPECT_EQ(short_list(root_), Texts{"1001 oxdirop " + std::string(30, 'n')});
    EXPECT_EQ(long_list(root_).size(), 4U);
}

#if !defined(_WIN32)
// What Windows has no names or kinds for.
TEST_F(Tree, StarsInNamesAndSockets) {
    fs::create_directories(folder_.path() / "a" / "s*");
    folder_.write("a/s*/u", "4444");
    const std::string stars = folder_ / "a/s*";
    const std::string socket = folder_ / "a/socket";
    ASSERT_EQ(mknod(socket.c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_EQ(ORVEX_NameIsPath(socket.c_str()), 0);
    EXPECT_EQ(short_list(root_).size(), 5U);
    EXPECT_EQ(list_of_one(stars), Texts{"u 4"});
    EXPECT_EQ(ORVEX_IsDirEmpty(stars.c_str()), 0);
    EXPECT_EQ(ORVEX_DiskUsedInDir(stars.c_str()), 4096);
    EXPECT_EQ(ORVEX_DelFileInPathRecur((folder_ / "a").c_str(), 1), 1);
    EXPECT_EQ(names_in(folder_.path()), (Texts{"empty", "r"}));
}
#endif

TEST(DiskUse, CountsClustersAndFolders) {
    const TempFolder folder;
    const auto used = [&] { return ORVEX_DiskUsedInDir(folder.str().c_str()); };
    EXPECT_EQ(ORVEX_DiskUsedInDir(nullptr) + used(), 0);
    const std::string file = folder.write("f", std::string(4097, 'x'));
    EXPECT_EQ(ORVEX_DiskUsedInDir(file.c_str()), 4097);  // a file alone: its length
    folder.write("g", "");
    fs::create_directories(folder.path() / "d" / "empty");
    EXPECT_EQ(used(), 8192);
    folder.write("d/h", "1");
    EXPECT_EQ(used(), 8192 + 4096 + 4096);
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
    const auto can_hold = [&](Text name, int64_t size) {
        return ORVEX_DISK_CanHoldFile((folder.str() + name).c_str(), size);
    };
    EXPECT_EQ(can_hold("\\f", 1), 1);
    EXPECT_EQ(can_hold("\\f", INT64_MAX), 0);
    EXPECT_TRUE(
        error_of_this_thread().starts_with("202 oxdskinf Need 9223372036854775807 bytes,  Left "));
    EXPECT_EQ(can_hold("\\none\\f", 1), -1);
    total = available = 7;
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_DISK_GetInfoEx((folder / "none").c_str(), &total, &available)),
              10U);
    EXPECT_EQ(total + available, 0);
}

}  // namespace
