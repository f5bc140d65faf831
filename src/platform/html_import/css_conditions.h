// The questions that conditional rules ask: of the window (@media) and of us (@supports).
#pragma once

#include <string_view>

#include "platform/html_import/css_tokens.h"

namespace corvy::platform::css {

// Whether a list of media queries holds for a page shown on a screen, in a window of kViewportWidth
// by kViewportHeight, without scripts. An empty list holds.
bool mediaMatches(TokenCursor queries);
bool mediaMatches(std::string_view queries);

// Whether a condition of @supports holds. What is asked for without a maker's prefix is taken to
// be there, as it is in the browsers that pages are made for.
bool supportsMatches(TokenCursor condition);

}  // namespace corvy::platform::css
