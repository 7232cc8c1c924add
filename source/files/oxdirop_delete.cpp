// Deleting files in folders and trees, and what they take on the disk.
#include <cstring>

#include "files/oxdirop.h"
#include "moltelib/directory.h"
#include "moltelib/file.h"
#include "platform/code_page.h"
#include "platform/files.h"

using molte::here;
using molte::kNoState;
using molte::SystemError;
using molte::directory::all_entries;
using molte::directory::Find;
using molte::directory::is_folder;
using molte::directory::kModule;
using molte::directory::too_long;
using molte::directory::WalkPath;

namespace {

constexpr uint32_t kNotDeleted = 17;
constexpr int64_t kCluster = 4096;

unsigned char upper(char c) {
    return platform::capital_of(static_cast<unsigned char>(c));
}

// From the last character backward, whatever the case.
bool ends_with(const char* name, size_t length, const char* suffix) {
    const size_t size = std::strlen(suffix);
    if (length < size) return false;
    for (size_t i = 1; i <= size; ++i) {
        if (upper(name[length - i]) != upper(suffix[size - i])) return false;
    }
    return true;
}

int32_t fail_delete(int32_t line, const char* name) {
    return kModule.fail_text(line, kNotDeleted, SystemError::runtime, name);
}

// A path with the name of an entry at its end, as long as it lives.
class EntryPath {
 public:
    EntryPath(WalkPath* folder, const char* name) : folder_(folder), length_(folder->length()) {
        fits_ = folder->append("\\") && folder->append(name);
    }
    ~EntryPath() { folder_->cut(length_); }
    EntryPath(const EntryPath&) = delete;
    EntryPath& operator=(const EntryPath&) = delete;
    [[nodiscard]] bool fits() const { return fits_; }

 private:
    WalkPath* folder_;
    size_t length_;
    bool fits_;
};

int32_t delete_tree(WalkPath* folder, bool recursive);

int32_t delete_entry(WalkPath* folder, const Find& find, bool recursive) {
    OXSTAT64 state{};
    if (!find.is_link() && find.state(folder->text(), &state) != 0) {
        kModule.fail_text(here(), kNoState, SystemError::runtime, find.name());
        return kModule.trace(here());
    }
    const EntryPath entry(folder, find.name());
    if (!entry.fits()) return too_long(here(), find.name());
    if (recursive && is_folder(state)) return delete_tree(folder, recursive);
    return _unlink(folder->text()) == 0 ? 1 : fail_delete(here(), folder->text());
}

// A folder that can't be walked is no failed entry: nothing more is tried on it.
int32_t delete_entries(WalkPath* folder, bool recursive, bool* walked) {
    Find find(folder->text(), all_entries(folder->text()));
    *walked = find.found();
    if (!find.found()) return kModule.trace(here());
    for (; find.found(); find.next()) {
        if (!find.is_dots() && delete_entry(folder, find, recursive) < 0) return -1;
    }
    return 1;
}

// The folder itself goes at last, even if the walk didn't end well.
int32_t delete_tree(WalkPath* folder, bool recursive) {
    bool walked = false;
    const int32_t result = delete_entries(folder, recursive, &walked);
    if (!walked) return -1;
    return _rmdir(folder->text()) == 0 ? result : kModule.trace(here());
}

int64_t whole_clusters(int64_t length) {
    return (length + kCluster - 1) / kCluster * kCluster;
}

int64_t used_in(WalkPath* folder);

int64_t used_by(WalkPath* folder, const Find& find) {
    OXSTAT64 state;
    if (find.state(folder->text(), &state) != 0) {
        if (find.is_link()) return 0;  // leads nowhere
        kModule.fail_text(here(), kNoState, SystemError::runtime, find.name());
        return kModule.trace(here());
    }
    if (!is_folder(state)) return state.st_size < 1 ? 0 : whole_clusters(state.st_size);
    if (find.is_link()) return 0;
    const EntryPath entry(folder, find.name());
    if (!entry.fits()) return too_long(here(), find.name());
    const int64_t used = used_in(folder);
    return used < 1 ? used : used + kCluster;
}

int64_t used_in(WalkPath* folder) {
    int64_t sum = 0;
    Find find(folder->text(), all_entries(folder->text()));
    for (; find.found(); find.next()) {
        if (find.is_dots()) continue;
        const int64_t used = used_by(folder, find);
        if (used < 0) return kModule.trace(here());
        sum += used;
    }
    return sum;
}

bool is_wanted(const char* name, const char* suffix, int32_t min_length, int32_t max_length) {
    const size_t length = std::strlen(name);
    const auto signed_length = static_cast<int32_t>(length);
    if (signed_length < min_length || signed_length > max_length) return false;
    return suffix == nullptr || ends_with(name, length, suffix);
}

}  // namespace

int32_t ORVEX_DelFileInDir(const char* pszDir, const char* pszPrefix, const char* pszSuffix,
                           int32_t nMinLen, int32_t nMaxLen) {
    WalkPath folder;
    if (folder.start_at(pszDir) < 0) return kModule.trace(here());
    WalkPath pattern = folder;
    if (!pattern.append("\\") || !pattern.append(pszPrefix != nullptr ? pszPrefix : "")) {
        return too_long(here(), pszDir);
    }
    Find find(pattern.text(), "*");
    if (!find.found()) return 0;
    for (; find.found(); find.next()) {
        if (find.is_dots() || !is_wanted(find.name(), pszSuffix, nMinLen, nMaxLen)) continue;
        const EntryPath entry(&folder, find.name());
        if (!entry.fits()) return too_long(here(), find.name());
        if (_access(folder.text(), 0) == 0 && _unlink(folder.text()) != 0) {
            fail_delete(here(), folder.text());
            break;
        }
    }
    return 1;
}

int32_t ORVEX_DelFileInPathRecur(const char* pszDir, int32_t bRecursive) {
    WalkPath folder;
    if (folder.start_at(pszDir) < 0) return kModule.trace(here());
    return delete_tree(&folder, bRecursive != 0);
}

int64_t ORVEX_DiskUsedInDir(const char* pszName) {
    if (pszName == nullptr) return 0;
    OXSTAT64 state;
    if (ORVEX_FileStatByFileName(pszName, &state) < 0) return kModule.trace(here());
    if (!is_folder(state)) return state.st_size < 1 ? 0 : state.st_size;
    WalkPath folder;
    if (folder.start_at(pszName) < 0) return kModule.trace(here());
    return used_in(&folder);
}
