#include "platform/registry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "kernel/open_table.h"
#include "platform/code_page.h"
#include "registry/registry_store.h"

using platform::keep_error;
using platform::RegistryValue;

namespace {

constexpr const char* kProcessorKey = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
constexpr const char* kProcessorSpeed = "~MHz";
constexpr REGSAM kWriting = KEY_SET_VALUE | KEY_CREATE_SUB_KEY;

struct Close {
    void operator()(FILE* file) const { fclose(file); }
};
using Stream = std::unique_ptr<FILE, Close>;

// A file with one number in kHz.
uint32_t frequency(const char* name) {
    const Stream file(fopen(name, "re"));
    unsigned long khz = 0;
    if (file == nullptr || fscanf(file.get(), "%lu", &khz) != 1) return 0;
    return static_cast<uint32_t>(khz / 1000);
}

uint32_t speed_in_list() {
    const Stream file(fopen("/proc/cpuinfo", "re"));
    char line[256];
    double mhz = 0;
    while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr) {
        if (sscanf(line, "cpu MHz : %lf", &mhz) == 1 && mhz > 0) return static_cast<uint32_t>(mhz);
    }
    return 0;
}

// In MHz, 0 where the kernel doesn't tell it: the speed that the processor is made for, where the
// kernel knows it; else that of the moment.
uint32_t processor_speed() {
    constexpr const char* made_for = "/sys/devices/system/cpu/cpu0/cpufreq/base_frequency";
    constexpr const char* highest = "/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq";
    uint32_t mhz = frequency(made_for);
    if (mhz == 0) mhz = speed_in_list();
    return mhz != 0 ? mhz : frequency(highest);
}

// An open key.
struct Key {
    uint64_t id = 0;
    Key* next = nullptr;
    char path[1024] = {};
    REGSAM access = 0;

    [[nodiscard]] bool is_processor() const {
        return platform::compare_no_case(path, kProcessorKey) == 0;
    }
};

platform::OpenTable<Key> keys(2);

LONG give(DWORD error) {
    return keep_error(static_cast<LONG>(error));
}

// A path is one line of the store.
bool storable(const char* path) {
    return std::none_of(path, path + strlen(path),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

// The object for a key below another; 0 or the error.
DWORD prepare(HKEY parent, const char* path, REGSAM access, std::unique_ptr<Key>& key) {
    const Key* above = keys.find(parent);
    if (above == nullptr && parent != HKEY_LOCAL_MACHINE) return ERROR_INVALID_HANDLE;
    key = keys.make();
    if (key == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
    const char* base = above != nullptr ? above->path : "";
    const char* rest = path != nullptr ? path : "";
    const char* between = *base != '\0' && *rest != '\0' ? "\\" : "";
    const int length = snprintf(key->path, sizeof key->path, "%s%s%s", base, between, rest);
    if (length < 0 || static_cast<size_t>(length) >= sizeof key->path) {
        return ERROR_FILENAME_EXCED_RANGE;
    }
    for (char* end = key->path + length; end > key->path && end[-1] == '\\';) *--end = '\0';
    key->access = access;
    return storable(key->path) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

DWORD check_access(const Key& key) {
    if ((key.access & kWriting) == 0) return ERROR_SUCCESS;
    return key.is_processor() ? ERROR_ACCESS_DENIED : platform::registry_check_writable();
}

// Whether there is such a key. The root, and the system's own, are always there.
DWORD find(const Key& key) {
    if (key.path[0] == '\0' || key.is_processor()) return ERROR_SUCCESS;
    return platform::registry_find_key(key.path);
}

DWORD read(const Key& key, const char* name, RegistryValue& value) {
    if (!key.is_processor()) return platform::registry_read(key.path, name, value);
    value.type = REG_DWORD;
    value.number = platform::compare_no_case(name, kProcessorSpeed) == 0 ? processor_speed() : 0;
    return value.number != 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

// A value's bytes as the caller gets them.
DWORD hand_over(RegistryValue& value, DWORD* type, BYTE* data, DWORD* size) {
    if (value.type == REG_SZ) value.text.append('\0');
    if (!value.text.good()) return ERROR_NOT_ENOUGH_MEMORY;
    const bool text = value.type == REG_SZ;
    const auto length = static_cast<DWORD>(text ? value.text.view().size() : sizeof value.number);
    if (type != nullptr) *type = value.type;
    const DWORD room = size != nullptr ? *size : 0;
    if (size != nullptr) *size = length;
    if (data == nullptr) return ERROR_SUCCESS;
    if (room < length) return ERROR_MORE_DATA;
    memcpy(data, text ? static_cast<const void*>(value.text.view().data()) : &value.number, length);
    return ERROR_SUCCESS;
}

}  // namespace

LONG RegOpenKeyExA(HKEY parent, const char* path, DWORD options, REGSAM access, HKEY* result) {
    if (options != 0 || result == nullptr) return give(ERROR_INVALID_PARAMETER);
    std::unique_ptr<Key> key;
    DWORD error = prepare(parent, path, access, key);
    if (error == ERROR_SUCCESS) error = find(*key);
    if (error == ERROR_SUCCESS) error = check_access(*key);
    if (error == ERROR_SUCCESS) *result = keys.add(std::move(key));
    return give(error);
}

LONG RegCreateKeyExA(HKEY parent, const char* path, DWORD reserved, const char*, DWORD options,
                     REGSAM access, const void*, HKEY* result, DWORD* disposition) {
    if (reserved != 0 || options != REG_OPTION_NON_VOLATILE || path == nullptr ||
        result == nullptr) {
        return give(ERROR_INVALID_PARAMETER);
    }
    std::unique_ptr<Key> key;
    bool existed = true;
    DWORD error = prepare(parent, path, access, key);
    if (error == ERROR_SUCCESS) error = find(*key);
    if (error == ERROR_FILE_NOT_FOUND) error = platform::registry_make_key(key->path, &existed);
    if (error == ERROR_SUCCESS) error = check_access(*key);
    if (error != ERROR_SUCCESS) return give(error);
    *result = keys.add(std::move(key));
    if (disposition != nullptr) {
        *disposition = existed ? REG_OPENED_EXISTING_KEY : REG_CREATED_NEW_KEY;
    }
    return ERROR_SUCCESS;
}

LONG RegQueryValueExA(HKEY handle, const char* name, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* size) {
    const Key* key = keys.find(handle);
    if (key == nullptr) return give(ERROR_INVALID_HANDLE);
    if (reserved != nullptr || (data != nullptr && size == nullptr)) {
        return give(ERROR_INVALID_PARAMETER);
    }
    if ((key->access & KEY_QUERY_VALUE) == 0) return give(ERROR_ACCESS_DENIED);
    RegistryValue value;
    const DWORD error = read(*key, name != nullptr ? name : "", value);
    return give(error == ERROR_SUCCESS ? hand_over(value, type, data, size) : error);
}

LONG RegSetValueExA(HKEY handle, const char* name, DWORD reserved, DWORD type, const BYTE* data,
                    DWORD size) {
    const Key* key = keys.find(handle);
    if (key == nullptr) return give(ERROR_INVALID_HANDLE);
    const bool number = type == REG_DWORD && size == sizeof(DWORD);
    if (reserved != 0 || (!number && type != REG_SZ) || (data == nullptr && size > 0)) {
        return give(ERROR_INVALID_PARAMETER);
    }
    if ((key->access & KEY_SET_VALUE) == 0 || key->path[0] == '\0') {
        return give(ERROR_ACCESS_DENIED);
    }
    RegistryValue value;
    value.type = type;
    if (number) {
        memcpy(&value.number, data, sizeof value.number);
    } else {
        const auto* text = reinterpret_cast<const char*>(data);
        value.text.append({text, size > 0 && text[size - 1] == '\0' ? size - 1 : size});
        if (!value.text.good()) return give(ERROR_NOT_ENOUGH_MEMORY);
    }
    return give(platform::registry_write(key->path, name != nullptr ? name : "", value));
}

LONG RegCloseKey(HKEY handle) {
    return give(keys.take(handle) != nullptr || handle == HKEY_LOCAL_MACHINE
                    ? ERROR_SUCCESS
                    : ERROR_INVALID_HANDLE);
}
