// Random patterns and texts, the same ones on each run and system.
#pragma once

#include <memory>
#include <random>
#include <string>
#include <vector>

class Samples {
 public:
    explicit Samples(uint32_t seed) : engine_(seed) {}

    // Up to most of the parts, in any order.
    std::string next(const std::vector<std::string>& parts, size_t most) {
        std::string text;
        for (size_t count = engine_() % (most + 1); count > 0; --count) {
            text += parts[engine_() % parts.size()];
        }
        return text;
    }

 private:
    std::mt19937 engine_;
};

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
