#include "platform/dynamic_library.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>

#include "files/path.h"
#include "platform/critical_section.h"
#include "system/failure.h"

namespace platform {

namespace {

// One for each use of a library.
struct Use {
    HMODULE library;
    Use* next;
};
constinit Lock uses_lock;
Use* first_use = nullptr;

// The link to a use of the library; to null if there is none.
Use** find_use(HMODULE library) {
    Use** link = &first_use;
    while (*link != nullptr && (*link)->library != library) link = &(*link)->next;
    return link;
}

HMODULE refuse(int system_error, DWORD number) {
    errno = system_error;
    SetLastError(number);
    return nullptr;
}

// A name that a library may have.
struct Name {
    const char* prefix;
    std::string_view stem;
    const char* extension;
};

struct Names {
    Name all[3];
    int count;
    [[nodiscard]] const Name* begin() const { return all; }
    [[nodiscard]] const Name* end() const { return all + count; }
};

Names names_of(std::string_view name) {
    constexpr std::string_view extension = ".dll";
    if (name.ends_with('.')) return {{{"", name.substr(0, name.size() - 1), ""}}, 1};
    if (name.ends_with(extension)) {
        name.remove_suffix(extension.size());
    } else if (name.find('.') != std::string_view::npos) {
        return {{{"", name, ""}}, 1};
    }
    return {{{"", name, ".dll"}, {"lib", name, ".so"}, {"", name, ".so"}}, 3};
}

using Path = char[PATH_MAX];

// False when it is too long.
bool print(Path& path, std::string_view folder, const Name& name) {
    const int length =
        snprintf(path, sizeof path, "%.*s%s%.*s%s", static_cast<int>(folder.size()), folder.data(),
                 name.prefix, static_cast<int>(name.stem.size()), name.stem.data(), name.extension);
    return length < static_cast<int>(sizeof path);
}

std::string_view program_folder(Path& path) {
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0) return "./";
    const std::string_view program(path, static_cast<size_t>(length));
    return program.substr(0, program.rfind('/') + 1);
}

// Loads the first of the names that the folder holds. *found tells whether there was one.
void* load_from(std::string_view folder, const Names& names, bool* found) {
    for (const Name& name : names) {
        Path path;
        *found = print(path, folder, name) && access(path, F_OK) == 0;
        if (*found) return dlopen(path, RTLD_NOW | RTLD_LOCAL);
    }
    return nullptr;
}

void* load_as_system(const Names& names) {
    for (const Name& name : names) {
        Path path;
        void* library = print(path, "", name) ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
        if (library != nullptr) return library;
    }
    return nullptr;
}

HMODULE load(std::string_view path) {
    std::unique_ptr<Use> use(new (std::nothrow) Use);
    if (use == nullptr) return refuse(ENOMEM, ERROR_NOT_ENOUGH_MEMORY);
    const size_t slash = path.rfind('/');
    const bool bare = slash == std::string_view::npos;
    const Names names = names_of(bare ? path : path.substr(slash + 1));
    Path program;
    const std::string_view folder = bare ? program_folder(program) : path.substr(0, slash + 1);
    bool found = false;
    void* library = load_from(folder, names, &found);
    if (!found && bare) library = load_as_system(names);
    if (library == nullptr) {
        return found ? refuse(ENOEXEC, ERROR_BAD_FORMAT) : refuse(ENOENT, ERROR_MOD_NOT_FOUND);
    }
    const std::lock_guard guard(uses_lock);
    *use = {library, first_use};
    first_use = use.release();
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

HMODULE GetModuleHandleA(const char*) {
    return platform::refuse(ENOENT, ERROR_MOD_NOT_FOUND);
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
    using namespace platform;
    const auto is_open = [module] {  // not beyond: the loader has a lock of its own
        const std::lock_guard guard(uses_lock);
        return *find_use(module) != nullptr;
    };
    if (!is_open()) {
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
    std::unique_ptr<Use> use;
    {
        const std::lock_guard guard(uses_lock);
        Use** link = find_use(module);
        use.reset(*link);
        if (use != nullptr) *link = use->next;
    }
    if (use == nullptr) {
        refuse(EINVAL, ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    dlclose(module);
    return TRUE;
}
