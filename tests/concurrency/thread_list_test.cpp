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
    EXPECT_STREQ(node->stTrace.pEnt[0].szFile, "ce_name.cpp");
    EXPECT_EQ(node->stTrace.pEnt[0].nLine, 42);
    EXPECT_EQ(list.pHead, node);
    EXPECT_EQ(list.pTail, node);
    EXPECT_EQ(MOLTE_THREADLIST_Remove(&list), 1);
    EXPECT_EQ(list.pHead, nullptr);
    EXPECT_EQ(list.pTail, nullptr);
    MOLTE_THDATA_GetData()->pCallTrace = nullptr;  // the node is gone
}

struct Visit {
    MOLTE_THREADLIST* list;
    OXHANDLE added;
    OXHANDLE leave;
};

uint32_t stay_in_the_list(void* context) {
    auto* visit = static_cast<Visit*>(context);
    MOLTE_THREADLIST_Add(visit->list, "visitor", 1);
    ORVEX_EVENT_Set(visit->added);
    ORVEX_EVENT_Wait(visit->leave);
    MOLTE_THREADLIST_Remove(visit->list);
    MOLTE_THDATA_GetData()->pCallTrace = nullptr;
    MOLTE_THDATA_FreeData();
    return 0;
}

TEST(ThreadList, ThreadsComeAndGoInAnyOrder) {
    List owner;
    Visit visits[3];
    OXHANDLE threads[3];
    for (int i = 0; i < 3; ++i) {
        visits[i] = {&owner.list, ORVEX_EVENT_Create(nullptr), ORVEX_EVENT_Create(nullptr)};
        ORVEX_CreateThread(&threads[i], 0, stay_in_the_list, &visits[i], 0, nullptr);
        ASSERT_EQ(ORVEX_EVENT_TimeWait(visits[i].added, 30), 1);
    }
    const std::string left[] = {"02", "2", ""};
    const int order[] = {1, 0, 2};
    uint32_t ids[3];
    int at = 0;
    for (const auto* node = owner.list.pHead; node != nullptr; node = node->pNext) {
        ids[at++] = node->nThreadId;
    }
    ASSERT_EQ(at, 3);
    for (int step = 0; step < 3; ++step) {
        const int i = order[step];
        ORVEX_EVENT_Set(visits[i].leave);
        EXPECT_EQ(ORVEX_EVENT_TimeWait(threads[i], 30), 1);
        std::string there;
        const MOLTE_THREADLISTNODE* previous = nullptr;
        for (const auto* node = owner.list.pHead; node != nullptr; node = node->pNext) {
            EXPECT_EQ(node->pPrev, previous);
            previous = node;
            for (int k = 0; k < 3; ++k) {
                if (ids[k] == node->nThreadId) there += static_cast<char>('0' + k);
            }
        }
        EXPECT_EQ(there, left[step]);
        EXPECT_EQ(owner.list.pTail, previous);
        ORVEX_CloseThreadHandle(threads[i]);
        ORVEX_EVENT_Release(visits[i].added);
        ORVEX_EVENT_Release(visits[i].leave);
    }
}

}  // namespace
