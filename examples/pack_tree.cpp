// Packs a folder with all that is in it into one file, lists what it holds, and restores it.
//
//     pack_tree pack PACKAGE FOLDER
//     pack_tree list PACKAGE
//     pack_tree restore PACKAGE FOLDER    what was packed comes to stand in that folder
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "moltelib.h"
#include "terminal.h"

namespace {

constexpr int64_t kFirstItem = sizeof(FILEPKG_HEAD);

int fail(const std::string& what) {
    std::printf("%s\n", what.c_str());
    terminal::show_error();
    return 1;
}

// Names are built with backslashes.
std::string backslashed(std::string name) {
    ORVEX_TransPathDelimiter(&name[0], '\\');
    while (name.size() > 1 && name.back() == '\\') name.pop_back();
    return name;
}

int pack(const std::string& package, const std::string& folder) {
    std::string root(folder.size() + 2, '\0');
    std::string name(folder.size() + 2, '\0');
    ORVEX_FileName2Path(folder.c_str(), &root[0], &name[0]);
    if (FILEPKG_NewPkgFile(package.c_str(), root.c_str(), nullptr, name.c_str(), nullptr, 0) < 0) {
        return fail("The folder can't be packed.");
    }
    return 0;
}

int list(const std::string& package) {
    OXFILESTAT* items = nullptr;
    const int32_t count = FILEPKG_GetItemList(package.c_str(), &items);
    if (count < 0) return fail("The package can't be listed.");
    for (int32_t i = 0; i < count; ++i) {
        const bool is_folder = ORVEX_FileIsDirByMode(&items[i]) != 0;
        const auto size = static_cast<unsigned long long>(Char8To_uint8(items[i].nSize));
        if (is_folder) std::printf("%12s  ", "folder");
        if (!is_folder) std::printf("%12llu  ", size);
        terminal::show((items[i].szName + std::string("\n")).c_str());
    }
    std::printf("%d items\n", static_cast<int>(count));
    ORVEX_free(items);
    return 0;
}

// A package may come from anybody: no name in it leads out of the folder it is restored to.
bool stays_inside(const std::string& name) {
    if (name.empty() || name[0] == '\\' || name[0] == '/' || name.find(':') != std::string::npos) {
        return false;
    }
    for (size_t at = 0; at <= name.size();) {
        const size_t end = std::min(name.find_first_of("\\/", at), name.size());
        if (name.compare(at, end - at, "..") == 0) return false;
        at = end + 1;
    }
    return true;
}

// The content stands behind the head, the folder and the name, each of these two with its end.
int32_t restore_item(const uint8_t* bytes, const std::string& folder) {
    const auto* item = reinterpret_cast<const FILEPKG_ITEM*>(bytes);
    const size_t texts = size_t{Char2To_uint2(item->nDirLen)} + Char2To_uint2(item->nNameLen) + 2;
    std::string name(texts, '\0');
    FILEPKG_UTIL_RelPathFileName(bytes, &name[0]);
    name.resize(std::strlen(name.c_str()));
    if (!stays_inside(name)) {
        std::printf("An item leads out of the folder.\n");
        return -1;
    }
    std::string target = folder + "\\" + name;
    if (item->bDirectory != 0) return ORVEX_DirCreateRecur(&target[0], 0);
    const auto size = static_cast<int32_t>(Char8To_uint8(item->n64DataLen));
    if (ORVEX_SaveBinDataToFile(target.c_str(), bytes + sizeof *item + texts, size) < 0) return -1;
    const auto time = static_cast<int32_t>(Char4To_uint4(item->nModTime));
    return ORVEX_FileChangeModAccessTime(target.c_str(), time, time);
}

int restore(const std::string& package, const std::string& folder) {
    ORVEX_HFILE* file = ORVEX_HFILE_Open(package.c_str(), ORVEX_OPEN_UPDATE);
    if (file == nullptr) return fail("The package can't be opened.");
    const int64_t end = ORVEX_HFILE_Size(file);
    int count = 0;
    int32_t result = 1;
    for (int64_t at = kFirstItem; at < end && result >= 0;) {
        uint8_t* bytes = nullptr;
        result = FILEPKG_ExtractIntoMemory(file, at, &bytes, 1);
        if (result < 0) break;
        result = restore_item(bytes, folder);
        at += FILEPKG_UTIL_ItemLen(reinterpret_cast<const FILEPKG_ITEM*>(bytes));
        ORVEX_free(bytes);
        count += result >= 0 ? 1 : 0;
    }
    ORVEX_HFILE_Close(&file);
    std::printf("%d items restored\n", count);
    return result < 0 ? fail("The rest can't be restored.") : 0;
}

int use() {
    std::fprintf(stderr,
                 "use: pack_tree pack PACKAGE FOLDER\n"
                 "     pack_tree list PACKAGE\n"
                 "     pack_tree restore PACKAGE FOLDER\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    const bool lists = what == "list";
    if (argc != (lists ? 3 : 4) || (!lists && what != "pack" && what != "restore")) return use();
    const std::string package = argv[2];
    if (lists) return list(package);
    const std::string folder = backslashed(argv[3]);
    return what == "pack" ? pack(package, folder) : restore(package, folder);
}
