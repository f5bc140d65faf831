// Links that share, bookmark or subscribe to a page instead of leading on. They stand at the end of
// articles.
#pragma once

#include <string_view>

namespace corvy {

// Whether the address is one of a sharing, bookmarking or subscription service. Case does not
// count. Linear in the address.
bool stringURLIsBookmarklet(std::u16string_view address);

}  // namespace corvy
