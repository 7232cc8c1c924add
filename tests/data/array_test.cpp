#include "support/scenes.h"

namespace {

using Array = InFolder;

[[maybe_unused]] const bool plays = play_scenes<Array>(
    "Array", TEST_ROWS,
    {{"init", step_of<PA_Init>},
     {"build", step_of<[](PA* array, char* items, int32_t size, int32_t count, int32_t capacity) {
          return PA_Build(array, items, size, count, capacity, 16);
      }>},
     {"release", step_of<PA_Release>},
     {"append", step_of<PA_Append>},
     {"append_items", step_of<PA_MultiAppend>},
     {"set", step_of<PA_SetAt>},
     {"insert", step_of<PA_InsertAt>},
     {"get", step_of<PA_GetAt>},
     {"find", step_of<PA_Lookup>},
     {"delete", step_of<PA_DelAt>},
     {"delete_item", step_of<PA_DelItem>},
     {"allocate", step_of<PA_AllocMem>},
     {"set_room", step_of<PA_SetBuf>},
     {"duplicate", step_of<PA_Duplicate>},
     {"copy", step_of<PA_Copy>},
     {"count", step_of<[](PA* array) { return array->nCount; }>},
     {"set_count", step_of<[](PA* array, int32_t count) { return array->nCount = count; }>},
     {"capacity", step_of<[](PA* array) { return array->nCapacity; }>},
     {"quantum", step_of<[](PA* array) { return array->nGrowBy; }>},
     {"set_quantum", step_of<[](PA* array, int32_t items) { return array->nGrowBy = items; }>},
     {"items", step_of<[](PA* array, int32_t count) {
          const auto size = static_cast<size_t>(array->nItemSize) * static_cast<size_t>(count);
          return array->pData == nullptr ? "none"s
                                         : std::string(static_cast<char*>(array->pData), size);
      }>}});

TEST_F(Array, AgreesWithAVectorOverRandomEdits) {
    std::mt19937 random(11);
    PA a;
    PA_Init(&a, 4, 0);
    Ints model;
    for (int step = 0; step < 20000; ++step) {
        const auto value = static_cast<int32_t>(random() % 50);
        const auto index = static_cast<int32_t>(random() % (model.size() + 1));
        if (random() % 2 == 0) {
            const auto insert = model.begin() + index;
            ASSERT_EQ(
                insert == model.end() ? PA_Append(&a, &value) : PA_InsertAt(&a, index, &value), 1);
            model.insert(insert, value);
        } else {
            const auto found = std::find(model.begin(), model.end(), value);
            const bool there = found != model.end();
            ASSERT_EQ(PA_Lookup(&a, &value), there ? found - model.begin() : -1);
            ASSERT_EQ(PA_DelItem(&a, &value), there ? 1 : -1);
            if (there) model.erase(found);
        }
        ASSERT_LE(a.nCount, a.nCapacity);
        ASSERT_EQ(a.nCapacity % 16, 0);
    }
    const auto* items = static_cast<const int32_t*>(a.pData);
    EXPECT_EQ(Ints(items, items + a.nCount), model);
    PA_Release(&a);
}

}  // namespace
