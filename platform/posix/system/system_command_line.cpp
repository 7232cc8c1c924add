// The command line as one text: the words of the process, each quoted the way that Windows programs
// take apart again.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <string_view>

#include "files/descriptor.h"
#include "platform/last_error.h"
#include "platform/system.h"

namespace {

using platform::OpenFile;

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

// Their bytes; 0 with errno when they can't be had.
size_t read_words() {
    const OpenFile file(open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC));
    if (!file.valid()) return 0;
    size_t length = 0;
    while (length < kMaxLength) {
        const ssize_t count = read(file.get(), words + length, kMaxLength - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return 0;
        if (count == 0) break;
        length += static_cast<size_t>(count);
    }
    return length;
}

void make_line() {
    const size_t length = read_words();
    if (length == 0) platform::set_last_error_from_errno();
    for (size_t start = 0; start < length;) {
        const std::string_view word(words + start);
        append_word(word);
        start += word.size() + 1;
    }
}

}  // namespace

char* GetCommandLineA() {
    static constinit std::mutex making;
    static constinit std::atomic<bool> made{false};
    if (made.load(std::memory_order_acquire)) return line.text;
    const std::lock_guard guard(making);
    if (line.length == 0) make_line();
    made.store(line.length > 0, std::memory_order_release);
    return line.text;
}
