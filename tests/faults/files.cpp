#include <cstring>

#include "excuses.h"

namespace {

constexpr char kOld[] = "the old bytes";
constexpr char kNew[] = "new and longer bytes";
constexpr char kLines[] = "one\r\ntwo\r\n";
constexpr int32_t kNewSize = sizeof kNew - 1;
constexpr int32_t kOwner = 384;

template <typename Byte>
bool holds(const Byte* bytes, int64_t size, std::string_view text) {
    return size == static_cast<int64_t>(text.size()) &&
           std::memcmp(bytes, text.data(), text.size()) == 0;
}

}  // namespace

FAMILY(file) {
    const std::string a = given("a", "A");
    const std::string b = given("b", "B");
    const std::string made = in_folder("made");
    const std::string sized = given("sized", "123456");
    const std::string lock_path = in_folder("lock");
    std::string deep = in_folder("x/y/z");
    char name[300];
    int32_t lock = -1;
    GIVES(ORVEX_DirCreateRecur(deep.data(), 0), ORVEX_NameIsPath(deep.c_str()) == 1);
    GIVES(ORVEX_FileExclCreate(made.c_str(), kNew, kNewSize, kOwner), bytes_of("made") == kNew);
    GIVES(ORVEX_FileChangeSizeByFN(sized.c_str(), 10000),
          bytes_of("sized") == "123456" + std::string(9994, '\0'));
    GIVES(ORVEX_FileExchangeName(a.c_str(), b.c_str()), bytes_of("a") == "B");
    GIVES(ORVEX_TempFileName(deep.c_str(), name, "pre"), std::strstr(name, "pre") != nullptr);
    GIVES(lock = ORVEX_LockFile(lock_path.c_str()), ORVEX_FileLen(lock) == 0);
    ORVEX_FileCloseByChmod(lock);
}
AFTER(file) {
    const std::string made = bytes_of("made");
    RIGHT(made == "(none)" || std::string_view(kNew).starts_with(made));
    RIGHT(bytes_of("sized").starts_with("123456"));
    const std::string both = bytes_of("a") + bytes_of("b");
    RIGHT_OR(kExchangedInSteps, both == "AB" || both == "BA");
    RIGHT(ORVEX_LockFile(in_folder("lock").c_str()) >= 0);
}

FAMILY(file_handle) {
    const std::string path = given("data", kOld);
    const std::string update = given("update", "12345");
    ORVEX_HFILE* file = nullptr;
    uint8_t* bytes = nullptr;
    int64_t size = 0;
    char text[8];
    char copy[300];
    std::strcpy(copy, in_folder("copy").c_str());
    if (DID(file = ORVEX_HFILE_Open(path.c_str(), 0))) {
        GIVES(ORVEX_HFILE_ChangeSize(file, 20000), bytes_of("data").size() == 20000);
        // A short count is a failure.
        GIVES(ORVEX_HFILE_ReadS(file, text, 4, 3) - 3, holds(text, 3, "old"));
        GIVES(ORVEX_HFILE_Move(file, 100, 4, 3, 0, nullptr, 0),
              bytes_of("data").substr(100, 3) == "old");
        GIVES(ORVEX_HFILE_Commit(file), bytes_of("data").starts_with(kOld));
    }
    ORVEX_HFILE_Close(&file);
    GIVES(ORVEX_HFILE_AddUpdate(update.c_str(), "xyz", 4, 3), bytes_of("update") == "1234xyz");
    GIVES(size = ORVEX_HFILE_Load(path.c_str(), &bytes, 4, 3), holds(bytes, size, "old"));
    ORVEX_free(bytes);
    if (DID(ORVEX_HFILE_DupFile(update.c_str(), copy))) {
        RIGHT_OR(kCopyMayFail, bytes_of("copy") == bytes_of("update"));
    }
}
AFTER(file_handle) {
    RIGHT(bytes_of("data").starts_with(kOld) && bytes_of("update").starts_with("1234"));
}

FAMILY(whole_file) {
    const std::string path = given("data", kOld);
    const std::string lines = given("lines", kLines);
    const std::string range = given("range", "0123456789");
    const std::string source = given("source", kNew);
    const std::string copy = given("copy", kOld);
    const std::string other = given("other", kOld);
    const std::string mirror = given("mirror", kOld);
    uint8_t* bytes = nullptr;
    char* text = nullptr;
    char part[16];
    int32_t size = 0;
    int64_t time = 0;
    GIVES(ORVEX_LoadBinDataFile(path.c_str(), &bytes, &size), holds(bytes, size, kOld));
    GIVES(ORVEX_LoadTextDataFile(lines.c_str(), &text, &size), holds(text, size, "one\ntwo\n"));
    ORVEX_free(bytes);
    ORVEX_free(text);
    GIVES(ORVEX_SaveBinDataToFile(path.c_str(), kNew, kNewSize), bytes_of("data") == kNew);
    if (DID(ORVEX_SaveTextDataToFile(lines.c_str(), kNew, kNewSize))) {
        RIGHT_OR(kSavedTextUnchecked, bytes_of("lines") == kNew);
    }
    GIVES(ORVEX_WriteBinDataToFile(range.c_str(), 3, "xyz", 3), bytes_of("range") == "012xyz6789");
    GIVES(ORVEX_ReadBinDataFile(range.c_str(), 6, part, 3), holds(part, 3, "678"));
    GIVES(ORVEX_FileCopy(source.c_str(), copy.c_str(), 0), bytes_of("copy") == kNew);
    GIVES(ORVEX_FileCopyWithBuf(source.c_str(), other.c_str(), 0, part, sizeof part),
          bytes_of("other") == kNew);
    GIVES(ORVEX_CopyWrite(mirror.c_str(), kNew, kNewSize, 1000000000), bytes_of("mirror") == kNew);
    GIVES(ORVEX_CopyRead(source.c_str(), part, 8, &time), time > 0 && holds(part, 8, "new and "));
}
AFTER(whole_file) {
    for (const char* name : {"data", "copy", "other", "mirror"}) {
        STORED_OR(kEmptiedFirst, name, kOld, kNew);
    }
    STORED_OR(kEmptiedFirst, "lines", kLines, kNew);
}

FAMILY(directory) {
    given("tree/one", "1");
    given("tree/deep/two", "22");
    given("tree/deep/three", std::string(5000, '3'));
    const std::string tree = in_folder("tree");
    const std::string pattern = in_folder("tree/deep/t*");
    OXFILESTAT* list = nullptr;
    char(*names)[128] = nullptr;
    OXFINDDATA found;
    int32_t count = 0;
    int64_t find = 0;
    int64_t size = 0;
    GIVES(count = ORVEX_GetFileListInDir(tree.c_str(), &list), count == 2);
    GIVES(count = ORVEX_RecurGetFileList(tree.c_str(), &names), count == 3);
    ORVEX_free(list);
    ORVEX_free(names);
    if (DID(find = ORVEX_FileFindFirst(pattern.c_str(), &found))) {
        RIGHT(FAULTY(ORVEX_FileFindNext(find, &found)) == 1 && found.cFileName[0] == 't');
        ORVEX_FileFindClose(find);
    }
    if (DID(size = ORVEX_DiskUsedInDir(tree.c_str()))) {
        RIGHT_OR(kUnreadFolderCounts0, size == 4096 * 5);
    }
    GIVES(ORVEX_DISK_GetInfoEx(tree.c_str(), &size, nullptr), size > 0);
    GIVES(ORVEX_DelFileInPathRecur(tree.c_str(), 1), ORVEX_NameIsPath(tree.c_str()) < 0);
}
