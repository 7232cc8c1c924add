#include "registry/registry_text.h"

#include <charconv>
#include <cstdio>

#include "platform/code_page.h"
#include "platform/registry.h"

namespace platform {

namespace {

constexpr std::string_view kRoot = "HKEY_LOCAL_MACHINE\\";

bool same(std::string_view a, std::string_view b) {
    return a.size() == b.size() && compare_no_case(a.data(), b.data(), a.size()) == 0;
}

std::string_view trimmed(std::string_view text) {
    constexpr const char* blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool is_key_line(std::string_view line) {
    return line.size() >= 2 && line.front() == '[' && line.back() == ']';
}

bool is_value_line(std::string_view line) {
    return !line.empty() && (line.front() == '"' || line.front() == '@');
}

// The path in a line "[HKEY_LOCAL_MACHINE\path]"; empty for a key elsewhere.
std::string_view path_of_line(std::string_view line) {
    const std::string_view whole = line.substr(1, line.size() - 2);
    return same(whole.substr(0, kRoot.size()), kRoot) ? whole.substr(kRoot.size())
                                                      : std::string_view();
}

// The number in "\x{0a}" at the start of a text; -1 for another text.
int escaped_byte(std::string_view text) {
    unsigned byte = 0;
    if (text.size() < 6 || text.substr(0, 3) != "\\x{" || text[5] != '}') return -1;
    const auto parsed = std::from_chars(text.data() + 3, text.data() + 5, byte, 16);
    return parsed.ptr == text.data() + 5 ? static_cast<int>(byte) : -1;
}

// Decodes the quoted text at the start of another; the bytes it took, 0 when it is none.
template <typename Out>
size_t unquote(std::string_view text, Out& out) {
    if (text.empty() || text.front() != '"') return 0;
    for (size_t at = 1; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '"') return at + 1;
        const char next = c == '\\' && at + 1 < text.size() ? text[at + 1] : '\0';
        const int byte = next == 'x' ? escaped_byte(text.substr(at)) : -1;
        if (byte >= 0) {
            out.append(static_cast<char>(byte));
            at += 5;
        } else if (next == '\\' || next == '"') {
            out.append(next);
            ++at;
        } else {
            out.append(c);
        }
    }
    return 0;
}

void append_quoted(std::string_view text, GrowingText& out) {
    out.append('"');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char escape[8];
        if (byte < 0x20) {
            snprintf(escape, sizeof escape, "\\x{%02x}", byte);
            out.append(escape);
        } else {
            if (c == '\\' || c == '"') out.append('\\');
            out.append(c);
        }
    }
    out.append('"');
}

// Compares what is decoded with a name, byte by byte: a look-up needs no memory, and so can't miss
// a name for want of it.
class NameCheck {
 public:
    explicit NameCheck(std::string_view name) : rest_(name) {}
    void append(char c) {
        same_ = same_ && !rest_.empty() && same({&c, 1}, rest_.substr(0, 1));
        rest_.remove_prefix(rest_.empty() ? 0 : 1);
    }
    [[nodiscard]] bool passed() const { return same_ && rest_.empty(); }

 private:
    std::string_view rest_;
    bool same_ = true;
};

// What stands behind the "=" of a line with a value of this name; empty for any other line.
std::string_view value_in_line(std::string_view line, std::string_view name) {
    NameCheck check(name);
    const size_t taken = line.front() == '@' ? 1 : unquote(line, check);
    const std::string_view rest = trimmed(line.substr(taken));
    if (taken == 0 || rest.empty() || rest.front() != '=' || !check.passed()) return {};
    return trimmed(rest.substr(1));
}

// Takes the first line off a text; without its line feed and the blanks around it.
std::string_view take_line(std::string_view& text) {
    const size_t stop = text.find('\n');
    const std::string_view line = text.substr(0, stop);
    text.remove_prefix(stop != std::string_view::npos ? stop + 1 : text.size());
    return trimmed(line);
}

bool is_below(std::string_view key, std::string_view path) {
    return key.size() > path.size() && key[path.size()] == '\\' &&
           same(key.substr(0, path.size()), path);
}

}  // namespace

Place look_up(std::string_view store, std::string_view path, std::string_view name) {
    Place place;
    bool within = false;
    for (std::string_view rest = store; !rest.empty();) {
        const size_t start = store.size() - rest.size();
        const std::string_view line = take_line(rest);
        if (is_key_line(line)) {
            const std::string_view key = path_of_line(line);
            within = same(key, path);
            place.has_section = place.has_section || within;
            place.has_key = place.has_key || within || is_below(key, path);
        }
        const bool is_value = is_value_line(line);
        if (!within || (!is_value && !is_key_line(line))) continue;
        place.start = place.end = store.size() - rest.size();
        if (is_value) place.value = value_in_line(line, name);
        if (place.value.empty()) continue;
        place.start = start;
        return place;
    }
    if (!place.has_section) place.start = place.end = store.size();
    return place;
}

bool parse_value(std::string_view text, RegistryValue& value) {
    constexpr std::string_view number = "dword:";
    if (same(text.substr(0, number.size()), number)) {
        const char* begin = text.data() + number.size();
        const char* end = text.data() + text.size();
        const auto parsed = std::from_chars(begin, end, value.number, 16);
        value.type = REG_DWORD;
        return begin < end && parsed.ptr == end && parsed.ec == std::errc();
    }
    value.type = REG_SZ;
    value.text.clear();
    return unquote(text, value.text) == text.size() && !text.empty();
}

void append_value_line(std::string_view name, const RegistryValue& value, GrowingText& out) {
    if (name.empty()) {
        out.append('@');
    } else {
        append_quoted(name, out);
    }
    out.append('=');
    if (value.type == REG_DWORD) {
        char number[16];
        snprintf(number, sizeof number, "dword:%08x", value.number);
        out.append(number);
    } else {
        append_quoted(value.text.view(), out);
    }
    out.append('\n');
}

void append_changed(std::string_view store, const Place& place, std::string_view path,
                    std::string_view line, GrowingText& out) {
    out.append(store.substr(0, place.start));
    if (place.start > 0 && store[place.start - 1] != '\n') out.append('\n');
    if (!place.has_section) {
        out.append(place.start > 0 ? "\n[" : "[");
        out.append(kRoot);
        out.append(path);
        out.append("]\n");
    }
    out.append(line);
    out.append(store.substr(place.end));
}

}  // namespace platform
