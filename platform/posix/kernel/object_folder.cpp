#include "kernel/object_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/last_error.h"

namespace platform {

namespace {

constexpr std::size_t kLongestName = 254;  // with the mark in front what a file's name can have

bool failed(DWORD number) {
    SetLastError(number);
    return false;
}

// False with the last error for what is longer than a path may be.
template <typename... Values>
bool print(PathText& path, const char* format, Values... values) {
    const int length = std::snprintf(path, sizeof path, format, values...);
    return length < static_cast<int>(sizeof path) || failed(ERROR_FILENAME_EXCED_RANGE);
}

std::string_view without_prefix(std::string_view name) {
    for (const std::string_view prefix : {"Global\\", "Local\\"}) {
        if (name.starts_with(prefix)) return name.substr(prefix.size());
    }
    return name;
}

}  // namespace

bool object_folder(PathText& folder) {
    const char* other = secure_getenv(PLATFORM_ENVIRONMENT_PREFIX "OBJECT_FOLDER");
    const bool printed = other != nullptr && *other != '\0'
                             ? print(folder, "%s", other)
                             : print(folder, "/dev/shm/" PLATFORM_NAME "-%u", geteuid());
    if (!printed) return false;
    if (mkdir(folder, 0700) != 0 && errno != EEXIST) {
        return failed(errno == ENOENT ? ERROR_PATH_NOT_FOUND : error_number(errno));
    }
    struct stat status {};
    if (lstat(folder, &status) != 0) return failed(error_number(errno));
    const bool ours = S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
                      (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return ours || failed(ERROR_ACCESS_DENIED);
}

// The mark and the name, so that no name is "." or "..". A slash, which no file's name can have,
// becomes the backslash, which no object's name can have.
bool object_path(const PathText& folder, const char* name, PathText& path) {
    const std::string_view rest = without_prefix(name);
    if (rest.size() > kLongestName) return failed(ERROR_FILENAME_EXCED_RANGE);
    if (rest.find('\\') != std::string_view::npos) return failed(ERROR_PATH_NOT_FOUND);
    if (!print(path, "%s/%c%s", folder, kObjectMark, rest.data())) return false;
    std::replace(std::strrchr(path, '\0') - rest.size(), std::strrchr(path, '\0'), '/', '\\');
    return true;
}

bool bell_path(const PathText& folder, PathText& path) {
    return print(path, "%s/bell", folder);
}

}  // namespace platform
