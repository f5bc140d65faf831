// How HTML looks where a page says nothing: our own style sheet.
#pragma once

#include <string_view>

namespace corvy::platform::css {

extern const std::string_view kUserAgentSheet;
// Added for pages in quirks mode.
extern const std::string_view kQuirksSheet;

}  // namespace corvy::platform::css
