// What module "oxdatcnv" gives the library's own files.
#pragma once

#include <cstdint>

#include "moltelib/format/date_time_record.h"
#include "moltelib/number_text.h"

namespace molte {

// A 64-bit number as decimal text, for data texts that take their numbers as text.
class Decimal {
 public:
    explicit Decimal(int64_t value) { MOLTE_i64toa(value, text_); }
    [[nodiscard]] const char* text() const { return text_; }

 private:
    char text_[24];
};

// The two-byte fields of the date and time records: low byte first.
[[nodiscard]] inline int32_t low_first(const uint8_t (&field)[2]) {
    return field[0] | field[1] << 8;
}

[[nodiscard]] inline int32_t year_of(const ORVEXDATE& date) {
    return low_first(date.anYear);
}
[[nodiscard]] inline int32_t second_of(const ORVEXTIME& time) {
    return low_first(time.anMilliSecond) / 1000;
}

}  // namespace molte
