// Packing: adding items to a package.
#include <bit>
#include <cstring>
#include <utility>

#include "data/oxdatcnv.h"
#include "files/ofilepkg.h"
#include "moltelib/directory.h"
#include "moltelib/file.h"
#include "platform/files.h"

using namespace molte::package;
using molte::Decimal;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr uint32_t kBadLength = 293;
constexpr uint8_t kZeros[kAlignment] = {};

// The relative folder of an item, in a longer text, and its name.
struct Texts {
    const char* directory;
    size_t directory_size;
    const char* name;

    [[nodiscard]] size_t name_size() const { return std::strlen(name); }
    // An item without a folder takes none of it.
    [[nodiscard]] bool are_those_of(const FILEPKG_ITEM& item) const {
        const Parts parts(item);
        return (parts.directory == 0 || parts.directory == static_cast<int64_t>(directory_size)) &&
               parts.name == static_cast<int64_t>(name_size());
    }
};

Texts texts_of(const char* directory, const char* name) {
    if (directory == nullptr) directory = "";
    return {directory, std::strlen(directory), name};
}

int32_t start_item(const Texts& texts, FILEPKG_ITEM* item) {
    const size_t name_size = texts.name_size();
    FILEPKG_InitItemHead(item);
    if (texts.directory_size > UINT16_MAX || name_size > UINT16_MAX) {
        return fail_path(here(), texts.name);
    }
    uint2ToChar2(static_cast<uint16_t>(texts.directory_size), item->nDirLen);
    uint2ToChar2(static_cast<uint16_t>(name_size), item->nNameLen);
    return 1;
}

void take_state(const OXFILESTAT& state, FILEPKG_ITEM* item) {
    std::memcpy(item->n64FileSize, state.nSize, sizeof item->n64FileSize);
    std::memcpy(item->abyAttr, &state.nAttr, 1);
    std::memcpy(item->nChangeTime, state.nChangeTime, sizeof item->nChangeTime);
    std::memcpy(item->nModTime, state.nModTime, sizeof item->nModTime);
}

void set_content(FILEPKG_ITEM* item, int64_t length) {
    uint8ToChar8(static_cast<uint64_t>(length), item->n64DataLen);
}

int32_t fill_item(const char* full_name, const Texts& texts, FILEPKG_ITEM* item) {
    if (start_item(texts, item) < 0) return -1;
    OXFILESTAT state;
    if (ORVEX_GetFileStat(full_name, &state) < 0) return kModule.trace(here());
    if (ORVEX_FileIsDirByMode(&state) != 0) {
        item->bDirectory = 1;
    } else {
        take_state(state, item);
    }
    return 1;
}

// ---- One item ----

// The file whose content goes into an item; none for a folder, a pipe and the like.
class Source {
 public:
    Source() = default;
    ~Source() { ORVEX_HFILE_Close(&file_); }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    [[nodiscard]] bool open(const char* name) {
        OXSTAT64 state{};
        if (ORVEX_FileStatByFileName(name, &state) < 0) return false;
        const bool is_special = (state.st_mode & (_S_IFREG | _S_IFDIR)) == 0;
        if (is_special) return true;
        file_ = ORVEX_HFILE_Open(name, ORVEX_OPEN_READ);
        if (file_ != nullptr) length_ = ORVEX_HFILE_Size(file_);
        return file_ != nullptr && length_ >= 0;
    }
    [[nodiscard]] int64_t length() const { return length_; }
    // Copies it behind what is written of a package; false when that fails, or it became shorter.
    [[nodiscard]] bool copy_to(ORVEX_HFILE* package) const {
        if (length_ == 0) return true;
        const int64_t place = ORVEX_HFILE_CurrentPos(package);
        if (place < 0 || ORVEX_HFILE_Copy(package, place, file_, 0, length_, 0, nullptr, 0) < 0) {
            return false;
        }
        if (ORVEX_HFILE_CurrentPos(package) == place + length_) return true;
        kModule.fail_text(here(), molte::kNotRead, SystemError::none, file_->szFileName);
        return false;
    }

 private:
    ORVEX_HFILE* file_ = nullptr;
    int64_t length_ = 0;
};

// A package to which an item can be added.
struct Target {
    ORVEX_HFILE* file;
    int64_t length;    // a multiple of 8
    int64_t trailing;  // position of the item that stays the last one, or 0

    // The package is left alone by a failure.
    int32_t look_at(ORVEX_HFILE* package) {
        file = package;
        length = ORVEX_HFILE_Size(package);
        if (length <= 0) return kModule.trace(here());
        if (length % kAlignment != 0) {
            return kModule.fail(here(), kBadLength, SystemError::none, "orgpos=%s",
                                Decimal(length).text());
        }
        FILEPKG_HEAD head{};
        if (ORVEX_HFILE_ReadS(package, &head, 0, kHeadSize) != kHeadSize ||
            FILEPKG_IsFileHeadValid(&head) == 0) {
            return kModule.trace(here());
        }
        trailing = static_cast<int64_t>(Char8To_uint8(head.n64TrailingItem));
        return 1;
    }
    // Where a new item goes: at the end, or by this rule, which is meant, over what lies there.
    [[nodiscard]] int64_t place() const { return length - trailing; }
};

bool write_all(ORVEX_HFILE* file, const void* data, int64_t size) {
    return size == 0 || ORVEX_HFILE_Write(file, data, size) == size;
}

int32_t write_item(const Target& target, const FILEPKG_ITEM& item, const Texts& texts,
                   const Source& source, const uint8_t* kept, int64_t kept_size) {
    const Parts parts(item);
    const int64_t padding = parts.whole() - kItemSize - parts.texts() - parts.content;
    if (ORVEX_HFILE_Seek(target.file, target.place(), SEEK_SET) < 0 ||
        !write_all(target.file, &item, kItemSize) ||
        !write_all(target.file, texts.directory, parts.directory) ||
        !write_all(target.file, kZeros, 1) || !write_all(target.file, texts.name, parts.name + 1)) {
        return kModule.trace(here());
    }
    if (!source.copy_to(target.file)) return kModule.trace(here());
    if (!write_all(target.file, kZeros, padding)) return kModule.trace(here());
    return write_all(target.file, kept, kept_size) ? 1 : kModule.trace(here());
}

int32_t add_item(const Target& target, FILEPKG_ITEM* item, const Texts& texts,
                 const char* source_name) {
    if (FILEPKG_IsItemHeadValid(item) == 0) return kModule.trace(here());
    if (!texts.are_those_of(*item)) return fail_item(here());
    if (item->bDirectory == 0 && source_name == nullptr) return kModule.fail(here(), kBadArgument);
    molte::Heap<uint8_t> kept;
    int64_t kept_size = 0;
    if (target.trailing != 0) {
        uint8_t* trailing = nullptr;
        if (FILEPKG_ExtractIntoMemory(target.file, target.trailing, &trailing, 1) < 0) {
            return kModule.trace(here());
        }
        kept.reset(trailing);
        kept_size = FILEPKG_UTIL_ItemLen(reinterpret_cast<const FILEPKG_ITEM*>(trailing));
        if (target.place() < kHeadSize || target.place() % kAlignment != 0) {
            return fail_item(here());
        }
    }
    Source source;
    if (item->bDirectory == 0 && !source.open(source_name)) return kModule.trace(here());
    set_content(item, source.length());
    if (write_item(target, *item, texts, source, kept.get(), kept_size) > 0) return 1;
    if (kept != nullptr) {
        ORVEX_HFILE_WriteS(target.file, kept.get(), target.trailing, kept_size);
    }
    ORVEX_HFILE_ChangeSize(target.file, target.length);
    return -1;
}

// ---- A tree ----

// Adds items at the end of a package in large pieces: a small file is read straight into the
// piece. Item by item 20,000 files of 2 KiB take four times as long.
class Batch {
 public:
    [[nodiscard]] int32_t start(ORVEX_HFILE* package) {
        if (target_.look_at(package) < 0) return -1;
        piece_ = molte::allocate<uint8_t>(kPiece);
        return piece_ != nullptr ? 1 : kModule.trace(here());
    }
    // A file that can be opened as it is and has room in a piece: 1. 0 for any other, of which
    // nothing is done or told; -1.
    int32_t add_file(const char* full_name, const Texts& texts) {
        // A longer name is refused where it is opened by itself; so it is here.
        const bool is_short = std::strlen(full_name) < ORVEX_HFILE_NAME_SIZE;
        if (!takes_pieces() || !is_short) return 0;
        struct _stat64 native {};
        const molte::Descriptor file(platform::open_to_read(full_name, &native));
        if (!file.valid() || (native.st_mode & _S_IFREG) == 0 ||
            (native.st_mode & ORVEX_MODE_OWNER) != ORVEX_MODE_OWNER ||
            native.st_size > kMostInPiece) {
            return 0;
        }
        FILEPKG_ITEM item{};
        if (start_item(texts, &item) < 0) return -1;
        const auto state = std::bit_cast<OXSTAT64>(native);
        OXFILESTAT record{};
        ORVEX_FileSetModeToFS(&state, &record);
        take_state(record, &item);
        set_content(&item, state.st_size);
        if (put(item, texts) < 0) return -1;
        uint8_t* const content = piece_.get() + used_ + kItemSize + Parts(item).texts();
        const auto size = static_cast<unsigned>(state.st_size);
        if (_read(file.get(), content, size) != static_cast<int>(size)) return 0;
        used_ += Parts(item).whole();
        return 1;
    }
    int32_t add_directory(const Texts& texts) {
        FILEPKG_ITEM item{};
        if (start_item(texts, &item) < 0) return -1;
        item.bDirectory = 1;
        if (!takes_pieces()) return add(&item, texts, nullptr);
        if (put(item, texts) < 0) return -1;
        used_ += Parts(item).whole();
        return 1;
    }
    // Any item, by itself.
    int32_t add(FILEPKG_ITEM* item, const Texts& texts, const char* source_name) {
        if (flush() < 0 || add_item(target_, item, texts, source_name) < 0) return -1;
        target_.length = ORVEX_HFILE_Size(target_.file);
        return target_.length >= 0 ? 1 : kModule.trace(here());
    }
    int32_t flush() {
        if (used_ == 0) return 1;
        const int64_t size = std::exchange(used_, 0);
        if (ORVEX_HFILE_WriteS(target_.file, piece_.get(), target_.length, size) != size) {
            kModule.trace(here());
            ORVEX_HFILE_ChangeSize(target_.file, target_.length);
            return -1;
        }
        target_.length += size;
        return 1;
    }

 private:
    static constexpr int64_t kPiece = 0x40000;
    static constexpr int64_t kMostInPiece = 0x8000;

    // Where a trailing item moves with each new one, there is one at a time.
    [[nodiscard]] bool takes_pieces() const { return target_.trailing == 0; }

    // Puts an item there but for its content; what was in the piece is written when need be.
    int32_t put(const FILEPKG_ITEM& item, const Texts& texts) {
        const Parts parts(item);
        if (used_ + parts.whole() > kPiece && flush() < 0) return -1;
        uint8_t* at = piece_.get() + used_;
        std::memset(at + parts.whole() - kAlignment, 0, kAlignment);
        std::memcpy(at, &item, sizeof item);
        at += sizeof item;
        std::memcpy(at, texts.directory, texts.directory_size);
        at += texts.directory_size;
        *at++ = 0;
        std::memcpy(at, texts.name, texts.name_size() + 1);
        return 1;
    }

    Target target_{};
    molte::Heap<uint8_t> piece_;
    int64_t used_ = 0;
};

// Walks what is to be packed. The path is that of the entry at hand: the root, a backslash, its
// relative folder, and its name.
class Packer {
 public:
    Packer(ORVEX_HFILE* package, FILEPKG_CONVERT compress)
        : package_(package), compress_(compress) {}

    int32_t pack(const char* root, const char* directory, const char* name) {
        const bool has_directory = directory != nullptr && directory[0] != '\0';
        if (!path_.append(root) || !path_.append("\\")) return fail_path(here(), root);
        relative_ = path_.length();
        if (has_directory && !(path_.append(directory) && path_.append("\\"))) {
            return fail_path(here(), directory);
        }
        const size_t name_start = path_.length();
        if (!path_.append(name)) return fail_path(here(), name);
        const int32_t result = add_named(name_start);
        return batch_.flush() > 0 ? result : -1;
    }

 private:
    // What the caller named.
    int32_t add_named(size_t name_start) {
        FILEPKG_ITEM item{};
        if (fill_item(path_.text(), texts(name_start), &item) < 0) return kModule.trace(here());
        if (batch_.start(package_) < 0) return kModule.trace(here());
        if (item.bDirectory == 0) return add_file(name_start);
        return add_directory(name_start, platform::is_link(path_.text()));
    }

    int32_t add_directory(size_t name_start, bool is_link) {
        if (batch_.add_directory(texts(name_start)) < 0) return kModule.trace(here());
        return is_link ? 1 : add_entries();
    }

    int32_t add_entries() {
        const size_t length = path_.length();
        molte::directory::Find find(path_.text(), "\\*");
        if (!find.found()) return kModule.trace(here());
        for (; find.found(); find.next()) {
            if (find.is_dots()) continue;
            if (!add_part(&path_, find.name())) return fail_path(here(), find.name());
            if (add_entry(find, length + 1) < 0) return kModule.trace(here());
            path_.cut(length);
        }
        return 1;
    }

    int32_t add_entry(const molte::directory::Find& find, size_t name_start) {
        return find.leads_to_folder() ? add_directory(name_start, find.is_link())
                                      : add_file(name_start);
    }

    int32_t add_file(size_t name_start) {
        if (compress_ == nullptr) {
            const int32_t added = batch_.add_file(path_.text(), texts(name_start));
            if (added != 0) return added;
        }
        FILEPKG_ITEM item{};
        char source[FILEPKG_PATH_SIZE] = "";
        if (fill_item(path_.text(), texts(name_start), &item) < 0) return kModule.trace(here());
        if (compress_ != nullptr && compress_(path_.text(), source, 0) < 0) {
            return kModule.trace(here());
        }
        const char* source_name = compress_ != nullptr ? source : path_.text();
        if (batch_.add(&item, texts(name_start), source_name) < 0) return kModule.trace(here());
        return 1;
    }

    [[nodiscard]] Texts texts(size_t name_start) const {
        const size_t directory_size = name_start > relative_ ? name_start - 1 - relative_ : 0;
        return {path_.text() + relative_, directory_size, path_.text() + name_start};
    }

    ORVEX_HFILE* package_;
    FILEPKG_CONVERT compress_;
    Batch batch_;
    Path path_;
    size_t relative_ = 0;
};

}  // namespace

int32_t FILEPKG_New(const char* pszPackage) {
    const molte::Handle package(
        ORVEX_HFILE_OpenMode(pszPackage, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!package) return kModule.trace(here());
    FILEPKG_HEAD head{};
    FILEPKG_InitFileHead(&head);
    if (ORVEX_HFILE_Write(package.get(), &head, kHeadSize) != kHeadSize) kModule.trace(here());
    return 1;  // whether it could be written or not
}

int32_t FILEPKG_GetFileInfo(const char* pszRoot, const char* pszDir, const char* pszName,
                            FILEPKG_ITEM* pItem) {
    if (pszRoot == nullptr || pszName == nullptr || pItem == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    const Texts texts = texts_of(pszDir, pszName);
    Path path;
    if (!build_path(&path, pszRoot, pszDir, pszName)) return fail_path(here(), pszName);
    return fill_item(path.text(), texts, pItem) > 0 ? 1 : kModule.trace(here());
}

int32_t FILEPKG_AddInItem(ORVEX_HFILE* pPackage, FILEPKG_ITEM* pItem, const char* pszDir,
                          const char* pszName, const char* pszSource) {
    if (pPackage == nullptr || pItem == nullptr || pszName == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    Target target{};
    if (target.look_at(pPackage) < 0) return -1;
    return add_item(target, pItem, texts_of(pszDir, pszName), pszSource);
}

int32_t FILEPKG_AddFileToPackage(ORVEX_HFILE* pPackage, const char* pszRoot, const char* pszDir,
                                 const char* pszName, FILEPKG_CONVERT pfnCompress,
                                 int32_t /*bFlag*/) {
    if (pPackage == nullptr || pszRoot == nullptr || pszName == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    Packer packer(pPackage, pfnCompress);
    return packer.pack(pszRoot, pszDir, pszName) > 0 ? 1 : kModule.trace(here());
}

int32_t FILEPKG_AddFile(const char* pszPackage, const char* pszRoot, const char* pszDir,
                        const char* pszName, FILEPKG_CONVERT pfnCompress, int32_t bFlag) {
    const molte::Handle package(ORVEX_HFILE_Open(pszPackage, ORVEX_OPEN_UPDATE));
    if (!package) return kModule.trace(here());
    return FILEPKG_AddFileToPackage(package.get(), pszRoot, pszDir, pszName, pfnCompress, bFlag) > 0
               ? 1
               : kModule.trace(here());
}

int32_t FILEPKG_NewPkgFile(const char* pszPackage, const char* pszRoot, const char* pszDir,
                           const char* pszName, FILEPKG_CONVERT pfnCompress, int32_t bFlag) {
    if (FILEPKG_New(pszPackage) < 0) return kModule.trace(here());
    return FILEPKG_AddFile(pszPackage, pszRoot, pszDir, pszName, pfnCompress, bFlag) > 0
               ? 1
               : kModule.trace(here());
}
