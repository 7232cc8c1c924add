#include "files/path.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "platform/code_page.h"

namespace platform {

namespace {

// The bytes of the UTF-8 sequence at text; 0 when it is none. A NUL ends every comparison.
size_t utf8_size(const char* text) {
    const auto* byte = reinterpret_cast<const unsigned char*>(text);
    const auto follows = [byte](size_t at) { return (byte[at] & 0xC0) == 0x80; };
    if (byte[0] < 0x80) return 1;
    if (byte[0] < 0xC2) return 0;
    if (byte[0] < 0xE0) return follows(1) ? 2 : 0;
    if (byte[0] < 0xF0) {
        const bool overlong = byte[0] == 0xE0 && byte[1] < 0xA0;
        const bool surrogate = byte[0] == 0xED && byte[1] >= 0xA0;
        return !overlong && !surrogate && follows(1) && follows(2) ? 3 : 0;
    }
    const bool overlong = byte[0] == 0xF0 && byte[1] < 0x90;
    const bool too_big = byte[0] > 0xF4 || (byte[0] == 0xF4 && byte[1] >= 0x90);
    return !overlong && !too_big && follows(1) && follows(2) && follows(3) ? 4 : 0;
}

// Encodes into room for 4; the bytes, or 0 for what is no character.
size_t encode_utf8(uint32_t code, char* out) {
    if (code < 0x80) {
        out[0] = static_cast<char>(code);
        return 1;
    }
    if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return 0;
    const size_t size = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    constexpr uint32_t lead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (size_t i = size - 1; i > 0; --i, code >>= 6)
        out[i] = static_cast<char>(0x80 | (code & 0x3F));
    out[0] = static_cast<char>(lead[size] | code);
    return size;
}

// Copies an ASCII name with its separators exchanged; false for any other, and for one that does
// not fit. Nearly every name is one, and on the path of every call.
bool copy_ascii(const char* name, char* out, size_t room) {
    for (size_t i = 0; i < room; ++i) {
        const char c = name[i];
        if ((c & 0x80) != 0) return false;
        out[i] = c == '\\' ? '/' : c;
        if (c == '\0') return true;
    }
    return false;
}

}  // namespace

bool is_utf8(const char* text) {
    while (*text != '\0') {
        const size_t size = utf8_size(text);
        if (size == 0) return false;
        text += size;
    }
    return true;
}

size_t character_size(const char* text, bool utf8) {
    if (utf8) return utf8_size(text);
    return is_lead_byte(static_cast<unsigned char>(text[0])) && text[1] != '\0' ? 2 : 1;
}

const char* last_separator(const char* name) {
    const bool utf8 = is_utf8(name);
    const char* last = nullptr;
    for (; *name != '\0'; name += character_size(name, utf8)) {
        if (*name == '\\' || *name == '/') last = name;
    }
    return last;
}

KernelPath::KernelPath(const char* name) {
    if (name == nullptr) {
        errno = EINVAL;
        return;
    }
    if (strchr(name, '\\') == nullptr) {
        path_ = name;
        return;
    }
    if (copy_ascii(name, text_, sizeof text_)) {
        path_ = text_;
        return;
    }
    const size_t length = strlen(name);
    if (length >= sizeof text_) {
        errno = ENAMETOOLONG;
        return;
    }
    memcpy(text_, name, length + 1);
    const bool utf8 = is_utf8(text_);
    for (char* at = text_; *at != '\0'; at += character_size(at, utf8)) {
        if (*at == '\\') *at = '/';
    }
    path_ = text_;
}

KernelPath::KernelPath(const wchar_t* name) {
    if (name == nullptr) {
        errno = EINVAL;
        return;
    }
    char* at = text_;
    for (; *name != L'\0'; ++name) {
        char bytes[4];
        const size_t size =
            encode_utf8(static_cast<uint32_t>(*name == L'\\' ? L'/' : *name), bytes);
        const auto room = static_cast<size_t>(text_ + sizeof text_ - at);
        if (size == 0 || size >= room) {
            errno = size == 0 ? EILSEQ : ENAMETOOLONG;
            return;
        }
        memcpy(at, bytes, size);
        at += size;
    }
    *at = '\0';
    path_ = text_;
}

}  // namespace platform
