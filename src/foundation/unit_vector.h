// Eight UTF-16 units as one vector of the compiler's, for questions about all of them at once. A
// comparison gives a mask: all bits of a place are set where it holds.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace corvy {

using UnitVector = std::uint16_t __attribute__((vector_size(16)));
inline constexpr std::size_t kVectorUnits = sizeof(UnitVector) / sizeof(char16_t);

// Reads kVectorUnits units.
inline UnitVector loadUnits(const char16_t* units) {
    UnitVector vector;
    std::memcpy(&vector, units, sizeof vector);
    return vector;
}

// Whether the comparison holds at one place at least.
template <typename Mask>
bool any(Mask mask) {
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(mask);
    return (halves[0] | halves[1]) != 0;
}

// The first place at which the comparison holds; there is one.
template <typename Mask>
std::size_t indexOfFirst(Mask mask) {
    static_assert(std::endian::native == std::endian::little);
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(mask);
    const int bit = halves[0] ? std::countr_zero(halves[0]) : 64 + std::countr_zero(halves[1]);
    return static_cast<std::size_t>(bit) / 16;
}

}  // namespace corvy
