// What the files of module "paramadm" share.
#pragma once

#include <cstddef>
#include <cstring>

#include "core/modules.h"
#include "moltelib/format/parameter_record.h"

namespace molte::paramadm {

constexpr auto kModule = kParamadm;
using molte::kBadArgument;

// A text of a record, that may fill its field, with a terminator.
template <size_t kSize>
class Terminated {
 public:
    explicit Terminated(const void* field) {
        std::memcpy(text_, field, kSize);
        text_[kSize] = '\0';
    }
    [[nodiscard]] const char* text() const { return text_; }

 private:
    char text_[kSize + 1];
};

using NetName = Terminated<sizeof(MOLTE_PARAMNETITEM::szName)>;
using NetText = Terminated<sizeof(MOLTE_PARAMNETITEM::abyValue)>;

}  // namespace molte::paramadm
