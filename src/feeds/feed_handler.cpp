#include "feeds/feed_handler.h"

#include <utility>

#include "feeds/feed_templates.h"
#include "foundation/ascii_case.h"
#include "foundation/date.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "markup/entities.h"
#include "markup/tag_predicates.h"
#include "markup/tag_scan.h"

namespace corvy {

namespace {

struct NamedTag {
    std::u16string_view name;
    FeedTag tag;
};

// Of these, case is folded for ASCII letters only.
constexpr NamedTag kShortNames[] = {
    {u"item", FeedTag::item}, {u"entry", FeedTag::item},   {u"link", FeedTag::link},
    {u"guid", FeedTag::guid}, {u"title", FeedTag::title},  {u"rss", FeedTag::root},
    {u"feed", FeedTag::root}, {u"rdf:rdf", FeedTag::root}, {u"html", FeedTag::page},
    {u"body", FeedTag::page},
};
constexpr NamedTag kLongNames[] = {
    {u"DESCRIPTION", FeedTag::description},
    {u"CONTENT", FeedTag::content},
    {u"CONTENT:ENCODED", FeedTag::encodedContent},
    {u"SUMMARY", FeedTag::summary},
    {u"PUBDATE", FeedTag::date},
    {u"UPDATED", FeedTag::date},
    {u"PUBLISHED", FeedTag::date},
    {u"ISSUED", FeedTag::date},
    {u"DC:DATE", FeedTag::date},
    {u"AUTHOR", FeedTag::author},
    {u"NAME", FeedTag::name},
    {u"DC:CREATOR", FeedTag::dcCreator},
    {u"CATEGORY", FeedTag::category},
    {u"ENCLOSURE", FeedTag::enclosure},
};

constexpr std::u16string_view kRedirectService = u"http://news.google.com/news/url?";

bool isClosed(const TagCall& call) {
    return isTagClosedCharacters(call.characters, call.tagRange());
}

// From `start` to the tag of the call; empty when `start` is not before it.
std::u16string_view textFrom(std::uint64_t start, const TagCall& call) {
    if (start >= call.tagLocation) return {};
    return call.characters.substr(start, call.tagLocation - start);
}

// Gives the field that an element ends its value. The first value wins. A pending section goes
// before the element's other text, and is used up even when the field has a value.
// kept: a section inside an element that is no field waits for the next one that is.
void assign(FeedContext& feed, std::optional<std::u16string>& field, std::u16string_view text,
            FeedEntities entities) {
    std::optional<std::u16string> section = std::exchange(feed.pendingSection, std::nullopt);
    if (field) return;
    if (!section) {
        field = GetFeedContent(text, entities);
    } else if (!section->empty()) {
        field = std::move(section);
    }
}

void readSection(const TagCall& call, FeedContext& feed) {
    const auto text = textOfSection(call);
    if (!text) return;
    const auto entities = feed.contentIsHtml ? FeedEntities::none : FeedEntities::standard;
    feed.pendingSection = GetFeedContent(*text, entities).value_or(std::u16string());
}

// Links that serve the editing of the feed, or lead back to it.
bool isOfService(std::u16string_view relation) {
    return startsWithAsciiNoCase(relation, u"service.") || equalsAsciiNoCase(relation, u"edit") ||
           equalsAsciiNoCase(relation, u"self");
}

void readLinkTarget(const TagCall& call, FeedContext& feed) {
    if (feed.link || isOfService(attributeViewOfTag(call, u"REL"))) return;
    const std::u16string_view target = attributeViewOfTag(call, u"HREF");
    if (!target.empty()) feed.link = stringByConvertingStandardEntitiesToCharacters(target);
}

// kept: only the tag at hand is asked whether it is a permanent link. An end tag never says no.
void readGuid(const TagCall& call, FeedContext& feed) {
    if (equalsAsciiNoCase(attributeViewOfTag(call, u"ISPERMALINK"), u"false")) return;
    auto text = GetFeedContent(call.text(), FeedEntities::standard);
    if (text && isRemoteWebKitStringURL(*text)) feed.link = std::move(text);
}

void readCategory(const TagCall& call, FeedContext& feed) {
    const std::u16string_view term = attributeViewOfTag(call, u"TERM");
    std::optional<std::u16string> tag;
    if (term.empty() || feed.pendingSection) {
        assign(feed, tag, call.text(), FeedEntities::all);
    } else {
        tag = stringByConvertingStandardEntitiesToCharacters(term);
    }
    if (tag) feed.tags.emplace_back(*std::move(tag));
}

void readEnclosure(const TagCall& call, FeedContext& feed) {
    const std::u16string_view url = attributeViewOfTag(call, u"URL");
    if (url.empty()) return;
    Dictionary enclosure{{u"url", stringByConvertingStandardEntitiesToCharacters(url)}};
    const std::u16string_view length = attributeViewOfTag(call, u"LENGTH");
    if (!length.empty()) enclosure.set(u"length", length);
    feed.enclosures.emplace_back(std::move(enclosure));
}

// The address inside a link that leads there by a detour, or that is a whole `a` element.
std::u16string_view cleaned(std::u16string_view link) {
    constexpr std::u16string_view kAnchor = u"<a href=";
    if (startsWithAsciiNoCase(link, kRedirectService)) {
        constexpr std::u16string_view kParameter = u"&url=";
        const std::size_t parameter = link.find(u"&url=http");
        if (parameter != std::u16string_view::npos) {
            link.remove_prefix(parameter + kParameter.size());
            return link.substr(0, link.find(u"&cid="));
        }
    }
    if (!startsWithAsciiNoCase(link, kAnchor)) return link;
    const std::u16string_view target = link.substr(kAnchor.size());
    std::size_t end = 0;
    if (target.starts_with(u'"')) {
        end = target.find(u'"', 1);
        return end == std::u16string_view::npos ? link : target.substr(1, end - 1);
    }
    end = target.find(u' ');
    if (end == std::u16string_view::npos) end = target.find(u'>');
    return end == std::u16string_view::npos ? link : target.substr(0, end);
}

void finishLink(FeedContext& feed) {
    if (!feed.link) return;
    if (feed.baseURL && feed.link->starts_with(u'/')) {
        if (auto url = URLRelativeTo(*feed.baseURL, *feed.link)) {
            feed.link = std::move(url->absoluteString);
        }
    }
    const std::u16string_view link = cleaned(*feed.link);
    if (link.size() != feed.link->size()) feed.link = std::u16string(link);
}

std::u16string taken(std::optional<std::u16string>& field) {
    return field ? *std::move(field) : std::u16string();
}

Dictionary takeItem(FeedContext& feed) {
    const auto calendarDate = feed.date ? date(*feed.date) : std::nullopt;
    Dictionary item;
    // A feed can have very many items, most of them without the further entries.
    item.reserve(6U + !feed.tags.empty() + !feed.enclosures.empty() + calendarDate.has_value());
    item.set(u"title", taken(feed.title));
    item.set(u"description", taken(feed.description));
    item.set(u"content", taken(feed.content));
    item.set(u"author", taken(feed.author));
    if (!feed.tags.empty()) item.set(u"tags", std::exchange(feed.tags, {}));
    if (!feed.enclosures.empty()) item.set(u"enclosures", std::exchange(feed.enclosures, {}));
    if (calendarDate) item.set(u"calendarDate", *calendarDate);
    item.set(u"date", taken(feed.date));
    item.set(u"link", taken(feed.link));
    return item;
}

void finishItem(FeedContext& feed) {
    if (feed.description != u"Array") {
        ++feed.itemCount;
        finishLink(feed);
        if (feed.output) {
            AppendItem2Feed(feed.output, {.title = feed.title,
                                          .content = feed.content,
                                          .description = feed.description,
                                          .link = feed.link,
                                          .date = feed.date,
                                          .author = feed.author,
                                          .enclosures = &feed.enclosures});
        } else if (feed.items) {
            feed.items->emplace_back(takeItem(feed));
        }
    }
    ReleaseFeedContext(feed);
}

void writeHeader(FeedContext& feed, const std::optional<std::u16string>& title) {
    if (feed.output) appendFeedHeader(*feed.output, title.value_or(std::u16string()));
    feed.headerWritten = true;
}

void readChannelTag(const TagCall& call, FeedTag tag, FeedContext& feed) {
    if (tag == FeedTag::item) {
        feed.inItem = true;
    } else if (tag == FeedTag::title && !feed.headerWritten && isClosed(call)) {
        writeHeader(feed, GetFeedContent(call.text(), FeedEntities::all));
    }
}

void readStartTag(const TagCall& call, FeedTag tag, FeedContext& feed) {
    switch (tag) {
        case FeedTag::author: feed.inAuthor = true; break;
        case FeedTag::content:
            feed.contentStart = call.tagLocation + call.tagLength;
            if (equalsAsciiNoCase(attributeViewOfTag(call, u"TYPE"), u"html")) {
                feed.contentIsHtml = true;
            }
            break;
        case FeedTag::description: feed.descriptionStart = call.tagLocation + call.tagLength; break;
        default: break;
    }
}

void readClosedTag(const TagCall& call, FeedTag tag, FeedContext& feed) {
    constexpr auto kAll = FeedEntities::all;
    const std::u16string_view text = call.text();
    switch (tag) {
        case FeedTag::title: assign(feed, feed.title, text, kAll); break;
        case FeedTag::name:
        case FeedTag::author:
            if (feed.inAuthor) assign(feed, feed.author, text, kAll);
            feed.inAuthor = false;
            break;
        case FeedTag::dcCreator: assign(feed, feed.author, text, kAll); break;
        case FeedTag::date: assign(feed, feed.date, text, FeedEntities::standard); break;
        case FeedTag::summary: assign(feed, feed.description, text, kAll); break;
        case FeedTag::description:
            assign(feed, feed.description, textFrom(feed.descriptionStart, call), kAll);
            break;
        case FeedTag::content:
            assign(feed, feed.content, textFrom(feed.contentStart, call), kAll);
            feed.contentStart = kNotFound;
            feed.contentIsHtml = false;
            break;
        case FeedTag::encodedContent: assign(feed, feed.content, text, kAll); break;
        case FeedTag::category: readCategory(call, feed); break;
        case FeedTag::enclosure: readEnclosure(call, feed); break;
        case FeedTag::link: assign(feed, feed.link, text, FeedEntities::standard); break;
        case FeedTag::item: finishItem(feed); break;
        default: break;
    }
}

void readItemTag(const TagCall& call, FeedTag tag, FeedContext& feed) {
    if (call.tagKind == TagKindSection) return readSection(call, feed);
    if (call.tagKind != TagKindElement) return;
    const bool closed = isClosed(call);
    if (closed && !feed.headerWritten) writeHeader(feed, std::nullopt);
    if (tag == FeedTag::link) readLinkTarget(call, feed);
    if (tag == FeedTag::guid) readGuid(call, feed);
    if (closed) {
        readClosedTag(call, tag, feed);
    } else {
        readStartTag(call, tag, feed);
    }
}

}  // namespace

FeedTag feedTagOf(const TagCall& call) {
    const std::u16string_view name = call.name();
    for (const NamedTag& known : kShortNames) {
        if (equalsAsciiNoCase(name, known.name)) return known.tag;
    }
    for (const NamedTag& known : kLongNames) {
        if (equalsUpperCase(name, known.name)) return known.tag;
    }
    return FeedTag::other;
}

bool Feed2HTMLHandler(const TagCall& call) {
    auto& feed = *static_cast<FeedContext*>(call.context);
    if (call.tagLength == 0) return false;
    const FeedTag tag = feedTagOf(call);
    if (feed.inItem) {
        readItemTag(call, tag, feed);
    } else if (feed.isFeed) {
        readChannelTag(call, tag, feed);
    } else {
        feed.isFeed = tag == FeedTag::root;
        return tag == FeedTag::page;
    }
    return feed.itemCount == kMostFeedItems;
}

std::optional<std::u16string_view> textOfSection(const TagCall& call) {
    constexpr std::u16string_view kOpener = u"<![";
    constexpr std::u16string_view kKeyword = u"CDATA";
    constexpr std::size_t kStart = kOpener.size() + kKeyword.size() + 1;
    constexpr std::size_t kEnd = 3;
    const std::u16string_view tag = call.tag();
    if (tag.size() < kStart + kEnd || tag[kStart - 1] != u'[' ||
        !equalsUpperCase(tag.substr(kOpener.size(), kKeyword.size()), kKeyword)) {
        return std::nullopt;
    }
    return tag.substr(kStart, tag.size() - kStart - kEnd);
}

void scanFeed(std::u16string_view feed, FeedContext& context) {
    // As a lambda the handler becomes part of the scan.
    scanTags(feed, feed, &context, [](const TagCall& call) { return Feed2HTMLHandler(call); });
    ReleaseFeedContext(context);
}

void ReleaseFeedContext(FeedContext& context) {
    for (auto* field : {&context.title, &context.link, &context.description, &context.date,
                        &context.pendingSection, &context.content, &context.author}) {
        field->reset();
    }
    context.tags.clear();
    context.enclosures.clear();
    context.contentStart = context.descriptionStart = kNotFound;
    context.inAuthor = false;
}

std::optional<std::u16string> GetFeedContent(std::u16string_view text, FeedEntities entities) {
    constexpr std::size_t kLeastDecoded = 4;
    std::u16string content(text);
    if (content.size() >= kLeastDecoded && entities != FeedEntities::none) {
        content.resize(entities == FeedEntities::all
                           ? convertEntitiesToCharacters(content, content.data())
                           : convertStandardEntitiesToCharacters(content, content.data()));
    }
    const std::u16string_view trimmed = trimWhite(content);
    if (trimmed.empty()) return std::nullopt;
    if (trimmed.size() < content.size()) return std::u16string(trimmed);
    return content;
}

}  // namespace corvy
