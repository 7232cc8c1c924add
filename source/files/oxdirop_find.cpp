// Finding the entries of a folder.
#include <bit>
#include <cstring>

#include "core/report.h"
#include "files/directory_walk.h"
#include "files/file_calls.h"
#include "moltelib/directory.h"
#include "platform/find.h"
#include "platform/last_error.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr molte::Module kModule("oxdirop");
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
bool pattern_of(const char* name, molte::WalkPath* pattern) {
    if (!pattern->append(name)) return false;
    const size_t length = pattern->length();
    if (is_separator(name[length - 1])) return pattern->append("*");
    size_t component = length;
    while (component > 0 && !is_separator(name[component - 1])) --component;
    return std::strpbrk(name + component, "*?") != nullptr || pattern->append("\\*");
}

}  // namespace

int64_t ORVEX_FileFindFirst(const char* pszName, OXFINDDATA* pData) {
    return molte::find_first(pszName, pData, false);
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

namespace molte {

int64_t find_first(const char* name, OXFINDDATA* data, bool names_only) {
    *data = {};
    if (name == nullptr || name[0] == '\0') return kModule.fail(here(), 27);
    WalkPath pattern;
    HANDLE find = INVALID_HANDLE_VALUE;
    if (pattern_of(name, &pattern)) {
        WIN32_FIND_DATAA found{};
        find = names_only ? platform::find_first_name(pattern.text(), &found)
                          : FindFirstFileA(pattern.text(), &found);
        if (find != INVALID_HANDLE_VALUE) *data = std::bit_cast<OXFINDDATA>(found);
    } else {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
    }
    if (find == INVALID_HANDLE_VALUE) {
        return kModule.fail_text(here(), 1, SystemError::platform, pattern.text());
    }
    return std::bit_cast<intptr_t>(find);
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

}  // namespace molte
