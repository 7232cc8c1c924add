// The main path: where it is kept, read and written.
#include "configuration/oxmnpath.h"

#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/error.h"
#include "moltelib/file.h"
#include "moltelib/main_path.h"
#include "moltelib/text.h"
#include "platform/registry.h"

namespace {

constexpr auto kModule = molte::kOxmnpath;
constexpr char kRegistryKey[] = "Software\\Lumbra Software Inc\\ORVEX60";
constexpr char kOptionsKey[] = "Software\\Lumbra Software Inc\\ORVEX60\\Options";
constexpr char kValueName[] = "MainPath";
constexpr size_t kPathSize = 128;
constexpr uint32_t kNothingToSet = 412;

char main_path[kPathSize];
const char* known_main_path = nullptr;
bool found = false;

class RegistryKey {
 public:
    RegistryKey() = default;
    ~RegistryKey() {
        if (key_ != nullptr) RegCloseKey(key_);
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    [[nodiscard]] HKEY get() const { return key_; }
    HKEY* out() { return &key_; }

 private:
    HKEY key_ = nullptr;
};

// A report takes the registry's error from the thread.
bool succeeded(LONG result) {
    return platform::keep_error(result) == ERROR_SUCCESS;
}

int32_t registry_failed(int32_t line, uint32_t error, const char* what) {
    return kModule.fail_text(line, error, molte::SystemError::platform, what);
}

// The stored path is the format of a print without arguments. So "%%" is a percent sign, and any
// other conversion has nothing to print.
void print_as_format(char (&dst)[kPathSize], const char* format) {
    size_t length = 0;
    while (*format != '\0' && length < kPathSize - 1) {
        if (*format == '%' && *++format != '%') {
            format += std::strspn(format, "-+ #0123456789.*hlLqjzt");
            if (*format != '\0') ++format;
            continue;
        }
        dst[length++] = *format++;
    }
    dst[length] = '\0';
}

int32_t read_stored(char (&value)[kPathSize]) {
    RegistryKey key;
    if (!succeeded(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kOptionsKey, 0, KEY_READ, key.out()))) {
        return registry_failed(83, 253, kOptionsKey);
    }
    DWORD size = sizeof value;
    if (!succeeded(RegQueryValueExA(key.get(), kValueName, nullptr, nullptr,
                                    reinterpret_cast<BYTE*>(value), &size))) {
        return registry_failed(97, 254, kValueName);
    }
    value[size < kPathSize ? size : kPathSize - 1] = '\0';  // stored without its terminator
    return 1;
}

int32_t store(const char* path) {
    RegistryKey key;
    if (!succeeded(RegCreateKeyExA(HKEY_LOCAL_MACHINE, kOptionsKey, 0, nullptr, 0, KEY_ALL_ACCESS,
                                   nullptr, key.out(), nullptr))) {
        return registry_failed(151, 255, kOptionsKey);
    }
    if (!succeeded(RegSetValueExA(key.get(), kValueName, 0, REG_SZ,
                                  reinterpret_cast<const BYTE*>(path),
                                  static_cast<DWORD>(std::strlen(path))))) {
        return registry_failed(158, 256, kValueName);
    }
    return 1;
}

}  // namespace

bool molte::main_path_found() {
    return found;
}

const char* GetMainPath(void) {
    if (known_main_path == nullptr) kModule.fail(27, molte::kNoMainPath);
    return known_main_path;
}

int32_t ORVEX_SetMainPath(const char* pszPath) {
    if (pszPath == nullptr || strnlen(pszPath, kPathSize) == kPathSize) {
        return kModule.fail(35, molte::kTooLong, molte::SystemError::none,
                            "main path name too long");
    }
    std::memmove(main_path, pszPath, std::strlen(pszPath) + 1);
    known_main_path = main_path;
    found = true;
    return 1;
}

const char* GetRegKeyName(char* pszBuf) {
    if (pszBuf != nullptr) std::memcpy(pszBuf, kRegistryKey, sizeof kRegistryKey);
    return kRegistryKey;
}

int32_t InitMainPath(void) {
    if (GetMainPath() != nullptr) return 1;
    ORVEX_Err_ClearError();
    known_main_path = main_path;  // known, though empty, even if the registry has none
    char value[kPathSize] = {};
    if (read_stored(value) < 0) return -1;
    print_as_format(main_path, value);
    found = true;
    return 1;
}

int32_t CreateMainPath(const char* pszPath) {
    if (pszPath == nullptr || pszPath[0] == '\0') return kModule.fail(141, kNothingToSet);
    if (store(pszPath) < 0) return -1;
    const molte::Heap<char> path(ORVEX_StrDup(pszPath));  // the walk writes into its path
    if (path == nullptr) return kModule.trace(molte::here());
    return ORVEX_DirCreateRecur(path.get(), 0);
}
