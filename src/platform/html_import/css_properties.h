// The properties that matter to text: their names, and their values as they are specified.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/html_import/atoms.h"
#include "platform/html_import/computed_style.h"
#include "platform/html_import/css_tokens.h"
#include "platform/html_import/css_values.h"

namespace corvy::platform::css {

enum class Property : std::uint8_t {
    // Inherited ones first.
    fontFamily,
    fontSize,
    fontWeight,
    fontStyle,
    color,
    lineHeight,
    letterSpacing,
    direction,
    textAlign,
    textIndent,
    textTransform,
    whiteSpace,
    visibility,
    listStyleType,
    listStylePosition,
    borderCollapse,
    // The others.
    display,
    floating,
    position,
    backgroundColor,
    textDecorationLine,
    verticalAlign,
    marginTop,
    marginRight,
    marginBottom,
    marginLeft,
    paddingTop,
    paddingRight,
    paddingBottom,
    paddingLeft,
    borderTopWidth,
    borderRightWidth,
    borderBottomWidth,
    borderLeftWidth,
    borderTopStyle,
    borderRightStyle,
    borderBottomStyle,
    borderLeftStyle,
    borderTopColor,
    borderRightColor,
    borderBottomColor,
    borderLeftColor,
    width,
    height,
    maxWidth,
    maxHeight,
    breakBefore,
    breakAfter,
    count,
    custom = count,  // "--name"
};
inline constexpr std::size_t kPropertyCount = static_cast<std::size_t>(Property::count);
constexpr bool isInherited(Property property) {
    return property < Property::display;
}
// The property of the same kind for another edge: top, right, bottom, left.
constexpr Property atEdge(Property top, std::size_t edge) {
    return static_cast<Property>(static_cast<std::size_t>(top) + edge);
}

struct Value {
    enum class Kind : std::uint8_t {
        initial,
        inherit,
        unset,
        revert,
        keyword,       // `keyword`: the enumerator that the property has for it
        number,        // `length.value`
        length,        // `length`
        color,         // `color`
        currentColor,  // that of the text
        text,          // `text`: a list of font families, or a marker
        deferred,      // `text` is known once the style around is: it has var() or calc() in it
    };
    Kind kind = Kind::initial;
    std::uint8_t keyword = 0;
    Color color;
    Length length;
    std::string_view text;
};

struct Declaration {
    Property property = Property::count;
    bool important = false;
    Atom name = kNoAtom;  // of a custom property; of a deferred value the name in the sheet
    Value value;
};

// What a sheet is read with.
struct ReadingContext {
    AtomTable& atoms;
    bool quirks = false;  // numbers without a unit are lengths
    // When set, calculations are done, and nothing is deferred.
    const LengthContext* lengths = nullptr;
};

// Adds the declarations that a property stands for: one, or those of a shorthand. Nothing when
// the name is unknown or the value is not one of its values.
void readDeclaration(std::string_view name, TokenCursor value, bool important,
                     const ReadingContext& context, std::vector<Declaration>& out);

// A rule within the braces of another.
struct NestedRule {
    TokenCursor prelude;  // of an at-rule its keyword too
    TokenCursor block;
};

// The declarations between the braces of a rule, or in a style attribute; `nested` gets the rules
// that stand between them.
void readDeclarations(TokenCursor block, const ReadingContext& context,
                      std::vector<Declaration>& out, std::vector<NestedRule>* nested = nullptr);

}  // namespace corvy::platform::css
