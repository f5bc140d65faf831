#include "platform/html_import/atoms.h"

#include <algorithm>

#include "platform/html_import/css_tokens.h"

namespace corvy::platform {

namespace {

constexpr std::string_view kNames[] = {
#define NAME(identifier, text) text,
#include "platform/html_import/names.inc"
#undef NAME
};

}  // namespace

AtomTable::AtomTable() {
    atoms_.reserve(1024);
    for (const std::string_view name : kNames) add(name);
}

Atom AtomTable::add(std::string_view text) {
    if (const Atom known = find(text); known != kNoAtom) return known;
    const auto atom = static_cast<Atom>(texts_.size());
    atoms_.emplace(texts_.emplace_back(text), atom);
    return atom;
}

Atom AtomTable::addLowered(std::string_view text) {
    const bool hasUpper =
        std::any_of(text.begin(), text.end(), [](char c) { return css::lowerOf(c) != c; });
    return hasUpper ? add(css::lowered(text)) : add(text);
}

Atom AtomTable::find(std::string_view text) const {
    const auto found = atoms_.find(text);
    return found == atoms_.end() ? kNoAtom : found->second;
}

}  // namespace corvy::platform
