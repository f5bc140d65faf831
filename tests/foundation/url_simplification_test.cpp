#include "foundation/url_simplification.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/text.h"

namespace corvy {
namespace {

struct Case {
    const char16_t* address;
    const char16_t* result;
};

template <std::size_t n>
void expectEach(std::u16string (*operation)(std::u16string_view), const Case (&cases)[n]) {
    for (const Case& c : cases) {
        EXPECT_EQ(toUtf8(operation(c.address)), toUtf8(c.result)) << toUtf8(c.address);
    }
}

template <std::size_t n>
void expectUnchanged(std::u16string (*operation)(std::u16string_view),
                     const char16_t* const (&addresses)[n]) {
    for (const char16_t* address : addresses) {
        EXPECT_EQ(toUtf8(operation(address)), toUtf8(address));
    }
}

TEST(UrlSimplification, GivesOneKeyToManyAddresses) {
    const Case cases[] = {
        {u"https://www.example.org/a//b/index.html?utm_source=x#top", u"http://example.org/a/b"},
        {u"HTTPS://WWW.Example.ORG/", u"http://example.org"},
        {u"http://www.example.org", u"http://example.org"},
        {u"https:example", u"http:example"},
        {u"ftp://www.example.org/", u"ftp://www.example.org"},
        {u"http://example.org/?page=main.php", u"http://example.org"},
        {u"http://example.org/?page=MAIN.php", u"http://example.org/?page=main.php"},
        {u"/?page=main.php", u""},
        {u"http://example.org/%41%7e%2F%2541%zz%4", u"http://example.org/a~%2f%2541%zz%4"},
        {u"http://example.org/%23a#b", u"http://example.org/%23a"},
        {u"http://example.org/a?PHPSESSID=12ab&x=1&y=", u"http://example.org/a?x=1"},
        {u"http://example.org/a?x=&utm_term=b", u"http://example.org/a"},
        {u"http://example.org/#!/Route", u"http://example.org/#!/route"},
        {u"http://example.org/\u00C4\u0130", u"http://example.org/\u00E4\u0130"},
        {u"///", u""},
        {u"", u""},
    };
    expectEach(simplifiedStringURL, cases);
}

TEST(UrlSimplification, LeavesOutWhatIsAskedFor) {
    constexpr std::u16string_view address =
        u"https://www.a.org/index.php?sessid=1&utm_term=2&x=&y=3/index.html#z";
    const auto key = [address](const SimplificationOptions& options) {
        return toUtf8(simplifiedStringURLByRemovingSessionIDs(address, options));
    };
    EXPECT_EQ(key({false, false, false, false, false}),
              "http://a.org/index.php?sessid=1&utm_term=2&x=&y=3/index.html#z");
    EXPECT_EQ(key({false, false, false, false, true}),
              "http://a.org/index.php?sessid=1&utm_term=2&x=&y=3/index.html");
    EXPECT_EQ(key({false, false, false, true, false}),
              "http://a.org/index.php?sessid=1&utm_term=2&y=3/index.html#z");
    EXPECT_EQ(key({false, false, true, false, true}),
              "http://a.org/index.php?sessid=1&utm_term=2&x=&y=3");
    EXPECT_EQ(key({false, true, false, false, true}),
              "http://a.org/index.php?sessid=1&x=&y=3/index.html");
    EXPECT_EQ(key({true, false, false, false, true}),
              "http://a.org/index.php?utm_term=2&x=&y=3/index.html");
    // The main page is cut only along with session identifiers.
    EXPECT_EQ(toUtf8(simplifiedStringURLByRemovingSessionIDs(u"http://a.org/?page=main.php",
                                                             {.sessionIDs = false})),
              "http://a.org/?page=main.php");
}

TEST(UrlSimplification, ComparesLightly) {
    EXPECT_TRUE(isEqualToStringURL(u"HTTP://Example.org/a/", u"http://example.org/a#x"));
    EXPECT_TRUE(isEqualToStringURL(u"http://a//b/./..", u"http://a/b//"));
    EXPECT_TRUE(isEqualToStringURL(u"", u"/"));
    EXPECT_TRUE(isEqualToStringURL(u"http://a/\u00C4", u"http://a/\u00E4"));
    EXPECT_FALSE(isEqualToStringURL(u"https://example.org/a", u"http://example.org/a"));
    EXPECT_FALSE(isEqualToStringURL(u"http://a/%41", u"http://a/A"));
    EXPECT_FALSE(isEqualToStringURL(u"http://a/b", u"http://a/bc"));
    EXPECT_FALSE(isEqualToStringURL(std::nullopt, u""));
    EXPECT_FALSE(isEqualToStringURL(u"", std::nullopt));
    EXPECT_FALSE(isEqualToStringURL(std::nullopt, std::nullopt));
}

TEST(UrlSimplification, DropsFragmentsButNotRoutes) {
    const Case cases[] = {
        {u"http://a/#top", u"http://a/"},
        {u"http://a/#!/r", u"http://a/#!/r"},
        {u"http://a/#//r", u"http://a/#//r"},
        {u"http://a/#!r", u"http://a/"},
        {u"http://a/#x/", u"http://a/"},
        {u"#!/", u"#!/"},
        {u"#!", u""},
        {u"a#b#!/", u"a"},
        {u"a#", u"a"},
        {u"a", u"a"},
    };
    expectEach(stringURLWithoutAnchor, cases);
}

TEST(UrlSimplification, StandardizesSlashesAndDots) {
    const Case cases[] = {
        {u"http:///a//b", u"http://a/b"},
        {u"http://a/b?x=//y", u"http://a/b?x=//y"},
        {u"http://a//b;c//d", u"http://a/b;c//d"},
        {u"http://a/b/.", u"http://a/b"},
        {u"http://a/b/./..", u"http://a/b"},
        {u"http://a/b/./?c", u"http://a/b/./?c"},
        {u"http://a/b/.?", u"http://a/b/.?"},
        {u"//a", u"/a"},
        {u"a:b//c://d", u"a:b/c://d"},
        {u".", u""},
        {u"/.", u""},
        {u"./.", u""},
        {u"..", u".."},
        {u"a..", u"a.."},
        {u"a.", u"a."},
        {u"../..", u".."},
        {u"", u""},
        {u"a//b#//", u"a/b#/"},
    };
    expectEach(standardizedStringURL, cases);
}

TEST(UrlSimplification, TrimsOneCharacter) {
    EXPECT_EQ(stringByTrimmingSuffixCharacter(u"a//", u'/'), u"a");
    EXPECT_EQ(stringByTrimmingSuffixCharacter(u"/a/b", u'/'), u"/a/b");
    EXPECT_EQ(stringByTrimmingSuffixCharacter(u"////", u'/'), u"");
    EXPECT_EQ(stringByTrimmingSuffixCharacter(u"", u'/'), u"");
}

TEST(UrlSimplification, RemovesCampaignParameters) {
    const Case cases[] = {
        {u"http://a/p?x=1&utm_medium=feed&y=2", u"http://a/p?x=1&y=2"},
        {u"http://a/p?utm_term=a", u"http://a/p"},
        {u"http://a/p?UTM_Source=a&b", u"http://a/p?b"},
        {u"http://a/p?x&utm_source=1;y=2&z", u"http://a/p?x&z"},
        {u"http://a/p;utm_source=1;y=2&z", u"http://a/p;y=2&z"},
        {u"http://a/p;utm_source=1?y", u"http://a/p;y"},
        {u"http://a/p?utm_source=1&", u"http://a/p"},
        {u"?utm_source=1&utm_medium=2&utm_campaign=3&utm_term=4&utm_content=5&utm_nooverride=6",
         u""},
        {u"?utm_content=1&utm_source=2&x", u"?x"},
        // Several of one key.
        {u"?utm_term=1&utm_term=2&x", u"?x"},
        // The key that comes first in the list goes first, and the rest with it.
        {u"?a&utm_source=1;utm_medium=2&b", u"?a&b"},
        {u"?a&utm_medium=1;utm_source=2&b", u"?a"},
    };
    expectEach(stringURLByRemovingAnalytics, cases);
    expectUnchanged(stringURLByRemovingAnalytics,
                    {u"", u"utm_source=1", u"http://a/?utm_other=1", u"http://a/?utm_source",
                     // Only the first place of a key is looked at.
                     u"http://a/utm_source=?utm_source=1", u"http://a/?x=utm_term=&utm_term=2"});
    // The place that stood in the way is gone with another key.
    EXPECT_EQ(stringURLByRemovingAnalytics(u"?utm_source=utm_term=&utm_term=2&x"), u"?x");
}

TEST(UrlSimplification, RemovesIndexPages) {
    const Case cases[] = {
        {u"http://a/index.shtml", u"http://a"}, {u"http://a/INDEX.PHTML", u"http://a"},
        {u"http://a/index.jhtml", u"http://a"}, {u"http://a/index.html", u"http://a"},
        {u"http://a/index.htm", u"http://a"},   {u"http://a/index.php", u"http://a"},
        {u"http://a/index.chm", u"http://a"},   {u"http://a/index.asp", u"http://a"},
        {u"http://a/index.cgi", u"http://a"},   {u"/index.htm", u""},
    };
    expectEach(stringURLByRemovingIndexPages, cases);
    expectUnchanged(stringURLByRemovingIndexPages,
                    {u"http://a/index.aspx", u"http://a/index.php?x", u"http://a/myindex.html",
                     u"index.html", u"/index.ht", u""});
}

TEST(UrlSimplification, RemovesEmptyParameters) {
    const Case cases[] = {
        {u"http://a/?x=&y=1", u"http://a/?y=1"},
        {u"http://a/?y=1&x=", u"http://a/?y=1"},
        {u"http://a/?x=", u"http://a/"},
        {u"http://a/?x=&y=", u"http://a/"},
        {u"http://a/?y=1&x=&z=2", u"http://a/?y=1&z=2"},
        {u"http://a/?y=1&x=;z=2", u"http://a/?y=1;z=2"},
        {u"http://a/;x=?y=1", u"http://a/?y=1"},
        {u"http://a/?x=;y=1", u"http://a/?y=1"},
        {u"http://a/?x=&&y=1", u"http://a/?y=1"},
        {u"http://a/?&y", u"http://a/?y"},
        {u"http://a/?&&y", u"http://a/?&y"},
        {u"http://a/?x=&", u"http://a/"},
    };
    expectEach(stringURLByRemovingEmptyParams, cases);
    expectUnchanged(stringURLByRemovingEmptyParams,
                    {u"", u"x=", u"?=", u"http://a/?", u"http://a/b=", u"http://a/?x",
                     u"http://a/?x=1", u"http://a/?x=ab=="});
    constexpr std::u16string_view kNul(u"http://a/?x=\0&y=1", 17);
    EXPECT_EQ(stringURLByRemovingEmptyParams(kNul), u"http://a/?y=1");
}

TEST(UrlSimplification, RemovesSessionsWhereTheyCanBeNothingElse) {
    const Case cases[] = {
        {u"http://a/?PHPSESSID=1&x", u"http://a/?x"},
        {u"http://a/p;jsessionid=0A1B", u"http://a/p"},
        {u"http://a/p;jsessionid=0A1B?x=1", u"http://a/p;x=1"},
        {u"http://a/?x&affid=1&REFFID=2&nats=3&ccbill=4&_fb_noscript=5&lsrc=6&CMP=7&ATT=8",
         u"http://a/?x"},
        {u"http://a/p.php?id=3&sid=0a1b2c", u"http://a/p.php?id=3"},
        {u"http://a/p.aspx?cache=1&ei=2&random=3&x", u"http://a/p.aspx?x"},
        {u"http://a/p.html?cid=1&pi=2", u"http://a/p.html"},
        {u"http://a/viewtopic?t=1&p=2&sid=0a1b&hilit=x&highlight=y", u"http://a/viewtopic?t=1"},
        {u"http://a/showthread.php?s=0a1b&t=1", u"http://a/showthread.php?t=1"},
        {u"http://a/login?x&cid=1&pi=2", u"http://a/login?x"},
    };
    expectEach(stringURLByRemovingSessionIDs, cases);
    expectUnchanged(
        stringURLByRemovingSessionIDs,
        {u"", u"http://a/", u"phpsessid=1", u"http://a/xphpsessid=1", u"http://a/?phpsessid",
         u"http://a/?cmp=1&att=2&reffid=3", u"http://a/story.php?sid=123456789",
         u"http://a/p.php?cid=1&pi=2", u"http://a/?sid=0a1b", u"http://a/?p=1&s=0a1b",
         u"http://a/showthread.php?p=2", u"http://a/w.html?widgetType=1&phpsessid=2"});
}

TEST(UrlSimplification, RemovesClickIdentifiersOnRequestOnly) {
    const Case cases[] = {
        {u"http://a/?fbclid=1&x=2&GCLID=3", u"http://a/?x=2"},
        {u"http://a/?utm_id=1", u"http://a/"},
        {u"http://a/?__hsfp=1&zanpid=2&y", u"http://a/?y"},
        {u"http://a/?x&fbclid=1;gclid=2&y", u"http://a/?x&y"},
    };
    expectEach(stringURLByRemovingTrackingParameters, cases);
    expectUnchanged(stringURLByRemovingTrackingParameters,
                    {u"http://a/fbclid=1", u"http://a/?xfbclid=1&fbclids=2&ref=3", u""});
    EXPECT_EQ(simplifiedStringURL(u"http://a/?fbclid=1"), u"http://a/?fbclid=1");
}

TEST(UrlSimplification, IsLinearInTheLength) {
    std::u16string many = u"http://a/?";
    for (int i = 0; i < 50'000; ++i) {
        many += u"utm_term=utm_source=;utm_medium=1&x;sid=&phpsessid=3&?&";
    }
    const std::u16string key = simplifiedStringURL(many);
    EXPECT_LT(key.size(), many.size());
    EXPECT_EQ(key.find(u"phpsessid"), std::u16string::npos);
}

}  // namespace
}  // namespace corvy
