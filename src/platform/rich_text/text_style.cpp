#include "platform/rich_text/text_style.h"

#include <functional>

namespace corvy::platform {

namespace {

class Hasher {
public:
    template <typename... Values>
    explicit Hasher(const Values&... values) {
        add(values...);
    }
    template <typename... Values>
    void add(const Values&... values) {
        (addValue(values), ...);
    }
    std::size_t value() const { return value_; }

private:
    void mix(std::size_t hash) {
        constexpr std::size_t kOdd = 0x9E3779B97F4A7C15;
        value_ = (value_ ^ hash) * kOdd;
        value_ ^= value_ >> 32;
    }
    template <typename T>
    void addValue(const T& value) {
        mix(std::hash<T>()(value));
    }
    void addValue(const std::optional<RgbColor>& color) {
        mix(color ? std::size_t{1} << 24 | static_cast<std::size_t>(color->red) << 16 |
                        static_cast<std::size_t>(color->green) << 8 | color->blue
                  : 0);
    }

    std::size_t value_ = 0;
};

}  // namespace

std::size_t hashOf(const TextStyle& style) {
    return Hasher(style.font, style.size, style.bold, style.italic, style.underline, style.strike,
                  style.superscript, style.baselineOffset, style.color, style.background,
                  style.link)
        .value();
}

std::size_t hashOf(const ParagraphStyle& style) {
    Hasher hasher(style.alignment, style.direction, style.firstLineIndent, style.headIndent,
                  style.tailIndent, style.spacingBefore, style.spacingAfter, style.headerLevel);
    for (const TabStop& tab : style.tabs) hasher.add(tab.position);
    for (const TableCell& cell : style.cells) hasher.add(cell.table, cell.row, cell.column);
    for (const std::uint32_t list : style.lists) hasher.add(list);
    return hasher.value();
}

}  // namespace corvy::platform
