#include "platform/rich_text/attributed_text.h"

#include <gtest/gtest.h>

namespace corvy::platform {
namespace {

using Runs = std::vector<AttributedText::Run>;

Runs runsOf(const AttributedText& text) {
    return {text.runs().begin(), text.runs().end()};
}

TEST(AttributedText, JoinsRunsOfEqualStyleAndCuts) {
    const TextStyle plain;
    const TextStyle bold{.bold = true};
    AttributedText text;
    text.append(u"ab", plain);
    text.append(u"", bold);
    text.append(u"cd", plain);
    text.append(u"ef", bold);
    EXPECT_EQ(runsOf(text), (Runs{{4, 0}, {6, 1}}));
    EXPECT_EQ(text.style(1), bold);
    text.attach({.name = u"a.png", .contents = Bytes::copyOf("x")}, {1, 2}, plain);
    AttributedText twice = text;
    twice.append(text);
    EXPECT_EQ(runsOf(twice), (Runs{{4, 0}, {6, 1}, {11, 0}, {13, 1}, {14, 0}}));
    ASSERT_EQ(twice.attachments().size(), 2U);
    EXPECT_EQ(twice.attachments()[1].location, 13U);
    twice.truncate(13);
    EXPECT_EQ(twice.attachments().size(), 1U);
    text.truncate(4);
    EXPECT_EQ(runsOf(text), (Runs{{4, 0}}));
    text.truncate(3);
    EXPECT_EQ(runsOf(text), (Runs{{3, 0}}));
    text.truncate(0);
    EXPECT_TRUE(text.runs().empty());
}

TEST(AttributedText, StylesParagraphsBehindTheirEnds) {
    ParagraphStyle cell;
    ParagraphStyle item;
    AttributedText table;
    cell.cells = {{.table = table.addTable({.columns = 2})}};
    item.lists = {table.addList({u"{decimal}.", 3})};
    table.append(u"a\nb\nc", {});
    table.setParagraphStyle(cell, 2);
    table.setParagraphStyle(item, 4);
    EXPECT_EQ(table.unstyledStart(), 4U);

    AttributedText all;
    all.addTable({});
    all.append(u"before", {});
    all.append(table);
    EXPECT_EQ(all.paragraphStyleAt(5), ParagraphStyle());
    EXPECT_EQ(all.paragraphStyleAt(6).cells.at(0).table, 1U);
    EXPECT_EQ(all.paragraphStyleAt(8).lists.at(0), 0U);
    EXPECT_EQ(all.paragraphStyleAt(10), ParagraphStyle());
    all.truncate(7);
    EXPECT_EQ(all.paragraphStyleAt(6).cells.at(0).table, 1U);
    EXPECT_EQ(all.unstyledStart(), 7U);
}

TEST(AttributedText, IsEqualByItsStylesNotTheirIndices) {
    AttributedText a, b;
    b.indexOf({.size = 30});
    for (AttributedText* text : {&a, &b}) text->append(u"one two", {.size = 10});
    EXPECT_EQ(a, b);
    b.setParagraphStyle({.headIndent = 1});
    EXPECT_FALSE(a == b);
    a.setParagraphStyle({.headIndent = 1});
    EXPECT_EQ(a, b);
    a.append(u"x", {.size = 10});
    b.append(u"x", {.size = 11});
    EXPECT_FALSE(a == b);
}

}  // namespace
}  // namespace corvy::platform
