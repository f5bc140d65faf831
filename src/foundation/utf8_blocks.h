// Sixteen bytes or units at a time: ASCII to UTF-16 and back, and looking for a unit. One small
// struct for each instruction set, all with the same functions.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace corvy {

// Any machine.
struct ScalarBlocks {
    static constexpr std::size_t kSize = 16;

    // Writes 16 bytes as 16 units. Bit i of the result is set when byte i is not ASCII; the units
    // from the first such bit on mean nothing.
    static std::uint32_t widen(const std::uint8_t* in, char16_t* out) {
        std::uint32_t high = 0;
        for (std::size_t i = 0; i < kSize; ++i) {
            out[i] = in[i];
            high |= static_cast<std::uint32_t>(in[i] >> 7) << i;
        }
        return high;
    }
    // Writes 16 units as 16 bytes; false, with bytes that mean nothing, when one is not ASCII.
    static bool narrow(const char16_t* in, char* out) {
        unsigned all = 0;
        for (std::size_t i = 0; i < kSize; ++i) {
            out[i] = static_cast<char>(in[i]);
            all |= in[i];
        }
        return all < 0x80;
    }
    // Whether one of 16 units is `unit`.
    static bool contains(const char16_t* in, char16_t unit) {
        bool found = false;
        for (std::size_t i = 0; i < kSize; ++i) found |= in[i] == unit;
        return found;
    }
};

#if defined(__SSE2__)

struct Sse2Blocks {
    static constexpr std::size_t kSize = 16;

    static std::uint32_t widen(const std::uint8_t* in, char16_t* out) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i zero = _mm_setzero_si128();
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(bytes, zero));
        return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes));
    }
    static bool narrow(const char16_t* in, char* out) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
        const __m128i outside =
            _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xFF80)));
        return _mm_movemask_epi8(_mm_cmpeq_epi16(outside, _mm_setzero_si128())) == 0xFFFF;
    }
    static bool contains(const char16_t* in, char16_t unit) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8));
        const __m128i wanted = _mm_set1_epi16(static_cast<short>(unit));
        return _mm_movemask_epi8(
                   _mm_or_si128(_mm_cmpeq_epi16(low, wanted), _mm_cmpeq_epi16(high, wanted))) != 0;
    }
};
using NativeBlocks = Sse2Blocks;

#elif defined(__ARM_NEON) && defined(__aarch64__)

struct NeonBlocks {
    static constexpr std::size_t kSize = 16;

    static std::uint32_t widen(const std::uint8_t* in, char16_t* out) {
        const uint8x16_t bytes = vld1q_u8(in);
        auto* const units = reinterpret_cast<std::uint16_t*>(out);
        vst1q_u16(units, vmovl_u8(vget_low_u8(bytes)));
        vst1q_u16(units + 8, vmovl_high_u8(bytes));
        if (vmaxvq_u8(bytes) < 0x80) return 0;
        // The high bits of the bytes, moved to the places of their bits and added up by halves.
        static constexpr std::int8_t kShifts[16] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7};
        const uint8x16_t bits = vshlq_u8(vshrq_n_u8(bytes, 7), vld1q_s8(kShifts));
        return vaddv_u8(vget_low_u8(bits)) |
               static_cast<std::uint32_t>(vaddv_u8(vget_high_u8(bits))) << 8;
    }
    static bool narrow(const char16_t* in, char* out) {
        const auto* const units = reinterpret_cast<const std::uint16_t*>(in);
        const uint16x8_t low = vld1q_u16(units);
        const uint16x8_t high = vld1q_u16(units + 8);
        vst1q_u8(reinterpret_cast<std::uint8_t*>(out), vmovn_high_u16(vmovn_u16(low), high));
        return vmaxvq_u16(vorrq_u16(low, high)) < 0x80;
    }
    static bool contains(const char16_t* in, char16_t unit) {
        const auto* const units = reinterpret_cast<const std::uint16_t*>(in);
        const uint16x8_t wanted = vdupq_n_u16(unit);
        return vmaxvq_u16(vorrq_u16(vceqq_u16(vld1q_u16(units), wanted),
                                    vceqq_u16(vld1q_u16(units + 8), wanted))) != 0;
    }
};
using NativeBlocks = NeonBlocks;

#else
using NativeBlocks = ScalarBlocks;
#endif

}  // namespace corvy
