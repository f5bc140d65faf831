// The attributes of text: those of characters, of paragraphs, and the tables and lists that
// paragraphs belong to. All lengths are points.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvy::platform {

struct RgbColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    friend bool operator==(RgbColor, RgbColor) = default;
};

enum class LineStyle : std::uint8_t { none, single, thick, doubled };

struct TextStyle {
    // A family ("Times") with `bold` and `italic` beside it, or the PostScript name of a font that
    // is of no known family.
    std::u16string font = u"Helvetica";
    double size = 12;
    bool bold = false;
    bool italic = false;
    bool outline = false;
    bool shadow = false;
    LineStyle underline = LineStyle::none;
    LineStyle strike = LineStyle::none;
    std::int8_t superscript = 0;         // levels: 1 raises, -1 lowers
    double baselineOffset = 0;           // up; beside the level
    double kern = 0;                     // added between characters
    std::optional<RgbColor> color = {};  // none: the reader's own, black as a rule
    std::optional<RgbColor> background = {};
    std::optional<RgbColor> underlineColor = {};  // none: that of the text, as with the next
    std::optional<RgbColor> strikeColor = {};
    std::u16string link = {};  // address; empty: no link
    friend bool operator==(const TextStyle&, const TextStyle&) = default;
};

// Natural is the side at which the direction of writing starts.
enum class TextAlignment : std::uint8_t { natural, left, center, right, justified };
// Natural is that of the paragraph's first strong character.
enum class WritingDirection : std::uint8_t { natural, leftToRight, rightToLeft };
enum class TabKind : std::uint8_t { left, center, right, decimal };

struct TabStop {
    double position = 0;  // from the leading margin
    TabKind kind = TabKind::left;
    friend bool operator==(const TabStop&, const TabStop&) = default;
};

struct TextLength {
    double value = 0;
    bool percent = false;  // of what the table or its container is wide; else points
    friend bool operator==(const TextLength&, const TextLength&) = default;
};

// A value for each edge of a box.
template <typename T>
struct Edges {
    T left{};
    T top{};
    T right{};
    T bottom{};
    friend bool operator==(const Edges&, const Edges&) = default;
};

struct TextTable {
    std::uint32_t columns = 1;
    std::optional<TextLength> width = {};  // none: as wide as the container
    bool collapsesBorders = false;
    TextAlignment alignment = TextAlignment::natural;
    std::optional<RgbColor> background = {};
    friend bool operator==(const TextTable&, const TextTable&) = default;
};

enum class VerticalAlignment : std::uint8_t { top, middle, bottom };

// The cell in which a paragraph stands.
struct TableCell {
    std::uint32_t table = 0;  // index in AttributedText::tables()
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    std::uint32_t rowSpan = 1;
    std::uint32_t columnSpan = 1;
    std::optional<TextLength> width = {};
    Edges<double> padding = {};
    Edges<double> borderWidth = {};
    Edges<std::optional<RgbColor>> borderColor = {};  // none: black
    std::optional<RgbColor> background = {};
    VerticalAlignment alignment = VerticalAlignment::top;
    friend bool operator==(const TableCell&, const TableCell&) = default;
};

// A list. The markers themselves are part of the text: a paragraph that is an item begins with a
// tab, its marker and a tab.
struct TextList {
    // The marker, with the counter in braces: "{disc}", "{circle}", "{square}", "{hyphen}",
    // "{decimal}.", "({lower-alpha})", and "{upper-alpha}", "{lower-roman}", "{upper-roman}".
    std::u16string markerFormat = u"{disc}";
    std::int32_t start = 1;  // number of the first item
    friend bool operator==(const TextList&, const TextList&) = default;
};

struct ParagraphStyle {
    TextAlignment alignment = TextAlignment::natural;
    WritingDirection direction = WritingDirection::natural;
    double firstLineIndent = 0;  // from the leading margin, as the next
    double headIndent = 0;       // of the lines below the first
    double tailIndent = 0;       // from the trailing margin, inwards
    double spacingBefore = 0;
    double spacingAfter = 0;
    double lineSpacing = 0;         // added between lines
    double lineHeightMultiple = 0;  // 0: single
    double minimumLineHeight = 0;
    double maximumLineHeight = 0;    // 0: no bound
    double defaultTabInterval = 0;   // 0: that of the document
    std::uint8_t headerLevel = 0;    // 1 to 6 for headings, 0 for text
    std::vector<TabStop> tabs = {};  // by position
    // From the outermost to the innermost. Empty: not in a table, not in a list.
    std::vector<TableCell> cells = {};
    std::vector<std::uint32_t> lists = {};  // indices in AttributedText::lists()
    friend bool operator==(const ParagraphStyle&, const ParagraphStyle&) = default;
};

std::size_t hashOf(const TextStyle& style);
std::size_t hashOf(const ParagraphStyle& style);

}  // namespace corvy::platform
