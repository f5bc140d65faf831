#include "feeds/feed_page.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "feeds/feed.h"
#include "feeds/feed_style_sheet.h"
#include "foundation/date_time_formatter.h"
#include "foundation/system_log.h"
#include "foundation/text.h"
#include "foundation/user_defaults.h"

namespace corvy {
namespace {

// The shared formatter reads them once, at its first use.
const bool kHasFixedLocale =
    ::setenv("LC_ALL", "de_DE.UTF-8", 1) == 0 && ::setenv("TZ", "UTC", 1) == 0;

constexpr std::u16string_view kHead =
    u"<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\n";

std::u16string page(std::u16string_view rest) {
    return std::u16string(kHead) + std::u16string(rest);
}

// Without a style sheet until one is set.
class FeedPageTest : public testing::Test {
protected:
    FeedPageTest() { setStyleSheet(std::nullopt); }
    ~FeedPageTest() override {
        setStyleSheet(std::nullopt);
        std::filesystem::remove_all(folder_);
    }
    static void setStyleSheet(std::optional<std::u16string> path) {
        UserDefaults::standard().setForProcess(u"linkableFeedStyleSheet", std::move(path));
    }
    // Makes one and sets it.
    std::string makeStyleSheet(const std::string& name, std::string_view content) {
        std::filesystem::create_directory(folder_);
        const std::string path = folder_ + "/" + name;
        std::ofstream(path) << content;
        setStyleSheet(pathFromBytes(path));
        return path;
    }

    const LogCapture log_;
    const std::string folder_ = testing::TempDir() + "feed_page_" + std::to_string(::getpid());
};

TEST_F(FeedPageTest, ConvertsFeeds) {
    struct Case {
        std::u16string_view feed;
        std::u16string rest;
    };
    const std::u16string start = u"</head>\n<body>\n";
    const std::u16string end = u"\n</body>\n</html>";
    const Case cases[] = {
        {u"<rss></rss>", u"\n</head>\n</html>"},
        {u"<rss><title> </title>", start + end},
        {u"<rss><title>A &amp; B</title><title>C</title>",
         u"<title>A & B</title>\n</head>\n<body><div class=\"page_header\"><div "
         u"class=\"page_title\"><nobr>A & B</nobr></div></div>\n" +
             end},
        {u"<rss><item><link>/l</link><title>T &lt;i&gt;</title><pubDate>15.01.2009 "
         u"10:20:30</pubDate><author>W</author><description>d</description>"
         u"<content:encoded>&lt;iframe a&gt;c&lt;/iframe&gt;&lt;span&gt;&lt;b&gt;</content:encoded>"
         u"<enclosure url='http://e/f/g%20h.mp3?a/b' length=2048 /></item>",
         start +
             u"\n<div class=\"feed_header\"><a class=\"feed_link\" href=\"http://h/l\">T <i></a>"
             u"<br/><font class=\"feed_date\">W - 15.01.2009, 10:20:30</font></div>"
             u"<div class=\"feed_article\">\nc<b>\n<div class=\"feed_enclosures\"><p>\n"
             u"<a class=\"feed_enclosure\" href=\"http://e/f/g%20h.mp3?a/b\">g%20h.mp3</a>"
             u"&nbsp;(2048 bytes)<br/>\n</p></div>\n</div>\n" +
             end},
        {u"<rss><item><description>Array</description></item>", start + end},
        {u"<rss><item><description>d</description></item>",
         start +
             u"\n<div class=\"feed_header\"><br/></div><div class=\"feed_article\">\nd\n</div>\n" +
             end},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(toUtf8(stringByConvertingFeedToDisplayHTML(c.feed, false, Url{u"http://h/"})),
                  toUtf8(page(c.rest)));
    }
    EXPECT_EQ(stringByConvertingFeedToDisplayHTML(u"<html><rss>", true), u"<html><rss>");
    EXPECT_EQ(stringByConvertingFeedToDisplayHTML(u"", true), u"");
}

// What of an item a page of items shows.
TEST_F(FeedPageTest, ShowsItems) {
    struct Case {
        const char* name;
        Dictionary item;
        std::u16string header, display, enclosures;
    };
    const auto enclosed = [](Dictionary enclosure) {
        return Dictionary{{u"enclosures", Array{std::move(enclosure)}}};
    };
    const auto listed = [](const std::u16string& size) {
        return u"<div class=\"feed_enclosures\"><p>\n<a class=\"feed_enclosure\" href=\"http://e\">"
               u"e</a>" +
               size + u"<br/>\n</p></div>\n";
    };
    const std::u16string date = u"<font class=\"feed_date\">";
    const Case cases[] = {
        {"an empty link is one",
         {{u"link", u""}, {u"title", u"t"}},
         u"<a class=\"feed_link\" href=\"\">t</a><br/>",
         u"",
         u""},
        {"author alone", {{u"author", u"w"}, {u"date", u""}}, u"<br/>", date + u"w</font>", u""},
        {"unknown date",
         {{u"date", u"soon"}, {u"link", u"l"}},
         u"<a class=\"feed_link\" href=\"l\"></a><br/>",
         date + u"soon</font>",
         u""},
        {"no length", enclosed({{u"url", u"http://e"}}), u"<br/>", u"", listed(u"")},
        {"0 bytes", enclosed({{u"url", u"http://e"}, {u"length", u"0 MB"}}), u"<br/>", u"",
         listed(u"")},
        {"with unit", enclosed({{u"url", u"http://e"}, {u"length", u"12 MB"}}), u"<br/>", u"",
         listed(u"&nbsp;(12 MB)")},
        {"no enclosures", {{u"enclosures", Array()}}, u"<br/>", u"", u""},
    };
    for (const Case& c : cases) {
        const auto expected = [&](bool display) {
            return page(u"</head>\n<body>\n\n<div class=\"feed_header\">" + c.header +
                        (display ? c.display : u"") + u"</div><div class=\"feed_article\">\n\n" +
                        (display ? c.enclosures : u"") + u"</div>\n\n</body>\n</html>");
        };
        const Array items{PropertyList(c.item)};
        EXPECT_EQ(stringByConvertingItemsToDisplayHTML(items), expected(true)) << c.name;
        EXPECT_EQ(stringByConvertingItemsToSearchableHTML(items), expected(false)) << c.name;
    }
}

TEST_F(FeedPageTest, PutsTheStyleSheetWhereItBelongs) {
    makeStyleSheet("a \"\u00E9.feeds.stylesheet.css", "p > a {}");
    std::u16string link = u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost";
    link += fromUtf8(folder_) + u"/a%20%22%C3%A9.feeds.stylesheet.css\"/>\n";
    const std::u16string style = u"<style type=\"text/css\"><!--p > a {}--></style>\n";
    const std::u16string author = u"<meta name=\"author\" content=\"\"/>";
    const std::u16string item =
        u"</head>\n<body>\n\n<div class=\"feed_header\"><br/></div><div class=\"feed_article\">\n\n"
        u"</div>\n\n</body>\n</html>";
    const Dictionary authored{{u"author", u""}};
    const auto display = stringByConvertingItemToDisplayHTMLUsingLinkedStyleSheet;
    EXPECT_EQ(toUtf8(display(authored, true)), toUtf8(page(link + author + item)));
    EXPECT_EQ(display(authored, false), page(style + author + item));
    EXPECT_EQ(display({}, false), page(style + item));
    EXPECT_EQ(stringByConvertingItemToDisplayHTML({}), page(link + item));
    EXPECT_EQ(stringByConvertingItemToSearchableHTML(authored), page(author + item));
    EXPECT_EQ(stringByConvertingItemsToDisplayHTML({Dictionary()}), page(link + item));
    EXPECT_EQ(stringByConvertingItemsToSearchableHTML({Dictionary()}), page(item));
    const std::u16string linked = stringByConvertingFeedToDisplayHTML(u"<rss>", true);
    EXPECT_EQ(linked, page(link + u"\n</head>\n</html>"));
    EXPECT_EQ(stringByConvertingFeedToDisplayHTML(u"<rss>", false),
              page(style + u"\n</head>\n</html>"));
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(linked), page(style + u"\n</head>\n</html>"));
    makeStyleSheet("latin1.css", "\xE9");
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(linked), page(u"\n</head>\n</html>"));
    setStyleSheet(std::nullopt);
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(linked), page(u"\n</head>\n</html>"));
}

TEST_F(FeedPageTest, ReplacesNoOtherLinks) {
    const std::u16string start =
        u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost/";
    const std::u16string end = u".feeds.stylesheet.css\"/>";
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(u"a" + start + u"b" + end + u"cd"), u"ad");
    EXPECT_EQ(stringByReplacingLinkedStyleSheet(start + end), u"");
    for (const std::u16string& other :
         {end + start, start + u"b.css\"/>",
          u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file:///a" + end}) {
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
