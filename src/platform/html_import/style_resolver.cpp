#include "platform/html_import/style_resolver.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "platform/html_import/custom_properties.h"
#include "platform/html_import/presentational_hints.h"

namespace corvy::platform::css {

namespace {

// Sizes of the keywords from xx-small on, as browsers have them for their default sizes.
constexpr float kProportionalSizes[] = {9, 10, 13, 16, 18, 24, 32, 48};
constexpr float kMonospaceSizes[] = {9, 10, 12, 13, 16, 20, 26, 39};
constexpr float kMonospaceFactor = 13.0F / 16;
constexpr std::uint8_t kSmaller = 9;
constexpr float kStep = 1.2F;  // of smaller and larger
constexpr float kLargestFont = 10000;
constexpr float kNormalLine = 1.2F;
constexpr std::uint32_t kNoBlock = 0xFFFFFFFF;

// Calls `f` with the member of ComputedStyle that holds the property.
template <typename F>
void withMember(Property property, F&& f) {
    using S = ComputedStyle;
    switch (property) {
        case Property::fontFamily: return f(&S::fontFamily);
        case Property::fontSize: return f(&S::fontSize);
        case Property::fontWeight: return f(&S::fontWeight);
        case Property::fontStyle: return f(&S::fontStyle);
        case Property::color: return f(&S::color);
        case Property::lineHeight: return f(&S::lineHeight);
        case Property::letterSpacing: return f(&S::letterSpacing);
        case Property::direction: return f(&S::direction);
        case Property::textAlign: return f(&S::textAlign);
        case Property::textIndent: return f(&S::textIndent);
        case Property::textTransform: return f(&S::textTransform);
        case Property::whiteSpace: return f(&S::whiteSpace);
        case Property::visibility: return f(&S::visibility);
        case Property::listStyleType: return f(&S::listType);
        case Property::listStylePosition: return f(&S::listPosition);
        case Property::borderCollapse: return f(&S::borderCollapse);
        case Property::display: return f(&S::display);
        case Property::floating: return f(&S::floating);
        case Property::position: return f(&S::position);
        case Property::backgroundColor: return f(&S::background);
        case Property::textDecorationLine: return f(&S::decoration);
        case Property::verticalAlign: return f(&S::verticalAlign);
        case Property::width: return f(&S::width);
        case Property::height: return f(&S::height);
        case Property::maxWidth: return f(&S::maxWidth);
        case Property::maxHeight: return f(&S::maxHeight);
        case Property::breakBefore: return f(&S::breakBefore);
        case Property::breakAfter: return f(&S::breakAfter);
        default: return;  // of an edge, or custom
    }
}

// The same for properties of the four edges.
template <typename F>
bool withEdge(Property property, F&& f) {
    const auto from = [property](Property top) {
        return static_cast<std::size_t>(property) - static_cast<std::size_t>(top);
    };
    using S = ComputedStyle;
    if (property >= Property::marginTop && property <= Property::marginLeft) {
        f(&S::margin, from(Property::marginTop));
    } else if (property >= Property::paddingTop && property <= Property::paddingLeft) {
        f(&S::padding, from(Property::paddingTop));
    } else if (property >= Property::borderTopWidth && property <= Property::borderLeftWidth) {
        f(&S::borderWidth, from(Property::borderTopWidth));
    } else if (property >= Property::borderTopStyle && property <= Property::borderLeftStyle) {
        f(&S::borderStyle, from(Property::borderTopStyle));
    } else if (property >= Property::borderTopColor && property <= Property::borderLeftColor) {
        f(&S::borderColor, from(Property::borderTopColor));
    } else {
        return false;
    }
    return true;
}

void copyProperty(Property property, const ComputedStyle& from, ComputedStyle& to) {
    const bool isEdge = withEdge(property, [&](auto member, std::size_t edge) {
        (to.*member)[edge] = (from.*member)[edge];
    });
    if (isEdge) return;
    withMember(property, [&](auto member) { to.*member = from.*member; });
    if (property == Property::fontSize) {
        to.sizeKeyword = from.sizeKeyword;
        to.hasAbsoluteSize = from.hasAbsoluteSize;
    }
    if (property == Property::listStyleType) to.listText = from.listText;
    if (property == Property::verticalAlign) to.verticalShift = from.verticalShift;
}

const ComputedStyle& initialStyle() {
    static const ComputedStyle style;
    return style;
}

// Assigns a value to a member, by the type of that.
struct Assignment {
    const Value& value;
    const LengthContext& lengths;
    Color textColor;

    std::optional<float> pixels() const {
        if (value.kind == Value::Kind::length) {
            return static_cast<float>(lengths.pixels(value.length));
        }
        return std::nullopt;
    }

    void operator()(float& member) const {
        if (value.kind == Value::Kind::keyword) {
            member = value.keyword == 0 ? kNone : value.keyword;
        } else if (const auto length = pixels()) {
            member = *length;
        }
    }
    void operator()(Color& member) const {
        if (value.kind == Value::Kind::color) member = value.color;
        if (value.kind == Value::Kind::currentColor) member = textColor;
    }
    void operator()(Extent& member) const {
        member = {};
        if (value.kind != Value::Kind::length) return;
        member.isPercent = value.length.unit == Unit::percent;
        member.value = member.isPercent ? static_cast<float>(value.length.value) : *pixels();
    }
    void operator()(LineHeight& member) const {
        member = {};
        if (value.kind == Value::Kind::number) {
            member = {static_cast<float>(value.length.value), true};
        } else if (const auto length = pixels()) {
            member = {*length, false};
        }
    }
    void operator()(FontFamily&) const {}
    template <typename Enumeration>
    requires std::is_enum_v<Enumeration>
    void operator()(Enumeration& member) const {
        if (value.kind == Value::Kind::keyword) member = static_cast<Enumeration>(value.keyword);
    }
};

// What a box is when it does not stand in a line.
Display blockOf(Display display) {
    switch (display) {
        case Display::inlineText:
        case Display::inlineBlock:
        case Display::ruby:
        case Display::rubyText:
        case Display::tableRow:
        case Display::tableRowGroup:
        case Display::tableHeaderGroup:
        case Display::tableFooterGroup:
        case Display::tableCell:
        case Display::tableCaption:
        case Display::tableColumn: return Display::block;
        case Display::inlineTable: return Display::table;
        case Display::inlineFlex: return Display::flex;
        default: return display;
    }
}

void appendNumber(std::string& key, std::uint32_t number) {
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    key.append(bytes, sizeof number);
}

}  // namespace

StyleResolver::StyleResolver(const HtmlTree& tree, StyleSheets& sheets, Reveal reveal)
    : tree_(tree), sheets_(sheets), reveal_(reveal), matcher_(tree, sheets) {}

void StyleResolver::run() {
    styles_.push_back(initialStyle());
    styleIndices_.assign(tree_.size(), 0);
    AncestorFilter filter;
    std::vector<NodeIndex> open;
    for (NodeIndex node = 0; node < tree_.size();) {
        while (!open.empty() && tree_[open.back()].end <= node) {
            filter.leave(tree_, open.back());
            open.pop_back();
        }
        const NodeIndex parent = tree_[node].parent;
        const std::uint32_t parentStyle = parent == kNoNode ? 0 : styleIndices_[parent];
        if (!tree_[node].isElement()) {
            styleIndices_[node++] = parentStyle;
            continue;
        }
        styleIndices_[node] = resolve(node, parentStyle, filter);
        if (parent == kNoNode) rootFontSize_ = styleOf(node).fontSize;
        if (styleOf(node).display == Display::none) {
            const NodeIndex end = tree_[node].end;
            for (NodeIndex i = node; i < end; ++i) styleIndices_[i] = styleIndices_[node];
            node = end;
            continue;
        }
        filter.enter(tree_, node);
        open.push_back(node++);
    }
}

std::uint32_t StyleResolver::resolve(NodeIndex node, std::uint32_t parent,
                                     const AncestorFilter& filter) {
    const auto& matches = matcher_.matchesOf(node, filter);
    const auto attribute = tree_.attribute(node, Name::style);
    const std::uint32_t ownBlock = attribute ? sheets_.addStyleAttribute(*attribute) : kNoBlock;
    hints_.clear();
    addPresentationalHints(tree_, node, sheets_.atoms(), hints_);

    // Elements that are made of the same have the same style, unless attributes add to it.
    const bool isRoot =
        tree_[node].parent == kNoNode || tree_[tree_[node].parent].parent == kNoNode;
    const bool isShared = hints_.empty() && !isRoot;
    if (isShared) {
        key_.clear();
        appendNumber(key_, parent);
        appendNumber(key_, ownBlock);
        for (const auto& match : matches) appendNumber(key_, match.block);
        if (const auto known = known_.find(key_); known != known_.end()) return known->second;
    }

    winners_.fill(nullptr);
    customs_.clear();
    const auto firstOfPage = std::find_if(matches.begin(), matches.end(),
                                          [](const auto& match) { return match.rank >> 63 != 0; });
    for (auto match = matches.begin(); match != firstOfPage; ++match) {
        gather(sheets_.block(match->block), false);
    }
    userAgentWinners_ = winners_;
    gather(hints_, false);
    for (const bool important : {false, true}) {
        for (auto match = firstOfPage; match != matches.end(); ++match) {
            gather(sheets_.block(match->block), important);
        }
        if (ownBlock != kNoBlock) gather(sheets_.block(ownBlock), important);
    }
    const auto index = static_cast<std::uint32_t>(styles_.size());
    styles_.push_back(compute(node, styles_[parent]));
    if (isShared) known_.emplace(key_, index);
    return index;
}

void StyleResolver::gather(const std::vector<Declaration>& block, bool important) {
    for (const Declaration& declaration : block) {
        if (declaration.important != important) continue;
        if (declaration.property == Property::custom) {
            customs_.emplace_back(declaration.name, declaration.value.text);
        } else {
            winners_[static_cast<std::size_t>(declaration.property)] = &declaration;
        }
    }
}

ComputedStyle StyleResolver::compute(NodeIndex node, const ComputedStyle& parent) {
    ComputedStyle style;
    static_cast<InheritedStyle&>(style) = parent;
    if (!customs_.empty()) {
        style.customProperties =
            CustomProperties::make(parent.customProperties, customs_, sheets_.atoms());
    }
    // Sizes of fonts come first, for other lengths are relative to them, then colours.
    for (std::size_t i = 0; i < kPropertyCount; ++i) {
        const auto property = static_cast<Property>(i);
        if (winners_[i]) apply(property, *winners_[i], parent, style);
        if (property == Property::fontSize) followFamily(parent, style);
    }
    adjust(node, parent, style);
    return style;
}

void StyleResolver::apply(Property property, const Declaration& declaration,
                          const ComputedStyle& parent, ComputedStyle& style) {
    if (declaration.value.kind != Value::Kind::deferred) {
        return set(property, declaration.value, parent, style);
    }
    Value value;
    value.kind = Value::Kind::unset;
    const auto text = substituted(declaration.value.text, style.customProperties, sheets_.atoms());
    if (!text) return set(property, value, parent, style);
    LengthContext lengths{style.fontSize, rootFontSize_, kContainingWidth};
    if (property == Property::fontSize) lengths.fontSize = parent.fontSize;
    if (property == Property::fontSize || property == Property::lineHeight) {
        lengths.percentBase = lengths.fontSize;
    }
    const TokenList tokens(*text);
    TokenCursor cursor(tokens);
    cursor.skipSpace();
    std::size_t end = tokens.size();
    while (end > cursor.position() && tokens[end - 1].kind == TokenKind::whitespace) --end;
    std::vector<Declaration> declarations;
    readDeclaration(sheets_.atoms().text(declaration.name),
                    TokenCursor(tokens, cursor.position(), end), false,
                    {sheets_.atoms(), sheets_.quirks(), &lengths}, declarations);
    for (const Declaration& read : declarations) {
        if (read.property == property) value = read.value;
    }
    set(property, value, parent, style);
}

void StyleResolver::set(Property property, const Value& value, const ComputedStyle& parent,
                        ComputedStyle& style) {
    switch (value.kind) {
        case Value::Kind::inherit: return copyProperty(property, parent, style);
        case Value::Kind::initial: return copyProperty(property, initialStyle(), style);
        case Value::Kind::unset:
            return copyProperty(property, isInherited(property) ? parent : initialStyle(), style);
        case Value::Kind::revert: {
            const Declaration* own = userAgentWinners_[static_cast<std::size_t>(property)];
            Value unset;
            unset.kind = Value::Kind::unset;
            return set(property, own ? own->value : unset, parent, style);
        }
        default: break;
    }
    if (property == Property::fontSize) return setFontSize(value, parent, style);
    if (property == Property::fontFamily) {
        style.fontFamily = families_.add(value.text);
        return;
    }
    if (property == Property::fontWeight && value.kind == Value::Kind::number) {
        style.fontWeight = static_cast<float>(value.length.value);
        return;
    }
    if (property == Property::fontWeight) {
        const float around = parent.fontWeight;
        const bool bolder = value.keyword == 2;
        style.fontWeight = bolder ? (around < 350   ? 400
                                     : around < 550 ? 700
                                                    : std::max(around, 900.F))
                                  : (around < 550   ? std::min(around, 100.F)
                                     : around < 750 ? 400.F
                                                    : 700.F);
        return;
    }
    if (property == Property::listStyleType && value.kind == Value::Kind::text) {
        style.listType = ListType::text;
        style.listText = texts_.keep(value.text);
        return;
    }
    if (property == Property::color && value.kind == Value::Kind::currentColor) {
        style.color = parent.color;
        return;
    }
    LengthContext lengths{style.fontSize, rootFontSize_, kContainingWidth};
    if (property == Property::lineHeight) lengths.percentBase = style.fontSize;
    if (property == Property::verticalAlign) lengths.percentBase = style.fontSize * kNormalLine;
    const Assignment assign{value, lengths, style.color};
    if (property == Property::verticalAlign) {
        style.verticalShift = assign.pixels().value_or(0);
        if (value.kind == Value::Kind::length) style.verticalAlign = VerticalAlign::baseline;
    }
    if (withEdge(property, [&](auto member, std::size_t edge) { assign((style.*member)[edge]); })) {
        return;
    }
    withMember(property, [&](auto member) { assign(style.*member); });
    if (property == Property::letterSpacing && isNone(style.letterSpacing)) style.letterSpacing = 0;
}

float StyleResolver::fontSizeOfKeyword(std::uint8_t keyword, FontFamily family) const {
    return (families_.isMonospaceAlone(family) ? kMonospaceSizes : kProportionalSizes)[keyword - 1];
}

void StyleResolver::setFontSize(const Value& value, const ComputedStyle& parent,
                                ComputedStyle& style) {
    style.hasAbsoluteSize = parent.hasAbsoluteSize;
    if (value.kind == Value::Kind::keyword) {
        if (value.keyword < kSmaller) {
            style.sizeKeyword = value.keyword;
            style.hasAbsoluteSize = false;
            style.fontSize = fontSizeOfKeyword(value.keyword, style.fontFamily);
            return;
        }
        style.fontSize =
            value.keyword == kSmaller ? parent.fontSize / kStep : parent.fontSize * kStep;
    } else {
        const LengthContext lengths{parent.fontSize, rootFontSize_, parent.fontSize};
        style.fontSize = static_cast<float>(lengths.pixels(value.length));
        if (value.length.unit == Unit::px) style.hasAbsoluteSize = true;
    }
    style.sizeKeyword = 0;
    style.fontSize = std::clamp(style.fontSize, 0.F, kLargestFont);
}

// A size that no length gave follows the family when that turns to monospace, or back.
void StyleResolver::followFamily(const ComputedStyle& parent, ComputedStyle& style) {
    if (style.hasAbsoluteSize) return;
    const bool isMonospace = families_.isMonospaceAlone(style.fontFamily);
    if (isMonospace == families_.isMonospaceAlone(parent.fontFamily)) return;
    if (style.sizeKeyword != 0) {
        style.fontSize = fontSizeOfKeyword(style.sizeKeyword, style.fontFamily);
    } else {
        style.fontSize *= isMonospace ? kMonospaceFactor : 1 / kMonospaceFactor;
    }
}

void StyleResolver::adjust(NodeIndex node, const ComputedStyle& parent,
                           ComputedStyle& style) const {
    const bool isRoot = tree_[node].parent == kNoNode;
    const bool isOutOfFlow = style.position == Position::absolute || style.floating != Float::none;
    if (isRoot || isOutOfFlow || parent.arrangesChildren()) style.display = blockOf(style.display);

    const bool isAtomic = style.display == Display::inlineBlock ||
                          style.display == Display::inlineTable ||
                          style.display == Display::inlineFlex;
    const auto lines =
        static_cast<std::uint8_t>(style.decoration) |
        (isOutOfFlow || isAtomic ? 0 : static_cast<std::uint8_t>(parent.decorations));
    style.decorations = static_cast<Decoration>(lines);

    const bool isTop = isRoot || tree_[node].tag == Name::body;
    if (reveal_ == Reveal::everything || (reveal_ == Reveal::roots && isTop)) {
        style.visibility = Visibility::visible;
        if (style.display == Display::none && !isNeverShown(tree_[node].tag)) {
            style.display = Display::block;
        }
    }
}

}  // namespace corvy::platform::css
