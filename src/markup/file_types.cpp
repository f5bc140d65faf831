#include "markup/file_types.h"

#include <algorithm>
#include <iterator>

#include "foundation/text.h"
#include "markup/tag_predicates.h"

namespace corvy {

namespace {

constexpr std::u16string_view kMarkupTypes[] = {
    // HTML
    u"html", u"htm", u"xhtml", u"xhtm", u"xht", u"shtml", u"shtm", u"phtml", u"jhtml",
    // XML
    u"xml", u"rss", u"rdf", u"atom", u"opml", u"xsl", u"xslt", u"xsd", u"svg"};
constexpr std::size_t kHTMLTypeCount = 9;
static_assert(kMarkupTypes[kHTMLTypeCount] == u"xml");

constexpr std::u16string_view kPropertyListTypes[] = {u"plist", u"strings"};

// What HTML begins with.
constexpr std::u16string_view kHTMLTags[] = {
    u"HTML",  u"HEAD",     u"BODY", u"TITLE",  u"META", u"BASE", u"LINK", u"SCRIPT",
    u"STYLE", u"FRAMESET", u"DIV",  u"TABLE",  u"P",    u"H1",   u"H2",   u"H3",
    u"A",     u"B",        u"I",    u"BR",     u"FONT", u"IMG",  u"SPAN", u"UL",
    u"OL",    u"PRE",      u"HR",   u"CENTER", u"FORM"};

bool FirstTagHandler(const TagCall& call) {
    if (call.tagKind == TagKindEnd || call.tagKind == TagKindComment) return false;
    const std::u16string_view tag = call.tag();
    if (tag.starts_with(u"<?")) return false;
    auto& isPage = *static_cast<bool*>(call.context);
    if (isNamed(call, u"DOCTYPE")) {
        isPage = containsNoCase(tag, u"html");
    } else {
        isPage = std::any_of(std::begin(kHTMLTags), std::end(kHTMLTags),
                             [&call](std::u16string_view name) { return isNamed(call, name); });
    }
    return true;
}

bool hasPrefixNoCase(std::u16string_view text, std::u16string_view prefix) {
    return equalNoCase(text.substr(0, prefix.size()), prefix);
}

bool contains(std::span<const std::u16string_view> types,
              std::optional<std::u16string_view> extension) {
    return extension &&
           std::any_of(types.begin(), types.end(), [&extension](std::u16string_view type) {
               return equalNoCase(type, *extension);
           });
}

}  // namespace

std::span<const std::u16string_view> HTMLFileTypes() {
    return MarkupFileTypes().first(kHTMLTypeCount);
}

std::span<const std::u16string_view> XMLFileTypes() {
    return MarkupFileTypes().subspan(kHTMLTypeCount);
}

std::span<const std::u16string_view> PropertyListFileTypes() {
    return kPropertyListTypes;
}

std::span<const std::u16string_view> MarkupFileTypes() {
    return kMarkupTypes;
}

bool isHTMLExtension(std::optional<std::u16string_view> extension) {
    return contains(HTMLFileTypes(), extension);
}

bool isXMLExtension(std::optional<std::u16string_view> extension) {
    return contains(XMLFileTypes(), extension);
}

bool isPropertyListExtension(std::optional<std::u16string_view> extension) {
    return contains(PropertyListFileTypes(), extension);
}

bool isMarkupExtension(std::optional<std::u16string_view> extension) {
    return contains(MarkupFileTypes(), extension);
}

bool isMarkupMIMEType(std::u16string_view type) {
    if (hasPrefixNoCase(type, u"text/")) return true;
    if (!hasPrefixNoCase(type, u"application/")) return false;
    for (const std::u16string_view part : {u"htm", u"sgml", u"xml", u"rsd", u"atom"}) {
        if (containsNoCase(type, part)) return true;
    }
    return type.find(u"rdf") != type.npos || type.find(u"rss") != type.npos;
}

bool isHTML(std::u16string_view text) {
    bool isPage = false;
    GetTagsOfString(text, FirstTagHandler, &isPage);
    return isPage;
}

}  // namespace corvy
