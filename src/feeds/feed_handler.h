// The handler of the tag scanner that takes the items out of a feed, either as dictionaries or, as
// each is complete, as HTML.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "foundation/range.h"
#include "markup/tag_call.h"

namespace corvy {

// The names that mean something in a feed.
enum class FeedTag : std::uint8_t {
    other,
    root,  // rss, rdf:RDF, feed
    page,  // html, body
    item,  // item, entry
    author,
    category,
    content,
    date,  // issued, published, updated, dc:date, pubDate
    dcCreator,
    description,
    enclosure,
    encodedContent,
    guid,
    link,
    name,
    summary,
    title,
};
FeedTag feedTagOf(const TagCall& call);

// Items that are taken of one feed; an item of 7 units takes a hundred times its memory.
inline constexpr std::size_t kMostFeedItems = 500'000;

// The state of one scan. Without `output` and `items` the feed is only walked through.
struct FeedContext {
    const Url* baseURL = nullptr;      // the feed's own address, when it is known
    std::u16string* output = nullptr;  // gets the items as HTML
    Array* items = nullptr;            // gets the items as dictionaries, unless there is an output

    // Of the current item. Where the text of the open element begins, kNotFound outside.
    std::uint64_t contentStart = kNotFound;
    std::uint64_t descriptionStart = kNotFound;
    Array tags = {};
    Array enclosures = {};
    std::optional<std::u16string> title = {};
    std::optional<std::u16string> date = {};
    std::optional<std::u16string> link = {};
    std::optional<std::u16string> description = {};
    std::optional<std::u16string> content = {};
    std::optional<std::u16string> author = {};
    // The text of the last CDATA section, for the element that ends next; can be empty.
    std::optional<std::u16string> pendingSection = {};
    bool inAuthor = false;

    std::size_t itemCount = 0;  // so far, without those dropped
    bool isFeed = false;        // the root was seen
    bool inItem = false;        // kept: from the first item to the end of the feed
    bool headerWritten = false;
    bool contentIsHtml = false;  // sections of the open element hold HTML, references and all
};

// The context is a FeedContext. True, which stops the scan, at a web page and at the last item that
// is taken.
bool Feed2HTMLHandler(const TagCall& call);

// Scans the feed with that handler.
void scanFeed(std::u16string_view feed, FeedContext& context);

// Forgets the item, but not where in the feed it stood.
void ReleaseFeedContext(FeedContext& context);

// What a CDATA section holds, undecoded; none for another tag or section.
// kept: of a section that a single "]>" ends, the last character is cut off as well.
std::optional<std::u16string_view> textOfSection(const TagCall& call);

// The character references that a text may hold.
enum class FeedEntities { none, standard, all };

// The text decoded and without white space at its ends; none when nothing is left.
// kept: fewer than 4 units are not decoded.
std::optional<std::u16string> GetFeedContent(std::u16string_view text, FeedEntities entities);

}  // namespace corvy
