#include "platform/document_readers/open_document_styles.h"

#include <algorithm>
#include <vector>

#include "foundation/text.h"
#include "platform/document_readers/xml_part.h"

namespace corvy::platform {

namespace {

using Node = pugi::xml_node;

std::string keyOf(std::string_view family, std::string_view name) {
    std::string key(family);
    key += '/';
    key += name;
    return key;
}

// "'Liberation Serif', serif": the first.
std::u16string familyOf(std::string_view list) {
    list = list.substr(0, list.find(','));
    constexpr std::string_view kAround = " '\"";
    const std::size_t start = std::min(list.find_first_not_of(kAround), list.size());
    list.remove_prefix(start);
    return fromUtf8(list.substr(0, list.find_last_not_of(kAround) + 1));
}

std::optional<double> percentOf(std::optional<std::string_view> text) {
    if (!text || !text->ends_with('%')) return std::nullopt;
    return numberOf(text);
}

std::optional<LineStyle> lineOf(Node node, const char* style, const char* type, const char* width) {
    const auto value = attributeOf(node, style);
    const auto kind = attributeOf(node, type);
    if (!value && !kind) return std::nullopt;
    if (value == "none" || kind == "none") return LineStyle::none;
    if (kind == "double") return LineStyle::doubled;
    const std::string_view breadth = attributeOf(node, width).value_or("auto");
    return breadth == "bold" || breadth == "thick" ? LineStyle::thick : LineStyle::single;
}

// "super 58%", "-33% 58%"
void readPosition(TextProperties& to, std::string_view position) {
    if (position.starts_with("super")) {
        to.superscript = std::int8_t{1};
    } else if (position.starts_with("sub")) {
        to.superscript = std::int8_t{-1};
    } else if (const auto percent = numberOf(position)) {
        to.superscript = static_cast<std::int8_t>(*percent > 0 ? 1 : *percent < 0 ? -1 : 0);
    }
}

TextAlignment alignmentOf(std::string_view value) {
    if (value == "right" || value == "end") return TextAlignment::right;
    if (value == "center") return TextAlignment::center;
    return value == "justify" ? TextAlignment::justified : TextAlignment::natural;
}

void readLineHeight(ParagraphProperties& to, Node node) {
    if (const auto height = attributeOf(node, "fo:line-height")) {
        if (const auto percent = percentOf(height)) {
            to.lineHeightMultiple = *percent / 100;
        } else if (const auto points = pointsOf(height)) {
            to.minimumLineHeight = to.maximumLineHeight = points;
        } else {
            to.lineHeightMultiple = 0;
        }
    }
    if (const auto least = pointsOf(attributeOf(node, "style:line-height-at-least"))) {
        to.minimumLineHeight = least;
    }
    to.lineSpacing = pointsOf(attributeOf(node, "style:line-spacing"));
}

ParagraphProperties paragraphProperties(Node node) {
    ParagraphProperties to;
    if (const auto value = attributeOf(node, "fo:text-align")) to.alignment = alignmentOf(*value);
    const auto margin = pointsOf(attributeOf(node, "fo:margin"));
    const auto length = [&](const char* name) {
        const auto value = pointsOf(attributeOf(node, name));
        return value ? value : margin;
    };
    to.head = length("fo:margin-left");
    to.tail = length("fo:margin-right");
    to.before = length("fo:margin-top");
    to.after = length("fo:margin-bottom");
    to.firstLine = pointsOf(attributeOf(node, "fo:text-indent"));
    readLineHeight(to, node);
    if (const auto value = attributeOf(node, "fo:break-before")) to.breaksPage = value == "page";
    if (const auto mode = attributeOf(node, "style:writing-mode")) {
        to.direction = mode->starts_with("rl")   ? WritingDirection::rightToLeft
                       : mode->starts_with("lr") ? WritingDirection::leftToRight
                                                 : WritingDirection::natural;
    }
    for (const Node tab : node.child("style:tab-stops").children("style:tab-stop")) {
        const auto position = pointsOf(attributeOf(tab, "style:position"));
        const std::string_view kind = attributeOf(tab, "style:type").value_or("left");
        if (!position) continue;
        to.tabs.push_back({*position, kind == "center"  ? TabKind::center
                                      : kind == "right" ? TabKind::right
                                      : kind == "char"  ? TabKind::decimal
                                                        : TabKind::left});
    }
    std::ranges::sort(to.tabs, {}, &TabStop::position);
    return to;
}

std::optional<CounterForm> counterOf(std::string_view format) {
    if (format == "1") return CounterForm::decimal;
    if (format == "a") return CounterForm::lowerAlpha;
    if (format == "A") return CounterForm::upperAlpha;
    if (format == "i") return CounterForm::lowerRoman;
    if (format == "I") return CounterForm::upperRoman;
    return std::nullopt;
}

std::u16string markerText(Node level, const char* name) {
    return fromUtf8(attributeOf(level, name).value_or("")).substr(0, kMaxMarkerText);
}

std::int32_t smallNumber(std::optional<std::string_view> text, std::int32_t otherwise) {
    constexpr double kMost = 1'000'000;
    return static_cast<std::int32_t>(std::clamp(numberOf(text).value_or(otherwise), -kMost, kMost));
}

}  // namespace

std::optional<RgbColor> openDocumentColor(std::optional<std::string_view> text) {
    return text == "transparent" ? std::nullopt : colorOf(text);
}

void OpenDocumentStyles::add(Node part) {
    for (const Node font : part.child("office:font-face-decls").children("style:font-face")) {
        const std::string_view family = attributeOf(font, "svg:font-family").value_or("");
        fonts_.try_emplace(std::string(attributeOf(font, "style:name").value_or("")),
                           familyOf(family));
    }
    for (const char* group : {"office:automatic-styles", "office:styles"}) {
        for (const Node node : part.child(group).children()) {
            const std::string_view name = node.name();
            const std::string_view own = attributeOf(node, "style:name").value_or("");
            if (name == "style:style" || name == "style:default-style") {
                const std::string_view family = attributeOf(node, "style:family").value_or("");
                entries_.try_emplace(keyOf(family, own), Entry{node, {}, false});
            } else if (name == "text:list-style") {
                lists_.try_emplace(std::string(own), listStyle(node));
            }
        }
    }
}

TextProperties OpenDocumentStyles::textProperties(Node node) const {
    TextProperties to;
    const auto size = attributeOf(node, "fo:font-size");
    if (const auto percent = percentOf(size)) {
        to.sizeFactor = *percent / 100;
    } else {
        to.size = pointsOf(size);
    }
    if (const auto name = attributeOf(node, "style:font-name")) {
        const auto font = fonts_.find(*name);
        to.font = font != fonts_.end() && !font->second.empty() ? font->second : fromUtf8(*name);
    } else if (const auto family = attributeOf(node, "fo:font-family")) {
        to.font = familyOf(*family);
    }
    constexpr double kBold = 600;
    if (const auto weight = attributeOf(node, "fo:font-weight")) {
        to.bold = weight == "bold" || numberOf(weight).value_or(0) >= kBold;
    }
    if (const auto style = attributeOf(node, "fo:font-style")) to.italic = style != "normal";
    to.underline = lineOf(node, "style:text-underline-style", "style:text-underline-type",
                          "style:text-underline-width");
    to.strike = lineOf(node, "style:text-line-through-style", "style:text-line-through-type",
                       "style:text-line-through-width");
    if (const auto color = attributeOf(node, "style:text-underline-color")) {
        to.underlineColor.emplace(colorOf(color));
    }
    if (const auto color = attributeOf(node, "fo:color")) to.color.emplace(colorOf(color));
    if (attributeOf(node, "style:use-window-font-color") == "true") {
        to.color.emplace(std::nullopt);
    }
    if (const auto color = attributeOf(node, "fo:background-color")) {
        to.background.emplace(openDocumentColor(color));
    }
    if (const auto position = attributeOf(node, "style:text-position")) {
        readPosition(to, *position);
    }
    to.kern = pointsOf(attributeOf(node, "fo:letter-spacing"));
    if (attributeOf(node, "fo:letter-spacing") == "normal") to.kern = 0;
    if (const auto value = attributeOf(node, "style:text-outline")) to.outline = value == "true";
    if (const auto value = attributeOf(node, "fo:text-shadow")) to.shadow = value != "none";
    if (const auto value = attributeOf(node, "text:display")) to.hidden = value == "none";
    return to;
}

void OpenDocumentStyles::apply(Style& style, Node node) const {
    style.text.overlay(textProperties(node.child("style:text-properties")));
    style.paragraph.overlay(paragraphProperties(node.child("style:paragraph-properties")));
    if (const auto level = attributeOf(node, "style:default-outline-level")) {
        style.paragraph.headerLevel =
            static_cast<std::uint8_t>(std::clamp(smallNumber(level, 0), 0, 6));
    }
    if (const auto list = attributeOf(node, "style:list-style-name")) style.list = *list;
}

const OpenDocumentStyles::Style& OpenDocumentStyles::read(std::string_view family, Entry& entry) {
    // From the style down to what it is based on; one that is based on itself ends there.
    std::vector<Entry*> chain;
    const auto baseOf = [&](const Entry& of) -> Entry* {
        const auto parent = attributeOf(of.node, "style:parent-style-name");
        auto base = entries_.find(keyOf(family, parent.value_or("")));
        if (base == entries_.end()) base = entries_.find(keyOf(family, ""));
        return base == entries_.end() ? nullptr : &base->second;
    };
    Entry* next = &entry;
    while (next != nullptr && !next->isRead && std::ranges::find(chain, next) == chain.end()) {
        chain.push_back(next);
        next = baseOf(*next);
    }
    Style style = next != nullptr && next->isRead ? next->style : Style();
    for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
        apply(style, (*link)->node);
        (*link)->style = style;
        (*link)->isRead = true;
    }
    return entry.style;
}

const OpenDocumentStyles::Style& OpenDocumentStyles::style(std::string_view family,
                                                           std::string_view name) {
    static const Style kNothing;
    auto entry = entries_.find(keyOf(family, name));
    // What all text inherits, its paragraph has said.
    if (entry == entries_.end() && family != "text") entry = entries_.find(keyOf(family, ""));
    if (entry == entries_.end()) return kNothing;
    return entry->second.isRead ? entry->second.style : read(family, entry->second);
}

Node OpenDocumentStyles::node(std::string_view family, std::string_view name) const {
    const auto entry = entries_.find(keyOf(family, name));
    return entry == entries_.end() ? Node() : entry->second.node;
}

const OpenDocumentStyles::ListStyle* OpenDocumentStyles::list(std::string_view name) const {
    const auto found = lists_.find(name);
    return found == lists_.end() ? nullptr : &found->second;
}

OpenDocumentStyles::ListStyle OpenDocumentStyles::listStyle(Node node) const {
    ListStyle made;
    for (const Node level : node.children()) {
        const std::int32_t number = smallNumber(attributeOf(level, "text:level"), 0);
        if (number < 1 || number > static_cast<std::int32_t>(kLevels)) continue;
        ListLevel& to = made[static_cast<std::size_t>(number - 1)];
        to.start = smallNumber(attributeOf(level, "text:start-value"), 1);
        to.shownLevels = smallNumber(attributeOf(level, "text:display-levels"), 1);
        to.counter = counterOf(attributeOf(level, "style:num-format").value_or(""));
        to.prefix = markerText(level, "style:num-prefix");
        to.suffix = markerText(level, "style:num-suffix");
        to.bullet = markerText(level, "text:bullet-char");
        // A sign of a symbol font is unlikely to be in the one that shows it.
        if (to.bullet.size() == 1 && to.bullet[0] >= 0xE000 && to.bullet[0] < 0xF900) {
            to.bullet = u"\x2022";
        }
        const Node properties = level.child("style:list-level-properties");
        const Node alignment = properties.child("style:list-level-label-alignment");
        if (alignment) {
            to.text = pointsOf(attributeOf(alignment, "fo:margin-left")).value_or(0);
            to.marker = to.text + pointsOf(attributeOf(alignment, "fo:text-indent")).value_or(0);
        } else {
            to.marker = pointsOf(attributeOf(properties, "text:space-before")).value_or(0);
            to.text =
                to.marker + pointsOf(attributeOf(properties, "text:min-label-width")).value_or(0);
        }
    }
    return made;
}

}  // namespace corvy::platform
