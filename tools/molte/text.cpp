#include "text.h"

#include <cstdlib>
#include <memory>

#include "tool.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <langinfo.h>

#include <clocale>
#include <cstring>
#endif

namespace tool {

namespace {

struct Free {
    void operator()(char* text) const { ORVEX_free(text); }
};
using Owned = std::unique_ptr<char, Free>;

constexpr uint32_t kCodePages[] = {65001, 936, 1252};

uint32_t page_of(Encoding encoding) {
    return kCodePages[static_cast<size_t>(encoding)];
}

std::optional<std::string> taken(Owned text) {
    if (text != nullptr) return std::string(text.get());
    ORVEX_Err_ClearError();  // who asked says what it means
    return std::nullopt;
}

std::optional<std::string> from_page(const std::string& bytes, uint32_t page) {
    return taken(Owned(MOLTELIB_Utf8FromCodePage(bytes.c_str(), page)));
}

std::optional<std::string> to_page(const std::string& utf8, uint32_t page) {
    return taken(Owned(MOLTELIB_CodePageFromUtf8(utf8.c_str(), page)));
}

// The bytes of the UTF-8 character at the front; 0 where none stands.
size_t character_at(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) return 1;
    const size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < size) return 0;
    for (size_t i = 1; i < size; ++i) {
        if ((static_cast<unsigned char>(bytes[i]) & 0xC0) != 0x80) return 0;
    }
    const auto second = static_cast<unsigned char>(bytes[1]);
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool surrogate = lead == 0xED && second > 0x9F;
    const bool beyond = lead == 0xF4 && second > 0x8F;
    return overlong || surrogate || beyond ? 0 : size;
}

bool is_utf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const size_t size = character_at(bytes);
        if (size == 0) return false;
        bytes.remove_prefix(size);
    }
    return true;
}

}  // namespace

std::optional<Encoding> encoding_of(const std::string& name) {
    if (name == "utf-8") return Encoding::utf8;
    if (name == "gbk") return Encoding::gbk;
    if (name == "latin1") return Encoding::latin1;
    return std::nullopt;
}

Encoding usual_encoding() {
#if !defined(_WIN32)
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
    std::setlocale(LC_CTYPE, "");
    const char* name = nl_langinfo(CODESET);
    const bool chinese = std::strncmp(name, "GB", 2) == 0;
    const bool latin = std::strncmp(name, "ISO-8859-1", 10) == 0;
    std::setlocale(LC_CTYPE, before.c_str());
    if (chinese) return Encoding::gbk;
    if (latin) return Encoding::latin1;
#endif
    return Encoding::utf8;
}

std::optional<std::string> utf8_from(std::string_view bytes, Encoding encoding) {
    if (bytes.find('\0') != std::string_view::npos) return std::nullopt;
    if (encoding != Encoding::utf8) return from_page(std::string(bytes), page_of(encoding));
    return is_utf8(bytes) ? std::optional<std::string>(bytes) : std::nullopt;
}

std::optional<std::string> utf8_to(const std::string& utf8, Encoding encoding) {
    if (encoding == Encoding::utf8) return utf8;
    return to_page(utf8, page_of(encoding));
}

std::string from_library(std::string_view text) {
    const auto utf8 = from_page(std::string(text), 0);
    return utf8 ? *utf8 : shown(text);
}

std::string to_library(const std::string& utf8) {
    auto text = to_page(utf8, 0);
    if (!text) throw Failure("\"" + utf8 + "\" has a character that the code page lacks");
    return *text;
}

std::string shown(std::string_view bytes) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    while (!bytes.empty()) {
        size_t size = character_at(bytes);
        const auto byte = static_cast<unsigned char>(bytes[0]);
        const bool is_control =
            byte < 0x20 || byte == 0x7F || (size == 2 && byte == 0xC2 && (bytes[1] & 0x7F) < 0x20);
        if (size == 0 || is_control) {
            text += std::string("\\x") + digits[byte >> 4] + digits[byte & 15];
            size = 1;
        } else {
            text += bytes.substr(0, size);
        }
        bytes.remove_prefix(size);
    }
    return text;
}

#if defined(_WIN32)

namespace {

std::wstring wide_of(const std::string& utf8) {
    const int size = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), size);
    wide.resize(static_cast<size_t>(length));
    return wide;
}

}  // namespace

std::string library_path(const std::string& argument) {
    const std::wstring wide = wide_of(argument);
    std::string path(wide.size() * 4 + 1, '\0');
    BOOL lost = FALSE;
    const int length = WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, path.data(),
                                           static_cast<int>(path.size()), nullptr, &lost);
    if (length <= 0 || lost) {
        throw Failure("\"" + argument + "\" can't be written in this machine's code page");
    }
    path.resize(static_cast<size_t>(length) - 1);
    return path;
}

std::filesystem::path native_path(const std::string& argument) {
    return wide_of(argument);
}

std::string path_text(const std::filesystem::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path path_from_library(const std::string& path) {
    std::wstring wide(path.size() + 1, L'\0');
    const int length = MultiByteToWideChar(CP_ACP, 0, path.c_str(), -1, wide.data(),
                                           static_cast<int>(wide.size()));
    wide.resize(length > 0 ? static_cast<size_t>(length) - 1 : 0);
    return wide;
}

#else

std::string library_path(const std::string& argument) {
    return argument;
}

std::filesystem::path native_path(const std::string& argument) {
    return argument;
}

std::string path_text(const std::filesystem::path& path) {
    return path.generic_string();
}

std::filesystem::path path_from_library(const std::string& path) {
    return path;
}

#endif

}  // namespace tool
