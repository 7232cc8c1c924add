// Parameter records as a peer may send them: looked up, applied and written to the INI file.
#include <filesystem>
#include <memory>
#include <vector>

#include "frame.h"

namespace {

using Record = MOLTE_PARAMNETITEM;

// On the heap, where each byte too far is noticed.
const auto number = std::make_unique<int32_t>(0);
const auto large = std::make_unique<int64_t>(0);
const auto text = std::make_unique<char[]>(8);
const auto long_text = std::make_unique<char[]>(100);
const auto raw = std::make_unique<uint8_t[]>(3);

int32_t set_number(MOLTE_PARAMITEM* item, const Record* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_IntAct(item, record, mode, 1, "i", set_number, number.get());
}
int32_t set_large(MOLTE_PARAMITEM* item, const Record* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_LongAct(item, record, mode, 1, "l", set_large, large.get());
}
int32_t set_text(MOLTE_PARAMITEM* item, const Record* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_StrAct(item, record, mode, "d", "t", set_text, text.get(), 8);
}
int32_t set_long_text(MOLTE_PARAMITEM* item, const Record* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_StrAct(item, record, mode, "d", "T", set_long_text, long_text.get(), 100);
}

bool start() {
    static const TempFolder root;
    static MOLTE_PARAMITEM items[5];
    std::filesystem::create_directory(root / "CONF");
    ORVEX_SetMainPath(root.str().c_str());
    ORVEX_BASE_InitVar();  // with the library's own parameters
    const MOLTE_PARAMSETTER setters[] = {set_number, set_large, set_text, set_long_text};
    for (int i = 0; i < 4; ++i) setters[i](&items[i], nullptr, MOLTE_PARAM_REGISTER, 0);
    MOLTE_PARAMITEM* last = &items[4];
    last->nMaxLen = 3;
    MOLTE_PARAMITEM_SetMemItem(last, "r", MOLTE_PARAM_BYTES, nullptr, raw.get());
    return MOLTE_PARAMADM_Register(&last) == 1;
}

}  // namespace

void try_input(std::string_view input) {
    static const bool started = start();
    must(started);
    if (input.empty()) return;
    const int32_t mode = static_cast<uint8_t>(input[0]);
    std::vector<Record> records((input.size() - 1) / sizeof(Record));
    const auto count = static_cast<int32_t>(records.size());
    if (count > 0) std::memcpy(records.data(), &input[1], records.size() * sizeof(Record));
    MOLTE_PARAMADM_SetNetVal(records.data(), count, mode);
    // The file stays small, so that the run stays fast.
    if (mode % 64 == 0) MOLTE_PARAMADM_SetIniFile(records.data(), std::min(count, 4), mode);
    MOLTE_PARAMADM_GetNetVal(records.data(), count);
    for (const Record& record : records) {
        must(record.bValid == 0 || (record.bValid == 1 && record.szName[31] == '\0'));
    }
}
