#include "feeds/feed.h"
#include "feeds/feed_page.h"
#include "feeds/feed_style_sheet.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

constexpr Operation kOperations[] = {
    method<isFeed>("isFeed"),
    method<[](Text text) {
        const FeedCompleteness found = isFeedComplete(text);
        return Reply{found.isFeed, {{u"complete", found.isComplete}}};
    }>("isFeedComplete:"),
    method<[](Text feed, const std::optional<Url>& baseURL) {
        return PropertyList(getItemsOfFeed(feed, baseURL));
    }>("getItemsOfFeed:"),
    method<[](Text feed) { return PropertyList(getItemsOfFeed(feed)); }>("getItemsOfFeed"),
    method<isEmptyFeedItem>("isEmptyFeedItem"),
    method<[](Text feed, const std::optional<Url>& baseURL, bool linked) {
        return stringByConvertingFeedToDisplayHTML(feed, linked, baseURL);
    }>("stringByConvertingFeed:toDisplayHTMLUsingLinkedStyleSheet:"),
    method<[](Text feed, bool linked) {
        return stringByConvertingFeedToDisplayHTML(feed, linked);
    }>("stringByConvertingFeedToDisplayHTMLUsingLinkedStyleSheet:"),
    method<stringByConvertingItemsToHTML>("stringByConvertingItemsToHTML"),
    method<stringByConvertingItemsToDisplayHTML>("stringByConvertingItemsToDisplayHTML"),
    method<stringByConvertingItemsToSearchableHTML>("stringByConvertingItemsToSearchableHTML"),
    method<stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet>(
        "stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet:"),
    method<stringByConvertingItemToDisplayHTML>("stringByConvertingItemToDisplayHTML"),
    method<stringByConvertingItemToSearchableHTML>("stringByConvertingItemToSearchableHTML"),
    method<stringByReplacingLinkedStyleSheet>("stringByReplacingLinkedStyleSheet"),
};

}  // namespace

std::span<const Operation> feedOperations() {
    return kOperations;
}

}  // namespace corvy::tools
