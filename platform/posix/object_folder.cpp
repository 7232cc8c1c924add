#include "object_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "platform/last_error.h"

namespace platform {

namespace {

constexpr std::size_t kLongestName = 254;  // with the mark in front what a file's name can have

bool failed(DWORD number) {
    SetLastError(number);
    return false;
}

std::string_view without_prefix(std::string_view name) {
    for (const std::string_view prefix : {"Global\\", "Local\\"}) {
        if (name.substr(0, prefix.size()) == prefix) return name.substr(prefix.size());
    }
    return name;
}

}  // namespace

bool object_folder(std::string* folder) {
    const char* other = secure_getenv(PLATFORM_ENVIRONMENT_PREFIX "OBJECT_FOLDER");
    *folder = other != nullptr && *other != '\0'
                  ? std::string(other)
                  : "/dev/shm/" PLATFORM_NAME "-" + std::to_string(geteuid());
    if (mkdir(folder->c_str(), 0700) != 0 && errno != EEXIST) {
        return failed(errno == ENOENT ? ERROR_PATH_NOT_FOUND : error_number(errno));
    }
    struct stat status {};
    if (lstat(folder->c_str(), &status) != 0) return failed(error_number(errno));
    const bool ours = S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
                      (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return ours || failed(ERROR_ACCESS_DENIED);
}

// "=" and the name, so that no name is "." or "..". A slash, which no file's name can have, becomes
// the backslash, which no object's name can have.
bool object_file_name(const char* name, std::string* file_name) {
    const std::string_view rest = without_prefix(name);
    if (rest.size() > kLongestName) return failed(ERROR_FILENAME_EXCED_RANGE);
    if (rest.find('\\') != std::string_view::npos) return failed(ERROR_PATH_NOT_FOUND);
    *file_name = "=";
    for (const char c : rest) *file_name += c == '/' ? '\\' : c;
    return true;
}

}  // namespace platform
