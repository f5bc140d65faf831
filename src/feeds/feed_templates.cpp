#include "feeds/feed_templates.h"

#include <algorithm>
#include <initializer_list>

#include "foundation/character_tables.h"
#include "foundation/date.h"
#include "foundation/date_time_formatter.h"
#include "foundation/text.h"
#include "foundation/url.h"
#include "markup/stripping.h"

namespace corvy {

namespace {

using Text = std::u16string_view;

constexpr Text kFeedPageHeader =
    u"</head>\n<body><div class=\"page_header\"><div class=\"page_title\"><nobr>";

void append(std::u16string& page, std::initializer_list<Text> pieces) {
    for (const Text piece : pieces) page += piece;
}

Text shown(const FeedItem::Text& text) {
    return text.value_or(Text());
}

std::u16string bodyOf(const FeedItem& item) {
    const Text text = shown(item.content).empty() ? shown(item.description) : *item.content;
    return stripTag(stripTag(text, u"IFRAME"), u"SPAN");
}

std::u16string shownDate(Text text) {
    if (const auto found = text.empty() ? std::nullopt : date(text)) {
        std::u16string formatted = dateTimeFormatter().stringFromDate(*found);
        if (!formatted.empty()) return formatted;
    }
    return std::u16string(text);
}

std::u16string bylineOf(const FeedItem& item) {
    std::u16string day = shownDate(shown(item.date));
    const Text author = shown(item.author);
    if (author.empty()) return day;
    std::u16string byline(author);
    if (!day.empty()) append(byline, {u" - ", day});
    return byline;
}

// The last component of the path; where there is none, as in "http://host", of the address.
Text fileNameOf(Text url) {
    const Text name = lastPathComponent(partsOfURL(url).path);
    return name.empty() || name == u"/" ? lastPathComponent(url) : name;
}

void appendEnclosure(std::u16string& page, const Dictionary& enclosure) {
    const PropertyList* url = enclosure.find(u"url");
    if (!url || !url->string()) return;
    const PropertyList* found = enclosure.find(u"length");
    const Text length = found && found->string() ? Text(*found->string()) : Text();
    append(page, {u"<a class=\"feed_enclosure\" href=\"", *url->string(), u"\">",
                  fileNameOf(*url->string()), u"</a>"});
    if (integerValue(length) > 0) {
        const bool hasUnit = std::any_of(length.begin(), length.end(), isAlpha);
        append(page, {u"&nbsp;(", length, hasUnit ? u")" : u" bytes)"});
    }
    page += u"<br/>\n";
}

}  // namespace

void appendFeedHeader(std::u16string& page, std::u16string_view title) {
    if (title.empty()) {
        page += kFeedBodyStart;
        return;
    }
    append(page,
           {u"<title>", title, u"</title>\n", kFeedPageHeader, title, u"</nobr></div></div>\n"});
}

void appendFeedAuthor(std::u16string& page, std::u16string_view author) {
    append(page, {u"<meta name=\"author\" content=\"", author, u"\"/>"});
}

void AppendItem2Feed(std::u16string* page, const FeedItem& item) {
    if (!page) return;
    page->append(u"\n<div class=\"feed_header\">");
    if (item.link) append(*page, {u"<a class=\"feed_link\" href=\"", *item.link, u"\">"});
    *page += shown(item.title);
    if (item.link) *page += u"</a>";
    *page += u"<br/>";
    const std::u16string byline = bylineOf(item);
    if (!byline.empty()) append(*page, {u"<font class=\"feed_date\">", byline, u"</font>"});
    append(*page, {u"</div><div class=\"feed_article\">\n", bodyOf(item), u"\n"});
    if (item.enclosures && !item.enclosures->empty()) {
        *page += u"<div class=\"feed_enclosures\"><p>\n";
        for (const PropertyList& enclosure : *item.enclosures) {
            if (const Dictionary* entries = enclosure.dictionary())
                appendEnclosure(*page, *entries);
        }
        *page += u"</p></div>\n";
    }
    *page += u"</div>\n";
}

}  // namespace corvy
