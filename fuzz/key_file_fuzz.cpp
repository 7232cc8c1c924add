// A key file and a SID file as somebody may have written them: loaded beside a plain reader, saved,
// loaded again.
#include <set>

#include "frame.h"

namespace {

// The entries as C text functions find them in a buffer of 128 bytes.
std::set<std::string> plain_entries(std::string_view input) {
    std::set<std::string> entries;
    std::string piece;
    for (size_t i = 0; i <= input.size(); ++i) {
        if (i < input.size()) {
            if (input.substr(i, 2) == "\r\n") continue;
            piece += input[i];
            if (input[i] != '\n' && piece.size() < 127) continue;
        }
        std::string text = piece.c_str();
        piece.clear();
        text.erase(0, text.find_first_not_of(" \t\n"));
        text.erase(text.find_last_not_of(" \t\n") + 1);
        if (!text.empty() && text.size() < 32) entries.insert(text);
    }
    return entries;
}

void check_keys(const char* path, const std::set<std::string>& expected) {
    char* keys = nullptr;
    const int32_t count = MOLTE_LoadKeyList(path, &keys);
    must(count == static_cast<int32_t>(expected.size()));
    const char* key = keys;
    for (const std::string& text : expected) {
        must(text == key);
        key += MOLTE_KEY_SLOT;
    }
    must(MOLTE_SaveKeyList(path, keys, count) == count);
    ORVEX_free(keys);
}

}  // namespace

void try_input(std::string_view input) {
    if (input.empty()) return;  // an empty file is left open
    const char* const path = file_of(input);
    const std::set<std::string> keys = plain_entries(input);
    std::set<uint64_t> expected;
    // A CR at the end of a key becomes part of the line end.
    bool comes_back = !keys.empty();
    for (const std::string& key : keys) {
        comes_back = comes_back && key.back() != '\r';
        const int64_t sid = MOLTE_atoi64(key.c_str());
        if (sid != -1) expected.insert(static_cast<uint64_t>(sid));
    }
    uint64_t* sids = nullptr;
    const int32_t count = MOLTE_LoadSIDList(path, &sids);
    must(std::set<uint64_t>(sids, sids + count) == expected);
    ORVEX_free(sids);
    check_keys(path, keys);
    if (comes_back) check_keys(path, keys);
}
