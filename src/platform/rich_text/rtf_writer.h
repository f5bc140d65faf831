// Attributed text as an RTF document.
#pragma once

#include <string>

#include "platform/rich_text/attributed_text.h"

namespace corvy::platform {

// 7-bit ASCII. Fonts stand under their PostScript names; bold and italic are said beside the name
// as well. Black is the reader's own text colour.
std::string rtfOf(const AttributedText& text);

}  // namespace corvy::platform
