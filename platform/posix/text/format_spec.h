// The conversions of a printf format, read one by one.
#pragma once

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace platform {

enum class Length : uint8_t { none, hh, h, l, ll, L };

// What stands between a percent sign and the letter of the conversion, and that letter; 0 at the
// end of the format.
struct Spec {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool zero = false;
    bool alternate = false;
    Length length = Length::none;
    char conversion = 0;
    int width = 0;
    int precision = -1;
};

struct Arguments {
    va_list list;
};

// Reads conversions off a format; "*" takes an argument.
template <typename Char>
class Parser {
 public:
    Parser(const Char* at, Arguments& arguments) : at_(at), arguments_(arguments) {}

    // The text up to the next percent sign or the end.
    const Char* literal(size_t& count) {
        const Char* from = at_;
        while (*at_ != 0 && *at_ != '%') ++at_;
        count = static_cast<size_t>(at_ - from);
        return from;
    }

    // Steps over the conversion at the percent sign.
    bool next(Spec& spec) {
        if (*at_ == 0) return false;
        ++at_;
        while (flag(spec)) ++at_;
        spec.width = number();
        if (spec.width < 0) {
            spec.left = true;
            spec.width = spec.width == INT_MIN ? INT_MAX : -spec.width;
        }
        if (*at_ == '.') {
            ++at_;
            spec.precision = number();
        }
        spec.length = length();
        if (*at_ == 0) return false;
        spec.conversion = *at_ > 0 && *at_ < 128 ? static_cast<char>(*at_) : '?';
        ++at_;
        return true;
    }

 private:
    bool flag(Spec& spec) const {
        switch (*at_) {
            case '-':
                return spec.left = true;
            case '+':
                return spec.plus = true;
            case ' ':
                return spec.blank = true;
            case '0':
                return spec.zero = true;
            case '#':
                return spec.alternate = true;
            default:
                return false;
        }
    }

    int number() {
        if (*at_ == '*') {
            ++at_;
            return va_arg(arguments_.list, int);
        }
        int64_t value = 0;
        for (; *at_ >= '0' && *at_ <= '9'; ++at_) {
            if (value < INT_MAX) value = value * 10 + (*at_ - '0');
        }
        return value < INT_MAX ? static_cast<int>(value) : INT_MAX;
    }

    Length length() {
        switch (*at_) {
            case 'h':
                return take(at_[1] == 'h' ? 2 : 1, at_[1] == 'h' ? Length::hh : Length::h);
            case 'l':
                return take(at_[1] == 'l' ? 2 : 1, at_[1] == 'l' ? Length::ll : Length::l);
            case 'w':
                return take(1, Length::l);
            case 'j':
            case 'z':
            case 't':
                return take(1, Length::ll);
            case 'L':
                return take(1, Length::L);
            case 'I':
                if (at_[1] == '3' && at_[2] == '2') return take(3, Length::none);
                return take(at_[1] == '6' && at_[2] == '4' ? 3 : 1, Length::ll);
            default:
                return Length::none;
        }
    }

    Length take(int count, Length length) {
        at_ += count;
        return length;
    }

    const Char* at_;
    Arguments& arguments_;
};

}  // namespace platform
