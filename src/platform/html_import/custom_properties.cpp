#include "platform/html_import/custom_properties.h"

#include <functional>

#include "platform/html_import/css_tokens.h"

namespace corvy::platform::css {

namespace {

constexpr std::size_t kLongestValue = 64 << 10;
constexpr int kDeepestReference = 24;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpaceOf(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpaceOf(text.back())) text.remove_suffix(1);
    return text;
}

bool mayRefer(std::string_view text) {
    return text.find('(') != std::string_view::npos;
}

}  // namespace

// Replaces references; names are looked up in the element's own declarations first.
class Substitution {
public:
    using Lookup = std::function<std::optional<std::string>(Atom name, int depth)>;

    Substitution(AtomTable& atoms, Lookup lookup) : atoms_(atoms), lookup_(std::move(lookup)) {}

    std::optional<std::string> run(std::string_view text, int depth) {
        if (!mayRefer(text)) return std::string(text);
        if (depth > kDeepestReference) return std::nullopt;
        const TokenList tokens(text);
        std::string out;
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            const bool isVariable =
                tokens[i].kind == TokenKind::function && equalsNoCase(tokens[i].text, "var");
            const bool isEnvironment =
                tokens[i].kind == TokenKind::function && equalsNoCase(tokens[i].text, "env");
            if (!isVariable && !isEnvironment) {
                out += tokens.sourceOf(i, i + 1);
            } else {
                TokenCursor arguments = TokenCursor(tokens, i, tokens.size()).inside();
                const auto value = reference(arguments, isVariable, depth);
                if (!value) return std::nullopt;
                // Blanks keep its ends from growing together with what stands beside it.
                ((out += ' ') += *value) += ' ';
                i = tokens.next(i) - 1;
            }
            if (out.size() > kLongestValue) return std::nullopt;
        }
        return out;
    }

private:
    std::optional<std::string> reference(TokenCursor arguments, bool isVariable, int depth) {
        arguments.skipSpace();
        const Token& name = arguments.take();
        if (name.kind != TokenKind::ident) return std::nullopt;
        if (isVariable && name.text.starts_with("--")) {
            if (auto value = lookup_(atoms_.add(name.text), depth + 1)) return value;
        }
        while (!arguments.atEnd() && arguments.peek().kind != TokenKind::comma) arguments.skip();
        if (arguments.atEnd()) return std::nullopt;
        arguments.take();
        return run(arguments.source(), depth + 1);
    }

    AtomTable& atoms_;
    Lookup lookup_;
};

CustomProperties::Scope CustomProperties::make(const Scope& around, const Declared& declared,
                                               AtomTable& atoms) {
    struct Entry {
        std::string_view text;
        bool isBeingResolved = false;
    };
    std::unordered_map<Atom, Entry> entries;
    for (const auto& [name, text] : declared) entries[name] = {trimmed(text)};
    auto scope = std::make_shared<CustomProperties>();
    scope->around_ = around;
    auto& values = scope->values_;

    std::function<std::optional<std::string>(Atom, int)> lookup;
    Substitution substitution(atoms,
                              [&lookup](Atom name, int depth) { return lookup(name, depth); });
    lookup = [&](Atom name, int depth) -> std::optional<std::string> {
        if (const auto known = values.find(name); known != values.end()) return known->second;
        const auto entry = entries.find(name);
        if (entry == entries.end()) {
            const auto outer = find(around, name);
            return outer ? std::optional<std::string>(*outer) : std::nullopt;
        }
        if (entry->second.isBeingResolved) return std::nullopt;
        entry->second.isBeingResolved = true;
        std::optional<std::string> value;
        const std::string_view text = entry->second.text;
        if (equalsNoCase(text, "inherit") || equalsNoCase(text, "unset")) {
            if (const auto outer = find(around, name)) value = std::string(*outer);
        } else if (!equalsNoCase(text, "initial")) {
            value = substitution.run(text, depth);
        }
        return values[name] = std::move(value);
    };
    for (const auto& [name, entry] : entries) lookup(name, 0);
    return scope;
}

std::optional<std::string_view> CustomProperties::find(const Scope& scope, Atom name) {
    for (const CustomProperties* at = scope.get(); at; at = at->around_.get()) {
        const auto found = at->values_.find(name);
        if (found == at->values_.end()) continue;
        if (!found->second) return std::nullopt;
        return *found->second;
    }
    return std::nullopt;
}

std::optional<std::string> substituted(std::string_view text, const CustomProperties::Scope& scope,
                                       AtomTable& atoms) {
    return Substitution(atoms,
                        [&scope](Atom name, int) -> std::optional<std::string> {
                            const auto value = CustomProperties::find(scope, name);
                            return value ? std::optional<std::string>(*value) : std::nullopt;
                        })
        .run(text, 0);
}

}  // namespace corvy::platform::css
