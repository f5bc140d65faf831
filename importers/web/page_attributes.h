// What pages of HTML say of themselves.
#pragma once

#include <string_view>

#include "importers/support/attributes.h"

namespace corvy {

// Title, authors, description and the like, out of the title, the `meta` tags and the language of
// the page; not its text.
void setPageAttributes(Attributes& attributes, std::u16string_view html);

}  // namespace corvy
