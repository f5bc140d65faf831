#include "platform/document_readers/word_properties.h"

#include <algorithm>
#include <iterator>

#include "foundation/text.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

constexpr double kHalfPoints = 2;  // to a point

std::optional<double> twips(Node node, const char* name) {
    return pointsOf(attributeOf(node, name), kTwips);
}

std::optional<double> twips(Node node, const char* name, const char* otherName) {
    const auto value = twips(node, name);
    return value ? value : twips(node, otherName);
}

struct NamedColor {
    std::string_view name;
    RgbColor color;
};

constexpr NamedColor kHighlights[] = {{"black", {0, 0, 0}},
                                      {"blue", {0, 0, 255}},
                                      {"cyan", {0, 255, 255}},
                                      {"darkBlue", {0, 0, 128}},
                                      {"darkCyan", {0, 128, 128}},
                                      {"darkGray", {128, 128, 128}},
                                      {"darkGreen", {0, 128, 0}},
                                      {"darkMagenta", {128, 0, 128}},
                                      {"darkRed", {128, 0, 0}},
                                      {"darkYellow", {128, 128, 0}},
                                      {"green", {0, 255, 0}},
                                      {"lightGray", {192, 192, 192}},
                                      {"magenta", {255, 0, 255}},
                                      {"red", {255, 0, 0}},
                                      {"white", {255, 255, 255}},
                                      {"yellow", {255, 255, 0}},
                                      // Names of the 2003 form.
                                      {"dark-blue", {0, 0, 128}},
                                      {"dark-cyan", {0, 128, 128}},
                                      {"dark-gray", {128, 128, 128}},
                                      {"dark-green", {0, 128, 0}},
                                      {"dark-magenta", {128, 0, 128}},
                                      {"dark-red", {128, 0, 0}},
                                      {"dark-yellow", {128, 128, 0}},
                                      {"light-gray", {192, 192, 192}}};

std::optional<RgbColor> highlightOf(Node node) {
    const auto* known = std::ranges::find(kHighlights, wordValue(node), &NamedColor::name);
    return known == std::end(kHighlights) ? std::nullopt : std::optional(known->color);
}

// Of a shading; a pattern over it counts as none but the full one.
std::optional<RgbColor> shadingOf(Node node) {
    return colorOf(attributeOf(node, wordValue(node) == "solid" ? "w:color" : "w:fill"));
}

LineStyle underlineOf(std::string_view value) {
    if (value.empty() || value == "none") return LineStyle::none;
    if (value == "double" || value == "wavyDouble" || value == "wavy-double") {
        return LineStyle::doubled;
    }
    return value == "thick" || value.ends_with("Heavy") || value.ends_with("-heavy")
               ? LineStyle::thick
               : LineStyle::single;
}

std::optional<std::u16string> fontOf(Node node, const WordTheme& theme) {
    for (const char* name : {"w:asciiTheme", "w:hAnsiTheme"}) {
        const auto value = attributeOf(node, name);
        if (!value) continue;
        const std::u16string& font = value->starts_with("major") ? theme.headings : theme.text;
        if (!font.empty()) return font;
    }
    for (const char* name : {"w:ascii", "w:hAnsi", "w:h-ansi", "w:cs"}) {
        if (const auto value = attributeOf(node, name); value && !value->empty()) {
            return fromUtf8(*value);
        }
    }
    return std::nullopt;
}

struct TextReader {
    std::string_view name;
    void (*read)(TextProperties& to, Node node, const WordTheme& theme);
};

constexpr TextReader kTextReaders[] = {
    {"w:b", [](auto& to, Node node, auto&) { to.bold = isWordSwitchOn(node); }},
    {"w:color",
     [](auto& to, Node node, auto&) { to.color.emplace(colorOf(attributeOf(node, "w:val"))); }},
    {"w:dstrike",
     [](auto& to, Node node, auto&) {
         to.strike = isWordSwitchOn(node) ? LineStyle::doubled : LineStyle::none;
     }},
    {"w:highlight", [](auto& to, Node node, auto&) { to.background.emplace(highlightOf(node)); }},
    {"w:i", [](auto& to, Node node, auto&) { to.italic = isWordSwitchOn(node); }},
    {"w:outline", [](auto& to, Node node, auto&) { to.outline = isWordSwitchOn(node); }},
    {"w:position",
     [](auto& to, Node node, auto&) {
         to.baselineOffset = pointsOf(attributeOf(node, "w:val"), kHalfPoints);
     }},
    {"w:rFonts",
     [](auto& to, Node node, const WordTheme& theme) {
         if (auto font = fontOf(node, theme)) to.font = std::move(font);
     }},
    {"w:shadow", [](auto& to, Node node, auto&) { to.shadow = isWordSwitchOn(node); }},
    {"w:shd",
     [](auto& to, Node node, auto&) {
         if (!to.background) to.background.emplace(shadingOf(node));
     }},
    {"w:spacing", [](auto& to, Node node, auto&) { to.kern = twips(node, "w:val"); }},
    {"w:strike",
     [](auto& to, Node node, auto&) {
         to.strike = isWordSwitchOn(node) ? LineStyle::single : LineStyle::none;
     }},
    {"w:sz", [](auto& to, Node node,
                auto&) { to.size = pointsOf(attributeOf(node, "w:val"), kHalfPoints); }},
    {"w:u",
     [](auto& to, Node node, auto&) {
         to.underline = underlineOf(wordValue(node));
         if (const auto color = colorOf(attributeOf(node, "w:color"))) to.underlineColor = color;
     }},
    {"w:vanish", [](auto& to, Node node, auto&) { to.hidden = isWordSwitchOn(node); }},
    {"w:vertAlign",
     [](auto& to, Node node, auto&) {
         const std::string_view value = wordValue(node);
         to.superscript = static_cast<std::int8_t>(value == "superscript" ? 1
                                                   : value == "subscript" ? -1
                                                                          : 0);
     }},
    {"wx:font",
     [](auto& to, Node node, auto&) {
         const auto name = attributeOf(node, "wx:val");
         if (name && !to.font) to.font = fromUtf8(*name);
     }},
};
static_assert(std::ranges::is_sorted(kTextReaders, {}, &TextReader::name));

TextAlignment alignmentOf(std::string_view value) {
    if (value == "left" || value == "start") return TextAlignment::natural;
    if (value == "right" || value == "end") return TextAlignment::right;
    if (value == "center") return TextAlignment::center;
    return value == "both" || value == "distribute" ? TextAlignment::justified
                                                    : TextAlignment::natural;
}

void readIndents(ParagraphProperties& to, Node node) {
    to.head = twips(node, "w:left", "w:start");
    to.tail = twips(node, "w:right", "w:end");
    to.firstLine = twips(node, "w:firstLine", "w:first-line");
    if (const auto hanging = twips(node, "w:hanging")) to.firstLine = -*hanging;
}

void readSpacing(ParagraphProperties& to, Node node) {
    constexpr double kAutomatic = 14;  // as in pages of the web
    to.before = twips(node, "w:before");
    to.after = twips(node, "w:after");
    if (attributeOf(node, "w:beforeAutospacing").value_or("0") == "1") to.before = kAutomatic;
    if (attributeOf(node, "w:afterAutospacing").value_or("0") == "1") to.after = kAutomatic;
    const auto line = twips(node, "w:line");
    if (!line) return;
    const char* const ruleName = node.attribute("w:lineRule") ? "w:lineRule" : "w:line-rule";
    const std::string_view rule = attributeOf(node, ruleName).value_or("auto");
    constexpr double kSingleLine = 12;
    if (rule == "auto") to.lineHeightMultiple = *line / kSingleLine;
    if (rule == "exact") to.maximumLineHeight = line;
    if (rule != "auto") to.minimumLineHeight = line;
}

void readTabs(ParagraphProperties& to, Node node) {
    for (const Node tab : node.children()) {
        const auto position = twips(tab, "w:pos");
        if (!position) continue;
        const std::string_view kind = wordValue(tab);
        if (kind == "clear") {
            to.clearedTabs.push_back(*position);
        } else if (kind != "bar") {
            to.tabs.push_back({*position, kind == "center"                   ? TabKind::center
                                          : kind == "right" || kind == "end" ? TabKind::right
                                          : kind == "decimal"                ? TabKind::decimal
                                                                             : TabKind::left});
        }
    }
    std::ranges::sort(to.tabs, {}, &TabStop::position);
}

void readListPlace(ParagraphProperties& to, Node node) {
    ListPlace place;
    const Node list = node.child("w:numId") ? node.child("w:numId") : node.child("w:ilfo");
    const std::string_view name = wordValue(list);
    if (name != "0") place.list = fromUtf8(name);
    constexpr double kLast = 8;
    const double level = numberOf(wordValue(node.child("w:ilvl"))).value_or(0);
    place.level = static_cast<std::uint8_t>(std::clamp(level, 0.0, kLast));
    to.list = place;
}

struct ParagraphReader {
    std::string_view name;
    void (*read)(ParagraphProperties& to, Node node);
};

constexpr ParagraphReader kParagraphReaders[] = {
    {"w:bidi",
     [](auto& to, Node node) {
         to.direction =
             isWordSwitchOn(node) ? WritingDirection::rightToLeft : WritingDirection::leftToRight;
     }},
    {"w:ind", readIndents},
    {"w:jc", [](auto& to, Node node) { to.alignment = alignmentOf(wordValue(node)); }},
    {"w:listPr", readListPlace},
    {"w:numPr", readListPlace},
    {"w:outlineLvl",
     [](auto& to, Node node) {
         const double level = numberOf(wordValue(node)).value_or(9);
         to.headerLevel = static_cast<std::uint8_t>(level >= 0 && level < 6 ? level + 1 : 0);
     }},
    {"w:pageBreakBefore", [](auto& to, Node node) { to.breaksPage = isWordSwitchOn(node); }},
    {"w:spacing", readSpacing},
    {"w:tabs", readTabs},
};
static_assert(std::ranges::is_sorted(kParagraphReaders, {}, &ParagraphReader::name));

template <typename Readers, typename Properties, typename... More>
void readAll(const Readers& readers, Properties& to, Node properties, const More&... more) {
    for (const Node node : properties.children()) {
        const std::string_view name = node.name();
        const auto reader = std::ranges::lower_bound(readers, name, {},
                                                     [](const auto& entry) { return entry.name; });
        if (reader != std::end(readers) && reader->name == name) reader->read(to, node, more...);
    }
}

std::optional<WordBorder> borderOf(Node node) {
    if (!node) return std::nullopt;
    const std::string_view kind = wordValue(node);
    if (kind == "nil" || kind == "none") return WordBorder{};
    constexpr double kEighths = 8, kWidest = 6, kUsual = 0.5;
    const double width = pointsOf(attributeOf(node, "w:sz"), kEighths).value_or(kUsual);
    return WordBorder{std::clamp(width, 0.25, kWidest), colorOf(attributeOf(node, "w:color"))};
}

}  // namespace

bool isWordSwitchOn(Node node) {
    const std::string_view value = wordValue(node);
    return node && value != "0" && value != "false" && value != "off" && value != "none";
}

std::string_view wordValue(Node node) {
    return attributeOf(node, "w:val").value_or("");
}

TextProperties wordTextProperties(Node properties, const WordTheme& theme) {
    TextProperties to;
    readAll(kTextReaders, to, properties, theme);
    return to;
}

ParagraphProperties wordParagraphProperties(Node properties) {
    ParagraphProperties to;
    readAll(kParagraphReaders, to, properties);
    return to;
}

std::optional<TextLength> wordTableLength(Node node) {
    const auto value = attributeOf(node, "w:w");
    const std::string_view type = attributeOf(node, "w:type").value_or("dxa");
    const auto number = numberOf(value);
    if (!number || *number <= 0 || type == "auto" || type == "nil") return std::nullopt;
    constexpr double kPartsOfPercent = 50;
    if (value->ends_with('%')) return TextLength{std::min(*number, 100.0), true};
    if (type == "pct") return TextLength{std::min(*number / kPartsOfPercent, 100.0), true};
    return TextLength{pointsOf(value, kTwips).value_or(0), false};
}

void WordTableProperties::overlay(const WordTableProperties& above) {
    for (std::size_t i = 0; i < borders.size(); ++i) {
        if (above.borders[i]) borders[i] = above.borders[i];
    }
    const auto take = [](std::optional<double>& own, const std::optional<double>& other) {
        if (other) own = other;
    };
    take(padding.left, above.padding.left);
    take(padding.top, above.padding.top);
    take(padding.right, above.padding.right);
    take(padding.bottom, above.padding.bottom);
    if (above.background) background = above.background;
}

WordTableProperties wordTableProperties(Node properties) {
    WordTableProperties to;
    const Node borders = properties.child("w:tblBorders") ? properties.child("w:tblBorders")
                                                          : properties.child("w:tcBorders");
    const auto either = [](Node parent, const char* name, const char* otherName) {
        return parent.child(name) ? parent.child(name) : parent.child(otherName);
    };
    using P = WordTableProperties;
    to.borders[P::left] = borderOf(either(borders, "w:left", "w:start"));
    to.borders[P::top] = borderOf(borders.child("w:top"));
    to.borders[P::right] = borderOf(either(borders, "w:right", "w:end"));
    to.borders[P::bottom] = borderOf(borders.child("w:bottom"));
    to.borders[P::insideVertical] = borderOf(borders.child("w:insideV"));
    to.borders[P::insideHorizontal] = borderOf(borders.child("w:insideH"));
    const Node margins = either(properties, "w:tblCellMar", "w:tcMar");
    to.padding = {
        twips(either(margins, "w:left", "w:start"), "w:w"), twips(margins.child("w:top"), "w:w"),
        twips(either(margins, "w:right", "w:end"), "w:w"), twips(margins.child("w:bottom"), "w:w")};
    to.background = shadingOf(properties.child("w:shd"));
    return to;
}

}  // namespace corvy::platform
