#include "platform/rich_text/rtf_reader.h"

#include <gtest/gtest.h>

#include <span>

namespace corvy::platform {
namespace {

std::optional<RichDocument> read(std::string_view rtf, const FileNode* package = nullptr) {
    return documentOfRtf(std::as_bytes(std::span(rtf)), package);
}

std::u16string textOf(std::string_view rtf) {
    const auto document = read(rtf);
    return document ? document->text.string() : u"(none)";
}

TEST(RtfReader, TakesTheTextInItsEncoding) {
    const std::string fonts =
        "{\\fonttbl{\\f0\\fcharset0 Arial;}{\\f1\\fcharset204 Arial Cyr;}{\\f2\\fcharset128 "
        "{\\*\\falt x}MS Mincho;}{\\f3\\fcharset2 Symbol;}{\\f4\\fnil\\fcharset2 Wingdings;}"
        "{\\f5\\cpg437 Terminal;}{\\f6\\fcharset134 SimSun;}{\\f7\\fcharset2 Webdings;}}";
    struct Case {
        const char* name;
        std::string rtf;
        std::u16string text;
    };
    const Case cases[] = {
        {"the document's code page", "{\\rtf1\\ansi\\ansicpg1250 \\'b3\xB9}", u"\x142\x105"},
        {"mac", "{\\rtf1\\mac \\'8a}", u"\xE4"},
        {"pc", "{\\rtf1\\pc \\'84}", u"\xE4"},
        {"pca", "{\\rtf1\\pca \\'d0}", u"\xF0"},
        {"UTF-8 as a code page", "{\\rtf1\\ansicpg65001 \xE2\x82\xAC\\'e2\\'82\\'ac}",
         u"\x20AC\x20AC"},
        {"unknown code page", "{\\rtf1\\ansi\\ansicpg0 \\'e4}", u"\xE4"},
        {"the font's", "{\\rtf1\\ansi" + fonts + "\\f1\\'e4{\\f0\\'e4}\\'e5}", u"\x434\xE4\x435"},
        {"two bytes",
         "{\\rtf1" + fonts +
             "\\f2\\'93\\'fa\\'96{\\f0 }\\'7b\x83"
             "A}",
         u"\x65E5\xFFFD{\x30A2"},
        {"second byte is a letter", "{\\rtf1\\ansicpg932 \\'83A\\'83\\'41}", u"\x30A2\x30A2"},
        {"two bytes cut short", "{\\rtf1\\ansicpg932 \\'83\\par}", u"\xFFFD\n"},
        {"code page of a font", "{\\rtf1" + fonts + "\\f5\\'84}", u"\xE4"},
        {"font of a script",
         "{\\rtf1" + fonts + "\\loch\\af0\\hich\\af0\\dbch\\af6\\'b2\\'e2\\f0\\'e4}",
         u"\x6D4B\xE4"},
        {"Latin font in an Asian page",
         "{\\rtf1\\ansicpg932{\\fonttbl\\f0\\fcharset0 A;}\\f0\\'e9}", u"\xE9"},
        {"symbols", "{\\rtf1" + fonts + "\\f3 ab\\'b7\\u-3913 ?\\f4\\'fc\\f7 x}",
         u"\x3B1\x3B2\x2022\x2022\x2713\xF078"},
        {"units", "{\\rtf1\\u8364 ?\\u-10179 ?\\u-8704 ?\\u128512 ?}",
         u"\x20AC\xD83D\xDE00\xD83D\xDE00"},
        {"fallbacks of two items", "{\\rtf1\\uc2\\u8364 ab\\u8364 \\'aa\\'bbc\\u8364 \\tab xd}",
         u"\x20AC\x20AC"
         u"c\x20AC"
         u"d"},
        {"none, and back", "{\\rtf1{\\uc0\\u8364 a}\\u8364 a\\'41}",
         u"\x20AC"
         u"a\x20AC"
         u"A"},
        {"fallback ends with its group", "{\\rtf1\\uc3{\\u8364 a}bc}",
         u"\x20AC"
         u"bc"},
        {"a binary item", "{\\rtf1\\uc1\\u8364\\bin3 {}}x}",
         u"\x20AC"
         u"x"},
        {"alternatives", "{\\rtf1{\\upr{old}{\\*\\ud{new\\u8364 ?}}}x}",
         u"new\x20AC"
         u"x"},
        {"no hexadecimal number", "{\\rtf1\\'zza}", u"zza"},
    };
    for (const Case& c : cases) EXPECT_EQ(textOf(c.rtf), c.text) << c.name;
}

TEST(RtfReader, KnowsWhatIsText) {
    struct Case {
        const char* name;
        std::string_view rtf;
        std::u16string_view text;
    };
    static constexpr Case cases[] = {
        {"signs", "{\\rtf1 a\\~\\_\\-\\{\\}\\\\\\emdash\\lquote b\\line c\\page\\tab\td\\zwj}",
         u"a\xA0\x2011\xAD{}\\\x2014\x2018"
         u"b\x2028"
         u"c\f\t\td\x200D"},
        {"line ends are none", "{\\rtf1 a\r\nb\nc\\\nd\\\r\ne\\par\nf}", u"abc\nd\ne\nf"},
        {"control characters",
         std::string_view("{\\rtf1 a\0\1\x7F"
                          "b\\'00\\'0ac}",
                          21),
         u"abc"},
        {"unknown words", "{\\rtf1\\foo a\\bar12b\\baz-3 c}", u"abc"},
        {"unknown destinations", "{\\rtf1{\\*\\foo a{b}}{\\foo c}d}", u"cd"},
        {"known destinations",
         "{\\rtf1{\\stylesheet{\\s1 x;}}{\\header h}{\\*\\bkmkstart m}a"
         "{\\object{\\*\\objdata 00}{\\result r}}{\\nonshppict n}b}",
         u"arb"},
        {"braces in what is skipped", "{\\rtf1{\\*\\foo \\{ \\} \\\\{\\bin2 }}}}a}", u"a"},
        {"hidden and deleted", "{\\rtf1 a{\\v b\\par}c{\\deleted d}\\v e\\v0 f}", u"acf"},
        {"fields", "{\\rtf1{\\field{\\*\\fldinst{PAGE}}{\\fldrslt 7}}{\\field{\\*\\fldinst x}}}",
         u"7"},
        {"footnotes go to the end",
         "{\\rtf1 a\\chftn{\\footnote\\pard\\chftn  note\\par}b\\chftn"
         "{\\footnote two}c\\par}",
         u"a1b2c\n1 note\ntwo"},
        {"markers of items",
         "{\\rtf1{\\listtext\\pard\\plain 1.\\tab}a\\par{\\pntext\\'b7\\tab}b\\par"
         "{\\listtext\t-\t}c}",
         u"\t1.\ta\n\t\xB7\tb\n\t-\tc"},
        {"shapes",
         "{\\rtf1 a{\\shp{\\*\\shpinst{\\sp{\\sn x}{\\sv 1}}{\\shptxt box\\par}}"
         "{\\shprslt old}}b}",
         u"abox\nb"},
        {"mail that was HTML", "{\\rtf1\\fromhtml1{\\*\\htmltag <p>}\\htmlrtf a\\htmlrtf0 b}",
         u"ab"},
        {"mark and blanks before it", "\xEF\xBB\xBF\r\n {\\rtf1 a}", u"a"},
        {"text behind the end", "{\\rtf1 a}b{c", u"a"},
        {"breaks off in text", "{\\rtf1 a{b", u"ab"},
        {"breaks off in a word", "{\\rtf1 ab\\'4", u"ab"},
        {"no brace", "{\\rtf", u""},
        {"not RTF", "{\\r a}", u"(none)"},
        {"empty", "", u"(none)"},
    };
    for (const Case& c : cases) EXPECT_EQ(textOf(c.rtf), c.text) << c.name;
}

TEST(RtfReader, KeepsGroupsApart) {
    const auto document = read(
        "{\\rtf1\\deff1{\\fonttbl\\f0\\fnil One;{\\f1 Times-Bold;}}{\\colortbl;\\red255;}"
        "{\\b\\cf1\\fs30 a{\\i b}}c\\b\\plain d{\\field{\\*\\fldinst HYPERLINK \\\\l \"p\" "
        "\"u\" \\\\o \"tip\"}{\\fldrslt{\\b e}}}{\\f0 f}}");
    ASSERT_TRUE(document);
    const TextStyle plain{.font = u"Times"};
    TextStyle a{.font = u"Times", .size = 15, .bold = true, .color = RgbColor{255, 0, 0}};
    AttributedText expected;
    expected.append(u"a", a);
    a.italic = true;
    expected.append(u"b", a);
    expected.append(u"cd", plain);
    expected.append(u"e", {.font = u"Times", .bold = true, .link = u"u#p"});
    expected.append(u"f", {.font = u"One"});
    expected.setParagraphStyle({});
    EXPECT_EQ(document->text, expected);
}

TEST(RtfReader, TellsListsFromTheirTables) {
    const auto document = read(
        "{\\rtf1{\\*\\listtable{\\list{\\listlevel\\levelnfc0\\levelstartat3{\\leveltext"
        "\\'02\\'00.;}{\\levelnumbers\\'01;}}{\\listlevel\\levelnfc2{\\leveltext\\'04\\'00.\\'01);}"
        "}"
        "{\\listlevel\\levelnfc23{\\leveltext\\'01\\u9642 ?;}}\\listid77}}"
        "{\\*\\listoverridetable{\\listoverride\\listid77\\ls5}}"
        "\\ls5\\ilvl2 a\\par\\pard b\\par\\ls6 c\\par}");
    ASSERT_TRUE(document);
    const AttributedText& text = document->text;
    EXPECT_EQ(text.paragraphStyleAt(0).lists, (std::vector<std::uint32_t>{0, 1, 2}));
    EXPECT_TRUE(text.paragraphStyleAt(2).lists.empty());
    EXPECT_TRUE(text.paragraphStyleAt(4).lists.empty());
    ASSERT_EQ(text.lists().size(), 3U);
    EXPECT_EQ(text.lists()[0], (TextList{u"{decimal}.", 3}));
    EXPECT_EQ(text.lists()[1], (TextList{u"{lower-roman})", 1}));
    EXPECT_EQ(text.lists()[2], (TextList{u"{square}", 1}));
}

// "text@row,column+columns/rows" of each paragraph, cells inside cells behind each other.
std::u16string tablesOf(const RichDocument& document) {
    std::u16string out;
    const std::u16string& text = document.text.string();
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(u'\n', start), text.size());
        out += text.substr(start, end - start);
        for (const TableCell& cell : document.text.paragraphStyleAt(start).cells) {
            const auto add = [&out](char16_t sign, std::uint32_t number) {
                out += sign;
                out += static_cast<char16_t>(u'0' + number);
            };
            add(u'@', cell.row);
            add(u',', cell.column);
            if (cell.columnSpan > 1) add(u'+', cell.columnSpan);
            if (cell.rowSpan > 1) add(u'/', cell.rowSpan);
        }
        out += u' ';
        start = end + 1;
    }
    return out;
}

TEST(RtfReader, GathersTablesFromTheirRows) {
    struct Case {
        const char* name;
        std::string_view rtf;
        std::u16string_view tables;
    };
    static constexpr Case cases[] = {
        {"bounds make columns",
         "{\\rtf1 x\\par\\trowd\\cellx1000\\cellx3000\\pard\\intbl a\\par b\\cell c\\cell\\row"
         "\\trowd\\cellx1005\\cellx2000\\cellx3000 d\\cell e\\cell f\\cell\\row\\pard y}",
         u"x a@0,0 b@0,0 c@0,1+2 d@1,0 e@1,1 f@1,2 y "},
        {"merged cells",
         "{\\rtf1\\trowd\\clvmgf\\cellx1000\\clmgf\\cellx2000\\clmrg\\cellx3000\\intbl a\\cell b"
         "\\cell\\cell\\row\\trowd\\clvmrg\\cellx1000\\cellx2000\\cellx3000\\cell d\\cell e\\cell"
         "\\row}",
         u"a@0,0/2 b@0,1+2 d@1,1 e@1,2 "},
        {"bounds behind the text",
         "{\\rtf1\\intbl a\\cell b\\cell\\trowd\\cellx500\\cellx900\\row}", u"a@0,0 b@0,1 "},
        {"inside a cell",
         "{\\rtf1\\pard\\intbl\\itap2 a\\nestcell b\\nestcell{\\*\\nesttableprops\\trowd\\cellx100"
         "\\cellx200\\nestrow}{\\nonesttables\\par}\\pard\\intbl\\itap1\\cell z\\cell\\trowd"
         "\\cellx400\\cellx800\\row}",
         u"a@0,0@0,0 b@0,0@0,1 z@0,1 "},
        {"two tables",
         "{\\rtf1\\intbl\\trowd\\cellx9\\lastrow a\\cell\\row\\trowd\\cellx9 b\\cell\\row}",
         u"a@0,0 b@0,0 "},
        {"no bounds at all", "{\\rtf1\\intbl a\\cell b\\cell\\row c}", u"a@0,0 b@0,1 c@1,0 "},
        {"bounds that go back",
         "{\\rtf1\\trowd\\cellx500\\cellx100\\cellx-9\\intbl a\\cell b\\cell c"
         "\\cell\\row}",
         u"a@0,0 b@0,1 c@0,2 "},
        {"breaks off", "{\\rtf1\\trowd\\cellx500\\cellx900\\intbl a\\cell b", u"a@0,0 b@0,1 "},
    };
    for (const Case& c : cases) {
        const auto document = read(c.rtf);
        ASSERT_TRUE(document) << c.name;
        EXPECT_EQ(tablesOf(*document), c.tables) << c.name;
    }
}

TEST(RtfReader, KnowsTheEdgesOfCells) {
    const auto document = read(
        "{\\rtf1{\\colortbl;\\red9;}\\trowd\\trgaph100\\trleft-"
        "100\\clbrdrl\\brdrs\\clbrdrt\\brdrnone"
        "\\brdrw20\\trbrdrt\\brdrw99\\clbrdrb\\brdrw40\\brdrcf1\\clpadt60\\clpadr60\\cellx1900"
        "\\clpadt20\\clpadr60\\clpadb40\\clftsWidth2\\clwWidth1250\\cellx3900\\intbl a\\cell "
        "b\\cell\\row}");
    ASSERT_TRUE(document);
    const TableCell left = document->text.paragraphStyleAt(0).cells.at(0);
    EXPECT_EQ(left.borderWidth, (Edges<double>{0.5, 0, 0, 2}));
    EXPECT_EQ(left.borderColor.bottom, (RgbColor{9, 0, 0}));
    EXPECT_EQ(left.padding, (Edges<double>{3, 0, 3, 0}));
    EXPECT_EQ(left.width, (TextLength{100, false}));
    const TableCell right = document->text.paragraphStyleAt(2).cells.at(0);
    EXPECT_EQ(right.padding, (Edges<double>{5, 1, 3, 2}));
    EXPECT_EQ(right.width, (TextLength{25, true}));
}

TEST(RtfReader, TakesPicturesAndFiles) {
    FileNode package;
    package.entries = {{.name = u"a b\x00E9}.pdf", .contents = Bytes::copyOf("PDF")},
                       {.name = u"dir", .isFolder = true}};
    const auto document = read(
        "{\\rtf1 a{{\\NeXTGraphic a b\\'e9\\}.pdf \\width2400 \\height1200 \\appleaqc\n}\xAC}b\xAC"
        "{{\\NeXTGraphic dir}\\'ac}{{\\NeXTGraphic ../a}\\'ac}"
        "{\\*\\shppict{\\pict\\picscalex50\\picwgoal400\\pichgoal200\\pngblip 89 5\n04E4}}"
        "{\\pict\\jpegblip\\bin3 }{\\}{\\pict\\wmetafile8 00}{\\pict\\pngblip}c}",
        &package);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->text.string(),
              u"a\xFFFC"
              u"b\xAC\xFFFC\xFFFC\xFFFC"
              u"c");
    const auto files = document->text.attachments();
    ASSERT_EQ(files.size(), 4U);
    EXPECT_EQ(files[0], (Attachment{1, package.entries[0], {120, 60}}));
    EXPECT_TRUE(files[1].file.isFolder);
    EXPECT_EQ(files[2].file.contents.chars(), "\x89PN");
    EXPECT_EQ(files[2].size, (Size{10, 10}));
    EXPECT_EQ(files[3],
              (Attachment{6, {.name = u"image.jpg", .contents = Bytes::copyOf("}{\\")}, {}}));
}

TEST(RtfReader, SurvivesHostileInput) {
    const auto repeated = [](std::string_view part, std::size_t count) {
        std::string out = "{\\rtf1 ";
        while (count-- > 0) out += part;
        return out;
    };
    EXPECT_EQ(textOf(repeated("{\\b ", 100000) + "deep" + std::string(100000, '}') + " end}"),
              u"deep end");
    EXPECT_EQ(textOf("{\\rtf1 a\\bin99999999999 b}"), u"a");
    EXPECT_EQ(textOf("{\\rtf1 a\\bin-5 b}"), u"ab");
    EXPECT_EQ(
        textOf("{\\rtf1{\\creatim\\yr2000{\\shp{\\shptxt x}}}{\\title{\\object{\\result y}}}a}"),
        u"a");
    EXPECT_EQ(textOf(repeated("{\\*\\x{", 50000)), u"");
    EXPECT_EQ(textOf(repeated("\\intbl\\itap99999 a\\nestcell", 1000)).size(), 2000U);
    EXPECT_EQ(textOf(repeated("{\\tx1\\tx2 a\\par", 20000)).size(), 40000U);
    EXPECT_EQ(textOf(repeated("\\trowd\\cellx1\\cellx2\\intbl\\row", 20000)), u"");
    EXPECT_EQ(
        textOf(repeated("\\u999999999 \\fs99999999 a\\li-99999999\\ls-1\\ilvl99\\par", 9)).size(),
        18U);
}

}  // namespace
}  // namespace corvy::platform
