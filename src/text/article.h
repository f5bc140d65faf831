// Whether a page holds one main article, and the page cut down to it.
//
// One scan counts words and notes where headings stand; there is no tree. The article is the
// stretch from the highest heading that begins a long enough section to the first sign of what
// follows articles: comments, a link for printing, sharing or going back to the top, a rule, the
// next heading of the same level. Most pages have none by these strict measures; the reader mode
// (article_reader.h) always answers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/range.h"
#include "markup/tag_call.h"

namespace corvy {

// The page holds a main article: at least 100 words outside of links and two headings, a section
// with at least a third of those words, and an end or a name that speaks of an article.
bool possibleArticle(std::u16string_view html);

// The page's beginning through its `body` tag, the article, and the page from the closing `body`
// tag on, with line feeds between them. None when there is no article, or no end of it.
std::optional<std::u16string> stripToArticle(std::u16string_view html);

// Runs of letters, marks and numbers. `length` counts UTF-16 code units and is cut to what there
// is.
std::uint64_t numberOfWordsOfCharacters(std::u16string_view characters, std::size_t length);

// What ArticleHandler gathers of one page. Locations count UTF-16 code units; kNotFound when there
// is no such thing.
struct ArticleContext {
    static constexpr std::size_t kLevels = 7;

    explicit ArticleContext(std::uint64_t pageLength) : bodyEnd(pageLength) {
        headingStart.fill(kNotFound);
    }

    bool inLink = false;
    bool hasArticleMarker = false;  // the ID or CLASS of a heading or `div` speaks of an article
    std::uint64_t bodyStart = kNotFound;  // behind the opening tag
    std::uint64_t bodyEnd;                // of the closing tag
    std::uint64_t articleEnd = kNotFound;
    // Of each level, the first heading since that of the article.
    std::array<std::uint64_t, kLevels> headingStart;
    std::uint64_t headingLevel = kNotFound;  // of the article's heading, 0 for h1
    std::uint64_t headingCount = 0;
    std::uint64_t wordsSinceHeading = 0;  // outside of links, between the article's heading and end
    std::uint64_t sectionWords = 0;       // of the article's heading, up to the last heading
    std::uint64_t textWords = 0;          // outside of links
    std::uint64_t linkWords = 0;
    std::u16string decodedText = {};  // the last text that held references
};

// The handler behind both operations; its context is an ArticleContext.
bool ArticleHandler(const TagCall& call);

}  // namespace corvy
