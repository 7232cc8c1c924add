// Random bytes without a system call for each: every thread has a generator that encrypts zeros by
// ChaCha20 (RFC 8439). Of what it makes at a time the first bytes are the next key, and the bytes
// that were given out are erased, so that nobody can tell from its memory what it gave before.
#include "platform/guid.h"

#include <pthread.h>
#include <sys/mman.h>
#include <sys/random.h>

#include <atomic>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace {

constexpr size_t kKeyWords = 8;
constexpr size_t kBlockWords = 16;
constexpr size_t kBlocks = 8;  // made at a time
constexpr size_t kPoolSize = kBlocks * kBlockWords * sizeof(uint32_t);

void quarter_round(uint32_t& a, uint32_t& b, uint32_t& c, uint32_t& d) {
    a += b, d = std::rotl(d ^ a, 16);
    c += d, b = std::rotl(b ^ c, 12);
    a += b, d = std::rotl(d ^ a, 8);
    c += d, b = std::rotl(b ^ c, 7);
}

// The block of a key with that counter, and 0 as the nonce: no key is used twice.
void make_block(const uint32_t (&key)[kKeyWords], uint32_t counter, uint32_t* block) {
    constexpr int double_rounds = 10;
    uint32_t first[kBlockWords] = {0x61707865, 0x3320646e, 0x79622d32, 0x6b206574};
    memcpy(first + 4, key, sizeof key);
    first[12] = counter;
    uint32_t x[kBlockWords];
    memcpy(x, first, sizeof x);
    for (int i = 0; i < double_rounds; ++i) {
        quarter_round(x[0], x[4], x[8], x[12]);
        quarter_round(x[1], x[5], x[9], x[13]);
        quarter_round(x[2], x[6], x[10], x[14]);
        quarter_round(x[3], x[7], x[11], x[15]);
        quarter_round(x[0], x[5], x[10], x[15]);
        quarter_round(x[1], x[6], x[11], x[12]);
        quarter_round(x[2], x[7], x[8], x[13]);
        quarter_round(x[3], x[4], x[9], x[14]);
    }
    for (size_t i = 0; i < kBlockWords; ++i) block[i] = x[i] + first[i];
}

// The number of this process among its forefathers: 0 until it is taken, and again in each child,
// where the kernel wipes the page it is in. Where the kernel can't, the handler of fork does, which
// a bare clone doesn't call.
class Generation {
 public:
    Generation() {
        void* page = mmap(nullptr, sizeof *number_, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (page != MAP_FAILED) {
            madvise(page, sizeof *number_, MADV_WIPEONFORK);
            number_ = static_cast<std::atomic<uint64_t>*>(page);
        }
        pthread_atfork(nullptr, nullptr, on_fork);
    }

    [[nodiscard]] uint64_t now() const { return number_->load(std::memory_order_relaxed); }

    // Takes a number if there is none.
    uint64_t take() {
        uint64_t number = 0;
        const uint64_t next = ++taken_;
        return number_->compare_exchange_strong(number, next) ? next : number;
    }
    void forget() { number_->store(0, std::memory_order_relaxed); }

 private:
    static void on_fork();

    std::atomic<uint64_t> unwiped_{0};
    std::atomic<uint64_t>* number_ = &unwiped_;
    std::atomic<uint64_t> taken_{0};
};

Generation& generation() {
    static Generation only;
    return only;
}

struct Generator {
    uint64_t generation;  // it was seeded in; 0 never
    size_t used;          // of the pool
    uint32_t key[kKeyWords];
    uint8_t pool[kPoolSize];

    bool seed() {
        ssize_t got = 0;
        do got = getrandom(key, sizeof key, 0);
        while (got < 0 && errno == EINTR);
        if (got != sizeof key) return false;
        generation = ::generation().take();
        used = sizeof pool;
        return true;
    }

    void refill() {
        uint32_t words[kBlocks * kBlockWords];
        for (uint32_t i = 0; i < kBlocks; ++i) make_block(key, i, words + i * kBlockWords);
        memcpy(key, words, sizeof key);
        memcpy(pool, words, sizeof words);
        used = sizeof key;
        memset(pool, 0, used);
        explicit_bzero(words, sizeof words);
    }

    void take(void* bytes, size_t size) {
        if (sizeof pool - used < size) refill();
        memcpy(bytes, pool + used, size);
        memset(pool + used, 0, size);
        used += size;
    }
};

thread_local constinit Generator own{};

// A new seed at once, so that the first identifier of a child is as fast as any.
void Generation::on_fork() {
    ::generation().forget();
    if (own.generation != 0 && own.seed()) own.refill();
}

}  // namespace

HRESULT CoCreateGuid(GUID* guid) {
    if (guid == nullptr) return E_FAIL;
    const uint64_t now = generation().now();
    if ((own.generation != now || now == 0) && !own.seed()) return E_FAIL;
    own.take(guid, sizeof *guid);
    guid->Data3 = static_cast<WORD>((guid->Data3 & 0x0FFF) | 0x4000);
    guid->Data4[0] = static_cast<BYTE>((guid->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}
