// Feeds and their items as pages of HTML, for reading or for searching. A page is complete in
// itself; its look is that of the user's style sheet (feed_style_sheet.h).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// The page of a feed; what is no feed comes back as it is. `baseURL` is the feed's own address.
// `linked`: with a link to the style sheet instead of its content.
std::u16string stringByConvertingFeedToDisplayHTML(std::u16string_view feed, bool linked,
                                                   const std::optional<Url>& baseURL = {});

// The page of some items, dictionaries as getItemsOfFeed gives them. For display it links the style
// sheet and has authors, dates and enclosures; for searching only titles, texts and links.
// kept: an item with an empty link is shown with one here, but not on the page of its feed.
std::u16string stringByConvertingItemsToHTML(const Array& items, bool display);
std::u16string stringByConvertingItemsToDisplayHTML(const Array& items);
std::u16string stringByConvertingItemsToSearchableHTML(const Array& items);

// The page of one item, which tells its author in a meta tag as well.
std::u16string stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet(const Dictionary& item,
                                                                        bool linked);
std::u16string stringByConvertingItemToDisplayHTML(const Dictionary& item);
std::u16string stringByConvertingItemToSearchableHTML(const Dictionary& item);

}  // namespace corvy
