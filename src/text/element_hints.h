// What the attributes of an element say of its place in a page: the words of class and id, and the
// few attributes whose values are standardised.
#pragma once

#include <string_view>

#include "text/page_blocks.h"

namespace corvy {

// `tag` is a start tag, "<" through ">".
Hint hintOfTag(std::u16string_view tag);

// Whether the start tag says that what it holds is not shown, or not read out.
bool hidesText(std::u16string_view tag);

}  // namespace corvy
