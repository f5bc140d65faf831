// Markers of list items.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/html_import/computed_style.h"

namespace corvy::platform {

// The marker of the item with that number, such as "iv." or a bullet; empty for none.
std::u16string markerText(css::ListType type, std::string_view ownText, std::int32_t number);
// The form of the marker with the counter in braces, as TextList has it.
std::u16string markerFormat(css::ListType type);

}  // namespace corvy::platform
