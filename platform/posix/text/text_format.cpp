// The formatter behind _vsnprintf and its kin, for 8-bit and for wide text. Only the rarer dresses
// of floating point numbers are left to the C library, one conversion at a time.
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <type_traits>

#include "platform/code_page.h"
#include "platform/text.h"
#include "text/format_spec.h"

namespace {

using platform::Arguments;
using platform::Length;
using platform::Parser;
using platform::Spec;

// Where the text goes: what doesn't fit is only counted.
template <typename Char>
class Sink {
 public:
    Sink(Char* text, size_t room) : text_(text), room_(text != nullptr ? room : 0) {}

    template <typename From>
    void put(const From* from, size_t count) {
        const size_t left = size_ < room_ ? room_ - size_ : 0;
        const size_t fitting = count < left ? count : left;
        if constexpr (std::is_same_v<From, Char>) {
            if (fitting != 0) memcpy(text_ + size_, from, fitting * sizeof(Char));
        } else {
            for (size_t i = 0; i < fitting; ++i) text_[size_ + i] = static_cast<Char>(from[i]);
        }
        size_ += count;
    }
    void fill(char c, size_t count) {
        for (size_t i = size_; i < room_ && i - size_ < count; ++i) text_[i] = static_cast<Char>(c);
        size_ += count;
    }

    // The result: a terminator if there is room, -1 if the text itself has none.
    int finish() {
        if (size_ > INT_MAX || (text_ != nullptr && size_ > room_)) return -1;
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): there is no room without text
        if (size_ < room_) text_[size_] = 0;
        return static_cast<int>(size_);
    }

 private:
    Char* text_;
    size_t room_;
    size_t size_ = 0;
};

// The next character of a text of the other kind: its units, 0 at the end, -1 if it can't be made.
int next_character(const wchar_t*& from, char (&units)[2]) {
    return *from == 0 ? 0 : platform::wide_to_char(units, *from++);
}

int next_character(const char*& from, wchar_t (&units)[2]) {
    const int length = platform::char_to_wide(units, from, 2);
    if (length > 0) from += length;
    return length > 0 ? 1 : length;
}

template <typename Char>
class Formatter {
 public:
    Formatter(Char* text, size_t room, Arguments& arguments)
        : sink_(text, room), arguments_(arguments) {}

    int run(const Char* format) {
        Parser<Char> parser(format, arguments_);
        for (bool more = true; more;) {
            size_t count = 0;
            const Char* literal = parser.literal(count);
            sink_.put(literal, count);
            Spec spec;
            more = parser.next(spec) && convert(spec);
            if (failed_) return -1;
        }
        return sink_.finish();
    }

 private:
    static constexpr int kMaxPrecision = 128;
    static constexpr bool kWide = std::is_same_v<Char, wchar_t>;
    using Other = std::conditional_t<kWide, char, wchar_t>;

    bool convert(const Spec& spec) {
        switch (spec.conversion) {
            case 'd':
            case 'i':
                return put_signed(spec, take_signed(spec.length));
            case 'u':
                return put_number(spec, take_unsigned(spec.length), 10, "");
            case 'o':
                return put_number(spec, take_unsigned(spec.length), 8, "");
            case 'x':
            case 'X':
                return put_hexadecimal(spec, take_unsigned(spec.length));
            case 'p':
                return put_address(spec);
            case 'c':
            case 'C':
                return put_character(spec, va_arg(arguments_.list, wint_t));
            case 's':
            case 'S':
                return put_text(spec, va_arg(arguments_.list, const void*));
            case 'a':
            case 'A':
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
                return put_float(spec);
            case 'n':
                return va_arg(arguments_.list, void*), true;
            default:  // the percent sign itself, and what is no conversion
                sink_.put(&spec.conversion, 1);
                return true;
        }
    }

    int64_t take_signed(Length length) {
        switch (length) {
            case Length::l:
            case Length::ll:
                return va_arg(arguments_.list, int64_t);
            case Length::h:
                return static_cast<short>(va_arg(arguments_.list, int));
            case Length::hh:
                return static_cast<signed char>(va_arg(arguments_.list, int));
            default:
                return va_arg(arguments_.list, int);
        }
    }

    uint64_t take_unsigned(Length length) {
        const auto value = static_cast<uint64_t>(take_signed(length));
        switch (length) {
            case Length::l:
            case Length::ll:
                return value;
            case Length::h:
                return static_cast<uint16_t>(value);
            case Length::hh:
                return static_cast<uint8_t>(value);
            default:
                return static_cast<uint32_t>(value);
        }
    }

    template <typename From>
    bool put_padded(const Spec& spec, const From* text, size_t count) {
        const size_t padding = padding_of(spec, count);
        if (!spec.left) sink_.fill(' ', padding);
        sink_.put(text, count);
        if (spec.left) sink_.fill(' ', padding);
        return true;
    }

    static size_t padding_of(const Spec& spec, size_t count) {
        const auto width = static_cast<size_t>(spec.width);
        return width > count ? width - count : 0;
    }

    static const char* sign_of(const Spec& spec, bool negative) {
        if (negative) return "-";
        return spec.plus ? "+" : spec.blank ? " " : "";
    }

    bool put_signed(const Spec& spec, int64_t value) {
        const auto bits = static_cast<uint64_t>(value);
        return put_number(spec, value < 0 ? 0 - bits : bits, 10, sign_of(spec, value < 0));
    }

    bool put_hexadecimal(const Spec& spec, uint64_t value) {
        if (!spec.alternate || value == 0) return put_number(spec, value, 16, "");
        return put_number(spec, value, 16, spec.conversion == 'x' ? "0x" : "0X");
    }

    bool put_address(Spec spec) {
        spec.precision = 16;
        spec.conversion = 'X';
        const auto* address = va_arg(arguments_.list, const void*);
        return put_number(spec, reinterpret_cast<uintptr_t>(address), 16, "");
    }

    // prefix is a sign or that of a base.
    bool put_number(const Spec& spec, uint64_t value, int base, const char* prefix) {
        char digits[24];
        char* end = std::to_chars(digits, digits + sizeof digits, value, base).ptr;
        if (spec.precision == 0 && value == 0) end = digits;
        if (spec.conversion == 'X') raise(digits, end);
        const auto count = static_cast<size_t>(end - digits);
        return put_parts(spec, prefix, zeros_of(spec, base, strlen(prefix), count, digits), digits,
                         count);
    }

    static void raise(char* from, const char* end) {
        for (; from != end; ++from) {
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): digits are there up to the end
            *from = static_cast<char>(platform::to_upper(static_cast<unsigned char>(*from)));
        }
    }

    bool put_parts(const Spec& spec, const char* prefix, size_t zeros, const char* digits,
                   size_t count) {
        const size_t prefix_size = strlen(prefix);
        const size_t padding = padding_of(spec, prefix_size + zeros + count);
        if (!spec.left) sink_.fill(' ', padding);
        sink_.put(prefix, prefix_size);
        sink_.fill('0', zeros);
        sink_.put(digits, count);
        if (spec.left) sink_.fill(' ', padding);
        return true;
    }

    static size_t zeros_of(const Spec& spec, int base, size_t prefix_size, size_t count,
                           const char* digits) {
        size_t zeros = 0;
        if (spec.precision >= 0) {
            const auto wanted = static_cast<size_t>(spec.precision);
            zeros = wanted > count ? wanted - count : 0;
        } else if (spec.zero && !spec.left) {
            zeros = padding_of(spec, prefix_size + count);
        }
        const bool octal = base == 8 && spec.alternate;
        return octal && zeros == 0 && (count == 0 || digits[0] != '0') ? 1 : zeros;
    }

    static bool is_wide(const Spec& spec) {
        if (spec.length == Length::h) return false;
        if (spec.length == Length::l) return true;
        const bool upper = spec.conversion == 'C' || spec.conversion == 'S';
        return upper != kWide;
    }

    bool put_character(const Spec& spec, wint_t character) {
        if (is_wide(spec) == kWide) {
            const auto own = static_cast<Char>(character);
            return put_padded(spec, &own, 1);
        }
        const Other text[] = {static_cast<Other>(character), 0};
        Spec one = spec;
        one.precision = -1;
        return put_other(one, text);
    }

    bool put_text(const Spec& spec, const void* text) {
        if (text == nullptr) return put_own(spec, "(null)");
        if (is_wide(spec) == kWide) return put_own(spec, static_cast<const Char*>(text));
        return put_other(spec, static_cast<const Other*>(text));
    }

    template <typename From>
    bool put_own(const Spec& spec, const From* text) {
        size_t count = 0;
        if constexpr (sizeof(From) == 1) {
            count = spec.precision < 0 ? strlen(text)
                                       : strnlen(text, static_cast<size_t>(spec.precision));
        } else {
            count = spec.precision < 0 ? wcslen(text)
                                       : wcsnlen(text, static_cast<size_t>(spec.precision));
        }
        return put_padded(spec, text, count);
    }

    // Converts by the code page, once to measure and once to write.
    bool put_other(const Spec& spec, const Other* text) {
        const size_t limit = spec.precision < 0 ? SIZE_MAX : static_cast<size_t>(spec.precision);
        const size_t count = each_character(text, limit, [](const Char*, size_t) {});
        const size_t padding = padding_of(spec, count);
        if (!spec.left) sink_.fill(' ', padding);
        each_character(text, limit, [&](const Char* units, size_t n) { sink_.put(units, n); });
        if (spec.left) sink_.fill(' ', padding);
        return true;
    }

    // Visits at most limit characters; their number.
    template <typename Visit>
    size_t each_character(const Other* text, size_t limit, Visit visit) {
        size_t characters = 0;
        for (; characters < limit; ++characters) {
            Char units[2];
            const int count = next_character(text, units);
            if (count < 0) failed_ = true;
            if (count <= 0) break;
            visit(units, static_cast<size_t>(count));
        }
        return characters;
    }

    bool put_float(const Spec& spec) {
        if (spec.length == Length::L)
            return put_by_library(spec, va_arg(arguments_.list, long double));
        const double value = va_arg(arguments_.list, double);
        const bool hexadecimal = spec.conversion == 'a' || spec.conversion == 'A';
        if (hexadecimal || spec.alternate || spec.precision > kMaxPrecision) {
            return put_by_library(spec, value);
        }
        return put_double(spec, value);
    }

    bool put_double(const Spec& spec, double value) {
        const auto letter =
            static_cast<char>(platform::to_lower(static_cast<unsigned char>(spec.conversion)));
        const auto form = letter == 'f'   ? std::chars_format::fixed
                          : letter == 'e' ? std::chars_format::scientific
                                          : std::chars_format::general;
        char digits[kMaxPrecision + 320];  // the largest number has 309 digits before the point
        char* end = std::to_chars(digits, digits + sizeof digits, std::fabs(value), form,
                                  spec.precision < 0 ? 6 : spec.precision)
                        .ptr;
        if (letter != spec.conversion) raise(digits, end);
        const auto count = static_cast<size_t>(end - digits);
        const char* sign = sign_of(spec, std::signbit(value));
        const bool zeros = spec.zero && !spec.left && std::isfinite(value);
        return put_parts(spec, sign, zeros ? padding_of(spec, strlen(sign) + count) : 0, digits,
                         count);
    }

    // Hands one conversion to the C library, spelled anew with "*" for the numbers.
    template <typename Float>
    bool put_by_library(const Spec& spec, Float value) {
        char format[16];
        char* at = format;
        *at++ = '%';
        if (spec.left) *at++ = '-';
        if (spec.plus) *at++ = '+';
        if (spec.blank) *at++ = ' ';
        if (spec.zero) *at++ = '0';
        if (spec.alternate) *at++ = '#';
        memcpy(at, "*.*", 3);
        at += 3;
        if (spec.length == Length::L) *at++ = 'L';
        *at++ = spec.conversion;
        *at = 0;
        return put_by_library(format, spec, value);
    }

    template <typename Float>
    bool put_by_library(const char* format, const Spec& spec, Float value) {
        char text[128];
        const int size = snprintf(text, sizeof text, format, spec.width, spec.precision, value);
        if (size >= 0 && static_cast<size_t>(size) < sizeof text) {
            sink_.put(text, static_cast<size_t>(size));
            return true;
        }
        const size_t needed = static_cast<size_t>(size < 0 ? 0 : size) + 1;
        const std::unique_ptr<char, decltype(&free)> longer(static_cast<char*>(malloc(needed)),
                                                            free);
        failed_ = size < 0 || longer == nullptr;
        if (failed_) return false;
        snprintf(longer.get(), needed, format, spec.width, spec.precision, value);
        sink_.put(longer.get(), needed - 1);
        return true;
    }

    Sink<Char> sink_;
    Arguments& arguments_;
    bool failed_ = false;
};

template <typename Char>
int format_text(Char* text, size_t size, const Char* format, va_list list) {
    Arguments arguments;
    va_copy(arguments.list, list);
    const int result = Formatter<Char>(text, size, arguments).run(format);
    va_end(arguments.list);
    return result;
}

}  // namespace

int _vsnprintf(char* text, std::size_t size, const char* format, va_list arguments) {
    return format_text(text, size, format, arguments);
}

int _vsnwprintf(wchar_t* text, std::size_t size, const wchar_t* format, va_list arguments) {
    return format_text(text, size, format, arguments);
}

int _snprintf(char* text, std::size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = _vsnprintf(text, size, format, arguments);
    va_end(arguments);
    return result;
}

int _vscprintf(const char* format, va_list arguments) {
    return _vsnprintf(nullptr, 0, format, arguments);
}
