// Sixty-four UTF-16 units at once: which of them are a given ASCII character, as one bit each.
//
// There are back ends for SSE2, NEON and plain words, chosen when compiling. The first two narrow
// the units to bytes, where those above U+00FF turn into 0xFF or 0; so ask for no U+0000.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

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
    using Bytes16 = __m128i;
#elif defined(__aarch64__)
    using Bytes16 = uint8x16_t;
#else
    struct Bytes16 {
        std::uint64_t words[4];  // four units each, as they are, the first in the lowest bits
    };
#endif
    UnitBlock(Bytes16 a, Bytes16 b, Bytes16 c, Bytes16 d) : a_(a), b_(b), c_(c), d_(d) {}
    // Sixteen units in the form of the back end.
    static Bytes16 narrow16(const char16_t* units);

    Bytes16 a_, b_, c_, d_;
};

inline UnitBlock UnitBlock::load(const char16_t* units) {
    return {narrow16(units), narrow16(units + 16), narrow16(units + 32), narrow16(units + 48)};
}

#if defined(__SSE2__)

inline __m128i UnitBlock::narrow16(const char16_t* units) {
    const auto* source = reinterpret_cast<const __m128i*>(units);
    // Saturates signed units: those from U+8000 become 0.
    return _mm_packus_epi16(_mm_loadu_si128(source), _mm_loadu_si128(source + 1));
}

inline std::uint64_t UnitBlock::bitsOf(char character) const {
    const __m128i wanted = _mm_set1_epi8(character);
    const auto bits = [wanted](__m128i bytes) -> std::uint64_t {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, wanted)));
    };
    return bits(a_) | bits(b_) << 16 | bits(c_) << 32 | bits(d_) << 48;
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

inline uint8x16_t UnitBlock::narrow16(const char16_t* units) {
    const auto* source = reinterpret_cast<const std::uint16_t*>(units);
    return vqmovn_high_u16(vqmovn_u16(vld1q_u16(source)), vld1q_u16(source + 8));
}

inline std::uint64_t UnitBlock::bitsOf(char character) const {
    const uint8x16_t wanted = vdupq_n_u8(static_cast<std::uint8_t>(character));
    const uint8x16_t weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const auto bits = [=](uint8x16_t bytes) { return vandq_u8(vceqq_u8(bytes, wanted), weights); };
    // Each pairwise addition halves the bytes; after three, one byte holds eight units.
    uint8x16_t sum = vpaddq_u8(vpaddq_u8(bits(a_), bits(b_)), vpaddq_u8(bits(c_), bits(d_)));
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

inline UnitBlock::Bytes16 UnitBlock::narrow16(const char16_t* units) {
    const auto word = [units](int i) {
        return std::uint64_t{units[i]} | std::uint64_t{units[i + 1]} << 16 |
               std::uint64_t{units[i + 2]} << 32 | std::uint64_t{units[i + 3]} << 48;
    };
    return {{word(0), word(4), word(8), word(12)}};
}

inline std::uint64_t UnitBlock::bitsOf(char character) const {
    constexpr std::uint64_t kLow15 = 0x7FFF7FFF7FFF7FFF;
    const std::uint64_t wanted = 0x0001000100010001 * static_cast<std::uint8_t>(character);
    const auto bitsOfWord = [wanted](std::uint64_t word) {
        const std::uint64_t other = word ^ wanted;
        // The top bit of each unit that is 0, then the four of them side by side.
        const std::uint64_t equal = ~(((other & kLow15) + kLow15) | other | kLow15);
        return (equal >> 15) * 0x0001000200040008 >> 48;
    };
    const auto bits = [bitsOfWord](const Bytes16& units) {
        return bitsOfWord(units.words[0]) | bitsOfWord(units.words[1]) << 4 |
               bitsOfWord(units.words[2]) << 8 | bitsOfWord(units.words[3]) << 12;
    };
    return bits(a_) | bits(b_) << 16 | bits(c_) << 32 | bits(d_) << 48;
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

// The units from `base` on, U+0000 behind the end of the text, past which `base` may lie.
inline UnitBlock windowAt(std::u16string_view characters, std::size_t base) {
    if (base + UnitBlock::kSize <= characters.size()) [[likely]] {
        return UnitBlock::load(characters.data() + base);
    }
    const std::size_t rest = base < characters.size() ? characters.size() - base : 0;
    return UnitBlock::loadPart(characters.data() + base, rest);
}

}  // namespace corvy
