// The string object beside std::string with {fmt}.
#include <fmt/format.h>

#include <iterator>
#include <string>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr int kAppends = 1000000;

template <typename Append>
void fill_object(Append append) {
    OXSTR_STROBJ object;
    OXSTR_STROBJ_Init(&object, 0);
    for (int i = 0; i < kAppends; ++i) append(&object, i);
    molte_bench::keep(object.pBuf);
    OXSTR_STROBJ_Free(&object);
}

template <typename Append>
void fill_string(Append append) {
    std::string text;
    for (int i = 0; i < kAppends; ++i) append(text, i);
    molte_bench::keep(text.data());
}

}  // namespace

int main() {
    molte_bench::pair(
        "a million of %d %s %u", "{fmt}",
        [] {
            fill_object([](OXSTR_STROBJ* object, int i) {
                OXSTR_STROBJ_Printf(object, "%d %s %u\n", i, "station",
                                    7U * static_cast<unsigned>(i));
            });
        },
        [] {
            fill_string([](std::string& text, int i) {
                fmt::format_to(std::back_inserter(text), "{} {} {}\n", i, "station",
                               7U * static_cast<unsigned>(i));
            });
        });
    molte_bench::pair(
        "a million of %5d %-8s %08x %c", "{fmt}",
        [] {
            fill_object([](OXSTR_STROBJ* object, int i) {
                OXSTR_STROBJ_Printf(object, "%5d %-8s %08x %c\n", i, "palm",
                                    static_cast<unsigned>(i), 'x');
            });
        },
        [] {
            fill_string([](std::string& text, int i) {
                fmt::format_to(std::back_inserter(text), "{:5} {:<8} {:08x} {}\n", i, "palm", i,
                               'x');
            });
        });
    molte_bench::pair(
        "a million of %.3f", "{fmt}",
        [] {
            fill_object([](OXSTR_STROBJ* object, int i) {
                OXSTR_STROBJ_Printf(object, "%.3f\n", i * 0.37);
            });
        },
        [] {
            fill_string([](std::string& text, int i) {
                fmt::format_to(std::back_inserter(text), "{:.3f}\n", i * 0.37);
            });
        });
    molte_bench::pair(
        "a million of 16 bytes", "std::string",
        [] {
            fill_object([](OXSTR_STROBJ* object, int) {
                OXSTR_STROBJ_Append(object, "0123456789abcdef", 16);
            });
        },
        [] { fill_string([](std::string& text, int) { text.append("0123456789abcdef", 16); }); });
}
