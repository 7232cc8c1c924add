#include <future>

#include "support/test.h"

namespace {

struct List {
    MOLTE_THREADLIST list;
    List() { MOLTE_THREADLIST_Init(&list); }
    ~List() { MOLTE_THREADLIST_Release(&list); }
};

TEST(ThreadList, OneNodeForEachThread) {
    List owner;
    MOLTE_THREADLIST& list = owner.list;
    EXPECT_EQ(MOLTE_THREADLIST_Remove(&list), 0);
    MOLTE_THREADLIST not_made{};
    EXPECT_EQ(MOLTE_THREADLIST_Add(&not_made, "file", 1), nullptr);
    MOLTE_THREADLISTNODE* node = MOLTE_THREADLIST_Add(&list, "long_source_name.cpp", 42);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(MOLTE_THREADLIST_Add(&list, "other", 43), node);
    EXPECT_EQ(node->nThreadId, ORVEX_THREAD_GetCurID());
    EXPECT_EQ(node->stTrace.nCount, 1);
    EXPECT_EQ(node->stTrace.pEnt[0].nLine, 42);
    EXPECT_EQ(MOLTE_THREADLIST_Remove(&list), 1);
    EXPECT_EQ(list.pHead, list.pTail);
    node = MOLTE_THREADLIST_Add(&list, "again", 44);  // a new one, for the old one is freed
    EXPECT_EQ(node, list.pHead);
    EXPECT_EQ(node->stTrace.pEnt[0].nLine, 44);
    EXPECT_EQ(MOLTE_THREADLIST_Remove(&list), 1);
}

// The identifiers in the list, read both ways.
std::vector<uint32_t> ids(const MOLTE_THREADLIST& list) {
    std::vector<uint32_t> all;
    const MOLTE_THREADLISTNODE* previous = nullptr;
    for (const auto* node = list.pHead; node != nullptr; node = node->pNext) {
        EXPECT_EQ(node->pPrev, previous);
        previous = node;
        all.push_back(node->nThreadId);
    }
    EXPECT_EQ(list.pTail, previous);
    return all;
}

TEST(ThreadList, ThreadsComeAndGoInAnyOrder) {
    List owner;
    std::thread threads[3];
    std::promise<void> added[3];
    std::promise<void> leave[3];
    for (size_t i = 0; i < 3; ++i) {
        threads[i] = in_thread([&owner, &added = added[i], &leave = leave[i]] {
            MOLTE_THREADLIST_Add(&owner.list, "visitor", 1);
            added.set_value();
            leave.get_future().wait();
            MOLTE_THREADLIST_Remove(&owner.list);
        });
        added[i].get_future().wait();
    }
    const std::vector<uint32_t> all = ids(owner.list);
    std::vector<uint32_t> there = all;
    ASSERT_EQ(all.size(), 3U);
    for (const size_t i : {1U, 0U, 2U}) {
        leave[i].set_value();
        threads[i].join();
        std::erase(there, all[i]);
        EXPECT_EQ(ids(owner.list), there);
    }
}

}  // namespace
