// The files of the CONF folder: single values, the list of servers, the identity of the machine.
#include "configuration/oxparam.h"

#include <cstring>

#include "core/transfer.h"
#include "moltelib/date_time.h"
#include "moltelib/file.h"
#include "moltelib/main_path.h"
#include "moltelib/parameter_file.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "moltelib/uuid.h"
#include "platform/files.h"
#include "platform/text.h"

using namespace molte::ini;
using molte::here;
using molte::SystemError;

namespace {

constexpr uint32_t kNoNumber = 257;
constexpr uint32_t kNoBool = 258;
constexpr uint32_t kNotZeroOrOne = 413;
constexpr int32_t kDefaultServerPort = 6798;

using Value = char[MOLTE_PARAM_SLOT];

// A path of the CONF folder. The folder and the name of the default file have less than 128
// characters each.
class ConfPath {
 public:
    int32_t set_default() { return ORVEX_PARAMETER_PathFileName(path_); }
    int32_t set(const char* file) {
        if (file == nullptr || strnlen(file, kLongestName) == kLongestName) {
            return kModule.fail(here(), kBadArgument);
        }
        return ORVEX_PARAMETER_PathFileNameByFN(path_, file);
    }
    [[nodiscard]] const char* get() const { return path_; }

 private:
    static constexpr size_t kLongestName = 512;
    char path_[kLongestName + 160];
};

// A value that must be there.
int32_t present(const char* name, const char* value, int32_t line) {
    return value[0] != '\0' ? 1 : kModule.fail_text(line, kAbsent, SystemError::none, name);
}

// As "%d" reads, whose high bits are lost.
bool read_int(const char* text, int32_t* out) {
    const char* at = text;
    while (platform::is_space(static_cast<unsigned char>(*at))) ++at;
    if (*at == '+' || *at == '-') ++at;
    if (!platform::is_digit(static_cast<unsigned char>(*at))) return false;
    *out = static_cast<int32_t>(_atoi64(text));
    return true;
}

int32_t fail_number(int32_t line, uint32_t error, const char* name, const char* value) {
    return kModule.fail(line, error, SystemError::runtime, "name=%s val=%s", name, value);
}

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

int32_t identity_path(char (&dst)[kPathSize], int32_t line) {
    if (ORVEX_CONF_PathName(dst) < 0) return kModule.trace(line);
    std::strcat(dst, "\\serverid.dat");
    return 1;
}

int32_t read_identity(const char* path, uint8_t* id) {
    molte::Descriptor file(ORVEX_FileOpenByChmod(path, ORVEX_OPEN_UPDATE));
    if (!file.valid()) file.reset(ORVEX_FileOpenByChmod(path, ORVEX_OPEN_READ));
    if (!file.valid()) return kModule.fail_text(492, kNotOpened, SystemError::runtime, path);
    if (molte::read_whole(file.get(), id, ORVEX_UUID_SIZE)) return 1;
    return molte::fail_read(kModule, 494, file.get(), id, ORVEX_UUID_SIZE);
}

int32_t write_identity(const char* path, const uint8_t* id) {
    ORVEX_FileChangeMode(path, ORVEX_MODE_OWNER, 0);
    const molte::Descriptor file(_open(path, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file.valid()) return kModule.fail_text(502, kNotOpened, SystemError::runtime, path);
    if (molte::write_whole(file.get(), id, ORVEX_UUID_SIZE)) return 2;
    return molte::fail_write(kModule, 503, file.get(), id, ORVEX_UUID_SIZE);
}

}  // namespace

// ---- Single values, of the default file and of the other files of the CONF folder ----

int32_t ORVEX_PARAMETER_GetValueArray(const char* const* ppszNames, char* pszValues,
                                      int32_t nCount) {
    ConfPath path;
    if (path.set_default() < 0) return kModule.trace(186);
    return PARAMETER_GetValueArray(path.get(), ppszNames, pszValues, nCount);
}

int32_t ORVEX_PARAMETER_SetValueArray(const char* const* ppszNames, const char* pszValues,
                                      int32_t nCount) {
    ConfPath path;
    if (path.set_default() < 0) return kModule.trace(356);
    return PARAMETER_SetValueArray(path.get(), ppszNames, pszValues, nCount);
}

int32_t ORVEX_PARAMETER_GetValue(const char* pszName, char* pszValue) {
    if (ORVEX_PARAMETER_GetValueArray(&pszName, pszValue, 1) < 0) return -1;
    return present(pszName, pszValue, 364);
}

int32_t get_RVEX_src(const char* pszName, char* pszValue) {
    return ORVEX_PARAMETER_GetValue(pszName, pszValue);
}

int32_t ORVEX_PARAMETER_SetValue(const char* pszName, const char* pszValue) {
    return ORVEX_PARAMETER_SetValueArray(&pszName, pszValue, 1);
}

int32_t ORVEX_PARAMETER_GetValueInt(const char* pszName, int32_t* pnValue) {
    if (pnValue == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(44);
    return read_int(value, pnValue) ? 1 : fail_number(47, kNoNumber, pszName, value);
}

int32_t ORVEX_PARAMETER_GetValueLong(const char* pszName, int64_t* pn64Value) {
    if (pn64Value == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(58);
    *pn64Value = _atoi64(value);
    return 1;
}

int32_t ORVEX_PARAMETER_GetValueBool(const char* pszName, int32_t* pbValue) {
    if (pbValue == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(67);
    int32_t number = 0;
    if (!read_int(value, &number)) return fail_number(70, kNoBool, pszName, value);
    if (number != 0 && number != 1) {
        return kModule.fail(75, kNotZeroOrOne, SystemError::none, "name=%s value=%d not 0 or 1",
                            pszName, number);
    }
    *pbValue = number;
    return 1;
}

int32_t ORVEX_PARAMETER_SetValueInt(const char* pszName, int32_t nValue) {
    Value value = "";
    _i64toa(nValue, value, 10);
    return ORVEX_PARAMETER_SetValue(pszName, value);
}

int32_t ORVEX_PARAMETER_GetValueDateTime(const char* pszName, ORVEXDATETIME* pDateTime) {
    if (pDateTime == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValue(pszName, value) < 0) return kModule.trace(87);
    return ORVEX_DateTime_DispFmt2DBFmt(value, pDateTime) < 0 ? -1 : 1;
}

int32_t ORVEX_PARAMETER_GetServerNameAndPort(char* pszName, int32_t* pnPort) {
    if (pnPort == nullptr) return kModule.fail(here(), kBadArgument);
    *pnPort = kDefaultServerPort;
    if (ORVEX_PARAMETER_GetValue("DBServerName", pszName) < 0) return kModule.trace(33);
    Value port = "";
    if (ORVEX_PARAMETER_GetValue("DBServerPort", port) > 0) read_int(port, pnPort);
    return 1;
}

int32_t ORVEX_PARAMETER_GetDefaultUserName(char* pszName) {
    if (pszName == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_strncpy(pszName, g_stBv.szDefaultUserName, sizeof g_stBv.szDefaultUserName);
    return 1;
}

int32_t ORVEX_PARAMETER_GetValueByFN(const char* pszFile, const char* pszName, char* pszValue) {
    if (pszFile == nullptr) return ORVEX_PARAMETER_GetValue(pszName, pszValue);
    ConfPath path;
    if (path.set(pszFile) < 0) return kModule.trace(here());
    if (PARAMETER_GetValue(path.get(), pszName, pszValue) < 0) return -1;
    return present(pszName, pszValue, here());
}

int32_t ORVEX_PARAMETER_GetIntValueByFN(const char* pszFile, const char* pszName,
                                        int32_t* pnValue) {
    if (pnValue == nullptr) return kModule.fail(here(), kBadArgument);
    Value value = "";
    if (ORVEX_PARAMETER_GetValueByFN(pszFile, pszName, value) < 0) return kModule.trace(539);
    return read_int(value, pnValue) ? 1 : fail_number(542, kNoNumber, pszName, value);
}

int32_t ORVEX_PARAMETER_SetValueByFN(const char* pszFile, const char* pszName,
                                     const char* pszValue) {
    ConfPath path;
    if (path.set(pszFile) < 0) return kModule.trace(here());
    return PARAMETER_SetValue(path.get(), pszName, pszValue);
}

// ---- The list of servers ----

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
    if (size >= kSizeLimit) return kModule.fail(here(), kFileTooLarge);
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
    if (room >= kSizeLimit) return kModule.fail(here(), kFileTooLarge);
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

// ---- The identity of the machine ----

int32_t ORVEX_PARAMETER_GetServerID(uint8_t* pabyId) {
    if (pabyId == nullptr) return kModule.fail(here(), kBadArgument);
    char path[kPathSize];
    if (identity_path(path, here()) < 0) return -1;
    if (read_identity(path, pabyId) > 0) return 1;
    if (ORVEX_UUID_Gen(pabyId) < 0) return kModule.trace(here());
    return write_identity(path, pabyId);
}

int32_t ORVEX_PARAMETER_DelServerID(void) {
    char path[kPathSize];
    if (identity_path(path, 471) < 0) return -1;
    return _unlink(path);
}
