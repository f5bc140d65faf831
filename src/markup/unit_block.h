// Sixty-four UTF-16 units at once: which of them are a given ASCII character, as one bit each.
//
// The units are narrowed to bytes first; those above U+00FF become bytes that equal no ASCII
// character but U+0000, so ask for no U+0000. There are back ends for SSE2, NEON and plain words,
// chosen when compiling.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace corvy {

class UnitBlock {
public:
    static constexpr std::size_t kSize = 64;

    // Reads exactly kSize units.
    static UnitBlock load(const char16_t* units);
    // Reads `count` units, fewer than kSize; those behind them are U+0000.
    static UnitBlock loadPart(const char16_t* units, std::size_t count) {
        char16_t padded[kSize] = {};
        std::copy_n(units, count, padded);
        return load(padded);
    }

    // Bit i is set when unit i is the character.
    std::uint64_t bitsOf(char character) const;

    // The number of units in front of the first that is not above U+0020, is "/", ">" or no ASCII,
    // at most 16. Reads exactly 16 units.
    static unsigned lengthOfPlainName(const char16_t* units);

private:
#if defined(__SSE2__)
    __m128i bytes_[4];
#elif defined(__aarch64__)
    uint8x16_t bytes_[4];
#else
    std::uint64_t words_[8];  // eight units each, the first in the lowest byte
#endif
};

#if defined(__SSE2__)

inline __m128i narrow16(const char16_t* units) {
    const auto* source = reinterpret_cast<const __m128i*>(units);
    // Saturates signed units: those from U+8000 become 0.
    return _mm_packus_epi16(_mm_loadu_si128(source), _mm_loadu_si128(source + 1));
}

inline UnitBlock UnitBlock::load(const char16_t* units) {
    UnitBlock block;
    for (int i = 0; i < 4; ++i) block.bytes_[i] = narrow16(units + 16 * i);
    return block;
}

inline std::uint64_t UnitBlock::bitsOf(char character) const {
    const __m128i wanted = _mm_set1_epi8(character);
    const auto bits = [&](int i) -> std::uint64_t {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes_[i], wanted)));
    };
    return bits(0) | bits(1) << 16 | bits(2) << 32 | bits(3) << 48;
}

inline unsigned UnitBlock::lengthOfPlainName(const char16_t* units) {
    const __m128i bytes = narrow16(units);
    const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x20)), bytes);
    const __m128i marks = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('/')),
                                       _mm_cmpeq_epi8(bytes, _mm_set1_epi8('>')));
    // The top bit of a byte that is no ASCII stands for itself.
    const __m128i stops = _mm_or_si128(_mm_or_si128(low, marks), bytes);
    return static_cast<unsigned>(std::countr_zero(_mm_movemask_epi8(stops) | 0x10000U));
}

#elif defined(__aarch64__)

inline uint8x16_t narrow16(const char16_t* units) {
    const auto* source = reinterpret_cast<const std::uint16_t*>(units);
    return vqmovn_high_u16(vqmovn_u16(vld1q_u16(source)), vld1q_u16(source + 8));
}

inline UnitBlock UnitBlock::load(const char16_t* units) {
    UnitBlock block;
    for (int i = 0; i < 4; ++i) block.bytes_[i] = narrow16(units + 16 * i);
    return block;
}

inline std::uint64_t UnitBlock::bitsOf(char character) const {
    const uint8x16_t wanted = vdupq_n_u8(static_cast<std::uint8_t>(character));
    const uint8x16_t weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const auto bits = [&](int i) { return vandq_u8(vceqq_u8(bytes_[i], wanted), weights); };
    // Each pairwise addition halves the bytes; after three, one byte holds eight units.
    uint8x16_t sum = vpaddq_u8(vpaddq_u8(bits(0), bits(1)), vpaddq_u8(bits(2), bits(3)));
    sum = vpaddq_u8(sum, sum);
    return vgetq_lane_u64(vreinterpretq_u64_u8(sum), 0);
}

inline unsigned UnitBlock::lengthOfPlainName(const char16_t* units) {
    const uint8x16_t bytes = narrow16(units);
    const uint8x16_t marks =
        vorrq_u8(vceqq_u8(bytes, vdupq_n_u8('/')), vceqq_u8(bytes, vdupq_n_u8('>')));
    const uint8x16_t outside =
        vorrq_u8(vcleq_u8(bytes, vdupq_n_u8(0x20)), vcgeq_u8(bytes, vdupq_n_u8(0x80)));
    // Four bits for each unit.
    const uint8x8_t stops = vshrn_n_u16(vreinterpretq_u16_u8(vorrq_u8(marks, outside)), 4);
    const std::uint64_t bits = vget_lane_u64(vreinterpret_u64_u8(stops), 0);
    return static_cast<unsigned>(std::countr_zero(bits)) / 4;
}

#else

inline UnitBlock UnitBlock::load(const char16_t* units) {
    UnitBlock block;
    for (std::uint64_t& word : block.words_) {
        word = 0;
        for (int i = 0; i < 8; ++i) {
            word |= static_cast<std::uint64_t>(std::min<char16_t>(*units++, 0xFF)) << 8 * i;
        }
    }
    return block;
}

inline std::uint64_t UnitBlock::bitsOf(char character) const {
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7F;
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) {
        const std::uint64_t other =
            words_[i] ^ 0x0101010101010101 * static_cast<std::uint8_t>(character);
        // The top bit of each byte that is 0, then the eight of them side by side.
        const std::uint64_t equal = ~(((other & kLow7) + kLow7) | other | kLow7);
        bits |= (equal >> 7) * 0x0102040810204080 >> 56 << 8 * i;
    }
    return bits;
}

inline unsigned UnitBlock::lengthOfPlainName(const char16_t* units) {
    unsigned length = 0;
    while (length < 16 && units[length] > 0x20 && units[length] < 0x80 && units[length] != u'/' &&
           units[length] != u'>') {
        ++length;
    }
    return length;
}

#endif

}  // namespace corvy
