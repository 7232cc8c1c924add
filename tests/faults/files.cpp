#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "faults.h"

using namespace std::string_literals;

namespace {

constexpr char kOld[] = "the old bytes";
constexpr char kNew[] = "new and longer bytes";
constexpr char kLines[] = "one\r\ntwo\r\n";
constexpr int32_t kNewSize = sizeof kNew - 1;
constexpr int32_t kOwner = 384;
constexpr CONVBAR_RULE kRule{"A", 1, 1, 0, {}, {{CONVBAR_OP_DELETE, 0, 1, 0}}};

std::string rule_file(uint8_t count) {
    std::string bytes(40, '\0');
    bytes[3] = static_cast<char>(count);
    bytes.replace(8, 15, "ConvBarRuleFile");
    return bytes.append(reinterpret_cast<const char*>(&kRule), count * sizeof kRule);
}

}  // namespace

FAMILY(file) {
    const char* const a = given("a", "A");
    const char* const b = given("b", "B");
    given("sized", "123456");
    std::string deep = in_folder("x/y/z");
    char name[300];
    int32_t lock = -1;
    GIVES(ORVEX_DirCreateRecur(deep.data(), 0), ORVEX_NameIsPath(deep.c_str()) == 1);
    GIVES(ORVEX_FileExclCreate(in_folder("made"), kNew, kNewSize, kOwner),
          bytes_of("made") == kNew);
    GIVES(ORVEX_FileChangeSizeByFN(in_folder("sized"), 10000),
          bytes_of("sized") == "123456" + std::string(9994, '\0'));
    GIVES(ORVEX_FileExchangeName(a, b), bytes_of("a") == "B");
    GIVES(ORVEX_TempFileName(deep.c_str(), name, "pre"), std::strstr(name, "pre") != nullptr);
    GIVES(lock = ORVEX_LockFile(in_folder("lock")), ORVEX_FileLen(lock) == 0);
    ORVEX_FileCloseByChmod(lock);
}
AFTER(file) {
    const std::string made = bytes_of("made");
    const std::string both = bytes_of("a") + bytes_of("b");
    RIGHT(made == "(none)" || std::string_view(kNew).starts_with(made));
    RIGHT(bytes_of("sized").starts_with("123456"));
    RIGHT_OR("names are exchanged in three steps, the second name between",
             both == "AB" || both == "BA");
    RIGHT(ORVEX_LockFile(in_folder("lock")) >= 0);
}

FAMILY(file_handle) {
    const char* const path = given("data", kOld);
    const char* const update = given("update", "12345");
    ORVEX_HFILE* file = nullptr;
    Freed<uint8_t> bytes;
    int64_t size = 0;
    char text[8];
    std::string copy = in_folder("copy");
    if (DID(file = ORVEX_HFILE_Open(path, 0))) {
        GIVES(ORVEX_HFILE_ChangeSize(file, 20000), bytes_of("data").size() == 20000);
        // A short count is a failure.
        GIVES(ORVEX_HFILE_ReadS(file, text, 4, 3) - 3, equal(text, 3, "old"));
        GIVES(ORVEX_HFILE_Move(file, 100, 4, 3, 0, nullptr, 0),
              bytes_of("data").substr(100, 3) == "old");
        GIVES(ORVEX_HFILE_Commit(file), bytes_of("data").starts_with(kOld));
    }
    ORVEX_HFILE_Close(&file);
    GIVES(ORVEX_HFILE_AddUpdate(update, "xyz", 4, 3), bytes_of("update") == "1234xyz");
    GIVES(size = ORVEX_HFILE_Load(path, &bytes.block, 4, 3), equal(bytes.block, size, "old"));
    if (DID(ORVEX_HFILE_DupFile(update, copy.data()))) {
        RIGHT_OR("0 whether the copy worked or not: the error record tells",
                 bytes_of("copy") == bytes_of("update"));
    }
}
AFTER(file_handle) {
    RIGHT(bytes_of("data").starts_with(kOld) && bytes_of("update").starts_with("1234"));
}

FAMILY(whole_file) {
    const char* const lines = given("lines", kLines);
    const char* const range = given("range", "0123456789");
    const char* const source = given("source", kNew);
    for (const char* name : {"data", "copy", "other", "mirror"}) given(name, kOld);
    Freed<uint8_t> bytes;
    Freed<char> text;
    char part[16];
    int32_t size = 0;
    int64_t time = 0;
    GIVES(ORVEX_LoadBinDataFile(in_folder("data"), &bytes.block, &size),
          equal(bytes.block, size, kOld));
    GIVES(ORVEX_LoadTextDataFile(lines, &text.block, &size), equal(text.block, size, "one\ntwo\n"));
    GIVES(ORVEX_SaveBinDataToFile(in_folder("data"), kNew, kNewSize), bytes_of("data") == kNew);
    if (DID(ORVEX_SaveTextDataToFile(lines, kNew, kNewSize))) {
        RIGHT_OR("how much of a text could be written isn't looked at", bytes_of("lines") == kNew);
    }
    GIVES(ORVEX_WriteBinDataToFile(range, 3, "xyz", 3), bytes_of("range") == "012xyz6789");
    GIVES(ORVEX_ReadBinDataFile(range, 6, part, 3), equal(part, 3, "678"));
    GIVES(ORVEX_FileCopy(source, in_folder("copy"), 0), bytes_of("copy") == kNew);
    GIVES(ORVEX_FileCopyWithBuf(source, in_folder("other"), 0, part, sizeof part),
          bytes_of("other") == kNew);
    GIVES(ORVEX_CopyWrite(in_folder("mirror"), kNew, kNewSize, 1000000000),
          bytes_of("mirror") == kNew);
    GIVES(ORVEX_CopyRead(source, part, 8, &time), time > 0 && equal(part, 8, "new and "));
}
AFTER(whole_file) {
    for (const std::string name : {"data", "copy", "other", "mirror", "lines"}) {
        STORED_OR("a file that is saved or copied to is emptied when it is opened", name,
                  name == "lines" ? kLines : kOld, kNew);
    }
}

namespace {

// Of 24 bits, one pixel wide, so that rows are padded; as a file it shows "abc" below "def".
std::string bitmap_of(const std::string& rows) {
    return "BM\x3E\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\2\0\0\0\1\0\x18\0"s +
           std::string(24, '\0') + rows;
}
const std::string kBitmap = bitmap_of("abc\0def\0"s);

}  // namespace

FAMILY(bitmap) {
    const char* const path = given("image", kBitmap);
    given("raw", kOld);
    given("saved", kOld);
    OXBMPFILESTRUCT image{};
    if (DID(ORVEX_LoadBMPFromFile(path, &image))) {
        RIGHT(equal(image.pData, 6, "defabc"));
    } else {
        RIGHT(image.pInfo == nullptr && image.pData == nullptr);
        ORVEX_LoadBMPFromFile(path, &image);
    }
    GIVES(ORVEX_SaveDataAsBMP(in_folder("raw"), "abcdef", 3, 2, 8),
          bytes_of("raw").ends_with("abc\0def\0"s));
    GIVES(ORVEX_SaveBMPToFile(in_folder("saved"), &image),
          bytes_of("saved") == bitmap_of("def\0abc\0"s));
    ORVEX_OXBMPFILESTRUCT_Free(&image);
    unsetenv("DISPLAY");
    uint8_t* picture = nullptr;
    int32_t size = 0;
    RIGHT(FAULTY(CaptureScreen(&picture, &size)) == -1 && picture == nullptr);
}
AFTER(bitmap) {
    STORED("image", kBitmap, kBitmap);
    STORED_OR("a file that is saved is emptied when it is opened", "saved", kOld,
              bitmap_of("def\0abc\0"s));
}

FAMILY(raster) {
    const std::string before = "abcdef";
    std::string image = before;
    const bool turned = DID(MOLTE_UTIL_Rotate90Deg(image.data(), 3, 2, nullptr));
    RIGHT(image == (turned ? "adbecf" : before));
    image = before;
    const bool mirrored = DID(MOLTE_UTIL_UpSideDownData(image.data(), 3, 2));
    RIGHT(image == (mirrored ? "defabc" : before));
    Freed<uint8_t> block;
    int32_t width = 0;
    int32_t height = 0;
    GIVES(MOLTE_UTIL_RotateInDeg(before.data(), 3, 2, &block.block, &width, &height, 180),
          equal(block.block, 6, "fedcba"));
    GIVES(MOLTE_UTIL_RotateCutInDeg(before.data(), 3, 2, image.data(), 2, 2, 180, 2, 2, 0, 0, '.'),
          image.starts_with("edba"));
}

FAMILY(directory) {
    given("tree/one", "1");
    given("tree/deep/two", "22");
    given("tree/deep/three", std::string(5000, '3'));
    const char* const tree = in_folder("tree");
    Freed<OXFILESTAT> list;
    Freed<char[128]> names;
    OXFINDDATA found;
    int32_t count = 0;
    int64_t find = 0;
    int64_t size = 0;
    GIVES(count = ORVEX_GetFileListInDir(tree, &list.block), count == 2);
    GIVES(count = ORVEX_RecurGetFileList(tree, &names.block), count == 3);
    if (DID(find = ORVEX_FileFindFirst(in_folder("tree/deep/t*"), &found))) {
        RIGHT(FAULTY(ORVEX_FileFindNext(find, &found)) == 1 && found.cFileName[0] == 't');
        ORVEX_FileFindClose(find);
    }
    if (DID(size = ORVEX_DiskUsedInDir(tree))) {
        RIGHT_OR("a folder that can't be walked counts 0", size == 4096 * 5);
    }
    GIVES(ORVEX_DISK_GetInfoEx(tree, &size, nullptr), size > 0);
    GIVES(ORVEX_DelFileInPathRecur(tree, 1), ORVEX_NameIsPath(tree) < 0);
}

FAMILY(file_map) {
    const char* const path = given("data", kOld);
    ORVEX_HFILE* file = ORVEX_HFILE_Open(path, 0);
    MOLTE_FMAP map{};
    if (DID(MOLTE_FMAP_Map(&map, file, 0, 20000, 0))) {
        RIGHT(equal(static_cast<char*>(map.pView), sizeof kOld - 1, kOld));
        RIGHT(bytes_of("data").size() == 20000);
    }
    RIGHT(FAULTY(MOLTE_FMAP_Unmap(&map)) == 1 && map.pView == nullptr);
    ORVEX_HFILE_Close(&file);
}
AFTER(file_map) {
    RIGHT(bytes_of("data").starts_with(kOld));
    ORVEX_HFILE* file = ORVEX_HFILE_Open(in_folder("data"), 0);
    MOLTE_FMAP map{};
    RIGHT(MOLTE_FMAP_Map(&map, file, 0, 30000, 0) == 1);
    MOLTE_FMAP_Unmap(&map);
    ORVEX_HFILE_Close(&file);
}

FAMILY(shared_memory) {
    MOLTE_FMAP block{};
    Freed<uint8_t> bytes;
    int32_t size = 0;
    if (DID(MOLTE_MTEMPF_SaveBinFile(&block, "faults", kNew, kNewSize))) {
        GIVES(MOLTE_MTEMPF_ReadBinFile("faults", &bytes.block, &size),
              equal(bytes.block, size, "new an"));
    }
    RIGHT(FAULTY(MOLTE_MTEMPF_RemoveFile(&block)) == 1);
}
AFTER(shared_memory) {  // nothing is left of the old block
    MOLTE_FMAP block{};
    RIGHT(MOLTE_SHMEM_Open(&block, "faults") == -1);
    RIGHT(MOLTE_SHMEM_Create(&block, 1 << 20, "faults") == 1);
    MOLTE_SHMEM_Release(&block);
}

FAMILY(barcode_rule) {
    install();
    given("CONF/convbar.cnv", rule_file(0));
    const char* const path = given("rules", rule_file(1));
    Freed<CONVBAR_RULE> loaded;
    CONVBAR_RULES rules{};
    char text[4];
    DID(ORVEX_CONVBAR_SaveAllRule(&kRule, 1));
    GIVES(rules.nCount = ORVEX_CONVBAR_GetAllRuleByFN(path, &loaded.block), rules.nCount == 1);
    rules.pRule = loaded.block;
    FAULTY(ORVEX_CONVBAR_SimpConv("A1", text, 3, &rules));
    RIGHT(equal(text, loaded.block != nullptr ? "001" : "0A1"));
}
AFTER(barcode_rule) {
    STORED_OR("the file is emptied when it is opened", "CONF/convbar.cnv", rule_file(0),
              rule_file(1));
}

FAMILY(named_object_file) {
    const char* const path = in_folder("objects");
    NOBF_CreateFile(path, 1024);
    RIGHT(ORVEX_FileChangeSizeByFN(path, 2080) == 1);
    if (DID(NOBF_CreateFile(in_folder("made"), 1000))) {
        RIGHT_OR("a file is made or isn't, and 0 is all it gives", bytes_of("made").size() == 1024);
    }
    NOBF_FILE file{};
    if (DID(NOBF_OpenFile(path, &file))) {
        NOBF_MEMOBJECT object{};
        NOBF_InitNamedObject(&object.stObject, "object");
        object.pFile = &file;
        GIVES(NOBF_InsertToLink(&file, &object.stObject, 0, 1, 512),
              bytes_of("objects").substr(512 + 24, 6) == "object");
        GIVES(NOBF_FreeBlock(&object.stObject, 1),
              bytes_of("objects").substr(2048 + 8, 1) == "\xFF");
    }
    RIGHT(FAULTY(NOBF_CloseFile(&file)) == 1 && file.pHandle == nullptr);
}
AFTER(named_object_file) {
    RIGHT(bytes_of("objects").size() == 2080);
}

// Three folders, and files of which one is packed by itself.
FAMILY(file_package) {
    given("root/tree/deep/one", "1");
    given("root/tree/deep/two", std::string(40000, '2'));
    std::filesystem::create_directory(std::filesystem::path("root") / "tree" / "empty");
    const char* const root = in_folder("root");
    const char* const whole = in_folder("whole.pkg");
    const char* const package = in_folder("new.pkg");
    RIGHT(FILEPKG_NewPkgFile(whole, root, nullptr, "tree", nullptr, 0) == 1);
    Freed<OXFILESTAT> list;
    Freed<uint8_t> item;
    int32_t count = 0;
    GIVES(count = FILEPKG_GetItemList(whole, &list.block), count == 5);
    if (DID(FILEPKG_New(package))) {
        RIGHT_OR("a new package that can't be written gives 1", bytes_of("new.pkg").size() == 128);
    }
    if (DID(FILEPKG_AddFile(package, root, nullptr, "tree", nullptr, 0))) {
        RIGHT(bytes_of("new.pkg").substr(128) == bytes_of("whole.pkg").substr(128));
    }
    GIVES(FILEPKG_Extract(whole, in_folder("out"), nullptr, nullptr, 0, nullptr, 0),
          bytes_of("out/tree/deep/two") == bytes_of("whole.pkg").substr(0, 40000));
    ORVEX_HFILE* file = ORVEX_HFILE_Open(whole, 0);
    GIVES(FILEPKG_ExtractIntoMemory(file, 128, &item.block, 1),
          equal(item.block + 65, 5, std::string_view("tree\0", 5)));
    ORVEX_HFILE_Close(&file);
}
AFTER(file_package) {
    Freed<OXFILESTAT> list;
    RIGHT(FILEPKG_GetItemList(in_folder("whole.pkg"), &list.block) == 5);
    Freed<OXFILESTAT> added;
    if (bytes_of("new.pkg") == "(none)") return;
    RIGHT_OR("what is torn by a death, or can't be cut again either, stays torn",
             FILEPKG_GetItemList(in_folder("new.pkg"), &added.block) >= 0);
}
