// Values that many properties share: lengths, numbers, colours, and the arithmetic of calc().
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/html_import/css_tokens.h"

namespace corvy::platform::css {

// The window that pages are laid out for, in pixels; what percentages of a width mean when the
// width of the box around is not known.
inline constexpr double kViewportWidth = 800;
inline constexpr double kViewportHeight = 600;
inline constexpr double kContainingWidth = 784;

struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;
    friend bool operator==(Color, Color) = default;
};

// Of absolute lengths only px is left over: the others are converted when they are read.
enum class Unit : std::uint8_t { px, em, rem, percent };

struct Length {
    double value = 0;
    Unit unit = Unit::px;
};

// What relative lengths are relative to, in pixels.
struct LengthContext {
    double fontSize = 16;
    double rootFontSize = 16;
    double percentBase = kContainingWidth;

    double pixels(Length length) const;
};

// A length or percentage token; a 0 without a unit, and, in `quirks`, any number without one.
std::optional<Length> lengthOf(const Token& token, bool quirks = false);

// A name of a function that calculates: calc, min, max, clamp.
bool isMathFunction(std::string_view name);

struct MathValue {
    double value = 0;  // pixels or a plain number
    bool isLength = false;
};
// The value of the math function that the cursor stands on; the cursor is moved behind it. None
// when it is no valid one.
std::optional<MathValue> evaluateMath(TokenCursor& cursor, const LengthContext& context);

// A colour at the cursor, which is moved behind it when there is one.
std::optional<Color> takeColor(TokenCursor& cursor);
// The colour of an attribute such as `bgcolor`, by the forgiving rules that HTML has for them.
std::optional<Color> legacyColor(std::string_view text);

}  // namespace corvy::platform::css
