// Bit arrays, stacks, linked lists, block edits and streams.
#include "support/called.h"

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

TEST(Stack, LastInFirstOut) {
    MOLTE_STACK stack{};
    EXPECT_EQ(MOLTE_STACK_Release(&stack), 0);
    ASSERT_EQ(MOLTE_STACK_Init(&stack, 4), 1);
    int32_t v = 0;
    EXPECT_EQ(MOLTE_STACK_IsEmpty(&stack), 1);
    ORVEX_Err_ClearError();
    EXPECT_EQ(MOLTE_STACK_GetTop(&stack, &v), -1);
    EXPECT_EQ(MOLTE_STACK_Pop(&stack, &v), -1);
    EXPECT_EQ(history_of_this_thread(), "2502 oxsysutl, 2486 oxsysutl");
    for (int32_t i = 1; i <= 40; ++i) MOLTE_STACK_Push(&stack, &i);
    EXPECT_EQ(MOLTE_STACK_GetDeepTop(&stack, 39, &v), 1);
    EXPECT_EQ(v, 1);
    EXPECT_EQ(error_of(MOLTE_STACK_GetDeepTop(&stack, 40, &v)), "271 oxsysutl idx=40 max=40");
    for (int32_t depth : {-1, -40, INT32_MIN}) {
        EXPECT_EQ(error_number_of(MOLTE_STACK_GetDeepTop(&stack, depth, &v)), 417U);
        EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
        EXPECT_EQ(MOLTE_STACK_GetDeepTop(&stack, depth, nullptr), 1);
    }
    int32_t top = 0;
    EXPECT_EQ(MOLTE_STACK_Pop(&stack, nullptr), 1);
    EXPECT_EQ(MOLTE_STACK_Pop(&stack, &v), 1);
    EXPECT_EQ(MOLTE_STACK_GetTop(&stack, &top), 1);
    EXPECT_EQ((Ints{v, top}), (Ints{39, 38}));
    EXPECT_EQ(MOLTE_STACK_Release(&stack), 1);
    EXPECT_EQ(stack.bInited, 0);
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

std::string block_without(const Texts& row) {
    char buffer[] = "abcdef";
    const int32_t result = MOLTE_MemDelAndMove(buffer, 6, std::stoi(row[0]), std::stoi(row[1]));
    return std::to_string(result) + " " + std::string(buffer, 6) + taken_error();
}
std::string block_with(const Texts& row) {
    char buffer[10] = "abcdef";
    const int32_t result = MOLTE_MemInsert(buffer, std::stoi(row[0]), text_or_null(row[1]),
                                           std::stoi(row[2]), std::stoi(row[3]));
    return std::to_string(result) + " " + buffer + taken_error();
}

TEST(MemoryEdit, Rows) {
    ORVEX_Err_ClearError();
    check_rows(TEST_ROWS, {{"bytes for bits", called<OX_BITARRAY_GetByteCount>},
                           {"remove", block_without},
                           {"insert", block_with}});
    EXPECT_EQ(error_of(MOLTE_MemDelAndMove(nullptr, 6, 0, 1)), "434 oxsysutl");
    uint16_t entries[] = {1, 2, 3, 4};
    EXPECT_EQ(MOLTE_EntryDelAndMove(entries, 4, 1, 2, 2), 2);
    EXPECT_EQ(entries[1] * 10 + entries[2], 40);
    const uint16_t more[] = {8, 9};
    EXPECT_EQ(MOLTE_EntryInsert(entries, 2, more, 1, 2, 2), 4);
    EXPECT_EQ(std::to_array(entries), std::to_array<uint16_t>({1, 8, 9, 4}));
}

TEST(Stream, WritesInStepsOf1024AndReadsBack) {
    uint8_t* buffer = nullptr;
    int32_t capacity = 0;
    int32_t pos = 0;
    const std::string block(1000, 'b');
    for (const auto& [n, result, room] :
         {tuple(1000, 1000, 1024), {25, 1025, 2048}, {-1, -1, 2048}, {INT32_MAX, -1, 2048}}) {
        EXPECT_EQ(MOLTE_MEMOP_AddToStream(&buffer, &capacity, &pos, block.data(), n), result);
        EXPECT_EQ(capacity, room);
    }
    EXPECT_EQ(pos, 1025);
    int32_t at = 1000;
    char out[30];
    EXPECT_EQ(MOLTE_MEMOP_GetFromStream(buffer, pos, &at, out, 25), 1025);
    EXPECT_EQ(std::string(out, 25), std::string(25, 'b'));
    EXPECT_EQ(error_of(MOLTE_MEMOP_GetFromStream(buffer, pos, &at, out, 1)),
              "272 oxsysutl buflen=1025 curpos=1025 read=1");
    EXPECT_EQ(MOLTE_MEMOP_GetFromStream(buffer, pos, &at, out, INT32_MAX), -1);
    EXPECT_EQ(at, 1025);
    ORVEX_free(buffer);
}

}  // namespace
