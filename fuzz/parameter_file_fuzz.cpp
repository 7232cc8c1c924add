// A parameter file as somebody may have written it: read beside a plain reader, changed, read
// again.
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "moltelib.h"

namespace {

const char* file_name() {
    static char folder[] = "/tmp/moltelib-fuzz-XXXXXX";
    static const std::string name = std::string(mkdtemp(folder)) + "/p.ini";
    return name.c_str();
}

void write_file(const uint8_t* data, size_t size) {
    FILE* file = std::fopen(file_name(), "wb");
    if (file == nullptr || std::fwrite(data, 1, size, file) != size) abort();
    std::fclose(file);
}

// As the run-time reads text on Windows.
std::string translated(const uint8_t* data, size_t size) {
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] != '\r' || i + 1 == size || data[i + 1] != '\n') {
            text += static_cast<char>(data[i]);
        }
    }
    return text;
}

// The last value of a name, by C texts in a line buffer.
std::string plain_value(const std::string& text, const std::string& name) {
    std::string value;
    size_t at = 0;
    while (at < text.size()) {
        const size_t end = text.find('\n', at);
        const size_t whole = (end == std::string::npos ? text.size() : end + 1) - at;
        const std::string piece(text, at, whole < 2047 ? whole : 2047);
        at += piece.size();
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

void check_value(const std::string& text, const char* name) {
    char value[MOLTE_PARAM_SLOT];
    if (PARAMETER_GetValue(file_name(), name, value) != 1) abort();
    if (plain_value(text, name) != value) __builtin_trap();
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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    write_file(data, size);
    const std::string text = translated(data, size);
    check_value(text, "a");
    check_value(text, "Name");
    const char* names[] = {"a", "Name", "new"};
    char values[3][MOLTE_PARAM_SLOT] = {"1", "two words", "3"};
    if (PARAMETER_SetValueArray(file_name(), names, values[0], 3) != 1) abort();
    char read[3][MOLTE_PARAM_SLOT];
    if (PARAMETER_GetValueArray(file_name(), names, read[0], 3) != 1) abort();
    for (int i = 0; i < 3; ++i) {
        // Blanks before a comment are part of the value.
        const size_t length = std::strlen(values[i]);
        if (is_settled(text, names[i]) && std::strncmp(read[i], values[i], length) != 0) {
            __builtin_trap();
        }
    }
    return 0;
}
