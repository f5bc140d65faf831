#include "platform/html_import/css_conditions.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

#include "platform/html_import/css_values.h"

namespace corvy::platform::css {

namespace {

// None for what is not known: it does not hold, nor does its contrary.
using Answer = std::optional<bool>;
using Question = Answer (*)(TokenCursor in);

constexpr int kDeepest = 16;

bool isWord(const Token& token, std::string_view word) {
    return token.kind == TokenKind::ident && equalsNoCase(token.text, word);
}

Answer negated(Answer answer) {
    return answer ? Answer(!*answer) : std::nullopt;
}
Answer both(Answer a, Answer b) {
    if ((a && !*a) || (b && !*b)) return false;
    return a && b ? Answer(true) : std::nullopt;
}
Answer either(Answer a, Answer b) {
    if ((a && *a) || (b && *b)) return true;
    return a && b ? Answer(false) : std::nullopt;
}

// Terms joined by "and", "or" and "not", with brackets; `ask` answers what is in the innermost.
Answer conditionAnswer(TokenCursor in, Question ask, int depth);

Answer termAnswer(TokenCursor& in, Question ask, int depth) {
    const Token& token = in.peek();
    if (isWord(token, "not")) {
        in.take();
        return negated(termAnswer(in, ask, depth + 1));
    }
    if (depth > kDeepest || !token.opens()) {
        in.take();
        return std::nullopt;
    }
    if (token.kind == TokenKind::function) {
        const bool isKnown = equalsNoCase(token.text, "selector");
        in.take();
        return isKnown ? Answer(true) : std::nullopt;
    }
    TokenCursor inside = in.inside();
    in.take();
    inside.skipSpace();
    const bool isNested = inside.peek().kind == TokenKind::openParen ||
                          inside.peek().kind == TokenKind::function || isWord(inside.peek(), "not");
    return isNested ? conditionAnswer(inside, ask, depth + 1) : ask(inside);
}

Answer conditionAnswer(TokenCursor in, Question ask, int depth) {
    in.skipSpace();
    Answer answer = termAnswer(in, ask, depth);
    while (!in.atEnd()) {
        const Token& word = in.take();
        if (in.atEnd()) return std::nullopt;
        const Answer next = termAnswer(in, ask, depth);
        if (isWord(word, "and")) {
            answer = both(answer, next);
        } else if (isWord(word, "or")) {
            answer = either(answer, next);
        } else {
            return std::nullopt;
        }
    }
    return answer;
}

// What the window is. Lengths are pixels.
std::optional<double> measured(std::string_view feature) {
    struct Feature {
        std::string_view name;
        double value;
    };
    constexpr double kRatio = kViewportWidth / kViewportHeight;
    constexpr Feature kFeatures[] = {
        {"width", kViewportWidth},
        {"height", kViewportHeight},
        {"device-width", kViewportWidth},
        {"device-height", kViewportHeight},
        {"aspect-ratio", kRatio},
        {"device-aspect-ratio", kRatio},
        {"resolution", 1},
        {"-webkit-device-pixel-ratio", 1},
        {"device-pixel-ratio", 1},
        {"color", 8},
        {"color-index", 0},
        {"monochrome", 0},
        {"grid", 0},
        {"horizontal-viewport-segments", 1},
        {"vertical-viewport-segments", 1},
        {"-webkit-transform-3d", 1},
    };
    for (const Feature& known : kFeatures) {
        if (known.name == feature) return known.value;
    }
    return std::nullopt;
}

// The word that the window has for a feature.
std::optional<std::string_view> described(std::string_view feature) {
    constexpr std::string_view kFeatures[][2] = {
        {"orientation", "landscape"},
        {"hover", "hover"},
        {"any-hover", "hover"},
        {"pointer", "fine"},
        {"any-pointer", "fine"},
        {"prefers-color-scheme", "light"},
        {"prefers-reduced-motion", "no-preference"},
        {"prefers-reduced-transparency", "no-preference"},
        {"prefers-reduced-data", "no-preference"},
        {"prefers-contrast", "no-preference"},
        {"forced-colors", "none"},
        {"inverted-colors", "none"},
        {"scripting", "none"},
        {"update", "fast"},
        {"overflow-block", "scroll"},
        {"overflow-inline", "scroll"},
        {"display-mode", "browser"},
        {"color-gamut", "srgb"},
        {"dynamic-range", "standard"},
        {"scan", "progressive"},
    };
    for (const auto& known : kFeatures) {
        if (known[0] == feature) return known[1];
    }
    return std::nullopt;
}

// A number, a length in pixels, a ratio or a resolution.
std::optional<double> takeNumber(TokenCursor& in) {
    const Token& token = in.peek();
    if (token.kind == TokenKind::function && isMathFunction(token.text)) {
        const auto result = evaluateMath(in, LengthContext());
        return result ? std::optional(result->value) : std::nullopt;
    }
    in.take();
    if (token.kind == TokenKind::number) {
        if (!in.peek().isDelim('/')) return token.number;
        in.take();
        const Token& below = in.take();
        if (below.kind != TokenKind::number || below.number == 0) return std::nullopt;
        return token.number / below.number;
    }
    if (token.kind != TokenKind::dimension) return std::nullopt;
    if (equalsNoCase(token.text, "dppx") || equalsNoCase(token.text, "x")) return token.number;
    if (equalsNoCase(token.text, "dpi")) return token.number / 96;
    if (equalsNoCase(token.text, "dpcm")) return token.number * 2.54 / 96;
    const auto length = lengthOf(token);
    return length ? std::optional(LengthContext().pixels(*length)) : std::nullopt;
}

enum class Comparison { less, atMost, greater, atLeast, equal };

std::optional<Comparison> takeComparison(TokenCursor& in) {
    const Token& token = in.peek();
    if (token.isDelim('=')) {
        in.take();
        return Comparison::equal;
    }
    const bool less = token.isDelim('<');
    if (!less && !token.isDelim('>')) return std::nullopt;
    in.skip();
    const bool orEqual = in.peek().isDelim('=');
    if (orEqual) in.skip();
    in.skipSpace();
    if (less) return orEqual ? Comparison::atMost : Comparison::less;
    return orEqual ? Comparison::atLeast : Comparison::greater;
}

bool holds(double left, Comparison comparison, double right) {
    switch (comparison) {
        case Comparison::less: return left < right;
        case Comparison::atMost: return left <= right;
        case Comparison::greater: return left > right;
        case Comparison::atLeast: return left >= right;
        case Comparison::equal: return left == right;
    }
    return false;
}

// "400px <= width", "400px < width < 700px"; the cursor stands on the number.
Answer leadingRangeAnswer(TokenCursor in) {
    const auto least = takeNumber(in);
    const auto comparison = takeComparison(in);
    const Token& name = in.take();
    const auto value = measured(lowered(name.text));
    if (!least || !comparison || name.kind != TokenKind::ident || !value) return std::nullopt;
    Answer answer = holds(*least, *comparison, *value);
    if (in.atEnd()) return answer;
    const auto second = takeComparison(in);
    const auto most = takeNumber(in);
    if (!second || !most || !in.atEnd()) return std::nullopt;
    return both(answer, holds(*value, *second, *most));
}

Answer mediaFeatureAnswer(TokenCursor in) {
    in.skipSpace();
    if (in.peek().kind != TokenKind::ident) return leadingRangeAnswer(in);
    std::string name = lowered(in.take().text);
    if (in.atEnd()) {
        if (const auto value = measured(name)) return *value != 0;
        if (const auto word = described(name)) {
            return *word != "none" && *word != "no-preference";
        }
        return std::nullopt;
    }
    auto comparison = std::optional(Comparison::equal);
    if (in.peek().kind == TokenKind::colon) {
        in.take();
        // "-webkit-min-device-pixel-ratio" has the bound in its middle.
        const std::string maker = name.starts_with("-webkit-") ? "-webkit-" : "";
        name.erase(0, maker.size());
        if (name.starts_with("min-")) comparison = Comparison::atLeast;
        if (name.starts_with("max-")) comparison = Comparison::atMost;
        if (comparison != Comparison::equal) name.erase(0, 4);
        name.insert(0, maker);
        if (const auto word = described(name)) {
            return comparison == Comparison::equal && isWord(in.peek(), *word);
        }
    } else {
        comparison = takeComparison(in);
    }
    const auto value = measured(name);
    const auto bound = takeNumber(in);
    if (!comparison || !value || !bound || !in.atEnd()) return std::nullopt;
    return holds(*value, *comparison, *bound);
}

Answer declarationAnswer(TokenCursor in) {
    const Token& name = in.take();
    if (name.kind != TokenKind::ident || in.take().kind != TokenKind::colon || in.atEnd()) {
        return std::nullopt;
    }
    if (name.text.starts_with("--")) return true;
    const bool isMakersOwn = name.text.starts_with('-') || (in.peek().kind == TokenKind::ident &&
                                                            in.peek().text.starts_with('-'));
    return !isMakersOwn;
}

// One query between commas.
Answer queryAnswer(TokenCursor in) {
    bool negates = false;
    const Token& first = in.peek();
    TokenCursor ahead = in;
    ahead.take();
    if ((isWord(first, "not") || isWord(first, "only")) && ahead.peek().kind == TokenKind::ident) {
        negates = isWord(first, "not");
        in = ahead;
    }
    if (in.peek().kind != TokenKind::ident || isWord(in.peek(), "not")) {
        return conditionAnswer(in, mediaFeatureAnswer, 0);
    }
    const Token& type = in.take();
    Answer answer = isWord(type, "all") || isWord(type, "screen");
    if (!in.atEnd()) {
        if (!isWord(in.take(), "and")) return false;
        answer = both(answer, conditionAnswer(in, mediaFeatureAnswer, 0));
    }
    return negates ? negated(answer) : answer;
}

}  // namespace

bool mediaMatches(TokenCursor queries) {
    queries.skipSpace();
    if (queries.atEnd()) return true;
    for (;;) {
        const TokenCursor start = queries;
        while (!queries.atEnd() && queries.peek().kind != TokenKind::comma) queries.skip();
        if (queryAnswer(start.upTo(queries)).value_or(false)) return true;
        if (queries.atEnd()) return false;
        queries.take();
    }
}

bool mediaMatches(std::string_view queries) {
    const TokenList tokens(queries);
    return mediaMatches(TokenCursor(tokens));
}

bool supportsMatches(TokenCursor condition) {
    return conditionAnswer(condition, declarationAnswer, 0).value_or(false);
}

}  // namespace corvy::platform::css
