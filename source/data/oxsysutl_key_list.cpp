// Lists of keys and SIDs in memory.
#include <algorithm>
#include <cstring>

#include "data/oxsysutl_lists.h"

using molte::as_keys;
using molte::Key;
using molte::lists::readable;
using molte::lists::refuse;

namespace {

// The text needn't fill a slot, nor end in one.
Key slot_of(const char* text) {
    Key key = {};
    std::memcpy(key.text, text, strnlen(text, sizeof key.text));
    return key;
}

}  // namespace

namespace molte::lists {

// The steps are fixed: a list that isn't sorted, as a union is, gives what they find in it.
int32_t find_key(const Key* keys, int32_t count, const Key& key) {
    if (compare_keys(key, keys[0]) < 0 || compare_keys(key, keys[count - 1]) > 0) return -1;
    int32_t low = 0;
    int32_t high = count - 1;
    while (low < high) {
        const int32_t mid = low + (high - low) / 2;
        const int order = compare_keys(key, keys[mid]);
        if (order == 0) return mid;
        if (order < 0) {
            high = mid - 1;
        } else {
            low = mid + 1;
        }
    }
    return same_key(key, keys[low]) ? low : -1;
}

}  // namespace molte::lists

void MOLTE_SortKeyList(char* pKeys, int32_t n) {
    if (readable(pKeys, n)) {
        molte::sort_keys(as_keys(pKeys), molte::lists::length(n));
    } else {
        refuse();
    }
}

int32_t MOLTE_KeyInList(const char* pKeys, int32_t n, const char* pszKey) {
    if (n < 1) return -1;
    if (pKeys == nullptr || pszKey == nullptr) return refuse();
    return molte::lists::find_key(as_keys(pKeys), n, slot_of(pszKey));
}

int32_t MOLTE_DelKeyInList(char* pKeys, int32_t n, int32_t nIndex) {
    if (nIndex < 0 || nIndex >= n) return 0;
    if (pKeys == nullptr) return refuse();
    Key* place = as_keys(pKeys) + nIndex;
    std::memmove(place, place + 1, static_cast<size_t>(n - nIndex - 1) * sizeof(Key));
    return 1;
}

int32_t MOLTE_RemoveZeroHeadKey(char* pKeys, int32_t n) {
    if (n < 1) return 0;
    if (pKeys == nullptr) return refuse();
    Key* keys = as_keys(pKeys);
    const auto deleted = [](const Key& key) { return key.deleted(); };
    return static_cast<int32_t>(std::remove_if(keys, keys + n, deleted) - keys);
}

int32_t MOLTE_RemoveDupKey(char* pKeys, int32_t n) {
    if (n < 2) return n;
    if (pKeys == nullptr) return refuse();
    Key* keys = as_keys(pKeys);
    Key* const end = keys + n;
    if (std::adjacent_find(keys, end, molte::same_key) == end) return n;
    const auto kept = static_cast<int32_t>(molte::drop_repeated(keys, static_cast<size_t>(n)));
    return MOLTE_RemoveZeroHeadKey(pKeys, kept);
}

int32_t MOLTE_CompSID(const void* pA, const void* pB) {
    if (pA == nullptr || pB == nullptr) return refuse();
    uint64_t a = 0;
    uint64_t b = 0;
    std::memcpy(&a, pA, sizeof a);
    std::memcpy(&b, pB, sizeof b);
    return a < b ? -1 : a > b ? 1 : 0;
}

void MOLTE_SortSIDList(uint64_t* pSids, int32_t n) {
    if (readable(pSids, n)) {
        std::sort(pSids, pSids + molte::lists::length(n));
    } else {
        refuse();
    }
}

int32_t MOLTE_RemoveDupSID(uint64_t* pSids, int32_t n) {
    if (n < 2) return 1;
    if (pSids == nullptr) return refuse();
    return static_cast<int32_t>(std::unique(pSids, pSids + n) - pSids);
}
