#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "data/oxstring.h"
#include "moltelib/text_edit.h"
#include "moltelib/text_search.h"
#include "platform/code_page.h"

namespace {

constexpr auto kModule = molte::kOxstring;

bool is_white(char c) {
    return platform::is_white(static_cast<unsigned char>(c));
}

void remove_head(char* text, size_t count) {
    if (count > 0) memmove(text, text + count, strlen(text + count) + 1);
}

bool set_holds(const char* set, int32_t value) {
    for (auto c = molte::first_character(set); c.size != 0; c = molte::first_character(set)) {
        if (c.value == value) return true;
        set += c.size;
    }
    return false;
}

// The characters of a text as values; up to 128 without taking memory.
class CharacterSet {
 public:
    // False without memory, which is then already reported.
    bool unpack(const char* set) {
        if (const size_t size = strlen(set); size > sizeof small_ / sizeof small_[0]) {
            large_ = molte::allocate<int32_t>(static_cast<int64_t>(size));
            if (large_ == nullptr) return false;
        }
        for (auto c = molte::first_character(set); c.size != 0; c = molte::first_character(set)) {
            values()[count_++] = c.value;
            has_double_ |= c.size == 2;
            set += c.size;
        }
        return true;
    }

    [[nodiscard]] bool holds(int32_t value) {
        for (size_t i = 0; i < count_; ++i) {
            if (values()[i] == value) return true;
        }
        return false;
    }

    [[nodiscard]] bool has_double() const { return has_double_; }

 private:
    int32_t* values() { return large_ != nullptr ? large_.get() : small_; }

    int32_t small_[128];
    molte::Heap<int32_t> large_;
    size_t count_ = 0;
    bool has_double_ = false;
};

// Bytes are signed here, so one from 128 up never matches: meant.
void right_trim_bytes(char* text, CharacterSet& set) {
    size_t end = strlen(text);
    while (end > 0 && set.holds(static_cast<signed char>(text[end - 1]))) --end;
    text[end] = 0;
}

// The byte at which the walk stops goes too, though it wasn't matched: meant.
void right_trim_characters(char* text, CharacterSet& set) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    size_t p = strlen(text);
    if (p == 0) return;
    for (--p; p > 0; --p) {
        const int32_t before = bytes[p - 1];
        const bool lead = platform::is_lead_byte(bytes[p - 1]);
        if (!set.holds(lead ? before * 256 + bytes[p] : before)) break;
    }
    text[p] = 0;
}

}  // namespace

int32_t MOLTE_STR_LeftTrim(char* s, char ch) {
    if (s == nullptr) return 0;
    size_t count = 0;
    while (s[count] == ch && ch != 0) ++count;
    remove_head(s, count);
    return 1;
}

int32_t MOLTE_STR_RightTrim(char* s, char ch) {
    if (s == nullptr) return 0;
    size_t end = strlen(s);
    while (end > 0 && s[end - 1] == ch) --end;
    s[end] = 0;
    return 1;
}

char* MOLTE_STR_LeftTrimSpace(const char* s) {
    while (s != nullptr && is_white(*s)) ++s;
    return const_cast<char*>(s);
}

int32_t MOLTE_STR_RightTrimSpace(char* s) {
    if (s == nullptr) return 0;
    size_t end = strlen(s);
    while (end > 0 && is_white(s[end - 1])) --end;
    s[end] = 0;
    return 1;
}

int32_t MOLTE_STR_LeftStrTrim(char* s, const char* set) {
    if (s == nullptr || set == nullptr) return 0;
    const char* at = s;
    for (auto c = molte::first_character(at); c.size != 0; c = molte::first_character(at)) {
        if (!set_holds(set, c.value)) break;
        at += c.size;
    }
    remove_head(s, static_cast<size_t>(at - s));
    return 1;
}

int32_t MOLTE_STR_RightStrTrim(char* s, const char* set) {
    if (s == nullptr || set == nullptr) return 0;
    CharacterSet characters;
    if (!characters.unpack(set)) return kModule.trace(molte::here());
    if (characters.has_double()) {
        right_trim_characters(s, characters);
    } else {
        right_trim_bytes(s, characters);
    }
    return 1;
}

int32_t MOLTE_STR_LeftTrunc(char* s, int32_t n, int32_t len) {
    if (s == nullptr || n < 0) return kModule.fail(molte::here(), molte::kBadArgument);
    if (n == 0) return 1;
    const int64_t length = len < 0 ? static_cast<int64_t>(strlen(s)) : len;
    if (length <= n) {
        s[0] = 0;
    } else {
        const auto rest = static_cast<size_t>(length - n);
        memmove(s, s + n, rest);
        s[rest] = 0;
    }
    return 1;
}

int32_t MOLTE_STR_Padding(char* s, int32_t width, char ch) {
    if (s == nullptr || width < 0) return kModule.fail(molte::here(), molte::kBadArgument);
    const size_t length = strnlen(s, static_cast<size_t>(width));
    memset(s + length, ch, static_cast<size_t>(width) - length);
    s[width] = 0;
    return 1;
}

int32_t ox_str_replace(char* s, char from, char to) {
    int32_t count = 0;
    for (; s != nullptr && *s != 0; ++s) {
        if (*s != from) continue;
        *s = to;
        ++count;
    }
    return count;
}

int32_t MOLTE_STR_ReplaceSubStr(const char* src, const char* from, const char* to, char* dst,
                                int32_t dstSize) {
    if (src == nullptr || from == nullptr || to == nullptr || dst == nullptr) {
        return kModule.fail(molte::here(), molte::kBadArgument);
    }
    const auto from_size = static_cast<int64_t>(strlen(from));
    const auto to_size = static_cast<int64_t>(strlen(to));
    int64_t room = dstSize;
    int32_t count = 0;
    for (int64_t hit; (hit = MOLTE_STR_FindSubStr(src, from)) >= 0; ++count) {
        // The test of the length of from is meant; what the copy needs is a guard of its own.
        if (room <= from_size || room < hit + to_size) {
            return kModule.fail_text(molte::here(), molte::kTooLong, molte::SystemError::none,
                                     "buffer not enough");
        }
        memcpy(dst, src, static_cast<size_t>(hit));
        memcpy(dst + hit, to, static_cast<size_t>(to_size));
        dst += hit + to_size;
        room -= hit + to_size;
        src += hit + from_size;
    }
    const auto rest = static_cast<int64_t>(strlen(src));
    if (rest >= room) return -1;
    memcpy(dst, src, static_cast<size_t>(rest) + 1);
    return count;
}
