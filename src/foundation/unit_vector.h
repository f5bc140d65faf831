// Eight UTF-16 units as one vector of the compiler's, for questions about all of them at once.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace corvy {

// The answer for each unit: all bits of its place are set where a comparison holds.
using UnitMask = std::int16_t __attribute__((vector_size(16)));

class UnitVector {
public:
    static constexpr std::size_t kSize = 8;

    // Reads kSize units.
    explicit UnitVector(const char16_t* units) { std::memcpy(&units_, units, sizeof units_); }

    friend UnitMask operator==(UnitVector a, char16_t b) { return a.units_ == Unit{b}; }
    friend UnitMask operator<(UnitVector a, char16_t b) { return a.units_ < Unit{b}; }
    friend UnitMask operator<=(UnitVector a, char16_t b) { return a.units_ <= Unit{b}; }
    friend UnitMask operator>=(UnitVector a, char16_t b) { return a.units_ >= Unit{b}; }
    friend UnitVector operator|(UnitVector a, char16_t bits) {
        a.units_ |= Unit{bits};
        return a;
    }

private:
    using Unit = std::uint16_t;

    Unit units_ __attribute__((vector_size(16)));
};

// Whether the comparison holds at one place at least.
inline bool any(UnitMask mask) {
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(mask);
    return (halves[0] | halves[1]) != 0;
}

// The first place at which the comparison holds; there is one.
inline std::size_t indexOfFirst(UnitMask mask) {
    static_assert(std::endian::native == std::endian::little);
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(mask);
    const int bit = halves[0] ? std::countr_zero(halves[0]) : 64 + std::countr_zero(halves[1]);
    return static_cast<std::size_t>(bit) / 16;
}

}  // namespace corvy
