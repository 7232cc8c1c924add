#include "support/scenes.h"

namespace {

using Record = MOLTE_PARAMNETITEM;
using Item = MOLTE_PARAMITEM;

Record record_of(const std::string& name) {
    Record record;
    std::memset(&record, 0xEE, sizeof record);
    std::snprintf(record.szName, sizeof record.szName, "%s", name.c_str());
    return record;
}

Item item_of(const char* name, void* value = nullptr, uint8_t type = 0, int32_t room = 0,
             MOLTE_PARAMSETTER setter = nullptr) {
    return {name, value, setter, nullptr, type, 0, 0, room};
}

// A registry of the test's own, in the place of the program's.
class Registry : public testing::Test {
 protected:
    Registry() { MOLTE_PARAMADM_Release(&g_stBv.stParamAdm); }
    ~Registry() override { MOLTE_PARAMADM_Release(&g_stBv.stParamAdm); }
    static void enter(const std::vector<Item*>& items) {
        for (Item* item : items) EXPECT_EQ(MOLTE_PARAMADM_Register(&item), 1);
    }

    Configured folder_;
};

TEST_F(Registry, KnowsItsItemsByName) {
    Record* records = nullptr;
    EXPECT_EQ(MOLTE_PARAMADM_GetAllNetVal(&records), 0);
    EXPECT_EQ(records, nullptr);
    MOLTE_PARAMADM& adm = g_stBv.stParamAdm;
    EXPECT_EQ((Ints{adm.stItems.nItemSize, adm.stItems.nCapacity, adm.stLock.bInited}),
              (Ints{8, 512, 1}));
    EXPECT_EQ(MOLTE_PARAMADM_Init(&adm), 0);
    char text[] = "the text";
    Item other = item_of("Other");
    Item first = item_of("Name", text, 1);
    Item second = item_of("Name");
    enter({&other, &first, &second});
    EXPECT_EQ(MOLTE_PARAMADM_GetMemValPt("Name"), &first);
    EXPECT_STREQ(MOLTE_PARAMADM_GetStrVal("Name"), "the text");
    ASSERT_EQ(MOLTE_PARAMADM_GetAllNetVal(&records), 3);
    EXPECT_EQ(records[0].szName + " "s + records[2].szName, "Other Name");
    ORVEX_free(records);
    EXPECT_EQ(told(MOLTE_PARAMADM_GetMemValPt(nullptr)), "117 paramadm @107");
    EXPECT_EQ(told(MOLTE_PARAMADM_GetStrVal("name")), "117 paramadm name @107 < 196 paramadm");
    for (const int32_t result : {MOLTE_PARAMADM_Register(nullptr), MOLTE_PARAMADM_Init(nullptr)}) {
        EXPECT_EQ(error_of(result), "50 paramadm");
    }
    EXPECT_EQ(MOLTE_PARAMADM_Release(&adm), 1);
    EXPECT_EQ(bytes_of(adm), std::string(sizeof adm, '\0'));
}

TEST_F(Registry, RecordsByteForByte) {
    uint32_t number = 0x81020304;
    uint64_t large = 0x8102030405060708;
    std::string long_text(90, 't');
    const std::string long_name(40, 'n');
    std::string raw(100, '\xAB');
    char full[4] = {'f', 'u', 'l', 'l'};  // no terminator
    const struct {
        Item item;
        std::string name, kind, value;
    } cases[] = {
        {item_of("Int", &number, 0), "Int", "\0\0"s, "\x81\x02\x03\x04"},
        {item_of("Long", &large, 3, 0x1FF), "Long", "\x03\xFF", "\x81\x02\x03\x04\x05\x06\x07\x08"},
        {item_of("Text", long_text.data(), 1), "Text", "\x01\0"s, std::string(79, 't')},
        {item_of("Full", full, 1, 4), "Full", "\x01\x04", "full"},
        {item_of("Raw", raw.data(), 2, 3), "Raw", "\x02\x03", "\xAB\xAB\xAB"},
        {item_of("Raw", raw.data(), 2, 100), "Raw", "\x02\x64", std::string(80, '\xAB')},
        {item_of("Raw", raw.data(), 2, -1), "Raw", "\x02\xFF", ""},
        {item_of(long_name.c_str(), nullptr, 9), std::string(31, 'n'), "\x09\0"s, ""},
    };
    for (auto [item, name, kind, value] : cases) {
        item.tChanged = 0x5A010203;
        name.resize(32);
        value.resize(80);
        Record record = record_of("rubbish");
        EXPECT_EQ(MOLTE_PARAMITEM_Mem2Net(&item, &record), 1);
        EXPECT_EQ(bytes_of(record),
                  name + kind + "\x01\0\x5A\x01\x02\x03\0\0\0\0\0\0\0\0"s + value);
    }
}

std::string calls;  // of setters: the item's name, the mode, the record's index

int32_t remember(Item* item, const Record* record, int32_t mode, int32_t index) {
    EXPECT_STREQ(record->szName, item->pszName);
    calls += item->pszName + std::to_string(mode) + std::to_string(index) + " ";
    return -1;  // what a setter answers isn't looked at
}

TEST_F(Registry, AnswersForTheNamesItKnows) {
    int32_t number = 258;
    Item a = item_of("a", &number, 0, 0, remember);
    Item b = item_of("b", nullptr, 0, 0, remember);
    Item none = item_of("none");
    enter({&a, &b, &none});
    Record records[] = {record_of("b"), record_of("?"), record_of("none"), record_of("a"),
                        record_of("")};
    std::memset(records[4].szName, 'x', sizeof records[4].szName);  // without an end
    calls.clear();
    EXPECT_EQ(MOLTE_PARAMADM_SetNetVal(records, 4, 1), 0);
    EXPECT_EQ(MOLTE_PARAMADM_SetNetVal(records, 4, 4), 1);
    EXPECT_EQ(calls, "b40 a43 ");
    EXPECT_EQ(taken_error(), "117 paramadm ?");
    EXPECT_EQ(MOLTE_PARAMADM_GetNetVal(records, 5), 1);
    EXPECT_EQ(taken_error(), "117 paramadm " + std::string(32, 'x'));
    EXPECT_EQ((Ints{records[0].bValid, records[1].bValid, records[4].bValid}), (Ints{1, 0, 0}));
    EXPECT_EQ(records[1].nType, 0xEE);  // the rest of a missing one stays
    EXPECT_EQ(records[3].abyValue[2], 1);
}

TEST_F(Registry, WritesRecordsToTheIniFile) {
    folder_.write_ini("Int = 1 # kept\n");
    Record records[] = {record_of("Int"), record_of("Text"), record_of("Raw"), record_of("Long")};
    for (int i = 0; i < 4; ++i) records[i].nType = static_cast<uint8_t>(i);
    std::memset(records[1].abyValue, 't', 80);  // without an end
    EXPECT_EQ(MOLTE_PARAMADM_SetIniFile(records, 4, 1), 0);
    EXPECT_EQ(folder_.text_of(), "Int = 1 # kept\n");
    EXPECT_EQ(MOLTE_PARAMADM_SetIniFile(records, 4, 4), 1);
    EXPECT_EQ(folder_.text_of(), "Int = -286331154   # kept\nText = " + std::string(80, 't') +
                                     "\nLong = -1229782938247303442\n");
    fs::remove_all(folder_.path() / "CONF");
    ORVEX_Err_ClearError();
    EXPECT_EQ(MOLTE_PARAMADM_SetIniFile(records, 1, 4), -1);
    EXPECT_EQ(history_of_this_thread(), "200 oxparam, 226 oxparam, 169 paramadm");
}

struct Parameter {
    Item item;
    int32_t number;
    int64_t large;
    char text[8];
};
Parameter p;

std::string act(Text type, int32_t mode, Text record) {
    const Record sent = record_of("P");
    const Record* const from = record == "sent"s ? &sent : nullptr;
    if (type == "text"s) {
        const std::string told = outcome(MOLTE_PARAMADM_StrAct(&p.item, from, mode, nullptr, "P",
                                                               remember, p.text, sizeof p.text));
        return told + " > " + p.text;
    }
    const bool is_int = type == "int"s;
    const std::string told =
        outcome(is_int ? MOLTE_PARAMADM_IntAct(&p.item, from, mode, 7, "P", remember, &p.number)
                       : MOLTE_PARAMADM_LongAct(&p.item, from, mode, 7, "P", remember, &p.large));
    return told + " > " + std::to_string(is_int ? p.number : p.large);
}

[[maybe_unused]] const bool plays = play_scenes<Registry>(
    "Registry", TEST_ROWS,
    {{"act", step_of<act>},
     {"is_only", step_of<[](Text name) {
          const bool known = MOLTE_PARAMADM_GetMemValPt(name) == &p.item;
          return int64_t{known && g_stBv.stParamAdm.stItems.nCount == 1};
      }>},
     {"delete", step_of<[](Text name) { return int64_t{fs::remove(name)}; }>}},
    true);

// ---- The library's own parameters ----

// An installation with this INI file, in which the library is up; what the parameters show of the
// library's state is there before.
class Running : public Configured {
 public:
    explicit Running(std::string_view ini) : Configured(ini) {
        int64_t* const counters = &g_stBv.n64ReadCount;  // six in a row
        for (int64_t i = 0; i < 6; ++i) counters[i] = i + 1;
        *counters = INT64_C(-5000000000);
        std::strcpy(g_stBv.szAppVersion, "7.7.7.7");
        EXPECT_EQ(ORVEX_BASE_InitVar(), 1);
        EXPECT_EQ(taken_error(), "52 oxparam DEF_LOCAL_ID");  // the last thing it lacks
    }
    ~Running() { ORVEX_BASE_ReleaseVar(); }
};

// The value as the network sees it.
std::string value_of(const std::string& name) {
    Record record = record_of(name);
    MOLTE_PARAMADM_GetNetVal(&record, 1);
    const uint8_t* value = record.abyValue;
    if (record.bValid != 1) return "not there";
    if (record.nType == 1) return reinterpret_cast<const char*>(value);
    return std::to_string(record.nType == 0 ? static_cast<int32_t>(Char4To_uint4(value))
                                            : static_cast<int64_t>(Char8To_uint8(value)));
}

// The value after the setter ran, with a record of this number or text.
std::string after(const std::string& name, int32_t mode, int32_t value = 0, Text text = nullptr) {
    Record record = record_of(name);
    uint4ToChar4(static_cast<uint32_t>(value), record.abyValue);
    if (text != nullptr) std::strcpy(reinterpret_cast<char*>(record.abyValue), text);
    EXPECT_EQ(MOLTE_PARAMADM_SetNetVal(&record, 1, mode), 1);
    return value_of(name);
}

// A row of library_parameters.txt.
struct Row {
    std::string name, kind, room, rule, value;
};

std::vector<Row> rows() {
    std::ifstream file(TEST_DATA "/library_parameters.txt");
    std::vector<Row> all(35);
    for (Row& row : all) file >> row.name >> row.kind >> row.room >> row.rule >> row.value;
    EXPECT_EQ(all.back().name, "ListenBacklogCnt");
    return all;
}

// The file that comes with an installation tells of every parameter, and says what holds without.
TEST(LibraryParameters, ValuesOfAFreshInstallation) {
    const std::string sample = read_bytes(SAMPLE_INI);
    for (const std::string& ini : {""s, sample}) {
        const int64_t before = std::time(nullptr);
        const Running system(ini);
        const PA& items = g_stBv.stParamAdm.stItems;
        ASSERT_GE(items.nCount, 35);  // behind those of the text hooks
        const auto* next = static_cast<Item* const*>(items.pData) + items.nCount - 35;
        for (const Row& row : rows()) {
            const Item* item = *next++;
            EXPECT_EQ(item->pszName, row.name);
            EXPECT_EQ(std::to_string(item->nType) + " " + std::to_string(item->nMaxLen),
                      row.kind + " " + row.room);
            EXPECT_TRUE(row.value == "?" || row.value == value_of(row.name)) << value_of(row.name);
            EXPECT_EQ(item, &g_stBv.astParam[item->nId]);
            EXPECT_EQ(item->pOwner, &g_stBv);
            EXPECT_NE(sample.find(row.name), std::string::npos) << row.name;
        }
        char text[32];
        const int64_t start = g_stBv.nStartupTimeInt;
        EXPECT_GE(start, before);
        const std::pair<Text, std::string> of_this_machine[] = {
            {"CpuCount", std::to_string(g_stBv.stSysInfo.nCpuCount)},
            {"PhysicalMemInMB", std::to_string(g_stBv.stSysInfo.nPhysicalMemInMB)},
            {"OsType", std::to_string(ORVEX_GetOsType() & 0xFF)},
            {"OsPlatform", MOLTE_UTIL_MacroOs()},
            {"MainPath", system.str().substr(0, 79)},
            {"HiResoTickPerSec", std::to_string(MOLTE_HiResoTickPerSec())},
            {"SystemStartupTimeInt", std::to_string(start)},
            {"SystemStartupTime", ORVEX_ctime(&start, text)},
        };
        for (const auto& [name, value] : of_this_machine) EXPECT_EQ(value_of(name), value) << name;
        EXPECT_EQ(MOLTE_PARAM_Set(&g_stBv.astParam[35], nullptr, 1), 0);
    }
}

// What each rule makes of the INI file at bring-up, of a record, of the INI file again, and of the
// way back to the default.
TEST(LibraryParameters, Rules) {
    std::vector<Row> all = rows();
    std::erase_if(all, [](const Row& row) {
        return row.rule == "own" || row.name == "MainPath" || row.name == "SystemStartupTime";
    });
    std::string five;
    for (const Row& row : all) five += row.name + " = 5\n";
    std::string six = five;
    std::replace(six.begin(), six.end(), '5', '6');
    {
        const Running fresh("");
        for (Row& row : all) row.value = value_of(row.name);
    }
    const Running system(five);
    system.write_ini(six);
    for (const Row& row : all) {
        const Text sent = row.kind == "1" ? "9" : nullptr;
        const Texts values = {value_of(row.name), after(row.name, 4, 9, sent), after(row.name, 2),
                              after(row.name, 3)};
        EXPECT_EQ(values, row.rule == "always" ? (Texts{"5", "9", "6", row.value})
                          : row.rule == "once" ? Texts(4, "5")
                                               : Texts(4, row.value))
            << row.name;
    }
}

constexpr uint32_t kOuterText = 65536 + 128 + 32;

std::string set_item(int32_t at, int32_t mode) {
    Item& item = g_stBv.astParam[at];
    item.tChanged = 0;
    const std::string told = outcome(MOLTE_PARAM_Set(&item, nullptr, mode));
    return told + (item.tChanged != 0 ? ", changed" : "");
}

struct RunningParameters : testing::Test {
    ~RunningParameters() override { ORVEX_BASE_ReleaseVar(); }
    Configured folder_;
};

const char* const kScenes = "configuration/running_parameters.txt";
[[maybe_unused]] const bool plays_running = play_scenes<RunningParameters>(
    "RunningParameters", kScenes,
    {{"up", step_of<ORVEX_BASE_InitVar>},
     {"down", step_of<ORVEX_BASE_ReleaseVar>},
     {"value", step_of<[](Text name) { return value_of(name); }>},
     {"after",
      step_of<[](Text name, int32_t mode, int32_t value) { return after(name, mode, value); }>},
     {"set_item", step_of<set_item>},
     {"user", step_of<ORVEX_PARAMETER_GetDefaultUserName>},
     {"database_ini_file", step_of<ORVEX_DBCFG_PathFileName>},
     {"language", step_of<OXLANG_LID_Get>},
     {"log_to", step_of<[](Text file) { return MOLTE_TXTLOG_AddLog(file, kOuterText, 1); }>},
     {"print", step_of<[](Text text) { return MOLTE_OutMsg(kOuterText, "%s", text); }>}},
    true);

TEST(ParameterNames, HaveTheirNumbers) {
    const char* names[MOLTE_PARAMNAME_COUNT];
    std::fill(std::begin(names), std::end(names), "not filled");
    ASSERT_EQ(MOLTE_PARAMNAME_Init(names), 1);
    std::string list;
    for (size_t i = 0; i < std::size(names); ++i) {
        list += std::to_string(i) + " " + (names[i] != nullptr ? names[i] : "none") + "\n";
    }
    EXPECT_EQ(list, read_text(TEST_DATA "/parameter_names.txt"));
}

}  // namespace
