#include "platform/html_import/css_values.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace corvy::platform::css {

namespace {

struct UnitEntry {
    std::string_view name;
    double factor;
    Unit unit;
};
// The height of an "x" and the width of a "0" are taken as half the size of the font.
constexpr UnitEntry kUnits[] = {
    {"px", 1, Unit::px},
    {"em", 1, Unit::em},
    {"rem", 1, Unit::rem},
    {"pt", 96.0 / 72, Unit::px},
    {"vw", kViewportWidth / 100, Unit::px},
    {"vh", kViewportHeight / 100, Unit::px},
    {"ex", 0.5, Unit::em},
    {"ch", 0.5, Unit::em},
    {"in", 96, Unit::px},
    {"cm", 96 / 2.54, Unit::px},
    {"mm", 96 / 25.4, Unit::px},
    {"q", 96 / 101.6, Unit::px},
    {"pc", 16, Unit::px},
    {"vmin", kViewportHeight / 100, Unit::px},
    {"vmax", kViewportWidth / 100, Unit::px},
    {"svw", kViewportWidth / 100, Unit::px},
    {"lvw", kViewportWidth / 100, Unit::px},
    {"dvw", kViewportWidth / 100, Unit::px},
    {"vi", kViewportWidth / 100, Unit::px},
    {"svh", kViewportHeight / 100, Unit::px},
    {"lvh", kViewportHeight / 100, Unit::px},
    {"dvh", kViewportHeight / 100, Unit::px},
    {"vb", kViewportHeight / 100, Unit::px},
    {"lh", 1.2, Unit::em},
    {"rlh", 1.2, Unit::rem},
    {"cap", 0.7, Unit::em},
    {"ic", 1, Unit::em},
};

struct NamedColor {
    std::string_view name;
    std::uint32_t rgb;
};
constexpr NamedColor kColorNames[] = {
#include "platform/html_import/color_names.inc"
};
static_assert(std::size(kColorNames) == 170);
static_assert(std::is_sorted(std::begin(kColorNames), std::end(kColorNames),
                             [](const auto& a, const auto& b) { return a.name < b.name; }));

constexpr Color colorOfRgb(std::uint32_t rgb) {
    return {static_cast<std::uint8_t>(rgb >> 16), static_cast<std::uint8_t>(rgb >> 8),
            static_cast<std::uint8_t>(rgb)};
}

std::optional<Color> namedColor(std::string_view text) {
    const std::string name = lowered(text);
    if (name == "transparent") return Color{0, 0, 0, 0};
    const auto* found = std::lower_bound(
        std::begin(kColorNames), std::end(kColorNames), name,
        [](const NamedColor& entry, const std::string& wanted) { return entry.name < wanted; });
    if (found == std::end(kColorNames) || found->name != name) return std::nullopt;
    return colorOfRgb(found->rgb);
}

int hexDigit(char c) {
    c = lowerOf(c);
    if (c >= '0' && c <= '9') return c - '0';
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// Three, four, six or eight digits.
std::optional<Color> hexColor(std::string_view digits) {
    const bool isShort = digits.size() == 3 || digits.size() == 4;
    if (!isShort && digits.size() != 6 && digits.size() != 8) return std::nullopt;
    std::array<int, 4> parts = {0, 0, 0, 255};
    const std::size_t width = isShort ? 1 : 2;
    for (std::size_t i = 0; i * width < digits.size(); ++i) {
        const int high = hexDigit(digits[i * width]);
        const int low = hexDigit(digits[i * width + width - 1]);
        if (high < 0 || low < 0) return std::nullopt;
        parts[i] = high * 16 + low;
    }
    return Color{static_cast<std::uint8_t>(parts[0]), static_cast<std::uint8_t>(parts[1]),
                 static_cast<std::uint8_t>(parts[2]), static_cast<std::uint8_t>(parts[3])};
}

std::uint8_t byteOf(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

// All in 0 to 1 but for the hue, in turns.
Color colorOfHsl(double hue, double saturation, double lightness, double alpha) {
    const auto channel = [&](double shift) {
        const double k = std::fmod(shift + hue * 12, 12.0);
        const double reach = saturation * std::min(lightness, 1 - lightness);
        return 255 * (lightness - reach * std::max(-1.0, std::min({k - 3, 9 - k, 1.0})));
    };
    return {byteOf(channel(0)), byteOf(channel(8)), byteOf(channel(4)), byteOf(alpha * 255)};
}

// Of light of equal steps, to sRGB.
Color colorOfOklab(double lightness, double a, double b, double alpha) {
    const double l = std::pow(lightness + 0.3963377774 * a + 0.2158037573 * b, 3);
    const double m = std::pow(lightness - 0.1055613458 * a - 0.0638541728 * b, 3);
    const double s = std::pow(lightness - 0.0894841775 * a - 1.2914855480 * b, 3);
    const auto encoded = [](double linear) {
        return 255 *
               (linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055);
    };
    return {byteOf(encoded(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s)),
            byteOf(encoded(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s)),
            byteOf(encoded(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)),
            byteOf(alpha * 255)};
}

// One argument of a colour function.
struct ColorPart {
    double number = 0;
    bool isPercentage = false;
    // With percentages as parts of `whole`.
    double of(double whole) const { return isPercentage ? number / 100 * whole : number; }
};

std::optional<ColorPart> colorPart(const Token& token) {
    switch (token.kind) {
        case TokenKind::number: return ColorPart{token.number};
        case TokenKind::percentage: return ColorPart{token.number, true};
        case TokenKind::ident:
            if (equalsNoCase(token.text, "none")) return ColorPart{};
            return std::nullopt;
        case TokenKind::dimension:  // an angle, in degrees
            if (equalsNoCase(token.text, "deg")) return ColorPart{token.number};
            if (equalsNoCase(token.text, "turn")) return ColorPart{token.number * 360};
            if (equalsNoCase(token.text, "grad")) return ColorPart{token.number * 0.9};
            if (equalsNoCase(token.text, "rad")) {
                return ColorPart{token.number * 180 / std::numbers::pi};
            }
            return std::nullopt;
        default: return std::nullopt;
    }
}

std::optional<Color> colorOfFunction(std::string_view name, TokenCursor in) {
    std::vector<ColorPart> parts;
    in.skipSpace();
    while (!in.atEnd()) {
        const Token& token = in.take();
        if (token.kind == TokenKind::comma || token.isDelim('/')) continue;
        const auto part = colorPart(token);
        if (!part || parts.size() == 4) return std::nullopt;
        parts.push_back(*part);
    }
    if (parts.size() < 3) return std::nullopt;
    const double alpha = parts.size() == 4 ? std::clamp(parts[3].of(1), 0.0, 1.0) : 1;
    const auto turns = [](double degrees) { return degrees / 360 - std::floor(degrees / 360); };
    const auto fraction = [](ColorPart part) { return std::clamp(part.number / 100, 0.0, 1.0); };
    if (equalsNoCase(name, "rgb") || equalsNoCase(name, "rgba")) {
        return Color{byteOf(parts[0].of(255)), byteOf(parts[1].of(255)), byteOf(parts[2].of(255)),
                     byteOf(alpha * 255)};
    }
    if (equalsNoCase(name, "hsl") || equalsNoCase(name, "hsla")) {
        return colorOfHsl(turns(parts[0].number), fraction(parts[1]), fraction(parts[2]), alpha);
    }
    if (equalsNoCase(name, "hwb")) {
        const double white = fraction(parts[1]);
        const double black = fraction(parts[2]);
        if (white + black >= 1) {
            const std::uint8_t gray = byteOf(255 * white / (white + black));
            return Color{gray, gray, gray, byteOf(alpha * 255)};
        }
        const Color pure = colorOfHsl(turns(parts[0].number), 1, 0.5, alpha);
        const auto mixed = [&](std::uint8_t c) {
            return byteOf(c * (1 - white - black) + 255 * white);
        };
        return Color{mixed(pure.red), mixed(pure.green), mixed(pure.blue), pure.alpha};
    }
    if (equalsNoCase(name, "oklab")) {
        return colorOfOklab(parts[0].of(1), parts[1].of(0.4), parts[2].of(0.4), alpha);
    }
    if (equalsNoCase(name, "oklch")) {
        const double chroma = parts[1].of(0.4);
        const double hue = parts[2].number * std::numbers::pi / 180;
        return colorOfOklab(parts[0].of(1), chroma * std::cos(hue), chroma * std::sin(hue), alpha);
    }
    return std::nullopt;
}

// Sums and products over lengths and numbers; percentages are lengths already.
class MathEvaluator {
public:
    explicit MathEvaluator(const LengthContext& context) : context_(context) {}

    std::optional<MathValue> function(TokenCursor& cursor) {
        if (++depth_ > kDeepest) return std::nullopt;
        const std::string name = lowered(cursor.peek().text);
        TokenCursor in = cursor.inside();
        std::vector<MathValue> arguments;
        in.skipSpace();
        do {
            const auto argument = sum(in);
            if (!argument) return std::nullopt;
            if (!arguments.empty() && argument->isLength != arguments[0].isLength) {
                return std::nullopt;
            }
            arguments.push_back(*argument);
        } while (in.take().kind == TokenKind::comma && arguments.size() < kMostArguments);
        if (!in.atEnd()) return std::nullopt;
        cursor.take();
        --depth_;
        MathValue result = arguments[0];
        if (name == "clamp") {
            if (arguments.size() != 3) return std::nullopt;
            result.value =
                std::max(arguments[0].value, std::min(arguments[1].value, arguments[2].value));
        } else if (name == "min" || name == "max") {
            for (const MathValue& argument : arguments) {
                result.value = name == "min" ? std::min(result.value, argument.value)
                                             : std::max(result.value, argument.value);
            }
        } else if (arguments.size() != 1) {
            return std::nullopt;
        }
        return result;
    }

private:
    static constexpr int kDeepest = 32;
    static constexpr std::size_t kMostArguments = 64;

    std::optional<MathValue> sum(TokenCursor& in) {
        auto left = product(in);
        while (left && !in.atEnd() && (in.peek().isDelim('+') || in.peek().isDelim('-'))) {
            const double sign = in.take().isDelim('+') ? 1 : -1;
            const auto right = product(in);
            if (!right || right->isLength != left->isLength) return std::nullopt;
            left->value += sign * right->value;
        }
        return left;
    }

    std::optional<MathValue> product(TokenCursor& in) {
        auto left = operand(in);
        while (left && !in.atEnd() && (in.peek().isDelim('*') || in.peek().isDelim('/'))) {
            const bool divides = in.take().isDelim('/');
            const auto right = operand(in);
            if (!right || (right->isLength && (divides || left->isLength))) return std::nullopt;
            if (divides && right->value == 0) return std::nullopt;
            left->value = divides ? left->value / right->value : left->value * right->value;
            left->value = std::clamp(left->value, -1e12, 1e12);
            left->isLength = left->isLength || right->isLength;
        }
        return left;
    }

    std::optional<MathValue> operand(TokenCursor& in) {
        const Token& token = in.peek();
        if (token.kind == TokenKind::openParen ||
            (token.kind == TokenKind::function && isMathFunction(token.text))) {
            return function(in);
        }
        in.take();
        if (token.kind == TokenKind::number) return MathValue{token.number};
        const auto length = lengthOf(token);
        if (!length) return std::nullopt;
        return MathValue{context_.pixels(*length), true};
    }

    const LengthContext& context_;
    int depth_ = 0;
};

}  // namespace

double LengthContext::pixels(Length length) const {
    switch (length.unit) {
        case Unit::px: return length.value;
        case Unit::em: return length.value * fontSize;
        case Unit::rem: return length.value * rootFontSize;
        case Unit::percent: return length.value / 100 * percentBase;
    }
    return 0;
}

std::optional<Length> lengthOf(const Token& token, bool quirks) {
    if (token.kind == TokenKind::percentage) return Length{token.number, Unit::percent};
    if (token.kind == TokenKind::number && (token.number == 0 || quirks)) {
        return Length{token.number, Unit::px};
    }
    if (token.kind != TokenKind::dimension) return std::nullopt;
    for (const UnitEntry& entry : kUnits) {
        if (equalsNoCase(token.text, entry.name)) {
            return Length{token.number * entry.factor, entry.unit};
        }
    }
    return std::nullopt;
}

bool isMathFunction(std::string_view name) {
    for (const std::string_view known : {"calc", "-webkit-calc", "min", "max", "clamp"}) {
        if (equalsNoCase(name, known)) return true;
    }
    return false;
}

std::optional<MathValue> evaluateMath(TokenCursor& cursor, const LengthContext& context) {
    return MathEvaluator(context).function(cursor);
}

std::optional<Color> takeColor(TokenCursor& cursor) {
    const Token& token = cursor.peek();
    std::optional<Color> color;
    if (token.kind == TokenKind::hash) color = hexColor(token.text);
    if (token.kind == TokenKind::ident) color = namedColor(token.text);
    if (token.kind == TokenKind::function) color = colorOfFunction(token.text, cursor.inside());
    if (color) cursor.take();
    return color;
}

std::optional<Color> legacyColor(std::string_view text) {
    while (!text.empty() && isSpaceOf(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpaceOf(text.back())) text.remove_suffix(1);
    if (text.empty() || equalsNoCase(text, "transparent")) return std::nullopt;
    if (const auto named = namedColor(text)) return named;
    if (text.size() == 4 && text[0] == '#') {
        if (const auto color = hexColor(text.substr(1))) return color;
    }
    // Whatever else it is makes three numbers of equal length, foreign characters counting as 0.
    if (text[0] == '#') text.remove_prefix(1);
    std::string digits(text.substr(0, 128));
    for (char& c : digits) c = hexDigit(c) < 0 ? '0' : c;
    while (digits.empty() || digits.size() % 3 != 0) digits += '0';
    std::size_t width = digits.size() / 3;
    std::size_t skipped = width > 8 ? width - 8 : 0;
    const auto allStartWithZero = [&] {
        return digits[skipped] == '0' && digits[width + skipped] == '0' &&
               digits[2 * width + skipped] == '0';
    };
    while (width - skipped > 2 && allStartWithZero()) ++skipped;
    std::array<int, 3> parts{};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::string_view part = std::string_view(digits).substr(i * width + skipped);
        parts[i] = hexDigit(part[0]);
        if (width - skipped > 1) parts[i] = parts[i] * 16 + hexDigit(part[1]);
    }
    return Color{static_cast<std::uint8_t>(parts[0]), static_cast<std::uint8_t>(parts[1]),
                 static_cast<std::uint8_t>(parts[2])};
}

}  // namespace corvy::platform::css
