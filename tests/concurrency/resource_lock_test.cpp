#include "support/test.h"

namespace {

class ResourceLock : public testing::Test {
 protected:
    ~ResourceLock() override { MOLTE_RESLOCK_Release(&table_); }
    int32_t lock(MOLTE_RESLOCKID* id, uint64_t sid) {
        return MOLTE_RESLOCK_LockBySID(table_, id, 7, 1, sid, 0);
    }
    int32_t unlock(MOLTE_RESLOCKID* id) { return MOLTE_RESLOCK_Unlock(table_, id); }
    void make(MOLTE_RESLOCKCOMPARE compare, int32_t capacity, int32_t nodes) {
        MOLTE_RESLOCK_Release(&table_);
        table_ = MOLTE_RESLOCK_Init(compare, capacity, nodes);
    }
    // Capacity, nodes, those in use, and the most there were.
    [[nodiscard]] Ints counts() const {
        return {table_->nCapacity, table_->nNode, table_->nActive, table_->nPeakActive};
    }
    MOLTE_RESLOCK* table_ = MOLTE_RESLOCK_Init(nullptr, 5, 3);
};

TEST_F(ResourceLock, TablesGrowAsNeeded) {
    EXPECT_EQ(counts(), (Ints{16, 8, 0, 0}));
    make(nullptr, 5000, 5000);
    EXPECT_EQ(counts(), (Ints{1024, 1024, 0, 0}));
    make(nullptr, 16, 16);
    std::vector<MOLTE_RESLOCKID> ids(300);
    for (const int32_t count : {17, 300}) {
        const std::vector<MOLTE_RESLOCKID>::iterator end = ids.begin() + count;
        uint64_t sid = 0;
        for (auto id = ids.begin(); id != end; ++id) EXPECT_EQ(lock(&*id, sid += 0x9E3779B9), 1);
        for (int32_t i = 1; i < count; ++i) {
            EXPECT_LT(MOLTE_RESLOCKNODE_Cmp(&table_->ppNode[i - 1], &table_->ppNode[i]), 0);
        }
        std::shuffle(ids.begin(), end, std::mt19937(5));
        for (auto id = ids.begin(); id != end; ++id) EXPECT_EQ(unlock(&*id), 1);
        EXPECT_EQ(counts(), (Ints{16 + (count + 111) / 128 * 128, count, 0, count}));
    }
}

TEST_F(ResourceLock, OneThreadAtATimeIsInside) {
    for (const auto& compare : {MOLTE_RESLOCKCOMPARE{}, MOLTE_RESKEYSIDLOCKID_Cmp}) {
        make(compare, 16, 8);
        int counters[5] = {};  // each guarded by its lock alone
        in_threads(4, [&](int thread) {
            MOLTE_RESLOCKID id;
            MOLTE_RESLOCKID again;
            for (int n = 0; n < 5000; ++n) {
                const int which = (n * 31 + thread) % 5;
                ASSERT_EQ(lock(&id, static_cast<uint64_t>(which)), 1);
                ASSERT_EQ(lock(&again, static_cast<uint64_t>(which)), 1);
                ++counters[which];
                ASSERT_EQ(unlock(&again), 1);
                ASSERT_EQ(unlock(&again), 0);  // or the other lock would be lost
                ++counters[which];
                ASSERT_EQ(unlock(&id), 1);
            }
        });
        for (const int counter : counters) EXPECT_EQ(counter, 8000);
        EXPECT_EQ(table_->nActive, 0);
    }
}

TEST_F(ResourceLock, OnlyWhoHoldsItGivesItUp) {
    MOLTE_RESLOCKID id;
    lock(&id, 9);
    in_thread([&] { EXPECT_EQ(error_of(unlock(&id)), "101 oreslock"); }).join();
    MOLTE_RESLOCKID copy = id;
    EXPECT_EQ(unlock(&id), 1);
    EXPECT_EQ(error_of(unlock(&copy)), "101 oreslock");
    EXPECT_EQ(unlock(&copy), 0);
}

TEST_F(ResourceLock, Identifiers) {
    MOLTE_RESLOCKID id;
    std::memset(&id, 0xEE, sizeof id);
    const std::string untouched = bytes_of(id);
    EXPECT_EQ(error_of(MOLTE_RESLOCKID_PackByKey(&id, 1, 2, "key", -1)), "50 oreslock");
    EXPECT_EQ(error_of(MOLTE_RESLOCK_LockByKey(table_, &id, 1, 2, "key", 37, 0)), "50 oreslock");
    EXPECT_EQ(bytes_of(id), untouched);
    MOLTE_RESLOCKID_PackBySID(&id, 0x10203, 0x405, 0x060708090A0B0C0DU);
    EXPECT_EQ(bytes_of(id), "\2\3\4\5\6\7\10\11\12\13\14\15"s + std::string(36, '\xEE') + "\14" +
                                std::string(15, '\xEE'));
    EXPECT_EQ(MOLTE_RESLOCK_LockByKey(table_, &id, 1, -1, "a key", 5, 0), 1);
    EXPECT_EQ(bytes_of(id), "\0\1\xFF\xFF\0\0\0\0\0\0\0\0a key"s + std::string(31, '\0') +
                                "\21\1"s + std::string(14, '\0'));
    EXPECT_EQ(MOLTE_RESLOCKNODE_Find(table_->ppNode, 1, &id), 0);
    EXPECT_EQ(MOLTE_RESLOCKNODE_FindInsPos(table_->ppNode, 1, &id), 1);
    EXPECT_EQ(error_of(MOLTE_RESLOCKNODE_Find(table_->ppNode, 1, nullptr)), "50 oreslock");
    MOLTE_RESLOCKID other = id;
    other.nLen = 200;  // by default no part of it
    EXPECT_EQ(MOLTE_RESLOCKNODE_Find(table_->ppNode, 1, &other), 0);
    EXPECT_GT(MOLTE_RESKEYSIDLOCKID_Cmp(&other, &id), 0);
    id.nLen = 200;  // not so much is there to compare
    EXPECT_EQ(MOLTE_RESKEYSIDLOCKID_Cmp(&other, &id), 0);
    EXPECT_EQ(unlock(&id), 1);
    EXPECT_EQ(MOLTE_RESLOCK_LockByKey(table_, &id, 1, -1, id.szKey + 2, 3, 0), 1);
    EXPECT_EQ(bytes_of(id).substr(12, 36), "key"s + std::string(33, '\0'));
    EXPECT_EQ(unlock(&id), 1);
}

}  // namespace
