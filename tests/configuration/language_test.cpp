#include "support/rows.h"
#include "support/test.h"

namespace {

// The library finds this installation; nothing is up yet.
class Language : public testing::Test, protected Configured {
 protected:
    Language() {
        g_stLangVar = {};
        OXLANG_SetLocale(OXLANG_ENGLISH);
    }
};

Ints languages() {
    return {OXLANG_LID_Get(0), OXLANG_LID_Get(1), OXLANG_LID_Get(2),
            OXLANG_LID_Get(3), OXLANG_LID_Get(4), OXLANG_LID_Get(5)};
}

// Which of the three locales is in force, by what the code page makes of two bytes.
std::string locale() {
    wchar_t wide[3] = {};
    if (MOLTE_STR_mbstowcs("\xD6\xD0", wide, 3) < 0) return "none";
    return wide[0] == 0x4E2D ? "chs" : wide[0] == 0xD6 ? "latin" : "other";
}

TEST_F(Language, InitReadsTheParameterTwice) {
    for (const auto& [parameters, id, name] : {tuple("", 2052, "chs"),
                                               {"DEF_LANG_ID = 0\n", 0, "latin"},
                                               {"DEF_LANG_ID = 1033\n", 1033, "latin"},
                                               {"DEF_LANG_ID = 2052\n", 2052, "chs"},
                                               {"DEF_LANG_ID = -5\n", -5, "latin"}}) {
        g_stLangVar = {};
        write_ini(parameters);
        EXPECT_EQ(OXLANG_Init(), 1);
        EXPECT_EQ(languages(), (Ints{id, id, id, id, 0, 50})) << parameters;
        EXPECT_EQ(locale(), name) << parameters;
        OXLANG_LID_Set(4, 3);
        EXPECT_EQ(OXLANG_Init(), 0);
        EXPECT_EQ(OXLANG_LID_Get(4), 3) << "done already";
    }
    EXPECT_EQ(OXLANG_LID_Init(), 1);
    EXPECT_EQ(languages(), (Ints{0, 0, 0, 0, 0, 50})) << "a negative one counts as 0 here";
    write_ini("");
    EXPECT_EQ(OXLANG_SetDefLang(), 1);
    EXPECT_EQ(OXLANG_GetLID() + OXLANG_GetMsgLID(), 2 * 2052);
    EXPECT_EQ(OXLANG_GetRVEXLangID(), 2052);
}

TEST_F(Language, OneKindOrAll) {
    EXPECT_EQ(OXLANG_LID_Set(0, 7), 1);
    for (int32_t kind = 1; kind <= 5; ++kind) {
        EXPECT_EQ(OXLANG_LID_Set(kind, 100 + kind), kind <= 3 ? 7 : 0) << "the old one";
    }
    EXPECT_EQ(languages(), (Ints{7, 101, 102, 103, 104, 105}));
    EXPECT_EQ(OXLANG_LID_Get(-1) + OXLANG_LID_Get(6), 14);
    for (const int32_t kind : {-1, 6, INT32_MAX}) {
        EXPECT_EQ(OXLANG_LID_Set(kind, 2052), 1);
        EXPECT_EQ(locale(), "chs");
        EXPECT_EQ(OXLANG_LID_Set(kind, 3082), 1) << "Spanish of Spain";
        EXPECT_EQ(locale(), "latin");
    }
    EXPECT_EQ(languages(), (Ints{3082, 3082, 3082, 3082, 104, 105}));
    EXPECT_EQ(OXLANG_GetLocale(), &g_stLangVar);
}

// A name and an id: the id of the name, the name of the id, and where the id is valid.
std::string language_names(const Texts& row) {
    const int32_t id = std::stoi(row[1]);
    return std::to_string(OXLANG_LANGStr2LID(text_or_null(row[0]))) + " " + OXLANG_LANGLID2Str(id) +
           " " + std::to_string(OXLANG_UTIL_IsValidLID(id));
}

std::string collation_names(const Texts& row) {
    const int32_t id = std::stoi(row[1]);
    int32_t latin = 9;
    char copy[16] = "";
    const int32_t id_of_name = OXLANG_COLLATE_Name2ID(text_or_null(row[0]), &latin);
    const Text name = OXLANG_COLLATE_ID2Name(id, copy);
    EXPECT_EQ(name != nullptr ? name : ""s, copy);
    return std::to_string(id_of_name) + " " + std::to_string(latin) + " " + copy + " " +
           std::to_string(OXLANG_COLLATE_IsValidLatID(id)) +
           std::to_string(OXLANG_COLLATE_IsValidMBID(id));
}

TEST_F(Language, NamesOfLanguagesAndCollations) {
    EXPECT_EQ(OXLANG_LANGStr2LID("Lang_English"), 2052) << "no table yet";
    EXPECT_STREQ(OXLANG_LANGLID2Str(1033), "Lang_Chs");
    ASSERT_EQ(OXLANG_Init(), 1);
    ORVEX_Err_ClearError();
    const auto text_of_ids = [](const Texts& row) {
        char text[24] = "?";
        const int32_t result = OXLANG_COLLATE_ID2Str(std::stoi(row[0]), std::stoi(row[1]), text);
        return std::to_string(result) + " " + text;
    };
    const auto ids_of_text = [](const Texts& row) {
        int32_t ids[2] = {};
        const int32_t result = OXLANG_COLLATE_Str2ID(row[0].c_str(), &ids[0], &ids[1]);
        const std::string error = result == 1 ? "" : " " + taken_error();
        return std::to_string(ids[0]) + " " + std::to_string(ids[1]) + error;
    };
    check_rows(TEST_ROWS, {{"text of ids", text_of_ids},
                           {"ids of a text", ids_of_text},
                           {"languages", language_names},
                           {"collations", collation_names}});
    EXPECT_EQ(OXLANG_GetLangName()->nCount, 4);
    char none[24];
    ORVEX_Err_ClearError();
    EXPECT_EQ(told(OXLANG_COLLATE_ID2Str(-1, -1, none)),
              "250 oxlang at least one coll id is valid. lat=-1 mb=-1 @333");
    for (const int32_t result :
         {OXLANG_COLLATE_ID2Str(1, 1, nullptr), OXLANG_COLLATE_Str2ID(nullptr, nullptr, nullptr),
          OXLANG_LANG_Init(nullptr)}) {
        EXPECT_EQ(error_of(result), "50 oxlang");
    }
    EXPECT_EQ(OXLANG_COLLATE_ID2Name(4, nullptr), nullptr);
    EXPECT_STREQ(OXLANG_COLLATE_ID2Name(1, nullptr), "Lat_Bin");
}

#if !defined(_WIN32)  // where the user's language is the environment's
TEST_F(Language, TheUsersLanguage) {
    for (const auto& [name, messages, language, date] :
         {tuple("zh_CN.UTF-8", 2052, 2052, "2024\xC4\xEA 6\xD4\xC2 4\xC8\xD5"),
          {"zh_CN.UTF-8", 1033, 2052, "2024/ 6/ 4 "},
          {"zh_TW.UTF-8", 2052, 1033, "2024/ 6/ 4 "},
          {"en_US.UTF-8", 2052, 1033, "2024/ 6/ 4 "}}) {
        setenv("LC_ALL", name, 1);
        EXPECT_EQ(OLANG_GetOsUILangID(), language) << name;
        OXLANG_LID_Set(OXLANG_KIND_MESSAGE, messages);
        ORVEXDATE day{};
        ORVEX_SetDate(&day, 2024, 6, 4);
        char text[32];
        EXPECT_EQ(ORVEX_DateToStr(&day, text), static_cast<int32_t>(std::strlen(date)));
        EXPECT_STREQ(text, date) << name;
    }
}
#endif

}  // namespace
