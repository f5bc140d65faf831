#include <gtest/gtest.h>

#include "tests/importers/imported.h"

namespace corvy {
namespace {

using namespace std::literals;

TEST(WebImporter, TellsWhatPagesSay) {
    const test::Imported page(CORVY_EXAMPLES "/ferry-house.html");
    EXPECT_EQ(page[u"kMDItemTitle"], R"("The ferry house & its bell")");
    EXPECT_EQ(page[u"kMDItemAuthors"], R"(["Anneliese Moor", "Tom Weir"])");
    EXPECT_EQ(page[u"kMDItemKeywords"], R"(["river", "ferry", "bell", "café"])");
    EXPECT_EQ(page[u"kMDItemContentCreationDate"], "1709659800");
    EXPECT_EQ(page[u"kMDItemLanguages"], R"(["en-GB"])");
    EXPECT_TRUE(page.text().starts_with("The ferry house\n")) << page.text();

    const test::Imported archive(CORVY_EXAMPLES "/ferry-house.webarchive");
    EXPECT_EQ(archive[u"kMDItemTitle"], page[u"kMDItemTitle"]);
    EXPECT_EQ(archive[u"kMDItemURL"], R"("https://walks.example/ferry-house")");
    EXPECT_TRUE(archive.text().ends_with("Ferry times: none.")) << archive.text();
}

TEST(WebImporter, TakesWhatThereIs) {
    constexpr auto kFeed =
        "<rss><channel><title>Walks</title><item><title>Mill</title>"
        "<pubDate>Sat, 02 Mar 2024 08:15:00 +0100</pubDate></item>"
        "<item><title>Weir</title><descr";
    test::expectImported({
        {"a.html", "<meta property='og:title' content='A &amp; B'><p>x", u"kMDItemTitle",
         R"("A & B")"},
        {"a.html", "<title> </title><meta name=dc.title content=C>", u"kMDItemTitle", R"("C")"},
        {"a.html", "<meta name=keywords content='a, b;a,,'>", u"kMDItemKeywords", R"(["a", "b"])"},
        {"a.html", "<meta name=date content='some day'>", u"kMDItemContentCreationDate", ""},
        {"a.html", "<body><html lang=fr>", u"kMDItemLanguages", ""},
        {"a.html", "<html><meta http-equiv=Content-Language content='de, fr'>", u"kMDItemLanguages",
         R"(["de", "fr"])"},
        {"a.html", {"\xFF\xFEg\0r\0\xFC\0n\0", 10}, u"kMDItemTextContent", "\"gr\xC3\xBCn\""},
        {"a.html", "only text", u"kMDItemTextContent", R"("only text")"},
        {"a.xml", "<?xml version='1.0'?><a t='x'>one <b>two</b><c/></a>", u"kMDItemTextContent",
         R"("one two")"},
        {"a.xml", "<?xml version='1.0'?><a><b/></a>", u"kMDItemTextContent", ""},
        {"a.xml", kFeed, u"kMDItemTitle", R"("Walks")"},
        {"a.rss", kFeed, u"org_corvystack_itemCount", "1"},
        {"a.rss", kFeed, u"kMDItemContentModificationDate", "1709363700"},
        {"a.rss", "<rss", u"kMDItemTitle", ""},
        {"a.webarchive", "bplist00 and no more", u"kMDItemTextContent", ""},
    });
}

}  // namespace
}  // namespace corvy
