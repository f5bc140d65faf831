#include "markup/base_url.h"
#include "markup/file_types.h"
#include "markup/link_queries.h"
#include "markup/queries.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

std::vector<std::u16string> listed(std::span<const Text> texts) {
    return {texts.begin(), texts.end()};
}

Reply replyOf(HtmlMeta meta) {
    return {Null(),
            {{u"keywords", resultOf(std::move(meta.keywords))},
             {u"description", resultOf(std::move(meta.description))},
             {u"title", resultOf(std::move(meta.title))},
             {u"indexTitle", resultOf(std::move(meta.indexTitle))}}};
}

constexpr Operation kOperations[] = {
    method<htmlTitle>("htmlTitle"),
    method<normalizedHtmlTitle>("normalizedHtmlTitle"),
    method<htmlMetaAttributeWithName>("htmlMetaAttributeWithName:"),
    method<htmlMetaTitle>("htmlMetaTitle"),
    method<htmlMetaIndexTitle>("htmlMetaIndexTitle"),
    method<htmlMetaKeywords>("htmlMetaKeywords"),
    method<htmlMetaDescription>("htmlMetaDescription"),
    method<htmlMetaDate>("htmlMetaDate"),
    method<htmlMetaAuthor>("htmlMetaAuthor"),
    method<htmlMetaCopyright>("htmlMetaCopyright"),
    method<htmlMetaHTTPEquiv>("htmlMetaHTTPEquiv:"),
    method<htmlMetaRefresh>("htmlMetaRefresh"),
    method<[](Text html) { return PropertyList(htmlMetaAttributes(html)); }>("htmlMetaAttributes"),
    method<[](Text html) { return replyOf(htmlMetaKeywordsDescriptionTitleIndexTitle(html)); }>(
        "htmlMetaKeywords:description:title:indexTitle:"),
    method<htmlDate>("htmlDate"),
    method<[](Text html) {
        const auto seconds = revisitAfter(html);
        return seconds ? PropertyList(*seconds) : PropertyList();
    }>("revisitAfter"),
    method<htmlBaseURL>("htmlBaseURL"),
    method<htmlCanonicalURL>("htmlCanonicalURL"),
    method<htmlFavIcon>("htmlFavIcon"),
    method<htmlImages>("htmlImages"),
    method<htmlStylesheetsAndScripts>("htmlStylesheetsAndScripts"),
    method<htmlEmbeddedObjects>("htmlEmbeddedObjects"),
    method<[](Text html, const std::optional<Url>& baseURL) {
        return htmlLinksBaseURL(html, baseURL);
    }>("htmlLinksBaseURL:"),
    method<stringBySettingBaseURL>("stringBySettingBaseURL:"),
    method<stringByAddingBaseURL>("stringByAddingBaseURL:"),
    function<[] { return listed(HTMLFileTypes()); }>("HTMLFileTypes"),
    function<[] { return listed(XMLFileTypes()); }>("XMLFileTypes"),
    function<[] { return listed(PropertyListFileTypes()); }>("PropertyListFileTypes"),
    function<[] { return listed(MarkupFileTypes()); }>("MarkupFileTypes"),
    function<isHTMLExtension>("isHTMLExtension:"),
    function<isXMLExtension>("isXMLExtension:"),
    function<isPropertyListExtension>("isPropertyListExtension:"),
    function<isMarkupExtension>("isMarkupExtension:"),
    method<isHTML>("isHTML"),
};

}  // namespace

std::span<const Operation> queryOperations() {
    return kOperations;
}

}  // namespace corvy::tools
