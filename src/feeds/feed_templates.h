// The pieces of a feed page. Texts are inserted as they are: they are HTML already.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

inline constexpr std::u16string_view kFeedHead =
    u"<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\n";
inline constexpr std::u16string_view kFeedBodyStart = u"</head>\n<body>\n";
inline constexpr std::u16string_view kFeedPageEnd = u"\n</body>\n</html>";
inline constexpr std::u16string_view kFeedPageEndWithoutBody = u"\n</head>\n</html>";

// From the head into the body, with the title of the feed unless it is empty.
void appendFeedHeader(std::u16string& page, std::u16string_view title);

void appendFeedAuthor(std::u16string& page, std::u16string_view author);

// What a page shows of an item.
struct FeedItem {
    using Text = std::optional<std::u16string_view>;
    Text title = {};
    Text content = {};
    Text description = {};  // shown when the content is missing or empty
    Text link = {};         // an empty one is one as well
    Text date = {};         // as the feed tells it
    Text author = {};
    const Array* enclosures = nullptr;  // dictionaries, as in the items of a feed
};

// Appends the item, without IFRAME and SPAN tags; nothing when there is no page.
void AppendItem2Feed(std::u16string* page, const FeedItem& item);

}  // namespace corvy
