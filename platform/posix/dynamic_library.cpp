#include "platform/dynamic_library.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"
#include "immortal.h"
#include "path.h"

namespace platform {

namespace {

// One place for each use of a library.
constinit Immortal<std::mutex> uses_lock;
constinit Immortal<std::vector<HMODULE>> uses;

HMODULE refuse(int system_error, DWORD number) {
    errno = system_error;
    SetLastError(number);
    return nullptr;
}

// The names that a library may have, the likeliest last but one.
std::vector<std::string> names_of(std::string_view name) {
    if (name.ends_with('.')) return {std::string(name.substr(0, name.size() - 1))};
    std::string full(name);
    if (name.find('.') == std::string_view::npos) full += ".dll";
    constexpr std::string_view extension = ".dll";
    if (!full.ends_with(extension)) return {full};
    const std::string stem = full.substr(0, full.size() - extension.size());
    return {full, "lib" + stem + ".so", stem + ".so"};
}

std::string program_folder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0) return "./";
    const std::string_view program(path, static_cast<size_t>(length));
    return std::string(program.substr(0, program.rfind('/') + 1));
}

// Loads the first of the names that the folder holds. *found tells whether there was one.
void* load_from(const std::string& folder, const std::vector<std::string>& names, bool* found) {
    for (const std::string& name : names) {
        const std::string path = folder + name;
        *found = access(path.c_str(), F_OK) == 0;
        if (*found) return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    }
    return nullptr;
}

void* load_as_system(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        void* library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library != nullptr) return library;
    }
    return nullptr;
}

HMODULE load(std::string_view path) {
    const size_t slash = path.rfind('/');
    const bool bare = slash == std::string_view::npos;
    const auto names = names_of(bare ? path : path.substr(slash + 1));
    const std::string folder = bare ? program_folder() : std::string(path.substr(0, slash + 1));
    bool found = false;
    void* library = load_from(folder, names, &found);
    if (!found && bare) library = load_as_system(names);
    if (library == nullptr) {
        return found ? refuse(ENOEXEC, ERROR_BAD_FORMAT) : refuse(ENOENT, ERROR_MOD_NOT_FOUND);
    }
    const std::lock_guard guard(uses_lock.value);
    uses.value.push_back(library);
    return library;
}

template <typename Char>
HMODULE load_named(const Char* name, HANDLE file, DWORD flags) {
    if (name == nullptr || *name == 0 || file != nullptr ||
        (flags & ~LOAD_WITH_ALTERED_SEARCH_PATH) != 0) {
        return refuse(EINVAL, ERROR_INVALID_PARAMETER);
    }
    const KernelPath path(name);
    if (!path.valid()) {
        fail();
        return nullptr;
    }
    return load(path.get());
}

// Whether an address lies in the library itself, and not in one that it needs.
bool is_own(HMODULE module, const void* address) {
    link_map* own = nullptr;
    void* owner = nullptr;
    Dl_info info;
    return dlinfo(module, RTLD_DI_LINKMAP, &own) == 0 &&
           dladdr1(address, &info, &owner, RTLD_DL_LINKMAP) != 0 && owner == own;
}

}  // namespace

}  // namespace platform

HMODULE LoadLibraryExA(const char* name, HANDLE file, DWORD flags) {
    return platform::load_named(name, file, flags);
}

HMODULE LoadLibraryExW(const wchar_t* name, HANDLE file, DWORD flags) {
    return platform::load_named(name, file, flags);
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
    using namespace platform;
    const std::lock_guard guard(uses_lock.value);
    const auto& all = uses.value;
    if (std::find(all.begin(), all.end(), module) == all.end()) {
        refuse(EINVAL, ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    void* address = name != nullptr ? dlsym(module, name) : nullptr;
    if (address != nullptr && is_own(module, address)) return reinterpret_cast<FARPROC>(address);
    refuse(ENOENT, ERROR_PROC_NOT_FOUND);
    return nullptr;
}

BOOL FreeLibrary(HMODULE module) {
    using namespace platform;
    {
        const std::lock_guard guard(uses_lock.value);
        auto& all = uses.value;
        const auto use = std::find(all.begin(), all.end(), module);
        if (use == all.end()) {
            refuse(EINVAL, ERROR_MOD_NOT_FOUND);
            return FALSE;
        }
        all.erase(use);
    }
    dlclose(module);
    return TRUE;
}
