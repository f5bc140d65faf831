// Archives, and books, which are archives.
#include <archive.h>
#include <gtest/gtest.h>

#include "tests/importers/imported.h"
#include "tests/importers/packed.h"

namespace corvy {
namespace {

using namespace std::literals;
using test::contentOf, test::Entries, test::packed, test::zipped;

constexpr auto kText = u"kMDItemTextContent";
constexpr auto kItems = u"org_corvystack_itemCount";

TEST(ArchiveImporter, ListsEntriesOfEveryKind) {
    const Entries two = {{"a/b.txt", "hello"}, {"c.txt", std::string(100'000, 'x')}};
    const std::string tar = packed(ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_GZIP, two);
    const std::string plainTar = packed(ARCHIVE_FORMAT_TAR_USTAR, ARCHIVE_FILTER_NONE, two);
    const std::string zip = contentOf(CORVY_EXAMPLES "/parcel.zip");
    const std::string gzip = packed(ARCHIVE_FORMAT_RAW, ARCHIVE_FILTER_GZIP, {{"x", "hello"}});
    test::expectImported({
        {"a.zip", zip, kText, R"("parcel/list.txt\nparcel/Äpfel und Quitten.csv\n")"},
        {"a.zip", zip, u"org_corvystack_unpackedSize", "282"},
        {"a.zip", zipped({{"\x8Epfel.txt", ""}}), kText, R"("Äpfel.txt\n")"},
        {"a.zip", zip.substr(0, zip.size() - 40), kItems, "2"},
        {"a.tgz", tar, kText, R"("a/b.txt\nc.txt\n")"},
        {"a.tgz", tar, u"org_corvystack_unpackedSize", "100005"},
        {"a.tar.gz", tar, kItems, "2"},
        {"a.tar", plainTar.substr(0, 3000), kText, R"("a/b.txt\nc.txt\n")"},
        {"a.7z", packed(ARCHIVE_FORMAT_7ZIP, ARCHIVE_FILTER_NONE, two), kItems, "2"},
        {"notes.v2.txt.gz", gzip, kText, R"("notes.v2.txt\n")"},
        {"a.tar", "PK no archive", kItems, ""},
        {"a.zip", "PK\3\4"s, kItems, "0"},
    });
}

TEST(BookImporter, TellsThePackageAndReadsInOrder) {
    const test::Imported book(CORVY_EXAMPLES "/walks.epub");
    EXPECT_EQ(book[u"kMDItemTitle"], R"("Walks & Weirs")");
    EXPECT_EQ(book[u"kMDItemAuthors"], R"(["Anneliese Moor", "Tom Weir"])");
    EXPECT_EQ(book[u"kMDItemDescription"], R"("A small book of short walks.")");
    EXPECT_EQ(book[u"kMDItemContentModificationDate"], "1709719200");
    EXPECT_EQ(book.text(),
              "The old mill\n\nThe path begins behind it.\n\nThe weir\n\nHere the river divides.");
}

TEST(BookImporter, MakesDoWithPoorPackages) {
    const auto container = "<container><rootfile full-path='b/right.opf'/></container>"s;
    const auto spine =
        "<manifest><item id='c' href='../x/c.xhtml#top'/><item id='d' href='d%zz'/>"
        "</manifest><spine><itemref idref='c'/><itemref idref='none'/></spine>"s;
    const std::pair<std::string, std::string> mimetype = {"mimetype", "application/epub+zip"};
    test::expectImported({
        {"a.epub",
         zipped({mimetype,
                 {"META-INF/container.xml", container},
                 {"a/wrong.opf", "<dc:title>Wrong</dc:title>"},
                 {"b/right.opf", "<dc:title>Right</dc:title>"}}),
         u"kMDItemTitle", R"("Right")"},
        {"a.epub", zipped({mimetype, {"x.opf", "<dc:title>T</dc:title><dc:title>Sub</dc:title>"}}),
         u"kMDItemTitle", R"("T")"},
        {"a.epub", zipped({mimetype, {"b/x.opf", spine}, {"x/c.xhtml", "<p>found</p>"}}), kText,
         R"("found")"},
        {"a.epub", zipped({mimetype}), kItems, ""},
        {"a.epub", "no book", kItems, ""},
    });
}

TEST(FontImporter, TellsNames) {
    const std::string font = contentOf(CORVY_EXAMPLES "/square.ttf");
    test::expectImported({
        {"a.ttf", font, u"kMDItemTitle", R"("Corvy Square Regular")"},
        {"a.ttf", font, u"org_corvystack_fontFamilies", R"(["Corvy Square"])"},
        {"a.ttf", font, u"org_corvystack_fontStyles", R"(["Regular"])"},
        {"a.ttf", font, u"kMDItemVersion", R"("Version 1.5")"},
        {"a.ttf", font, u"kMDItemAuthors", R"(["Anneliese Moor"])"},
        {"a.ttf", font.substr(0, 300), u"kMDItemTitle", ""},
    });
}

}  // namespace
}  // namespace corvy
