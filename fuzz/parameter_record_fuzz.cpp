// Parameter records as a peer may send them: looked up, applied and written to the INI file.
#include <stdlib.h>
#include <sys/stat.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "moltelib.h"

namespace {

// On the heap, where each byte too far is noticed.
struct Values {
    std::unique_ptr<int32_t> number = std::make_unique<int32_t>(0);
    std::unique_ptr<int64_t> large = std::make_unique<int64_t>(0);
    std::unique_ptr<char[]> text = std::make_unique<char[]>(8);
    std::unique_ptr<char[]> long_text = std::make_unique<char[]>(100);
    std::unique_ptr<uint8_t[]> raw = std::make_unique<uint8_t[]>(3);
};

Values& values() {
    static Values all;
    return all;
}

int32_t set_number(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_IntAct(item, record, mode, 1, "i", set_number, values().number.get());
}
int32_t set_large(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_LongAct(item, record, mode, 1, "l", set_large, values().large.get());
}
int32_t set_text(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_StrAct(item, record, mode, "d", "t", set_text, values().text.get(), 8);
}
int32_t set_long_text(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode,
                      int32_t) {
    return MOLTE_PARAMADM_StrAct(item, record, mode, "d", "T", set_long_text,
                                 values().long_text.get(), 100);
}

void start() {
    static char root[] = "/tmp/moltelib-fuzz-XXXXXX";
    static MOLTE_PARAMITEM items[5];
    const std::string conf = std::string(mkdtemp(root)) + "/CONF";
    mkdir(conf.c_str(), 0700);
    ORVEX_SetMainPath(root);
    ORVEX_BASE_InitVar();  // with the library's own parameters
    set_number(&items[0], nullptr, MOLTE_PARAM_REGISTER, 0);
    set_large(&items[1], nullptr, MOLTE_PARAM_REGISTER, 0);
    set_text(&items[2], nullptr, MOLTE_PARAM_REGISTER, 0);
    set_long_text(&items[3], nullptr, MOLTE_PARAM_REGISTER, 0);
    items[4].nMaxLen = 3;
    MOLTE_PARAMITEM* raw = &items[4];
    MOLTE_PARAMITEM_SetMemItem(raw, "r", MOLTE_PARAM_BYTES, nullptr, values().raw.get());
    MOLTE_PARAMADM_Register(&raw);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool started = (start(), true);
    static_cast<void>(started);
    if (size < 1) return 0;
    const int32_t mode = data[0];
    const auto count = static_cast<int32_t>((size - 1) / sizeof(MOLTE_PARAMNETITEM));
    std::vector<MOLTE_PARAMNETITEM> records(static_cast<size_t>(count));
    if (count > 0) std::memcpy(records.data(), data + 1, records.size() * sizeof records[0]);
    MOLTE_PARAMADM_SetNetVal(records.data(), count, mode);
    // The file stays small, so that the run stays fast.
    if (mode % 64 == 0) MOLTE_PARAMADM_SetIniFile(records.data(), count < 4 ? count : 4, mode);
    MOLTE_PARAMADM_GetNetVal(records.data(), count);
    for (const MOLTE_PARAMNETITEM& record : records) {
        if (record.bValid > 1 || (record.bValid == 1 && record.szName[31] != '\0')) {
            __builtin_trap();
        }
    }
    return 0;
}
