// Which rules hold for the elements of a page.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "platform/html_import/html_tree.h"
#include "platform/html_import/style_sheets.h"

namespace corvy::platform::css {

// Names that the ancestors of the element at hand have, as counts by hash: a selector that needs
// another one can be passed over unseen.
class AncestorFilter {
public:
    void enter(const HtmlTree& tree, NodeIndex node) { change(tree, node, 1); }
    void leave(const HtmlTree& tree, NodeIndex node) { change(tree, node, -1); }
    bool mayMatch(const ComplexSelector& selector) const {
        for (std::uint8_t i = 0; i < selector.hashCount; ++i) {
            if (counts_[selector.ancestorHashes[i] >> kShift] == 0) return false;
        }
        return true;
    }

private:
    static constexpr int kBits = 12;
    static constexpr int kShift = 32 - kBits;

    void change(const HtmlTree& tree, NodeIndex node, int by);

    std::array<std::int32_t, 1 << kBits> counts_{};
};

class SelectorMatcher {
public:
    SelectorMatcher(const HtmlTree& tree, const StyleSheets& sheets);

    // The ranks and blocks of the rules that hold for an element, in ascending order. Elements are
    // asked for in document order; `filter` knows the ancestors.
    struct Match {
        std::uint64_t rank;
        std::uint32_t block;
    };
    const std::vector<Match>& matchesOf(NodeIndex node, const AncestorFilter& filter);

    // What all of the matching may cost, in tests; when it is used up no further rule of the page
    // holds for anything.
    static constexpr std::uint64_t kBudget = 150'000'000;

private:
    using RuleList = std::vector<std::uint32_t>;

    void indexRules();
    void tryRules(const RuleList& rules, NodeIndex node, const AncestorFilter& filter);
    bool matches(const ComplexSelector& selector, NodeIndex node);
    bool matchesAnyOf(SelectorRange range, NodeIndex node);
    bool matchesPart(const SelectorPart& part, NodeIndex node);
    bool matchesAttribute(const SelectorPart& part, NodeIndex node) const;
    bool matchesLanguage(std::string_view language, NodeIndex node) const;
    bool matchesCount(const SelectorPart& part, NodeIndex node);
    std::int64_t positionOf(const SelectorPart& part, NodeIndex node);
    void countTypes();
    bool spend(std::uint64_t cost);

    const HtmlTree& tree_;
    const StyleSheets& sheets_;
    std::unordered_map<Atom, RuleList> byId_;
    std::unordered_map<Atom, RuleList> byClass_;
    std::unordered_map<Atom, RuleList> byType_;
    RuleList others_;
    std::vector<Match> found_;
    std::uint64_t spent_ = 0;
    struct TypePosition {
        std::uint32_t position = 0;
        std::uint32_t fromEnd = 0;
    };
    std::vector<TypePosition> typePositions_;  // of all nodes, once it is asked for
};

}  // namespace corvy::platform::css
