// An item package as a peer may send it: walked over, then changed as if it were our own. The name
// that changes it is what is reserved in the head.
#include "frame.h"

namespace {

int32_t count_of(const MOLTE_ITEMPKG_OPS& package) {
    MOLTE_ITEMHEAD* heads = nullptr;
    const int32_t count = MOLTE_ITEMPKG_GetItemDir(&package, &heads);
    ORVEX_free(heads);
    return count;
}

}  // namespace

void try_input(std::string_view input) {
    if (input.size() < 64) return;
    MOLTE_ITEMPKG_OPS package;
    void* const block = ORVEX_release_malloc(static_cast<int64_t>(input.size()));
    std::memcpy(block, input.data(), input.size());
    MOLTE_ITEMPKG_BuildOpsFromData(&package, block);
    if (package.nUsed <= static_cast<int32_t>(input.size()) &&
        MOLTE_ITEMPKG_IsValidHead(&package) == 1) {
        const std::string name(std::string(input.substr(36, 20)).c_str());
        const int32_t count = count_of(package);
        MOLTE_ITEMHEAD* own = nullptr;
        const int32_t found = MOLTE_ITEMPKG_GetItem(&package, name.c_str(), &own);
        must(found >= 0 || count < 0);
        if (found > 0) must(MOLTE_ITEMPKG_UpdateItem(&package, own) == 1);
        must(count < 0 || count_of(package) == count);
        const int32_t deleted = MOLTE_ITEMPKG_DelItem(&package, name.c_str());
        must(count < 0 || deleted == found);
        must(count < 0 || count_of(package) == count - found);
        MOLTE_ITEMPKG_AddItemEx(&package, name.c_str(), 1, package.pData, package.nUsed);
        must(count < 0 || count_of(package) == count - found + 1);
    }
    MOLTE_ITEMPKG_Free(&package);
}
