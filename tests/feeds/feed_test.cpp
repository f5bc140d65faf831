#include "feeds/feed.h"

#include <gtest/gtest.h>

#include "foundation/system_log.h"
#include "foundation/text.h"

namespace corvy {
namespace {

// One item with these elements in an RSS feed.
std::u16string rss(std::u16string_view elements) {
    return u"<rss><channel><title>F</title><item>" + std::u16string(elements) + u"</item>";
}

Dictionary onlyItem(std::u16string_view feed, const std::optional<Url>& baseURL = {}) {
    const LogCapture log;
    const Array items = getItemsOfFeed(feed, baseURL);
    EXPECT_EQ(items.size(), 1U) << toUtf8(feed);
    return items.empty() ? Dictionary() : *items[0].dictionary();
}

struct FieldCase {
    std::u16string_view elements;
    std::u16string_view key;
    std::u16string_view value;
};

void expectFields(std::span<const FieldCase> cases, const std::optional<Url>& baseURL = {}) {
    for (const FieldCase& c : cases) {
        EXPECT_EQ(stringOf(onlyItem(rss(c.elements), baseURL), c.key), c.value)
            << toUtf8(c.elements);
    }
}

TEST(Feed, IsKnownByItsRoot) {
    struct Case {
        std::u16string_view text;
        bool isFeed, isComplete;
    };
    static constexpr Case cases[] = {
        {u"rss", false, false},
        {u"<?xml?><!-- <html> --><rss version='2.0'>", true, false},
        {u"<RDF:rdf></rdf:Rdf>", true, true},
        {u"<rdf;RDF></rdf;RDF>", false, false},
        {u"<Feed/>", true, true},
        {u"</feed>", true, true},
        {u"<rs\u017F></rs\u017F>", false, false},
        {u"<html><rss></rss>", false, false},
        {u"<BODY><rss></rss>", false, false},
        {u"<rss><html></rss>", true, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(isFeed(c.text), c.isFeed) << toUtf8(c.text);
        const FeedCompleteness found = isFeedComplete(c.text);
        EXPECT_EQ(found.isFeed, c.isFeed) << toUtf8(c.text);
        EXPECT_EQ(found.isComplete, c.isComplete) << toUtf8(c.text);
    }
}

TEST(Feed, GivesWholeItems) {
    const LogCapture log;
    const Array items = getItemsOfFeed(
        u"<rss><channel><title>F</title><link>http://f/</link><item><title> A &eacute; </title>"
        u"<description>d</description><content:encoded>c</content:encoded><author>w</author>"
        u"<category>x</category><category/><category term='y &amp; z'/><pubDate>15 Jan 2009 "
        u"10:20:30 "
        u"GMT</pubDate><enclosure url='http://e/?a&amp;b' length='1&amp;'/><enclosure length=2 />"
        u"<enclosure url=u></enclosure><enclosure url=v /><link>http://l/?a&amp;b</link></item>"
        u"</item><item><dc:date>never</dc:date></item><item><title>cut");
    const Dictionary whole{
        {u"title", u"A \u00E9"},
        {u"description", u"d"},
        {u"content", u"c"},
        {u"author", u"w"},
        {u"tags", Array{u"x", u"y & z"}},
        {u"enclosures", Array{Dictionary{{u"url", u"http://e/?a&b"}, {u"length", u"1&amp;"}},
                              Dictionary{{u"url", u"v"}}}},
        {u"calendarDate", Date{1232014830}},
        {u"date", u"15 Jan 2009 10:20:30 GMT"},
        {u"link", u"http://l/?a&b"}};
    Dictionary empty{{u"title", u""},  {u"description", u""}, {u"content", u""},
                     {u"author", u""}, {u"date", u""},        {u"link", u""}};
    Dictionary undated = empty;
    undated.set(u"date", u"never");
    EXPECT_EQ(items, (Array{whole, empty, undated}));
    EXPECT_EQ(log.entries(), std::vector<std::u16string>{u"Unknown date: never"});
}

TEST(Feed, TakesTheFirstValueOfEachField) {
    static constexpr FieldCase cases[] = {
        {u"<title>a</title><title>b</title>", u"title", u"a"},
        {u"<title> </title><TITLE>b</TITLE>", u"title", u"b"},
        {u"<title>&lt</title>", u"title", u"&lt"},
        {u"<title>x&nbsp;</title>", u"title", u"x"},
        {u"<title>&amp;amp;</title>", u"title", u"&amp;"},
        {u"<name>n</name>", u"author", u""},
        {u"<author><name>n</name><email>e</email></author>", u"author", u"n"},
        {u"<author><email>e</email>x</author><name>n</name>", u"author", u"x"},
        {u"<author></author><dc:creator>c</dc:creator>", u"author", u"c"},
        {u"<updated>1</updated><published>2</published>", u"date", u"1"},
        {u"<i\u017F\u017Fued>1</i\u017F\u017Fued><dc:date>2</dc:date>", u"date", u"1"},
        {u"<pubDate>&eacute;&amp;</pubDate>", u"date", u"&eacute;&"},
        {u"<summary>s<b>t</b>u</summary>", u"description", u"u"},
        {u"<description>s<b>t</b>&lt;</description>", u"description", u"s<b>t</b><"},
        {u"<content>a<p>b</content>", u"content", u"a<p>b"},
        {u"<content/>a</content>", u"content", u""},
    };
    expectFields(cases);
}

TEST(Feed, GivesSectionsToTheElementThatEnds) {
    static constexpr FieldCase cases[] = {
        {u"<description>a<![CDATA[ <p>&amp;&eacute; ]]>b</description>", u"description",
         u"<p>&&eacute;"},
        {u"<content type=HTML><![CDATA[&amp;]]></content>", u"content", u"&amp;"},
        {u"<content type=text><![CDATA[&amp;]]></content>", u"content", u"&"},
        {u"<content type=html></content><title><![CDATA[&amp;]]></title>", u"title", u"&"},
        {u"<title><![CDATA[a]]><![CDATA[b]]></title>", u"title", u"b"},
        {u"<title>a</title><title><![CDATA[b]]></title><author>c</author>", u"author", u"c"},
        {u"<wfw:x><![CDATA[a]]></wfw:x><author>b</author>", u"author", u"a"},
        {u"<link><![CDATA[ http://a ]]></link>", u"link", u"http://a"},
        {u"<description><![CDATA[ ]]></description><summary>s</summary>", u"description", u"s"},
        {u"<title><![INCLUDE[a]]>b</title>", u"title", u"b"},
        {u"<title><![CDATA[a[i]>0]]></title>", u"title", u"a["},
    };
    expectFields(cases);
    const Dictionary item = onlyItem(rss(u"<category><![CDATA[a &amp; b]]></category>"));
    EXPECT_EQ(*item.find(u"tags"), PropertyList(Array{u"a & b"}));
}

TEST(Feed, ChoosesTheLink) {
    static constexpr FieldCase cases[] = {
        {u"<link rel=SELF href=a><link href=' b&amp;c'>", u"link", u"b&c"},
        {u"<link rel=edit href=a /><link rel=Service.post href=b /><link rel=editor href=c />",
         u"link", u"c"},
        {u"<link href=a><link>b</link>", u"link", u"a"},
        {u"<guid>http://g/</guid><link>b</link>", u"link", u"http://g/"},
        {u"<link>b</link><guid>HTTPS://g/?a&amp;b</guid>", u"link", u"HTTPS://g/?a&b"},
        {u"<link>b</link><guid isPermaLink=\"false\">http://g/</guid>", u"link", u"http://g/"},
        {u"<link>b</link>http://g/<guid isPermaLink='False'/>", u"link", u"b"},
        {u"<link>b</link>http://g/<guid>", u"link", u"http://g/"},
        {u"<link>b</link><guid>urn:g</guid>", u"link", u"b"},
        {u"<link>/c?d</link>", u"link", u"http://h/c?d"},
        {u"<link>//c/d</link>", u"link", u"http://c/d"},
        {u"<link>HTTP://news.google.com/news/url?a=b&amp;url=https://x/?y&amp;cid=1&amp;z</link>",
         u"link", u"https://x/?y"},
        {u"<link>http://news.google.com/news/url?a=b&amp;url=http</link>", u"link", u"http"},
        {u"<link>http://news.google.com/news/url?url=http://x</link>", u"link",
         u"http://news.google.com/news/url?url=http://x"},
        {u"<link>&lt;A HREF=&quot;x y&quot; z&gt;</link>", u"link", u"x y"},
        {u"<link>&lt;a href=&quot;x&gt;</link>", u"link", u"<a href=\"x>"},
        {u"<link>&lt;a href=x&gt;y z</link>", u"link", u"x>y"},
        {u"<link>&lt;a href=x</link>", u"link", u"<a href=x"},
    };
    expectFields(cases, Url{u"http://h/a/b"});
}

TEST(Feed, StartsEachItemAfresh) {
    const Array items = getItemsOfFeed(
        u"<feed><entry><author><title>a</title><category term=x /><content>open"
        u"<description>Array</description></entry>"
        u"<entry><name>n</name></content><description>Array.</description></entry><entry/>");
    ASSERT_EQ(items.size(), 2U);  // "Array" is dropped
    const Dictionary& second = *items[0].dictionary();
    for (const char16_t* key : {u"title", u"author", u"content"}) {
        EXPECT_EQ(stringOf(second, key), u"");
    }
    EXPECT_EQ(stringOf(second, u"description"), u"Array.");
    EXPECT_FALSE(second.contains(u"tags"));
}

TEST(Feed, ItemsWithoutTextOfTheirOwnAreEmpty) {
    struct Case {
        std::u16string_view title, content, description;
        bool isEmpty;
    };
    static constexpr Case cases[] = {
        {u"T", u"", u"", true},
        {u"T", u"", u" \n\u00A0", true},
        {u"T", u" ", u"text", true},
        {u"Title", u"tITLE", u"text", true},
        {u"Title 1", u"- title!", u"", true},
        {u"Title", u"<iframe src=x></iframe>TITLE", u"", true},
        {u"", u"", u"text", false},
    };
    for (const Case& c : cases) {
        const Dictionary item{
            {u"title", c.title}, {u"content", c.content}, {u"description", c.description}};
        EXPECT_EQ(isEmptyFeedItem(item), c.isEmpty) << toUtf8(c.content);
    }
    EXPECT_TRUE(isEmptyFeedItem({}));
    EXPECT_FALSE(isEmptyFeedItem({{u"description", u"1"}}));
}

TEST(Feed, HasATitle) {
    EXPECT_EQ(titleOfFeed(u"<rss><title>A &amp; B </title>"), u"A & B");
    EXPECT_EQ(titleOfFeed(u"<rss><title><![CDATA[A &amp; B]]></title>"), u"A & B");
    EXPECT_EQ(titleOfFeed(u"<rss><link><![CDATA[A]]></link><title></title>"), u"");
    EXPECT_EQ(titleOfFeed(u"<rss><item><title>A</title>"), u"");
}

}  // namespace
}  // namespace corvy
