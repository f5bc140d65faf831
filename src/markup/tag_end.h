// Where a tag ends, found in the bitmaps of one window of units: its first ">" outside quoted
// values.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "markup/unit_block.h"

namespace corvy::scan {

// The bits from `index` on, which is less than 64.
constexpr std::uint64_t bitsFrom(unsigned index) {
    return ~std::uint64_t{0} << index;
}

// The bits behind the lowest one of `bits`, which is not 0.
constexpr std::uint64_t bitsBehindLowest(std::uint64_t bits) {
    return ~(bits ^ (bits - 1));
}

// Bit i is the parity of the bits 0 to i.
constexpr std::uint64_t parityUpTo(std::uint64_t bits) {
    bits ^= bits << 1;
    bits ^= bits << 2;
    bits ^= bits << 4;
    bits ^= bits << 8;
    bits ^= bits << 16;
    bits ^= bits << 32;
    return bits;
}

// Where a walk through a tag stands between two windows.
struct TagState {
    char quote = 0;          // the open one
    bool equalSeen = false;  // a quote would open a value; never set inside quotes
};

// What a tag looks at in a window.
struct TagBits {
    explicit TagBits(const UnitBlock& block)
        : greater(block.bitsOf('>')),
          doubleQuote(block.bitsOf('"')),
          singleQuote(block.bitsOf('\'')),
          equal(block.bitsOf('=')) {}

    std::uint64_t greater, doubleQuote, singleQuote, equal;
};

// The end of a tag among the units of `within`, quote by quote; 0 when it does not end there, then
// `state` is what the next window begins with. Otherwise the bit of its ">".
inline std::uint64_t walkToTagEnd(const TagBits& bits, std::uint64_t within, TagState& state) {
    for (;;) {
        if (state.quote != 0) {
            const std::uint64_t quotes =
                (state.quote == '"' ? bits.doubleQuote : bits.singleQuote) & within;
            if (quotes == 0) return 0;
            within &= bitsBehindLowest(quotes);
            state.quote = 0;
        }
        const std::uint64_t stops = (bits.greater | bits.doubleQuote | bits.singleQuote) & within;
        const std::uint64_t stop = stops & (0 - stops);
        const std::uint64_t passed = within & (stop - 1);  // everything when there is no stop
        state.equalSeen |= (bits.equal & passed) != 0;
        if (stop == 0) return 0;
        if ((stop & bits.greater) != 0) return stop;
        within &= bitsBehindLowest(stop);
        if (state.equalSeen) state.quote = (stop & bits.doubleQuote) != 0 ? '"' : '\'';
        state.equalSeen = false;
    }
}

// The same. Takes no branch for each quote as long as the values stand in double quotes directly
// behind their "=".
inline std::uint64_t findTagEnd(const TagBits& bits, std::uint64_t within, TagState& state) {
    if (state.quote == '\'') return walkToTagEnd(bits, within, state);
    const std::uint64_t quotes = bits.doubleQuote & within;
    const std::uint64_t carried = state.quote == 0 ? 0 : ~std::uint64_t{0};
    // From each opening quote to the unit in front of the closing one.
    const std::uint64_t quoted = parityUpTo(quotes) ^ carried;
    const std::uint64_t ends = bits.greater & within & ~quoted;
    const std::uint64_t end = ends & (0 - ends);
    const std::uint64_t passed = within & (end - 1);
    const std::uint64_t mayOpen = bits.equal << 1 | static_cast<std::uint64_t>(state.equalSeen);
    const std::uint64_t strange = (quotes & quoted & ~mayOpen) | (bits.singleQuote & ~quoted);
    if ((strange & passed) != 0) return walkToTagEnd(bits, within, state);
    if (end == 0) {
        const std::uint64_t behindQuotes =
            quotes == 0 ? within : within & ~(~std::uint64_t{0} >> std::countl_zero(quotes));
        const bool open = quoted >> 63 != 0;
        state.equalSeen =
            !open && ((bits.equal & behindQuotes) != 0 || (quotes == 0 && state.equalSeen));
        state.quote = open ? '"' : '\0';
    }
    return end;
}

inline std::size_t indexOf(std::uint64_t bits) {
    return static_cast<std::size_t>(std::countr_zero(bits));
}

}  // namespace corvy::scan
