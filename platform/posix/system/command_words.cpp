#include "system/command_words.h"

#include <cstring>

#include "files/path.h"

namespace platform {

namespace {

// Room for so many words and the null behind them, and for their bytes.
CommandWords make_room(size_t words, size_t bytes) {
    return CommandWords(static_cast<char**>(std::malloc((words + 1) * sizeof(char*) + bytes)));
}

char* bytes_behind(const CommandWords& room, size_t words) {
    return reinterpret_cast<char*>(room.get() + words + 1);
}

class Splitter {
 public:
    Splitter(const char* line, char* bytes) : at_(line), to_(bytes), utf8_(is_utf8(line)) {}

    // The first word ends at a blank even if that is the line's first byte.
    char* first() {
        char* const word = to_;
        for (quoted_ = false; in_word();) {
            if (*at_ == '"') {
                begin_or_end_quoted();
            } else {
                copy_character();
            }
        }
        *to_++ = '\0';
        return word;
    }

    // The next word; null when there is none.
    char* next() {
        while (is_blank(*at_)) ++at_;
        if (*at_ == '\0') return nullptr;
        char* const word = to_;
        for (quoted_ = false; in_word();) {
            if (*at_ == '\\' || *at_ == '"') {
                copy_backslashes_and_quote();
            } else {
                copy_character();
            }
        }
        *to_++ = '\0';
        return word;
    }

 private:
    static bool is_blank(char c) { return c == ' ' || c == '\t'; }

    [[nodiscard]] bool in_word() const { return *at_ != '\0' && (quoted_ || !is_blank(*at_)); }

    void begin_or_end_quoted() {
        quoted_ = !quoted_;
        ++at_;
    }

    // The second byte of a character may look like a backslash.
    void copy_character() {
        const size_t size = character_size(at_, utf8_);
        memcpy(to_, at_, size);
        to_ += size;
        at_ += size;
    }

    void copy_backslashes_and_quote() {
        const size_t backslashes = strspn(at_, "\\");
        at_ += backslashes;
        const bool before_quote = *at_ == '"';
        const size_t kept = before_quote ? backslashes / 2 : backslashes;
        memset(to_, '\\', kept);
        to_ += kept;
        if (!before_quote) return;
        if (backslashes % 2 == 0) {
            begin_or_end_quoted();
            const bool doubled = !quoted_ && *at_ == '"';
            if (!doubled) return;
            quoted_ = true;
        }
        *to_++ = *at_++;
    }

    const char* at_;
    char* to_;
    bool quoted_ = false;
    bool utf8_;
};

}  // namespace

CommandWords split_command_line(const char* line) {
    const size_t length = strlen(line);
    const size_t most = length / 2 + 2;  // each but the first takes a blank and a byte at least
    CommandWords words = make_room(most, length + 2);
    if (words == nullptr) return words;
    Splitter splitter(line, bytes_behind(words, most));
    char** to = words.get();
    for (char* word = splitter.first(); word != nullptr; word = splitter.next()) *to++ = word;
    *to = nullptr;
    return words;
}

CommandWords program_alone(const char* path) {
    CommandWords words = make_room(1, strlen(path) + 1);
    if (words == nullptr) return words;
    words[0] = strcpy(bytes_behind(words, 1), path);
    words[1] = nullptr;
    return words;
}

}  // namespace platform
