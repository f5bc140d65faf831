// Properties that a page names itself ("--accent"), and values that are made of them by var().
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/html_import/atoms.h"

namespace corvy::platform::css {

// Those that an element sets, in front of those of the elements around it.
class CustomProperties {
public:
    using Scope = std::shared_ptr<const CustomProperties>;
    // Later declarations of a name win.
    using Declared = std::vector<std::pair<Atom, std::string_view>>;

    // The references in the values are resolved, each value for itself; what refers to itself, or
    // grows beyond bounds, has no value.
    static Scope make(const Scope& around, const Declared& declared, AtomTable& atoms);

    // None when the name has no value.
    static std::optional<std::string_view> find(const Scope& scope, Atom name);

private:
    friend class Substitution;

    Scope around_;
    std::unordered_map<Atom, std::optional<std::string>> values_;
};

// The text with its references replaced; none when one has neither a value nor a fallback.
std::optional<std::string> substituted(std::string_view text, const CustomProperties::Scope& scope,
                                       AtomTable& atoms);

}  // namespace corvy::platform::css
