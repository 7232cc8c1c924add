#include "support/scenes.h"
#include "text/exact.h"

namespace {

using Rules = std::vector<CONVBAR_RULE>;

// The bytes of a field.
struct Bytes : std::string {
    explicit Bytes(const std::string& field) : std::string(field) {}
};

// What a text becomes, in as many bytes as it takes.
std::string converted(Rules* rules, Bytes* text, int32_t size) {
    const Exact input(*text);
    const auto length = static_cast<int32_t>(text->size());
    const auto room = static_cast<size_t>(std::max(size, -1) + 1);
    const auto output = std::make_unique<char[]>(room);
    std::memset(output.get(), '#', room);
    CONVBAR_RULES set{static_cast<int32_t>(rules->size()), rules->data()};
    EXPECT_EQ(ORVEX_CONVBAR_SimpConv(input, output.get(), size, &set), 0);
    const std::string simple(output.get(), room);
    std::memset(output.get(), '#', room);
    EXPECT_EQ(ORVEX_CONVBAR_Conv(input, length, output.get(), size, set.pRule, set.nCount), 0);
    const std::string all(output.get(), room);
    EXPECT_EQ(simple, all);
    const size_t end = std::min(all.find('\0'), room);
    EXPECT_EQ(all.substr(end), std::string(room - end, '\0'));
    return all.substr(0, end);
}

using BarcodeRule = InFolder;

[[maybe_unused]] const bool plays = play_scenes<BarcodeRule>(
    "BarcodeRule", TEST_ROWS,
    {{"rule", step_of<[](Rules* set, Bytes* pattern, uint8_t length, uint8_t flags, Bytes* ops) {
          CONVBAR_RULE rule{};
          std::memset(&rule, 1, sizeof rule);  // what is behind the last operation is none
          std::memset(rule.szPattern, 0, sizeof rule.szPattern);
          pattern->copy(rule.szPattern, sizeof rule.szPattern);
          ops->copy(reinterpret_cast<char*>(rule.astOp), sizeof rule.astOp);
          rule.nPatternLen = length;
          rule.nFlags = flags;
          rule.nOpCount = static_cast<uint8_t>(ops->size() / sizeof *rule.astOp);
          set->push_back(rule);
          return static_cast<int32_t>(set->size());
      }>},
     {"convert", step_of<converted>},
     {"convert_by_call", step_of<ORVEX_CONVBAR_Conv>},
     {"convert_by_set", step_of<ORVEX_CONVBAR_SimpConv>},
     {"add_at", step_of<CONVBAR_UTIL_StrAddAt>},
     {"delete_at", step_of<CONVBAR_UTIL_StrDelAt>},
     {"save", step_of<[](Text file, Rules* set, int32_t count) {
          return ORVEX_CONVBAR_SaveAllRuleByFN(file, set == nullptr ? nullptr : set->data(), count);
      }>},
     {"save_own", step_of<[](Rules* set) {
          return ORVEX_CONVBAR_SaveAllRule(set->data(), static_cast<int32_t>(set->size()));
      }>},
     // A null file is the installation's own.
     {"load", step_of<[](Text file, Rules* set) {
          CONVBAR_RULE unused;
          CONVBAR_RULE* rules = &unused;
          const int32_t count = file == nullptr ? ORVEX_CONVBAR_GetAllRule(&rules)
                                                : ORVEX_CONVBAR_GetAllRuleByFN(file, &rules);
          EXPECT_EQ(rules != nullptr, count > 0);
          set->assign(rules, rules + std::max(count, 0));
          ORVEX_free(rules);
          return count;
      }>},
     {"load_nowhere", step_of<ORVEX_CONVBAR_GetAllRuleByFN>},
     {"path", step_of<[](Text root) {
          char name[256] = "";
          ORVEX_SetMainPath(root);
          return outcome(ORVEX_CONVBAR_PathFileName(name)) + " " + name;
      }>},
     {"no_path", step_of<[] { return ORVEX_CONVBAR_PathFileName(nullptr); }>},
     {"change_mode", step_of<ORVEX_FileChangeMode>},
     {"make_folder", step_of<[](Text folder) { return fs::create_directory(folder) ? 1 : 0; }>}});

}  // namespace
