// A binary error log as somebody may have left it: retrieved from, added to, retrieved from again.
#include "frame.h"

static void retrieve(const char* path, const BERRLOG_FILTER& filter) {
    BERRLOG_ENTRY* entries = nullptr;
    char* text = nullptr;
    const int32_t count = BERRLOG_RetrLog(path, &entries, &text, &filter);
    must(entries == nullptr && (text != nullptr) == (count > 0));
    ORVEX_free(text);
}

// The filter's time and the length of a text, then the file, padded to a whole block.
void try_input(std::string_view input) {
    if (input.size() < 6 || input.size() > 65536) return;
    BERRLOG_FILTER filter{};
    std::memcpy(filter.tTime, input.data(), 4);
    const auto length = static_cast<uint8_t>(input[4]) << 8 | static_cast<uint8_t>(input[5]);
    std::string file(input.substr(6));
    if (file.size() > 1024) file.resize(1024 + (file.size() + 8192 - 1025) / 8192 * 8192);
    const char* const path = file_of(file);
    retrieve(path, filter);
    BERRLOG_AddLog(path, std::string(static_cast<size_t>(length), 'x').c_str(), length);
    retrieve(path, filter);
    if (file.size() > 9216) {  // an entry goes to block 0 alone
        must(read_bytes(path).compare(9216, file.size() - 9216, file, 9216) == 0);
    }
}
