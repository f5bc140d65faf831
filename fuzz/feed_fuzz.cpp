// Feeds: items and pages agree, and both stay within bounds.
#include <cstdint>
#include <string>

#include "feeds/feed.h"
#include "feeds/feed_page.h"
#include "feeds/feed_style_sheet.h"
#include "foundation/system_log.h"
#include "fuzz/fuzz_text.h"

using corvy::require;

namespace {

std::size_t countOf(std::u16string_view text, std::u16string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const corvy::LogCapture log;
    const std::u16string feed = corvy::fuzzText(data, size);
    const corvy::FeedCompleteness found = corvy::isFeedComplete(feed);
    require(found.isFeed == corvy::isFeed(feed));
    require(found.isFeed || !found.isComplete);

    const corvy::Url base{u"http://example.org/a/b"};
    const corvy::Array items = corvy::getItemsOfFeed(feed, base);
    require(found.isFeed || items.empty());
    require(corvy::titleOfFeed(feed).size() <= feed.size());
    std::size_t units = 0;
    for (const corvy::PropertyList& item : items) {
        const corvy::Dictionary& entries = *item.dictionary();
        for (const char16_t* key : {u"title", u"description", u"content", u"author", u"date"}) {
            units += entries.find(key)->string()->size();
        }
        require(corvy::stringOf(entries, u"link").has_value());
        corvy::isEmptyFeedItem(entries);
        corvy::stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet(entries, false);
    }
    // No part of the feed is in two fields but for markup inside a description or content.
    require(units <= 3 * feed.size());

    const std::u16string page = corvy::stringByConvertingFeedToDisplayHTML(feed, true, base);
    if (!found.isFeed) require(page == feed);
    const std::u16string shown = corvy::stringByConvertingItemsToHTML(items, true);
    const std::u16string_view header = u"\n<div class=\"feed_header\">";
    if (found.isFeed) {
        // The feed's own title is on its page only.
        require(countOf(shown, header) >= items.size());
        require(countOf(page, header) >= items.size());
    }
    require(corvy::stringByReplacingLinkedStyleSheet(feed).size() <= feed.size());
    return 0;
}
