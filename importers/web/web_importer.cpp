// Pages, XML, web archives and feeds.
#include <optional>
#include <string>
#include <string_view>

#include "feeds/feed.h"
#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "importers/support/attributes.h"
#include "importers/support/own_keys.h"
#include "importers/support/text_list.h"
#include "importers/web/page_attributes.h"
#include "markup/file_types.h"
#include "markup/markup_decoding.h"
#include "text/plain_text.h"
#include "text/web_archive.h"

namespace corvy {

namespace {

constexpr std::string_view kWebArchive = "com.apple.webarchive";
constexpr std::string_view kPage = "public.html";

void importFeed(Attributes& attributes, std::u16string_view source) {
    const Array items = getItemsOfFeed(source);
    std::u16string text = titleOfFeed(source);
    attributes.set("kMDItemTitle", text);
    attributes.set(own_keys::kItemCount, static_cast<std::int64_t>(items.size()));

    TextList authors;
    TextList tags;
    std::optional<Date> newest;
    for (const PropertyList& element : items) {
        const Dictionary& item = *element.dictionary();
        authors.add(stringOf(item, u"author").value_or(u""));
        if (const PropertyList* list = item.find(u"tags"); list && list->array()) {
            for (const PropertyList& tag : *list->array()) {
                if (tag.string()) tags.add(*tag.string());
            }
        }
        const PropertyList* date = item.find(u"calendarDate");
        if (date && date->date() && (!newest || newest->seconds < date->date()->seconds)) {
            newest = *date->date();
        }
        auto body = stringOf(item, u"content").value_or(u"");
        if (body.empty()) body = stringOf(item, u"description").value_or(u"");
        if (text.size() > kMostText) continue;
        text += u"\n\n" + stringOf(item, u"title").value_or(u"");
        text += u"\n" + stringByConvertingHtml2PlainText(body);
    }
    attributes.set("kMDItemAuthors", authors.texts());
    attributes.set("kMDItemKeywords", tags.texts());
    if (newest) attributes.set("kMDItemContentModificationDate", *newest);
    attributes.setTextContent(trimWhite(text));
}

void importXml(Attributes& attributes, std::u16string_view source) {
    const std::u16string text = stringByConvertingHtml2SimplifiedPlainText(source);
    // Markup alone, as in property lists of settings, is no text.
    if (text != source) attributes.setTextContent(trimWhite(text));
}

void importPage(Attributes& attributes, std::u16string_view source) {
    setPageAttributes(attributes, source);
    attributes.setTextContent(
        trimWhite(stringByConvertingHtml2PlainText(source, {.onlyBody = true})));
}

bool importArchive(Attributes& attributes, const Bytes& bytes) {
    const auto archive = WebArchive::initWithData(bytes);
    if (!archive) return false;
    const SearchableText content = archive->searchableTextAndSource();
    if (content.source) setPageAttributes(attributes, *content.source);
    if (const auto url = archive->baseURL()) attributes.set("kMDItemURL", *url);
    attributes.setTextContent(trimWhite(content.text));
    return true;
}

bool importWeb(CorvyAttributes* out, const char* contentType, const char* path) {
    Attributes attributes(out);
    if (contentType == kWebArchive) {
        const auto bytes = contentsOfFile(pathFromBytes(path), {.most = 4 * kMostBytes});
        return bytes && importArchive(attributes, *bytes);
    }
    const auto bytes =
        contentsOfFile(pathFromBytes(path), {.most = kMostBytes, .beginningSuffices = true});
    if (!bytes) return false;
    auto source = stringWithMarkedUtf16(bytes->span());
    if (!source) source = stringWithMarkupData(bytes->span());
    if (!source) return false;
    if (isFeed(*source)) {
        importFeed(attributes, *source);
    } else if (contentType == kPage || isHTML(*source)) {
        importPage(attributes, *source);
    } else {
        importXml(attributes, *source);
    }
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importWeb)
