#include <set>

#include "support/test.h"

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

namespace {

#if defined(_WIN32)
const std::string kLineEnd = "\r\n";
#else
const std::string kLineEnd = "\n";
#endif
constexpr size_t kSlot = MOLTE_KEY_SLOT;

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

Texts load(const std::string& file) {
    char* list = nullptr;
    const int32_t count = MOLTE_LoadKeyList(file.c_str(), &list);
    EXPECT_EQ(count > 0, list != nullptr);
    return taken(list, count);
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

TEST(KeyList, SortsByUnsignedBytesWhateverStandsBehind) {
    std::mt19937 random(1);
    for (const size_t count : {0U, 1U, 2U, 63U, 64U, 1023U, 1024U, 5000U}) {
        Texts expected = random_texts(random, count);
        Keys keys(expected);
        MOLTE_SortKeyList(keys.data(), keys.count());
        std::sort(expected.begin(), expected.end());  // std::string compares unsigned
        EXPECT_EQ(texts(keys), expected) << count;
    }
}

TEST(KeyList, RemovesDuplicatesAndDeletedSlots) {
    const struct {
        Texts keys, without_deleted, without_duplicates;
    } table[] = {
        {{}, {}, {}},
        {{"a"}, {"a"}, {"a"}},
        {{"", "a", "b"}, {"a", "b"}, {"", "a", "b"}},  // no duplicate: nothing moves
        {{"", "a", "a", "b"}, {"a", "a", "b"}, {"a", "b"}},
        {{"", "", "b"}, {"b"}, {"b"}},
        {{"a", "a", "a", "b", "c", "c"}, {"a", "a", "a", "b", "c", "c"}, {"a", "b", "c"}},
    };
    for (const auto& row : table) {
        Keys keys(row.keys);
        int32_t count = MOLTE_RemoveZeroHeadKey(keys.data(), keys.count());
        EXPECT_EQ(texts(keys.data(), count), row.without_deleted);
        keys = Keys(row.keys);
        const Keys before = keys;
        count = MOLTE_RemoveDupKey(keys.data(), keys.count());
        EXPECT_EQ(texts(keys.data(), count), row.without_duplicates);
        // The last of a run survives, with its noise.
        if (count > 0) {
            EXPECT_EQ(
                0, std::memcmp(&keys[size_t(count - 1) * kSlot], &*(before.end() - kSlot), kSlot));
        }
    }
    EXPECT_EQ(MOLTE_RemoveDupKey(nullptr, -3), -3);
    EXPECT_EQ(MOLTE_RemoveZeroHeadKey(nullptr, -3), 0);
}

TEST(KeyList, AgreesWithASetOver100000Operations) {
    std::mt19937 random(2);
    Keys keys(Texts(600));
    int32_t count = 0;
    std::set<std::string> model;
    const auto compare = [](const void* a, const void* b) {
        return std::strcmp(static_cast<const char*>(a), static_cast<const char*>(b));
    };
    for (int step = 0; step < 100000; ++step) {
        const std::string key = "K" + std::to_string(random() % 500);
        const int32_t index = MOLTE_KeyInList(keys.data(), count, key.c_str());
        ASSERT_EQ(index, model.contains(key) ? std::distance(model.begin(), model.find(key)) : -1);
        if (index >= 0) {
            ASSERT_EQ(MOLTE_DelKeyInList(keys.data(), count--, index), 1);
            model.erase(key);
        } else {
            const Keys slot({key});
            const int32_t at = MOLTE_FindInsPos(slot.data(), keys.data(), count++, kSlot, compare);
            const auto place = keys.begin() + at * static_cast<int32_t>(kSlot);
            keys.insert(place, slot.begin(), slot.end());
            keys.resize(600 * kSlot);
            model.insert(key);
        }
        if (step % 1000 == 0) {
            ASSERT_EQ(texts(keys.data(), count), Texts(model.begin(), model.end()));
        }
    }
    EXPECT_EQ(MOLTE_DelKeyInList(keys.data(), count, count), 0);
    EXPECT_EQ(MOLTE_DelKeyInList(keys.data(), count, -1), 0);
    const std::string longer = "K1" + std::string(40, '1');  // than any slot
    EXPECT_EQ(MOLTE_KeyInList(keys.data(), count, longer.c_str()), -1);
    EXPECT_EQ(MOLTE_KeyInList(nullptr, 0, "a"), -1);
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

TEST(KeyList, CombinesAsSetsInTheOrderOfTheFirst) {
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

TEST(KeyFile, ReadsEveryKindOfLine) {
    const std::string k31(31, 'k');
    const std::string blanks(120, ' ');
    const std::vector<std::pair<std::string, Texts>> table = {
        {"b\na\nb\n", {"a", "b"}},
        {"b\r\na\r\n", {"a", "b"}},
        {"b\r\n\r\na", {"a", "b"}},  // no line end at the end
        {" \t b b\t \n \t \n\n", {"b b"}},
        {"b\r\r\n", {"b\r"}},  // one CR belongs to the line end
        {"\x82\n\x81 \nz\n", {"z", "\x81", "\x82"}},
        {k31 + "\n" + std::string(32, 'l') + "\n  " + std::string(31, 'm') + " \t\n",
         {k31, std::string(31, 'm')}},
        {"a\0b\nc\n"s, {"a", "c"}},
        // 127 bytes are a line; what follows is the next.
        {blanks + "1234567890\n", {"1234567", "890"}},
        {blanks + "1234567\r\nx", {"1234567", "x"}},
        {std::string(127, 'q') + "tail\n", {"tail"}},
        {"  \n\t\r\n", {}},
        {std::string(32, 'l'), {}},
    };
    const TempFolder folder;
    ORVEX_Err_ClearError();
    for (const auto& [bytes, keys] : table) {
        EXPECT_EQ(load(folder.write("keys", bytes)), keys) << bytes;
    }
    EXPECT_EQ(GetRvexErrNo(), 0U);
    char* list = nullptr;
    ASSERT_EQ(MOLTE_LoadKeyList(folder.write("keys", "ab").c_str(), &list), 1);
    EXPECT_EQ(std::string(list, kSlot), "ab" + std::string(30, '\0'));
    ORVEX_free(list);
}

TEST(KeyFile, OfSidsIsReadAsNumbers) {
    const TempFolder folder;
    const auto load_sids = [&](const std::string& bytes) {
        uint64_t* sids = nullptr;
        const int32_t count = MOLTE_LoadSIDList(folder.write("sids", bytes).c_str(), &sids);
        std::vector<uint64_t> result(sids, sids + std::max(count, 0));
        ORVEX_free(sids);
        return result;
    };
    using Sids = std::vector<uint64_t>;
    EXPECT_EQ(load_sids("10\n9\r\n 10 \n\n"), (Sids{9, 10}));
    EXPECT_EQ(load_sids("-1\n"), Sids{});
    EXPECT_EQ(load_sids("x\n-2\n9223372036854775808\n7 dwarfs"),
              (Sids{0, 7, INT64_MAX, UINT64_MAX - 1}));
    EXPECT_EQ(load_sids(std::string(32, '0') + "\n" + std::string(30, '0') + "5"), (Sids{5}));
    uint64_t mark = 0;
    uint64_t* kept = &mark;
    EXPECT_EQ(MOLTE_LoadSIDList(folder.write("sids", "-1").c_str(), &kept), 0);
    EXPECT_EQ(kept, &mark);  // not cleared: meant

    const uint64_t saved[] = {UINT64_MAX, 0};
    EXPECT_EQ(MOLTE_SaveSIDList((folder / "out").c_str(), saved, 2), 2);
    EXPECT_EQ(read_bytes(folder / "out"), "18446744073709551615"s + kLineEnd + "0" + kLineEnd);
    uint64_t sids[] = {3, 1, UINT64_MAX, 1, 3};
    MOLTE_SortSIDList(sids, 5);
    EXPECT_EQ(MOLTE_RemoveDupSID(sids, 5), 3);
    EXPECT_EQ(Sids(sids, sids + 3), (Sids{1, 3, UINT64_MAX}));
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
// A limit on the size of files stands for the disk that fills up on the way.
TEST(KeyFile, IsTheOldOneOrTheNewOne) {
    const TempFolder folder;
    const std::string file = folder.write("keys", "old\n");
    const std::string link = folder / "link";
    fs::create_symlink("keys", link);
    fs::permissions(file, fs::perms(0640));
    folder.write("keys.0.tmp", "of a process that was ended");
    const Keys keys(Texts(1000, "0123456789"));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    for (const rlim_t size : {rlim_t{5000}, limit.rlim_max}) {
        limit.rlim_cur = size;
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string result = told(MOLTE_SaveKeyList(link.c_str(), keys.data(), 1000));
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_FSIZE, &limit);
        const bool fits = size == limit.rlim_max;
        EXPECT_EQ(result.substr(0, result.find(" @")), fits ? "1000" : "4 oxsysutl " + link);
        EXPECT_EQ(read_bytes(file).size(), fits ? 11000 : 4);
        EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
        EXPECT_TRUE(fs::is_symlink(link));
        EXPECT_EQ(names_in(folder.path()), (Texts{"keys", "keys.0.tmp", "link"}));
    }
}

TEST(KeyFile, IsWholeForWhoeverReadsIt) {
    const TempFolder folder;
    const std::string file = folder / "sids";
    std::vector<uint64_t> sids(20000);
    for (uint64_t& sid : sids) sid = static_cast<uint64_t>(&sid - sids.data());
    MOLTE_SaveSIDList(file.c_str(), sids.data(), 10);
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < 60; ++i) {
            MOLTE_SaveSIDList(file.c_str(), sids.data(), i % 2 == 0 ? 20000 : 10);
        }
        done = true;
    });
    while (!done) {
        uint64_t* list = nullptr;
        const int32_t count = MOLTE_LoadSIDList(file.c_str(), &list);
        EXPECT_TRUE(count == 10 || count == 20000) << told(count);
        ORVEX_free(list);
    }
    writer.join();
}
#endif

TEST(KeyFile, FailuresNameTheirCause) {
    const TempFolder folder;
    const Keys keys({"a"});
    char* list = nullptr;
    uint64_t* sids = nullptr;
    const std::string nowhere = folder / "no" + "/file";
    const std::string file = folder.write("long", "x");
    fs::resize_file(file, 10485761);
    const std::string too_long = "124 oxsysutl file length too long";
    EXPECT_EQ(error_number_of(MOLTE_LoadKeyList((folder / "absent").c_str(), &list)), 23U);
    EXPECT_NE(history_of_this_thread().find("oxsysutl"), std::string::npos);
    EXPECT_EQ(error_of(MOLTE_LoadKeyList(nullptr, &list)), "50 oxsysutl");
    EXPECT_EQ(error_of(MOLTE_LoadSIDList("x", nullptr)), "50 oxsysutl");
    EXPECT_EQ(error_of(MOLTE_SaveKeyList("x", nullptr, 1)), "50 oxsysutl");
    const std::string root = folder.str();
    EXPECT_EQ(error_of(MOLTE_LoadKeyList(root.c_str(), &list)), "1 oxsysutl " + root);
    EXPECT_EQ(error_of(MOLTE_SaveKeyList(nowhere.c_str(), keys.data(), 1)),
              "1 oxsysutl " + nowhere);
    EXPECT_EQ(error_of(MOLTE_LoadSIDList(file.c_str(), &sids)), too_long);
    EXPECT_EQ(load(file), Texts{"x"});
    fs::resize_file(file, 10485761LL * 20);
    EXPECT_EQ(error_of(MOLTE_LoadKeyList(file.c_str(), &list)), too_long);
    EXPECT_EQ(list, nullptr);
#if defined(_WIN32)
    EXPECT_EQ(MOLTE_SaveKeyList("NUL", keys.data(), 1), 1);  // a device isn't replaced
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
    for (uint32_t i = 0; i < 100000; ++i) {
        bytes += std::to_string(100000 + i * 26543U % 50000U) + "\n";
    }
    const Texts keys = load(folder.write("many", bytes));
    ASSERT_EQ(keys.size(), 50000U);
    for (size_t i = 0; i < keys.size(); ++i) ASSERT_EQ(keys[i], std::to_string(100000 + i));
}

}  // namespace
