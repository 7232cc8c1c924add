// What the files of module "paramadm" share.
#pragma once

#include "core/report.h"

namespace molte::paramadm {

inline constexpr Module kModule("paramadm");
inline constexpr uint32_t kBadArgument = 50;

}  // namespace molte::paramadm
