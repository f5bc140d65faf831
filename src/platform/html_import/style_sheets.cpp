#include "platform/html_import/style_sheets.h"

#include <algorithm>
#include <utility>

#include "platform/html_import/css_conditions.h"

namespace corvy::platform::css {

namespace {

// Bounds of what one page may bring.
constexpr std::size_t kMostBytes = 32 << 20;
constexpr std::size_t kMostSheets = 512;
constexpr std::size_t kMostRules = 1 << 20;
constexpr std::size_t kLongestNestedSelector = 16 << 10;
constexpr int kDeepestRules = 16;
constexpr int kDeepestImports = 8;

// Rank: 1 bit origin, 9 bits layer, 30 bits specificity, 24 bits order.
constexpr std::uint64_t kNoLayer = 511;
constexpr int kLayerShift = 54;
constexpr int kSpecificityShift = 24;
constexpr int kOriginShift = 63;

bool isNamed(const Token& token, std::string_view name) {
    return equalsNoCase(token.text, name);
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpaceOf(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpaceOf(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace

// Reads one sheet and what it imports.
class SheetReader {
public:
    SheetReader(StyleSheets& sheets, Origin origin) : sheets_(sheets), origin_(origin) {}

    void readSheet(SheetText sheet, int depth) {
        sheets_.size_ += sheet.text.size();
        if (sheets_.size_ > kMostBytes || sheets_.texts_.size() >= kMostSheets) return;
        const SheetText& kept = sheets_.texts_.emplace_back(std::move(sheet));
        const TokenList& tokens = sheets_.tokens_.emplace_back(kept.text);
        mayImport_ = true;
        importDepth_ = depth;
        base_ = &kept.address;
        readRules(TokenCursor(tokens), {}, 0);
    }

private:
    // The selectors of the rule around, as text; empty at the top.
    using Around = std::string_view;
    struct Layer {
        std::uint64_t number = kNoLayer;
        std::string name = {};
    };

    void readRules(TokenCursor in, Around around, int depth) {
        while (!in.atEnd()) {
            const Token& first = in.peek();
            if (first.kind == TokenKind::whitespace || first.kind == TokenKind::cdo ||
                first.kind == TokenKind::cdc || first.kind == TokenKind::semicolon) {
                in.skip();
                continue;
            }
            const bool isAtRule = first.kind == TokenKind::atKeyword;
            const TokenCursor start = in;
            while (!in.atEnd() && in.peek().kind != TokenKind::openCurly &&
                   !(isAtRule && in.peek().kind == TokenKind::semicolon)) {
                in.skip();
            }
            const TokenCursor prelude = start.upTo(in);
            const bool hasBlock = !in.atEnd() && in.peek().kind == TokenKind::openCurly;
            const TokenCursor block = hasBlock ? in.inside() : in.upTo(in);
            if (!in.atEnd()) in.skip();
            if (isAtRule) {
                if (hasBlock) {
                    readAtRule(prelude, block, around, depth);
                } else {
                    readStatement(prelude);
                }
            } else if (hasBlock) {
                mayImport_ = false;
                readStyleRule(prelude, block, around, depth);
            }
        }
    }

    // An at-rule without braces.
    void readStatement(TokenCursor in) {
        const Token& keyword = in.take();
        if (isNamed(keyword, "layer")) {
            while (!in.atEnd()) {
                const TokenCursor start = in;
                while (!in.atEnd() && in.peek().kind != TokenKind::comma) in.skip();
                layerNamed(trimmed(start.upTo(in).source()));
                if (!in.atEnd()) in.take();
            }
        } else if (isNamed(keyword, "import")) {
            if (mayImport_) readImport(in);
        } else if (!isNamed(keyword, "charset")) {
            mayImport_ = false;
        }
    }

    void readImport(TokenCursor in) {
        std::string reference(in.peek().text);
        if (in.peek().kind == TokenKind::function) {
            TokenCursor inside = in.inside();
            inside.skipSpace();
            reference = inside.peek().text;
            if (inside.peek().kind != TokenKind::string) return;
        } else if (in.peek().kind != TokenKind::string && in.peek().kind != TokenKind::url) {
            return;
        }
        in.take();
        Layer layer = layer_;
        if (isNamed(in.peek(), "layer")) {
            layer =
                layerNamed(in.peek().opens() ? trimmed(in.inside().source()) : std::string_view());
            in.take();
        }
        if (in.peek().kind == TokenKind::function && isNamed(in.peek(), "supports")) {
            if (!supportsMatches(
                    in.upTo(TokenCursor(in.list(), in.list().next(in.position()), in.end())))) {
                return;
            }
            in.take();
        }
        if (reference.empty() || importDepth_ >= kDeepestImports || !mediaMatches(in) ||
            !sheets_.importer_ || sheets_.texts_.size() >= kMostSheets) {
            return;
        }
        auto sheet = sheets_.importer_(reference, *base_);
        if (!sheet) return;
        SheetReader reader(sheets_, origin_);
        reader.layer_ = layer;
        reader.readSheet(std::move(*sheet), importDepth_ + 1);
    }

    void readAtRule(TokenCursor prelude, TokenCursor block, Around around, int depth) {
        const Token& keyword = prelude.take();
        if (!isNamed(keyword, "layer")) mayImport_ = false;
        if (depth >= kDeepestRules) return;
        if (isNamed(keyword, "media") ? mediaMatches(prelude)
                                      : isNamed(keyword, "supports") && supportsMatches(prelude)) {
            readBody(block, around, depth + 1);
        } else if (isNamed(keyword, "layer")) {
            const Layer outer = std::exchange(layer_, layerNamed(trimmed(prelude.source())));
            readBody(block, around, depth + 1);
            layer_ = outer;
        }
    }

    // Within a style rule a conditional rule holds declarations too.
    void readBody(TokenCursor block, Around around, int depth) {
        if (around.empty()) return readRules(block, around, depth);
        const TokenList& tokens = sheets_.tokens_.emplace_back(around);
        readBlock(TokenCursor(tokens), block, around, depth);
    }

    void readStyleRule(TokenCursor prelude, TokenCursor block, Around around, int depth) {
        if (depth >= kDeepestRules) return;
        if (around.empty()) return readBlock(prelude, block, prelude.source(), depth);
        const auto selector = nestedSelector(prelude, around);
        if (!selector) return;
        const TokenList& tokens = sheets_.tokens_.emplace_back(*selector);
        readBlock(TokenCursor(tokens), block, *selector, depth);
    }

    // The selectors of a rule within another, written out: "&" is the one around, which stands in
    // front of those without it.
    std::optional<std::string_view> nestedSelector(TokenCursor prelude, Around around) {
        const std::string outer = ":is(" + std::string(trimmed(around)) + ")";
        std::string text;
        const TokenList& tokens = prelude.list();
        while (!prelude.atEnd()) {
            const TokenCursor start = prelude;
            while (!prelude.atEnd() && prelude.peek().kind != TokenKind::comma) prelude.skip();
            std::string selector;
            bool hasOuter = false;
            for (std::size_t i = start.position(); i < prelude.position(); ++i) {
                const bool isOuter = tokens[i].isDelim('&');
                hasOuter = hasOuter || isOuter;
                selector += isOuter ? std::string_view(outer) : tokens.sourceOf(i, i + 1);
                if (selector.size() > kLongestNestedSelector) return std::nullopt;
            }
            if (!text.empty()) text += ',';
            if (!hasOuter) text += outer + " ";
            text += selector;
            if (text.size() > kLongestNestedSelector) return std::nullopt;
            if (!prelude.atEnd()) prelude.skip();
        }
        return sheets_.madeTexts_.keep(text);
    }

    void readBlock(TokenCursor prelude, TokenCursor block, Around selectors, int depth) {
        const auto range = sheets_.selectors_.read(prelude);
        if (!range) return;
        std::vector<Declaration> declarations;
        std::vector<NestedRule> nested;
        readDeclarations(block, {sheets_.atoms_, sheets_.quirks_}, declarations, &nested);
        if (!declarations.empty()) addRules(*range, std::move(declarations));
        for (const NestedRule& rule : nested) {
            if (rule.prelude.peek().kind == TokenKind::atKeyword) {
                readAtRule(rule.prelude, rule.block, selectors, depth + 1);
            } else {
                readStyleRule(rule.prelude, rule.block, selectors, depth + 1);
            }
        }
    }

    void addRules(SelectorRange range, std::vector<Declaration> declarations) {
        const auto block = static_cast<std::uint32_t>(sheets_.blocks_.size());
        sheets_.blocks_.push_back(std::move(declarations));
        for (std::uint32_t i = range.begin; i < range.end; ++i) {
            const ComplexSelector& selector = sheets_.selectors_.selector(i);
            if (selector.never || sheets_.rules_.size() >= kMostRules) continue;
            const std::uint64_t rank =
                static_cast<std::uint64_t>(origin_ == Origin::author) << kOriginShift |
                layer_.number << kLayerShift |
                static_cast<std::uint64_t>(selector.specificity) << kSpecificityShift |
                sheets_.rules_.size();
            sheets_.rules_.push_back({i, block, rank});
        }
    }

    // The number of a layer; one without a name is a new one each time. Layers count in the order
    // in which they are first named.
    Layer layerNamed(std::string_view name) {
        const std::size_t known = sheets_.layers_.size();
        std::string full = name.empty() ? "(" + std::to_string(known) + ")" : std::string(name);
        if (!layer_.name.empty()) full.insert(0, layer_.name + ".");
        const std::uint64_t next = std::min<std::uint64_t>(known, kNoLayer - 1);
        return {sheets_.layers_.emplace(full, next).first->second, full};
    }

    StyleSheets& sheets_;
    Origin origin_;
    const std::string* base_ = nullptr;
    int importDepth_ = 0;
    bool mayImport_ = true;  // imports stand in front of all else
    Layer layer_;
};

StyleSheets::StyleSheets(AtomTable& atoms, bool quirks, SheetImporter importer)
    : atoms_(atoms), quirks_(quirks), importer_(std::move(importer)), selectors_(atoms, quirks) {}

void StyleSheets::add(SheetText sheet, Origin origin) {
    SheetReader(*this, origin).readSheet(std::move(sheet), 0);
}

std::uint32_t StyleSheets::addStyleAttribute(std::string_view text) {
    const auto [known, isNew] =
        styleAttributes_.emplace(text, static_cast<std::uint32_t>(blocks_.size()));
    if (isNew) {
        const TokenList& tokens = tokens_.emplace_back(text);
        readDeclarations(TokenCursor(tokens), {atoms_, quirks_}, blocks_.emplace_back());
    }
    return known->second;
}

}  // namespace corvy::platform::css
