// The font families of pages as the families of attributed text.
#pragma once

#include <string>
#include <vector>

namespace corvy::platform {

// Of a list of families in the order of preference: the first one that readers of rich text can be
// expected to have, or else the first one at all. Generic families have one each.
std::u16string fontFamilyOf(const std::vector<std::string>& names);

}  // namespace corvy::platform
