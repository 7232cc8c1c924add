// The command line as one text: the words of the process, each quoted the way that Windows programs
// take apart again.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <string_view>

#include "platform/system.h"

namespace {

constexpr size_t kMaxLength = 32767;

// Text of at most kMaxLength bytes; what is beyond is dropped.
struct CommandLine {
    char text[kMaxLength + 1];
    size_t length;

    void append(size_t count, char c) {
        count = std::min(count, kMaxLength - length);
        std::fill_n(text + length, count, c);
        length += count;
    }
};

constinit CommandLine line{};
constinit char words[kMaxLength + 1]{};

// Backslashes are doubled only in front of a quote.
void append_quoted(std::string_view word) {
    size_t backslashes = 0;
    line.append(1, '"');
    for (const char c : word) {
        if (c == '"') line.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        line.append(1, c);
    }
    line.append(backslashes, '\\');
    line.append(1, '"');
}

void append_word(std::string_view word) {
    if (line.length > 0) line.append(1, ' ');
    if (word.empty() || word.find_first_of(" \t\"") != std::string_view::npos) {
        append_quoted(word);
    } else {
        for (const char c : word) line.append(1, c);
    }
}

size_t read_words() {
    const int fd = open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    size_t length = 0;
    ssize_t count = 0;
    while (length < kMaxLength && (count = read(fd, words + length, kMaxLength - length)) > 0) {
        length += static_cast<size_t>(count);
    }
    close(fd);
    return length;
}

void make_line() {
    const size_t length = read_words();
    for (size_t start = 0; start < length;) {
        const std::string_view word(words + start);
        append_word(word);
        start += word.size() + 1;
    }
}

}  // namespace

char* GetCommandLineA() {
    static std::once_flag once;
    std::call_once(once, make_line);
    return line.text;
}
