#include "platform/code_page.h"

namespace platform {

int compare_no_case(const char* a, const char* b) {
    return compare_no_case(a, b, static_cast<std::size_t>(-1));
}

int compare_no_case(const char* a, const char* b, std::size_t limit) {
    for (std::size_t i = 0; i < limit; ++i) {
        const int left = small_of(static_cast<unsigned char>(a[i]));
        const int right = small_of(static_cast<unsigned char>(b[i]));
        if (left != right || left == 0) return left - right;
    }
    return 0;
}

}  // namespace platform
