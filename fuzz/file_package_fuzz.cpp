// A file package as somebody may have made it: listed, loaded item by item, and extracted into a
// folder that nothing leaves.
#include <filesystem>

#include "frame.h"

namespace {

namespace fs = std::filesystem;

// Walks the package as the list does; the number of items, or -1.
int32_t load_items(const char* path) {
    ORVEX_HFILE* package = ORVEX_HFILE_Open(path, 0);
    const int64_t end = ORVEX_HFILE_Size(package);
    int32_t count = 0;
    int64_t at = 128;
    for (uint8_t* item = nullptr; at < end; ++count) {
        if (FILEPKG_ExtractIntoMemory(package, at, &item, 1) < 0) break;
        const int64_t size = FILEPKG_UTIL_ItemLen(reinterpret_cast<const FILEPKG_ITEM*>(item));
        must(size >= 72 && size % 8 == 0 && size <= end - at);
        std::string name(static_cast<size_t>(size) + 2, '\0');
        FILEPKG_UTIL_RelPathFileName(item, name.data());
        ORVEX_free(item);
        at += size;
    }
    ORVEX_HFILE_Close(&package);
    return at < end ? -1 : count;
}

}  // namespace

// One byte that chooses filters and code page; then the package.
void try_input(std::string_view input) {
    if (input.empty() || input.size() > 8192) return;
    static const TempFolder work;
    static const fs::path box = work.path() / "box";
    static const std::string root = (box / "root").string();
    fs::create_directories(root);
    const auto choice = static_cast<uint8_t>(input[0]);
    OXLANG_SetLocale((choice & 4) != 0 ? OXLANG_CHINESE : OXLANG_ENGLISH);
    const char* const path = file_of(input.substr(1));

    OXFILESTAT* list = nullptr;
    const int32_t listed = FILEPKG_GetItemList(path, &list);
    must((list != nullptr) == (listed > 0));
    ORVEX_free(list);
    must(load_items(path) == listed);

    const FILEPKG_CONVERT keep = [](const char*, char*, int32_t) { return 1; };
    FILEPKG_Extract(path, root.c_str(), (choice & 1) != 0 ? "d" : nullptr,
                    (choice & 2) != 0 ? "n" : nullptr, 0, (choice & 8) != 0 ? keep : nullptr, 0);
    must(read_bytes(path) == input.substr(1));
    for (const auto& entry : fs::directory_iterator(work.path())) must(entry.path() == box);
    for (const auto& entry : fs::directory_iterator(box)) must(entry.path() == box / "root");
    fs::remove_all(box);
}
