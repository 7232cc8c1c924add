// The data of an error record, which lies in two places, in one run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "moltelib/format/error_record.h"

namespace molte {

struct ErrorData {
    uint8_t bytes[sizeof ORVEX_ERRDATA::abyData1 + sizeof ORVEX_ERRDATA::abyData2];
    int32_t size;

    explicit ErrorData(const ORVEX_ERRDATA& record)
        : size(std::min<int32_t>(record.nDataLen, sizeof bytes)) {
        std::memcpy(bytes, record.abyData1, sizeof record.abyData1);
        std::memcpy(bytes + sizeof record.abyData1, record.abyData2, sizeof record.abyData2);
    }
};

}  // namespace molte
