// Finding the entries of a folder.
#include <bit>
#include <cstring>

#include "files/directory_walk.h"
#include "moltelib/directory.h"
#include "platform/find.h"
#include "platform/last_error.h"

using molte::here;
using molte::SystemError;
using molte::directory::kEmptyName;
using molte::directory::kModule;

namespace {

constexpr int64_t kNoFind = -1;

static_assert(sizeof(OXFINDDATA) == sizeof(WIN32_FIND_DATAA));
static_assert(offsetof(OXFINDDATA, cFileName) == offsetof(WIN32_FIND_DATAA, cFileName));

HANDLE native(int64_t find) {
    return std::bit_cast<HANDLE>(static_cast<intptr_t>(find));
}

bool is_separator(char c) {
    return c == '\\' || c == '/';
}

// A folder's name stands for all its entries.
const char* rest_of_pattern(const char* name) {
    const char* component = name + std::strlen(name);
    while (component > name && !is_separator(component[-1])) --component;
    return std::strpbrk(component, "*?") != nullptr ? "" : molte::directory::all_entries(name);
}

}  // namespace

int64_t ORVEX_FileFindFirst(const char* pszName, OXFINDDATA* pData) {
    *pData = {};
    if (pszName == nullptr || pszName[0] == '\0') return kModule.fail(here(), kEmptyName);
    molte::directory::Find find(pszName, rest_of_pattern(pszName), false);
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
        return kModule.fail(here(), 28, SystemError::none, "pdata=%p stat=%p",
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

namespace molte::directory {

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
    if (!found_) kModule.fail_text(here(), 1, SystemError::platform, pattern.text());
    handle_ = std::bit_cast<intptr_t>(find);
}

bool Find::is_link() const {
    return (data_.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

int32_t Find::state(const char* folder, OXSTAT64* out) const {
    struct _stat64 found {};
    const auto entry = std::bit_cast<WIN32_FIND_DATAA>(data_);
    const int result = platform::stat_found(native(handle_), folder, &entry, &found);
    if (result == 0) *out = std::bit_cast<OXSTAT64>(found);
    return result;
}

}  // namespace molte::directory
