#include "text/article_reader.h"

#include <gtest/gtest.h>

#include "foundation/text.h"
#include "text/element_hints.h"

namespace corvy {
namespace {

// Two sentences each, so that they count as prose.
constexpr const char16_t* kFirst =
    u"The river rose by a metre in one night. Nobody had seen it coming, said the mayor.";
constexpr const char16_t* kSecond =
    u"The dam held, but only just. Work on it goes on until the end of autumn, if it stays dry.";
constexpr const char16_t* kOther =
    u"Another text stands here, with commas, and full stops. It is about something else.";

std::u16string operator+(const char16_t* a, const std::u16string& b) {
    return std::u16string(a) + b;
}

std::u16string paragraph(std::u16string_view text) {
    return u"<p>" + std::u16string(text) + u"</p>";
}

std::u16string article() {
    return paragraph(kFirst) + paragraph(kSecond);
}

std::u16string articleLines() {
    return std::u16string(kFirst) + u"\n\n" + kSecond;
}

// In UTF-8, so that failures can be read.
std::string bodyOf(const std::u16string& html) {
    const auto text = articleText(html, {.title = false});
    return text ? toUtf8(*text) : "none";
}

TEST(ArticleReader, WritesEachKindOfBlock) {
    const std::u16string html =
        u"<body>" + article() +
        u"<h2><a href=#a>A heading</a></h2><ul><li>one<li>two, <b>bold</b><p>more of it</ul>"
        u"<blockquote><p>A quote &amp; no more</p></blockquote>"
        u"<pre>\na = 1\n  b = 2\n\n</pre><p>Short line<br>and its second</p>" +
        paragraph(kOther);
    EXPECT_EQ(bodyOf(html), toUtf8(articleLines() +
                                   u"\n\nA heading\n\n- one\n- two, bold\nmore of it\n\nA quote & "
                                   u"no more\n\na = 1\n  b = 2"
                                   u"\n\nShort line\nand its second\n\n" +
                                   kOther));
}

TEST(ArticleReader, ReadsInlineMarkup) {
    struct Case {
        std::u16string_view inlined, text;
    };
    static constexpr Case cases[] = {
        {u"<x-mark><b>and</b></x-mark>", u"and"},
        {u"<i aria-hidden=true>home</i><span hidden>a<span>b</span>c</span>and", u"and"},
        {u"<span style='display: none'/>and<img hidden>", u"and"},
        // A formula is read once: not its source, nor how it is drawn.
        {u"<span><math><mi>x</mi><annotation>{x}</annotation></math></span>"
         u"<span aria-hidden=true><span>x</span>x</span>",
         u"x"},
        {u"<span style='display:none'><math><mi>x</mi></math></span><img alt=x>", u"x"},
        {u"and <span hidden>never closed", u"and"},
        {u"&#147;and&#148;&#150;it&#146;s\u0085", u"\u201Cand\u201D\u2013it\u2019s\u2026"},
        {u"&#128512;&amp;#x1F600 &#x10FFFFx &#1114112; &#65535;",
         u"\U0001F600&#x1F600 \U0010FFFFx &#1114112; \uFFFF"},
    };
    for (const Case& c : cases) {
        const std::u16string inlined(c.inlined), text(c.text);
        EXPECT_EQ(bodyOf(paragraph(kFirst + (u" " + inlined)) + paragraph(kSecond)),
                  toUtf8(kFirst + (u" " + text) + u"\n\n" + kSecond))
            << toUtf8(inlined);
    }
}

TEST(ArticleReader, LeavesOutWhatIsAroundTheText) {
    const std::u16string more = paragraph(kOther);
    const std::u16string arounds[] = {
        u"<nav>" + more + u"</nav>",
        u"<aside>" + more + u"</aside>",
        u"<footer>" + more + u"</footer>",
        u"<form>" + more + u"</form>",
        u"<div class='RelatedStories'>" + more + u"</div>",
        u"<div id=user_comments>" + more + more + more + u"</div>",
        u"<div class='col share-tools'>" + more + u"</div>",
        u"<div role=complementary>" + more + u"</div>",
        u"<div style='color: red; display : none'>" + more + u"</div>",
        u"<div hidden>" + more + u"</div>",
        u"<div aria-hidden=TRUE>" + more + u"</div>",
        u"<figure><figcaption>" + std::u16string(kOther) + u"</figcaption></figure>",
        u"<noscript>" + more + u"</noscript>",
        u"<select><option>" + std::u16string(kOther) + u"</select>",
        u"<!-- " + more + u" -->",
        u"<script>'" + more + u"'</script>",
        u"<p>Advertisement</p>",
        u"<h2><a href=/b>A heading of another page</a></h2>",
        u"<p>Read more: <a href=x>Another text of this page</a></p>",
        u"<h3>Related</h3><ul><li><a href=x>One text</a><li><a href=y>Another</a></ul>",
    };
    for (const std::u16string& around : arounds) {
        const std::u16string html = u"<body>" + paragraph(kFirst) + around + paragraph(kSecond);
        EXPECT_EQ(bodyOf(html), toUtf8(articleLines())) << toUtf8(around);
    }
}

// Words that are only part of others, or that tell the state of a whole article.
TEST(ArticleReader, IsNotMisledByNames) {
    const std::u16string_view names[] = {
        u"class=shadow",
        u"id=headline",
        u"class='post comments-open'",
        u"class='hentry author-x tag-menu'",
        u"data-share=ad",
        u"style='display:block'",
    };
    for (const std::u16string_view name : names) {
        const std::u16string html = u"<body>" + paragraph(kOther) + u"<div " +
                                    std::u16string(name) + u">" + paragraph(kFirst) + u"</div>" +
                                    paragraph(kSecond);
        EXPECT_EQ(bodyOf(html), toUtf8(kOther + (u"\n\n" + articleLines())))
            << toUtf8(std::u16string(name));
    }
}

TEST(ArticleReader, FindsTheElementWithMostOfTheProse) {
    const std::u16string teaser = u"<div><h3><a href=x>A teaser of another text</a></h3>" +
                                  paragraph(u"Some words of it, and then no more of them.") +
                                  u"</div>";
    const std::u16string html = u"<table><tr><td>" + teaser + teaser + u"<td><div>" + article() +
                                article() + u"</div></td><td>" + teaser + u"</table>";
    EXPECT_EQ(bodyOf(html), toUtf8(articleLines() + u"\n\n" + articleLines()));
}

// A list of the page that holds all of the text is none of the text's.
TEST(ArticleReader, WritesItemsOfTheTextOnly) {
    EXPECT_EQ(bodyOf(u"<ul><li><a href=x>Home</a><li>" + article() + u"</ul>"),
              toUtf8(articleLines()));
}

TEST(ArticleReader, TakesTheElementNamedAsBody) {
    const std::u16string more = paragraph(kOther);
    for (const std::u16string_view name :
         {u"class=articleBody", u"id=post_content", u"itemprop=ArticleBody"}) {
        const std::u16string html = u"<div>" + more + u"<section " + std::u16string(name) + u">" +
                                    article() + u"</section>" + more + u"</div>";
        EXPECT_EQ(bodyOf(html), toUtf8(articleLines())) << toUtf8(std::u16string(name));
    }
}

TEST(ArticleReader, LeavesOutSectionsBehindTheText) {
    const std::u16string html = u"<div>" + article() + u"<h2>References</h2><p>" +
                                std::u16string(kOther) + u"</p><h3>Older ones</h3>" +
                                paragraph(kOther) + u"</div>";
    EXPECT_EQ(bodyOf(html), toUtf8(articleLines()));
    // As the beginning of a text the same heading is one of its own.
    EXPECT_EQ(bodyOf(u"<h2>References</h2>" + article()),
              "References\n\n" + toUtf8(articleLines()));
}

TEST(ArticleReader, KeepsLinkedHeadingsOfListsAndClosingLines) {
    const auto film = [](const std::u16string& name) {
        return u"<h3><a href=x>" + name + u"</a></h3>" + paragraph(kOther);
    };
    const std::u16string closing = u"<p>The end.</p>",
                         links = u"<p>More on <a href=x>site</a>.</p>";
    EXPECT_EQ(bodyOf(article() + film(u"Dunkirk") + film(u"Columbus") + film(u"Get Out") + closing +
                     links),
              toUtf8(articleLines() + u"\n\nDunkirk\n\n" + kOther + u"\n\nColumbus\n\n" + kOther +
                     u"\n\nGet Out\n\n" + kOther + u"\n\nThe end."));
}

TEST(ArticleReader, TakesTheTitle) {
    struct Case {
        const char* name;
        std::u16string head;
        std::u16string heading;
        std::u16string title;
    };
    const Case cases[] = {
        {"heading that the head repeats", u"The Weekly: The flood &amp; we | Site",
         u"<h1>The Weekly</h1><h2>The flood &amp; we</h2>", u"The Weekly"},
        {"of the lower heading", u"The flood, by day - Site",
         u"<h1>Site</h1><h2>The flood, by day</h2>", u"The flood, by day"},
        {"heading with a quotation mark of old", u"It&#146;s over | Site",
         u"<h1>Site</h1><h2>It\u2019s over</h2>", u"It\u2019s over"},
        {"heading in front of the text", u"Untitled", u"<h1>The flood</h1>", u"The flood"},
        {"head without the site", u"The flood &amp; we - The Weekly", u"", u"The flood & we"},
        {"none at all", u"", u"", u""},
    };
    for (const Case& c : cases) {
        const auto text = articleText(u"<title>\n " + c.head + u"</title>" + c.heading + article());
        ASSERT_TRUE(text) << c.name;
        EXPECT_EQ(toUtf8(text->substr(0, text->find(u"\n\n"))),
                  toUtf8(c.title.empty() ? std::u16string(kFirst) : c.title))
            << c.name;
    }
}

TEST(ArticleReader, AnswersForPagesWithProseOnly) {
    EXPECT_EQ(articleText(u""), std::nullopt);
    EXPECT_EQ(articleText(u"<p>Menu</p><a href=x>A link to a page, and it is long.</a>"),
              std::nullopt);
    EXPECT_EQ(bodyOf(kFirst), toUtf8(kFirst)) << "text without markup";
    // All of it is marked as being around a text that is not there.
    const std::u16string around = u"<aside>" + paragraph(kFirst) + u"</aside><nav>" +
                                  paragraph(kSecond) + u"</nav><footer>" + paragraph(kOther) +
                                  u"</footer>";
    EXPECT_EQ(bodyOf(around), toUtf8(articleLines() + u"\n\n" + kOther));
    EXPECT_EQ(bodyOf(u"<p>\u8C37\u6B4C\u57282014\u5E74\u6536\u8D2D\u7684\u516C\u53F8\u5F00\u53D1"
                     u"\u51FA\u4E00\u6B3E\u8BA1\u7B97\u673A\u3002</p>"),
              "\u8C37\u6B4C\u57282014\u5E74\u6536\u8D2D\u7684\u516C\u53F8\u5F00\u53D1\u51FA"
              "\u4E00\u6B3E\u8BA1\u7B97\u673A\u3002");
}

// Elements that are closed by others, or never, or in the wrong place.
TEST(ArticleReader, BearsBrokenMarkup) {
    const std::u16string first = kFirst, second = kSecond, lines = articleLines();
    const std::u16string pages[] = {
        u"<p>" + first + u"<p>" + second,
        u"<div>" + first + u"<br><br>" + second,
        u"<table><tr><td></div></p>" + first + u"<p>" + second,
        u"<div><span><p>" + first + u"</span></b></div></div></i><p>" + second,
        u"<form><button>Go<p>x</form>" + article(),
    };
    for (const std::u16string& html : pages) {
        EXPECT_EQ(bodyOf(html), toUtf8(lines)) << toUtf8(html);
    }
    std::u16string deep;
    for (int i = 0; i < 100000; ++i) deep += u"<div>";
    EXPECT_EQ(bodyOf(deep + article()), toUtf8(lines));
}

TEST(ElementHints, ReadClassAndId) {
    struct Case {
        std::u16string_view tag;
        Hint hint;
    };
    static constexpr Case cases[] = {
        {u"<div>", Hint::kNone},
        {u"<div class='story text'>", Hint::kNone},
        {u"<div class='story-text'>", Hint::kBody},
        {u"<DIV ID=entryContent CLASS=x>", Hint::kBody},
        {u"<div class=\"story-text\tads\">", Hint::kAround},
        {u"<div class=adsorb>", Hint::kNone},
        {u"<div class=no-comments id=comment-list>", Hint::kComments},
        {u"<div class=comments-closed>", Hint::kNone},
        {u"<div data-class=menu title='class=menu'>", Hint::kNone},
        {u"<div class = menu/>", Hint::kAround},
        {u"<div class='menu>", Hint::kAround},
        {u"<div class=", Hint::kNone},
        {u"<p id=NavzzU>", Hint::kNone},
        {u"<p class=caption>", Hint::kAround},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(hintOfTag(c.tag), c.hint) << toUtf8(c.tag);
    }
}

}  // namespace
}  // namespace corvy
