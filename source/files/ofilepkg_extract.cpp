// Extracting the items of a package into files and folders.
#include <cstdio>
#include <cstring>

#include "files/ofilepkg.h"
#include "moltelib/directory.h"
#include "moltelib/file.h"
#include "moltelib/text.h"
#include "platform/files.h"

using namespace molte::package;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;
using molte::directory::is_separator;

namespace {

constexpr uint32_t kBadPosition = 424;
constexpr uint32_t kNoTempName = 294;
constexpr int32_t kMostTempNames = 99999999;

// An empty one would stand for the root of the disk.
bool is_root(const char* root) {
    return root != nullptr && root[0] != '\0';
}

bool is_letter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// "..", or what Windows takes for it: blanks at the end of a name don't count there.
bool leads_up(const char* component, size_t size) {
    while (size > 2 && component[size - 1] == ' ') --size;
    return size == 2 && component[0] == '.' && component[1] == '.';
}

// Whether a text of a package names what lies below a root. A backslash separates here even where
// it is the second byte of a character.
bool stays_below(const char* text) {
    if (is_separator(text[0]) || (is_letter(text[0]) && text[1] == ':')) return false;
    for (;;) {
        size_t size = 0;
        while (text[size] != '\0' && !is_separator(text[size])) ++size;
        if (leads_up(text, size)) return false;
        if (text[size] == '\0') return true;
        text += size + 1;
    }
}

// Whether a part of a path behind its root is a symbolic link.
bool goes_through_link(const char* path, size_t root_size) {
    Path part;
    if (!part.append(path)) return true;
    for (size_t end = part.length(); end > root_size; --end) {
        if (end < part.length() && !is_separator(path[end])) continue;
        part.cut(end);
        if (platform::is_link(part.text())) return true;
    }
    return false;
}

// The full name of an item; -1 for one that isn't to be extracted. A folder without a name is the
// root itself, or the folder it lies in.
int32_t name_item(ORVEX_HFILE* package, const char* root, const FILEPKG_ITEM& item, Path* path) {
    const Parts parts(item);
    auto texts = molte::allocate<char>(parts.texts());
    if (texts == nullptr) return kModule.trace(here());
    if (ORVEX_HFILE_Read(package, texts.get(), parts.texts()) != parts.texts()) {
        return kModule.trace(here());
    }
    char* directory = texts.get();
    char* name = directory + parts.directory + 1;
    name[-1] = '\0';
    name[parts.name] = '\0';
    if (!stays_below(directory) || !stays_below(name)) return fail_item(here());
    if (item.bDirectory == 0 && name[0] == '\0') return fail_item(here());
    if (!build_path(path, root, directory, name)) return fail_path(here(), name);
    return goes_through_link(path->text(), std::strlen(root)) ? fail_item(here()) : 1;
}

// As many bytes as the item has, from the start of the package; all of it for an empty item. This
// is meant.
int32_t copy_start(ORVEX_HFILE* package, int64_t size, const char* target_name) {
    const molte::Handle target(
        ORVEX_HFILE_OpenMode(target_name, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!target) return kModule.trace(here());
    if (ORVEX_HFILE_Copy(target.get(), 0, package, 0, size, 0, nullptr, 0) < 0) {
        return kModule.trace(here());
    }
    return 1;
}

// A name beside the final one that nothing has.
class TempName {
 public:
    [[nodiscard]] int32_t find(const char* full_name) {
        for (int32_t number = kMostTempNames; number >= 0; --number) {
            const int length = std::snprintf(name_, sizeof name_, "%s%s%08d", full_name, ".ZIP.",
                                             static_cast<int>(number));
            if (length >= static_cast<int>(sizeof name_)) return fail_path(here(), full_name);
            if (_access(name_, 0) != 0 && !platform::is_link(name_)) return 1;
        }
        return kModule.fail(here(), kNoTempName, SystemError::none,
                            "can not generate temp file name");
    }
    [[nodiscard]] const char* text() const { return name_; }

 private:
    char name_[FILEPKG_PATH_SIZE] = "";
};

int32_t convert(ORVEX_HFILE* package, int64_t size, Path* path, FILEPKG_CONVERT decompress) {
    TempName temporary;
    if (temporary.find(path->text()) < 0) return -1;
    int32_t result = copy_start(package, size, temporary.text());
    if (result > 0 && decompress(temporary.text(), path->buffer(), 0) < 0) {
        result = kModule.trace(here());
    }
    _unlink(temporary.text());
    return result;
}

int32_t make_file(ORVEX_HFILE* package, const FILEPKG_ITEM& item, Path* path,
                  FILEPKG_CONVERT decompress) {
    // Emptying the one would empty the other.
    if (platform::is_file(package->fd, path->text())) return fail_item(here());
    const int64_t size = Parts(item).content;
    const int32_t made = item.bCompressed != 0 ? convert(package, size, path, decompress)
                                               : copy_start(package, size, path->text());
    if (made < 0) return -1;
    const auto time = static_cast<int32_t>(Char4To_uint4(item.nModTime));
    ORVEX_FileChangeModAccessTime(path->text(), time, time);
    return 1;
}

// ---- The walk ----

struct Filter {
    const char* directory;
    const char* name;

    [[nodiscard]] bool is_set() const { return directory != nullptr || name != nullptr; }
    // What agrees with a filter is left out. This is meant.
    [[nodiscard]] bool leaves_out(const uint8_t* item) const {
        const Parts parts(*reinterpret_cast<const FILEPKG_ITEM*>(item));
        const auto* item_directory = reinterpret_cast<const char*>(item + kItemSize);
        const char* item_name = item_directory + parts.directory + 1;
        if (directory == nullptr && parts.directory > 0) return true;
        if (directory != nullptr && MOLTE_STR_stricmp(directory, item_directory) == 0) return true;
        return name != nullptr && MOLTE_STR_stricmp(name, item_name) == 0;
    }
};

struct Walk {
    ORVEX_HFILE* package;
    const char* root;
    Filter filter;
    FILEPKG_CONVERT decompress;
    // By what an item that is left out is stepped over: its own length, and behind an item that was
    // extracted, that one's. The latter is meant.
    int64_t step = 0;

    // 1 when the item is extracted, 0 when it is left out, with its length in that case, -1.
    int32_t take(int64_t position, int64_t* length) {
        if (filter.is_set()) {
            uint8_t* block = nullptr;
            if (FILEPKG_ExtractIntoMemory(package, position, &block, 0) < 0) {
                return kModule.trace(here());
            }
            const molte::Heap<uint8_t> item(block);
            *length = Parts(*reinterpret_cast<const FILEPKG_ITEM*>(block)).whole();
            if (filter.leaves_out(block)) return 0;
        }
        FILEPKG_ITEM head{};
        if (FILEPKG_ExtractItem(package, root, position, decompress, &head) < 0) {
            return kModule.trace(here());
        }
        step = Parts(head).whole();
        return 1;
    }

    int32_t run() {
        const int64_t end = ORVEX_HFILE_Size(package);
        if (end < 0) return kModule.trace(here());
        for (int64_t at = kHeadSize; at < end;) {
            int64_t length = 0;
            const int32_t taken = take(at, &length);
            if (taken < 0) return -1;
            if (taken > 0 && filter.name != nullptr) return 1;
            at += step > 0 ? step : length;
        }
        return 1;
    }
};

}  // namespace

int32_t FILEPKG_ExtractItem(ORVEX_HFILE* pPackage, const char* pszRoot, int64_t nPos,
                            FILEPKG_CONVERT pfnDecompress, FILEPKG_ITEM* pItem) {
    if (!is_root(pszRoot) || pItem == nullptr) return kModule.fail(here(), kBadArgument);
    if (nPos < kHeadSize) return kModule.fail(here(), kBadPosition);
    const int64_t length = ORVEX_HFILE_Size(pPackage);
    if (length - kItemSize <= nPos) return kModule.trace(here());
    if (!read_item(pPackage, nPos, length, pItem)) return kModule.trace(here());
    if (pItem->bCompressed != 0 && pItem->bDirectory == 0 && pfnDecompress == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    Path path;
    if (name_item(pPackage, pszRoot, *pItem, &path) < 0) return kModule.trace(here());
    const int32_t made = pItem->bDirectory != 0 ? ORVEX_DirCreateRecur(path.buffer(), 0)
                                                : make_file(pPackage, *pItem, &path, pfnDecompress);
    return made > 0 ? 1 : kModule.trace(here());
}

int32_t FILEPKG_Extract(const char* pszPackage, const char* pszRoot, const char* pszDirFilter,
                        const char* pszNameFilter, int64_t nPos, FILEPKG_CONVERT pfnDecompress,
                        int32_t /*bFlag*/) {
    if (!is_root(pszRoot)) return kModule.fail(here(), kBadArgument);
    const molte::Handle package(ORVEX_HFILE_Open(pszPackage, ORVEX_OPEN_UPDATE));
    if (!package) return kModule.trace(here());
    FILEPKG_HEAD head{};
    if (ORVEX_HFILE_ReadS(package.get(), &head, 0, kHeadSize) != kHeadSize ||
        FILEPKG_IsFileHeadValid(&head) == 0) {
        return kModule.trace(here());
    }
    if (nPos <= 0) {
        Walk walk{package.get(), pszRoot, {pszDirFilter, pszNameFilter}, pfnDecompress};
        return walk.run() > 0 ? 1 : kModule.trace(here());
    }
    FILEPKG_ITEM item{};
    return FILEPKG_ExtractItem(package.get(), pszRoot, nPos, pfnDecompress, &item) > 0
               ? 1
               : kModule.trace(here());
}
