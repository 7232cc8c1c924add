// A text that is put together in memory: on the stack, and beyond that on the heap. When memory is
// out it is cut, and nothing is reported.
#pragma once

#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace molte {

class GrowingText {
 public:
    GrowingText() = default;
    ~GrowingText() {
        if (text_ != stack_) std::free(text_);
    }
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;

    [[nodiscard]] const char* text() const { return text_; }  // not terminated
    [[nodiscard]] size_t size() const { return size_; }

    void add(const char* part, size_t size) {
        if (!reserve(size)) size = capacity_ - size_;
        std::memcpy(text_ + size_, part, size);
        size_ += size;
    }
    void add(const char* part) { add(part, std::strlen(part)); }
    template <size_t N>
    void add_field(const char (&field)[N]) {
        add(field, strnlen(field, N));
    }
    void add_number(int64_t value) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        add(digits, static_cast<size_t>(end - digits));
    }
    void add_formatted(const char* format, va_list arguments) {
        va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(text_ + size_, capacity_ - size_, format, arguments);
        if (length > 0 && static_cast<size_t>(length) < capacity_ - size_) {
            size_ += static_cast<size_t>(length);
        } else if (length > 0) {
            add_long(format, again, static_cast<size_t>(length));
        }
        va_end(again);
    }

 private:
    void add_long(const char* format, va_list arguments, size_t length) {
        reserve(length + 1);
        const size_t room = capacity_ - size_;
        std::vsnprintf(text_ + size_, room, format, arguments);
        size_ += length < room ? length : room - 1;
    }
    // Plain malloc: a report of its failure would overwrite the record that is being printed.
    bool reserve(size_t size) {
        if (size <= capacity_ - size_) return true;
        const size_t wanted = (size_ + size) * 2;
        auto* larger = static_cast<char*>(std::malloc(wanted));
        if (larger == nullptr) return false;
        std::memcpy(larger, text_, size_);
        if (text_ != stack_) std::free(text_);
        text_ = larger;
        capacity_ = wanted;
        return true;
    }

    char stack_[6144];
    char* text_ = stack_;
    size_t size_ = 0;
    size_t capacity_ = sizeof stack_;
};

}  // namespace molte
