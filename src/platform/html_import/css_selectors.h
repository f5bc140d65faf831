// Selectors, compiled for matching from their right end.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/html_import/atoms.h"
#include "platform/html_import/css_tokens.h"

namespace corvy::platform::css {

enum class Test : std::uint8_t {
    type,
    id,
    className,
    attribute,
    link,
    root,
    empty,
    firstChild,
    lastChild,
    nthChild,  // `step`, `offset`, and `list` when it counts only what matches
    nthLastChild,
    nthOfType,
    nthLastOfType,
    matchesAny,   // :is, :where
    matchesNone,  // :not
    language,
    checked,
    disabled,
    enabled,
    never,  // a state that no page on paper is in, or a pseudo-element
    // Combinators: what stands behind them is tested on other elements.
    descendant,
    child,
    nextSibling,
    laterSibling,
};
constexpr bool isCombinator(Test test) {
    return test >= Test::descendant;
}

enum class AttributeTest : std::uint8_t {
    present,
    equal,
    word,
    prefix,
    suffix,
    substring,
    languagePrefix,
};

inline constexpr std::uint32_t kNoList = 0xFFFFFFFF;

struct SelectorPart {
    Test test = Test::never;
    AttributeTest attributeTest = AttributeTest::present;
    bool ignoresCase = false;
    Atom name = kNoAtom;
    std::int32_t step = 0;
    std::int32_t offset = 0;
    std::uint32_t list = kNoList;
    std::string_view value = {};
};

// Of what an ancestor must have.
enum class HashedKind : std::uint8_t { type, id, className };
constexpr std::uint32_t hashOfName(HashedKind kind, Atom name) {
    return (name * 3 + static_cast<std::uint32_t>(kind)) * 2654435761U;
}

struct ComplexSelector {
    static constexpr std::size_t kMostHashes = 4;

    std::uint32_t begin = 0;  // its parts, the rightmost compound first
    std::uint32_t end = 0;
    std::uint32_t specificity = 0;
    // Of names that some ancestor of a matching element has.
    std::array<std::uint32_t, kMostHashes> ancestorHashes{};
    std::uint8_t hashCount = 0;
    bool never = false;  // nothing can match it
};

struct SelectorRange {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
};

// All selectors of a page.
class Selectors {
public:
    Selectors(AtomTable& atoms, bool quirks) : atoms_(atoms), quirks_(quirks) {}

    // Reads a list of selectors between commas. None when one of them is no selector, or one that
    // is not known: then the rule does not count. The texts of the tokens must outlive this.
    std::optional<SelectorRange> read(TokenCursor prelude);

    const SelectorPart& part(std::uint32_t index) const { return parts_[index]; }
    const ComplexSelector& selector(std::uint32_t index) const { return selectors_[index]; }
    // The selectors that are arguments of a pseudo-class.
    SelectorRange list(std::uint32_t index) const { return lists_[index]; }

private:
    friend class SelectorReader;

    AtomTable& atoms_;
    bool quirks_;
    std::vector<SelectorPart> parts_;
    std::vector<ComplexSelector> selectors_;
    std::vector<SelectorRange> lists_;
};

}  // namespace corvy::platform::css
