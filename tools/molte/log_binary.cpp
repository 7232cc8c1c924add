#include <algorithm>
#include <array>
#include <cstring>

#include "log_entry.h"

namespace tool {

namespace {

constexpr uint32_t kRoom = BERRLOG_BLOCK_SIZE;
constexpr size_t kCountAt = offsetof(BERRLOG_BLOCK, nEntryCount);
constexpr size_t kEntriesAt = offsetof(BERRLOG_BLOCK, astEntry);

bool is_zero(const void* bytes, size_t size) {
    const auto* all = static_cast<const uint8_t*>(bytes);
    return std::all_of(all, all + size, [](uint8_t byte) { return byte == 0; });
}

// What the library writes; a text that lies there looks otherwise.
bool is_entry(const BERRLOG_ENTRY& entry) {
    return entry.nKind == 1 && is_zero(entry.abyReserved1, sizeof entry.abyReserved1) &&
           is_zero(entry.abyReserved2, sizeof entry.abyReserved2) &&
           Char4To_uint4(entry.nOffset) >= Char4To_uint4(entry.nLen);
}

struct Range {
    uint32_t begin, size;
};

Range text_of(const BERRLOG_ENTRY& entry) {
    const uint32_t begin = std::min(Char4To_uint4(entry.nOffset), kRoom);
    return {begin, std::min(Char4To_uint4(entry.nLen), kRoom - begin)};
}

// Who wrote each byte last, as far as the entries that are left tell: the number of the text, or
// nobody's.
class Owners {
 public:
    Owners() { owners_.fill(kNobody); }
    void take(Range range, int owner) {
        std::fill_n(owners_.begin() + range.begin, range.size, owner);
    }
    [[nodiscard]] bool has(uint32_t byte, int owner) const { return owners_[byte] == owner; }
    static constexpr int kNobody = -1;

 private:
    std::array<int, kRoom> owners_{};
};

// The bytes that are its own; a run that others lie on is one mark.
std::string own_text(const Tool& tool, const BERRLOG_BLOCK& block, Range range,
                     const Owners& owners, int number, uint64_t* lost) {
    const auto* bytes = reinterpret_cast<const char*>(&block);
    std::string text;
    for (uint32_t at = range.begin, end; at < range.begin + range.size; at = end) {
        const bool own = owners.has(at, number);
        end = at;
        while (end < range.begin + range.size && owners.has(end, number) == own) ++end;
        if (own) {
            text += log_text(tool, std::string_view(bytes + at, end - at));
        } else {
            text += "\u2026";
            *lost += end - at;
        }
    }
    return text;
}

}  // namespace

bool is_binary_log(std::string_view map, int64_t size) {
    constexpr int64_t kMap = sizeof(BERRLOG_FILEMAP);
    if (size <= kMap || (size - kMap) % BERRLOG_BLOCK_SIZE != 0) return false;
    if (map.size() < sizeof(BERRLOG_FILEMAP)) return false;
    BERRLOG_FILEMAP head;
    std::memcpy(&head, map.data(), sizeof head);
    const uint64_t next = Char8To_uint8(head.n64NextSeq);
    // Nothing was written to it; or something, which leaves zeros for a head.
    const bool fresh = BERRLOG_IsValidFileMap(&head) == 1;
    ORVEX_Err_ClearError();
    return next == (fresh ? 0 : 1) &&
           (fresh || is_zero(&head, offsetof(BERRLOG_FILEMAP, n64NextSeq)));
}

LogBlock read_block(const Tool& tool, const BERRLOG_BLOCK& block) {
    LogBlock found;
    found.count = Char4To_uint4(block.nEntryCount);
    // Entries are written in order. A place that never was one, below the count, tells that a text
    // lies on the count.
    const uint32_t told = std::min<uint32_t>(found.count, BERRLOG_ENTRIES_MAX);
    const auto* first = block.astEntry;
    found.count_overwritten =
        told < found.count || std::any_of(first, first + told, [](const BERRLOG_ENTRY& entry) {
            return is_zero(&entry, sizeof entry);
        });
    const uint32_t places = found.count_overwritten ? BERRLOG_ENTRIES_MAX : told;

    // As it was written: the count, the entry, its text.
    Owners owners;
    for (uint32_t i = 0; i < places; ++i) {
        const bool left = is_entry(block.astEntry[i]);
        if (left || !found.count_overwritten) {
            owners.take({kCountAt, sizeof block.nEntryCount}, Owners::kNobody);
            owners.take({static_cast<uint32_t>(kEntriesAt + i * sizeof(BERRLOG_ENTRY)),
                         sizeof(BERRLOG_ENTRY)},
                        Owners::kNobody);
        }
        if (left) owners.take(text_of(block.astEntry[i]), static_cast<int>(i));
        if (!left && !found.count_overwritten) ++found.overwritten;
    }
    for (uint32_t i = 0; i < places; ++i) {
        const BERRLOG_ENTRY& entry = block.astEntry[i];
        if (!is_entry(entry)) continue;
        const Range range = text_of(entry);
        LogEntry one;
        one.time = local_time(Char4To_uint4(entry.tTime));
        one.length = Char4To_uint4(entry.nLen);
        one.left_out = one.length - range.size;
        one.text = own_text(tool, block, range, owners, static_cast<int>(i), &one.overwritten);
        take_errors(&one);
        found.entries.push_back(std::move(one));
        found.numbers.push_back(i);
    }
    return found;
}

}  // namespace tool
