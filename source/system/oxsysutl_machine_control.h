// How the machine is told to go down.
#pragma once

#include <cstdint>

namespace molte {

// The flags of ExitWindowsEx: restart 2, power off 8; systems of the NT line are to end by force
// only programs that hang (16), the others all (4).
[[nodiscard]] constexpr uint32_t shutdown_flags(bool nt_series, bool restart) {
    return (restart ? 2U : 8U) + (nt_series ? 16U : 4U);
}

}  // namespace molte
