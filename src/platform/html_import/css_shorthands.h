// Properties that stand for several others.
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/html_import/css_properties.h"

namespace corvy::platform::css {

struct Shorthand {
    std::string_view name;
    std::span<const Property> longhands;
    // Adds the declarations that the value stands for; false when it is none of its values.
    bool (*read)(TokenCursor& in, const ReadingContext& context, std::vector<Declaration>& out);
};

// Null for a name, in lower case, that is none.
const Shorthand* shorthandNamed(std::string_view name);

// One value of the property at the cursor, which is moved behind it; none, with the cursor
// anywhere, when there is none.
std::optional<Value> readValue(Property property, TokenCursor& in, const ReadingContext& context);

}  // namespace corvy::platform::css
