// Between UTF-8 and UTF-16, the routines themselves: blocks of ASCII by vectors, the rest by hand.
// What is ill-formed is replaced as ICU and the Web's standard do: one U+FFFD for each maximal part
// of a sequence. Everyone else uses text.h or converters.h.
#pragma once

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

// Converts whole characters until the bytes or the room end. The bytes in front of `end` never
// need more units than they are.
template <typename Blocks>
Utf8Progress decodeUtf8(const std::uint8_t* in, const std::uint8_t* end, char16_t* out,
                        char16_t* outEnd) {
    Utf8Progress progress = {in, out};
    const auto isTrail = [](std::uint8_t byte) { return (byte & 0xC0) == 0x80; };
    while (in < end) {
        if (end - in >= 16 && outEnd - out >= 16) {
            const std::uint32_t high = Blocks::widen(in, out);
            const int ascii = high == 0 ? 16 : std::countr_zero(high);
            in += ascii;
            out += ascii;
            if (high == 0) continue;
        }
        // A stretch of other characters, with single ASCII characters (blanks, mostly) inside it.
        while (in < end && out < outEnd) {
            const std::uint8_t lead = *in;
            if (lead < 0x80) {
                *out++ = lead;
                ++in;
                if (end - in >= 16 && *in < 0x80) break;
                continue;
            }
            if (lead < 0xE0 && lead >= 0xC2 && end - in >= 2 && isTrail(in[1])) {
                *out++ = static_cast<char16_t>((lead & 0x1F) << 6 | (in[1] & 0x3F));
                in += 2;
                continue;
            }
            if (lead >= 0xE1 && lead < 0xED && end - in >= 3 && isTrail(in[1]) && isTrail(in[2])) {
                *out++ = static_cast<char16_t>((lead & 0x0F) << 12 | (in[1] & 0x3F) << 6 |
                                               (in[2] & 0x3F));
                in += 3;
                continue;
            }
            const Utf8Character next = decodeUtf8Character(in, end);
            if (next.character == kIllFormed) {
                *out++ = 0xFFFD;
                ++progress.substitutions;
            } else if (next.character < 0x10000) {
                *out++ = static_cast<char16_t>(next.character);
                if (next.character == 0xFFFD) ++progress.genuine;
            } else {
                if (outEnd - out < 2) {
                    outEnd = out;  // a pair does not fit: the room ends here
                    break;
                }
                *out++ = static_cast<char16_t>(0xD7C0 + (next.character >> 10));
                *out++ = static_cast<char16_t>(0xDC00 | (next.character & 0x3FF));
            }
            in += next.length;
        }
        if (out == outEnd) break;
    }
    progress.in = in;
    progress.out = out;
    return progress;
}

}  // namespace corvy
