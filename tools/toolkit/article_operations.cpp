#include "text/article.h"
#include "text/article_reader.h"
#include "text/sharing_links.h"
#include "tools/toolkit/operation.h"

namespace corvy::tools {

namespace {

using Text = std::u16string_view;

constexpr Operation kOperations[] = {
    method<possibleArticle>("possibleArticle"),
    method<stripToArticle>("stripToArticle"),
    function<[](Text characters, std::int64_t length) {
        // No number of units is below 0.
        return length < 0 ? 0
                          : numberOfWordsOfCharacters(characters, static_cast<std::size_t>(length));
    }>("numberOfWordsOfCharacters:length:"),
    method<[](Text html) { return articleText(html); }>("articleTextWithOptions:"),
    method<stringURLIsBookmarklet>("stringURLIsBookmarklet"),
};

}  // namespace

std::span<const Operation> articleOperations() {
    return kOperations;
}

}  // namespace corvy::tools
