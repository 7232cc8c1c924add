#include "support/scenes.h"

namespace {

class Language : public testing::Test {
 protected:
    Language() { OXLANG_SetLocale(OXLANG_ENGLISH); }
    Configured folder_;
};

std::string ids(const Texts&) {
    std::string all;
    for (int32_t kind = 0; kind < 6; ++kind) {
        all += (kind > 0 ? " " : "") + std::to_string(OXLANG_LID_Get(kind));
    }
    return all;
}

// Which of the three locales is in force, by what the code page makes of two bytes.
std::string locale(const Texts&) {
    EXPECT_EQ(OXLANG_GetLocale(), &g_stLangVar);
    wchar_t wide[3] = {};
    if (MOLTE_STR_mbstowcs("\xD6\xD0", wide, 3) < 0) return "none";
    return wide[0] == 0x4E2D ? "chs" : wide[0] == 0xD6 ? "latin" : "other";
}

std::string collation_name(int32_t id, char* copy) {
    const Text name = OXLANG_COLLATE_ID2Name(id, copy);
    return name != nullptr ? name : outcome(-1);
}

[[maybe_unused]] const bool plays = play_scenes<Language>(
    "Language", TEST_ROWS,
    {{"forget",
      [](const Texts&) {
          g_stLangVar = {};
          return ""s;
      }},
     {"init", step_of<OXLANG_Init>},
     {"init_ids", step_of<OXLANG_LID_Init>},
     {"init_table", step_of<[] { return OXLANG_LANG_Init(nullptr); }>},
     {"count", step_of<[] { return OXLANG_GetLangName()->nCount; }>},
     {"ids", ids},
     {"id", step_of<OXLANG_LID_Get>},
     {"set", step_of<OXLANG_LID_Set>},
     {"set_default", step_of<OXLANG_SetDefLang>},
     {"default", step_of<OXLANG_GetLID>},
     {"message", step_of<OXLANG_GetMsgLID>},
     {"rvex", step_of<OXLANG_GetRVEXLangID>},
     {"locale", locale},
     {"id_of", step_of<OXLANG_LANGStr2LID>},
     {"name_of", step_of<[](int32_t id) { return std::string(OXLANG_LANGLID2Str(id)); }>},
     {"is_valid", step_of<OXLANG_UTIL_IsValidLID>},
     {"collation_id", step_of<OXLANG_COLLATE_Name2ID>},
     {"collation_name", step_of<collation_name>},
     {"is_latin", step_of<OXLANG_COLLATE_IsValidLatID>},
     {"is_multibyte", step_of<OXLANG_COLLATE_IsValidMBID>},
     {"text_of", step_of<OXLANG_COLLATE_ID2Str>},
     {"ids_of", step_of<OXLANG_COLLATE_Str2ID>}},
    true);

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
