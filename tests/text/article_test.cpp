#include "text/article.h"

#include <gtest/gtest.h>

#include "markup/tag_scanner.h"
#include "text/sharing_links.h"

namespace corvy {
namespace {

std::u16string words(int count) {
    std::u16string text;
    for (int i = 0; i < count; ++i) text += u"word ";
    return text;
}

std::u16string page(const std::u16string& body) {
    return u"<html><head><title>T</title></head><body class=x>" + body + u"</body></html>";
}

// The article of a page that is cut, without the page around it; "none" without one.
std::u16string articleOf(const std::u16string& html) {
    const auto stripped = stripToArticle(html);
    if (!stripped) return u"none";
    const std::size_t start = stripped->find(u'\n') + 1;
    return stripped->substr(start, stripped->rfind(u'\n') - start);
}

TEST(Article, CutsThePageAtItsBodyTags) {
    const std::u16string article = u"<h1>One</h1>" + words(110) + u"<h2>Two</h2>" + words(60);
    const std::u16string html = page(u"<p>before</p>" + article + u"<hr>after");
    EXPECT_TRUE(possibleArticle(html));
    EXPECT_EQ(stripToArticle(html), u"<html><head><title>T</title></head><body class=x>\n" +
                                        article + u"\n</body></html>");
    // Without a closing tag nothing is left behind the article.
    EXPECT_EQ(stripToArticle(u"<body>" + article + u"<hr>after"), u"<body>\n" + article + u"\n");
    EXPECT_EQ(stripToArticle(article + u"<hr>"), std::nullopt) << "no body tag";
}

TEST(Article, EndsAtTheFirstSignOfWhatFollows) {
    const std::u16string article = u"<h1>One</h1>" + words(110) + u"<h3>Two</h3>" + words(70);
    const std::u16string_view ends[] = {
        u"<hr>",
        u"</HR>",
        u"<div class=comments>",
        u"<div id='user-Comment-list'>",
        u"<h3 class=comment>",
        u"<a href=\"#top\">",
        u"<a href='/a?view=print'>",
        u"<a href='http://Digg.com/Submit?url=x'>",
        u"<h1>",
    };
    for (const std::u16string_view end : ends) {
        const std::u16string html = page(article + std::u16string(end) + u"rest<hr>");
        EXPECT_EQ(articleOf(html), article) << std::u16string(end).size();
    }
    const std::u16string_view others[] = {
        u"<a href=\"#TOP\">",
        u"<a href='/a?view=print&b'>",
        u"<a href='http://digg.com/submit'>",
        u"</div class=comments>",
        u"<span class=comments>",
        u"<a href='#top'/>",
        u"<div class=article id=comment>",
        u"<h4>",
        u"<h8>",
    };
    for (const std::u16string_view other : others) {
        const std::u16string whole = article + std::u16string(other) + u"rest";
        EXPECT_EQ(articleOf(page(whole + u"<hr>")), whole) << std::u16string(other).size();
    }
}

TEST(Article, MarkerIsEnoughToBePossibleButNotToCut) {
    const std::u16string text = u"<h1>One</h1>" + words(100) + u"<h2>Two</h2>" + words(9);
    EXPECT_FALSE(possibleArticle(page(text)));
    for (const std::u16string_view marker :
         {u"<div id=article-body>", u"<div class='der-Artikel'>", u"<h2 class=ARTICLE>"}) {
        const std::u16string marked = page(text + std::u16string(marker));
        EXPECT_TRUE(possibleArticle(marked));
        EXPECT_EQ(stripToArticle(marked), std::nullopt);
    }
    EXPECT_FALSE(possibleArticle(page(text + u"<span class=article>")));
}

TEST(Article, ShortSectionsMoveTheArticleToTheNextHeading) {
    const std::u16string shortOne = u"<h2>A</h2>" + words(50);
    const std::u16string longOne = u"<h2>B</h2>" + words(150);
    EXPECT_EQ(articleOf(page(shortOne + longOne + u"<hr>")), longOne);
    EXPECT_EQ(articleOf(page(longOne + shortOne + u"<hr>")), longOne);
    // The heading's own words count to its section: 98 + 1 are too few, 99 + 1 end it.
    const std::u16string nearly = u"<h2>A</h2>" + words(98);
    const std::u16string enough = u"<h2>A</h2>" + words(99);
    EXPECT_EQ(articleOf(page(nearly + longOne + u"<hr>")), longOne);
    EXPECT_EQ(articleOf(page(enough + longOne + u"<hr>")), enough);
    // A higher heading takes over, whatever was before, and forgets the end found so far.
    EXPECT_EQ(articleOf(page(longOne + u"<hr><h1>C</h1>" + words(200) + u"<hr>")),
              u"<h1>C</h1>" + words(200));
}

TEST(Article, NeedsWordsHeadingsAndItsShareOfThePage) {
    const std::u16string two = u"<h1>H</h1><h2>H</h2>";
    struct Case {
        const char* name;
        std::u16string body;
        bool expected;
    };
    const Case cases[] = {
        {"one heading", u"<h1>H</h1>" + words(120) + u"<hr>", false},
        {"two headings", two + words(120) + u"<hr>", true},
        {"too few words", two + words(98) + u"<hr>", false},
        {"just enough of them", two + words(99) + u"<hr>", true},
        {"rest of a section below 100",
         u"<h1>H</h1>" + words(99) + u"<h2>H</h2>" + words(98) + u"<hr>", true},
        {"words in links do not count", two + u"<a href=x>" + words(120) + u"</a><hr>", false},
        {"a third of the page", words(200) + two + words(99) + u"<hr>" + words(1), true},
        {"less than a third", words(204) + two + words(99) + u"<hr>", false},
        {"words behind the end do not count", two + words(60) + u"<hr>" + words(60), false},
        {"comments hold no words", two + u"<!--" + words(120) + u"--><hr>", false},
    };
    for (const Case& c : cases) EXPECT_EQ(possibleArticle(page(c.body)), c.expected) << c.name;
}

TEST(Article, CountsWords) {
    struct Case {
        std::u16string_view text;
        std::size_t length;
        std::uint64_t words;
    };
    static constexpr Case cases[] = {
        {u"", 0, 0},
        {u"  ... -- ", 9, 0},
        {u"one two,three", 13, 3},
        {u"one two,three", 5, 2},
        {u"one", 99, 1},
        {u"3.14 isn't", 10, 4},
        {u"\u00fcber\u00a0\u4e2d\u6587\u3002\u4e2d", 9, 3},
        {u"e\u0301te\u0301", 5, 1},
        {u"\xD83D\xDE00", 2, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(numberOfWordsOfCharacters(c.text, c.length), c.words)
            << std::u16string(c.text).size();
    }
}

// "caf&eacute;s" is one word, "a&nbsp;b" two.
TEST(Article, CountsDecodedWords) {
    ArticleContext context(0);
    const std::u16string html = u"caf&eacute;s a&nbsp;b";
    GetTagsOfString(html, ArticleHandler, &context);
    EXPECT_EQ(context.textWords, 3U);
}

TEST(SharingLinks, AreKnownByPartsOfTheirAddresses) {
    EXPECT_TRUE(stringURLIsBookmarklet(u"https://www.facebook.com/sharer.php?u=http://a.example"));
    EXPECT_TRUE(stringURLIsBookmarklet(u"HTTP://WWW.REDDIT.COM/SUBMIT?URL=X"));
    EXPECT_TRUE(stringURLIsBookmarklet(u"http://www.addtoany.com/share_save"));
    EXPECT_TRUE(stringURLIsBookmarklet(u"//wa.me/?text=ab"));
    EXPECT_FALSE(stringURLIsBookmarklet(u"//wa.me/?text=a")) << "15 units and a query";
    EXPECT_FALSE(stringURLIsBookmarklet(u"http://www.reddit.com/submit")) << "no query";
    EXPECT_FALSE(stringURLIsBookmarklet(u"http://example.org/?a=reddit"));
    EXPECT_FALSE(stringURLIsBookmarklet(u""));
}

}  // namespace
}  // namespace corvy
