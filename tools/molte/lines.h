// Text files of one entry a line: lists of keys, identifiers, ranges and names.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "tool.h"

namespace tool {

// Each line with its number, from 1, without its end; the mark of byte order that editors put in
// front of a text is no part of it.
void each_line(std::string_view bytes,
               const std::function<void(size_t number, std::string_view line)>& visit);

// Without the blanks and tabs around it.
std::string_view trimmed(std::string_view text);

// The lines of a file that a command leaves out: counted, and told in the end with the first
// numbers for each reason.
class LeftOut {
 public:
    explicit LeftOut(const std::string& file);  // as it was given
    void add(const std::string& reason, size_t line);
    void tell(Tool& tool) const;
    [[nodiscard]] uint64_t count() const;

 private:
    struct Lines {
        uint64_t count = 0;
        std::string numbers;
    };
    std::string file_;
    std::map<std::string, Lines> by_reason_;
};

}  // namespace tool
