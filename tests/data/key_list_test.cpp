#include "support/scenes.h"

namespace {

#if defined(_WIN32)
const std::string kLineEnd = "\r\n";
#else
const std::string kLineEnd = "\n";
#endif
constexpr size_t kSlot = MOLTE_KEY_SLOT;

using KeyList = InFolder;

// Keys as rows tell them, a ";" behind each.
Texts keys_in(const std::string& field) {
    Texts keys;
    std::string key;
    for (std::istringstream in(field); std::getline(in, key, ';');) keys.push_back(key);
    return keys;
}
std::string told_keys(const Texts& keys) {
    std::string all;
    for (const std::string& key : keys) all += key + ";";
    return all;
}

// A list of keys; what stands behind a key's terminator is never the same.
struct Keys : std::vector<char> {
    Keys(const Texts& texts) : std::vector<char>(texts.size() * kSlot) {  // NOLINT: as an argument
        static char noise = 0;
        for (size_t i = 0; i < texts.size(); ++i) {
            for (size_t k = 0; k < kSlot; ++k) (*this)[i * kSlot + k] = ++noise;
            std::memcpy(data() + i * kSlot, texts[i].c_str(), texts[i].size() + 1);
        }
    }
    [[nodiscard]] int32_t count() const { return static_cast<int32_t>(size() / kSlot); }
};

Texts texts(const char* list, int32_t count) {
    Texts result;
    for (int32_t i = 0; i < count; ++i) result.emplace_back(list + static_cast<size_t>(i) * kSlot);
    return result;
}
Texts texts(const Keys& keys) {
    return texts(keys.data(), keys.count());
}

Texts taken(char* list, int32_t count) {
    Texts result = texts(list, count);
    ORVEX_free(list);
    return result;
}

std::string loaded(Text file) {
    char* list = nullptr;
    const int32_t count = MOLTE_LoadKeyList(file, &list);
    EXPECT_EQ(count > 0, list != nullptr);
    if (count < 0) return outcome(count);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    const std::string keys = told_keys(texts(list, count));
    // Behind each key are zeros alone.
    const auto bytes = count * static_cast<ptrdiff_t>(kSlot);
    const auto letters = static_cast<ptrdiff_t>(keys.size()) - count;
    EXPECT_EQ(std::count(list, list + bytes, '\0'), bytes - letters);
    ORVEX_free(list);
    return keys;
}

std::string loaded_sids(Text file) {
    uint64_t unused = 0;
    uint64_t* sids = &unused;
    const int32_t count = MOLTE_LoadSIDList(file, &sids);
    if (count < 1) return outcome(count) + (sids == &unused ? "" : "?");
    std::string all;
    for (int32_t i = 0; i < count; ++i) all += std::to_string(sids[i]) + ";";
    ORVEX_free(sids);
    return all;
}

using Combine = int32_t (*)(const char*, int32_t, char*, int32_t, char**);
Texts combine(Combine function, const Keys& a, Keys b) {
    char* out = nullptr;
    const int32_t count = function(a.data(), a.count(), b.data(), b.count(), &out);
    EXPECT_EQ(count > 0, out != nullptr);
    return taken(out, count);
}

// Keys that share beginnings of any length, so that every eight bytes decide somewhere.
Texts random_texts(std::mt19937& random, size_t count) {
    Texts result(count);
    for (std::string& text : result) {
        text.assign(random() % 4 * 8, 'x');
        const size_t more = std::min<size_t>(random() % 9, 31 - text.size());
        for (size_t i = 0; i < more; ++i) text += "\x01z\x80\xFF"[random() % 4];
    }
    return result;
}

TEST_F(KeyList, SortsByUnsignedBytesWhateverStandsBehind) {
    std::mt19937 random(1);
    for (const size_t count : {0U, 1U, 2U, 63U, 64U, 1023U, 1024U, 5000U}) {
        Texts expected = random_texts(random, count);
        Keys keys(expected);
        MOLTE_SortKeyList(keys.data(), keys.count());
        std::sort(expected.begin(), expected.end());  // std::string compares unsigned
        EXPECT_EQ(texts(keys), expected) << count;
    }
}

struct KeysIn : Keys {
    explicit KeysIn(const std::string& field) : Keys(keys_in(field)) {}
};

// The last of a run survives, with its noise.
std::string without_repeated(KeysIn* keys) {
    const Keys before = *keys;
    const int32_t count = MOLTE_RemoveDupKey(keys->data(), keys->count());
    if (count > 0) {
        const char* last = &keys->at(size_t(count - 1) * kSlot);
        EXPECT_EQ(std::memcmp(last, &*(before.end() - kSlot), kSlot), 0);
    }
    return told_keys(texts(keys->data(), count));
}

[[maybe_unused]] const bool plays = play_scenes<KeyList>(
    "KeyList", TEST_ROWS,
    {{"find", step_of<[](KeysIn* keys, Text key) {
          return MOLTE_KeyInList(keys->data(), keys->count(), key);
      }>},
     {"without_one", step_of<[](KeysIn* keys, int32_t at) {
          const int32_t result = MOLTE_DelKeyInList(keys->data(), keys->count(), at);
          return told_keys(texts(keys->data(), keys->count() - result));
      }>},
     {"without_deleted_slots", step_of<[](KeysIn* keys) {
          const int32_t count = MOLTE_RemoveZeroHeadKey(keys->data(), keys->count());
          return told_keys(texts(keys->data(), count));
      }>},
     {"without_duplicates", step_of<without_repeated>},
     {"remove_duplicates", step_of<MOLTE_RemoveDupKey>},
     {"remove_deleted_slots", step_of<MOLTE_RemoveZeroHeadKey>},
     {"remove_one", step_of<MOLTE_DelKeyInList>},
     {"load", step_of<loaded>},
     {"load_sids", step_of<loaded_sids>},
     {"load_sids_nowhere", step_of<[](Text file) { return MOLTE_LoadSIDList(file, nullptr); }>},
     {"save", step_of<MOLTE_SaveKeyList>},
     {"resize", step_of<[](Text file, int64_t size) {
          fs::resize_file(file, static_cast<uintmax_t>(size));
          return size;
      }>}});

TEST_F(KeyList, FindsEachOfMany) {
    for (int32_t count = 1; count < 70; ++count) {
        Texts all;
        for (int32_t i = 0; i < count; ++i) all.push_back(std::to_string(100 + i));
        const Keys keys(all);
        for (int32_t i = -1; i <= count; ++i) {
            const int32_t place =
                MOLTE_KeyInList(keys.data(), count, std::to_string(100 + i).c_str());
            ASSERT_EQ(place, i < count ? i : -1) << count;
        }
    }
}

// The union as it is described, with nothing clever about it.
Texts plain_union(const Texts& a, Texts b) {
    std::sort(b.begin(), b.end());
    if (const auto end = std::unique(b.begin(), b.end()); end != b.end()) {
        b.erase(end, b.end());
        std::erase(b, "");  // a deleted slot goes with the duplicates
    }
    for (const std::string& key : a) {
        const Keys so_far(b);
        if (MOLTE_KeyInList(so_far.data(), so_far.count(), key.c_str()) < 0) b.push_back(key);
    }
    return b;
}

TEST_F(KeyList, CombinesAsSetsInTheOrderOfTheFirst) {
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        const bool large = round % 50 == 0;
        Texts a = random_texts(random, random() % (large ? 2000 : 40));
        const Texts b = random_texts(random, 1 + random() % (large ? 2000 : 40));
        if (round % 3 == 0) std::sort(a.begin(), a.end());
        const std::set<std::string> in_b(b.begin(), b.end());
        Texts both;
        Texts only_a;
        for (const std::string& key : a) (in_b.contains(key) ? both : only_a).push_back(key);
        EXPECT_EQ(combine(MOLTE_KeyListIntersect, a, b), both);
        EXPECT_EQ(combine(MOLTE_KeyListSub, a, b), only_a);
        if (!large) {
            EXPECT_EQ(combine(MOLTE_KeyListUnion, a, b), plain_union(a, b));
        }
    }
    // Duplicates pass because the tail isn't sorted, of b's keys too.
    EXPECT_EQ(combine(MOLTE_KeyListUnion, Texts{"z", "a", "m", "z"}, Texts{"m", "k", "m"}),
              (Texts{"k", "m", "z", "a", "m", "z"}));
    Keys b({"c", "a", "b"});
    char* out = b.data();
    EXPECT_EQ(MOLTE_KeyListSub(nullptr, -7, b.data(), 3, &out), -7);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(texts(b), (Texts{"c", "a", "b"}));
    EXPECT_EQ(MOLTE_KeyListIntersect(nullptr, 0, b.data(), 3, &out), 0);
    EXPECT_EQ(texts(b), (Texts{"a", "b", "c"}));
    EXPECT_EQ(MOLTE_KeyListUnion(nullptr, 0, nullptr, -1, &out), 0);
    EXPECT_EQ(combine(MOLTE_KeyListUnion, Texts{}, Texts{"", ""}), Texts{});  // deleted slots alone
}

TEST(KeyFile, OfSidsIsSortedAndSavedAsNumbers) {
    const TempFolder folder;
    const uint64_t saved[] = {UINT64_MAX, 0};
    EXPECT_EQ(MOLTE_SaveSIDList((folder / "out").c_str(), saved, 2), 2);
    EXPECT_EQ(read_bytes(folder / "out"), "18446744073709551615"s + kLineEnd + "0" + kLineEnd);
    uint64_t sids[] = {3, 1, UINT64_MAX, 1, 3};
    MOLTE_SortSIDList(sids, 5);
    EXPECT_EQ(MOLTE_RemoveDupSID(sids, 5), 3);
    const uint64_t once[] = {1, 3, UINT64_MAX};
    EXPECT_TRUE(std::equal(once, once + 3, sids));
    EXPECT_EQ(MOLTE_RemoveDupSID(sids, 0), 1);
    for (int k : {0, 1, 2}) EXPECT_EQ(MOLTE_CompSID(&sids[1], &sids[k]), k == 0 ? 1 : 1 - k);
}

TEST(KeyFile, SavesAndKeepsWhatItShould) {
    const TempFolder folder;
    const std::string file = folder.write("keys", "old");
    fs::permissions(file, fs::perms::owner_read);
    Keys keys({"b", "", "a"});
    EXPECT_EQ(MOLTE_SaveKeyList(file.c_str(), keys.data(), 0), 0);
    EXPECT_EQ(read_bytes(file), "old");
    EXPECT_EQ(MOLTE_SaveKeyList(file.c_str(), keys.data(), 3), 3);
    EXPECT_EQ(read_bytes(file), "b" + kLineEnd + kLineEnd + "a" + kLineEnd);
    std::fill(keys.begin(), keys.end(), 'f');  // no terminator: a slot is all there is
    EXPECT_EQ(MOLTE_SaveKeyList(file.c_str(), keys.data(), 1), 1);
    EXPECT_EQ(read_bytes(file), std::string(32, 'f') + kLineEnd);
}

#if !defined(_WIN32)
TEST(KeyFile, IsReplacedAsWhatItIs) {
    const TempFolder folder;
    const std::string file = folder.write("keys", "old\n");
    const std::string link = folder / "link";
    fs::create_symlink("keys", link);
    fs::permissions(file, fs::perms(0640));
    folder.write("keys.0.tmp", "of a process that was ended");
    EXPECT_EQ(MOLTE_SaveKeyList(link.c_str(), Keys(Texts(20000, "12345")).data(), 20000), 20000);
    EXPECT_EQ(read_bytes(file).size(), 120000U);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(names_in(folder.path()), (Texts{"keys", "keys.0.tmp", "link"}));
}
#endif

TEST(KeyFile, ADeviceIsNotReplaced) {
    const Keys keys({"a"});
#if defined(_WIN32)
    EXPECT_EQ(MOLTE_SaveKeyList("NUL", keys.data(), 1), 1);
#else
    EXPECT_EQ(error_of(MOLTE_SaveKeyList("/dev/full", keys.data(), 1)), "4 oxsysutl /dev/full");
#endif
}

TEST(KeyFile, AnEmptyOneStaysOpen) {
    const TempFolder folder;
    const std::string file = folder.write("empty", "");
    const int before = ORVEX_FileOpenByChmod(file.c_str(), 32768);
    ORVEX_FileCloseByChmod(before);
    char* list = nullptr;
    EXPECT_EQ(MOLTE_LoadKeyList(file.c_str(), &list), 0);
    const int after = ORVEX_FileOpenByChmod(file.c_str(), 32768);
    EXPECT_GT(after, before);
    // It is saved all the same.
    EXPECT_EQ(MOLTE_SaveKeyList(file.c_str(), Keys({"a"}).data(), 1), 1);
    EXPECT_EQ(read_bytes(file), "a" + kLineEnd);
    EXPECT_EQ(names_in(folder.path()), Texts{"empty"});
    ORVEX_FileCloseByChmod(after);
    ORVEX_FileCloseByChmod(before);  // what was left open
}

// Every key of six digits below 50,000 twice, in no order.
TEST(KeyFile, OfManyLines) {
    const TempFolder folder;
    std::string bytes;
    std::string keys;
    for (uint32_t i = 0; i < 100000; ++i) {
        bytes += std::to_string(100000 + i * 26543U % 50000U) + "\n";
        if (i < 50000) keys += std::to_string(100000 + i) + ";";
    }
    EXPECT_EQ(loaded(folder.write("many", bytes).c_str()), keys);
}

}  // namespace
