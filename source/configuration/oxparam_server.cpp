// The list of servers.
#include <cstring>

#include "configuration/parameter_file.h"
#include "configuration/parameter_lines.h"
#include "moltelib/file.h"
#include "moltelib/main_path.h"
#include "moltelib/parameter_file.h"
#include "platform/files.h"

using namespace molte::ini;
using molte::here;

namespace {

constexpr size_t kLongestServerLine = 515;
constexpr size_t kPathSize = 256;

// The bytes used. A terminator takes the place of each line end; a piece of a long line has none.
size_t list_servers(std::string_view text, char* list, int32_t* count) {
    size_t used = 0;
    text.remove_prefix(byte_order_mark(text).size());
    while (!text.empty()) {
        std::string_view line = take_line(text, kLongestServerLine);
        line.remove_suffix(line_end(line).size());
        line = line.substr(0, line.find('\0'));
        if (line.empty()) continue;
        used += line.copy(list + used, line.size());
        list[used++] = '\0';
        ++*count;
    }
    return used;
}

int64_t bytes_of_list(const char* list, int32_t count) {
    const char* end = list;
    for (; count > 0; --count) end += std::strlen(end) + 1;
    return end - list;
}

}  // namespace

int32_t ORVEX_PARAMETER_CFGEXFFileName(char* pszDst) {
    if (pszDst == nullptr) return kModule.fail(here(), kBadArgument);
    if (ORVEX_CONF_PathName(pszDst) < 0) return kModule.trace(378);
    std::strcat(pszDst, "\\exfsvr.cfg");
    return 1;
}

int32_t ORVEX_PARAMETER_GetCFGEXFServer(char** ppszList, int32_t* pnCount) {
    if (ppszList == nullptr || pnCount == nullptr) return kModule.fail(here(), kBadArgument);
    *ppszList = nullptr;
    *pnCount = 0;
    char path[kPathSize];
    if (ORVEX_PARAMETER_CFGEXFFileName(path) < 0) return kModule.trace(here());
    const int64_t size = ORVEX_FileLenByFileName(path);
    if (size <= 0) return static_cast<int32_t>(size);
    if (size >= kSizeLimit) return kModule.fail(here(), kTooLarge);
    // Terminators of pieces of lines that are too long need room of their own.
    const int64_t room = size + size / static_cast<int64_t>(kLongestServerLine) + 128;
    auto list = molte::allocate<char>(room);
    if (list == nullptr) return kModule.trace(403);
    std::memset(list.get(), 0, static_cast<size_t>(room));
    LockedFile file;
    FileText text;
    if (file.open(path, 407) < 0 || text.load(file.fd()) < 0) return -1;
    // The file may have grown since it was measured.
    const std::string_view known = text.text().substr(0, static_cast<size_t>(size));
    const size_t used = list_servers(known, list.get(), pnCount);
    *ppszList = list.release();
    return static_cast<int32_t>(used);
}

int32_t ORVEX_PARAMETER_SetCFGEXFServer(const char* pszList, int32_t nCount) {
    if (nCount < 0 || (pszList == nullptr && nCount > 0)) {
        return kModule.fail(here(), kBadArgument);
    }
    char path[kPathSize];
    if (ORVEX_PARAMETER_CFGEXFFileName(path) < 0) return kModule.trace(443);
    constexpr std::string_view kLineEnd(platform::kLineEnd);
    const int64_t room = bytes_of_list(pszList, nCount) + int64_t{nCount} * 2;
    if (room >= kSizeLimit) return kModule.fail(here(), kTooLarge);
    const auto text = molte::allocate<char>(room);
    if (text == nullptr) return kModule.trace(here());
    size_t size = 0;
    for (const char* name = pszList; nCount > 0; --nCount) {
        const std::string_view line(name);
        size += line.copy(text.get() + size, line.size());
        size += kLineEnd.copy(text.get() + size, kLineEnd.size());
        name += line.size() + 1;
    }
    LockedFile file;
    FileText old;
    if (file.open_to_change(path, 446) < 0 || old.load(file.fd()) < 0) return -1;
    return file.change(old.text(), {text.get(), size});
}
