// Text between the encodings that meet in the tool.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

enum class Encoding : uint8_t { utf8, gbk, latin1 };

// By its name on the command line; the one that the user's environment names, or UTF-8.
std::optional<Encoding> encoding_of(const std::string& name);
Encoding usual_encoding();

// None where the other side lacks a character or the text is none of its encoding.
std::optional<std::string> utf8_from(std::string_view bytes, Encoding encoding);
std::optional<std::string> utf8_to(const std::string& utf8, Encoding encoding);

// Text of the library, which is in its code page. To people what can't be read is shown as \xNN; a
// text for the library that its code page lacks ends the command.
std::string from_library(std::string_view text);
std::string to_library(const std::string& utf8);

// Lossless for any bytes: UTF-8 as it stands, every other byte as \xNN. A control byte too.
std::string shown(std::string_view bytes);

// A path as it was given, for the library and for the C++ library.
std::string library_path(const std::string& argument);
std::filesystem::path native_path(const std::string& argument);
std::string path_text(const std::filesystem::path& path);  // and back, with slashes
// One that the library gave.
std::filesystem::path path_from_library(const std::string& path);

}  // namespace tool
