// An installation whose pinyin table is the test's own.
#pragma once

#include "support/test.h"

class PinyinTable : public Pinned {
 public:
    explicit PinyinTable(std::string_view lines, int32_t language = OXLANG_CHINESE) {
        fs::create_directories(folder());
        std::ofstream(folder() / "PINYIN.TXT", std::ios::binary) << lines;
        OXLANG_LID_Set(OXLANG_KIND_DEFAULT, language);
        g_stPinYin.bInited = 0;
        built_ = MOLTE_HZPY_Init(&g_stPinYin);
        ORVEX_Err_ClearError();
    }
    ~PinyinTable() {
        MOLTE_HZPY_Release(&g_stPinYin);
        g_stPinYin.bInited = 0;
        OXLANG_LID_Set(OXLANG_KIND_DEFAULT, OXLANG_CHINESE);
    }

    [[nodiscard]] int32_t built() const { return built_; }
    [[nodiscard]] fs::path folder() const {
        return fs::path(installation_.str()) / "CONF" / "LANG" / "HZ";
    }

 private:
    Installation installation_;
    int32_t built_ = -2;
};

// The readings of a character, joined by blanks.
inline std::string readings_of(int32_t code) {
    MOLTE_HZPY_ONEHZ character;
    MOLTE_HZPY_ONEHZSTR readings;
    const int32_t result = MOLTE_HZPY_HzCode2Py(code, &character);
    if (result < 0) return taken_error();
    MOLTE_HZPY_ONEHZ2Str(&character, &readings);
    EXPECT_EQ(result, readings.nCount > 0 ? 1 : 0);
    std::string text;
    for (int i = 0; i < readings.nCount; ++i) text += (i > 0 ? " "s : ""s) + readings.aszPY[i];
    return text;
}
