// Lists of keys and SIDs in memory, and two lists of keys into a third.
#include "data/oxsysutl_key_list.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/owners.h"
#include "core/oxsysutl_memory.h"

using molte::as_keys;
using molte::Heap;
using molte::here;
using molte::Key;
using molte::lists::kModule;
using molte::lists::length;
using molte::lists::readable;
using molte::lists::refuse;

namespace {

// The text needn't fill a slot, nor end in one.
Key slot_of(const char* text) {
    Key key = {};
    std::memcpy(key.text, text, strnlen(text, sizeof key.text));
    return key;
}

// MOLTE_KeyInList, once the list is known to have a key. The steps are fixed: a list that isn't
// sorted, as a union is, gives what they find in it.
int32_t find_key(const Key* keys, int32_t count, const Key& key) {
    if (molte::compare_keys(key, keys[0]) < 0 || molte::compare_keys(key, keys[count - 1]) > 0)
        return -1;
    int32_t low = 0;
    int32_t high = count - 1;
    while (low < high) {
        const int32_t mid = low + (high - low) / 2;
        const int order = molte::compare_keys(key, keys[mid]);
        if (order == 0) return mid;
        if (order < 0) {
            high = mid - 1;
        } else {
            low = mid + 1;
        }
    }
    return molte::same_key(key, keys[low]) ? low : -1;
}

// Where a key stands in a sorted list: behind RANK others, and whether it is there itself.
class Place {
 public:
    Place() = default;
    Place(size_t rank, bool found) : bits_(static_cast<uint32_t>(rank * 2 + (found ? 1 : 0))) {}
    [[nodiscard]] int64_t rank() const { return bits_ >> 1; }
    [[nodiscard]] bool found() const { return (bits_ & 1) != 0; }

 private:
    uint32_t bits_;
};

// Finds the places of keys that come in ascending order.
class Follower {
 public:
    Follower(const Key* list, size_t count) : list_(list), count_(count) {}
    Place next(const Key& key) {
        int order = -1;
        while (at_ < count_ && (order = molte::compare_keys(list_[at_], key)) < 0) ++at_;
        return {at_, at_ < count_ && order == 0};
    }

 private:
    const Key* list_;
    size_t count_;
    size_t at_ = 0;
};

Place look_up(const Key* list, size_t count, const Key& key) {
    const Key* at = std::lower_bound(list, list + count, key, [](const Key& a, const Key& b) {
        return molte::compare_keys(a, b) < 0;
    });
    return {static_cast<size_t>(at - list), at != list + count && molte::same_key(*at, key)};
}

// The places of A's keys in B, which is sorted.
Heap<Place> places_in(const Key* a, size_t a_count, const Key* b, size_t b_count) {
    auto places = molte::allocate_list<Place>(a_count);
    if (places == nullptr) return places;
    Follower follower(b, b_count);
    molte::KeyOrder order;
    if (molte::is_sorted(a, a_count)) {
        for (size_t i = 0; i < a_count; ++i) places[i] = follower.next(a[i]);
    } else if (order.make(a, a_count)) {
        const auto* entries = order.entries();
        molte::visit_in_order(a, entries, a_count, [&](size_t i, const Key& key) {
            places[entries[i].index] = follower.next(key);
        });
    } else {
        for (size_t i = 0; i < a_count; ++i) places[i] = look_up(b, b_count, a[i]);
    }
    return places;
}

// The keys of A that B has, or those that it hasn't.
int32_t select(const Key* a, size_t a_count, Key* b, size_t b_count, bool members, char** out) {
    molte::sort_keys(b, b_count);
    if (a_count == 0) return 0;
    const auto places = places_in(a, a_count, b, b_count);
    if (places == nullptr) return kModule.trace(here());
    const auto count = std::count_if(places.get(), places.get() + a_count,
                                     [=](Place place) { return place.found() == members; });
    if (count == 0) return 0;
    auto list = molte::allocate_list<Key>(static_cast<size_t>(count));
    if (list == nullptr) return kModule.trace(here());
    Key* to = list.get();
    for (size_t i = 0; i < a_count; ++i) {
        if (places[i].found() == members) *to++ = a[i];
    }
    *out = list.release()->text;
    return static_cast<int32_t>(count);
}

// A union while it is made: a sorted head, and behind it what was added.
class Union {
 public:
    Union(Key* keys, int64_t head) : keys_(keys), head_(head), count_(head) {}

    // PLACE is the key's in the head.
    void add_if_missing(const Key& key, Place place) {
        if (!finds(key, place)) keys_[count_++] = key;
    }
    [[nodiscard]] int64_t count() const { return count_; }

 private:
    // The key beside the one at an index. In the head the place tells it.
    [[nodiscard]] int order(const Key& key, Place place, int64_t index) const {
        if (index >= head_) return molte::compare_keys(key, keys_[index]);
        if (index == place.rank() && place.found()) return 0;
        return index < place.rank() ? 1 : -1;
    }
    // MOLTE_KeyInList, step by step. The list isn't sorted, so that can miss what stands in it:
    // meant.
    [[nodiscard]] bool finds(const Key& key, Place place) const {
        if (count_ == 0 || order(key, place, 0) < 0 || order(key, place, count_ - 1) > 0) {
            return false;
        }
        int64_t low = 0;
        int64_t high = count_ - 1;
        while (low < high) {
            if (high < head_) return place.found();  // from here on it is sorted
            const int64_t mid = (low + high) / 2;
            const int side = order(key, place, mid);
            if (side == 0) return true;
            if (side < 0) {
                high = mid - 1;
            } else {
                low = mid + 1;
            }
        }
        return order(key, place, low) == 0;
    }

    Key* keys_;
    int64_t head_;
    int64_t count_;
};

// B's keys, sorted and each once; their number.
int32_t start_union(char* b, int32_t b_count, Key* list) {
    if (b_count < 1) return 0;
    molte::sort_keys(as_keys(b), length(b_count));
    const int32_t count = MOLTE_RemoveDupKey(b, b_count);
    std::memcpy(list, b, length(count) * sizeof(Key));
    return count;
}

}  // namespace

void MOLTE_SortKeyList(char* pKeys, int32_t n) {
    if (readable(pKeys, n)) {
        molte::sort_keys(as_keys(pKeys), length(n));
    } else {
        refuse();
    }
}

int32_t MOLTE_KeyInList(const char* pKeys, int32_t n, const char* pszKey) {
    if (n < 1) return -1;
    if (pKeys == nullptr || pszKey == nullptr) return refuse();
    return find_key(as_keys(pKeys), n, slot_of(pszKey));
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
        std::sort(pSids, pSids + length(n));
    } else {
        refuse();
    }
}

int32_t MOLTE_RemoveDupSID(uint64_t* pSids, int32_t n) {
    if (n < 2) return 1;
    if (pSids == nullptr) return refuse();
    return static_cast<int32_t>(std::unique(pSids, pSids + n) - pSids);
}

int32_t MOLTE_KeyListSub(const char* pA, int32_t nA, char* pB, int32_t nB, char** ppOut) {
    if (ppOut == nullptr) return refuse();
    *ppOut = nullptr;
    if (nA < 1) return nA;
    if (pA == nullptr || !readable(pB, nB)) return refuse();
    return select(as_keys(pA), length(nA), as_keys(pB), length(nB), false, ppOut);
}

int32_t MOLTE_KeyListIntersect(const char* pA, int32_t nA, char* pB, int32_t nB, char** ppOut) {
    if (ppOut == nullptr) return refuse();
    *ppOut = nullptr;
    if (!readable(pA, nA) || !readable(pB, nB)) return refuse();
    return select(as_keys(pA), length(nA), as_keys(pB), length(nB), true, ppOut);
}

int32_t MOLTE_KeyListUnion(const char* pA, int32_t nA, char* pB, int32_t nB, char** ppOut) {
    if (ppOut == nullptr) return refuse();
    *ppOut = nullptr;
    if (!readable(pA, nA) || !readable(pB, nB)) return refuse();
    const auto room = static_cast<int64_t>(length(nA) + length(nB));
    if (room == 0) return 0;
    if (room > std::numeric_limits<int32_t>::max()) {
        molte::refuse_growth(0, room * MOLTE_KEY_SLOT);
        return kModule.trace(here());
    }
    auto list = molte::allocate_list<Key>(static_cast<size_t>(room));
    if (list == nullptr) return kModule.trace(here());
    const int32_t head = start_union(pB, nB, list.get());
    const Key* a = as_keys(pA);
    const auto places = places_in(a, length(nA), list.get(), length(head));
    if (places == nullptr) return kModule.trace(here());
    Union keys(list.get(), head);
    for (size_t i = 0; i < length(nA); ++i) keys.add_if_missing(a[i], places[i]);
    if (keys.count() == 0) return 0;  // b held nothing but deleted slots
    if (keys.count() < room)
        list = molte::exact_list(list.get(), static_cast<size_t>(keys.count()));
    if (list == nullptr) return kModule.trace(here());
    *ppOut = list.release()->text;
    return static_cast<int32_t>(keys.count());
}
