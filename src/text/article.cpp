#include "text/article.h"

#include <algorithm>

#include "foundation/character_tables.h"
#include "foundation/find_unit.h"
#include "foundation/text.h"
#include "markup/entities.h"
#include "markup/tag_predicates.h"
#include "markup/tag_scan.h"
#include "text/sharing_links.h"

namespace corvy {

namespace {

// A section of fewer words is no article: a further heading of its level takes its place.
constexpr std::uint64_t kLeastWords = 100;
constexpr std::uint64_t kLeastHeadings = 2;

void countWords(const TagCall& call, ArticleContext& page) {
    std::u16string_view text = call.text();
    if (std::all_of(text.begin(), text.end(), isWhite)) return;
    if (findUnit(text, u'&') < text.size()) {
        page.decodedText.resize(text.size());
        const std::size_t length = convertEntitiesToCharacters(text, page.decodedText.data());
        text = std::u16string_view(page.decodedText).substr(0, length);
    }
    const std::uint64_t words = numberOfWordsOfCharacters(text, text.size());
    if (page.inLink) {
        page.linkWords += words;
        return;
    }
    page.textWords += words;
    if (page.headingLevel != kNotFound && page.articleEnd == kNotFound) {
        page.wordsSinceHeading += words;
    }
}

bool endsArticle(std::u16string_view address) {
    return stringURLIsBookmarklet(address) || address.ends_with(u"?view=print") ||
           address == u"#top";
}

bool isInArticle(const ArticleContext& page) {
    return page.headingLevel != kNotFound && page.articleEnd == kNotFound;
}

void handleLink(const TagCall& call, ArticleContext& page) {
    page.inLink = isStartTag(call) && !isEmptyElementTag(call);
    if (page.inLink && isInArticle(page) && endsArticle(attributeViewOfTag(call, u"HREF"))) {
        page.articleEnd = call.tagLocation;
    }
}

void handleNames(const TagCall& call, ArticleContext& page) {
    const std::u16string_view names[] = {attributeViewOfTag(call, u"ID"),
                                         attributeViewOfTag(call, u"CLASS")};
    const auto contains = [&names](std::u16string_view word) {
        return containsNoCase(names[0], word) || containsNoCase(names[1], word);
    };
    if (contains(u"article") || contains(u"artikel")) {
        page.hasArticleMarker = true;
    } else if (page.articleEnd == kNotFound && contains(u"comment")) {
        page.articleEnd = call.tagLocation;
    }
}

void handleHeading(const TagCall& call, std::uint64_t level, ArticleContext& page) {
    page.sectionWords += page.wordsSinceHeading;
    page.wordsSinceHeading = 0;
    ++page.headingCount;
    // Without an article's heading its level is kNotFound, below every other.
    if (level < page.headingLevel ||
        (level == page.headingLevel && page.sectionWords < kLeastWords)) {
        page.headingLevel = level;
        page.headingStart[level] = call.tagLocation;
        page.sectionWords = 0;
        page.articleEnd = kNotFound;
    } else if (level > page.headingLevel) {
        if (page.headingStart[level] == kNotFound) page.headingStart[level] = call.tagLocation;
    } else if (page.articleEnd == kNotFound) {
        page.articleEnd = call.tagLocation;
    }
    handleNames(call, page);
}

void handleBody(const TagCall& call, ArticleContext& page) {
    if (isStartTag(call)) {
        page.bodyStart = call.tagLocation + call.tagLength;
    } else {
        page.bodyEnd = call.tagLocation;
    }
}

ArticleContext scanned(std::u16string_view html) {
    ArticleContext page(html.size());
    scanTags(html, html, &page, ArticleHandler);
    return page;
}

bool hasArticle(const ArticleContext& page) {
    const std::uint64_t lastWords =
        page.wordsSinceHeading >= kLeastWords ? page.wordsSinceHeading : 0;
    const std::uint64_t sectionWords = page.sectionWords + lastWords;
    return page.textWords >= kLeastWords && page.bodyStart != kNotFound &&
           page.headingLevel != kNotFound && sectionWords >= kLeastWords &&
           sectionWords >= page.textWords / 3 && page.headingCount >= kLeastHeadings;
}

}  // namespace

std::uint64_t numberOfWordsOfCharacters(std::u16string_view characters, std::size_t length) {
    std::uint64_t words = 0;
    bool inWord = false;
    for (const char16_t c : characters.substr(0, length)) {
        const bool isInWord = isAlphaNum(c);
        words += isInWord && !inWord ? 1 : 0;
        inWord = isInWord;
    }
    return words;
}

bool ArticleHandler(const TagCall& call) {
    auto& page = *static_cast<ArticleContext*>(call.context);
    countWords(call, page);
    const std::u16string_view name = call.name();
    switch (name.size()) {
        case 1:
            if (isNamed(call, u"A")) handleLink(call, page);
            break;
        case 2:
            if (isNamed(call, u"HR")) {
                if (isInArticle(page)) page.articleEnd = call.tagLocation;
            } else if (toUpper(name[0]) == u'H' && name[1] >= u'1' && name[1] <= u'7') {
                if (isStartTag(call)) handleHeading(call, name[1] - u'1', page);
            }
            break;
        case 3:
            if (isNamed(call, u"DIV") && isStartTag(call)) handleNames(call, page);
            break;
        case 4:
            if (isNamed(call, u"BODY")) handleBody(call, page);
            break;
        default: break;
    }
    return false;
}

bool possibleArticle(std::u16string_view html) {
    const ArticleContext page = scanned(html);
    return hasArticle(page) && (page.articleEnd != kNotFound || page.hasArticleMarker);
}

std::optional<std::u16string> stripToArticle(std::u16string_view html) {
    const ArticleContext page = scanned(html);
    if (!hasArticle(page) || page.articleEnd == kNotFound) return std::nullopt;
    const std::uint64_t start = page.headingStart[page.headingLevel];
    std::u16string result(html.substr(0, page.bodyStart));
    result += u'\n';
    result += html.substr(start, page.articleEnd - start);
    result += u'\n';
    result += html.substr(page.bodyEnd);
    return result;
}

}  // namespace corvy
