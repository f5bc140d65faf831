// Articles, by both ways: results within their bounds and made of the page.
#include <cstdint>

#include "fuzz/fuzz_text.h"
#include "text/article.h"
#include "text/article_reader.h"
#include "text/page_blocks.h"
#include "text/sharing_links.h"

namespace {

using corvy::require;

void checkCut(std::u16string_view html) {
    const bool possible = corvy::possibleArticle(html);
    const auto stripped = corvy::stripToArticle(html);
    // What can be cut out is an article, and no part of the page comes more than three times: a
    // `body` that is closed in front of the article and opened behind it repeats what is between.
    require(!stripped || possible);
    require(!stripped || stripped->size() <= 3 * html.size() + 2);
    require(corvy::numberOfWordsOfCharacters(html, html.size()) <= (html.size() + 1) / 2);
    corvy::stringURLIsBookmarklet(html);
}

void checkBlocks(std::u16string_view html) {
    const corvy::PageBlocks page = corvy::blocksOfPage(html);
    std::size_t end = 0;
    std::uint32_t element = 0;
    for (const corvy::PageBlock& block : page.blocks) {
        require(block.start == end && block.length > 0 && block.linkLength <= block.length);
        require(block.element < page.elements.size());
        end += block.length;
    }
    require(end <= html.size());
    for (const corvy::PageElement& inner : page.elements) {
        require(inner.parent <= element && inner.end > element);
        require(inner.end <= page.elements[inner.parent].end || element == 0);
        require(inner.firstBlock <= inner.endBlock && inner.endBlock <= page.blocks.size());
        ++element;
    }
}

void checkReader(std::u16string_view html) {
    const auto whole = corvy::articleText(html);
    const auto body = corvy::articleText(html, {.title = false});
    require(whole.has_value() == body.has_value());
    // Each block has at least one unit and gets at most two line feeds and a mark.
    require(!body || (!body->empty() && body->size() <= 5 * html.size()));
    require(!body || whole->ends_with(*body));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string html = corvy::fuzzText(data, size);
    checkCut(html);
    checkBlocks(html);
    checkReader(html);
    return 0;
}
