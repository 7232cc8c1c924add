// Reading the two-byte fields of the date and time records: low byte first.
#pragma once

#include <cstdint>

#include "moltelib/format/date_time_record.h"

namespace molte {

[[nodiscard]] inline int32_t low_first(const uint8_t (&field)[2]) {
    return field[0] | field[1] << 8;
}

inline void put_low_first(int32_t value, uint8_t (&field)[2]) {
    field[0] = static_cast<uint8_t>(value);
    field[1] = static_cast<uint8_t>(value >> 8);
}

[[nodiscard]] inline int32_t year_of(const ORVEXDATE& date) {
    return low_first(date.anYear);
}
[[nodiscard]] inline int32_t second_of(const ORVEXTIME& time) {
    return low_first(time.anMilliSecond) / 1000;
}

}  // namespace molte
