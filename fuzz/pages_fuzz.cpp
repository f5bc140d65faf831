// Stripping and queries: results within their bounds, and equal where two ways lead to one result.
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/system_log.h"
#include "fuzz/fuzz_text.h"
#include "markup/base_url.h"
#include "markup/file_types.h"
#include "markup/link_queries.h"
#include "markup/queries.h"
#include "markup/stripping.h"

using corvy::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const corvy::LogCapture log;
    const std::u16string html = corvy::fuzzText(data, size);

    require(corvy::stripTags(html).size() <= html.size());
    for (const char16_t* name : {u"B", u"SCRIPT", u"A"}) {
        require(corvy::stripTag(html, name).size() <= html.size());
        // Quotation marks, blanks and end signs that a rewritten tag did not have.
        require(corvy::stripAttributesOfTag(html, name).size() <= 3 * html.size());
    }
    require(corvy::stripLinks(html).size() <= html.size());
    const std::vector<std::u16string> prefixes = {u"<b", u"<script", u"<a"};
    const auto removed = corvy::stripTagBodies(html, prefixes);
    require(removed && removed->size() <= html.size());
    const auto kept = corvy::stripTagBodiesExcept(html, prefixes);
    require(!kept || removed->size() + kept->size() <= 2 * html.size());
    require(kept || *removed == html);
    require(corvy::stripObjectsAndReplaceImages(html, false).size() <= html.size());
    corvy::stripObjectsAndReplaceImages(html, true);

    const corvy::HtmlMeta meta = corvy::htmlMetaKeywordsDescriptionTitleIndexTitle(html);
    require(meta.keywords == corvy::htmlMetaKeywords(html));
    require(meta.title == corvy::htmlMetaTitle(html));
    require(corvy::normalizedHtmlTitle(html).size() <= corvy::htmlTitle(html).size());
    corvy::htmlMetaAttributes(html);
    corvy::htmlCanonicalURL(html);
    corvy::htmlFavIcon(html);
    corvy::htmlDate(html);
    corvy::revisitAfter(html);
    corvy::isHTML(html);
    const corvy::Url base{u"http://example.org/a/b"};
    for (const auto& links :
         {corvy::htmlImages(html), corvy::htmlStylesheetsAndScripts(html),
          corvy::htmlEmbeddedObjects(html), corvy::htmlLinksBaseURL(html, base)}) {
        for (const std::u16string& link : links) require(!link.empty());
    }
    // A page with a base address keeps it when another is added.
    const std::u16string added = corvy::stringByAddingBaseURL(html, base);
    require(corvy::stringByAddingBaseURL(added, base) == added);
    corvy::stringBySettingBaseURL(html, base);
    return 0;
}
