#include "sha256.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace tool {

namespace {

using State = std::array<uint32_t, 8>;
constexpr size_t kBlock = 64;

// The first 32 bits of the fraction of a root of each of the first 64 primes.
template <typename Root>
std::array<uint32_t, 64> fractions(Root root) {
    std::array<uint32_t, 64> words{};
    size_t count = 0;
    for (unsigned n = 2; count < words.size(); ++n) {
        bool prime = true;
        for (unsigned d = 2; d * d <= n; ++d) prime = prime && n % d != 0;
        if (!prime) continue;
        const double value = root(static_cast<double>(n));
        words[count++] = static_cast<uint32_t>((value - std::floor(value)) * 4294967296.0);
    }
    return words;
}

uint32_t word_at(const unsigned char* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

void add_block(State& state, const unsigned char* block) {
    static const auto constants = fractions([](double n) { return std::cbrt(n); });
    std::array<uint32_t, 64> w;
    for (size_t i = 0; i < 16; ++i) w[i] = word_at(block + 4 * i);
    for (size_t i = 16; i < 64; ++i) {
        const uint32_t a = w[i - 15], b = w[i - 2];
        w[i] = w[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) + w[i - 7] +
               (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (size_t i = 0; i < 64; ++i) {
        const uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                               ((e & f) ^ (~e & g)) + constants[i] + w[i];
        const uint32_t second =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g, g = f, f = e, e = d + first;
        d = c, c = b, b = a, a = first + second;
    }
    const State added = {a, b, c, d, e, f, g, h};
    for (size_t i = 0; i < state.size(); ++i) state[i] += added[i];
}

}  // namespace

std::string sha256(std::string_view bytes) {
    State state;
    const auto roots = fractions([](double n) { return std::sqrt(n); });
    for (size_t i = 0; i < state.size(); ++i) state[i] = roots[i];

    const size_t whole = bytes.size() / kBlock * kBlock;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    for (size_t at = 0; at < whole; at += kBlock) add_block(state, data + at);
    // What is left, a bit, zeros, and the length in bits.
    std::string rest(bytes.substr(whole));
    rest += '\x80';
    while (rest.size() % kBlock != kBlock - 8) rest += '\0';
    for (int shift = 56; shift >= 0; shift -= 8) {
        rest += static_cast<char>(uint64_t{bytes.size()} * 8 >> shift & 255);
    }
    for (size_t at = 0; at < rest.size(); at += kBlock) {
        add_block(state, reinterpret_cast<const unsigned char*>(rest.data()) + at);
    }

    std::string digits;
    for (const uint32_t word : state) {
        for (int shift = 28; shift >= 0; shift -= 4) {
            digits += "0123456789abcdef"[word >> shift & 15];
        }
    }
    return digits;
}

}  // namespace tool
