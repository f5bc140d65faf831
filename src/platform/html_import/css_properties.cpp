#include "platform/html_import/css_properties.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <string>
#include <utility>

#include "platform/html_import/css_shorthands.h"

namespace corvy::platform::css {

namespace {

enum class ValueClass : std::uint8_t {
    keywords,  // nothing else
    color,
    length,  // or a percentage
    lengthNotNegative,
    lengthOrNumber,  // not negative either
    fontFamily,
    fontWeight,
    listType,
    decoration,
};

struct KeywordEntry {
    std::string_view name;
    std::uint8_t value;
};
template <typename Enumeration>
constexpr KeywordEntry keyword(std::string_view name, Enumeration value) {
    return {name, static_cast<std::uint8_t>(value)};
}

struct PropertyEntry {
    std::string_view name;
    Property property;
    ValueClass valueClass;
    std::span<const KeywordEntry> keywords;
};

#include "platform/html_import/css_property_tables.inc"

const PropertyEntry* entryNamed(std::string_view name) {
    const auto* found = std::lower_bound(
        std::begin(kProperties), std::end(kProperties), name,
        [](const PropertyEntry& entry, std::string_view wanted) { return entry.name < wanted; });
    return found != std::end(kProperties) && found->name == name ? found : nullptr;
}

Value keywordValue(std::uint8_t number) {
    Value value;
    value.kind = Value::Kind::keyword;
    value.keyword = number;
    return value;
}

Value numberValue(double number) {
    Value value;
    value.kind = Value::Kind::number;
    value.length.value = number;
    return value;
}

Value lengthValue(Length length) {
    Value value;
    value.kind = Value::Kind::length;
    value.length = length;
    return value;
}

Value textValue(std::string_view text) {
    Value value;
    value.kind = Value::Kind::text;
    value.text = text;
    return value;
}

std::optional<Value> takeKeyword(std::span<const KeywordEntry> keywords, TokenCursor& in) {
    const Token& token = in.peek();
    if (token.kind != TokenKind::ident) return std::nullopt;
    for (const KeywordEntry& entry : keywords) {
        if (equalsNoCase(token.text, entry.name)) {
            in.take();
            return keywordValue(entry.value);
        }
    }
    return std::nullopt;
}

std::optional<Value> takeLength(ValueClass valueClass, TokenCursor& in,
                                const ReadingContext& context) {
    const Token& token = in.peek();
    if (token.kind == TokenKind::function && context.lengths && isMathFunction(token.text)) {
        const auto result = evaluateMath(in, *context.lengths);
        if (!result) return std::nullopt;
        const double least = valueClass == ValueClass::length ? -1e9 : 0;
        const double value = std::max(result->value, least);
        if (result->isLength) return lengthValue({value, Unit::px});
        if (valueClass == ValueClass::lengthOrNumber) return numberValue(value);
        return std::nullopt;
    }
    if (valueClass != ValueClass::length && token.number < 0) return std::nullopt;
    if (valueClass == ValueClass::lengthOrNumber && token.kind == TokenKind::number) {
        return numberValue(in.take().number);
    }
    const auto length = lengthOf(token, context.quirks);
    if (!length) return std::nullopt;
    in.take();
    return lengthValue(*length);
}

// Names and strings between commas.
std::optional<Value> takeFontFamily(TokenCursor& in) {
    const TokenCursor start = in;
    bool wantsName = true;
    while (!in.atEnd()) {
        const TokenKind kind = in.take().kind;
        if (kind == TokenKind::comma) {
            if (wantsName) return std::nullopt;
            wantsName = true;
        } else if (kind == TokenKind::ident || (kind == TokenKind::string && wantsName)) {
            wantsName = false;
        } else {
            return std::nullopt;
        }
    }
    if (wantsName) return std::nullopt;
    return textValue(start.source());
}

std::optional<Value> takeFontWeight(TokenCursor& in) {
    if (auto value = takeKeyword(kFontWeightKeywords, in)) return value;
    const Token& token = in.take();
    if (token.kind == TokenKind::ident && equalsNoCase(token.text, "normal")) {
        return numberValue(400);
    }
    if (token.kind == TokenKind::ident && equalsNoCase(token.text, "bold")) return numberValue(700);
    if (token.kind == TokenKind::number && token.number >= 1 && token.number <= 1000) {
        return numberValue(token.number);
    }
    return std::nullopt;
}

std::optional<Value> takeDecoration(TokenCursor& in) {
    std::uint8_t lines = 0;
    const Token& first = in.peek();
    if (first.kind == TokenKind::ident && equalsNoCase(first.text, "none")) {
        in.take();
        return keywordValue(lines);
    }
    bool any = false;
    for (; in.peek().kind == TokenKind::ident; in.take(), any = true) {
        const std::string_view name = in.peek().text;
        if (equalsNoCase(name, "underline")) {
            lines |= static_cast<std::uint8_t>(Decoration::underline);
        } else if (equalsNoCase(name, "line-through")) {
            lines |= static_cast<std::uint8_t>(Decoration::lineThrough);
        } else if (!equalsNoCase(name, "overline") && !equalsNoCase(name, "blink")) {
            break;
        }
    }
    return any ? std::optional(keywordValue(lines)) : std::nullopt;
}

// Of the system of markers that the page describes itself only the name is known here.
std::optional<Value> takeListType(TokenCursor& in) {
    const Token& token = in.peek();
    if (token.kind == TokenKind::string) return textValue(in.take().text);
    if (auto value = takeKeyword(kListTypeKeywords, in)) return value;
    if (token.kind != TokenKind::ident) return std::nullopt;
    in.take();
    return keywordValue(static_cast<std::uint8_t>(ListType::decimal));
}

std::optional<Value> takeValue(const PropertyEntry& entry, TokenCursor& in,
                               const ReadingContext& context) {
    switch (entry.valueClass) {
        case ValueClass::keywords: return takeKeyword(entry.keywords, in);
        case ValueClass::color: {
            Value value;
            value.kind = Value::Kind::color;
            if (const auto color = takeColor(in)) {
                value.color = *color;
                return value;
            }
            if (!equalsNoCase(in.take().text, "currentcolor")) return std::nullopt;
            value.kind = Value::Kind::currentColor;
            return value;
        }
        case ValueClass::length:
        case ValueClass::lengthNotNegative:
        case ValueClass::lengthOrNumber: {
            if (auto value = takeKeyword(entry.keywords, in)) return value;
            return takeLength(entry.valueClass, in, context);
        }
        case ValueClass::fontFamily: return takeFontFamily(in);
        case ValueClass::fontWeight: return takeFontWeight(in);
        case ValueClass::listType: return takeListType(in);
        case ValueClass::decoration: return takeDecoration(in);
    }
    return std::nullopt;
}

std::optional<Value> takeWideKeyword(TokenCursor in) {
    const Token& token = in.take();
    if (token.kind != TokenKind::ident || !in.atEnd()) return std::nullopt;
    using enum Value::Kind;
    constexpr std::pair<std::string_view, Value::Kind> kWide[] = {
        {"inherit", inherit}, {"initial", initial},     {"unset", unset},
        {"revert", revert},   {"revert-layer", revert},
    };
    for (const auto& [name, kind] : kWide) {
        if (equalsNoCase(token.text, name)) {
            Value value;
            value.kind = kind;
            return value;
        }
    }
    return std::nullopt;
}

struct Deferral {
    bool hasVariables = false;
    bool calculates = false;
};
Deferral deferralOf(std::string_view source) {
    // A bracket is rare in values; most need no look at their tokens.
    Deferral deferral;
    if (source.find('(') == std::string_view::npos) return deferral;
    const TokenList tokens(source);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i].kind != TokenKind::function) continue;
        const std::string_view name = tokens[i].text;
        if (equalsNoCase(name, "var") || equalsNoCase(name, "env")) deferral.hasVariables = true;
        if (isMathFunction(name)) deferral.calculates = true;
    }
    return deferral;
}

// What is behind the value decides whether it is the last declaration's: an "!important" is taken
// off, and so is white space.
bool takeImportance(TokenCursor& value, const TokenList& list) {
    std::size_t end = value.end();
    const auto back = [&] {
        while (end > value.position() && list[end - 1].kind == TokenKind::whitespace) --end;
    };
    back();
    value = TokenCursor(list, value.position(), end);
    if (end == value.position() || list[end - 1].kind != TokenKind::ident ||
        !equalsNoCase(list[end - 1].text, "important")) {
        return false;
    }
    --end;
    back();
    if (end == value.position() || !list[end - 1].isDelim('!')) return false;
    --end;
    back();
    value = TokenCursor(list, value.position(), end);
    return true;
}

}  // namespace

std::optional<Value> readValue(Property property, TokenCursor& in, const ReadingContext& context) {
    for (const PropertyEntry& entry : kProperties) {
        if (entry.property == property) return takeValue(entry, in, context);
    }
    return std::nullopt;
}

void readDeclaration(std::string_view name, TokenCursor value, bool important,
                     const ReadingContext& context, std::vector<Declaration>& out) {
    if (name.starts_with("--")) {
        out.push_back(
            {Property::custom, important, context.atoms.add(name), textValue(value.source())});
        return;
    }
    const std::string lower = lowered(name);
    const PropertyEntry* entry = entryNamed(lower);
    const Shorthand* shorthand = entry ? nullptr : shorthandNamed(lower);
    if (!entry && !shorthand) return;
    const std::span<const Property> longhands =
        entry ? std::span(&entry->property, 1) : shorthand->longhands;

    const auto giveAll = [&](const Value& all, Atom atom) {
        for (const Property property : longhands) out.push_back({property, important, atom, all});
    };
    if (const auto wide = takeWideKeyword(value)) return giveAll(*wide, kNoAtom);
    const std::size_t before = out.size();
    const auto read = [&](const ReadingContext& with) {
        TokenCursor in = value;
        bool valid = false;
        if (entry) {
            const auto result = takeValue(*entry, in, with);
            valid = result && in.atEnd();
            if (valid) out.push_back({entry->property, important, kNoAtom, *result});
        } else {
            valid = shorthand->read(in, with, out) && in.atEnd();
            for (std::size_t i = before; i < out.size(); ++i) out[i].important = important;
        }
        if (!valid) out.resize(before);
        return valid;
    };
    const Deferral deferral = context.lengths ? Deferral{} : deferralOf(value.source());
    if (!deferral.hasVariables && !deferral.calculates) {
        read(context);
        return;
    }
    if (!deferral.hasVariables) {
        // Whether it can be calculated does not depend on the lengths around.
        const LengthContext anyLengths;
        const bool valid = read({context.atoms, context.quirks, &anyLengths});
        out.resize(before);
        if (!valid) return;
    }
    Value deferred = textValue(value.source());
    deferred.kind = Value::Kind::deferred;
    giveAll(deferred, context.atoms.add(lower));
}

void readDeclarations(TokenCursor block, const ReadingContext& context,
                      std::vector<Declaration>& out, std::vector<NestedRule>* nested) {
    while (!block.atEnd()) {
        const Token& first = block.peek();
        if (first.kind == TokenKind::whitespace || first.kind == TokenKind::semicolon) {
            block.skip();
            continue;
        }
        const TokenCursor start = block;
        const bool isCustom = first.kind == TokenKind::ident && first.text.starts_with("--");
        // Braces are part of no other value: they are those of a rule.
        while (!block.atEnd() && block.peek().kind != TokenKind::semicolon &&
               (isCustom || block.peek().kind != TokenKind::openCurly)) {
            block.skip();
        }
        if (block.peek().kind == TokenKind::openCurly && !block.atEnd()) {
            if (nested) nested->push_back({start.upTo(block), block.inside()});
            block.skip();
            continue;
        }
        if (first.kind != TokenKind::ident) continue;
        TokenCursor value = start.upTo(block);
        const Token& property = value.take();
        if (value.take().kind != TokenKind::colon) continue;
        const bool important = takeImportance(value, value.list());
        readDeclaration(property.text, value, important, context, out);
    }
}

}  // namespace corvy::platform::css
