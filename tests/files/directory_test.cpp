#include "support/scenes.h"

namespace {

// r, a/s and a/b/t of one, two and three bytes, with links that no walk follows.
class Tree : public InFolder {
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
};

std::string in_order(Texts names) {
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string described(const char* name) {
    return name;
}
std::string described(const OXFILESTAT& record) {
    if (ORVEX_FileIsDirByMode(&record) != 0) return record.szName + "/"s;
    return record.szName + " "s + std::to_string(record.nSize[7]);
}

// What a list function tells of a folder, or its error.
template <typename Item>
std::string listed(int32_t (*list)(const char*, Item**), const char* folder) {
    Item* items = nullptr;
    const int32_t count = list(folder, &items);
    if (count < 0) return outcome(count);
    Texts texts;
    for (int32_t i = 0; i < count; ++i) texts.push_back(described(items[i]));
    ORVEX_free(items);
    return in_order(texts);
}

std::string found(const Texts& step) {
    OXFINDDATA data{};
    const int64_t handle = ORVEX_FileFindFirst(text_or_null(step[1]), &data);
    if (handle == -1) return outcome(handle);
    Texts names;
    do names.emplace_back(ORVEX_FileFindGetName(&data));
    while (ORVEX_FileFindNext(handle, &data) > 0);
    EXPECT_EQ(ORVEX_FileFindClose(handle), 1);
    return in_order(names);
}

[[maybe_unused]] const bool plays = play_scenes<Tree>(
    "Tree", TEST_ROWS,
    {{"path_of", step_of<ORVEX_FileName2Path>},
     {"pattern_of", step_of<ORVEX_FileSplitDirName>},
     {"delimit",
      [](const Texts& step) {
          std::string path = step[1];
          return outcome(ORVEX_TransPathDelimiter(path.data(), step[2][0])) + " > " + path;
      }},
     {"make", step_of<[](Text folder) { return fs::create_directories(folder) ? 1 : 0; }>},
     {"find", found},
     {"names_below", step_of<[](Text name) { return listed(ORVEX_RecurGetFileList, name); }>},
     {"files_below", step_of<[](Text name) { return listed(ORVEX_RecurGetFileListLong, name); }>},
     {"items_in", step_of<[](Text name) { return listed(ORVEX_GetFileListInDir, name); }>},
     {"is_folder", step_of<ORVEX_NameIsPath>},
     {"is_empty", step_of<ORVEX_IsDirEmpty>},
     {"enter", step_of<ORVEX_ChDir>},
     {"delete", step_of<ORVEX_DelFileInDir>},
     {"delete_below", step_of<ORVEX_DelFileInPathRecur>},
     {"used", step_of<ORVEX_DiskUsedInDir>},
     {"has_room", step_of<ORVEX_DISK_CanHoldFile>},
     {"room", step_of<ORVEX_DISK_GetInfoEx>}});

TEST_F(Tree, FindsRecordsOfAnyLength) {
    OXFINDDATA data{};
    EXPECT_EQ(ORVEX_FileFindNext(-1, &data) + ORVEX_FileFindClose(-1), 0);
    OXFILESTAT record;
    std::memset(&record, 0xEE, sizeof record);
    std::memset(data.cFileName, 'n', 259);
    std::strcpy(data.cAlternateFileName, "SHORT~1.TXT");
    EXPECT_EQ(ORVEX_FileFindCopyName(&data, &record), 1);
    EXPECT_EQ(record.szName + ":"s + record.szShortName, std::string(259, 'n') + ":SHORT~1.TXT");
    EXPECT_EQ(error_number_of(ORVEX_FileFindCopyName(nullptr, &record)), 28U);
}

TEST_F(Tree, IsWhereTheProgramIs) {
    EXPECT_EQ(ORVEX_ChDir(folder_.str().c_str()), 1);
    char here[4096];
    EXPECT_EQ(ORVEX_Getcwd(here, sizeof here), here);
    EXPECT_EQ(fs::weakly_canonical(here), fs::weakly_canonical(folder_.path()));
    EXPECT_EQ(error_number_of(ORVEX_Getcwd(here, 2)), 142U);
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
    EXPECT_EQ(listed(ORVEX_RecurGetFileList, folder_.str().c_str()),
              "a\\b\\t, a\\s, a\\s*\\u, a\\socket, r");
    EXPECT_EQ(listed(ORVEX_GetFileListInDir, stars.c_str()), "u 4");
    EXPECT_EQ(ORVEX_IsDirEmpty(stars.c_str()), 0);
    EXPECT_EQ(ORVEX_DiskUsedInDir(stars.c_str()), 4096);
    EXPECT_EQ(ORVEX_DelFileInPathRecur((folder_ / "a").c_str(), 1), 1);
    EXPECT_EQ(names_in(folder_.path()), (Texts{"empty", "r"}));
}
#endif

TEST_F(Tree, LiesOnADiskWithRoom) {
    int64_t total = 0;
    int64_t available = 0;
    EXPECT_GT(ORVEX_DISK_GetInfoEx(folder_.str().c_str(), &total, &available), 0);
    EXPECT_GE(total, available);
    int32_t units = 0;
    EXPECT_EQ(ORVEX_DISK_GetInfo(folder_.str().c_str(), nullptr, &units), units);
    EXPECT_NEAR(static_cast<double>(units), static_cast<double>(available) / 1048576, 1024);
}

}  // namespace
