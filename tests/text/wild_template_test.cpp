#include "described_template.h"
#include "exact.h"
#include "in_bytes.h"
#include "support/called.h"

namespace {

class WildTemplate : public testing::Test {
 protected:
    WildTemplate() {
        OXLANG_SetLocale(OXLANG_CHINESE);
        ORVEX_Err_ClearError();
    }
};

struct Compiled : Pinned {
    explicit Compiled(const char* pattern) { result = MOLTE_CompileTempl(pattern, &templ); }
    ~Compiled() { MOLTE_WMTEMPL_Free(&templ); }

    [[nodiscard]] int32_t match(const char* text) const {
        return MOLTE_CompiledWildMatch(&templ, text);
    }

    MOLTE_WMTEMPL templ = {7, reinterpret_cast<MOLTE_WMSUBSTR*>(&templ)};  // not to be freed
    int32_t result = 0;
};

// What a pattern becomes, or its error.
std::string compiled(const Texts& row) {
    const Compiled templ{Exact(row[0])};
    if (templ.result == 1) return described_template(templ.templ);
    EXPECT_EQ(templ.result, -1);
    EXPECT_EQ(templ.templ.nSubStr, 0);
    EXPECT_EQ(templ.templ.pSubStr, nullptr);
    return taken_error();
}

std::string matching(const Texts& row) {
    const Compiled templ{Exact(row[0])};
    EXPECT_EQ(templ.match(nullptr), row[0].empty() ? 1 : 0) << row[0];
    return std::to_string(templ.match(Exact(row[1])));
}
// The bytes that the first piece takes at the head of a text, those it takes elsewhere, and where.
std::string found(const Texts& row) {
    const Compiled templ{Exact(row[0])};
    const auto& [type, count, elements] = templ.templ.pSubStr[0];
    const Exact text(row[1]);
    int32_t offset = -1;
    const int32_t head = MOLTE_WMCHAR_ForewardMatch(elements, count, text);
    const int32_t bytes = MOLTE_WMCHAR_StrMatch(elements, count, text, &offset);
    EXPECT_EQ(MOLTE_WMCHAR_StrMatch(elements, count, text, nullptr), bytes);
    EXPECT_EQ(MOLTE_WMCHAR_ForewardMatch(elements, 0, text), 0);
    EXPECT_EQ(MOLTE_WMCHAR_ForewardMatch(elements, count, nullptr), 0);
    EXPECT_EQ(MOLTE_WMCHAR_StrMatch(elements, count, nullptr, nullptr), 0);
    return std::to_string(head) + " " + std::to_string(bytes) + " " + std::to_string(offset);
}
TEST_F(WildTemplate, rows) {
    check_rows(TEST_ROWS, {{"kind of character", called<MOLTE_UTIL_CharType>},
                           {"compiling", compiled},
                           {"compiling in bytes", in_bytes<compiled>},
                           {"found", found},
                           {"matching", matching},
                           {"matching in bytes", in_bytes<matching>}});
}

TEST_F(WildTemplate, bounds) {
    MOLTE_WMTEMPL templ;
    EXPECT_EQ(error_of(MOLTE_CompileTempl(nullptr, &templ)), "50 ocollate");
    EXPECT_EQ(error_of(MOLTE_CompileTempl("a", nullptr)), "50 ocollate");
    ORVEX_Err_ClearError();
    EXPECT_EQ(MOLTE_CompiledWildMatch(nullptr, "") + MOLTE_WMTEMPL_Free(nullptr), 0);
    EXPECT_EQ(MOLTE_UTIL_RecurWMatch(nullptr, 0, ""), 1);
    EXPECT_EQ(MOLTE_UTIL_RecurWMatch(nullptr, -1, "a"), 0);
    EXPECT_EQ(taken_error(), "");
}

TEST_F(WildTemplate, pieces_made_by_hand) {
    char abc[] = "abc";
    MOLTE_WMCHAR elements[] = {{3, 0, 0, MOLTE_WMCHAR_LITERAL, nullptr},
                               {3, 1, 0, MOLTE_WMCHAR_CLASS, nullptr},
                               {-2, 0, 0, MOLTE_WMCHAR_LITERAL, abc},
                               {-2, 0, 0, MOLTE_WMCHAR_CLASS, abc},
                               {-2, 0, 0, MOLTE_WMCHAR_ANY, nullptr}};
    std::vector<MOLTE_WMCHAR*> pointers = {nullptr};
    for (MOLTE_WMCHAR& element : elements) pointers.push_back(&element);
    for (MOLTE_WMCHAR* element : pointers) {
        EXPECT_EQ(MOLTE_WMCHAR_ForewardMatch(element, 1, "abc"), 0);
        EXPECT_EQ(MOLTE_WMCHAR_StrMatch(element, 1, "abc", nullptr), 0);
        for (const int32_t kind : {1, 2, 3}) {
            const MOLTE_WMSUBSTR pieces[] = {{kind, 0, nullptr}, {3, 1, element}, {1, 0, nullptr}};
            EXPECT_EQ(MOLTE_UTIL_RecurWMatch(pieces, 2, "abc"), 0);
            EXPECT_EQ(MOLTE_UTIL_RecurWMatch(pieces, 3, "abc"), 0);
        }
    }
    EXPECT_EQ(MOLTE_UTIL_RecurWMatch(nullptr, 2, "abc"), 0);
    MOLTE_WMSUBSTR piece = {3, 2, nullptr};
    MOLTE_WMTEMPL templ = {3, nullptr};
    EXPECT_EQ(MOLTE_CompiledWildMatch(&templ, "abc"), 0);
    EXPECT_EQ(MOLTE_WMSUBSTR_Free(&piece) + MOLTE_WMTEMPL_Free(&templ), 0);
}

TEST_F(WildTemplate, parts_of_compiling) {
    PA text;
    PA elements;
    PA pieces;
    PA_Init(&text, 1, 0);
    PA_Init(&elements, sizeof(MOLTE_WMCHAR), 0);
    PA_Init(&pieces, sizeof(MOLTE_WMSUBSTR), 0);
    MOLTE_WMCHAR element = {};
    MOLTE_WMSUBSTR piece = {};
    PA_MultiAppend(&text, std::string(32768, 'x').data(), 32768);
    EXPECT_EQ(MOLTE_UTIL_FinWmChar(&elements, &element, &text), 0);  // it has no kind
    EXPECT_EQ(MOLTE_UTIL_FinSubStr(&pieces, &elements, &piece), 0);
    element.nType = MOLTE_WMCHAR_LITERAL;
    piece.nType = MOLTE_WMSUBSTR_FIXED;
    EXPECT_EQ(error_of(MOLTE_UTIL_FinWmChar(&elements, &element, &text)), "50 ocollate");
    text.nCount = 2;
    for (PA* none : {&text, static_cast<PA*>(nullptr)}) {  // no array of such items
        EXPECT_EQ(error_of(MOLTE_UTIL_FinWmChar(none, &element, &text)), "50 ocollate");
        EXPECT_EQ(error_of(MOLTE_UTIL_FinSubStr(none, &elements, &piece)), "50 ocollate");
    }
    EXPECT_EQ(error_of(MOLTE_UTIL_FinSubStr(&pieces, &text, &piece)), "50 ocollate");
    EXPECT_EQ(MOLTE_UTIL_FinWmChar(&elements, &element, &text), 1);
    EXPECT_EQ(element.nType + text.nCount, 0);
    element = {4, 0, 0, MOLTE_WMCHAR_ANY, nullptr};
    EXPECT_EQ(MOLTE_UTIL_FinWmChar(&elements, &element, &text), 1);
    for (const int32_t kind : {MOLTE_WMSUBSTR_ANY, MOLTE_WMSUBSTR_FIXED}) {
        piece.nType = kind;
        EXPECT_EQ(MOLTE_UTIL_FinSubStr(&pieces, &elements, &piece), 1);
    }
    EXPECT_EQ(bytes_of(piece), std::string(sizeof piece, '\0'));
    EXPECT_EQ(elements.nCount, 0);
    MOLTE_WMTEMPL templ = {pieces.nCount, static_cast<MOLTE_WMSUBSTR*>(pieces.pData)};
    EXPECT_EQ(described_template(templ), "*r(a2:xx)(?4:)");

    EXPECT_EQ(MOLTE_WMCHAR_Free(templ.pSubStr[1].pChar), 0);
    EXPECT_EQ(described_template(templ), "*r(a0:)(?4:)");
    EXPECT_EQ(MOLTE_WMSUBSTR_Free(templ.pSubStr + 1), 0);
    EXPECT_EQ(bytes_of(templ.pSubStr[1]), std::string(sizeof piece, '\0'));
    EXPECT_EQ(MOLTE_WMTEMPL_Free(&templ), 0);
    EXPECT_EQ(templ.nSubStr, 0);
    EXPECT_EQ(templ.pSubStr, nullptr);
    EXPECT_EQ(MOLTE_WMCHAR_Free(nullptr) + MOLTE_WMSUBSTR_Free(nullptr), 0);
    PA_Release(&text);
    PA_Release(&elements);
}

}  // namespace
