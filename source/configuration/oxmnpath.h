// Whether there is a main path, which "known" doesn't tell: see InitMainPath.
#pragma once

namespace molte {

// The program gave one, be it empty, or the registry had one.
[[nodiscard]] bool main_path_found();

}  // namespace molte
