// A parameter file as somebody may have written it: read beside a plain reader, changed, read
// again.
#include "frame.h"

namespace {

// As the run-time reads text on Windows, behind a byte order mark.
std::string translated(std::string_view input) {
    std::string text(input.substr(input.starts_with("\xEF\xBB\xBF") ? 3 : 0));
    for (size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos; ++at) text.erase(at, 1);
    return text;
}

// The last value of a name, by C texts in a line buffer.
std::string plain_value(const std::string& text, const std::string& name) {
    std::string value;
    for (size_t at = 0, size = 0; at < text.size(); at += size) {
        size = std::min<size_t>(std::min(text.find('\n', at), text.size() - 1) + 1 - at, 2047);
        const std::string piece(text, at, size);
        const char* p = piece.c_str() + std::strspn(piece.c_str(), " \t");
        const size_t length = std::strcspn(p, " \t#=\n");
        if (std::string(p, length) != name || p[length] == '\0') continue;
        p += length;
        p += std::strspn(p, " \t");
        if (*p != '=') continue;
        ++p;
        p += std::strspn(p, " \t");
        value = std::string(p, std::strcspn(p, "#\t\n")).substr(0, 127);
    }
    return value;
}

// Whether a name that is set must then be found: it stands there once at most, and no line is so
// long that it counts as several, which a change shifts.
bool is_settled(const std::string& text, const std::string& name) {
    size_t line = 0;
    for (const char c : text) {
        line = c == '\n' ? 0 : line + 1;
        if (line > 1900) return false;
    }
    return text.find(name) == text.rfind(name);
}

}  // namespace

void try_input(std::string_view input) {
    const char* const path = file_of(input);
    const std::string text = translated(input);
    const char* names[] = {"a", "Name", "new"};
    char read[3][MOLTE_PARAM_SLOT];
    for (const char* name : names) {
        must(PARAMETER_GetValue(path, name, read[0]) == 1);
        must(plain_value(text, name) == read[0]);
    }
    char values[3][MOLTE_PARAM_SLOT] = {"1", "two words", "3"};
    must(PARAMETER_SetValueArray(path, names, values[0], 3) == 1);
    must(PARAMETER_GetValueArray(path, names, read[0], 3) == 1);
    for (int i = 0; i < 3; ++i) {
        // Blanks before a comment are part of the value.
        must(!is_settled(text, names[i]) || std::string_view(read[i]).starts_with(values[i]));
    }
}
