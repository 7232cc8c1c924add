// A binary error log as somebody may have left it: retrieved from, added to, retrieved from again.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "moltelib.h"

namespace {

const std::string& path() {
    static const std::string name = [] {
        char folder[] = "/tmp/moltelib-fuzz-XXXXXX";
        if (mkdtemp(folder) == nullptr) __builtin_trap();
        static std::string root = folder;
        std::atexit([] {
            std::remove((root + "/b.dat").c_str());
            rmdir(root.c_str());
        });
        return root + "/b.dat";
    }();
    return name;
}

void write_file(const uint8_t* data, size_t size) {
    FILE* file = std::fopen(path().c_str(), "wb");
    if (file == nullptr || std::fwrite(data, 1, size, file) != size) __builtin_trap();
    std::fclose(file);
}

void retrieve(const BERRLOG_FILTER& filter) {
    BERRLOG_ENTRY* entries = nullptr;
    char* text = nullptr;
    const int32_t count = BERRLOG_RetrLog(path().c_str(), &entries, &text, &filter);
    if (entries != nullptr || (text != nullptr) != (count > 0)) __builtin_trap();
    ORVEX_free(text);
}

}  // namespace

// The filter's time and the length of a text, then the file, padded to a whole block.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 6 || size > 65536) return 0;
    BERRLOG_FILTER filter{};
    std::memcpy(filter.tTime, data, 4);
    const auto length = static_cast<int32_t>(data[4] << 8 | data[5]);
    std::string file(reinterpret_cast<const char*>(data + 6), size - 6);
    if (file.size() > 1024) file.resize(1024 + (file.size() + 8192 - 1025) / 8192 * 8192);
    write_file(reinterpret_cast<const uint8_t*>(file.data()), file.size());
    retrieve(filter);
    BERRLOG_AddLog(path().c_str(), std::string(static_cast<size_t>(length), 'x').c_str(), length);
    retrieve(filter);
    if (file.size() > 9216) {  // an entry goes to block 0 alone
        FILE* now = std::fopen(path().c_str(), "rb");
        std::string bytes(file.size(), '\0');
        if (std::fread(bytes.data(), 1, bytes.size(), now) != bytes.size()) __builtin_trap();
        std::fclose(now);
        if (bytes.compare(9216, std::string::npos, file, 9216, std::string::npos) != 0) {
            __builtin_trap();
        }
    }
    return 0;
}
