// Parameter files by path: their text and lines, and values read, compared and set.
#include "configuration/oxparam.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/transfer.h"
#include "moltelib/file.h"
#include "moltelib/parameter_file.h"
#include "platform/code_page.h"
#include "platform/files.h"

int32_t g_bParamIsCaseSensitive = 1;

namespace molte::ini {

namespace {

constexpr int32_t kLockWaiting = 1;

// A zero byte ends the text of its line.
constexpr bool ends_name(char c) {
    return is_blank(c) || c == '#' || c == '=' || c == '\0';
}

constexpr bool ends_value(char c) {
    return c == '#' || c == '\t' || c == '\0';
}

}  // namespace

int32_t LockedFile::open(const char* path, int32_t line) {
    return take(platform::open_stream(path, "rb"), path, line);
}

int32_t LockedFile::open_or_make(const char* path, int32_t line) {
    FILE* stream = platform::open_stream(path, "a+b");
    return take(stream != nullptr ? stream : platform::open_stream(path, "rb"), path, line);
}

// Only a file that is missing is made, and not by "w": another process may make it meanwhile.
int32_t LockedFile::open_to_change(const char* path, int32_t line) {
    FILE* stream = platform::open_stream(path, "r+b");
    if (stream == nullptr && errno == ENOENT) {
        const Stream made(platform::open_stream(path, "a+b"));
        if (made != nullptr) stream = platform::open_stream(path, "r+b");
    }
    return take(stream, path, line);
}

int32_t LockedFile::take(FILE* stream, const char* path, int32_t line) {
    stream_.reset(stream);
    if (stream_ == nullptr) return kModule.fail_text(line, kNotOpened, SystemError::runtime, path);
    fd_ = _fileno(stream_.get());
    if (ORVEX_FP_FileLock(stream_.get(), kLockWaiting, 1) < 0) {
        stream_.reset();
        return -1;
    }
    return 1;
}

int32_t LockedFile::replace(std::string_view text) const {
    const auto size = static_cast<int32_t>(text.size());
    if (_lseeki64(fd_, 0, SEEK_SET) != 0 || !write_whole(fd_, text.data(), size)) {
        return fail_write(kModule, here(), fd_, text.data(), size);
    }
    if (ORVEX_UTIL_ChSizeByFD(fd_, size) < 0) return kModule.trace(here());
    return 1;
}

int32_t LockedFile::change(std::string_view from, std::string_view to) const {
    if (replace(to) > 0) return 1;
    // What was there has its room even on a full disk.
    static_cast<void>(replace(from));
    return -1;
}

int32_t FileText::load(int32_t fd) {
    const int count = _read(fd, near_, sizeof near_);
    if (count < 0) return fail_read(kModule, here(), fd, near_, sizeof near_);
    text_ = {near_, static_cast<size_t>(count)};
    const int64_t size = ORVEX_FileLen(fd);
    if (size < 0) return kModule.trace(here());
    if (size <= count) return 1;
    return load_rest(fd, size);
}

int32_t FileText::load_rest(int32_t fd, int64_t size) {
    if (size >= kSizeLimit) return kModule.fail(here(), kFileTooLarge);
    const auto known = static_cast<int64_t>(text_.size());
    far_ = allocate<char>(size);
    if (far_ == nullptr) return kModule.trace(here());
    std::memcpy(far_.get(), near_, text_.size());
    if (!read_whole(fd, far_.get() + known, static_cast<int32_t>(size - known))) {
        return fail_read(kModule, here(), fd, far_.get(), static_cast<int32_t>(size));
    }
    text_ = {far_.get(), static_cast<size_t>(size)};
    return 1;
}

std::string_view line_end(std::string_view line) {
    if (!line.ends_with('\n')) return {};
    return line.substr(line.size() - (line.ends_with("\r\n") ? 2 : 1));
}

Names::Names(const char* const* list, int32_t count) : list_(list), count_(count) {
    if (count == 1 && g_bParamIsCaseSensitive != 0) only_ = list[0];
}

bool Names::equal(const char* wanted, std::string_view name) {
    const int order = g_bParamIsCaseSensitive != 0
                          ? std::strncmp(wanted, name.data(), name.size())
                          : platform::compare_no_case(wanted, name.data(), name.size());
    return order == 0 && wanted[name.size()] == '\0';
}

Line::Line(std::string_view line) : rest_(line) {
    skip_blanks(rest_);
    const std::string_view text = rest_.substr(0, rest_.size() - line_end(rest_).size());
    size_t length = 0;
    while (length < text.size() && !ends_name(text[length])) ++length;
    // A name that the text ends with makes the line a comment.
    if (length == rest_.size() || rest_[length] == '\0') return;
    name_ = text.substr(0, length);
    rest_.remove_prefix(length);
}

bool Line::value(std::string_view* out) const {
    std::string_view text = rest_.substr(0, rest_.size() - line_end(rest_).size());
    skip_blanks(text);
    if (!text.starts_with('=')) return false;
    text.remove_prefix(1);
    skip_blanks(text);
    size_t length = 0;
    while (length < text.size() && !ends_value(text[length])) ++length;
    *out = text.substr(0, length);
    return true;
}

std::string_view Line::comment() const {
    const size_t at = rest_.find('#');
    return at == std::string_view::npos ? std::string_view() : rest_.substr(at);
}

}  // namespace molte::ini

using namespace molte::ini;
using molte::here;

namespace {

constexpr size_t kLongestValue = MOLTE_PARAM_SLOT - 1;

bool all_given(const char* path, const char* const* names, const char* values, int32_t count) {
    if (path == nullptr) return false;
    if (count < 1) return true;
    return names != nullptr && values != nullptr &&
           std::none_of(names, names + count, [](const char* name) { return name == nullptr; });
}

constexpr size_t slot_at(int32_t i) {
    return static_cast<size_t>(i) * MOLTE_PARAM_SLOT;
}

std::string_view value_at(const char* values, int32_t i) {
    const char* slot = values + slot_at(i);
    return {slot, strnlen(slot, kLongestValue)};
}

void put_value(char* values, int32_t i, std::string_view value) {
    char* slot = values + slot_at(i);
    slot[value.copy(slot, kLongestValue)] = '\0';
}

void find_values(std::string_view text, const Names& names, char* values) {
    for (int32_t i = 0; i < names.count(); ++i) put_value(values, i, {});
    text.remove_prefix(byte_order_mark(text).size());
    while (!text.empty()) {
        const std::string_view piece = take_line(text);
        if (!names.may_be_in(piece)) continue;
        const Line line(piece);
        if (!line.named()) continue;
        const int32_t i = names.find(line.name(), [](int32_t) { return true; });
        std::string_view value;
        if (i >= 0 && line.value(&value)) put_value(values, i, value);
    }
}

// What would end the line it is written in can't be set, nor can a name that is never found.
bool all_writable(const Names& names, const char* values) {
    for (int32_t i = 0; i < names.count(); ++i) {
        const std::string_view name(names.at(i));
        if (name.empty() || name.find('\n') != std::string_view::npos) return false;
        if (value_at(values, i).find('\n') != std::string_view::npos) return false;
    }
    return true;
}

// What the text of a file becomes when values are set.
class Rewrite {
 public:
    Rewrite(const Names& names, const char* values) : names_(names), values_(values) {}
    // 1 or -1. May be called again, for another text.
    int32_t make(std::string_view text);
    [[nodiscard]] std::string_view result() const { return {text_.get(), size_}; }

 private:
    int32_t allocate(std::string_view text);
    void add(std::string_view piece) { size_ += piece.copy(text_.get() + size_, piece.size()); }
    void add_value(int32_t i);
    bool replace(std::string_view piece);
    void add_missing();

    const Names& names_;
    const char* values_;
    molte::Heap<char> text_;
    size_t size_ = 0;
    molte::Heap<bool> found_;
    std::string_view line_end_;  // what new lines end with
};

int32_t Rewrite::allocate(std::string_view text) {
    size_t room = text.size();
    for (int32_t i = 0; i < names_.count(); ++i) {
        room += std::strlen(names_.at(i)) + value_at(values_, i).size() + MOLTE_PARAM_SLOT;
    }
    if (room >= kSizeLimit) return kModule.fail(here(), kFileTooLarge);
    text_ = molte::allocate<char>(static_cast<int64_t>(room));
    if (text_ == nullptr) return kModule.trace(246);
    found_ = molte::allocate<bool>(names_.count());
    if (found_ == nullptr) return kModule.trace(247);
    std::fill_n(found_.get(), names_.count(), false);
    size_ = 0;
    return 1;
}

void Rewrite::add_value(int32_t i) {
    add(names_.at(i));
    add(" = ");
    add(value_at(values_, i));
    found_[static_cast<size_t>(i)] = true;
}

// False for a line that isn't about any of the names.
bool Rewrite::replace(std::string_view piece) {
    if (!names_.may_be_in(piece)) return false;
    const Line line(piece);
    if (!line.named()) return false;
    const int32_t i =
        names_.find(line.name(), [this](int32_t at) { return !found_[static_cast<size_t>(at)]; });
    if (i < 0) return false;
    add_value(i);
    const std::string_view comment = line.comment();
    if (comment.empty()) {
        add(line_end(piece).empty() ? line_end_ : line_end(piece));
    } else {
        add("   ");
        add(comment);
    }
    return true;
}

void Rewrite::add_missing() {
    for (int32_t i = 0; i < names_.count(); ++i) {
        if (found_[static_cast<size_t>(i)]) continue;
        add_value(i);
        add(line_end_);
    }
}

// A file keeps the line ends it has; a new one gets those of the platform.
int32_t Rewrite::make(std::string_view text) {
    if (allocate(text) < 0) return -1;
    const std::string_view mark = byte_order_mark(text);
    add(mark);
    std::string_view rest = text.substr(mark.size());
    line_end_ = line_end(text.substr(0, text.find('\n') + 1));
    if (line_end_.empty()) line_end_ = platform::kLineEnd;
    for (int32_t missing = names_.count(); missing > 0 && !rest.empty();) {
        const std::string_view piece = take_line(rest);
        if (replace(piece)) {
            --missing;
        } else {
            add(piece);
        }
    }
    add(rest);
    if (size_ > mark.size() && text_[size_ - 1] != '\n') add(line_end_);
    add_missing();
    return 1;
}

// The second lock is another one: what a process has set before it came is there in the text that
// is read then, and is kept. Nothing is emptied without the lock, so nobody reads half a file.
int32_t rewrite(const char* path, const Names& names, const char* values) {
    LockedFile file;
    FileText text;
    Rewrite changed(names, values);
    if (file.open_to_change(path, 231) < 0 || text.load(file.fd()) < 0) return -1;
    if (changed.make(text.text()) < 0) return -1;
    file.close();
    FileText text_now;
    if (file.open_to_change(path, 323) < 0 || text_now.load(file.fd()) < 0) return -1;
    if (text_now.text() != text.text() && changed.make(text_now.text()) < 0) return -1;
    return file.change(text_now.text(), changed.result());
}

}  // namespace

int32_t PARAMETER_GetValueArray(const char* pszPath, const char* const* ppszNames, char* pszValues,
                                int32_t nCount) {
    if (!all_given(pszPath, ppszNames, pszValues, nCount)) {
        return kModule.fail(here(), kBadArgument);
    }
    LockedFile file;
    FileText text;
    if (file.open_or_make(pszPath, 119) < 0 || text.load(file.fd()) < 0) return -1;
    find_values(text.text(), {ppszNames, nCount}, pszValues);
    return 1;
}

int32_t UTIL_PARAMETER_IsParamNeedSet(const char* pszPath, const char* const* ppszNames,
                                      const char* pszValues, int32_t nCount) {
    if (nCount < 1) return 0;
    if (!all_given(pszPath, ppszNames, pszValues, nCount)) {
        return kModule.fail(here(), kBadArgument);
    }
    const auto present = molte::allocate<char>(int64_t{nCount} * MOLTE_PARAM_SLOT);
    if (present == nullptr) return kModule.trace(197);
    if (PARAMETER_GetValueArray(pszPath, ppszNames, present.get(), nCount) < 0) {
        return kModule.trace(200);
    }
    for (int32_t i = 0; i < nCount; ++i) {
        if (value_at(present.get(), i) != value_at(pszValues, i)) return 1;
    }
    return 0;
}

int32_t PARAMETER_SetValueArray(const char* pszPath, const char* const* ppszNames,
                                const char* pszValues, int32_t nCount) {
    const int32_t needed = UTIL_PARAMETER_IsParamNeedSet(pszPath, ppszNames, pszValues, nCount);
    if (needed < 0) return kModule.trace(226);
    if (needed == 0) return 1;
    const Names names{ppszNames, nCount};
    if (!all_writable(names, pszValues)) return kModule.fail(here(), kBadArgument);
    return rewrite(pszPath, names, pszValues);
}

int32_t PARAMETER_GetValue(const char* pszPath, const char* pszName, char* pszValue) {
    return PARAMETER_GetValueArray(pszPath, &pszName, pszValue, 1);
}

int32_t PARAMETER_SetValue(const char* pszPath, const char* pszName, const char* pszValue) {
    return PARAMETER_SetValueArray(pszPath, &pszName, pszValue, 1);
}
