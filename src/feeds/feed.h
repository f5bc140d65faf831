// RSS (0.9x, 1.0, 2.0) and Atom feeds: what is one, and its items.
//
// No tree is built, and nothing is demanded but a root element named rss, rdf:RDF or feed: a feed
// that is cut off or ill-formed gives the items that end in it. Each takes one scan of the text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"

namespace corvy {

// A root element of a feed begins before any html or body element.
bool isFeed(std::u16string_view text);

struct FeedCompleteness {
    bool isFeed = false;
    bool isComplete = false;  // a root element ends, or is empty, before any html or body element
};
FeedCompleteness isFeedComplete(std::u16string_view text);

// The items in the order of the feed, at most 500,000; none for what is no feed. `baseURL` is the
// feed's own address, which links that begin with "/" are relative to. An item has the keys
// - "title", "description", "content", "author", "link", and "date" as it stands in the feed:
//   strings, empty when the feed has none;
// - "calendarDate": the date, when it can be read;
// - "tags": the strings of its categories, when it has any;
// - "enclosures": dictionaries with "url" and, where the feed tells it, "length", when it has any.
// kept: an item whose description is "Array", the slip of a widespread script, is left out.
Array getItemsOfFeed(std::u16string_view feed, const std::optional<Url>& baseURL = {});

// The item has no text of its own: none at all, or its title once more.
bool isEmptyFeedItem(const Dictionary& item);

// The title of the whole feed, its references decoded; empty when it has none.
std::u16string titleOfFeed(std::u16string_view feed);

}  // namespace corvy
