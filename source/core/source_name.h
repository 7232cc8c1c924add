// Source names in reports: what stands behind the last backslash. A slash is an ordinary character
// of a name here, though paths of files know it as a delimiter.
#pragma once

#include <string_view>

namespace molte {

[[nodiscard]] inline std::string_view base_name(const char* path) {
    if (path == nullptr) return "";
    const char* start = path;
    const char* end = path;
    for (; *end != '\0'; ++end) {
        if (*end == '\\') start = end + 1;
    }
    return {start, static_cast<size_t>(end - start)};
}

}  // namespace molte
