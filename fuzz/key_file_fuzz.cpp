// A key file and a SID file as somebody may have written them: loaded beside a plain reader, saved,
// loaded again.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "moltelib.h"

namespace {

// A file in memory: one on a disk costs more than all that is tried with it.
int file() {
    static const int fd = memfd_create("list", 0);
    return fd;
}
const char* file_name() {
    static const std::string name = "/proc/self/fd/" + std::to_string(file());
    return name.c_str();
}

void write_file(const uint8_t* data, size_t size) {
    if (ftruncate(file(), 0) != 0) abort();
    if (pwrite(file(), data, size, 0) != static_cast<ssize_t>(size)) abort();
}

// The entries as C text functions find them in a buffer of 128 bytes.
template <typename Add>
void plain_entries(const uint8_t* data, size_t size, Add add) {
    std::string piece;
    for (size_t i = 0; i <= size; ++i) {
        if (i < size) {
            const bool pair = data[i] == '\r' && i + 1 < size && data[i + 1] == '\n';
            if (pair) continue;
            piece += static_cast<char>(data[i]);
            if (data[i] != '\n' && piece.size() < 127) continue;
        }
        std::string text = piece.c_str();
        piece.clear();
        text.erase(0, std::strspn(text.c_str(), " \t\n"));
        while (!text.empty() && std::strchr(" \t\n", text.back()) != nullptr) text.pop_back();
        if (!text.empty() && text.size() < 32) add(text);
    }
}

void check_keys(const std::set<std::string>& expected) {
    char* keys = nullptr;
    const int32_t count = MOLTE_LoadKeyList(file_name(), &keys);
    if (count != static_cast<int32_t>(expected.size())) __builtin_trap();
    const char* key = keys;
    for (const std::string& text : expected) {
        if (text != key) __builtin_trap();
        key += MOLTE_KEY_SLOT;
    }
    if (MOLTE_SaveKeyList(file_name(), keys, count) != count) __builtin_trap();
    ORVEX_free(keys);
}

void check_sids(const std::set<uint64_t>& expected) {
    uint64_t* sids = nullptr;
    const int32_t count = MOLTE_LoadSIDList(file_name(), &sids);
    if (std::set<uint64_t>(sids, sids + count) != expected) __builtin_trap();
    ORVEX_free(sids);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;  // an empty file is left open
    write_file(data, size);
    std::set<std::string> keys;
    std::set<uint64_t> sids;
    plain_entries(data, size, [&](const std::string& text) {
        keys.insert(text);
        const int64_t sid = MOLTE_atoi64(text.c_str());
        if (sid != -1) sids.insert(static_cast<uint64_t>(sid));
    });
    check_sids(sids);
    check_keys(keys);
    // A CR at the end of a key becomes part of the line end.
    bool comes_back = !keys.empty();
    for (const std::string& key : keys) comes_back = comes_back && key.back() != '\r';
    if (comes_back) check_keys(keys);
    return 0;
}
