#include "markup/queries.h"

#include <gtest/gtest.h>

#include "foundation/system_log.h"
#include "markup/base_url.h"
#include "markup/file_types.h"
#include "markup/link_queries.h"

namespace corvy {
namespace {

using Text = std::optional<std::u16string>;
using Texts = std::vector<std::u16string>;

TEST(Queries, FindsTheTitle) {
    struct Case {
        const char* name;
        std::u16string_view html;
        std::u16string_view title;
        std::u16string_view normalized;
    };
    static constexpr Case cases[] = {
        {"as it stands, and decoded", u"<title>\n Hi &amp; bye </title>", u"\n Hi &amp; bye ",
         u"Hi & bye"},
        {"kept: only the last run", u"<TITLE>A <b>B</b> C</Title>", u" C", u"C"},
        {"in the body", u"<body><title>x</title>", u"", u""},
        {"behind the end of a body", u"</body><title>x</title>", u"", u""},
        {"never closed", u"<title>x", u"", u""},
        {"the text before an empty element", u"abc<title/>def", u"abc", u"abc"},
        {"the first one", u"<title>a</title><title>b</title>", u"a", u"a"},
        {"an empty one ends the search", u"<title></title><title>b</title>", u"", u""},
        {"only white space", u"<title> \u00A0 </title>", u" \u00A0 ", u""},
        {"white space from references", u"<title>&nbsp;x&#10;</title>", u"&nbsp;x&#10;", u"x"},
        {"no page", u"", u"", u""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(htmlTitle(c.html), c.title) << c.name;
        EXPECT_EQ(normalizedHtmlTitle(c.html), c.normalized) << c.name;
    }
}

TEST(Queries, ReadsMetas) {
    constexpr std::u16string_view page =
        u"<head><META content='k 1' name=Keywords><meta name=DC.Keywords content=k2>"
        u"<meta name=description content=''><meta name='dc.description' content='a<b>c</b> &amp;'>"
        u"<meta name=title content=t><meta name=IndexTitle content=i><meta name=date content=2020>"
        u"<meta name=dc.date content=2021><meta name=author content=Ann><meta name=dc.rights "
        u"content=all><meta http-equiv=Refresh content='5; url=x'><meta name=refresh content=no>"
        u"<meta name=own content=1></head><body><meta name=own content=2>";
    EXPECT_EQ(htmlMetaKeywords(page), u"k 1 k2");
    EXPECT_EQ(htmlMetaDescription(page), u"a<b>c</b> &amp;");
    EXPECT_EQ(htmlMetaTitle(page), u"t");
    EXPECT_EQ(htmlMetaIndexTitle(page), u"i");
    EXPECT_EQ(htmlMetaDate(page), u"2020 2021");
    EXPECT_EQ(htmlMetaAuthor(page), u"Ann");
    EXPECT_EQ(htmlMetaCopyright(page), u"all");
    EXPECT_EQ(htmlMetaRefresh(page), u"5; url=x");
    EXPECT_EQ(htmlMetaHTTPEquiv(page, u"REFRESH"), u"5; url=x");
    EXPECT_EQ(htmlMetaAttributeWithName(page, u"OWN"), u"1");
    EXPECT_EQ(htmlMetaAttributeWithName(page, u"ow"), std::nullopt);
    EXPECT_EQ(htmlMetaAttributeWithName(page, u""), std::nullopt);
    EXPECT_EQ(htmlMetaAttributeWithName(page, std::nullopt), std::nullopt);
    EXPECT_EQ(htmlMetaHTTPEquiv(page, std::nullopt), std::nullopt);

    const HtmlMeta meta = htmlMetaKeywordsDescriptionTitleIndexTitle(page);
    EXPECT_EQ(meta.keywords, u"k 1 k2");
    EXPECT_EQ(meta.description, u"a<b>c</b> &amp;");
    EXPECT_EQ(meta.title, u"t");
    EXPECT_EQ(meta.indexTitle, u"i");
}

TEST(Queries, ListsAllMetas) {
    const Dictionary expected = {{u"keywords", u"a b"}, {u"og:title", u"t"}, {u"refresh", u"5"}};
    const Dictionary metas = htmlMetaAttributes(
        u"<meta name=Keywords content=a><meta property='og:title' content=t><meta name=x>"
        u"<meta http-equiv=refresh content=5><meta name=keywords property=y content=b>"
        u"<meta charset=utf-8><body><meta name=z content=1>");
    EXPECT_EQ(metas, expected);
    EXPECT_EQ(metas.begin()->key, u"keywords");
}

TEST(Queries, ReadsDatesAndIntervals) {
    EXPECT_EQ(htmlDate(u"<meta http-equiv=last-modified content=1><meta name=dc.date content=2>"),
              u"2");
    EXPECT_EQ(htmlDate(u"<meta property='article:published_time' content='2021-05-04'>"),
              u"2021-05-04");
    EXPECT_EQ(htmlDate(u"<meta name=keywords content=x>"), std::nullopt);

    struct Case {
        std::u16string content;
        std::optional<double> seconds;
    };
    const Case cases[] = {
        {u"7 days", 604800},    {u"1Day", 86400}, {u" 2 WEEKS ", 1209600}, {u"3", 259200},
        {u"12 hours", 43200},   {u"days", {}},    {u"7 moons", {}},        {u"7 s", {}},
        {u"99999999 days", {}}, {u"-1 days", {}},
    };
    for (const Case& c : cases) {
        const std::u16string html = u"<meta name=revisit-after content='" + c.content + u"'>";
        EXPECT_EQ(revisitAfter(html), c.seconds);
    }
}

TEST(Queries, FindsTheBaseAddress) {
    struct Case {
        const char* name;
        std::u16string_view html;
        Text base;
        Text logged;
    };
    const Case cases[] = {
        {"normalised",
         u"<base target=x><base href=' HTTP://Example.ORG:80/a '>",
         u"http://example.org/a",
         {}},
        {"relative", u"<base href='/x/'><base href=http://example.org/>", {}, u"Invalid base: /x/"},
        {"not of the web",
         u"<base href='ftp://example.org/'>",
         {},
         u"Invalid base: ftp://example.org/"},
        {"host of dots", u"<base href='http://...'>", {}, u"Invalid base: http://..."},
        {"fragment", u"<base href='#x'>", {}, {}},
        {"no address at all", u"<base href='http://a b/'>", {}, {}},
        {"end tag", u"</base href=http://example.org/>", {}, {}},
        {"in the body", u"<body><base href=http://example.org/>", {}, {}},
    };
    for (const Case& c : cases) {
        const LogCapture log;
        const auto base = htmlBaseURL(c.html);
        EXPECT_EQ(base ? Text(base->absoluteString) : Text(), c.base) << c.name;
        EXPECT_EQ(log.entries(), c.logged ? Texts{*c.logged} : Texts{}) << c.name;
    }
}

TEST(Queries, FindsCanonicalAddressAndIcon) {
    struct Case {
        const char* name;
        std::u16string_view html;
        Text canonical;
        Text icon;
    };
    const Case cases[] = {
        {"canonical",
         u"<link rel=Canonical href='#top'><link rel=canonical>"
         u"<link rel=CANONICAL href='HTTP://Example.org/?a=1&amp;b=2'>",
         u"http://example.org/?a=1&b=2",
         {}},
        {"whole value", u"<link rel='canonical x' href=/a>", {}, {}},
        {"only before the body, the icon everywhere",
         u"<body><link rel=canonical href=/a><link rel='shortcut icon' href=/f.ico>",
         {},
         u"/f.ico"},
        {"any case", u"<link rel='my Shortcut Icon' href=/f.ico>", {}, u"/f.ico"},
        {"kept: icon alone", u"<link rel=icon href=/f.ico>", {}, {}},
        {"the first with an address",
         u"<link rel='shortcut icon'><link rel='shortcut icon' href='http://a b/'>"
         u"<link rel='shortcut icon' href=2.ico>",
         {},
         u"2.ico"},
        {"end tags do not count",
         u"</link rel=canonical href=/a></link rel='shortcut icon' href=b>",
         {},
         {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(htmlCanonicalURL(c.html), c.canonical) << c.name;
        EXPECT_EQ(htmlFavIcon(c.html), c.icon) << c.name;
    }
}

TEST(Queries, ListsImages) {
    EXPECT_EQ(
        htmlImages(u"<body background=bg.png><img src=b.gif><IMG SRC='HTTP://Example.org/a'>"
                   u"<img src=b.gif><img alt=x></img src=no.gif><link rel=apple-icon href=i>"
                   u"<link rel=image_src href=s><link rel=ico href=no><img src='http://a b'>"),
        (Texts{u"b.gif", u"bg.png", u"http://example.org/a", u"i", u"s"}));
    EXPECT_EQ(htmlImages(u"no tags"), Texts{});
}

TEST(Queries, ListsLinks) {
    constexpr std::u16string_view page =
        u"<a href='b.html?x=1&amp;y=2'>1</a><area href=../a.PDF><a href=b.html?x=1&amp;y=2>2</a>"
        u"<a href=#top><a name=x><a href='javascript:go()'><a href=mailto:a@example.org>"
        u"<iframe src=f.html></iframe><frame src=http://example.org/g.html>";
    const Url base{u"http://example.org/d/e/page.html"};
    EXPECT_EQ(htmlLinksBaseURL(page, base),
              (Texts{u"http://example.org/d/e/b.html?x=1&y=2", u"http://example.org/d/a.PDF",
                     u"mailto:a@example.org"}));
    EXPECT_EQ(htmlLinksBaseURL(page, std::nullopt),
              (Texts{u"b.html?x=1&y=2", u"../a.PDF", u"mailto:a@example.org"}));
    EXPECT_EQ(htmlLinksBaseURL(page, base, {.onlyRemote = true, .fileTypes = {u"html"}}),
              (Texts{u"http://example.org/d/e/b.html?x=1&y=2"}));
    EXPECT_EQ(htmlLinksBaseURL(page, base, {.frames = true}),
              (Texts{u"http://example.org/d/e/f.html", u"http://example.org/g.html"}));
    // The address that the page gives itself comes first.
    EXPECT_EQ(htmlLinksBaseURL(u"<base href=http://other.example/><a href=x>", base),
              Texts{u"http://other.example/x"});
}

TEST(Queries, ListsScriptsAndObjects) {
    EXPECT_EQ(htmlStylesheetsAndScripts(
                  u"<link rel='alternate stylesheet' href=s.css><script src=b.js></script>"
                  u"<script>img.src = 'no.js';</script><script title='>' src=a.js>x</script>"
                  u"<link rel=next href=n>"),
              (Texts{u"a.js", u"b.js", u"s.css"}));
    EXPECT_EQ(htmlEmbeddedObjects(u"<object data=o.swf><embed src=e.swf></object><video src=v.mp4>"
                                  u"<source src=w.mp4></video><iframe src=i>"),
              (Texts{u"e.swf", u"o.swf", u"v.mp4", u"w.mp4"}));
}

TEST(Queries, SetsTheBaseAddress) {
    const Url url{u"http://example.org/?a&b"};
    struct Case {
        std::u16string_view html, set, added;
    };
    static constexpr Case cases[] = {
        {u"<html><head><title>x",
         u"<html><head><base href=\"http://example.org/?a&amp;b\"><title>x",
         u"<html><head><base href=\"http://example.org/?a&amp;b\"><title>x"},
        {u"<base href='x'>", u"<base href='http://example.org/?a&amp;b'>", u"<base href='x'>"},
        {u"<!DOCTYPE html><p>", u"<!DOCTYPE html><base href=\"http://example.org/?a&amp;b\"><p>",
         u"<!DOCTYPE html><base href=\"http://example.org/?a&amp;b\"><p>"},
        {u"x<body><head>", u"<base href=\"http://example.org/?a&amp;b\">x<body><head>",
         u"<base href=\"http://example.org/?a&amp;b\">x<body><head>"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(stringBySettingBaseURL(c.html, url), c.set);
        EXPECT_EQ(stringByAddingBaseURL(c.html, url), c.added);
    }
}

TEST(FileTypes, KnowsMarkup) {
    EXPECT_TRUE(isHTMLExtension(u"HTM"));
    EXPECT_FALSE(isHTMLExtension(u"xml"));
    EXPECT_FALSE(isHTMLExtension(u""));
    EXPECT_FALSE(isHTMLExtension(std::nullopt));
    EXPECT_TRUE(isXMLExtension(u"Rss"));
    EXPECT_FALSE(isXMLExtension(u"html"));
    EXPECT_TRUE(isMarkupExtension(u"html") && isMarkupExtension(u"xml"));
    EXPECT_TRUE(isPropertyListExtension(u"plist"));
    EXPECT_FALSE(isMarkupExtension(u"plist"));

    EXPECT_TRUE(isHTML(u"\n<!-- x --><!doctype HTML><x>"));
    EXPECT_TRUE(isHTML(u"<?xml version='1.0'?><html>"));
    EXPECT_TRUE(isHTML(u"some <b>text</b>"));
    EXPECT_FALSE(isHTML(u"<?xml version='1.0'?><rss><html>"));
    EXPECT_FALSE(isHTML(u"<!DOCTYPE plist><plist>"));
    EXPECT_FALSE(isHTML(u"a < b"));
}

}  // namespace
}  // namespace corvy
