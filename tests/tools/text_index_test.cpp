#include "tools/search/text_index.h"

#include <gtest/gtest.h>

#include "foundation/text.h"
#include "tests/support/temporary_folder.h"
#include "tools/search/query_text.h"

namespace corvy::tools {

namespace {

using Access = platform::Database::Access;
using test::TemporaryFolder;

class TextIndexTest : public testing::Test {
protected:
    IndexChanges indexed(std::string_view records) {
        folder_.write("records.jsonl", records);
        return TextIndex(file_, Access::write).update(folder_.path(""));
    }

    // The paths that a query finds, in order, each followed by a blank.
    std::string found(std::u16string_view text, SearchQuery query = {}) {
        query.expression = matchExpression(text).value();
        std::string paths;
        for (const SearchHit& hit : TextIndex(file_, Access::read).search(query)) {
            paths += hit.path + " ";
        }
        return paths;
    }

    TemporaryFolder folder_;
    std::string file_ = folder_.path("index.db");
};

constexpr std::string_view kRecords =
    R"({"path":"a/Müller.pdf","type":"com.adobe.pdf","size":1000,"modified":"2024-03-01T10:00:00.000Z","kind":"pdf","text":{"file":"text/000001.txt","length":3},"properties":{"Title":"Yearly Report"},"seconds":0.2})"
    "\n"
    R"({"path":"b.txt","size":20,"modified":"2024-05-01T10:00:00.000Z","kind":"text","text":{"string":"the quick brown fox, Zürich","length":27},"seconds":0.1})"
    "\n"
    R"({"path":"c.txt","size":5000,"kind":"text","text":{"string":"brown quick dogs \"and\" foxes","length":26},"seconds":0.1})"
    "\n";

}  // namespace

TEST_F(TextIndexTest, FindsByWordsAsPeopleTypeThem) {
    folder_.write("text/000001.txt", "Straße und Zurich, ein Absatz über Füchse");
    indexed(kRecords);
    struct Case {
        std::u16string_view query;
        std::string_view paths;
    };
    static constexpr Case cases[] = {
        {u"quick", "b.txt c.txt "},
        {u"ZURICH", "b.txt a/Müller.pdf "},
        {u"brown -fox", "c.txt "},
        {u"\"quick brown\"", "b.txt "},
        {u"quick brown", "b.txt c.txt "},
        {u"fox*", "b.txt c.txt "},
        {u"fuchse OR dogs", "c.txt a/Müller.pdf "},
        {u"fuchse ein OR dogs zebra", "a/Müller.pdf "},
        {u"muller", "a/Müller.pdf "},
        {u"yearly", "a/Müller.pdf "},
        {u"nothing", ""},
        // No query is a fault, and none reaches the columns or operators of the language below.
        {u"quick AND", "c.txt "},
        {u"title:yearly", ""},
        {u"NEAR(quick brown)", ""},
        {u"quick \"unclosed brown", ""},
        {u"quick ) & ' ^ {", "b.txt c.txt "},
    };
    for (const Case& c : cases) EXPECT_EQ(found(c.query), c.paths) << toUtf8(c.query);
    for (const auto* nothing : {u"", u"  ", u"-fox", u"\"\"", u"OR", u"& ?"}) {
        EXPECT_EQ(matchExpression(nothing), std::nullopt);
    }
}

TEST_F(TextIndexTest, NarrowsByKindTimeAndSize) {
    indexed(kRecords);
    EXPECT_EQ(found(u"yearly OR quick", {.kinds = {"pdf"}}), "a/Müller.pdf ");
    EXPECT_EQ(found(u"yearly OR brown", {.kinds = {"pdf", "image"}}), "a/Müller.pdf ");
    EXPECT_EQ(found(u"yearly OR brown", {.from = "2024-04-01T00:00:00.000Z"}), "b.txt ");
    EXPECT_EQ(found(u"yearly OR brown", {.before = "2024-04-01T00:00:00.000Z"}), "a/Müller.pdf ");
    EXPECT_EQ(found(u"brown", {.least = 21}), "c.txt ");
    EXPECT_EQ(found(u"brown", {.most = 20}), "b.txt ");
    EXPECT_EQ(found(u"brown", {.limit = 1}), "b.txt ");
}

TEST_F(TextIndexTest, MarksTheWordsOfASnippet) {
    indexed(kRecords);
    const auto hits = TextIndex(file_, Access::read).search({.expression = "\"fox\""});
    ASSERT_EQ(hits.size(), 1U);
    ASSERT_EQ(hits[0].snippet.size(), 3U);
    EXPECT_EQ(hits[0].snippet[0].text, u"the quick brown ");
    EXPECT_EQ(hits[0].snippet[1].text, u"fox");
    EXPECT_TRUE(hits[0].snippet[1].found);
    EXPECT_EQ(hits[0].snippet[2].text, u", Zürich");
    EXPECT_FALSE(hits[0].snippet[2].found);
}

TEST_F(TextIndexTest, WritesOnlyWhatHasChanged) {
    const auto expect = [](const IndexChanges& is, std::uint64_t added, std::uint64_t replaced,
                           std::uint64_t removed, std::uint64_t unchanged) {
        EXPECT_EQ(is.added, added);
        EXPECT_EQ(is.replaced, replaced);
        EXPECT_EQ(is.removed, removed);
        EXPECT_EQ(is.unchanged, unchanged);
    };
    expect(indexed(kRecords), 3, 0, 0, 0);
    expect(indexed(kRecords), 0, 0, 0, 3);

    std::string records(kRecords);
    records.replace(records.find("000001"), 6, "000009");  // another number, same file
    records.replace(records.find("0.2"), 3, "0.7");
    expect(indexed(records), 0, 0, 0, 3);

    // A later record of b.txt, one that was cut off, and no record of c.txt.
    records = records.substr(0, records.find("{\"path\":\"c.txt")) +
              R"({"path":"b.txt","size":21,"kind":"text","text":{"string":"slow","length":4}})"
              "\n"
              R"(no record)"
              "\n"
              R"({"path":"d.txt","ki)";
    expect(indexed(records), 0, 1, 1, 1);
    EXPECT_EQ(found(u"quick"), "");
    EXPECT_EQ(found(u"slow"), "b.txt ");
    expect(indexed(records), 0, 0, 0, 2);
}

TEST_F(TextIndexTest, RefusesOtherFiles) {
    EXPECT_THROW(TextIndex(file_, Access::read), platform::DatabaseError);  // there is none
    const std::string text = folder_.write("text.db",
                                           "not a database, but longer than a header is "
                                           "and so on and so on and so on and so on ...");
    EXPECT_THROW(TextIndex(text, Access::write), platform::DatabaseError);
    const std::string other = folder_.path("other.db");
    platform::Database(other, Access::write).execute("CREATE TABLE a(b)");
    EXPECT_THROW(TextIndex(other, Access::write), platform::DatabaseError);
    EXPECT_THROW(TextIndex(file_, Access::write).update(folder_.path("")), std::runtime_error);
}

}  // namespace corvy::tools
