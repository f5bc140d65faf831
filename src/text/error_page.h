// Error pages of web servers, which must not be kept as if they were content.
#pragma once

#include <string_view>

namespace corvy {

// Whether a page is a server's error page (not found, forbidden, too busy), by its title, its plain
// text and the address that it came from. Each may be empty.
bool isErrorPageTitle(std::u16string_view title, std::u16string_view text, std::u16string_view url);

// Whether the text is that of a page for readers who load too many pages. The title does not count.
bool exceededPageLoadFrequencyTitle(std::u16string_view title, std::u16string_view text);

}  // namespace corvy
