// The checksum by which an installation knows its own files, that of sha256sum.
#pragma once

#include <string>
#include <string_view>

namespace tool {

// As 64 digits.
std::string sha256(std::string_view bytes);

}  // namespace tool
