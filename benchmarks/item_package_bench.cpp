// Item packages beside Protocol Buffers, and finding beside a plain walk over the same bytes.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "item_package.pb.h"
#include "moltelib.h"
#include "pair.h"

namespace {

constexpr int32_t kItems = 10000;
constexpr int32_t kDataSize = 64;

std::vector<std::string> made_names() {
    std::vector<std::string> names(kItems);
    for (size_t i = 0; i < names.size(); ++i) names[i] = "item " + std::to_string(i);
    return names;
}

void build(const std::vector<std::string>& names, const char* data, MOLTE_ITEMPKG_OPS* package) {
    MOLTE_ITEMPKG_New(package, 0);
    for (int32_t i = 0; i < kItems; ++i) {
        const char* const name = names[static_cast<size_t>(i)].c_str();
        if (MOLTE_ITEMPKG_AddItemEx(package, name, i, data, kDataSize) < 0) std::abort();
    }
}

std::string serialised(const std::vector<std::string>& names, const char* data) {
    molte_bench::Package package;
    for (int32_t i = 0; i < kItems; ++i) {
        molte_bench::Item* const item = package.add_items();
        item->set_name(names[static_cast<size_t>(i)]);
        item->set_type(i);
        item->set_data(data, kDataSize);
    }
    return package.SerializeAsString();
}

// The offset of the first item of a name in the block, with the same checks; 0 for none.
size_t walk_to(const uint8_t* block, size_t used, const char* name, size_t name_size) {
    for (size_t at = 64; used - at >= 48;) {
        const uint8_t* const item = block + at;
        uint32_t head_size;
        uint32_t size;
        std::memcpy(&head_size, item, 4);
        std::memcpy(&size, item + 36, 4);
        const size_t next = at + (size_t{__builtin_bswap32(size)} + 51) / 4 * 4;
        if (__builtin_bswap32(head_size) != 48 || std::memcmp(item + 44, "Item", 4) != 0) return 0;
        if (next > used) return 0;
        if (std::memcmp(item + 4, name, name_size + 1) == 0) return at;
        at = next;
    }
    return 0;
}

}  // namespace

int main() {
    const std::vector<std::string> names = made_names();
    const std::string data(kDataSize, 'x');
    MOLTE_ITEMPKG_OPS package;
    molte_bench::pair(
        "add 10,000 items of 64 bytes", "Protocol Buffers",
        [&] {
            build(names, data.data(), &package);
            molte_bench::keep(package.pData);
            MOLTE_ITEMPKG_Free(&package);
        },
        [&] { molte_bench::keep(serialised(names, data.data()).size()); });

    build(names, data.data(), &package);
    const std::string& last = names.back();
    int32_t position = 0;
    const auto find = [&] {
        MOLTE_ITEMHEAD* item;
        if (MOLTE_ITEMPKG_GetItemEx(&package, last.c_str(), &item, &position) < 1) std::abort();
        molte_bench::keep(item);
    };
    const auto walk = [&] {
        const size_t at =
            walk_to(package.pData, static_cast<size_t>(package.nUsed), last.c_str(), last.size());
        molte_bench::keep(at);
        return at;
    };
    find();
    if (walk() != static_cast<size_t>(position)) std::abort();
    molte_bench::pair("find the last", "plain walk", find, walk, 21);
    MOLTE_ITEMPKG_Free(&package);
}
