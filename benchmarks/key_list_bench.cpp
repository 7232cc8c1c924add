// Key lists beside sort, comm and the standard library; searches in sorted arrays. Files are read
// from the page cache.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace fs = std::filesystem;

constexpr int32_t kCount = 1000000;

struct Key {
    char text[MOLTE_KEY_SLOT];
};
using Keys = std::vector<Key>;

bool below(const Key& a, const Key& b) {
    return std::strcmp(a.text, b.text) < 0;
}
int compare_texts(const void* a, const void* b) {
    return std::strcmp(static_cast<const char*>(a), static_cast<const char*>(b));
}
int compare_numbers(const void* a, const void* b) {
    const uint64_t x = *static_cast<const uint64_t*>(a);
    const uint64_t y = *static_cast<const uint64_t*>(b);
    return x < y ? -1 : x > y ? 1 : 0;
}

char* text(Keys& keys) {
    return keys.data()->text;
}

// What the rows of a format are called after: the size of its keys.
std::string of_size(const char* format) {
    return " of " + std::to_string(std::snprintf(nullptr, 0, format, 0ULL));
}

// kCount numbers from FIRST on, each made into a key, in no order.
Keys shuffled_keys(const char* format, int32_t first) {
    Keys keys(kCount);
    auto number = static_cast<unsigned long long>(first);
    for (Key& key : keys) {
        std::snprintf(key.text, sizeof key.text, format, number++ * 6364136223846793005U);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
    return keys;
}

void write(const std::string& file, const Keys& keys) {
    std::ofstream out(file);
    for (const Key& key : keys) out << key.text << '\n';
}

void run(std::vector<std::string> words, const std::string& output) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    char locale[] = "LC_ALL=C";
    char path[] = "PATH=/usr/bin:/bin";
    char* environment[] = {locale, path, nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    pid_t pid = 0;
    int status = 0;
    if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environment) != 0) std::abort();
    waitpid(pid, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0) std::abort();
}

using Combine = int32_t (*)(const char*, int32_t, char*, int32_t, char**);

void combine(Combine function, Keys& a, const Keys& unsorted_b, Keys& b) {
    b = unsorted_b;
    char* out = nullptr;
    function(text(a), kCount, text(b), kCount, &out);
    molte_bench::keep(out);
    ORVEX_free(out);
}

template <typename SetFunction>
void standard(SetFunction function, const Keys& a, const Keys& b) {
    Keys x = a;
    Keys y = b;
    Keys out;
    std::sort(x.begin(), x.end(), below);
    std::sort(y.begin(), y.end(), below);
    function(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(out), below);
    molte_bench::keep(out.data());
}

void load_and_save(const std::string& root, const char* format) {
    const std::string file = root + "/keys";
    Keys keys = shuffled_keys(format, 0);
    const std::string what = "1M keys" + of_size(format);
    write(file, keys);
    molte_bench::pair(("load " + what).c_str(), "sort -u",
                      [&] {
                          char* list = nullptr;
                          if (MOLTE_LoadKeyList(file.c_str(), &list) < 1) std::abort();
                          ORVEX_free(list);
                      },
                      [&] {
                          run({"sort", "-u", file}, "/dev/null");
                      },
                      7);
    molte_bench::pair(("load and save " + what).c_str(), "sort -u -o",
                      [&] {
                          char* list = nullptr;
                          const int32_t count = MOLTE_LoadKeyList(file.c_str(), &list);
                          if (MOLTE_SaveKeyList((root + "/ours").c_str(), list, count) < 1)
                              std::abort();
                          ORVEX_free(list);
                      },
                      [&] {
                          run({"sort", "-u", "-o", root + "/theirs", file}, "/dev/null");
                      },
                      7);
    molte_bench::pair(("save " + what).c_str(), "sort -u -o",
                      [&] { MOLTE_SaveKeyList((root + "/ours").c_str(), text(keys), kCount); },
                      [&] {
                          run({"sort", "-u", "-o", root + "/theirs", file}, "/dev/null");
                      },
                      7);
}

void sets(const std::string& root, const char* format) {
    Keys a = shuffled_keys(format, 0);
    const Keys unsorted_b = shuffled_keys(format, kCount / 2);
    Keys b = unsorted_b;
    write(root + "/a", a);
    write(root + "/b", b);
    run({"sort", root + "/a"}, root + "/sorted_a");
    run({"sort", root + "/b"}, root + "/sorted_b");
    Keys sorted_a = a;
    Keys sorted_b = unsorted_b;
    MOLTE_SortKeyList(text(sorted_a), kCount);
    MOLTE_SortKeyList(text(sorted_b), kCount);
    const auto comm = [&](const char* columns) {
        run({"comm", columns, root + "/sorted_a", root + "/sorted_b"}, "/dev/null");
    };
    const auto intersection = [](auto... arguments) { std::set_intersection(arguments...); };
    const auto difference = [](auto... arguments) { std::set_difference(arguments...); };
    const auto united = [](auto... arguments) { std::set_union(arguments...); };
    const std::string what = " 1M keys" + of_size(format);
    const auto both = [&](const char* verb, Combine function, const char* columns,
                          auto standard_set) {
        const std::string name = verb + what;
        const auto ours = [&] { combine(function, a, unsorted_b, b); };
        molte_bench::pair(
            name.c_str(), "comm", ours, [&] { comm(columns); }, 7);
        const auto ours_sorted = [&] { combine(function, sorted_a, sorted_b, b); };
        molte_bench::pair((name + ", sorted").c_str(), "comm", ours_sorted, [&] { comm(columns); },
                          7);
        molte_bench::pair(
            name.c_str(), "std::sort and std::set_*", ours,
            [&] { standard(standard_set, a, unsorted_b); }, 7);
    };
    both("intersect", MOLTE_KeyListIntersect, "-12", intersection);
    both("subtract", MOLTE_KeyListSub, "-23", difference);
    both("unite", MOLTE_KeyListUnion, "--output-delimiter=", united);
    molte_bench::pair(
        ("split" + what).c_str(), "std::sort and std::set_*",
        [&] {
            Keys x = a;
            Keys y = unsorted_b;
            void* lists[3];
            int32_t counts[3];
            MOLTE_KeyDiff(text(x), kCount, text(y), kCount, &lists[0], &counts[0], &lists[1],
                          &counts[1], &lists[2], &counts[2], compare_texts, MOLTE_KEY_SLOT);
            for (void* list : lists) ORVEX_free(list);
        },
        [&] {
            Keys x = a;
            Keys y = unsorted_b;
            Keys out[3];
            std::sort(x.begin(), x.end(), below);
            std::sort(y.begin(), y.end(), below);
            difference(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(out[0]), below);
            intersection(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(out[1]), below);
            difference(y.begin(), y.end(), x.begin(), x.end(), std::back_inserter(out[2]), below);
            molte_bench::keep(out);
        },
        7);
}

template <typename Item>
void searches(const char* what, const std::vector<Item>& items, MOLTE_COMPARE compare) {
    std::mt19937_64 random(3);
    std::vector<Item> wanted(4096);
    for (Item& item : wanted) item = items[random() % items.size()];
    const auto each = [&](auto find) {
        return [&wanted, find] {
            for (const Item& item : wanted) molte_bench::keep(find(item));
        };
    };
    constexpr auto kSize = static_cast<int32_t>(sizeof(Item));
    const auto peer = each([&](const Item& key) {
        return std::bsearch(&key, items.data(), items.size(), sizeof(Item), compare);
    });
    const auto lower_bound = each([&](const Item& key) {
        return std::lower_bound(items.begin(), items.end(), key,
                                [&](const Item& a, const Item& b) { return compare(&a, &b) < 0; });
    });
    const auto ours = each(
        [&](const Item& key) { return MOLTE_bsearch(&key, items.data(), kCount, kSize, compare); });
    const auto low = each([&](const Item& key) {
        return MOLTE_SearchLow(&key, items.data(), kCount, kSize, compare);
    });
    const std::string by_bsearch = std::string("MOLTE_bsearch in ") + what;
    const std::string by_low = std::string("MOLTE_SearchLow in ") + what;
    molte_bench::pair(by_bsearch.c_str(), "bsearch", ours, peer);
    molte_bench::pair(by_bsearch.c_str(), "std::lower_bound", ours, lower_bound);
    molte_bench::pair(by_low.c_str(), "bsearch", low, peer);
    molte_bench::pair(by_low.c_str(), "std::lower_bound", low, lower_bound);
}

}  // namespace

int main() {
    char root_template[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string root = mkdtemp(root_template);
    ORVEX_SetMainPath(root.c_str());
    ORVEX_BASE_InitVar();
    for (const char* format : {"%016llX", "PERSON-%020llu"}) {
        load_and_save(root, format);
        sets(root, format);
    }
    std::vector<uint64_t> numbers(kCount);
    for (int32_t i = 0; i < kCount; ++i)
        numbers[static_cast<size_t>(i)] = static_cast<uint64_t>(i) * 3;
    searches("1M numbers", numbers, compare_numbers);
    Keys keys = shuffled_keys("%016llX", 0);
    std::sort(keys.begin(), keys.end(), below);
    searches("1M keys", keys, compare_texts);
    ORVEX_BASE_ReleaseVar();
    fs::remove_all(root);
}
