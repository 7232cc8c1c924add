// Tables of the tests in a file beside the test, <family>.txt for <family>_test.cpp.
#pragma once

#include "support/common.h"

// A field as it is written: "\xNN" is a byte, "\n", "\r", "\t" and "\0" what they are in C, any
// other character behind "\" itself, and "\{N*c}" so many c, of one character or more.
inline std::string unescaped(const std::string& written) {
    std::string text;
    for (size_t i = 0; i < written.size(); ++i) {
        const char c = written[i];
        const char next = c == '\\' && i + 1 < written.size() ? written[++i] : '\0';
        if (next == '\0') {
            text += c;
        } else if (next == 'x') {
            text += static_cast<char>(std::stoi(written.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else if (next == '{') {
            const size_t star = written.find('*', i);
            const size_t end = written.find('}', star + 2);
            const std::string piece = unescaped(written.substr(star + 1, end - star - 1));
            for (auto n = std::stoul(written.substr(i + 1)); n > 0; --n) text += piece;
            i = end;
        } else {
            const size_t known = "nrt0"s.find(next);
            text += known == std::string::npos ? next : "\n\r\t\0"[known];
        }
    }
    return text;
}

// The folder of all tests, with a slash. Only one source is compiled for it: others, which name
// files in it, are the same wherever the tree lies.
std::string test_folder();

// The tables: each begins with "[its name]"; a line is a row, tabs part its fields, "#" at its head
// makes it a comment.
inline std::map<std::string, std::vector<Texts>> tables_of(const char* file) {
    std::map<std::string, std::vector<Texts>> tables;
    std::ifstream lines(test_folder() + file, std::ios::binary);
    std::string name;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == '[' && line.back() == ']' && line.find('\t') == std::string::npos) {
            name = line.substr(1, line.size() - 2);
            continue;
        }
        Texts row;
        for (size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
            end = line.find('\t', at);
            row.push_back(unescaped(line.substr(at, end - at)));
        }
        tables[name].push_back(row);
    }
    EXPECT_FALSE(tables.empty()) << file;
    return tables;
}

inline std::vector<Texts> rows_of(const char* file, const std::string& table) {
    return tables_of(file).at(table);
}

inline Text text_or_null(const std::string& field) {
    return field == "(null)" ? nullptr : field.c_str();
}

// What is called for each row of the table of its name, and gives the row's last field.
using Calls = std::map<std::string, std::string (*)(const Texts& row)>;

inline void check_rows(const char* file, const Calls& calls) {
    for (const auto& [name, rows] : tables_of(file)) {
        const auto call = calls.find(name);
        ASSERT_NE(call, calls.end()) << name;
        for (const Texts& row : rows) {
            EXPECT_EQ(call->second(row), row.back()) << name << testing::PrintToString(row);
        }
    }
}
