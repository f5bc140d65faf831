// Clean-up of text that comes out of documents: no unit in it that is no character of its own, and
// accents composed.
#pragma once

#include <string>
#include <string_view>

namespace corvy {

// Puts a blank in place of each U+0000, each surrogate (so that a pair becomes two blanks) and each
// private-use unit from U+F400 to U+F8FF, then composes the text to Unicode normalisation form C.
// Text that needs neither is not touched.
void fixAndNormalizeString(std::u16string& text);

// A copy of the text after that.
std::u16string fixedAndNormalizedString(std::u16string_view text);

}  // namespace corvy
