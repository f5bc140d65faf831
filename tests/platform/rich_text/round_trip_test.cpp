// What is written as RTF comes back with all its attributes.
#include <gtest/gtest.h>

#include <span>

#include "platform/rich_text/rtf_reader.h"
#include "platform/rich_text/rtf_writer.h"

namespace corvy::platform {
namespace {

RichDocument again(const RichDocument& document) {
    const std::string rtf = rtfOf(document);
    SCOPED_TRACE(rtf);
    auto read = documentOfRtf(std::as_bytes(std::span(rtf)));
    EXPECT_TRUE(read);
    return read ? *std::move(read) : RichDocument();
}

TEST(RtfRoundTrip, KeepsCharacterStyles) {
    const RgbColor red{255, 0, 0}, blue{0, 0, 255};
    const TextStyle styles[] = {
        {},
        {.font = u"Times New Roman", .size = 13.5, .bold = true, .italic = true},
        {.font = u"A B-C", .underline = LineStyle::doubled, .strike = LineStyle::single},
        {.underline = LineStyle::thick, .strike = LineStyle::doubled, .underlineColor = red},
        {.outline = true, .shadow = true, .superscript = 1, .baselineOffset = -2.5},
        {.superscript = -1, .baselineOffset = 3, .kern = -1.5},
        {.color = red, .background = blue, .strikeColor = blue},
        {.bold = true, .link = u"http://a.b/?q=\"x\"#\\y"},
        {.font = u"Courier", .link = u"file:///c\x00E9"},
        {.underline = LineStyle::single},
    };
    RichDocument document;
    for (const TextStyle& style : styles) document.text.append(u"ab\x4E00 ", style);
    document.text.append(u"\n", {});
    for (const TextStyle& style : styles) document.text.append(u"{\\}\t\x2028;", style);
    document.text.setParagraphStyle({});
    EXPECT_EQ(again(document).text, document.text);
}

TEST(RtfRoundTrip, KeepsParagraphStyles) {
    const ParagraphStyle styles[] = {
        {},
        {.alignment = TextAlignment::right, .direction = WritingDirection::rightToLeft},
        {.alignment = TextAlignment::justified, .direction = WritingDirection::leftToRight},
        {.firstLineIndent = 10, .headIndent = 30, .tailIndent = 5.5},
        {.spacingBefore = 6, .spacingAfter = 12.05, .lineSpacing = 2},
        {.lineHeightMultiple = 1.5, .minimumLineHeight = 14, .maximumLineHeight = 20},
        {.minimumLineHeight = 14},
        {.minimumLineHeight = 14, .maximumLineHeight = 14},
        {.minimumLineHeight = 14, .maximumLineHeight = 20},
        {.maximumLineHeight = 20},
        {.defaultTabInterval = 36, .headerLevel = 2},
        {.tabs = {{28, TabKind::left},
                  {56, TabKind::right},
                  {84.5, TabKind::center},
                  {120, TabKind::decimal}}},
    };
    RichDocument document;
    for (const ParagraphStyle& style : styles) {
        document.text.append(u"one\n\ntwo\n", {});
        document.text.setParagraphStyle(style);
    }
    document.text.append(u"open end", {});
    document.text.setParagraphStyle({.alignment = TextAlignment::center});
    EXPECT_EQ(again(document).text, document.text);
}

TEST(RtfRoundTrip, KeepsLists) {
    RichDocument document;
    AttributedText& text = document.text;
    const std::uint32_t discs = text.addList({u"{disc}"});
    const std::uint32_t numbers = text.addList({u"({lower-alpha})", 4});
    const std::uint32_t others = text.addList({u"{upper-roman}."});
    const std::uint32_t odd = text.addList({u"*"});
    const auto add = [&text](std::u16string_view line, std::vector<std::uint32_t> lists) {
        text.append(line, {});
        text.setParagraphStyle({.headIndent = 18, .lists = std::move(lists)});
    };
    add(u"\t\x2022\tfirst\n", {discs});
    add(u"\t(d)\tinner\n", {discs, numbers});
    add(u"no marker\n", {discs, numbers});
    add(u"\x2022 \tnot one\n", {others});
    add(u"\t*\t\n", {odd});
    add(u"\tI.\tlast", {others});
    EXPECT_EQ(again(document).text, document.text);
}

TableCell cellAt(std::uint32_t table, std::uint32_t row, std::uint32_t column) {
    TableCell cell;
    cell.table = table;
    cell.row = row;
    cell.column = column;
    cell.width = TextLength{100, false};
    return cell;
}

TEST(RtfRoundTrip, KeepsTables) {
    RichDocument document;
    AttributedText& text = document.text;
    const std::uint32_t outer = text.addTable({.columns = 3, .width = TextLength{80, true}});
    const std::uint32_t inner = text.addTable({.columns = 2});
    const auto add = [&text](std::u16string_view line, std::vector<TableCell> cells) {
        text.append(line, {});
        text.setParagraphStyle({.cells = std::move(cells)});
    };
    TableCell wide = cellAt(outer, 0, 0), tall = cellAt(outer, 0, 2);
    wide.columnSpan = 2;
    wide.width.reset();
    wide.background = RgbColor{1, 2, 3};
    wide.padding = {1, 2, 3, 4};
    wide.borderWidth = {0.5, 0, 1, 2};
    wide.borderColor.right = RgbColor{9, 9, 9};
    tall.rowSpan = 2;
    tall.alignment = VerticalAlignment::middle;
    TableCell percent = cellAt(outer, 1, 1);
    percent.width = TextLength{25, true};
    add(u"before\n", {});
    add(u"one\nstill one\n", {wide});
    add(u"tall\n", {tall});
    add(u"left\n", {cellAt(outer, 1, 0)});
    add(u"ahead\n", {percent});
    add(u"a\n", {percent, cellAt(inner, 0, 0)});
    add(u"b\n", {percent, cellAt(inner, 0, 1)});
    add(u"c\n", {percent, cellAt(inner, 1, 0)});
    add(u"d\n", {percent, cellAt(inner, 1, 1)});
    add(u"x\n", {cellAt(outer, 2, 0)});
    add(u"\n", {cellAt(outer, 2, 1)});
    add(u"z\n", {cellAt(outer, 2, 2)});
    add(u"after\n", {});
    const RichDocument read = again(document);
    EXPECT_EQ(read.text.string(), text.string());
    for (std::size_t i = 0; i < text.length(); ++i) {
        const auto& expected = text.paragraphStyleAt(i).cells;
        const auto& got = read.text.paragraphStyleAt(i).cells;
        ASSERT_EQ(got.size(), expected.size()) << i;
        for (std::size_t depth = 0; depth < got.size(); ++depth) {
            TableCell cell = got[depth];
            cell.table = expected[depth].table;
            EXPECT_EQ(cell, expected[depth]) << i << " " << depth << " " << cell.column;
        }
    }
    ASSERT_EQ(read.text.tables().size(), 2U);
    EXPECT_EQ(read.text.tables()[0], text.tables()[0]);
}

TEST(RtfRoundTrip, KeepsDocumentAttributesAndPictures) {
    namespace attribute = document_attribute;
    RichDocument document;
    document.attributes = {
        {attribute::kPaperSize, u"{595, 842}"},
        {attribute::kLeftMargin, 72.0},
        {attribute::kRightMargin, 36.5},
        {attribute::kTopMargin, 0.0},
        {attribute::kBottomMargin, 1.0},
        {attribute::kViewSize, u"{500, 400}"},
        {attribute::kViewMode, 1},
        {attribute::kViewZoom, 150.0},
        {attribute::kDefaultTabInterval, 36.0},
        {attribute::kHyphenationFactor, 0.9},
        {attribute::kTitle, u"A {title}\x20AC"},
        {attribute::kAuthor, u"B"},
        {attribute::kEditor, u"C"},
        {attribute::kCompany, u"D"},
        {attribute::kCopyright, u"E"},
        {attribute::kComment, u"F\\"},
        {attribute::kKeywords, Array{u"one", u"two words"}},
        {attribute::kCreationTime, Date{1000000000}},
        {attribute::kModificationTime, Date{1600000001}},
        {attribute::kType, document_type::kRtf},
    };
    const TextStyle style;
    document.text.append(u"a", style);
    document.text.attach({.name = u"image.png", .contents = Bytes::copyOf("\x89PNG\r\n\x1A\n}{\\")},
                         {30.5, 20}, style);
    document.text.attach({.name = u"image.jpg", .contents = Bytes::copyOf("\xFF\xD8\xFF\xE0")}, {},
                         style);
    document.text.append(u"z", style);
    document.text.setParagraphStyle({});
    const RichDocument read = again(document);
    EXPECT_EQ(read.attributes, document.attributes);
    EXPECT_EQ(read.text, document.text);
}

}  // namespace
}  // namespace corvy::platform
