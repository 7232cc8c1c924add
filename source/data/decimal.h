// A 64-bit number as decimal text, for data texts that take their numbers as text.
#pragma once

#include "moltelib/number_text.h"

namespace molte {

class Decimal {
 public:
    explicit Decimal(int64_t value) { MOLTE_i64toa(value, text_); }
    [[nodiscard]] const char* text() const { return text_; }

 private:
    char text_[24];
};

}  // namespace molte
