// Temporary names, making folders, exchanging names.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/owners.h"
#include "files/directory_of.h"
#include "files/file_calls.h"

using namespace molte::file;
using molte::here;
using molte::SystemError;

namespace {

constexpr uint32_t kNamesNotExchanged = 14;
constexpr uint32_t kNoTempName = 296;
constexpr int32_t kTempNames = 999999;
constexpr char kExchangeSuffix[] = ".dhX";

bool is_separator(char c) {
    return c == '/' || c == '\\';
}

// A second look makes two processes that create one tree at once both succeed.
bool ensure_folder(const char* path) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (exists(path) || _mkdir(path) == 0 || errno == EEXIST) return true;
    }
    return false;
}

// Where the first component begins: behind a drive, and behind the root's separator.
char* first_component(char* path) {
    char* colon = std::strchr(path, ':');
    char* start = colon != nullptr ? colon + 1 : path;
    return is_separator(*start) ? start + 1 : start;
}

// Keeps errno for the report while steps are taken back.
void undo(const char* from, const char* to) {
    const int reason = errno;
    platform::rename_file(from, to);
    errno = reason;
}

}  // namespace

int32_t ORVEX_TempFileName(const char* pszDir, char* pszOut, const char* pszPrefix) {
    char* name = _tempnam(pszDir, pszPrefix);
    if (name == nullptr) {
        return kModule.fail(here(), kNoTempName, SystemError::runtime, "path=%s prefix=%s",
                            pszDir != nullptr ? pszDir : "", pszPrefix != nullptr ? pszPrefix : "");
    }
    std::strcpy(pszOut, name);
    std::free(name);
    return 1;
}

int32_t ORVEX_UTIL_GetTempFileName(const char* pszDir, char* pszOut, const char* pszPrefix) {
    if (pszDir == nullptr || pszOut == nullptr) return kModule.fail(here(), kBadArgument);
    if (pszPrefix == nullptr || pszPrefix[0] == '\0') pszPrefix = "otmp";
    const size_t room = std::strlen(pszDir) + std::strlen(pszPrefix) + 24;
    for (int32_t number = 0; number < kTempNames; ++number) {
        snprintf(pszOut, room, "%s%c%s%d%s", pszDir, '\\', pszPrefix, number, ".tmp");
        const int32_t fd = open(pszOut, ORVEX_OPEN_RESERVE, ORVEX_MODE_OWNER);
        if (fd >= 0) {
            _close(fd);
            return 1;
        }
        // A folder of that name denies access; any other failure holds for every number.
        if (errno != EEXIST && (errno != EACCES || !exists(pszOut))) break;
    }
    return -1;
}

int32_t ORVEX_UTIL_TempFNFromFN(const char* pszFileName, char* pszOut, const char* pszPrefix) {
    if (pszFileName == nullptr) return kModule.fail(here(), kBadArgument);
    const molte::DirectoryOf folder(pszFileName);
    if (folder.path() == nullptr) return kModule.trace(here());
    return ORVEX_UTIL_GetTempFileName(folder.path(), pszOut, pszPrefix) > 0 ? 1
                                                                            : kModule.trace(here());
}

int32_t ORVEX_DirCreateRecur(char* pszPath, int32_t /*nUnused*/) {
    if (pszPath == nullptr || pszPath[0] == '\0') {
        return kModule.fail(here(), kBadArgument, SystemError::none, "path name is empty");
    }
    for (char* at = first_component(pszPath);; ++at) {
        while (*at != '\0' && !is_separator(*at)) ++at;
        const char separator = *at;
        *at = '\0';
        const bool there = ensure_folder(pszPath);
        if (!there) fail_name(here(), kNotOpened, SystemError::runtime, pszPath);
        *at = separator;
        if (!there) return -1;
        if (separator == '\0') return 1;
    }
}

int32_t ORVEX_CreatePathByFileName(const char* pszFileName) {
    if (pszFileName == nullptr) return kModule.fail(here(), kBadArgument);
    molte::DirectoryOf folder(pszFileName);
    if (folder.path() == nullptr) return kModule.trace(here());
    return ORVEX_DirCreateRecur(folder.path(), 0);
}

int32_t ORVEX_FileExchangeName(const char* pszA, const char* pszB) {
    if (pszA == nullptr) return kModule.fail(here(), kBadArgument);
    const size_t length = std::strlen(pszA);
    const auto name = molte::allocate<char>(static_cast<int64_t>(length + sizeof kExchangeSuffix));
    if (name == nullptr) return kModule.trace(here());
    std::memcpy(name.get(), pszA, length);
    std::memcpy(name.get() + length, kExchangeSuffix, sizeof kExchangeSuffix);
    const char* aside = name.get();

    if (platform::rename_file(pszA, aside) == 0) {
        if (platform::rename_file(pszB, pszA) == 0) {
            if (platform::rename_file(aside, pszB) == 0) return 1;
            undo(pszA, pszB);
        }
        undo(aside, pszA);
    }
    return fail_name(here(), kNamesNotExchanged, SystemError::runtime, pszA);
}
