#include <cstring>

#include "configuration/parameter_lines.h"
#include "moltelib/parameter_file.h"
#include "platform/code_page.h"

int32_t g_bParamIsCaseSensitive = 1;

namespace molte::ini {

namespace {

// A zero byte ends the text of its line.
constexpr bool ends_name(char c) {
    return is_blank(c) || c == '#' || c == '=' || c == '\0';
}

constexpr bool ends_value(char c) {
    return c == '#' || c == '\t' || c == '\0';
}

}  // namespace

std::string_view line_end(std::string_view line) {
    if (!line.ends_with('\n')) return {};
    return line.substr(line.size() - (line.ends_with("\r\n") ? 2 : 1));
}

Names::Names(const char* const* list, int32_t count) : list_(list), count_(count) {
    if (count == 1 && g_bParamIsCaseSensitive != 0) only_ = list[0];
}

bool Names::equal(const char* wanted, std::string_view name) {
    const int order = g_bParamIsCaseSensitive != 0
                          ? std::strncmp(wanted, name.data(), name.size())
                          : platform::compare_no_case(wanted, name.data(), name.size());
    return order == 0 && wanted[name.size()] == '\0';
}

Line::Line(std::string_view line) : rest_(line) {
    skip_blanks(rest_);
    const std::string_view text = rest_.substr(0, rest_.size() - line_end(rest_).size());
    size_t length = 0;
    while (length < text.size() && !ends_name(text[length])) ++length;
    // A name that the text ends with makes the line a comment.
    if (length == rest_.size() || rest_[length] == '\0') return;
    name_ = text.substr(0, length);
    rest_.remove_prefix(length);
}

bool Line::value(std::string_view* out) const {
    std::string_view text = rest_.substr(0, rest_.size() - line_end(rest_).size());
    skip_blanks(text);
    if (!text.starts_with('=')) return false;
    text.remove_prefix(1);
    skip_blanks(text);
    size_t length = 0;
    while (length < text.size() && !ends_value(text[length])) ++length;
    *out = text.substr(0, length);
    return true;
}

std::string_view Line::comment() const {
    const size_t at = rest_.find('#');
    return at == std::string_view::npos ? std::string_view() : rest_.substr(at);
}

}  // namespace molte::ini
