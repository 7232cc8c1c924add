#include <cstring>
#include <cwchar>

#include "faults.h"

namespace {

int compare_numbers(const void* a, const void* b) {
    return *static_cast<const int32_t*>(a) - *static_cast<const int32_t*>(b);
}

uint64_t count_of(const OX_IDRANGEARRAY& array) {
    return OX_IDRANGE_GetAllCount(array.pRange, array.nCount);
}

constexpr char kOldKeys[] = "apple\npear\n";
constexpr char kNewKeys[] = "fig\nkiwi\nlemon\n";
constexpr char kOldSids[] = "7\n";
constexpr char kNewSids[] = "70\n5\n600\n";
constexpr char kKeys[3][MOLTE_KEY_SLOT] = {"fig", "kiwi", "lemon"};
constexpr uint64_t kSids[] = {70, 5, 600};

}  // namespace

// ---- Containers ----

FAMILY(array) {
    PA array{};
    PA copy{};
    int64_t count = 0;
    if (!DID(PA_Init(&array, 8, 4))) return;
    while (count < 100 && DID(PA_Append(&array, &count))) ++count;
    RIGHT(array.nCount == count && PA_Lookup(&array, &count) < 0);
    GIVES(PA_Duplicate(&array, &copy), copy.nCount == count);
    GIVES(PA_InsertAt(&array, 0, &count), PA_Lookup(&array, &count) == 0);
    PA_Release(&copy);
    PA_Release(&array);
}

FAMILY(stack) {
    MOLTE_STACK stack{};
    int32_t count = 0;
    int32_t top = 0;
    if (!DID(MOLTE_STACK_Init(&stack, sizeof count))) return;
    while (count < 50 && DID(MOLTE_STACK_Push(&stack, &count))) ++count;
    RIGHT(count == 0 || (MOLTE_STACK_GetTop(&stack, &top) == 1 && top == count - 1));
    MOLTE_STACK_Release(&stack);
}

FAMILY(linked_list) {
    ODBLINK_LIST list{};
    ODBLINK_NODE nodes[2];
    for (ODBLINK_NODE& node : nodes) RIGHT(DID(ODBLINK_AddNode(&list, &node)));
    GIVES(ODBLINK_MoveToTail(&list, &nodes[0]), list.pHead == &nodes[1]);
}

FAMILY(bit_array) {
    Freed<uint8_t> bits;
    GIVES(bits.block = OX_BITARRAY_Alloc(1000), OX_BITARRAY_IsBitFlagSet(bits.block, 999) == 0);
}

FAMILY(sorted_array) {
    int32_t a[] = {5, 1, 3, 3};
    int32_t b[] = {3, 9};
    void* parts[3] = {};
    int32_t counts[3] = {};
    const bool split = DID(MOLTE_KeyDiff(a, 4, b, 2, &parts[0], &counts[0], &parts[1], &counts[1],
                                         &parts[2], &counts[2], compare_numbers, 4));
    RIGHT(counts[0] == (split ? 2 : 0) && (parts[2] != nullptr) == split);
    for (void* part : parts) ORVEX_free(part);
    int32_t many[200];
    for (int32_t i = 0; i < 200; ++i) many[i] = (i * 37) % 200;
    FAULTY((MOLTE_qsort(many, 200, 4, compare_numbers), 1));
    for (int32_t i = 0; i < 200; ++i) RIGHT(many[i] == i);
    PA array{};
    PA_Init(&array, 4, 100);
    PA_Append(&array, &many[7]);
    RIGHT(*static_cast<int32_t*>(FAULTY(MOLTE_UTIL_DupData(&array))) == 7);
    PA_Release(&array);
}

FAMILY(group_sort) {
    int32_t numbers[2000];
    for (const int32_t keys : {8, 2000}) {  // few enough, and too many
        for (int32_t i = 0; i < 2000; ++i) numbers[i] = (i * 37) % keys;
        FAULTY((MOLTE_GroupSort(numbers, 2000, 4, compare_numbers), 1));
        for (int32_t i = 0; i < 2000; ++i) RIGHT(numbers[i] == i * keys / 2000);
    }
}

FAMILY(memory_edit) {
    Freed<uint8_t> stream;
    int32_t capacity = 0;
    int32_t at = 0;
    const std::string text(700, 'x');
    for (int32_t end = 700; end <= 2100; end += 700) {
        if (!DID(MOLTE_MEMOP_AddToStream(&stream.block, &capacity, &at, text.data(), 700))) break;
        RIGHT(at == end && stream.block[end - 1] == 'x');
    }
}

FAMILY(id_range) {
    OX_IDRANGEARRAY ready{};
    OX_IDRANGEARRAY working{};
    OX_IDRANGEARRAY copy{};
    OX_NETIDRANGEARRAY net{};
    const OX_IDRANGE all{10, 1000};
    const OX_IDRANGE hole{100, 200};
    OX_IDRANGE part{};
    if (!DID(OX_IDRANGEARRAY_AddRange(&ready, &all, 1, 0))) return;
    const bool cut = DID(OX_IDRANGEARRAY_RemoveRange(&ready, &hole, 1));
    RIGHT(count_of(ready) == (cut ? 890U : 990U));
    if (DID(OX_IDRANGEARRAY_GetReadySeg(&ready, &working, &part, 50))) {
        RIGHT(part.nEnd == 60 && count_of(working) == 50);
        GIVES(OX_IDRANGEARRAY_AbortWorkSeg(&ready, &working, &part), count_of(working) == 0);
    }
    RIGHT(count_of(ready) + count_of(working) >= (cut ? 890U : 990U));
    GIVES(OX_IDRANGEARRAY_ToNET(&ready, &net), net.nCount == ready.nCount);
    GIVES(OX_IDRANGEARRAY_Dup(&ready, &copy), count_of(copy) == count_of(ready));
    OX_NETIDRANGEARRAY_Release(&net);
    for (OX_IDRANGEARRAY* array : {&copy, &working, &ready}) OX_IDRANGEARRAY_Release(array);
}

FAMILY(item_package) {
    MOLTE_ITEMPKG_OPS package;
    MOLTE_ITEMHEAD* first = nullptr;
    Freed<MOLTE_ITEMHEAD> heads;
    const std::string text(700, 'x');
    int32_t count = 0;
    if (!DID(MOLTE_ITEMPKG_New(&package, 0))) return RIGHT(package.pData == nullptr);
    while (count < 30 && DID(MOLTE_ITEMPKG_AddItemEx(&package, "x", 1, text.data(), 700))) ++count;
    if (MOLTE_ITEMPKG_GetItem(&package, "x", &first) == 1) {
        FAULTY(MOLTE_ITEMPKG_UpdateItem(&package, first));  // it is the last then, or the first
    }
    RIGHT(package.nUsed == 64 + 748 * count && MOLTE_ITEMPKG_IsValidHead(&package) == 1);
    GIVES(MOLTE_ITEMPKG_GetItemDir(&package, &heads.block),
          (heads.block != nullptr) == (count > 0));
    MOLTE_ITEMPKG_Free(&package);
}

FAMILY(line_buffer) {
    bring_up();
    OLINEBUF buffer;
    char text[16];
    uint64_t next = 0;
    if (DID(OLINEBUF_Init(&buffer, "lines", 65536))) {
        RIGHT(DID(OLINEBUF_AddMultiLine(&buffer, "one\ntwo")));
        RIGHT(OLINEBUF_GetMultiLine(&buffer, text, sizeof text, &next) == 7 && next == 2);
        OLINEBUF_Release(&buffer);
    }
    GIVES(MOLTE_UTIL_AddMemTextHook("list", 65536, OXMSG_TO_OUTER, 1),
          MOLTE_UTIL_GetTxtInfo("list", text, sizeof text, &next) == 0);
}

// ---- Lists of keys ----

FAMILY(key_list) {
    const char* const path = given("keys", kOldKeys);
    const char* const sids = given("sids", kOldSids);
    Freed<char> keys;
    Freed<char> both;
    int32_t count = 0;
    if (DID(count = MOLTE_LoadKeyList(path, &keys.block))) {
        RIGHT_OR("when memory is out the keys read until then are the list", count == 2);
        RIGHT(count == 2 || this_run->watch.plan.fault == Fault::memory);
        RIGHT(count < 1 || equal(keys.block, "apple"));
    }
    char slots[3][MOLTE_KEY_SLOT];
    std::memcpy(slots, kKeys, sizeof slots);
    GIVES(MOLTE_KeyListUnion(keys.block, count, slots[0], 3, &both.block),
          equal(both.block, "fig"));
    GIVES(MOLTE_SaveKeyList(path, kKeys[0], 3), bytes_of("keys") == kNewKeys);
    GIVES(MOLTE_SaveSIDList(sids, kSids, 3), bytes_of("sids") == kNewSids);
}
AFTER(key_list) {
    STORED("keys", kOldKeys, kNewKeys);
    STORED("sids", kOldSids, kNewSids);
    RIGHT(MOLTE_SaveKeyList(in_folder("keys"), kKeys[0], 3) == 3);
}

// ---- Text, numbers, dates ----

FAMILY(text) {
    Freed<char> copy;
    char text[2000];
    wchar_t wide[2000];
    GIVES(copy.block = ox_strdup("a copy"), equal(copy.block, "a copy"));
    GIVES(ox_snprintf(text, sizeof text, "%1500d|%s|%.3f", 7, "x", 2.5),
          equal(text + 1499, "7|x|2.500"));
    GIVES(ox_snprintfW(wide, 2000, L"%1500d|%s", 7, L"x"), std::wcscmp(wide + 1499, L"7|x") == 0);
}

FAMILY(text_convert) {
    OXLANG_SetLocale(OXLANG_CHINESE);
    Freed<wchar_t> wide;
    Freed<char> narrow;
    GIVES(wide.block = ox_mbstowcs("a\xB0\xA1"), std::wcscmp(wide.block, L"a\u554A") == 0);
    GIVES(narrow.block = ox_wcstombs(L"a\u554A"), equal(narrow.block, "a\xB0\xA1"));
}

FAMILY(utf8_text) {
    Freed<char> text;
    Freed<char> back;
    GIVES(text.block = MOLTELIB_CodePageFromUtf8("a\xE5\x95\x8A", 936),
          equal(text.block, "a\xB0\xA1"));
    GIVES(back.block = MOLTELIB_Utf8FromCodePage("\xB0\xA1", 936),
          equal(back.block, "\xE5\x95\x8A"));
}

FAMILY(text_edit) {
    char text[64] = "text;:;:";
    const std::string set = std::string(200, ':') + ";";
    GIVES(MOLTE_STR_RightStrTrim(text, set.c_str()), equal(text, "text"));
    GIVES(MOLTE_STR_ReplaceSubStr("one two", "ONE", "1", text, sizeof text), equal(text, "1 two"));
}

FAMILY(text_object) {
    OXSTR_STROBJ object;
    if (!DID(OXSTR_STROBJ_Init(&object, 0))) return;
    int32_t lines = 0;
    while (lines < 30 && DID(OXSTR_STROBJ_Printf(&object, "%500d\n", lines))) ++lines;
    RIGHT(object.nLen == lines * 501);
    OXSTR_STROBJ_Free(&object);
}

FAMILY(text_search) {
    OXSTR_REGOBJ search{};
    search.bAllMatches = 1;
    search.pszPattern = "ab";
    OXSTR_MATCHLIST found{};
    found.bCanGrow = 1;
    std::string text;
    for (int32_t i = 0; i < 100; ++i) text += "ab-";
    GIVES(MOLTE_STR_REG_Find(text.c_str(), &search, &found), found.pMatch[99].nStart == 297);
    ORVEX_free(found.pMatch);
    OXSTR_STROBJ object;
    OXSTR_STROBJ_Init(&object, 0);
    OXSTR_STROBJ_Append(&object, text.data(), 300);
    const std::string longer(60, 'x');
    GIVES(MOLTE_STR_REG_Replace(&object, &search, longer.c_str()), object.nLen == 6100);
    OXSTR_STROBJ_Free(&object);
}

FAMILY(text_split) {
    static constexpr char kNullItems[] =
        "when memory runs out later the array comes back with its count";
    int32_t count = 0;
    Freed<char*> words;
    GIVES(words.block = OXSTR_CmdStr2Arg("program \"two words\" last", &count),
          count == 3 && equal(words.block[1], "two words"));
    if (words.block != nullptr) ORVEX_free(words.block[0]);
    Freed<char*> items;
    count = 0;
    if (DID(items.block = ox_strsplit("one,two,three", ",", &count))) {
        RIGHT_OR(kNullItems, count == 3);
    }
    for (int32_t i = 0; i < count; ++i) {
        RIGHT_OR(kNullItems, items.block[i] != nullptr);
        ORVEX_free(items.block[i]);
    }
}

FAMILY(utf8) {
    char out[8];
    GIVES(IntToUTF8Char(0x554A, out), UTF8CharToInt(out, nullptr) == 0x554A);
}

FAMILY(byte_field) {
    uint8_t field[8];
    FAULTY((uint8ToChar8(0x0102030405060708, field), 1));
    RIGHT(FAULTY(Char8To_uint8(field)) == 0x0102030405060708);
}

FAMILY(number_text) {
    MOLTE_THDATA_FreeData();
    wchar_t wide[24] = L"";
    arm();
    const char* const text = MOLTE_i64toa(-5, nullptr);
    MOLTE_i64tow(-5, wide);
    disarm();
    RIGHT(equal(text, "-5"));
    RIGHT_OR("it is the error record that is missing", std::wcscmp(wide, L"-5") == 0);
}

FAMILY(date_time) {
    ORVEXDATETIME moment;
    char text[32];
    GIVES(FormatDateTime(1000000000, &moment), ORVEX_IsEmptyDateTime(&moment) == 0);
    GIVES(ORVEX_TimeIntToStr(1000000000, text), std::strchr(text, ':') != nullptr);
}
