#include "platform/file_mapping.h"

namespace platform {

size_t view_size(const void* view) {
    MEMORY_BASIC_INFORMATION region;
    const bool known = VirtualQuery(view, &region, sizeof region) == sizeof region &&
                       region.Type == MEM_MAPPED && region.AllocationBase == view;
    return known ? region.RegionSize : 0;
}

}  // namespace platform
