#include "feeds/feed.h"

#include <utility>

#include "feeds/feed_handler.h"
#include "foundation/character_tables.h"
#include "foundation/string_compare.h"
#include "foundation/text.h"
#include "markup/stripping.h"
#include "markup/tag_predicates.h"
#include "markup/tag_scanner.h"

namespace corvy {

namespace {

bool RetrieveFeedHandler(const TagCall& call) {
    const FeedTag tag = feedTagOf(call);
    *static_cast<bool*>(call.context) = tag == FeedTag::root;
    return tag == FeedTag::root || tag == FeedTag::page;
}

bool RetrieveCompleteFeedHandler(const TagCall& call) {
    auto& found = *static_cast<FeedCompleteness*>(call.context);
    const FeedTag tag = feedTagOf(call);
    if (tag == FeedTag::root) {
        found.isFeed = true;
        found.isComplete = isTagClosedCharacters(call.characters, call.tagRange());
    }
    return tag == FeedTag::page || found.isComplete;
}

struct FeedTitleContext {
    bool isFeed = false;
    std::optional<std::u16string_view> section = {};  // the last one since a tag
    std::optional<std::u16string> title = {};
};

bool RetrieveFeedTitleHandler(const TagCall& call) {
    auto& feed = *static_cast<FeedTitleContext*>(call.context);
    if (call.tagKind == TagKindSection) {
        feed.section = textOfSection(call);
        return false;
    }
    const FeedTag tag = feedTagOf(call);
    if (tag == FeedTag::page || (tag == FeedTag::item && feed.isFeed)) return true;
    if (tag == FeedTag::root) feed.isFeed = true;
    if (tag == FeedTag::title && feed.isFeed &&
        isTagClosedCharacters(call.characters, call.tagRange())) {
        feed.title = GetFeedContent(feed.section.value_or(call.text()), FeedEntities::all);
        return true;
    }
    feed.section.reset();
    return false;
}

}  // namespace

bool isFeed(std::u16string_view text) {
    bool found = false;
    GetTagsOfString(text, RetrieveFeedHandler, &found);
    return found;
}

FeedCompleteness isFeedComplete(std::u16string_view text) {
    FeedCompleteness found;
    GetTagsOfString(text, RetrieveCompleteFeedHandler, &found);
    return found;
}

Array getItemsOfFeed(std::u16string_view feed, const std::optional<Url>& baseURL) {
    Array items;
    FeedContext context{.baseURL = baseURL ? &*baseURL : nullptr, .items = &items};
    scanFeed(feed, context);
    return items;
}

bool isEmptyFeedItem(const Dictionary& item) {
    std::optional<std::u16string> text = stringOf(item, u"content");
    if (!text || text->empty()) text = stringOf(item, u"description");
    if (!text || trimWhite(*text).empty()) return true;
    const std::optional<std::u16string> title = stringOf(item, u"title");
    if (!title) return false;
    return equalNoCase(*text, *title) ||
           equalStringsNoCaseUsingCharacterSetRep(*text, *title, alphaCharacterSetRep()) ||
           equalNoCase(stripTag(*text, u"IFRAME"), *title);
}

std::u16string titleOfFeed(std::u16string_view feed) {
    FeedTitleContext context;
    GetTagsOfString(feed, RetrieveFeedTitleHandler, &context);
    return std::move(context.title).value_or(std::u16string());
}

}  // namespace corvy
