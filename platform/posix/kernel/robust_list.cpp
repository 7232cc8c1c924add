#include "kernel/robust_list.h"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>

#include "kernel/thread.h"

namespace platform {

namespace {

// As the C library has it.
static_assert(offsetof(pthread_mutex_t, __data.__lock) == 0);
static_assert(offsetof(pthread_mutex_t, __data.__list.__prev) == kRobustLinksOffset);
static_assert(offsetof(pthread_mutex_t, __data.__list.__next) ==
              kRobustLinksOffset + offsetof(RobustLinks, next));

// The lowest bit of a link tells the kernel about another kind of lock.
constexpr std::uint64_t kAddress = ~std::uint64_t{1};
constexpr int kLongestList = 2048;  // the kernel doesn't look further, either

robust_list_head* list_head() {
    static FAST_THREAD_LOCAL robust_list_head* head = nullptr;
    std::size_t size = 0;
    if (head == nullptr) syscall(SYS_get_robust_list, 0, &head, &size);
    return head;
}

std::uint64_t address_of(const void* place) {
    return reinterpret_cast<std::uintptr_t>(place);
}

// A link wherever it is: in ours, in the C library's or in the kernel's record.
using Link __attribute__((may_alias)) = std::uint64_t;

std::uint64_t read_link(std::uint64_t place) {
    return *reinterpret_cast<const Link*>(place);
}

// The kernel may come between any two steps of this thread: nothing is put off or moved.
void write_link(std::uint64_t place, std::uint64_t value) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    *reinterpret_cast<volatile Link*>(place) = value;
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

// The entry after a link shall know where it is linked from: the C library unlinks by that.
void tell_next(std::uint64_t next, std::uint64_t linked_from, std::uint64_t head) {
    const std::uint64_t entry = next & kAddress;
    if (entry != head) {
        write_link(entry - offsetof(RobustLinks, next) + offsetof(RobustLinks, previous),
                   linked_from);
    }
}

}  // namespace

bool robust_list_available() {
    constexpr long kWordFromLink =
        -kRobustLinksOffset - static_cast<long>(offsetof(RobustLinks, next));
    const robust_list_head* head = list_head();
    return head != nullptr && head->futex_offset == kWordFromLink;
}

void robust_list_add(RobustLinks& links) {
    const std::uint64_t head = address_of(&list_head()->list);
    const std::uint64_t first = read_link(head);
    links.previous = head;
    links.next = first;
    tell_next(first, address_of(&links.next), head);
    write_link(head, address_of(&links.next));
}

void robust_list_remove(RobustLinks& links) {
    const std::uint64_t head = address_of(&list_head()->list);
    std::uint64_t link = head;
    for (int i = 0; i < kLongestList; ++i) {
        const std::uint64_t next = read_link(link);
        if ((next & kAddress) == address_of(&links.next)) {
            tell_next(links.next, link, head);
            write_link(link, links.next);
            break;
        }
        link = next & kAddress;
        if (link == head) break;
    }
    links.previous = 0;
    links.next = 0;
}

RobustOperation::RobustOperation(RobustLinks& links) : outer_(list_head()->list_op_pending) {
    write_link(address_of(&list_head()->list_op_pending), address_of(&links.next));
}

RobustOperation::~RobustOperation() {
    write_link(address_of(&list_head()->list_op_pending), address_of(outer_));
}

void robust_list_forget_operation() {
    write_link(address_of(&list_head()->list_op_pending), 0);
}

}  // namespace platform
