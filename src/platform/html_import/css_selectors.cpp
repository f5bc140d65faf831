#include "platform/html_import/css_selectors.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <utility>

namespace corvy::platform::css {

namespace {

constexpr std::uint32_t kIdWeight = 1 << 20;
constexpr std::uint32_t kClassWeight = 1 << 10;
constexpr std::uint32_t kTypeWeight = 1;
constexpr int kDeepestList = 8;

struct PseudoEntry {
    std::string_view name;
    Test test;
};
constexpr PseudoEntry kPseudoClasses[] = {
    {"link", Test::link},
    {"any-link", Test::link},
    {"-webkit-any-link", Test::link},
    {"root", Test::root},
    {"scope", Test::root},
    {"empty", Test::empty},
    {"first-child", Test::firstChild},
    {"last-child", Test::lastChild},
    {"checked", Test::checked},
    {"disabled", Test::disabled},
    {"enabled", Test::enabled},
};
// Known states that are not those of a page that nobody reads just now.
constexpr std::string_view kNeverMatching[] = {
    "visited",
    "hover",
    "active",
    "focus",
    "focus-within",
    "focus-visible",
    "target",
    "target-within",
    "indeterminate",
    "default",
    "invalid",
    "user-invalid",
    "user-valid",
    "in-range",
    "out-of-range",
    "placeholder-shown",
    "autofill",
    "fullscreen",
    "modal",
    "popover-open",
    "picture-in-picture",
    "playing",
    "paused",
    "buffering",
    "muted",
    "stalled",
    "seeking",
    "current",
    "past",
    "future",
    "host",
    "defined",
    "read-write",
    "required",
    "blank",
    "open",
};
// Pseudo-elements that may be written like a pseudo-class.
constexpr std::string_view kOldPseudoElements[] = {"before", "after", "first-line", "first-letter"};
constexpr std::string_view kPseudoElements[] = {
    "before",      "after",          "first-line",    "first-letter",         "selection",
    "placeholder", "marker",         "backdrop",      "file-selector-button", "cue",
    "target-text", "spelling-error", "grammar-error", "details-content"};
// Attributes whose values HTML compares without case.
constexpr std::string_view kCaselessAttributes[] = {
    "align",    "bgcolor",  "charset",  "checked", "clear", "color",  "compact",
    "dir",      "disabled", "face",     "frame",   "lang",  "link",   "media",
    "method",   "nowrap",   "readonly", "rel",     "rev",   "rules",  "scope",
    "selected", "shape",    "target",   "text",    "type",  "valign", "vlink",
};

template <std::size_t n>
bool contains(const std::string_view (&names)[n], std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

std::uint32_t added(std::uint32_t a, std::uint32_t b) {
    const auto part = [&](int shift) {
        const std::uint32_t sum = (a >> shift & 1023) + (b >> shift & 1023);
        return std::min(sum, 1023U) << shift;
    };
    return part(20) | part(10) | part(0);
}

struct Formula {
    std::int32_t step = 0;
    std::int32_t offset = 0;
};

// "odd", "even", "3", "2n+1", "-n + 3".
std::optional<Formula> formulaOf(std::string_view source) {
    std::string text;
    for (const char c : source) {
        if (!isSpaceOf(c)) text += lowerOf(c);
    }
    if (text == "odd") return Formula{2, 1};
    if (text == "even") return Formula{2, 0};
    const auto integer = [](std::string_view digits) -> std::optional<std::int32_t> {
        if (digits.starts_with('+')) {
            digits.remove_prefix(1);
            if (digits.starts_with('-')) return std::nullopt;
        }
        std::int32_t number = 0;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
        return std::clamp(number, -1'000'000'000, 1'000'000'000);
    };
    const std::size_t n = text.find('n');
    Formula formula;
    std::optional<std::int32_t> number;
    if (n == std::string::npos) {
        if (!(number = integer(text))) return std::nullopt;
        formula.offset = *number;
        return formula;
    }
    const std::string before = text.substr(0, n);
    if (before.empty() || before == "+" || before == "-") {
        formula.step = before == "-" ? -1 : 1;
    } else {
        if (!(number = integer(before))) return std::nullopt;
        formula.step = *number;
    }
    const std::string after = text.substr(n + 1);
    if (after.empty()) return formula;
    if ((after[0] != '+' && after[0] != '-') || !(number = integer(after))) return std::nullopt;
    formula.offset = *number;
    return formula;
}

}  // namespace

class SelectorReader {
public:
    SelectorReader(Selectors& selectors, int depth) : selectors_(selectors), depth_(depth) {}

    // `forgiving`: what is no selector is left out.
    std::optional<SelectorRange> readList(TokenCursor in, bool forgiving) {
        std::vector<ComplexSelector> found;
        while (true) {
            const TokenCursor start = in;
            while (!in.atEnd() && in.peek().kind != TokenKind::comma) in.skip();
            auto selector = readComplex(start.upTo(in));
            if (selector) {
                found.push_back(*selector);
            } else if (!forgiving) {
                return std::nullopt;
            }
            if (in.atEnd()) break;
            in.skip();
        }
        // Those of its arguments have been put in place by now.
        const auto begin = static_cast<std::uint32_t>(selectors_.selectors_.size());
        selectors_.selectors_.insert(selectors_.selectors_.end(), found.begin(), found.end());
        return SelectorRange{begin, begin + static_cast<std::uint32_t>(found.size())};
    }

private:
    struct Compound {
        std::vector<SelectorPart> parts;
        Test combinator = Test::descendant;  // to the one on its right
    };

    std::optional<ComplexSelector> readComplex(TokenCursor in) {
        std::vector<Compound> compounds;
        specificity_ = 0;
        in.skipSpace();
        if (in.atEnd()) return std::nullopt;
        while (!in.atEnd()) {
            Compound& compound = compounds.emplace_back();
            if (!readCompound(in, compound.parts)) return std::nullopt;
            const bool spaced = in.peek().kind == TokenKind::whitespace;
            in.skipSpace();
            if (in.atEnd()) return assemble(compounds);
            const Token& token = in.peek();
            if (token.isDelim('>')) {
                compound.combinator = Test::child;
            } else if (token.isDelim('+')) {
                compound.combinator = Test::nextSibling;
            } else if (token.isDelim('~')) {
                compound.combinator = Test::laterSibling;
            } else if (spaced) {
                continue;
            } else {
                return std::nullopt;
            }
            in.take();
        }
        return std::nullopt;  // a combinator with nothing behind it
    }

    ComplexSelector assemble(const std::vector<Compound>& compounds) {
        ComplexSelector selector;
        selector.specificity = specificity_;
        selector.begin = static_cast<std::uint32_t>(selectors_.parts_.size());
        for (std::size_t i = compounds.size(); i-- > 0;) {
            const Compound& compound = compounds[i];
            const bool isSubject = i + 1 == compounds.size();
            if (!isSubject) {
                SelectorPart combinator;
                combinator.test = compound.combinator;
                selectors_.parts_.push_back(combinator);
            }
            const bool isAncestor = !isSubject && (compound.combinator == Test::descendant ||
                                                   compound.combinator == Test::child);
            for (const SelectorPart& part : compound.parts) {
                selectors_.parts_.push_back(part);
                selector.never = selector.never || part.test == Test::never;
                if (isAncestor) addHash(part, selector);
            }
        }
        selector.end = static_cast<std::uint32_t>(selectors_.parts_.size());
        return selector;
    }

    static void addHash(const SelectorPart& part, ComplexSelector& selector) {
        if (part.test > Test::className || selector.hashCount == ComplexSelector::kMostHashes) {
            return;
        }
        const auto kind = static_cast<HashedKind>(part.test);
        selector.ancestorHashes[selector.hashCount++] = hashOfName(kind, part.name);
    }

    bool readCompound(TokenCursor& in, std::vector<SelectorPart>& parts) {
        bool any = false;
        if (!readType(in, parts, any)) return false;
        for (; !in.atEnd(); any = true) {
            const Token& token = in.peek();
            SelectorPart part;
            if (token.kind == TokenKind::hash) {
                if (!token.isIdentifier) return false;
                part.test = Test::id;
                part.name = named(token.text);
                count(kIdWeight);
                in.skip();
            } else if (token.isDelim('.')) {
                in.skip();
                if (in.peek().kind != TokenKind::ident) return false;
                part.test = Test::className;
                part.name = named(in.peek().text);
                count(kClassWeight);
                in.skip();
            } else if (token.kind == TokenKind::openSquare) {
                if (!readAttribute(in.inside(), part)) return false;
                count(kClassWeight);
                in.skip();
            } else if (token.kind == TokenKind::colon) {
                if (!readPseudo(in, part, parts)) return false;
            } else {
                break;
            }
            parts.push_back(part);
        }
        return any;
    }

    // The name of an element or "*", if there is one; a namespace in front of it only as "*|".
    bool readType(TokenCursor& in, std::vector<SelectorPart>& parts, bool& any) {
        const auto isName = [&] {
            return in.peek().kind == TokenKind::ident || in.peek().isDelim('*');
        };
        if (!isName()) return !in.peek().isDelim('|');
        TokenCursor ahead = in;
        ahead.skip();
        if (ahead.peek().isDelim('|')) {
            if (!in.peek().isDelim('*')) return false;
            ahead.skip();
            in = ahead;
            if (!isName()) return false;
        }
        any = true;
        if (in.peek().kind == TokenKind::ident) {
            SelectorPart part;
            part.test = Test::type;
            part.name = selectors_.atoms_.addLowered(in.peek().text);
            parts.push_back(part);
            count(kTypeWeight);
        }
        in.skip();
        return true;
    }

    bool readAttribute(TokenCursor in, SelectorPart& part) {
        in.skipSpace();
        const Token& name = in.take();
        if (name.kind != TokenKind::ident) return false;
        part.test = Test::attribute;
        part.name = selectors_.atoms_.addLowered(name.text);
        if (in.atEnd()) return true;
        const Token& sign = in.peek();
        if (sign.kind != TokenKind::delim) return false;
        in.skip();
        switch (sign.text[0]) {
            case '=': part.attributeTest = AttributeTest::equal; break;
            case '~': part.attributeTest = AttributeTest::word; break;
            case '|': part.attributeTest = AttributeTest::languagePrefix; break;
            case '^': part.attributeTest = AttributeTest::prefix; break;
            case '$': part.attributeTest = AttributeTest::suffix; break;
            case '*': part.attributeTest = AttributeTest::substring; break;
            default: return false;
        }
        if (part.attributeTest != AttributeTest::equal) {
            if (!in.peek().isDelim('=')) return false;
            in.skip();
        }
        in.skipSpace();
        const Token& value = in.take();
        if (value.kind != TokenKind::ident && value.kind != TokenKind::string) return false;
        part.value = value.text;
        part.ignoresCase = contains(kCaselessAttributes, selectors_.atoms_.text(part.name));
        if (in.atEnd()) return true;
        const Token& flag = in.take();
        if (flag.kind != TokenKind::ident || !in.atEnd()) return false;
        if (equalsNoCase(flag.text, "i")) {
            part.ignoresCase = true;
            return true;
        }
        part.ignoresCase = false;
        return equalsNoCase(flag.text, "s");
    }

    bool readPseudo(TokenCursor& in, SelectorPart& part, std::vector<SelectorPart>& parts) {
        in.skip();
        const bool isElement = in.peek().kind == TokenKind::colon;
        if (isElement) in.skip();
        const Token& token = in.peek();
        if (token.kind != TokenKind::ident && token.kind != TokenKind::function) return false;
        const std::string name = lowered(token.text);
        const TokenCursor arguments = in.inside();
        in.skip();
        const bool isFunction = token.kind == TokenKind::function;
        if (isElement || (!isFunction && contains(kOldPseudoElements, name))) {
            part.test = Test::never;
            count(kTypeWeight);
            return name.starts_with("-webkit-") || contains(kPseudoElements, name) ||
                   (isFunction &&
                    (name == "part" || name == "slotted" || name == "highlight" || name == "cue"));
        }
        return isFunction ? readFunction(name, arguments, part) : readClass(name, part, parts);
    }

    bool readClass(const std::string& name, SelectorPart& part, std::vector<SelectorPart>& parts) {
        count(kClassWeight);
        for (const PseudoEntry& entry : kPseudoClasses) {
            if (entry.name == name) {
                part.test = entry.test;
                return true;
            }
        }
        if (name == "only-child") {
            part.test = Test::firstChild;
            parts.push_back(part);
            part.test = Test::lastChild;
            return true;
        }
        part.offset = 1;
        part.test = Test::nthOfType;
        if (name == "first-of-type") return true;
        if (name == "only-of-type") parts.push_back(part);
        part.test = Test::nthLastOfType;
        if (name == "last-of-type" || name == "only-of-type") return true;
        part.offset = 0;
        if (name == "optional" || name == "read-only" || name == "valid") {
            part.test = Test::matchesNone;  // of nothing: it matches everything
            part.list = addList({0, 0});
            return true;
        }
        part.test = Test::never;
        return contains(kNeverMatching, name) || name.starts_with("-webkit-");
    }

    bool readFunction(const std::string& name, TokenCursor arguments, SelectorPart& part) {
        constexpr PseudoEntry kCounting[] = {{"nth-child", Test::nthChild},
                                             {"nth-last-child", Test::nthLastChild},
                                             {"nth-of-type", Test::nthOfType},
                                             {"nth-last-of-type", Test::nthLastOfType}};
        for (const PseudoEntry& entry : kCounting) {
            if (entry.name != name) continue;
            part.test = entry.test;
            count(kClassWeight);
            return readFormula(arguments, part);
        }
        if (name == "lang") {
            arguments.skipSpace();
            const Token& language = arguments.take();
            part.test = Test::language;
            part.value = language.text;
            count(kClassWeight);
            return language.kind == TokenKind::ident || language.kind == TokenKind::string;
        }
        if (name == "dir" || name == "state" || name == "host" || name == "host-context") {
            part.test = Test::never;
            count(kClassWeight);
            return true;
        }
        const bool isNot = name == "not";
        const bool isWhere = name == "where";
        if (!isNot && !isWhere && name != "is" && name != "matches" && name != "-webkit-any") {
            return false;
        }
        part.test = isNot ? Test::matchesNone : Test::matchesAny;
        return readArguments(arguments, !isNot, isWhere ? 0 : 1, part);
    }

    bool readFormula(TokenCursor arguments, SelectorPart& part) {
        arguments.skipSpace();
        const TokenCursor start = arguments;
        const auto isOf = [&] {
            return arguments.peek().kind == TokenKind::ident &&
                   equalsNoCase(arguments.peek().text, "of");
        };
        while (!arguments.atEnd() && !isOf()) arguments.skip();
        const auto formula = formulaOf(start.upTo(arguments).source());
        if (!formula) return false;
        part.step = formula->step;
        part.offset = formula->offset;
        if (arguments.atEnd()) return true;
        arguments.take();
        const bool ofType = part.test == Test::nthOfType || part.test == Test::nthLastOfType;
        return !ofType && readArguments(arguments, false, 1, part);
    }

    // A list of selectors counts as much as the strongest of them.
    bool readArguments(TokenCursor arguments, bool forgiving, std::uint32_t weight,
                       SelectorPart& part) {
        if (depth_ + 1 > kDeepestList) return false;
        const auto range = SelectorReader(selectors_, depth_ + 1).readList(arguments, forgiving);
        if (!range) return false;
        std::uint32_t strongest = 0;
        for (std::uint32_t i = range->begin; i < range->end; ++i) {
            strongest = std::max(strongest, selectors_.selectors_[i].specificity);
        }
        part.list = addList(*range);
        count(strongest * weight);
        return true;
    }

    std::uint32_t addList(SelectorRange range) {
        selectors_.lists_.push_back(range);
        return static_cast<std::uint32_t>(selectors_.lists_.size() - 1);
    }

    Atom named(std::string_view text) {
        return selectors_.quirks_ ? selectors_.atoms_.addLowered(text)
                                  : selectors_.atoms_.add(text);
    }

    void count(std::uint32_t weight) { specificity_ = added(specificity_, weight); }

    Selectors& selectors_;
    int depth_;
    std::uint32_t specificity_ = 0;
};

std::optional<SelectorRange> Selectors::read(TokenCursor prelude) {
    return SelectorReader(*this, 0).readList(prelude, false);
}

}  // namespace corvy::platform::css
