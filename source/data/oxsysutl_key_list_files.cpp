// Lists of keys and SIDs in text files.
#include <cstring>
#include <string_view>

#include "core/owners.h"
#include "core/transfer.h"
#include "data/oxstring.h"
#include "data/oxsysutl_key_list.h"
#include "moltelib/array.h"
#include "moltelib/file.h"
#include "platform/files.h"
#include "platform/replacement.h"
#include "platform/text.h"

using molte::here;
using molte::Key;
using molte::SystemError;
using molte::lists::kModule;
using molte::lists::refuse;

using molte::kNotOpened;
using molte::kNotRead;
using molte::kNotWritten;
using molte::kTooLong;

namespace {

constexpr int64_t kLongestList = 10485760;
constexpr int32_t kGrowBy = 10240;
constexpr size_t kLongestLine = 127;
constexpr size_t kLongestEntry = 31;

int32_t fail_path(int32_t line, uint32_t error, const char* path) {
    return kModule.fail_text(line, error, SystemError::runtime, path);
}

// The items of a list while it is being loaded.
class Items {
 public:
    ~Items() { PA_Release(&array_); }
    bool init(int32_t item_size, int64_t capacity) {
        auto block = molte::allocate_list<uint8_t>(static_cast<size_t>(capacity * item_size));
        if (block == nullptr) return false;
        std::memset(block.get(), 0, static_cast<size_t>(capacity * item_size));
        PA_Build(&array_, block.release(), item_size, 0, static_cast<int32_t>(capacity), kGrowBy);
        return true;
    }
    // A new item of zeros, to be filled; null when memory is out.
    template <typename T>
    T* add() {
        if (array_.nCount >= array_.nCapacity && PA_AllocMem(&array_, array_.nCount) < 0) {
            return nullptr;
        }
        return items<T>() + array_.nCount++;
    }
    template <typename T>
    [[nodiscard]] T* items() const {
        return static_cast<T*>(array_.pData);
    }
    [[nodiscard]] int32_t count() const { return array_.nCount; }

 private:
    PA array_ = {};
};

struct ListFile {
    molte::Heap<char> bytes;
    int64_t size = 0;

    // UNIT: how many bytes of a file stand for one of its largest length. 1, 0 for an empty file.
    int32_t read(const char* path, int32_t unit);
    [[nodiscard]] std::string_view text() const { return {bytes.get(), static_cast<size_t>(size)}; }
};

int32_t ListFile::read(const char* path, int32_t unit) {
    OXSTAT64 state;
    if (ORVEX_FileStatByFileName(path, &state) < 0) return kModule.trace(here());
    molte::Descriptor file(_open(path, ORVEX_OPEN_READ));
    if (!file.valid()) return fail_path(here(), kNotOpened, path);
    // By now it may be another file of that name.
    if (ORVEX_FileStatByFileDes(file.get(), &state) < 0) return fail_path(here(), kNotRead, path);
    if (state.st_size == 0) {
        (void)file.release();  // stays open: meant
        return 0;
    }
    if (state.st_size / unit > kLongestList) {
        return kModule.fail_text(here(), kTooLong, SystemError::none, "file length too long");
    }
    bytes = molte::allocate_list<char>(static_cast<size_t>(state.st_size));
    if (bytes == nullptr) return kModule.trace(here());
    size = state.st_size;
    const bool whole = molte::read_whole(file.get(), bytes.get(), static_cast<int32_t>(size));
    return whole ? 1 : fail_path(here(), kNotRead, path);
}

constexpr bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

// What stands in a line, as a C text without the blanks around it.
std::string_view trimmed(std::string_view line) {
    if (line.ends_with("\r\n")) line.remove_suffix(2);
    line = line.substr(0, line.find('\0'));
    while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
    while (!line.empty() && is_blank(line.back())) line.remove_suffix(1);
    return line;
}

// Passes each entry on until ADD refuses one.
template <typename Add>
void each_entry(std::string_view text, Add add) {
    while (!text.empty()) {
        const std::string_view entry = trimmed(molte::take_line(text, kLongestLine));
        if (!entry.empty() && entry.size() <= kLongestEntry && !add(entry)) return;
    }
}

bool add_key(Items& list, std::string_view entry) {
    auto* key = list.add<Key>();
    if (key == nullptr) return false;
    std::memcpy(key->text, entry.data(), entry.size());
    return true;
}

bool add_sid(Items& list, std::string_view entry) {
    char number[kLongestEntry + 1] = {};
    std::memcpy(number, entry.data(), entry.size());
    const int64_t value = _atoi64(number);
    if (value == -1) return true;
    auto* sid = list.add<uint64_t>();
    if (sid == nullptr) return false;
    *sid = static_cast<uint64_t>(value);
    return true;
}

// Reads the items of a file; their number.
template <typename Item>
int32_t load(const char* path, int32_t unit, int32_t usual_line,
             bool (*add)(Items&, std::string_view), Items* list) {
    ListFile file;
    if (const int32_t result = file.read(path, unit); result < 1) return result;
    if (!list->init(sizeof(Item), file.size / usual_line)) return kModule.trace(here());
    each_entry(file.text(), [=](std::string_view entry) { return add(*list, entry); });
    return list->count();
}

// A text file that is written line by line beside the one whose place it takes.
class Output {
 public:
    bool open(const char* path) {
        // A file marked read-only stops no write.
        if (_access(path, 0) == 0) ORVEX_FileChangeMode(path, ORVEX_MODE_OWNER, 0);
        return file_.open(path);
    }
    void write_line(std::string_view text) {
        if (used_ + text.size() + kLineEnd.size() > sizeof buffer_) flush();
        used_ += text.copy(buffer_ + used_, text.size());
        used_ += kLineEnd.copy(buffer_ + used_, kLineEnd.size());
    }
    // False, with errno, if anything could not be written; the old file is then as it was.
    bool close() {
        flush();
        return whole_ && file_.finish();
    }

 private:
    static constexpr std::string_view kLineEnd = platform::kLineEnd;

    void flush() {
        whole_ = whole_ && file_.write(buffer_, static_cast<unsigned>(used_));
        used_ = 0;
    }

    platform::Replacement file_;
    bool whole_ = true;
    size_t used_ = 0;
    char buffer_[65536];
};

template <typename WriteItem>
int32_t save(const char* path, const void* list, int32_t count, WriteItem write_item) {
    if (count < 1) return 0;
    if (path == nullptr || list == nullptr) return refuse();
    Output output;
    if (!output.open(path)) return fail_path(here(), kNotOpened, path);
    for (int32_t i = 0; i < count; ++i) write_item(output, i);
    return output.close() ? count : fail_path(here(), kNotWritten, path);
}

}  // namespace

int32_t MOLTE_LoadKeyList(const char* pszPath, char** ppKeys) {
    constexpr int32_t kUsualLine = 20;
    if (pszPath == nullptr || ppKeys == nullptr) return refuse();
    *ppKeys = nullptr;
    Items list;
    const int32_t read = load<Key>(pszPath, kUsualLine, kUsualLine, add_key, &list);
    if (read < 1) return read;
    size_t count = molte::lists::length(read);
    auto keys = molte::distinct_keys(list.items<Key>(), &count);
    if (keys == nullptr) return kModule.trace(here());
    *ppKeys = keys.release()->text;
    return static_cast<int32_t>(count);
}

int32_t MOLTE_SaveKeyList(const char* pszPath, const char* pKeys, int32_t n) {
    return save(pszPath, pKeys, n, [=](Output& output, int32_t i) {
        const char* key = molte::as_keys(pKeys)[i].text;
        output.write_line({key, strnlen(key, MOLTE_KEY_SLOT)});
    });
}

int32_t MOLTE_LoadSIDList(const char* pszPath, uint64_t** ppSids) {
    constexpr int32_t kShortLine = 4;
    if (pszPath == nullptr || ppSids == nullptr) return refuse();
    Items list;
    const int32_t read = load<uint64_t>(pszPath, 1, kShortLine, add_sid, &list);
    if (read < 1) return read;
    auto* sids = list.items<uint64_t>();
    MOLTE_SortSIDList(sids, read);
    const int32_t count = MOLTE_RemoveDupSID(sids, read);
    auto block = molte::allocate<uint64_t>(count);
    if (block == nullptr) return kModule.trace(here());
    std::memcpy(block.get(), sids, static_cast<size_t>(count) * sizeof(uint64_t));
    *ppSids = block.release();
    return count;
}

int32_t MOLTE_SaveSIDList(const char* pszPath, const uint64_t* pSids, int32_t n) {
    return save(pszPath, pSids, n, [=](Output& output, int32_t i) {
        char number[24];
        output.write_line(_ui64toa(pSids[i], number, 10));
    });
}
