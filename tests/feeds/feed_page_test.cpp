#include "feeds/feed_page.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "feeds/feed_style_sheet.h"
#include "foundation/date_time_formatter.h"
#include "foundation/system_log.h"
#include "foundation/text.h"
#include "foundation/user_defaults.h"
#include "tests/support/temporary_folder.h"

namespace corvy {
namespace {

// The shared formatter reads them once, at its first use.
const bool kHasFixedLocale =
    ::setenv("LC_ALL", "de_DE.UTF-8", 1) == 0 && ::setenv("TZ", "UTC", 1) == 0;

const std::string kHead =
    "<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\n";
const std::string kBodyStart = "</head>\n<body>\n";
const std::string kEnd = "\n</body>\n</html>";

// Without a style sheet until one is set.
class FeedPageTest : public testing::Test {
protected:
    FeedPageTest() { setStyleSheet(std::nullopt); }
    ~FeedPageTest() override { setStyleSheet(std::nullopt); }
    static void setStyleSheet(std::optional<std::u16string> path) {
        UserDefaults::standard().setForProcess(u"linkableFeedStyleSheet", std::move(path));
    }
    const LogCapture log_;
};

TEST_F(FeedPageTest, ConvertsFeeds) {
    struct Case {
        std::u16string_view feed;
        std::string rest;
    };
    const Case cases[] = {
        {u"<rss></rss>", "\n</head>\n</html>"},
        {u"<rss><title> </title>", kBodyStart + kEnd},
        {u"<rss><title>A &amp; B</title><title>C</title>",
         "<title>A & B</title>\n</head>\n<body><div class=\"page_header\"><div "
         "class=\"page_title\">"
         "<nobr>A & B</nobr></div></div>\n" +
             kEnd},
        {u"<rss><item><link>/l</link><title>T &lt;i&gt;</title><pubDate>15.01.2009 "
         u"10:20:30</pubDate><author>W</author><description>d</description>"
         u"<content:encoded>&lt;iframe a&gt;c&lt;/iframe&gt;&lt;span&gt;&lt;b&gt;</content:encoded>"
         u"<enclosure url='http://e/f/g%20h.mp3?a/b' length=2048 /></item>",
         kBodyStart +
             "\n<div class=\"feed_header\"><a class=\"feed_link\" href=\"http://h/l\">T <i></a>"
             "<br/><font class=\"feed_date\">W - 15.01.2009, 10:20:30</font></div>"
             "<div class=\"feed_article\">\nc<b>\n<div class=\"feed_enclosures\"><p>\n"
             "<a class=\"feed_enclosure\" href=\"http://e/f/g%20h.mp3?a/b\">g%20h.mp3</a>"
             "&nbsp;(2048 bytes)<br/>\n</p></div>\n</div>\n" +
             kEnd},
        {u"<rss><item><description>Array</description></item>", kBodyStart + kEnd},
        {u"<rss><item><link><![CDATA[]]></link><link><description>d</description></item>",
         kBodyStart +
             "\n<div class=\"feed_header\"><br/></div>"
             "<div class=\"feed_article\">\nd\n</div>\n" +
             kEnd},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(toUtf8(stringByConvertingFeedToDisplayHTML(c.feed, false, Url{u"http://h/"})),
                  kHead + c.rest);
    }
    EXPECT_EQ(stringByConvertingFeedToDisplayHTML(u"<html><rss>", true), u"<html><rss>");
    EXPECT_EQ(stringByConvertingFeedToDisplayHTML(u"", true), u"");
}

TEST_F(FeedPageTest, ShowsItems) {
    // A page shows the header, with `byline` only when it is for display, and then `enclosures`.
    struct Case {
        Dictionary item;
        std::string header, byline, enclosures;
    };
    const auto enclosed = [](std::u16string_view length) {
        return Dictionary{
            {u"enclosures", Array{Dictionary{{u"url", u"http://e"}, {u"length", length}}}}};
    };
    const auto listed = [](const std::string& size) {
        return "<div class=\"feed_enclosures\"><p>\n<a class=\"feed_enclosure\" href=\"http://e\">"
               "e</a>" +
               size + "<br/>\n</p></div>\n";
    };
    const std::string date = "<font class=\"feed_date\">";
    const Case cases[] = {
        {{{u"link", u""}, {u"title", u"t"}}, "<a class=\"feed_link\" href=\"\">t</a><br/>", "", ""},
        {{{u"author", u"w"}, {u"date", u""}}, "<br/>", date + "w</font>", ""},
        {{{u"date", u"soon"}}, "<br/>", date + "soon</font>", ""},
        {enclosed(u""), "<br/>", "", listed("")},
        {enclosed(u"0 MB"), "<br/>", "", listed("")},
        {enclosed(u"12 MB"), "<br/>", "", listed("&nbsp;(12 MB)")},
        {{{u"enclosures", Array()}}, "<br/>", "", ""},
    };
    for (const Case& c : cases) {
        for (const bool display : {true, false}) {
            std::string expected = kHead + kBodyStart + "\n<div class=\"feed_header\">" + c.header;
            if (display) expected += c.byline;
            expected += "</div><div class=\"feed_article\">\n\n";
            if (display) expected += c.enclosures;
            expected += "</div>\n" + kEnd;
            EXPECT_EQ(toUtf8(stringByConvertingItemsToHTML({c.item}, display)), expected);
        }
    }
}

TEST_F(FeedPageTest, PutsTheStyleSheetWhereItBelongs) {
    const test::TemporaryFolder folder;
    setStyleSheet(pathFromBytes(folder.write("a \"\u00E9.feeds.stylesheet.css", "p > a {}")));
    const std::string link = "<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost" +
                             folder.path() + "/a%20%22%C3%A9.feeds.stylesheet.css\"/>\n";
    const std::string style = "<style type=\"text/css\"><!--p > a {}--></style>\n";
    const std::string author = "<meta name=\"author\" content=\"\"/>";
    const std::string item = kBodyStart +
                             "\n<div class=\"feed_header\"><br/></div><div class=\"feed_article\">"
                             "\n\n</div>\n" +
                             kEnd;
    const std::string noBody = kHead + "\n</head>\n</html>";
    const Dictionary authored{{u"author", u""}};
    const std::u16string linked = stringByConvertingFeedToDisplayHTML(u"<rss>", true);
    const std::pair<std::u16string, std::string> pages[] = {
        {stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet(authored, true),
         link + author + item},
        {stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet({}, false), style + item},
        {stringByConvertingItemToDisplayHTML({}), link + item},
        {stringByConvertingItemToSearchableHTML(authored), author + item},
        {stringByConvertingItemsToDisplayHTML({Dictionary()}), link + item},
        {stringByConvertingItemsToSearchableHTML({Dictionary()}), item},
        {linked, link + "\n</head>\n</html>"},
        {stringByConvertingFeedToDisplayHTML(u"<rss>", false), style + "\n</head>\n</html>"},
        {stringByReplacingLinkedStyleSheet(linked), style + "\n</head>\n</html>"},
    };
    for (const auto& [page, rest] : pages) EXPECT_EQ(toUtf8(page), kHead + rest);
    for (const auto& unusable :
         {pathFromBytes(folder.write("latin1.css", "\xE9")), std::u16string(u"/nowhere")}) {
        setStyleSheet(unusable);
        EXPECT_EQ(toUtf8(stringByReplacingLinkedStyleSheet(linked)), noBody);
    }
}

TEST_F(FeedPageTest, ReplacesNoOtherLinks) {
    const std::u16string link =
        u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost/";
    const std::u16string end = u".feeds.stylesheet.css\"/>";
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(u"a" + link + u"b" + end + u"cd"), u"ad");
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(link + end), u"");
    const std::u16string elsewhere =
        u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file:///a.feeds.stylesheet.css\"/>";
    for (const std::u16string& other : {end + link, link + u"b.css\"/>", elsewhere}) {
        EXPECT_EQ(stringByReplacingLinkedStyleSheet(other), other);
    }
}

TEST(DateTimeFormatter, FollowsLocaleAndZone) {
    const Date date{1232014830.9};
    EXPECT_EQ(DateTimeFormatter("en_GB", u"UTC").stringFromDate(date), u"15 Jan 2009, 10:20:30");
    EXPECT_EQ(DateTimeFormatter("fr", u"Asia/Tokyo").stringFromDate(date),
              u"15 janv. 2009, 19:20:30");
    EXPECT_EQ(dateTimeFormatter().stringFromDate(date), u"15.01.2009, 10:20:30");
}

}  // namespace
}  // namespace corvy
