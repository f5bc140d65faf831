#include "markup/tag_parts.h"

#include <algorithm>
#include <bit>
#include <functional>

#include "foundation/character_tables.h"
#include "foundation/text.h"
#include "markup/unit_block.h"

namespace corvy {

namespace {

constexpr std::size_t kNone = std::u16string_view::npos;

// The first place in front of `end` at which the ASCII text `part` lies, as `equal` compares the
// units behind the first two; those compare exactly.
template <typename Equal>
std::size_t find(std::u16string_view characters, std::u16string_view part, std::size_t from,
                 Equal equal) {
    const auto matches = [&](std::size_t i) {
        return characters.size() - i >= part.size() &&
               equal(characters.substr(i + 2, part.size() - 2), part.substr(2));
    };
    const char first = static_cast<char>(part[0]);
    const char second = static_cast<char>(part[1]);
    // Neighbouring blocks share a unit, so that no pair lies across their border.
    for (std::size_t base = from; base + 1 < characters.size(); base += UnitBlock::kSize - 1) {
        const std::size_t rest = characters.size() - base;
        const UnitBlock block = rest >= UnitBlock::kSize
                                    ? UnitBlock::load(characters.data() + base)
                                    : UnitBlock::loadPart(characters.data() + base, rest);
        std::uint64_t pairs = block.bitsOf(first) & block.bitsOf(second) >> 1;
        for (; pairs != 0; pairs &= pairs - 1) {
            const std::size_t i = base + static_cast<std::size_t>(std::countr_zero(pairs));
            if (matches(i)) return i;
        }
    }
    return kNone;
}

std::size_t find(std::u16string_view characters, std::u16string_view part, std::size_t from) {
    return find(characters, part, from, std::equal_to<std::u16string_view>());
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

std::size_t ElementEnds::endOfElement(std::u16string_view name, std::size_t start,
                                      std::size_t end) {
    Closing* closing = nullptr;
    if (equalAsciiLetters(name, u"script")) closing = &script_;
    if (equalAsciiLetters(name, u"style")) closing = &style_;
    if (!closing || characters_[start + 1] == u'/' || characters_[end - 1] == u'/') return end;

    // The start tag's own attributes are searched as well: a closing text in one ends the element.
    std::size_t close = findClosing(*closing, start + 1);
    if (close == kNone) return end;
    // kept: one closing text inside a comment is stepped over, never a second one.
    const std::size_t comment = find(characters_.substr(0, close), u"<!-", start);
    if (comment != kNone) {
        const std::size_t commentEnd = findCommentEnd(comment);
        const std::size_t next = commentEnd == kNone ? kNone : findClosing(*closing, commentEnd);
        if (next != kNone) close = next;
    }
    const std::size_t last = characters_.find(u'>', close + closing->text.size());
    return std::min(last, characters_.size());
}

std::size_t ElementEnds::findClosing(Closing& closing, std::size_t from) {
    if (from >= closing.noneFrom) return kNone;
    const std::size_t found = find(characters_, closing.text, from, equalNoCase);
    if (found == kNone) closing.noneFrom = from;
    return found;
}

std::size_t ElementEnds::findCommentEnd(std::size_t from) {
    if (from < commentEndFrom_ || from > commentEnd_) {
        commentEnd_ = find(characters_, u"-->", from);
        commentEndFrom_ = from;
    }
    return commentEnd_;
}

}  // namespace corvy
