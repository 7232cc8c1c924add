// Bit arrays, stacks, linked lists, block edits and streams.
#include "support/scenes.h"

namespace {

TEST(BitArray, BitZeroIsTheHighestOfTheFirstByte) {
    uint8_t bits[3] = {};
    uint8_t mask = 0;
    EXPECT_EQ(OX_BITARRAY_GetBitByteAndMask(bits, 10, &mask), bits + 1);
    EXPECT_EQ(mask, 0x20);
    OX_BITARRAY_SetBitFlag(bits, 0);
    OX_BITARRAY_SetBitFlag(bits, 15);
    OX_BITARRAY_SetClearBitFlag(bits, 16, 0);  // zero sets
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bits), 3), "\x80\x01\x80");
    OX_BITARRAY_SetClearBitFlag(bits, 16, 1);
    OX_BITARRAY_ClearBitFlag(bits, 0);
    EXPECT_EQ(OX_BITARRAY_IsBitFlagSet(bits, 15) - OX_BITARRAY_IsBitFlagSet(bits, 0), 1);
    uint8_t* made = OX_BITARRAY_Alloc(17);
    EXPECT_EQ(std::memcmp(made, "\0\0\0", 3), 0);
    ORVEX_free(made);
    EXPECT_EQ(error_of(OX_BITARRAY_Alloc(-1)), "50 oxdatcnv");
}

TEST(BitArray, RangesAgreeWithSingleBits) {
    for (int32_t start = 0; start < 20; ++start) {
        for (int32_t n = -1; n < 30; ++n) {
            std::array<uint8_t, 7> expected{};
            for (int32_t i = 0; i < n; ++i) OX_BITARRAY_SetBitFlag(expected.data(), start + i);
            std::array<uint8_t, 7> bits{};
            OX_BITARRAY_SetBitArray(bits.data(), start, n);
            ASSERT_EQ(bits, expected) << start << ' ' << n;
            bits.fill(0xFF);
            OX_BITARRAY_ClearBitArray(bits.data(), start, n);
            for (uint8_t& byte : bits) byte = static_cast<uint8_t>(~byte);
            ASSERT_EQ(bits, expected) << start << ' ' << n;
        }
    }
}

struct Record {
    ODBLINK_NODE link;
    int32_t value;
};

std::string order(ODBLINK_LIST& list) {
    std::string text;
    const ODBLINK_NODE* previous = nullptr;
    for (ODBLINK_NODE* node = list.pHead; node != nullptr; node = node->pNext) {
        EXPECT_EQ(node->pPrev, previous);
        previous = node;
        text += static_cast<char>('0' + reinterpret_cast<Record*>(node)->value);
    }
    EXPECT_EQ(list.pTail, previous);
    return text;
}

int32_t visit_until_two(ODBLINK_LIST* list, ODBLINK_NODE* node, int32_t* go_on) {
    const int32_t value = reinterpret_cast<Record*>(node)->value;
    *go_on = value == 2 ? 0 : 1;
    if (value == 1) ODBLINK_RemoveNode(list, node);
    return value * 10;
}

TEST(LinkedList, LinksUnlinksAndWalks) {
    ODBLINK_LIST list;
    EXPECT_EQ(ODBLINK_Init(&list), 0);
    EXPECT_EQ(ODBLINK_Traverse(&list, visit_until_two), 0);
    Record r[4] = {{{}, 0}, {{}, 1}, {{}, 2}, {{}, 3}};
    for (auto& record : r) ODBLINK_AddNode(&list, &record.link);
    EXPECT_EQ(order(list), "0123");
    for (int i = 0; i < 2; ++i) {  // the last one stays
        ODBLINK_MoveToTail(&list, &r[0].link);
        EXPECT_EQ(order(list), "1230");
    }
    ODBLINK_RemoveNode(&list, &r[2].link);
    EXPECT_EQ(order(list), "130");
    EXPECT_EQ(r[2].link.pNext, &r[3].link);  // its own links stay
    EXPECT_EQ(ODBLINK_IsNodeExist(&list, &r[0].link), 1);
    EXPECT_EQ(ODBLINK_IsNodeExist(&list, &r[2].link), 0);
    ODBLINK_AddNode(&list, &r[2].link);
    EXPECT_EQ(ODBLINK_Traverse(&list, visit_until_two), 20);
    EXPECT_EQ(order(list), "302");
    // Release frees all, one after the other.
    EXPECT_EQ(ODBLINK_Release(
                  &list, [](ODBLINK_NODE* node) { reinterpret_cast<Record*>(node)->value = -1; }),
              1);
    EXPECT_EQ((Ints{r[0].value, r[1].value, r[2].value, r[3].value}), (Ints{-1, 1, -1, -1}));
    EXPECT_EQ(order(list), "");
}

using Container = InFolder;

uint8_t* stream = nullptr;

[[maybe_unused]] const bool plays =
    play_scenes<Container>("Container", TEST_ROWS,
                           {{"make_stack", step_of<MOLTE_STACK_Init>},
                            {"release_stack", step_of<MOLTE_STACK_Release>},
                            {"is_made", step_of<[](MOLTE_STACK* stack) { return stack->bInited; }>},
                            {"is_empty", step_of<MOLTE_STACK_IsEmpty>},
                            {"push", step_of<MOLTE_STACK_Push>},
                            {"pop", step_of<MOLTE_STACK_Pop>},
                            {"top", step_of<MOLTE_STACK_GetTop>},
                            {"below", step_of<MOLTE_STACK_GetDeepTop>},
                            {"bytes_for_bits", step_of<OX_BITARRAY_GetByteCount>},
                            {"remove_of_none", step_of<MOLTE_MemDelAndMove>},
                            {"remove", step_of<[](int32_t at, int32_t n) {
                                 char buffer[] = "abcdef";
                                 const int32_t result = MOLTE_MemDelAndMove(buffer, 6, at, n);
                                 return outcome(result) + " > " + std::string(buffer, 6);
                             }>},
                            {"insert", step_of<[](int32_t size, Text text, int32_t at, int32_t n) {
                                 char buffer[10] = "abcdef";
                                 const int32_t result = MOLTE_MemInsert(buffer, size, text, at, n);
                                 return outcome(result) + " > " + buffer;
                             }>},
                            {"remove_entries", step_of<MOLTE_EntryDelAndMove>},
                            {"insert_entries", step_of<MOLTE_EntryInsert>},
                            {"put", step_of<[](int32_t* room, int32_t* at, Text text, int32_t n) {
                                 return MOLTE_MEMOP_AddToStream(&stream, room, at, text, n);
                             }>},
                            {"take", step_of<[](int32_t length, int32_t* at, char* out, int32_t n) {
                                 return MOLTE_MEMOP_GetFromStream(stream, length, at, out, n);
                             }>},
                            {"free_stream", step_of<[] {
                                 ORVEX_free(std::exchange(stream, nullptr));
                                 return 1;
                             }>}},
                           true);

}  // namespace
