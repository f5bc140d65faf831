// Between UTF-8 and UTF-16, the routines themselves: blocks of ASCII by vectors, the rest by hand.
// What is ill-formed is replaced as ICU and the Web's standard do: one U+FFFD for each maximal part
// of a sequence. Everyone else uses text.h or converters.h.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "foundation/utf8_blocks.h"

namespace corvy {

inline constexpr char32_t kIllFormed = 0xFFFFFFFF;

struct Utf8Character {
    char32_t character;  // kIllFormed for a maximal ill-formed part
    std::size_t length;  // bytes, at least 1
};

// The character at the start of the bytes, of which there is one at least.
inline Utf8Character decodeUtf8Character(const std::uint8_t* in, const std::uint8_t* end) {
    const std::uint8_t lead = *in;
    if (lead < 0x80) return {lead, 1};
    std::size_t length = 0;
    char32_t character = 0;
    // The range of the second byte keeps out overlong forms, surrogates and what lies past
    // U+10FFFF.
    std::uint8_t low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, character = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, character = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, character = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {kIllFormed, 1};
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (in + i >= end || in[i] < low || in[i] > high) return {kIllFormed, i};
        character = character << 6 | (in[i] & 0x3F);
        low = 0x80, high = 0xBF;
    }
    return {character, length};
}

// Writes the character, which is not above U+10FFFF, and gives the number of its bytes: 1 to 4.
inline std::size_t encodeUtf8Character(char32_t character, char* out) {
    const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
    if (character < 0x80) {
        put(character);
        return 1;
    }
    if (character < 0x800) {
        put(0xC0 | character >> 6), put(0x80 | (character & 0x3F));
        return 2;
    }
    if (character < 0x10000) {
        put(0xE0 | character >> 12), put(0x80 | (character >> 6 & 0x3F));
        put(0x80 | (character & 0x3F));
        return 3;
    }
    put(0xF0 | character >> 18), put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F)), put(0x80 | (character & 0x3F));
    return 4;
}

struct Utf8Progress {
    const std::uint8_t* in;         // behind the last byte read
    char16_t* out;                  // behind the last unit written
    std::size_t substitutions = 0;  // ill-formed parts
    std::size_t genuine = 0;        // U+FFFD that stood in the bytes
};

namespace detail {

// Converts the characters from `in` on, none of them by vectors, up to `limit` (which is at least 4
// bytes before the end) or to the first two ASCII characters in a row. There must be room for all
// of them.
inline void decodeUtf8Stretch(Utf8Progress& progress, const std::uint8_t* limit,
                              const std::uint8_t* end) {
    const std::uint8_t* in = progress.in;
    char16_t* out = progress.out;
    while (in < limit) {
        // Four bytes, the first one lowest.
        const std::uint32_t word =
            in[0] | in[1] << 8 | in[2] << 16 | static_cast<std::uint32_t>(in[3]) << 24;
        if ((word & 0xC0E0) == 0x80C0 && (word & 0x1E) != 0) {
            *out++ = static_cast<char16_t>((word & 0x1F) << 6 | (word >> 8 & 0x3F));
            in += 2;
            continue;
        }
        if ((word & 0xC0C0F0) == 0x8080E0) {
            const std::uint32_t unit =
                (word & 0x0F) << 12 | (word >> 2 & 0x0FC0) | (word >> 16 & 0x3F);
            if (unit >= 0x800 && (unit & 0xF800) != 0xD800) {
                *out++ = static_cast<char16_t>(unit);
                progress.genuine += unit == 0xFFFD ? 1 : 0;
                in += 3;
                continue;
            }
        }
        if ((word & 0x80) == 0) {
            *out++ = static_cast<char16_t>(word & 0x7F);
            ++in;
            if ((word & 0x8000) == 0) break;
            continue;
        }
        const Utf8Character next = decodeUtf8Character(in, end);
        if (next.character == kIllFormed) {
            *out++ = 0xFFFD;
            ++progress.substitutions;
        } else {
            *out++ = static_cast<char16_t>(0xD7C0 + (next.character >> 10));
            *out++ = static_cast<char16_t>(0xDC00 | (next.character & 0x3FF));
        }
        in += next.length;
    }
    progress.in = in;
    progress.out = out;
}

}  // namespace detail

// Converts whole characters until the bytes or the room end. Bytes never need more units than they
// are.
template <typename Blocks>
Utf8Progress decodeUtf8(const std::uint8_t* in, const std::uint8_t* end, char16_t* out,
                        char16_t* outEnd) {
    constexpr std::ptrdiff_t kBlock = Blocks::kSize;
    Utf8Progress progress = {in, out};
    while (end - progress.in >= kBlock && outEnd - progress.out >= kBlock) {
        const std::uint32_t high = Blocks::widen(progress.in, progress.out);
        const int ascii = high == 0 ? kBlock : std::countr_zero(high);
        progress.in += ascii;
        progress.out += ascii;
        if (high == 0) continue;
        // A character that starts before the limit can need one unit more than there are bytes
        // up to the limit.
        const std::ptrdiff_t safe = std::min(end - progress.in - 4, outEnd - progress.out - 1);
        if (safe <= 0) break;
        detail::decodeUtf8Stretch(progress, progress.in + safe, end);
    }
    while (progress.in < end && progress.out < outEnd) {
        const Utf8Character next = decodeUtf8Character(progress.in, end);
        if (next.character == kIllFormed) {
            *progress.out++ = 0xFFFD;
            ++progress.substitutions;
        } else if (next.character < 0x10000) {
            *progress.out++ = static_cast<char16_t>(next.character);
            progress.genuine += next.character == 0xFFFD ? 1 : 0;
        } else {
            if (outEnd - progress.out < 2) break;
            *progress.out++ = static_cast<char16_t>(0xD7C0 + (next.character >> 10));
            *progress.out++ = static_cast<char16_t>(0xDC00 | (next.character & 0x3FF));
        }
        progress.in += next.length;
    }
    return progress;
}

}  // namespace corvy
