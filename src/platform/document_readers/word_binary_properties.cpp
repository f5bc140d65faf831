#include "platform/document_readers/word_binary_properties.h"

#include <algorithm>

namespace corvy::platform {

namespace {

constexpr double kTwips = 20;  // to a point

constexpr RgbColor kPalette[] = {{0, 0, 0},     {0, 0, 255},   {0, 255, 255},   {0, 255, 0},
                                 {255, 0, 255}, {255, 0, 0},   {255, 255, 0},   {255, 255, 255},
                                 {0, 0, 128},   {0, 128, 128}, {0, 128, 0},     {128, 0, 128},
                                 {128, 0, 0},   {128, 128, 0}, {128, 128, 128}, {192, 192, 192}};

// 0 is automatic.
std::optional<RgbColor> paletteColor(std::uint8_t index) {
    return index >= 1 && index <= std::size(kPalette) ? std::optional(kPalette[index - 1])
                                                      : std::nullopt;
}

std::optional<RgbColor> fullColor(LittleEndian bytes) {
    if (bytes.u8(3) != 0) return std::nullopt;  // automatic
    return RgbColor{bytes.u8(0), bytes.u8(1), bytes.u8(2)};
}

// The colour behind a text with a pattern over it, of which only the full one hides it.
std::optional<RgbColor> shadingOf(LittleEndian pattern) {
    constexpr std::uint16_t kFull = 1;
    return fullColor(pattern.from(pattern.u16(8) == kFull ? 0 : 4));
}

// 0 and 1 are what they say, 128 is as the style has it, 129 the contrary.
bool switchOf(std::uint8_t value, const std::optional<bool>& style) {
    constexpr std::uint8_t kAsStyle = 128, kNotAsStyle = 129;
    if (value == kAsStyle) return style.value_or(false);
    if (value == kNotAsStyle) return !style.value_or(false);
    return value != 0;
}

LineStyle underlineOf(std::uint8_t kind) {
    constexpr std::uint8_t kDouble = 3, kThick = 6, kWavyDouble = 43;
    if (kind == 0 || kind == 5) return LineStyle::none;
    if (kind == kDouble || kind == kWavyDouble) return LineStyle::doubled;
    return kind == kThick ? LineStyle::thick : LineStyle::single;
}

template <typename T>
void take(std::optional<T>& own, const std::optional<T>& above) {
    if (above) own = above;
}

std::optional<WordCellEdge> oldEdge(LittleEndian bytes) {
    constexpr double kEighth = 0.125, kThickest = 6;
    if (bytes.u32(0) == 0xFFFFFFFF || bytes.u8(1) == 0 || bytes.u8(1) == 0xFF) {
        return std::nullopt;
    }
    return WordCellEdge{std::clamp(bytes.u8(0) * kEighth, 0.25, kThickest),
                        paletteColor(bytes.u8(2))};
}

WordRow rowOf(LittleEndian operand) {
    WordRow row;
    constexpr std::size_t kCell = 20;
    const std::size_t count = std::min<std::size_t>(operand.u8(2), 64);
    row.left = operand.s16(3) / kTwips;
    const LittleEndian cells = operand.from(3 + 2 * (count + 1));
    for (std::size_t i = 0; i < count; ++i) {
        const LittleEndian told = cells.part(i * kCell, kCell);
        const unsigned flags = told.u16(0);
        WordRowCell cell;
        cell.right = operand.s16(3 + 2 * (i + 1)) / kTwips;
        cell.continuesColumns = (flags & 0x02) != 0;
        cell.startsRows = (flags & 0x40) != 0;
        cell.continuesRows = (flags & 0x20) != 0 && !cell.startsRows;
        const unsigned alignment = flags >> 7 & 3;
        cell.alignment = alignment == 1   ? VerticalAlignment::middle
                         : alignment == 2 ? VerticalAlignment::bottom
                                          : VerticalAlignment::top;
        for (std::size_t edge = 0; edge < cell.edges.size(); ++edge) {
            cell.edges[edge] = oldEdge(told.part(4 + 4 * edge, 4));
        }
        row.cells.push_back(cell);
    }
    return row;
}

// In the longer form each tab that is cleared has its breadth as well.
void readTabs(ParagraphProperties& to, LittleEndian operand, bool hasBreadths) {
    const std::size_t cleared = operand.u8(1);
    for (std::size_t i = 0; i < cleared; ++i) {
        to.clearedTabs.push_back(operand.s16(2 + 2 * i) / kTwips);
    }
    const std::size_t start = 2 + (hasBreadths ? 4 : 2) * cleared;
    const std::size_t added = std::min<std::size_t>(operand.u8(start), 64);
    for (std::size_t i = 0; i < added; ++i) {
        const unsigned kind = operand.u8(start + 1 + 2 * added + i) & 7U;
        to.tabs.push_back({operand.s16(start + 1 + 2 * i) / kTwips, kind == 1   ? TabKind::center
                                                                    : kind == 2 ? TabKind::right
                                                                    : kind == 3 ? TabKind::decimal
                                                                                : TabKind::left});
    }
    std::ranges::sort(to.tabs, {}, &TabStop::position);
}

void readLineHeight(ParagraphProperties& to, LittleEndian operand) {
    constexpr double kSingleLine = 240;
    const int height = operand.s16(0);
    if (operand.s16(2) == 1) {
        to.lineHeightMultiple = height / kSingleLine;
    } else {
        to.minimumLineHeight = std::abs(height) / kTwips;
        if (height < 0) to.maximumLineHeight = to.minimumLineHeight;
    }
}

// What all cells have at the left or the right; none when it is about other edges.
std::optional<double> sidePaddingOf(LittleEndian operand) {
    constexpr unsigned kSides = 0x0A, kTwipUnit = 3;
    if ((operand.u8(3) & kSides) == 0 || operand.u8(4) != kTwipUnit) return std::nullopt;
    return operand.u16(5) / kTwips;
}

TextAlignment alignmentOf(std::uint8_t value) {
    if (value == 1) return TextAlignment::center;
    if (value == 2) return TextAlignment::right;
    return value >= 3 && value <= 5 ? TextAlignment::justified : TextAlignment::natural;
}

}  // namespace

std::optional<WordChange> WordChanges::next() {
    if (rest_.size() < 3) return std::nullopt;
    WordChange change;
    change.code = rest_.u16(0);
    static constexpr std::size_t kSizes[] = {1, 1, 2, 4, 2, 2, 0, 3};
    std::size_t size = kSizes[change.code >> 13];
    constexpr std::uint16_t kTableDefinition = 0xD608, kTabs = 0xC615;
    if (change.code == kTableDefinition) {
        size = std::size_t{rest_.u16(2)} + 1;
    } else if (change.code == kTabs && rest_.u8(2) == 0xFF) {
        const std::size_t cleared = rest_.u8(3);
        size = 3 + 4 * cleared + 3 * std::size_t{rest_.u8(4 + 4 * cleared)};
    } else if (size == 0) {
        size = std::size_t{rest_.u8(2)} + 1;
    }
    if (rest_.size() < 2 + size) return std::nullopt;
    change.operand = rest_.part(2, size);
    rest_ = rest_.from(2 + size);
    return change;
}

void WordTextProperties::overlay(const WordTextProperties& above) {
    text.overlay(above.text);
    take(deleted, above.deleted);
    take(style, above.style);
    take(picture, above.picture);
    if (above.symbolFont) {
        symbolFont = above.symbolFont;
        symbol = above.symbol;
    }
}

void WordParagraphProperties::overlay(const WordParagraphProperties& above) {
    paragraph.overlay(above.paragraph);
    take(inTable, above.inTable);
    take(endsRow, above.endsRow);
    take(endsInnerCell, above.endsInnerCell);
    take(depth, above.depth);
    take(list, above.list);
    take(level, above.level);
    take(row, above.row);
}

WordTextProperties wordTextChanges(LittleEndian list, const TextProperties& style,
                                   const std::vector<std::u16string>& fonts) {
    WordTextProperties to;
    TextProperties& text = to.text;
    WordChanges changes(list);
    while (const auto change = changes.next()) {
        const LittleEndian operand = change->operand;
        const std::uint8_t value = operand.u8(0);
        switch (change->code) {
            case 0x0800: to.deleted = value != 0; break;
            case 0x0835: text.bold = switchOf(value, style.bold); break;
            case 0x0836: text.italic = switchOf(value, style.italic); break;
            case 0x0837:
                text.strike = switchOf(value, style.strike == LineStyle::single) ? LineStyle::single
                                                                                 : LineStyle::none;
                break;
            case 0x0838: text.outline = switchOf(value, style.outline); break;
            case 0x0839: text.shadow = switchOf(value, style.shadow); break;
            case 0x083C: text.hidden = switchOf(value, style.hidden); break;
            case 0x2A53: text.strike = value != 0 ? LineStyle::doubled : LineStyle::none; break;
            case 0x2A3E: text.underline = underlineOf(value); break;
            case 0x2A42: text.color.emplace(paletteColor(value)); break;
            case 0x6870: text.color.emplace(fullColor(operand)); break;
            case 0x2A0C: text.background.emplace(paletteColor(value)); break;
            case 0xCA71:
                if (!text.background) text.background.emplace(shadingOf(operand.from(1)));
                break;
            case 0x4A43: text.size = operand.u16(0) / 2.0; break;
            case 0x4845: text.baselineOffset = operand.s16(0) / 2.0; break;
            case 0x8840: text.kern = operand.s16(0) / kTwips; break;
            case 0x2A48:
                text.superscript = static_cast<std::int8_t>(value == 1 ? 1 : value == 2 ? -1 : 0);
                break;
            case 0x4A4F:
                if (operand.u16(0) < fonts.size()) text.font = fonts[operand.u16(0)];
                break;
            case 0x4A30: to.style = operand.u16(0); break;
            case 0x6A03: to.picture = operand.u32(0); break;
            case 0x6A09:
                to.symbolFont = operand.u16(0);
                to.symbol = operand.u16(2);
                break;
            default: break;
        }
    }
    return to;
}

WordParagraphProperties wordParagraphChanges(LittleEndian list) {
    WordParagraphProperties to;
    ParagraphProperties& paragraph = to.paragraph;
    std::array<std::optional<WordCellEdge>, 6> edges = {};
    std::optional<double> padding;
    WordChanges changes(list);
    while (const auto change = changes.next()) {
        const LittleEndian operand = change->operand;
        const std::uint8_t value = operand.u8(0);
        const double length = operand.s16(0) / kTwips;
        switch (change->code) {
            case 0x2403:
            case 0x2461: paragraph.alignment = alignmentOf(value); break;
            case 0x2441:
                paragraph.direction =
                    value != 0 ? WritingDirection::rightToLeft : WritingDirection::leftToRight;
                break;
            case 0x840F:
            case 0x845E: paragraph.head = length; break;
            case 0x840E:
            case 0x845D: paragraph.tail = length; break;
            case 0x8411:
            case 0x8460: paragraph.firstLine = length; break;
            case 0xA413: paragraph.before = length; break;
            case 0xA414: paragraph.after = length; break;
            case 0x6412: readLineHeight(paragraph, operand); break;
            case 0x2407: paragraph.breaksPage = value != 0; break;
            case 0xC60D:
            case 0xC615: readTabs(paragraph, operand, change->code == 0xC615); break;
            case 0x2640:
                paragraph.headerLevel = static_cast<std::uint8_t>(value < 6 ? value + 1 : 0);
                break;
            case 0x260A: to.level = std::min<std::uint8_t>(value, 8); break;
            case 0x460B: to.list = operand.u16(0); break;
            case 0x2416: to.inTable = value != 0; break;
            case 0x2417: to.endsRow = value != 0; break;
            case 0x244B: to.endsInnerCell = value != 0; break;
            case 0x6649: to.depth = operand.u32(0); break;
            case 0xD608: to.row = rowOf(operand); break;
            case 0x9602: padding = length; break;
            case 0xD634:
                if (const auto told = sidePaddingOf(operand)) padding = told;
                break;
            case 0xD605:
                for (std::size_t i = 0; i < edges.size(); ++i) {
                    edges[i] = oldEdge(operand.part(1 + 4 * i, 4));
                }
                break;
            case 0xD613:
                for (std::size_t i = 0; i < edges.size(); ++i) {
                    // Colour, width in eighths of a point, kind.
                    const LittleEndian edge = operand.part(1 + 8 * i, 8);
                    constexpr double kEighth = 0.125;
                    if (edge.u8(5) != 0 && edge.u8(5) != 0xFF) {
                        edges[i] = WordCellEdge{edge.u8(4) * kEighth, fullColor(edge)};
                    }
                }
                break;
            default: break;
        }
    }
    if (to.row) {
        to.row->edges = edges;
        if (padding && *padding >= 0) to.row->padding = *padding;
    }
    return to;
}

}  // namespace corvy::platform
