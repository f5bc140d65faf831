// What a style of a document says of text and paragraphs. What it leaves open comes from the style
// that it is based on, in the end from the model's defaults.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/rich_text/text_style.h"

namespace corvy::platform {

struct TextProperties {
    std::optional<std::u16string> font = {};
    std::optional<double> size = {};        // points
    std::optional<double> sizeFactor = {};  // of the style below, in place of a size
    std::optional<bool> bold = {};
    std::optional<bool> italic = {};
    std::optional<bool> outline = {};
    std::optional<bool> shadow = {};
    std::optional<bool> hidden = {};
    std::optional<LineStyle> underline = {};
    std::optional<LineStyle> strike = {};
    std::optional<std::int8_t> superscript = {};
    std::optional<double> baselineOffset = {};
    std::optional<double> kern = {};
    // A colour that is told to be automatic is none.
    std::optional<std::optional<RgbColor>> color = {};
    std::optional<std::optional<RgbColor>> background = {};
    std::optional<std::optional<RgbColor>> underlineColor = {};

    // Takes what `above` says.
    void overlay(const TextProperties& above);
    TextStyle resolved() const;
};

// A list, by the name that it has in its document, and the level of it, from 0.
struct ListPlace {
    std::u16string list = {};  // empty: in no list, though the style below is in one
    std::uint8_t level = 0;
    friend bool operator==(const ListPlace&, const ListPlace&) = default;
};

struct ParagraphProperties {
    std::optional<TextAlignment> alignment = {};
    std::optional<WritingDirection> direction = {};
    std::optional<double> firstLine = {};  // from the indent of the other lines
    std::optional<double> head = {};
    std::optional<double> tail = {};
    std::optional<double> before = {};
    std::optional<double> after = {};
    std::optional<double> lineSpacing = {};
    std::optional<double> lineHeightMultiple = {};
    std::optional<double> minimumLineHeight = {};
    std::optional<double> maximumLineHeight = {};
    std::optional<std::uint8_t> headerLevel = {};
    std::optional<bool> breaksPage = {};
    std::optional<ListPlace> list = {};
    std::vector<TabStop> tabs = {};        // added to those of the style below
    std::vector<double> clearedTabs = {};  // positions

    void overlay(const ParagraphProperties& above);
    // Without lists and cells.
    ParagraphStyle resolved() const;
};

}  // namespace corvy::platform
