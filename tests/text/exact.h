#pragma once

#include <memory>
#include <string>

// The bytes up to the terminator, in a heap block of just that size.
class Exact {
 public:
    explicit Exact(const std::string& text) : bytes_(new char[text.size() + 1]) {
        text.copy(bytes_.get(), text.size());
        bytes_[text.size()] = '\0';
    }
    operator const char*() const { return bytes_.get(); }

 private:
    std::unique_ptr<char[]> bytes_;
};
