#include "feeds/feed_page.h"

#include "feeds/feed_handler.h"
#include "feeds/feed_style_sheet.h"
#include "feeds/feed_templates.h"

namespace corvy {

namespace {

FeedItem::Text textOf(const Dictionary& item, std::u16string_view key) {
    const PropertyList* value = item.find(key);
    if (!value || !value->string()) return std::nullopt;
    return *value->string();
}

void appendItem(std::u16string& page, const Dictionary& item, bool display) {
    FeedItem shown{.title = textOf(item, u"title"),
                   .content = textOf(item, u"content"),
                   .description = textOf(item, u"description"),
                   .link = textOf(item, u"link")};
    if (display) {
        shown.date = textOf(item, u"date");
        shown.author = textOf(item, u"author");
        const PropertyList* enclosures = item.find(u"enclosures");
        if (enclosures) shown.enclosures = enclosures->array();
    }
    AppendItem2Feed(&page, shown);
}

std::u16string pageOfItem(const Dictionary& item, bool display, FeedStyleSheet sheet) {
    std::u16string page(kFeedHead);
    appendFeedStyleSheet(page, sheet);
    if (const auto author = textOf(item, u"author")) appendFeedAuthor(page, *author);
    page += kFeedBodyStart;
    appendItem(page, item, display);
    page += kFeedPageEnd;
    return page;
}

}  // namespace

std::u16string stringByConvertingFeedToDisplayHTML(std::u16string_view feed, bool linked,
                                                   const std::optional<Url>& baseURL) {
    std::u16string page;
    page.reserve(feed.size());
    page += kFeedHead;
    appendFeedStyleSheet(page, linked ? FeedStyleSheet::linked : FeedStyleSheet::inlined);
    FeedContext context{.baseURL = baseURL ? &*baseURL : nullptr, .output = &page};
    scanFeed(feed, context);
    if (!context.isFeed) return std::u16string(feed);
    page += context.headerWritten ? kFeedPageEnd : kFeedPageEndWithoutBody;
    return page;
}

std::u16string stringByConvertingItemsToHTML(const Array& items, bool display) {
    std::u16string page(kFeedHead);
    if (display) appendFeedStyleSheet(page, FeedStyleSheet::linked);
    page += kFeedBodyStart;
    for (const PropertyList& item : items) {
        if (const Dictionary* entries = item.dictionary()) appendItem(page, *entries, display);
    }
    page += kFeedPageEnd;
    return page;
}

std::u16string stringByConvertingItemsToDisplayHTML(const Array& items) {
    return stringByConvertingItemsToHTML(items, true);
}

std::u16string stringByConvertingItemsToSearchableHTML(const Array& items) {
    return stringByConvertingItemsToHTML(items, false);
}

std::u16string stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet(const Dictionary& item,
                                                                        bool linked) {
    return pageOfItem(item, true, linked ? FeedStyleSheet::linked : FeedStyleSheet::inlined);
}

std::u16string stringByConvertingItemToDisplayHTML(const Dictionary& item) {
    return pageOfItem(item, true, FeedStyleSheet::linked);
}

std::u16string stringByConvertingItemToSearchableHTML(const Dictionary& item) {
    return pageOfItem(item, false, FeedStyleSheet::none);
}

}  // namespace corvy
