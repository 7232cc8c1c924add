// Text that grows, without exceptions.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace platform {

// Without memory it keeps what it has, and is no longer good.
class GrowingText {
 public:
    GrowingText() = default;
    ~GrowingText() { std::free(bytes_); }
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;

    void append(std::string_view text) {
        if (text.empty() || reserve(text.size()) == nullptr) return;
        memcpy(bytes_ + size_, text.data(), text.size());
        size_ += text.size();
    }
    void append(char c) { append(std::string_view(&c, 1)); }

    // Room for so many bytes behind the text, of which grow takes some in; null without memory.
    char* reserve(size_t more) {
        if (good_ && room_ - size_ < more) enlarge(size_ + more);
        return good_ ? bytes_ + size_ : nullptr;
    }
    void grow(size_t count) { size_ += count; }

    void clear() { size_ = 0; }
    [[nodiscard]] bool good() const { return good_; }
    [[nodiscard]] std::string_view view() const { return {bytes_, size_}; }

 private:
    void enlarge(size_t needed) {
        const size_t room = needed + needed / 2 + 64;
        void* bytes = std::realloc(bytes_, room);
        good_ = bytes != nullptr;
        if (!good_) return;
        bytes_ = static_cast<char*>(bytes);
        room_ = room;
    }

    char* bytes_ = nullptr;
    size_t size_ = 0;
    size_t room_ = 0;
    bool good_ = true;
};

}  // namespace platform
