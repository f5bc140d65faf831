// What the cascade makes of one element: the values that matter to text. Lengths are pixels.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>

#include "platform/html_import/css_values.h"

namespace corvy::platform::css {

// What has no number: auto, normal, none.
inline constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
inline bool isNone(float value) {
    return std::isnan(value);
}

enum class Display : std::uint8_t {
    none,
    contents,
    inlineText,
    inlineBlock,
    inlineTable,
    ruby,
    rubyText,
    inlineFlex,
    block,
    flex,
    listItem,
    table,
    tableRow,
    tableRowGroup,
    tableHeaderGroup,
    tableFooterGroup,
    tableCell,
    tableCaption,
    tableColumn,
};
enum class Float : std::uint8_t { none, left, right };
enum class Position : std::uint8_t { inFlow, absolute };
enum class Visibility : std::uint8_t { visible, hidden };
enum class TextAlign : std::uint8_t { start, end, left, right, center, justify };
enum class Direction : std::uint8_t { ltr, rtl };
enum class FontStyle : std::uint8_t { normal, italic };
enum class WhiteSpaceCollapse : std::uint8_t { collapse, preserve, preserveBreaks };
enum class TextTransform : std::uint8_t { none, uppercase, lowercase, capitalize };
enum class VerticalAlign : std::uint8_t { baseline, sub, super, top, middle, bottom };
enum class ListPosition : std::uint8_t { outside, inside };
enum class ListType : std::uint8_t {
    none,
    disc,
    circle,
    square,
    decimal,
    decimalLeadingZero,
    lowerAlpha,
    upperAlpha,
    lowerRoman,
    upperRoman,
    lowerGreek,
    text,  // a string of its own
};
enum class BorderStyle : std::uint8_t { none, line };
enum class BorderCollapse : std::uint8_t { separate, collapse };
enum class Break : std::uint8_t { automatic, page };
enum class Decoration : std::uint8_t { none = 0, underline = 1, lineThrough = 2, both = 3 };

// An index into a FontFamilies. 0 is the default.
struct FontFamily {
    std::uint32_t index = 0;
    friend bool operator==(FontFamily, FontFamily) = default;
};

struct LineHeight {
    float value = kNone;
    bool isFactor = true;  // of the font's size
};

// A width or a height.
struct Extent {
    float value = kNone;  // pixels, or per cent of the box around
    bool isPercent = false;
};

class CustomProperties;

struct InheritedStyle {
    FontFamily fontFamily;
    float fontSize = 16;
    // 1 to 8 for a size that goes back to a keyword (4 is medium), 0 for others.
    std::uint8_t sizeKeyword = 4;
    bool hasAbsoluteSize = false;  // goes back to pixels, points, ...: the same for all families
    float fontWeight = 400;
    FontStyle fontStyle = FontStyle::normal;
    Color color;
    LineHeight lineHeight;
    float letterSpacing = 0;
    Direction direction = Direction::ltr;
    TextAlign textAlign = TextAlign::start;
    float textIndent = 0;
    TextTransform textTransform = TextTransform::none;
    WhiteSpaceCollapse whiteSpace = WhiteSpaceCollapse::collapse;
    Visibility visibility = Visibility::visible;
    ListType listType = ListType::disc;
    ListPosition listPosition = ListPosition::outside;
    std::string_view listText;  // for ListType::text
    BorderCollapse borderCollapse = BorderCollapse::separate;
    std::shared_ptr<const CustomProperties> customProperties;  // null: none
};

struct OwnStyle {
    Display display = Display::inlineText;
    Float floating = Float::none;
    Position position = Position::inFlow;
    Color background = {0, 0, 0, 0};
    Decoration decoration = Decoration::none;
    VerticalAlign verticalAlign = VerticalAlign::baseline;
    float verticalShift = 0;  // up
    // Top, right, bottom, left.
    std::array<float, 4> margin = {0, 0, 0, 0};
    std::array<float, 4> padding = {0, 0, 0, 0};
    std::array<float, 4> borderWidth = {3, 3, 3, 3};
    std::array<BorderStyle, 4> borderStyle = {};
    // Fully transparent black stands for the colour of the text.
    std::array<Color, 4> borderColor = {Color{0, 0, 0, 0}, Color{0, 0, 0, 0}, Color{0, 0, 0, 0},
                                        Color{0, 0, 0, 0}};
    Extent width;
    Extent height;
    Extent maxWidth;
    Extent maxHeight;
    Break breakBefore = Break::automatic;
    Break breakAfter = Break::automatic;
};

struct ComputedStyle : InheritedStyle, OwnStyle {
    // The lines drawn through the text: its own and those of the boxes around.
    Decoration decorations = Decoration::none;

    float borderAt(std::size_t edge) const {
        return borderStyle[edge] == BorderStyle::none ? 0 : borderWidth[edge];
    }
    bool isInline() const {
        return display >= Display::inlineText && display <= Display::inlineFlex;
    }
    // Its children are boxes beside or below each other, never parts of a line.
    bool arrangesChildren() const {
        return display == Display::flex || display == Display::inlineFlex;
    }
};

}  // namespace corvy::platform::css
