// The scan itself, for any handler, which it inlines: what GetTagsOfString runs, and what our own
// queries may run directly.
//
// The text is looked at through windows of 64 units, as bitmaps of the few characters that matter.
// A window begins behind the last tag, and again at the start of a tag that does not end in it, so
// that nearly every tag lies in one window. A tag's quotes are resolved by arithmetic on the
// bitmaps; a comment or section looks at each ">".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "markup/tag_call.h"
#include "markup/tag_end.h"
#include "markup/tag_parts.h"
#include "markup/unit_block.h"

namespace corvy {

namespace scan {

inline constexpr std::size_t kNone = std::u16string_view::npos;

// The name as nameOfTag finds it, at once for the tags that are common.
inline Range quickNameOfTag(std::u16string_view characters, std::size_t start, std::size_t end) {
    const std::size_t first = start + 1 + (characters[start + 1] == u'/' ? 1 : 0);
    constexpr std::size_t kLongest = 16;
    if (characters.size() - first >= kLongest && (characters[first] | 0x20U) - u'a' < 26) {
        const unsigned length = UnitBlock::lengthOfPlainName(characters.data() + first);
        constexpr std::uint64_t kStops = std::uint64_t{1} << u' ' | std::uint64_t{1} << u'>' |
                                         std::uint64_t{1} << u'/' | std::uint64_t{1} << u'\n' |
                                         std::uint64_t{1} << u'\r' | std::uint64_t{1} << u'\t';
        // Without a stop among them this is the first letter, which is none either.
        const char16_t stop = characters[first + length % kLongest];
        if (stop < 64 && (kStops >> stop & 1) != 0) return {first, length};
    }
    return nameOfTag(characters, start, end);
}

// The end of an element's tag, from its "<" at `start`.
inline std::size_t findElementEnd(std::u16string_view characters, std::size_t start,
                                  ElementEnds& elementEnds) {
    TagState state;
    const std::uint64_t end = findTagEnd(TagBits(windowAt(characters, start)), bitsFrom(1), state);
    return end != 0 ? start + indexOf(end) : elementEnds.endOfTag(start + UnitBlock::kSize, state);
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

// What the "<" at `start` opens.
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
            if (end == scan::kNone) end = scan::findElementEnd(characters, start, elementEnds);
            if (end == scan::kNone) break;  // it is text
            name = scan::quickNameOfTag(characters, start, end);
            if (name.length == 5 || name.length == 6) {  // may be "style" or "script"
                end = elementEnds.endOfElement(characters.substr(name.location, name.length), start,
                                               end);
            }
        } else {
            end = kind == TagKindComment ? scan::findCommentEnd(characters, start)
                                         : scan::findSectionEnd(characters, start);
        }
        const bool ended = end != scan::kNone;  // else a comment or section runs to the end
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
