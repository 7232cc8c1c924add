// Names of folders: splitting, the current folder, what kind a name is; and finding their entries.
#include "files/oxdirop.h"

#include <bit>
#include <cstring>

#include "moltelib/directory.h"
#include "moltelib/file.h"
#include "platform/code_page.h"
#include "platform/files.h"
#include "platform/find.h"
#include "platform/last_error.h"

using namespace molte::directory;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr uint32_t kNoFindRecord = 28;
constexpr uint32_t kNotEntered = 29;
constexpr uint32_t kNoCurrentFolder = 142;
constexpr uint32_t kNoFolder = 402;
constexpr uint32_t kNotEmpty = 900;
constexpr int64_t kNoFind = -1;

static_assert(sizeof(OXFINDDATA) == sizeof(WIN32_FIND_DATAA));
static_assert(offsetof(OXFINDDATA, cFileName) == offsetof(WIN32_FIND_DATAA, cFileName));

HANDLE native(int64_t find) {
    return std::bit_cast<HANDLE>(static_cast<intptr_t>(find));
}

// A folder's name stands for all its entries.
const char* rest_of_pattern(const char* name) {
    const char* component = name + std::strlen(name);
    while (component > name && !is_separator(component[-1])) --component;
    return std::strpbrk(component, "*?") != nullptr ? "" : all_entries(name);
}

bool is_wild(char c) {
    return c == '*' || c == '?';
}

void copy(char* dst, const char* text, size_t length) {
    if (dst == nullptr) return;
    std::memmove(dst, text, length);
    dst[length] = '\0';
}

int32_t split(const char* directory, size_t length, const char* pattern, char* dir_out,
              char* pattern_out) {
    copy(pattern_out, pattern, std::strlen(pattern));
    copy(dir_out, directory, length);
    return 1;
}

}  // namespace

namespace molte::directory {

DirectoryOf::DirectoryOf(const char* file_name) {
    size_t length = base_name_start(file_name);
    if (length == 0) {
        file_name = ".";
        length = 1;
    } else if (file_name[length - 1] == '\\') {
        --length;
    }
    path_ = allocate<char>(static_cast<int64_t>(length) + 1);
    if (path_ == nullptr) return;
    std::memcpy(path_.get(), file_name, length);
    path_[length] = '\0';
}

const char* all_entries(const char* folder) {
    const size_t length = std::strlen(folder);
    if (length == 0) return "";
    return is_separator(folder[length - 1]) ? "*" : "\\*";
}

Find::Find(const char* start, const char* rest, bool names_only) {
    WalkPath pattern;
    HANDLE find = INVALID_HANDLE_VALUE;
    if (pattern.append(start) && pattern.append(rest)) {
        WIN32_FIND_DATAA found{};
        find = names_only ? platform::find_first_name(pattern.text(), &found)
                          : FindFirstFileA(pattern.text(), &found);
        found_ = find != INVALID_HANDLE_VALUE;
        if (found_) data_ = std::bit_cast<OXFINDDATA>(found);
    } else {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
    }
    if (!found_)
        kModule.fail_text(here(), molte::kNotOpened, SystemError::platform, pattern.text());
    handle_ = std::bit_cast<intptr_t>(find);
}

bool Find::is_link() const {
    return (data_.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool Find::leads_to_folder() const {
    return (data_.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int32_t Find::state(const char* folder, OXSTAT64* out) const {
    struct _stat64 found {};
    const auto entry = std::bit_cast<WIN32_FIND_DATAA>(data_);
    const int result = platform::stat_found(native(handle_), folder, &entry, &found);
    if (result == 0) *out = std::bit_cast<OXSTAT64>(found);
    return result;
}

}  // namespace molte::directory

int32_t ORVEX_FileName2Path(const char* pszName, char* pszDir, char* pszBase) {
    if (pszName == nullptr) return kModule.fail(here(), kBadArgument);
    const size_t start = base_name_start(pszName);
    copy(pszBase, pszName + start, std::strlen(pszName + start));
    if (start == 0) {
        copy(pszDir, ".", 1);
    } else {
        copy(pszDir, pszName, pszName[start - 1] == '\\' ? start - 1 : start);
    }
    return 1;
}

int32_t ORVEX_FileSplitDirName(const char* pszName, char* pszDir, char* pszPattern) {
    copy(pszDir, "", 0);
    copy(pszPattern, "", 0);
    if (pszName == nullptr || pszName[0] == '\0') return 0;
    const size_t length = std::strlen(pszName);
    if (pszName[length - 1] == '\\') return split(pszName, length - 1, "", pszDir, pszPattern);

    size_t at = length;
    while (at > 0 && pszName[at - 1] != '\\' && !is_wild(pszName[at - 1])) --at;
    if (at == 0 || !is_wild(pszName[at - 1])) return split(pszName, length, "", pszDir, pszPattern);
    while (at > 0 && pszName[at - 1] != '\\') --at;
    if (at == 0) return split(".", 1, pszName, pszDir, pszPattern);
    const size_t root = at == 1 ? 1 : at - 1;  // "\" alone stays
    return split(pszName, root, pszName + at, pszDir, pszPattern);
}

int32_t ORVEX_TransPathDelimiter(char* pszPath, char cDelimiter) {
    for (char* at = pszPath; *at != '\0'; ++at) {
        if (isleadbyte(static_cast<unsigned char>(*at)) != 0) {
            if (at[1] != '\0') ++at;
        } else if (*at == '/' || *at == '\\') {
            *at = cDelimiter;
        }
    }
    return 1;
}

int32_t ORVEX_ChDir(const char* pszPath) {
    if (_chdir(pszPath) == 0) return 1;
    return kModule.fail_text(here(), kNotEntered, SystemError::runtime, pszPath);
}

char* ORVEX_Getcwd(char* pszBuf, int32_t nSize) {
    if (pszBuf != nullptr && nSize > 0 && _getcwd(pszBuf, nSize) != nullptr) return pszBuf;
    kModule.fail(here(), kNoCurrentFolder, SystemError::runtime);
    return nullptr;
}

int32_t ORVEX_NameIsPath(const char* pszName) {
    OXSTAT64 state;
    if (ORVEX_FileStatByFileName(pszName, &state) < 0) return kModule.trace(here());
    return is_folder(state) ? 1 : 0;
}

int32_t ORVEX_IsDirEmpty(const char* pszName) {
    if (_access(pszName, 0) != 0) return 1;
    const int32_t is_path = ORVEX_NameIsPath(pszName);
    if (is_path < 0) return kModule.trace(here());
    if (is_path == 0) {
        return kModule.fail(here(), kNoFolder, SystemError::none, "%s is not path", pszName);
    }
    Find find(pszName, all_entries(pszName));
    if (!find.found()) return kModule.trace(here());
    for (; find.found(); find.next()) {
        if (find.is_dots()) continue;
        kModule.fail(here(), kNotEmpty, SystemError::none, "%s is not empty", pszName);
        return 0;
    }
    return 1;
}

int64_t ORVEX_FileFindFirst(const char* pszName, OXFINDDATA* pData) {
    *pData = {};
    if (pszName == nullptr || pszName[0] == '\0') return kModule.fail(here(), kEmptyName);
    Find find(pszName, rest_of_pattern(pszName), false);
    *pData = find.data();
    return find.release();
}

int32_t ORVEX_FileFindNext(int64_t nFind, OXFINDDATA* pData) {
    if (nFind == kNoFind) return 0;
    WIN32_FIND_DATAA data{};
    if (FindNextFileA(native(nFind), &data) == 0) return 0;
    *pData = std::bit_cast<OXFINDDATA>(data);
    return 1;
}

int32_t ORVEX_FileFindClose(int64_t nFind) {
    return FindClose(native(nFind)) != 0 ? 1 : 0;
}

char* ORVEX_FileFindGetName(OXFINDDATA* pData) {
    return pData->cFileName;
}

int32_t ORVEX_FileFindCopyName(const OXFINDDATA* pData, OXFILESTAT* pRecord) {
    if (pData == nullptr || pRecord == nullptr) {
        return kModule.fail(here(), kNoFindRecord, SystemError::none, "pdata=%p stat=%p",
                            static_cast<const void*>(pData), static_cast<const void*>(pRecord));
    }
    *pRecord = {};
    const size_t length = strnlen(pData->cFileName, sizeof pData->cFileName);
    static_assert(sizeof pData->cFileName <= OXFILESTAT_NAME_SIZE, "every found name fits");
    std::memcpy(pRecord->szName, pData->cFileName, length);
    std::memcpy(pRecord->szShortName, pData->cAlternateFileName,
                strnlen(pData->cAlternateFileName, sizeof pData->cAlternateFileName));
    return 1;
}
