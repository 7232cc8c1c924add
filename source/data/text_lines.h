// Text files line by line, as a run-time that reads text through a buffer of fixed size sees them.
#pragma once

#include <cstddef>
#include <string_view>

namespace molte {

// Takes a piece from the front of a text. It ends with LF, with the text, or is cut before it gets
// longer than this many bytes, CR LF counted as one.
inline std::string_view take_line(std::string_view& text, size_t longest) {
    std::string_view line = text.substr(0, longest + 1);
    line = line.substr(0, line.find('\n') + 1);
    if (line.empty() || (line.size() > longest && !line.ends_with("\r\n"))) {
        line = text.substr(0, longest);
    }
    text.remove_prefix(line.size());
    return line;
}

}  // namespace molte
