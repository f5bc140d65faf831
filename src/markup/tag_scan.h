// The scan itself, for any handler, which it inlines: what GetTagsOfString runs, and what our own
// queries may run directly.
//
// The text is looked at through windows of 64 units, as bitmaps of the few characters that matter.
// In text only "<" is looked for; a comment or section looks at each ">"; a tag resolves its quotes
// by arithmetic on the bitmaps. A window is moved to the start of a tag that does not end in it, so
// that most tags lie in one.
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
    for (int shift = 1; shift < 64; shift *= 2) bits ^= bits << shift;
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

template <typename Handler>
class TagScan {
public:
    TagScan(std::u16string_view string, std::u16string_view characters, void* context,
            Handler& handler)
        : characters_(characters),
          call_{string, characters, kNotFound, 0, 0, 0, 0, TagKindEnd, context},
          handler_(handler),
          elementEnds_(characters) {}

    void run() {
        load(0);
        std::uint64_t less = block_.bitsOf('<');
        for (;;) {
            while (less == 0) {
                if (!loadNext()) return finish();
                less = block_.bitsOf('<');
            }
            const std::size_t start = base_ + static_cast<std::size_t>(std::countr_zero(less));
            std::size_t end;
            if (isMark(start, u'[')) {
                end = findSectionEnd(start);
                if (end == kNone) return finishUnterminated(start, TagKindSection);
                call_.nameLocation = kNotFound;
                call_.nameLength = 0;
                call_.tagKind = TagKindSection;
            } else if (isMark(start, u'-')) {
                end = findCommentEnd(start);
                if (end == kNone) return finishUnterminated(start, TagKindComment);
                call_.nameLocation = kNotFound;
                call_.nameLength = 0;
                call_.tagKind = TagKindComment;
            } else {
                end = findElementEnd(start);
                if (end == kNone) return finish();
                const Range name = quickNameOfTag(characters_, start, end);
                call_.nameLocation = name.location;
                call_.nameLength = name.length;
                call_.tagKind = TagKindElement;
                if (mayHoldBody(name)) {
                    end = elementEnds_.endOfElement(characters_.substr(name.location, name.length),
                                                    start, end);
                }
            }
            call_.tagLocation = start;
            call_.tagLength = end - start + 1;
            if (handler_(static_cast<const TagCall&>(call_))) return;
            call_.textLocation = end + 1;
            const std::size_t next = end + 1 - base_;
            if (next < UnitBlock::kSize) {
                less = block_.bitsOf('<') & bitsFrom(static_cast<unsigned>(next));
            } else {
                load(end + 1);
                less = block_.bitsOf('<');
            }
        }
    }

private:
    // The window at `base`, which may lie at or past the end of the text.
    void load(std::size_t base) {
        base_ = base;
        const std::size_t rest = base < characters_.size() ? characters_.size() - base : 0;
        block_ = rest >= UnitBlock::kSize ? UnitBlock::load(characters_.data() + base)
                                          : UnitBlock::loadPart(characters_.data() + base, rest);
    }

    // False at the end of the text.
    bool loadNext() {
        if (characters_.size() <= base_ + UnitBlock::kSize) return false;
        load(base_ + UnitBlock::kSize);
        return true;
    }

    // "<!" and `mark` at `start`.
    bool isMark(std::size_t start, char16_t mark) const {
        return start + 2 < characters_.size() && characters_[start + 1] == u'!' &&
               characters_[start + 2] == mark;
    }

    // Names of the length and first letter of "script" and "style".
    bool mayHoldBody(const Range& name) const {
        return (name.length == 5 || name.length == 6) &&
               (characters_[name.location] | 0x20) == u's';
    }

    std::size_t findElementEnd(std::size_t start) {
        TagState state;
        std::uint64_t within = bitsFrom(static_cast<unsigned>(start - base_)) << 1;
        std::uint64_t end = findTagEnd(TagBits(block_), within, state);
        if (end == 0) {
            if (start != base_) {
                load(start);
                state = {};
                end = findTagEnd(TagBits(block_), bitsFrom(1), state);
            }
            while (end == 0) {
                if (!loadNext()) return kNone;
                end = findTagEnd(TagBits(block_), bitsFrom(0), state);
            }
        }
        return base_ + static_cast<std::size_t>(std::countr_zero(end));
    }

    // The first ">" behind `from` in front of which `endsAt` finds what it needs; kNone when there
    // is none. Moves the window to it.
    template <typename EndsAt>
    std::size_t findGreater(std::size_t from, EndsAt endsAt) {
        if (from - base_ >= UnitBlock::kSize) load(from);
        std::uint64_t greater = block_.bitsOf('>') & bitsFrom(static_cast<unsigned>(from - base_));
        for (;;) {
            for (; greater != 0; greater &= greater - 1) {
                const std::size_t i = base_ + static_cast<std::size_t>(std::countr_zero(greater));
                if (endsAt(characters_.substr(0, i))) return i;
            }
            if (!loadNext()) return kNone;
            greater = block_.bitsOf('>');
        }
    }

    std::size_t findSectionEnd(std::size_t start) {
        return findGreater(start + 3, [](std::u16string_view before) {
            return before.ends_with(u']') || before.ends_with(u"]--");
        });
    }

    // kept: the dashes that open a comment can be those that end it, as in "<!-->" and "<!->".
    std::size_t findCommentEnd(std::size_t start) {
        const bool shortComment = start + 3 >= characters_.size() || characters_[start + 3] != u'-';
        if (shortComment) {
            return findGreater(start + 3,
                               [](std::u16string_view before) { return before.ends_with(u'-'); });
        }
        return findGreater(start + 3, [](std::u16string_view before) {
            return before.ends_with(u"--") || before.ends_with(u"--!");
        });
    }

    void finishUnterminated(std::size_t start, TagKind kind) {
        call_.nameLocation = kNotFound;
        call_.nameLength = 0;
        call_.tagLocation = start;
        call_.tagLength = characters_.size() - start;
        call_.tagKind = kind;
        handler_(static_cast<const TagCall&>(call_));
        call_.textLocation = characters_.size();
        finish();
    }

    void finish() {
        call_.nameLocation = kNotFound;
        call_.nameLength = 0;
        call_.tagLocation = characters_.size();
        call_.tagLength = 0;
        call_.tagKind = TagKindEnd;
        handler_(static_cast<const TagCall&>(call_));
    }

    std::u16string_view characters_;
    TagCall call_;
    Handler& handler_;
    ElementEnds elementEnds_;
    UnitBlock block_;
    std::size_t base_ = 0;  // of the window
};

}  // namespace scan

// Scans `characters`, which stand for `string`, as GetTagsOfString tells; `handler` takes a TagCall
// and gives true to stop. False, without a call, for an empty text.
template <typename Handler>
bool scanTags(std::u16string_view string, std::u16string_view characters, void* context,
              Handler&& handler) {
    if (characters.empty()) return false;
    scan::TagScan(string, characters, context, handler).run();
    return true;
}

template <typename Handler>
bool scanTags(std::u16string_view string, Handler&& handler) {
    return scanTags(string, string, nullptr, handler);
}

}  // namespace corvy
