#include "platform/html_import/css_shorthands.h"

#include <algorithm>
#include <array>
#include <string>

namespace corvy::platform::css {

namespace {

using Declarations = std::vector<Declaration>;

void give(Declarations& out, Property property, const Value& value = {}) {
    out.push_back({property, false, kNoAtom, value});
}

// The value of the property, when there is one at the cursor; it stays where it is otherwise.
std::optional<Value> tryValue(Property property, TokenCursor& in, const ReadingContext& context) {
    TokenCursor ahead = in;
    auto value = readValue(property, ahead, context);
    if (value) in = ahead;
    return value;
}

// One to four values for the four edges.
template <Property top>
bool readEdges(TokenCursor& in, const ReadingContext& context, Declarations& out) {
    std::array<Value, 4> values;
    std::size_t count = 0;
    for (; count < 4 && !in.atEnd(); ++count) {
        const auto value = tryValue(top, in, context);
        if (!value) return false;
        values[count] = *value;
    }
    if (count == 0) return false;
    if (count < 2) values[1] = values[0];
    if (count < 3) values[2] = values[0];
    if (count < 4) values[3] = values[1];
    for (std::size_t edge = 0; edge < 4; ++edge) give(out, atEdge(top, edge), values[edge]);
    return true;
}

// One or two values, for an edge and the one across.
template <Property first, Property second>
bool readPair(TokenCursor& in, const ReadingContext& context, Declarations& out) {
    const auto one = tryValue(first, in, context);
    if (!one) return false;
    const auto other = in.atEnd() ? one : tryValue(first, in, context);
    if (!other) return false;
    give(out, first, *one);
    give(out, second, *other);
    return true;
}

// Width, style and colour of some edges in any order.
template <std::size_t firstEdge, std::size_t edges>
bool readBorder(TokenCursor& in, const ReadingContext& context, Declarations& out) {
    std::optional<Value> width, style, color;
    while (!in.atEnd()) {
        if (!width && (width = tryValue(Property::borderTopWidth, in, context))) continue;
        if (!style && (style = tryValue(Property::borderTopStyle, in, context))) continue;
        if (!color && (color = tryValue(Property::borderTopColor, in, context))) continue;
        return false;
    }
    if (!width && !style && !color) return false;
    for (std::size_t edge = firstEdge; edge < firstEdge + edges; ++edge) {
        give(out, atEdge(Property::borderTopWidth, edge), width.value_or(Value{}));
        give(out, atEdge(Property::borderTopStyle, edge), style.value_or(Value{}));
        give(out, atEdge(Property::borderTopColor, edge), color.value_or(Value{}));
    }
    return true;
}

// The colour alone counts; images, positions and sizes are stepped over.
bool readBackground(TokenCursor& in, const ReadingContext& context, Declarations& out) {
    std::optional<Value> color;
    while (!in.atEnd()) {
        const Token& token = in.peek();
        const bool mayBeColor = token.kind == TokenKind::ident || token.kind == TokenKind::hash ||
                                token.kind == TokenKind::function;
        if (mayBeColor) {
            if (const auto value = tryValue(Property::backgroundColor, in, context)) {
                color = value;
                continue;
            }
        }
        in.take();
    }
    give(out, Property::backgroundColor, color.value_or(Value{}));
    return true;
}

bool readListStyle(TokenCursor& in, const ReadingContext& context, Declarations& out) {
    std::optional<Value> type, position;
    while (!in.atEnd()) {
        const Token& token = in.peek();
        if (token.kind == TokenKind::url || token.kind == TokenKind::function) {
            in.take();  // an image
            continue;
        }
        if (!position && (position = tryValue(Property::listStylePosition, in, context))) continue;
        if (!type && (type = tryValue(Property::listStyleType, in, context))) continue;
        // Of the two that can be none the other one.
        if (token.kind != TokenKind::ident || !equalsNoCase(token.text, "none")) return false;
        in.take();
    }
    give(out, Property::listStyleType, type.value_or(Value{}));
    give(out, Property::listStylePosition, position.value_or(Value{}));
    return true;
}

bool readTextDecoration(TokenCursor& in, const ReadingContext& context, Declarations& out) {
    std::optional<Value> lines;
    while (!in.atEnd()) {
        if (const auto value = tryValue(Property::textDecorationLine, in, context)) {
            if (lines) return false;
            lines = value;
            continue;
        }
        // Its colour, style and thickness.
        const Token& token = in.peek();
        if (token.kind == TokenKind::ident || lengthOf(token)) {
            in.take();
        } else if (!takeColor(in)) {
            return false;
        }
    }
    give(out, Property::textDecorationLine, lines.value_or(Value{}));
    return true;
}

bool isNormal(const Token& token) {
    return token.kind == TokenKind::ident && equalsNoCase(token.text, "normal");
}

// Words of `font` in front of the size that say nothing here: variants and widths.
bool isOtherFontWord(const Token& token) {
    if (token.kind != TokenKind::ident) return false;
    constexpr std::string_view kWords[] = {"small-caps", "ultra-condensed", "extra-condensed",
                                           "condensed",  "semi-condensed",  "semi-expanded",
                                           "expanded",   "extra-expanded",  "ultra-expanded"};
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&](std::string_view word) { return equalsNoCase(token.text, word); });
}

bool isSystemFont(const Token& token) {
    if (token.kind != TokenKind::ident) return false;
    constexpr std::string_view kWords[] = {"caption",
                                           "icon",
                                           "menu",
                                           "message-box",
                                           "small-caption",
                                           "status-bar",
                                           "-webkit-small-control"};
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&](std::string_view word) { return equalsNoCase(token.text, word); });
}

bool readFont(TokenCursor& in, const ReadingContext& context, Declarations& out) {
    if (isSystemFont(in.peek())) {
        in.take();
        Value size;
        size.kind = Value::Kind::length;
        size.length = {16, Unit::px};
        give(out, Property::fontStyle);
        give(out, Property::fontWeight);
        give(out, Property::fontSize, size);
        give(out, Property::lineHeight);
        give(out, Property::fontFamily);
        return true;
    }
    std::optional<Value> style, weight;
    for (int words = 0; words < 4 && !in.atEnd(); ++words) {
        if (isNormal(in.peek()) || isOtherFontWord(in.peek())) {
            in.take();
            continue;
        }
        if (!style && (style = tryValue(Property::fontStyle, in, context))) continue;
        if (weight || in.peek().kind == TokenKind::dimension) break;
        weight = tryValue(Property::fontWeight, in, context);
        if (!weight) break;
    }
    const auto size = tryValue(Property::fontSize, in, context);
    if (!size) return false;
    std::optional<Value> lineHeight;
    if (in.peek().isDelim('/')) {
        in.take();
        lineHeight = tryValue(Property::lineHeight, in, context);
        if (!lineHeight) return false;
    }
    const auto family = tryValue(Property::fontFamily, in, context);
    if (!family) return false;
    give(out, Property::fontStyle, style.value_or(Value{}));
    give(out, Property::fontWeight, weight.value_or(Value{}));
    give(out, Property::fontSize, *size);
    give(out, Property::lineHeight, lineHeight.value_or(Value{}));
    give(out, Property::fontFamily, *family);
    return true;
}

using enum Property;
constexpr Property kFont[] = {fontStyle, fontWeight, fontSize, lineHeight, fontFamily};
constexpr Property kMargin[] = {marginTop, marginRight, marginBottom, marginLeft};
constexpr Property kMarginBlock[] = {marginTop, marginBottom};
constexpr Property kMarginInline[] = {marginLeft, marginRight};
constexpr Property kPadding[] = {paddingTop, paddingRight, paddingBottom, paddingLeft};
constexpr Property kPaddingBlock[] = {paddingTop, paddingBottom};
constexpr Property kPaddingInline[] = {paddingLeft, paddingRight};
constexpr Property kBorder[] = {borderTopWidth,    borderRightWidth,  borderBottomWidth,
                                borderLeftWidth,   borderTopStyle,    borderRightStyle,
                                borderBottomStyle, borderLeftStyle,   borderTopColor,
                                borderRightColor,  borderBottomColor, borderLeftColor};
constexpr Property kBorderTop[] = {borderTopWidth, borderTopStyle, borderTopColor};
constexpr Property kBorderRight[] = {borderRightWidth, borderRightStyle, borderRightColor};
constexpr Property kBorderBottom[] = {borderBottomWidth, borderBottomStyle, borderBottomColor};
constexpr Property kBorderLeft[] = {borderLeftWidth, borderLeftStyle, borderLeftColor};
constexpr Property kBackground[] = {backgroundColor};
constexpr Property kListStyle[] = {listStyleType, listStylePosition};
constexpr Property kTextDecoration[] = {textDecorationLine};

constexpr Shorthand kShorthands[] = {
    {"background", kBackground, readBackground},
    {"border", kBorder, readBorder<0, 4>},
    {"border-bottom", kBorderBottom, readBorder<2, 1>},
    {"border-color", std::span(kBorder).subspan(8, 4), readEdges<borderTopColor>},
    {"border-left", kBorderLeft, readBorder<3, 1>},
    {"border-right", kBorderRight, readBorder<1, 1>},
    {"border-style", std::span(kBorder).subspan(4, 4), readEdges<borderTopStyle>},
    {"border-top", kBorderTop, readBorder<0, 1>},
    {"border-width", std::span(kBorder).subspan(0, 4), readEdges<borderTopWidth>},
    {"font", kFont, readFont},
    {"list-style", kListStyle, readListStyle},
    {"margin", kMargin, readEdges<marginTop>},
    {"margin-block", kMarginBlock, readPair<marginTop, marginBottom>},
    {"margin-inline", kMarginInline, readPair<marginLeft, marginRight>},
    {"padding", kPadding, readEdges<paddingTop>},
    {"padding-block", kPaddingBlock, readPair<paddingTop, paddingBottom>},
    {"padding-inline", kPaddingInline, readPair<paddingLeft, paddingRight>},
    {"text-decoration", kTextDecoration, readTextDecoration},
};

}  // namespace

const Shorthand* shorthandNamed(std::string_view name) {
    const auto* found = std::lower_bound(
        std::begin(kShorthands), std::end(kShorthands), name,
        [](const Shorthand& entry, std::string_view wanted) { return entry.name < wanted; });
    return found != std::end(kShorthands) && found->name == name ? found : nullptr;
}

}  // namespace corvy::platform::css
