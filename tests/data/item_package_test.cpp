#include "support/scenes.h"

namespace {

using Package = MOLTE_ITEMPKG_OPS;

std::string bytes_in(const Package& package, int32_t from, int32_t to) {
    return {reinterpret_cast<char*>(package.pData + from), static_cast<size_t>(to - from)};
}

// All items as they are walked over, which the list of heads repeats; how the walk ends.
std::string items_in(Package* package) {
    std::string all;
    std::string heads;
    MOLTE_ITEMHEAD* item = nullptr;
    int32_t at = 0;
    int32_t next = 0;
    int32_t more = ITEMPKG_GetFirstItem(package, &item, &at, &next);
    for (; more > 0; more = ITEMPKG_GetNextItem(package, &item, &at, &next)) {
        const std::string written = bytes_in(*package, at, next);
        all += item->szName + ":"s + written.substr(48, Char4To_uint4(item->nDataLen)) + ";";
        heads += written.substr(0, 48);
    }
    const std::string end = outcome(more);
    MOLTE_ITEMHEAD none;
    MOLTE_ITEMHEAD* list = &none;
    const int32_t count = MOLTE_ITEMPKG_GetItemDir(package, &list);
    EXPECT_EQ(count > 0, list != &none);
    EXPECT_TRUE(count < 1 || std::memcmp(list, heads.data(), heads.size()) == 0);
    EXPECT_EQ(count < 0 ? 0 : size_t{48} * static_cast<size_t>(count), more < 0 ? 0 : heads.size());
    ORVEX_free(list != &none ? list : nullptr);
    return all + end;
}

using ItemPackage = InFolder;

[[maybe_unused]] const bool plays = play_scenes<ItemPackage>(
    "ItemPackage", TEST_ROWS,
    {{"new", step_of<MOLTE_ITEMPKG_New>},
     {"free", step_of<MOLTE_ITEMPKG_Free>},
     {"valid", step_of<MOLTE_ITEMPKG_IsValidHead>},
     {"valid_item", step_of<MOLTE_ITEMPKG_IsValidItem>},
     {"init", step_of<MOLTE_ITEMHEAD_Init>},
     {"add", step_of<MOLTE_ITEMPKG_AddItemEx>},
     {"add_item", step_of<MOLTE_ITEMPKG_AddItem>},
     {"update", step_of<MOLTE_ITEMPKG_UpdateItem>},
     {"delete", step_of<MOLTE_ITEMPKG_DelItem>},
     {"find", step_of<MOLTE_ITEMPKG_GetItemEx>},
     {"items", step_of<items_in>},
     {"first", step_of<[](Package* package, int32_t* at, int32_t* next) {
          MOLTE_ITEMHEAD* item;
          return ITEMPKG_GetFirstItem(package, &item, at, next);
      }>},
     {"next", step_of<[](Package* package, int32_t* next) {
          MOLTE_ITEMHEAD none;
          MOLTE_ITEMHEAD* item = &none;
          int32_t at = -3;
          const int32_t from = *next;
          const int32_t result = ITEMPKG_GetNextItem(package, &item, &at, next);
          EXPECT_EQ(result > 0, item != &none);
          EXPECT_EQ(result > 0 ? from : -3, at);
          return result;
      }>},
     {"own", step_of<[](Package* package, Text name, int32_t update) {
          MOLTE_ITEMHEAD* own = nullptr;
          EXPECT_EQ(MOLTE_ITEMPKG_GetItem(package, name, &own), 1);
          return (update != 0 ? MOLTE_ITEMPKG_UpdateItem : MOLTE_ITEMPKG_AddItem)(package, own);
      }>},
     // An item with room for its data.
     {"item",
      [](const Texts& step) {
          auto& item = named_records[step[1]] = std::make_shared<std::array<char, 128>>();
          return step[2].substr(step[2].copy(static_cast<char*>(item.get()), 128));
      }},
     {"head", step_of<[](MOLTE_ITEMHEAD* head) { return bytes_of(*head); }>},
     {"received", step_of<[](Package* package, Package* sent) {
          void* const block = ORVEX_release_malloc(sent->nUsed);
          std::memcpy(block, sent->pData, static_cast<size_t>(sent->nUsed));
          return MOLTE_ITEMPKG_BuildOpsFromData(package, block);
      }>},
     {"block", step_of<[](Package* package, int32_t from, int32_t to) {
          return bytes_in(*package, from, to);
      }>},
     {"write", step_of<[](Package* package, int32_t at, uint8_t byte) {
          return package->pData[at] = byte;
      }>},
     {"sizes", step_of<[](Package* package) {
          return outcome(package->nUsed) + " of " + outcome(package->nAlloc);
      }>},
     {"set_sizes", step_of<[](Package* package, int32_t used, int32_t alloc) {
          package->nUsed = used;
          return package->nAlloc = alloc;
      }>}});

}  // namespace
