#include "support/posix.h"
#include "support/test.h"

#if !defined(_WIN32)
#include <sys/mman.h>
#include <sys/random.h>
#endif

namespace {

using Uuid = std::array<uint8_t, ORVEX_UUID_SIZE>;

std::vector<Uuid> many(size_t count) {
    std::vector<Uuid> uuids(count);
    for (Uuid& uuid : uuids) EXPECT_EQ(ORVEX_UUID_Gen(uuid.data()), 1);
    return uuids;
}

void expect_no_repeat(std::vector<Uuid> uuids) {
    std::sort(uuids.begin(), uuids.end());
    EXPECT_EQ(std::adjacent_find(uuids.begin(), uuids.end()), uuids.end());
}

TEST(Uuid, ManyWithoutARepeat) {
    const std::vector<Uuid> uuids = many(100'000);
    Uuid varied{};  // the bits that aren't those of the first
    for (const Uuid& uuid : uuids) {
        for (size_t i = 0; i < uuid.size(); ++i) {
            varied[i] = static_cast<uint8_t>(varied[i] | (uuid[i] ^ uuids[0][i]));
        }
    }
    Uuid expected;  // all but version 4 and its variant
    expected.fill(0xFF);
    expected[6] = 0x0F, expected[8] = 0x3F;
    EXPECT_EQ(varied, expected);
    EXPECT_EQ(uuids[0][6] >> 4, 4);
    EXPECT_EQ(uuids[0][8] >> 6, 2);
    expect_no_repeat(uuids);
}

TEST(Uuid, TextAndComparison) {
    uint8_t zero[16] = {};
    const Uuid uuid = {0x00, 0x1A, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                       0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    char text[ORVEX_UUID_TEXT_SIZE];
    EXPECT_EQ(ORVEX_UUID_ToString(uuid.data(), text), 1);
    EXPECT_STREQ(text, "001A2233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(ORVEX_UUID_IsEmpty(zero), 1);
    zero[15] = 1;
    EXPECT_EQ(ORVEX_UUID_IsEmpty(zero) + ORVEX_UUID_IsEqual(zero, uuid.data()), 0);
    EXPECT_EQ(ORVEX_UUID_IsEqual(uuid.data(), uuid.data()), 1);
    EXPECT_EQ(error_of(ORVEX_UUID_Gen(nullptr)), "50 oxsysutl");
    EXPECT_EQ(UTIL_UUID_Gen(nullptr) + UTIL_UUID_GetHWAddress(nullptr), -2);
}

// The six lowest bytes of a double: what they leave out are sign, exponent and four bits more.
TEST(Uuid, ByTimeAndNoise) {
    uint8_t uuid[17] = {};
    uint8_t other[16];
    uuid[16] = 77;
    const int64_t before = ORVEX_Time();
    EXPECT_EQ(UTIL_UUID_Gen(uuid), 1);
    EXPECT_EQ(UTIL_UUID_Gen(other), 1);
    const uint32_t time = Char4To_uint4(uuid);
    EXPECT_TRUE(time >= before && time <= ORVEX_Time());
    EXPECT_NE(std::memcmp(uuid, other, 16), 0);
    EXPECT_EQ(uuid[16], 77);
    uint8_t noise[7] = {0, 0, 0, 0, 0, 0, 77};
    EXPECT_EQ(UTIL_UUID_GetHWAddress(noise), 1);
    EXPECT_TRUE(std::any_of(noise, noise + 6, [](uint8_t b) { return b != 0; }));
    EXPECT_EQ(noise[6], 77);
}

}  // namespace

#if !defined(_WIN32)

// The kernel's random bytes, until a test takes them away.
static bool none_left = false;
extern "C" [[gnu::visibility("default")]] ssize_t getrandom(void* bytes, size_t size,
                                                            unsigned flags) {
    return none_left ? -1 : syscall(SYS_getrandom, bytes, size, flags);
}

namespace {

// In a child, which has nothing of what its parent fetched.
TEST(Uuid, WithoutRandomBytesComesFromTheTime) {
    EXPECT_EQ(in_fork([] {
                  none_left = true;
                  uint8_t uuid[16];
                  const int64_t before = ORVEX_Time();
                  const bool made = ORVEX_UUID_Gen(uuid) == 1;
                  const uint32_t time = Char4To_uint4(uuid);
                  return made && time >= before && time <= ORVEX_Time() ? 0 : 1;
              }),
              0);
}

// Processes made by fork, or without its handlers, each of which fills its part of what they share.
TEST(Uuid, ParentChildAndGrandchildDiffer) {
    constexpr size_t kOfEach = 50;
    for (const bool bare : {false, true}) {
        const auto spawn = [bare] {
            return bare ? syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, 0) : fork();
        };
        auto* all =
            static_cast<Uuid*>(mmap(nullptr, 5 * kOfEach * sizeof(Uuid), PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        const auto fill = [all](size_t part) {
            const std::vector<Uuid> uuids = many(kOfEach);
            std::copy(uuids.begin(), uuids.end(), all + part * kOfEach);
        };
        fill(0);
        for (const size_t part : {1U, 3U}) {
            if (spawn() != 0) continue;
            fill(part);
            if (spawn() == 0) fill(part + 1);
            wait(nullptr);
            _exit(0);
        }
        fill(0);
        for (int child = 0; child < 2; ++child) wait(nullptr);
        expect_no_repeat({all, all + 5 * kOfEach});
    }
}

}  // namespace

#endif
