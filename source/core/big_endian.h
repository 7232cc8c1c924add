// The number fields of stored and sent records: most significant byte first.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace molte {

// The unsigned number that fills a field of so many bytes.
template <size_t size>
struct FieldNumber;
template <>
struct FieldNumber<2> {
    using Type = uint16_t;
    static Type swapped(Type value) { return __builtin_bswap16(value); }
};
template <>
struct FieldNumber<4> {
    using Type = uint32_t;
    static Type swapped(Type value) { return __builtin_bswap32(value); }
};
template <>
struct FieldNumber<8> {
    using Type = uint64_t;
    static Type swapped(Type value) { return __builtin_bswap64(value); }
};

template <size_t size>
[[nodiscard]] typename FieldNumber<size>::Type big_endian(const uint8_t (&field)[size]) {
    typename FieldNumber<size>::Type value;
    std::memcpy(&value, field, size);
    return std::endian::native == std::endian::big ? value : FieldNumber<size>::swapped(value);
}

template <size_t size>
void put_big_endian(uint8_t (&field)[size], typename FieldNumber<size>::Type value) {
    if (std::endian::native != std::endian::big) value = FieldNumber<size>::swapped(value);
    std::memcpy(field, &value, size);
}

}  // namespace molte
