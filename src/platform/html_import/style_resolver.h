// The cascade: computed styles of all elements of a page.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/html_import/computed_style.h"
#include "platform/html_import/custom_properties.h"
#include "platform/html_import/font_families.h"
#include "platform/html_import/html_tree.h"
#include "platform/html_import/selector_matcher.h"
#include "platform/html_import/style_sheets.h"

namespace corvy::platform::css {

// Where "display: none" and "visibility: hidden" do not count.
enum class Reveal : std::uint8_t { nothing, roots, everything };

class StyleResolver {
public:
    // Both must outlive it.
    StyleResolver(const HtmlTree& tree, StyleSheets& sheets, Reveal reveal = Reveal::nothing);

    // Computes all styles. Below an element that is not displayed nothing is computed.
    void run();

    // Of an element; of a text that of the element around it.
    const ComputedStyle& styleOf(NodeIndex node) const { return styles_[styleIndices_[node]]; }
    // Elements with equal indices have the same style.
    std::uint32_t styleIndexOf(NodeIndex node) const { return styleIndices_[node]; }
    std::size_t styleCount() const { return styles_.size(); }
    const FontFamilies& families() const { return families_; }

private:
    using Winners = std::array<const Declaration*, kPropertyCount>;

    std::uint32_t resolve(NodeIndex node, std::uint32_t parent, const AncestorFilter& filter);
    void gather(const std::vector<Declaration>& block, bool important);
    ComputedStyle compute(NodeIndex node, const ComputedStyle& parent);
    void apply(Property property, const Declaration& declaration, const ComputedStyle& parent,
               ComputedStyle& style);
    void set(Property property, const Value& value, const ComputedStyle& parent,
             ComputedStyle& style);
    void setFontSize(const Value& value, const ComputedStyle& parent, ComputedStyle& style);
    void followFamily(const ComputedStyle& parent, ComputedStyle& style);
    void adjust(NodeIndex node, const ComputedStyle& parent, ComputedStyle& style) const;
    float fontSizeOfKeyword(std::uint8_t keyword, FontFamily family) const;

    const HtmlTree& tree_;
    StyleSheets& sheets_;
    Reveal reveal_;
    SelectorMatcher matcher_;
    FontFamilies families_;
    std::deque<ComputedStyle> styles_;
    std::vector<std::uint32_t> styleIndices_;
    std::unordered_map<std::string, std::uint32_t> known_;  // by what they were made of
    double rootFontSize_ = 16;

    // Of the element at hand.
    Winners winners_{};
    Winners userAgentWinners_{};
    CustomProperties::Declared customs_;
    std::vector<Declaration> hints_;
    std::string key_;
    TextArena texts_;
};

}  // namespace corvy::platform::css
