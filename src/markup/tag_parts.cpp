#include "markup/tag_parts.h"

#include <algorithm>
#include <bit>

#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "markup/unit_block.h"

namespace corvy {

namespace {

constexpr std::size_t kNone = std::u16string_view::npos;

// The first place from `from` on where `first` stands before `second` or `orSecond`, all of them
// ASCII, and where `accept` agrees; kNone when there is none.
template <typename Accept>
std::size_t findPair(std::u16string_view characters, std::size_t from, char first, char second,
                     char orSecond, Accept accept) {
    // Neighbouring windows share a unit, so that no pair lies across their border.
    for (std::size_t base = from; base + 1 < characters.size(); base += UnitBlock::kSize - 1) {
        const UnitBlock window = windowAt(characters, base);
        const std::uint64_t seconds = window.bitsOf(second) | window.bitsOf(orSecond);
        std::uint64_t pairs = window.bitsOf(first) & seconds >> 1;
        for (; pairs != 0; pairs &= pairs - 1) {
            const std::size_t i = base + static_cast<std::size_t>(std::countr_zero(pairs));
            if (accept(i)) return i;
        }
    }
    return kNone;
}

// Folds the case of ASCII letters only.
bool equalAsciiLetters(std::u16string_view name, std::u16string_view lowerCase) {
    return std::equal(name.begin(), name.end(), lowerCase.begin(), lowerCase.end(),
                      [](char16_t a, char16_t b) { return (a | 0x20) == b; });
}

}  // namespace

Range nameOfTag(std::u16string_view characters, std::size_t start, std::size_t end) {
    const std::u16string_view tag = characters.substr(start, end + 1 - start);
    const auto first = std::find_if(tag.begin(), tag.end(), isAlpha);
    if (first == tag.end()) return kNotFoundRange;
    const auto last = std::find_if(first, tag.end(),
                                   [](char16_t c) { return isWhite(c) || c == u'/' || c == u'>'; });
    return {start + static_cast<std::size_t>(first - tag.begin()),
            static_cast<std::size_t>(last - first)};
}

std::size_t ElementEnds::indexOfWalk(std::size_t at, scan::TagState state) {
    const std::size_t code = state.quote == '"' ? 1 : state.quote == '\'' ? 2 : 0;
    return at / kGrid * kStates + (state.equalSeen ? 3 : code);
}

std::size_t ElementEnds::endOfTag(std::size_t at, scan::TagState state) {
    std::size_t found = kNone;
    std::vector<std::size_t> passed;  // entries of `tagEnds_` that this walk fills
    while (at < characters_.size()) {
        if (at % kGrid == 0 && !tagEnds_.empty()) {
            const std::size_t walk = indexOfWalk(at, state);
            found = tagEnds_[walk];
            if (found != kUnknown) break;
            found = kNone;
            passed.push_back(walk);
        }
        // Windows lie on multiples of their size, so that each walk comes to the same places.
        const std::size_t base = at - at % UnitBlock::kSize;
        const std::uint64_t within = scan::bitsFrom(static_cast<unsigned>(at - base));
        const scan::TagBits bits(windowAt(characters_, base));
        const std::uint64_t end = scan::findTagEnd(bits, within, state);
        if (end != 0) {
            found = base + scan::indexOf(end);
            break;
        }
        at = base + UnitBlock::kSize;
    }
    for (const std::size_t walk : passed) tagEnds_[walk] = found;
    return found;
}

std::size_t ElementEnds::endOfElement(std::u16string_view name, std::size_t start,
                                      std::size_t end) {
    Closing* closing = nullptr;
    if (equalAsciiLetters(name, u"script")) closing = &script_;
    if (equalAsciiLetters(name, u"style")) closing = &style_;
    if (!closing || characters_[start + 1] == u'/' || characters_[end - 1] == u'/') return end;

    // The start tag's own attributes are searched as well: a closing text in one ends the element.
    std::size_t comment = kNone;
    std::size_t close = findClosing(*closing, start + 1, &comment);
    if (close == kNone) return end;
    // kept: one closing text inside a comment is stepped over, never a second one.
    if (comment != kNone) {
        const std::size_t commentEnd = findCommentEnd(comment);
        const std::size_t next = commentEnd == kNone ? kNone : findClosing(*closing, commentEnd);
        if (next != kNone) close = next;
    }
    const std::size_t last =
        std::min(characters_.find(u'>', close + closing->text.size()), characters_.size());
    if (last < end && tagEnds_.empty()) {
        tagEnds_.assign((characters_.size() / kGrid + 1) * kStates, kUnknown);
    }
    return last;
}

std::size_t ElementEnds::findClosing(Closing& closing, std::size_t from, std::size_t* comment) {
    if (from >= closing.noneFrom) return kNone;
    const auto accept = [&](std::size_t i) {
        if (characters_[i + 1] == u'/') {
            return equalNoCase(characters_.substr(i, closing.text.size()), closing.text);
        }
        if (comment && *comment == kNone && characters_.substr(i).starts_with(u"<!-")) *comment = i;
        return false;
    };
    const std::size_t found = findPair(characters_, from, '<', '/', '!', accept);
    if (found == kNone) closing.noneFrom = from;
    return found;
}

std::size_t ElementEnds::findCommentEnd(std::size_t from) {
    if (from < commentEndFrom_ || from > commentEnd_) {
        const auto accept = [this](std::size_t i) {
            return characters_.substr(i).starts_with(u"-->");
        };
        commentEnd_ = findPair(characters_, from, '-', '-', '-', accept);
        commentEndFrom_ = from;
    }
    return commentEnd_;
}

}  // namespace corvy
