// The scan itself, for any handler, which it inlines: what GetTagsOfString runs, and what our own
// queries may run directly.
//
// The text is looked at through windows of 64 units, as bitmaps of the few characters that matter.
// A window begins behind the last tag, and again at the start of a tag that does not end in it, so
// that nearly every tag lies in one window. A tag's quotes are resolved by arithmetic on the
// bitmaps; a comment or section looks at each ">".
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "markup/tag_call.h"
#include "markup/tag_parts.h"
#include "markup/unit_block.h"

namespace corvy {

namespace scan {

inline constexpr std::size_t kNone = std::u16string_view::npos;

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

// The name as nameOfTag finds it, at once for the tags that are common.
inline Range quickNameOfTag(std::u16string_view characters, std::size_t start, std::size_t end) {
    const std::size_t first = start + 1 + (characters[start + 1] == u'/' ? 1 : 0);
    constexpr std::size_t kLongest = 16;
    if (characters.size() - first >= kLongest && (characters[first] | 0x20U) - u'a' < 26) {
        const unsigned length = UnitBlock::lengthOfPlainName(characters.data() + first);
        constexpr std::uint64_t kStops = std::uint64_t{1} << u' ' | std::uint64_t{1} << u'>' |
                                         std::uint64_t{1} << u'/' | std::uint64_t{1} << u'\n' |
                                         std::uint64_t{1} << u'\r' | std::uint64_t{1} << u'\t';
        const char16_t stop = characters[first + (length & (kLongest - 1))];
        if (stop < 64 && (kStops >> stop & 1) != 0) return {first, length};
    }
    return nameOfTag(characters, start, end);
}

inline std::size_t indexOf(std::uint64_t bits) {
    return static_cast<std::size_t>(std::countr_zero(bits));
}

// The end of an element's tag, from its "<" at `start`.
inline std::size_t findElementEnd(std::u16string_view characters, std::size_t start) {
    TagState state;
    std::uint64_t within = bitsFrom(1);
    do {
        const std::uint64_t end = findTagEnd(TagBits(windowAt(characters, start)), within, state);
        if (end != 0) return start + indexOf(end);
        within = bitsFrom(0);
        start += UnitBlock::kSize;
    } while (start < characters.size());
    return kNone;
}

struct TagStart {
    std::size_t start;  // of the "<"; kNone behind the last
    // Where the tag ends if it is an element's and the window with its "<" holds all of it.
    std::size_t elementEnd = kNone;
};

// The first tag from `at` on. Most text runs and tags together take less than a window.
inline TagStart findTag(std::u16string_view characters, std::size_t at) {
    const UnitBlock window = windowAt(characters, at);
    std::uint64_t less = window.bitsOf('<');
    if (less != 0) [[likely]] {
        TagState state;
        const std::uint64_t end = findTagEnd(TagBits(window), bitsBehindLowest(less), state);
        return {at + indexOf(less), end != 0 ? at + indexOf(end) : kNone};
    }
    for (at += UnitBlock::kSize; at < characters.size(); at += UnitBlock::kSize) {
        less = windowAt(characters, at).bitsOf('<');
        if (less != 0) return {at + indexOf(less)};
    }
    return {kNone};
}

// The first ">" from `at` on in front of which `endsAt` finds what it needs.
template <typename EndsAt>
std::size_t findGreater(std::u16string_view characters, std::size_t at, EndsAt endsAt) {
    for (; at < characters.size(); at += UnitBlock::kSize) {
        std::uint64_t greater = windowAt(characters, at).bitsOf('>');
        for (; greater != 0; greater &= greater - 1) {
            const std::size_t i = at + indexOf(greater);
            if (endsAt(characters.substr(0, i))) return i;
        }
    }
    return kNone;
}

inline std::size_t findSectionEnd(std::u16string_view characters, std::size_t start) {
    return findGreater(characters, start + 3, [](std::u16string_view before) {
        return before.ends_with(u']') || before.ends_with(u"]--");
    });
}

// kept: the dashes that open a comment can be those that end it, as in "<!-->" and "<!->".
inline std::size_t findCommentEnd(std::u16string_view characters, std::size_t start) {
    const bool shortComment = start + 3 >= characters.size() || characters[start + 3] != u'-';
    if (shortComment) {
        return findGreater(characters, start + 3,
                           [](std::u16string_view before) { return before.ends_with(u'-'); });
    }
    return findGreater(characters, start + 3, [](std::u16string_view before) {
        return before.ends_with(u"--") || before.ends_with(u"--!");
    });
}

// "<!" and `mark` at `start`.
inline TagKind kindOfTag(std::u16string_view characters, std::size_t start) {
    if (start + 2 < characters.size() && characters[start + 1] == u'!') {
        if (characters[start + 2] == u'[') return TagKindSection;
        if (characters[start + 2] == u'-') return TagKindComment;
    }
    return TagKindElement;
}

}  // namespace scan

// Scans `characters`, which stand for `string`, as GetTagsOfString tells; `handler` takes a TagCall
// and gives true to stop. False, without a call, for an empty text.
template <typename Handler>
bool scanTags(std::u16string_view string, std::u16string_view characters, void* context,
              Handler&& handler) {
    if (characters.empty()) return false;
    ElementEnds elementEnds(characters);
    TagCall call = {string, characters, kNotFound, 0, 0, 0, 0, TagKindEnd, context};
    for (;;) {
        const auto [start, elementEnd] = scan::findTag(characters, call.textLocation);
        if (start == scan::kNone) break;
        std::size_t end = elementEnd;
        Range name = kNotFoundRange;
        const TagKind kind = scan::kindOfTag(characters, start);
        if (kind == TagKindElement) {
            if (end == scan::kNone) end = scan::findElementEnd(characters, start);
            if (end == scan::kNone) break;
            name = scan::quickNameOfTag(characters, start, end);
            if (name.length - 5 < 2) {
                end = elementEnds.endOfElement(characters.substr(name.location, name.length), start,
                                               end);
            }
        } else {
            end = kind == TagKindComment ? scan::findCommentEnd(characters, start)
                                         : scan::findSectionEnd(characters, start);
        }
        const bool ended = end != scan::kNone;
        call.nameLocation = name.location;
        call.nameLength = name.length;
        call.tagLocation = start;
        call.tagLength = ended ? end - start + 1 : characters.size() - start;
        call.tagKind = kind;
        const bool stop = handler(static_cast<const TagCall&>(call));
        if (ended && stop) return true;
        call.textLocation = ended ? end + 1 : characters.size();
    }
    call.nameLocation = kNotFound;
    call.nameLength = 0;
    call.tagLocation = characters.size();
    call.tagLength = 0;
    call.tagKind = TagKindEnd;
    handler(static_cast<const TagCall&>(call));
    return true;
}

template <typename Handler>
bool scanTags(std::u16string_view string, Handler&& handler) {
    return scanTags(string, string, nullptr, handler);
}

}  // namespace corvy
