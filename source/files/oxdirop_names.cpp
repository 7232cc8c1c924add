// Names of folders: splitting, the current folder, what kind a name is.
#include <cstring>

#include "files/directory_of.h"
#include "files/directory_walk.h"
#include "moltelib/directory.h"
#include "moltelib/file.h"
#include "platform/code_page.h"
#include "platform/files.h"

using molte::here;
using molte::SystemError;
using molte::directory::kModule;

namespace {

using molte::kBadArgument;

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

int32_t ORVEX_FileName2Path(const char* pszName, char* pszDir, char* pszBase) {
    if (pszName == nullptr) return kModule.fail(here(), kBadArgument);
    const size_t start = molte::base_name_start(pszName);
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
    return kModule.fail_text(here(), 29, SystemError::runtime, pszPath);
}

char* ORVEX_Getcwd(char* pszBuf, int32_t nSize) {
    if (pszBuf != nullptr && nSize > 0 && _getcwd(pszBuf, nSize) != nullptr) return pszBuf;
    kModule.fail(here(), 142, SystemError::runtime);
    return nullptr;
}

int32_t ORVEX_NameIsPath(const char* pszName) {
    OXSTAT64 state;
    if (ORVEX_FileStatByFileName(pszName, &state) < 0) return kModule.trace(here());
    return molte::directory::is_folder(state) ? 1 : 0;
}

int32_t ORVEX_IsDirEmpty(const char* pszName) {
    if (_access(pszName, 0) != 0) return 1;
    const int32_t is_path = ORVEX_NameIsPath(pszName);
    if (is_path < 0) return kModule.trace(here());
    if (is_path == 0) {
        return kModule.fail(here(), 402, SystemError::none, "%s is not path", pszName);
    }
    molte::directory::Find find(pszName, molte::directory::all_entries(pszName));
    if (!find.found()) return kModule.trace(here());
    for (; find.found(); find.next()) {
        if (find.is_dots()) continue;
        kModule.fail(here(), 900, SystemError::none, "%s is not empty", pszName);
        return 0;
    }
    return 1;
}
