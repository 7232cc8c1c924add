#include "support/test.h"

namespace {

class ListLock : public testing::Test {
 protected:
    ~ListLock() override {
        ORVEX_LOCK_ListLockFree();
        ORVEX_LOCK_SetListLockCnt(0, 32);
    }
    ORVEX_LISTLOCKHANDLE handles_[40] = {};

    // Each word is a call with a handle of these: "2=name" locks, "2-" unlocks. Gives the slots of
    // the locks and a "." for each that was left, or the error.
    std::string play(const std::string& calls) {
        std::istringstream words(calls);
        std::string told_all;
        for (std::string word; words >> word;) {
            size_t behind = 0;
            ORVEX_LISTLOCKHANDLE& handle = handles_[std::stoi(word, &behind)];
            const std::string name = word.substr(behind + 1);
            const bool locks = word[behind] == '=';
            const int32_t result = locks ? ORVEX_LOCK_LockItem(&handle, 1, 2, 3, name.c_str())
                                         : ORVEX_LOCK_UnLockItem(&handle);
            told_all += result != 1 ? taken_error() : locks ? std::to_string(handle.nIndex) : ".";
            told_all += " ";
        }
        return told_all;
    }
};

TEST_F(ListLock, TheTableHasAsManySlotsAsWereSetBefore) {
    for (const auto& [set, got] : {std::pair{5000, 2048}, {5, 5}, {-3, -3}}) {
        EXPECT_EQ(ORVEX_LOCK_SetListLockCnt(0, set), 1);
        EXPECT_EQ(ORVEX_LOCK_GetListLockCnt(), got);
    }
    EXPECT_EQ(error_number_of(ORVEX_LOCK_LockItem(&handles_[0], 0, 0, 0, "a")), 20U);
    EXPECT_NE(history_of_this_thread().find("114 orvexlck"), std::string::npos);
    EXPECT_EQ(ORVEX_LOCK_ListLockFree(), 0);
    ORVEX_LOCK_SetListLockCnt(0, 0);
    EXPECT_EQ(play("0=a"), "3502 orvexlck ");
    ORVEX_LOCK_SetListLockCnt(0, 2);
    EXPECT_EQ(play("0=a"), "3502 orvexlck ");  // it stands
    EXPECT_EQ(ORVEX_LOCK_ListLockFree(), 1);
    EXPECT_EQ(play("0=a 1=b 2=c 2=b 2- 1- 2=c"), "0 1 3502 orvexlck 1 . . 1 ");
}

TEST_F(ListLock, ANameHasASlotWhileItIsWanted) {
    EXPECT_EQ(play("0=a 1=b 2=c 0- 3=A"), "0 1 2 . 0 ");
    EXPECT_EQ(play("2- 4=d 5=d 4- 4=e"), ". 2 2 . 3 ");
    EXPECT_EQ(play("1- 3- 4- 0=x"), ". . . 1 ");  // of the free slots the last within the mark
    EXPECT_EQ(handles_[0].pList->nUsed, 3);       // which falls by one, for the highest slot alone
    EXPECT_EQ(play("5- 0-"), ". . ");
    EXPECT_EQ(handles_[0].pList->nUsed, 1);
    for (int i = 0; i < 32; ++i) play(std::to_string(i) + "=n" + std::to_string(i));
    EXPECT_EQ(play("32=more 32=n7"), "3502 orvexlck " + std::to_string(handles_[7].nIndex) + " ");
}

TEST_F(ListLock, BadCallsAreErrors) {
    EXPECT_EQ(play("0-"), "3501 orvexlck ");
    const std::string longest(263, 'x');
    const std::string nulls = "3503 orvexlck Function parameters have null values";
    EXPECT_EQ(error_of(ORVEX_LOCK_LockItem(nullptr, 0, 0, 0, "a")), nulls);
    EXPECT_EQ(error_of(ORVEX_LOCK_LockItem(&handles_[0], 0, 0, 0, nullptr)), nulls);
    EXPECT_EQ(play("0=x" + longest + " 0=" + longest + " 1=other"), "50 orvexlck 0 1 ");
    ORVEX_LISTLOCK* const table = handles_[0].pList;
    for (ORVEX_LISTLOCKHANDLE foreign : std::initializer_list<ORVEX_LISTLOCKHANDLE>{
             {nullptr, 0}, {table, -1}, {table, 32}, {table, 2}}) {
        EXPECT_EQ(error_of(ORVEX_LOCK_UnLockItem(&foreign)), "3504 orvexlck");
    }
    EXPECT_EQ(error_of(ORVEX_LOCK_UnLockItem(nullptr)), "3504 orvexlck");
    in_thread([&] {
        EXPECT_EQ(play("1-"), "3504 orvexlck ");  // another thread's
    }).join();
    EXPECT_EQ(play("1- 0- 0-"), ". . 3504 orvexlck ");
}

// At the very first use, too.
TEST_F(ListLock, OneThreadAtATimeHasAName) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 3000;
    int counts[3] = {};
    std::set<ORVEX_LISTLOCK*> tables;
    in_threads(kThreads, [&](int t) {
        for (int i = 0; i < kRounds; ++i) {
            const int n = (i + t) % 3;
            ORVEX_LISTLOCKHANDLE& handle = handles_[t];
            if (ORVEX_LOCK_LockItem(&handle, 0, 0, 0, &"ccc"[n]) != 1) continue;
            ++counts[n];
            if (n == 0) tables.insert(handle.pList);
            ORVEX_LOCK_UnLockItem(&handle);
        }
    });
    EXPECT_EQ(counts[0] + counts[1] + counts[2], kThreads * kRounds);
    ASSERT_EQ(tables.size(), 1U);
    EXPECT_LE((*tables.begin())->nUsed, 2);  // free ones below the last stay within the mark
}

}  // namespace
