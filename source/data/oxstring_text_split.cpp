#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "data/oxstring.h"
#include "moltelib/text_split.h"

namespace {

constexpr auto kModule = molte::kOxstring;

constexpr int32_t kArgumentsAtFirst = 32;
constexpr int32_t kItemsToAdd = 16;

// The growing array of texts that a function hands to its caller.
class Texts {
 public:
    explicit Texts(int32_t room_at_first) : to_add_(room_at_first) {}
    ~Texts() { ORVEX_free(items_); }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;

    // False without memory.
    bool append(char* text) {
        if (count_ >= capacity_ && molte::grow(items_, capacity_, to_add_) < 0) return false;
        to_add_ = kItemsToAdd;
        items_[count_++] = text;
        return true;
    }

    void release_items() {
        for (int32_t i = 0; i < count_; ++i) {
            ORVEX_free(items_[i]);
            items_[i] = nullptr;
        }
    }

    // The array goes to the caller, or null if it is empty; the count is stored only with an array.
    char** release(int32_t* count) {
        char** items = items_;
        if (count_ == 0) return nullptr;
        *count = count_;
        items_ = nullptr;
        return items;
    }

 private:
    char** items_ = nullptr;
    int32_t count_ = 0;
    int32_t capacity_ = 0;
    int32_t to_add_;
};

// Takes a command line byte by byte and writes its arguments, one behind the other, into a block.
class ArgumentWriter {
 public:
    ArgumentWriter(char* block, Texts& arguments) : start_(block), arguments_(arguments) {}

    // False without memory.
    bool take(char c) {
        if (c == '\\') {
            ++backslashes_;
            return true;
        }
        if (c == '"') {
            take_quote();
            return true;
        }
        write_backslashes(backslashes_);
        if (c == ' ' && !in_quotes_) return end_argument();
        write(c);
        return true;
    }

    bool finish() {
        write_backslashes(backslashes_);
        return end_argument();
    }

 private:
    void take_quote() {
        const bool literal = backslashes_ % 2 != 0;
        write_backslashes(backslashes_ / 2);
        if (literal) {
            write('"');
        } else {
            in_quotes_ = !in_quotes_;
        }
    }

    // Writes so many and closes the run.
    void write_backslashes(size_t count) {
        for (; count > 0; --count) write('\\');
        backslashes_ = 0;
    }

    void write(char c) { start_[size_++] = c; }

    bool end_argument() {
        if (size_ == 0) return true;
        write(0);
        if (!arguments_.append(start_)) return false;
        start_ += size_;
        size_ = 0;
        return true;
    }

    char* start_;  // of the argument that is being written
    size_t size_ = 0;
    size_t backslashes_ = 0;  // of the run that is open
    bool in_quotes_ = false;
    Texts& arguments_;
};

char* copy_item(const char* text, size_t size) {
    auto item = molte::allocate<char>(static_cast<int64_t>(size) + 1);
    if (item == nullptr) return nullptr;
    memcpy(item.get(), text, size);
    item[size] = 0;
    return item.release();
}

// Appends each item of text; false without memory.
bool split(const char* text, const char* delim, Texts& items) {
    while (*text != 0) {
        const char* hit = strstr(text, delim);
        char* item =
            copy_item(text, hit != nullptr ? static_cast<size_t>(hit - text) : strlen(text));
        if (item == nullptr) return false;
        if (!items.append(item)) {
            ORVEX_free(item);
            return false;
        }
        if (hit == nullptr) break;
        text = hit + 1;  // not behind a delimiter of several bytes: meant
    }
    return true;
}

}  // namespace

char** OXSTR_CmdStr2Arg(const char* cmdLine, int32_t* pnArgc) {
    if (cmdLine == nullptr || pnArgc == nullptr) {
        kModule.fail(molte::here(), molte::kBadArgument);
        return nullptr;
    }
    const size_t length = strlen(cmdLine);
    auto block = molte::allocate<char>(static_cast<int64_t>(length) * 2 + 2);
    if (block == nullptr) {
        kModule.trace(molte::here());
        return nullptr;
    }
    memset(block.get(), 0, length * 2 + 2);
    Texts arguments(kArgumentsAtFirst);
    ArgumentWriter writer(block.get(), arguments);
    bool done = true;
    for (size_t i = 0; i < length && done; ++i) done = writer.take(cmdLine[i]);
    if (!done || !writer.finish()) {
        kModule.trace(molte::here());
        return nullptr;
    }
    char** items = arguments.release(pnArgc);
    // The first argument is the block's start, so its owner is the caller now.
    if (items != nullptr) static_cast<void>(block.release());
    return items;
}

char** ox_strsplit(const char* text, const char* delim, int32_t* pnCount) {
    if (pnCount != nullptr) *pnCount = 0;
    if (text == nullptr) return nullptr;
    if (delim == nullptr || pnCount == nullptr) {
        kModule.fail(molte::here(), molte::kBadArgument);
        return nullptr;
    }
    Texts items(kItemsToAdd);
    if (!split(text, delim, items)) {
        kModule.trace(molte::here());
        items.release_items();
    }
    return items.release(pnCount);
}
