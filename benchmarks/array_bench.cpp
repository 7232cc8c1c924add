// PA_Append of 16 bytes beside std::vector::push_back and GLib's g_array_append_val.
#include <glib.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "moltelib/array.h"
#include "pair.h"

namespace {

struct Item {
    uint64_t a, b;
};

void append(int32_t count) {
    PA array;
    PA_Init(&array, sizeof(Item), 0);
    for (int32_t i = 0; i < count; ++i) {
        const Item item{static_cast<uint64_t>(i), 1};
        PA_Append(&array, &item);
    }
    molte_bench::keep(array.pData);
    PA_Release(&array);
}

void push_back(int32_t count) {
    std::vector<Item> vector;
    for (int32_t i = 0; i < count; ++i) vector.push_back({static_cast<uint64_t>(i), 1});
    molte_bench::keep(vector.data());
}

void append_val(int32_t count) {
    GArray* array = g_array_new(FALSE, FALSE, sizeof(Item));
    for (int32_t i = 0; i < count; ++i) {
        const Item item{static_cast<uint64_t>(i), 1};
        g_array_append_val(array, item);
    }
    molte_bench::keep(array->data);
    g_array_free(array, TRUE);
}

}  // namespace

int main() {
    for (const int32_t count : {4000000, 1000}) {
        char name[64];
        snprintf(name, sizeof name, "%d appends of 16 bytes", count);
        molte_bench::pair(
            name, "std::vector", [=] { append(count); }, [=] { push_back(count); });
        molte_bench::pair(
            name, "GArray", [=] { append(count); }, [=] { append_val(count); });
    }
}
