#include "platform/document_reader.h"

#include "platform/document_readers/word_binary_properties.h"
#include "platform/rich_text/rich_document.h"
#include "tests/support/zip_builder.h"

namespace corvy::platform {
namespace {

using namespace std::literals;
using test::ZipBuilder;

constexpr auto kWord =
    R"(xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main")"sv;

std::string wordPackage(std::string_view body, std::string_view styles = "",
                        std::string_view numbering = "") {
    const std::string relation = R"(" Type="http://x/relationships/)";
    const std::string space(kWord);
    return ZipBuilder()
        .add("[Content_Types].xml", "<Types/>")
        .add("_rels/.rels", R"(<Relationships><Relationship Id="a)" + relation +
                                R"(officeDocument" Target="/word/document.xml"/></Relationships>)")
        .add("word/_rels/document.xml.rels",
             "<Relationships><Relationship Id=\"s" + relation +
                 "styles\" Target=\"styles.xml\"/><Relationship Id=\"n" + relation +
                 "numbering\" Target=\"numbering.xml\"/><Relationship Id=\"l" + relation +
                 "hyperlink\" Target=\"http://a.org/\" TargetMode=\"External\"/><Relationship "
                 "Id=\"p" +
                 relation + "image\" Target=\"../word/media/a.png\"/></Relationships>")
        .add("word/document.xml",
             "<w:document " + space + "><w:body>" + std::string(body) + "</w:body></w:document>")
        .add("word/styles.xml", "<w:styles " + space + ">" + std::string(styles) + "</w:styles>")
        .add("word/numbering.xml",
             "<w:numbering " + space + ">" + std::string(numbering) + "</w:numbering>")
        .add("word/media/a.png", "PNG")
        .bytes();
}

std::optional<RichDocument> read(std::string_view bytes) {
    return readDocument(Bytes::copyOf(bytes), "file", {});
}

AttributedText textOf(std::string_view bytes) {
    const auto document = read(bytes);
    EXPECT_TRUE(document.has_value());
    return document ? document->text : AttributedText();
}

TEST(DocumentReader, TellsKindsByContentFirst) {
    struct Case {
        const char* path;
        std::string bytes;
        DocumentKind kind;
    };
    const Case cases[] = {
        {"a.docx", "{\\rtf1 a}", DocumentKind::rtf},
        {"a.txt", "<!-- c -->\n<!DOCTYPE HTML><p>", DocumentKind::html},
        {"a.txt", "\xEF\xBB\xBF<?xml version='1.0'?>\n<HTML>", DocumentKind::html},
        {"a.html", "just words", DocumentKind::html},
        {"a", "just words", DocumentKind::plainText},
        {"a", "", DocumentKind::plainText},
        {"a.txt", "a\0\x01\x02\x03"s, DocumentKind::unknown},
        {"a.txt", "%PDF-1.4 a", DocumentKind::unknown},
        {"a.rtf", wordPackage(""), DocumentKind::wordPackage},
        {"a.zip", ZipBuilder().add("a.txt", "a").bytes(), DocumentKind::unknown},
        {"a.docx", "PK\x03\x04 broken", DocumentKind::unknown},
        {"a", ZipBuilder().add("mimetype", "application/vnd.oasis.opendocument.text").bytes(),
         DocumentKind::openDocument},
        {"a.xml",
         "<w:wordDocument xmlns:w=\"http://schemas.microsoft.com/office/word/2003/wordml\"/>",
         DocumentKind::wordXml},
        {"a.doc", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", DocumentKind::unknown},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(kindOfDocument(Bytes::copyOf(c.bytes), c.path), c.kind) << c.path << c.bytes;
    }
}

TEST(DocumentReader, ReadsPlainTextWithItsAttributes) {
    const auto document = read("a\r\nb\rc\n");
    EXPECT_EQ(document->text.string(), u"a\nb\nc\n");
    EXPECT_EQ(stringOf(document->attributes, document_attribute::kType), u"NSPlainText");
    EXPECT_EQ(document->attributes.find(document_attribute::kCharacterEncoding)->integer(), 4);
}

TEST(WordDocument, GivesTheTextThatIsShown) {
    struct Case {
        const char* body;
        std::u16string_view text;
    };
    const Case cases[] = {
        {R"(<w:p><w:r><w:t> a </w:t><w:t xml:space="preserve"> b </w:t></w:r></w:p>)", u"a b \n"},
        {"<w:p><w:r><w:t>a</w:t><w:tab/><w:br/><w:br w:type='page'/><w:noBreakHyphen/></w:r></w:p>",
         u"a\t\u2028\f\u2011\n"},
        {"<w:p><w:ins><w:r><w:t>in</w:t></w:r></w:ins><w:del><w:r><w:delText>out</w:delText>"
         "</w:r></w:del><w:r><w:rPr><w:vanish/></w:rPr><w:t>hidden</w:t></w:r></w:p>",
         u"in\n"},
        {"<w:p><w:pPr><w:rPr><w:del/></w:rPr></w:pPr><w:r><w:t>a</w:t></w:r></w:p><w:p><w:r>"
         "<w:t>b</w:t></w:r></w:p>",
         u"ab\n"},
        {"<w:p><w:r><w:fldChar w:fldCharType='begin'/></w:r><w:r><w:instrText>PAGE</w:instrText>"
         "<w:t>no</w:t></w:r><w:r><w:fldChar w:fldCharType='separate'/></w:r><w:r><w:t>7</w:t>"
         "</w:r><w:r><w:fldChar w:fldCharType='end'/></w:r></w:p>",
         u"7\n"},
        {"<w:sdt><w:sdtContent><w:p><w:r><w:sym w:font='Symbol' w:char='F061'/></w:r></w:p>"
         "</w:sdtContent></w:sdt>",
         u"\u03B1\n"},
        {"<w:p><w:r><w:t>broken off", u"broken off\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(textOf(wordPackage(c.body)).string(), c.text) << c.body;
}

TEST(WordDocument, InheritsStyles) {
    const auto styles =
        "<w:docDefaults><w:rPrDefault><w:rPr><w:rFonts w:ascii='Times New Roman;serif'/><w:sz "
        "w:val='22'/></w:rPr></w:rPrDefault></w:docDefaults>"
        "<w:style w:type='paragraph' w:styleId='A'><w:name w:val='heading 2'/><w:basedOn "
        "w:val='B'/><w:rPr><w:b/></w:rPr></w:style>"
        "<w:style w:type='paragraph' w:styleId='B'><w:basedOn w:val='A'/><w:pPr><w:jc "
        "w:val='center'/></w:pPr><w:rPr><w:i/></w:rPr></w:style>"
        "<w:style w:type='character' w:styleId='C'><w:rPr><w:b/><w:color w:val='FF0000'/></w:rPr>"
        "</w:style>";
    const AttributedText text = textOf(wordPackage(
        "<w:p><w:pPr><w:pStyle w:val='A'/></w:pPr><w:r><w:t>a</w:t></w:r><w:hyperlink r:id='l'>"
        "<w:r><w:rPr><w:rStyle w:val='C'/><w:i w:val='0'/></w:rPr><w:t>b</w:t></w:r></w:hyperlink>"
        "<w:r><w:drawing><wp:extent cx='25400' cy='12700'/><a:blip r:embed='p'/></w:drawing></w:r>"
        "</w:p>",
        styles));
    ASSERT_EQ(text.string(), u"ab\uFFFC\n");
    EXPECT_EQ(text.styleAt(0),
              (TextStyle{.font = u"Times New Roman", .size = 11, .bold = true, .italic = true}));
    // What is bold in the paragraph and in the characters is not bold.
    EXPECT_EQ(text.styleAt(1), (TextStyle{.font = u"Times New Roman",
                                          .size = 11,
                                          .color = RgbColor{255, 0, 0},
                                          .link = u"http://a.org/"}));
    EXPECT_EQ(text.paragraphStyleAt(0).alignment, TextAlignment::center);
    EXPECT_EQ(text.paragraphStyleAt(0).headerLevel, 2);
    ASSERT_EQ(text.attachments().size(), 1U);
    EXPECT_EQ(text.attachments()[0].file.name, u"a.png");
    EXPECT_EQ(text.attachments()[0].size, (Size{2, 1}));
}

TEST(WordDocument, CountsListsAndLaysOutTables) {
    const auto numbering =
        "<w:abstractNum w:abstractNumId='0'><w:lvl w:ilvl='0'><w:start w:val='3'/><w:numFmt "
        "w:val='decimal'/><w:lvlText w:val='%1.'/><w:pPr><w:ind w:left='720' w:hanging='360'/>"
        "</w:pPr></w:lvl><w:lvl w:ilvl='1'><w:numFmt w:val='lowerLetter'/><w:lvlText "
        "w:val='%1.%2)'/></w:lvl></w:abstractNum><w:num w:numId='7'><w:abstractNumId w:val='0'/>"
        "</w:num>";
    const auto item = [](const char* level) {
        return "<w:p><w:pPr><w:numPr><w:ilvl w:val='" + std::string(level) +
               "'/><w:numId w:val='7'/></w:numPr></w:pPr></w:p>";
    };
    const AttributedText lists = textOf(
        wordPackage(item("0") + item("1") + item("1") + item("0") + item("1"), "", numbering));
    EXPECT_EQ(lists.string(), u"\t3.\t\n\t3.a)\t\n\t3.b)\t\n\t4.\t\n\t4.a)\t\n");
    EXPECT_EQ(lists.paragraphStyleAt(0).headIndent, 36);
    EXPECT_EQ(lists.paragraphStyleAt(5).lists.size(), 2U);
    EXPECT_EQ(lists.lists()[1].markerFormat, u"{lower-alpha})");

    const AttributedText table = textOf(wordPackage(
        "<w:tbl><w:tr><w:tc><w:tcPr><w:vMerge w:val='restart'/></w:tcPr><w:p/></w:tc><w:tc>"
        "<w:tcPr><w:gridSpan w:val='2'/></w:tcPr><w:p/><w:tbl><w:tr><w:tc/></w:tr></w:tbl></w:tc>"
        "</w:tr><w:tr><w:tc><w:tcPr><w:vMerge/></w:tcPr><w:p/></w:tc><w:tc><w:p/></w:tc><w:tc>"
        "<w:p/></w:tc></w:tr></w:tbl>"));
    EXPECT_EQ(table.string(), u"\n\n\n\n\n");
    EXPECT_EQ(table.tables()[0].columns, 3U);
    EXPECT_EQ(table.paragraphStyleAt(0).cells.at(0).rowSpan, 2U);
    EXPECT_EQ(table.paragraphStyleAt(1).cells.at(0).columnSpan, 2U);
    EXPECT_EQ(table.paragraphStyleAt(2).cells.size(), 2U);
    EXPECT_EQ(table.paragraphStyleAt(4).cells.at(0).column, 2U);
}

TEST(OpenDocument, ReadsTextListsTablesAndNotes) {
    const std::string document =
        "<office:document xmlns:office='urn:oasis:names:tc:opendocument:xmlns:office:1.0' "
        "office:mimetype='application/vnd.oasis.opendocument.text'><office:meta><dc:title>T"
        "</dc:title><meta:keyword>a</meta:keyword><meta:keyword>b</meta:keyword></office:meta>"
        "<office:automatic-styles><style:style style:name='P' style:family='paragraph' "
        "style:parent-style-name='P'><style:text-properties fo:font-size='10pt' "
        "fo:font-weight='bold'/></style:style><style:style style:name='T' style:family='text'>"
        "<style:text-properties fo:font-size='150%' style:text-position='super 58%'/>"
        "</style:style><text:list-style style:name='L'><text:list-level-style-number text:level='1'"
        " style:num-format='i' style:num-suffix='.'/></text:list-style></office:automatic-styles>"
        "<office:body><office:text><text:tracked-changes><text:p>old</text:p>"
        "</text:tracked-changes><text:p text:style-name='P'> a \n b<text:s text:c='2'/>"
        "<text:span text:style-name='T'>c</text:span><text:note><text:note-citation>1"
        "</text:note-citation><text:note-body><text:p>note</text:p></text:note-body></text:note>"
        "<office:annotation><text:p>no</text:p></office:annotation></text:p><text:list "
        "text:style-name='L'><text:list-item><text:p>x</text:p><text:p>y</text:p></text:list-item>"
        "<text:list-item text:start-value='4'><text:p>z</text:p></text:list-item></text:list>"
        "<table:table><table:table-row table:number-rows-repeated='2'><table:table-cell "
        "table:number-columns-repeated='2'><text:p>q</text:p></table:table-cell></table:table-row>"
        "</table:table></office:text></office:body></office:document>";
    const auto read = readDocument(Bytes::copyOf(document), "a.fodt", {});
    ASSERT_TRUE(read.has_value());
    const AttributedText& text = read->text;
    EXPECT_EQ(text.string(), u"a b  c1\n\ti.\tx\ny\n\tiv.\tz\nq\n\n\n\nnote\n");
    EXPECT_TRUE(text.styleAt(0).bold);
    EXPECT_EQ(text.styleAt(5).size, 15);
    EXPECT_EQ(text.styleAt(5).superscript, 1);
    EXPECT_EQ(stringOf(read->attributes, document_attribute::kTitle), u"T");
    EXPECT_EQ(read->attributes.find(document_attribute::kKeywords)->array()->size(), 2U);
}

TEST(OpenDocument, HasThePaperOfItsFirstPage) {
    const std::string layouts =
        "<office:automatic-styles><style:page-layout style:name='A'><style:page-layout-properties "
        "fo:page-width='100pt' fo:page-height='200pt'/></style:page-layout><style:page-layout "
        "style:name='B'><style:page-layout-properties fo:page-width='300pt' "
        "fo:page-height='150pt' fo:margin='9pt'/></style:page-layout><style:style style:name='P' "
        "style:family='paragraph' style:master-page-name='Wide'/></office:automatic-styles>"
        "<office:master-styles><style:master-page style:name='Usual' "
        "style:page-layout-name='A'/><style:master-page style:name='Wide' "
        "style:page-layout-name='B'/></office:master-styles>";
    struct Case {
        const char* text;
        std::u16string_view paper;
    };
    const Case cases[] = {
        {"<text:sequence-decls/><text:p text:style-name='P'>a</text:p>", u"{300, 150}"},
        {"<text:p>a</text:p><text:p text:style-name='P'>b</text:p>", u"{100, 200}"},
        {"", u"{100, 200}"},
    };
    for (const Case& c : cases) {
        const auto document = readDocument(
            Bytes::copyOf("<office:document xmlns:office='urn:oasis:names:tc:opendocument:xmlns:"
                          "office:1.0' office:mimetype='application/vnd.oasis.opendocument.text'>" +
                          layouts + "<office:body><office:text>" + c.text +
                          "</office:text></office:body></office:document>"),
            "a.fodt", {});
        ASSERT_TRUE(document.has_value()) << c.text;
        EXPECT_EQ(stringOf(document->attributes, document_attribute::kPaperSize), c.paper)
            << c.text;
    }
}

TEST(WordBinary, ReadsColoursBehindTextAndPaddingOfCells) {
    const auto background = [](std::string_view changes) {
        return wordTextChanges(std::as_bytes(std::span(changes)), {}, {}).text.background;
    };
    using Background = std::optional<std::optional<RgbColor>>;
    const Background red(RgbColor{255, 0, 0}), yellow(RgbColor{255, 255, 0}),
        none(std::in_place, std::nullopt);
    EXPECT_EQ(background("\x71\xCA\x0A\0\0\0\xFF\xFF\0\0\0\0\0"sv), red) << "clear";
    EXPECT_EQ(background("\x71\xCA\x0A\xFF\0\0\0\0\xFF\0\0\1\0"sv), red) << "full";
    EXPECT_EQ(background("\x71\xCA\x0A\0\0\0\xFF\0\0\0\xFF\0\0"sv), none) << "automatic";
    EXPECT_EQ(background("\x0C\x2A\7\x71\xCA\x0A\0\0\0\xFF\xFF\0\0\0\0\0"sv), yellow);
    EXPECT_EQ(background("\x71\xCA\x0A\0"sv), Background()) << "broken off";

    const auto padding = [](const std::string& changes) {
        const std::string all = changes + std::string("\x08\xD6\x06\0\1\0\0\x64\0", 9);
        const auto row = wordParagraphChanges(std::as_bytes(std::span(all))).row;
        return row ? row->padding : -1;
    };
    EXPECT_EQ(padding(""), 5.4);
    EXPECT_EQ(padding("\x02\x96\x28\0"s), 2);
    EXPECT_EQ(padding("\x34\xD6\x06\0\1\x0A\3\x14\0"s), 1);
    EXPECT_EQ(padding("\x34\xD6\x06\0\1\x05\3\x14\0"s), 5.4) << "above and below";
    EXPECT_EQ(padding("\x02\x96\xFF\xFF"s), 5.4) << "negative";
}

TEST(DocumentReader, SurvivesHostileArchives) {
    // Bytes that are claimed, but not there; far too many; names that lead out of the archive.
    const std::string main = "<w:document " + std::string(kWord) + "/>";
    for (const std::uint32_t claimed : {1000U, 0x7FFFFFFFU}) {
        const std::string bytes = ZipBuilder()
                                      .add("[Content_Types].xml", "<Types/>")
                                      .add("word/document.xml", main, claimed)
                                      .bytes();
        EXPECT_FALSE(read(bytes).has_value()) << claimed;
    }
    std::string deep;
    for (int i = 0; i < 20'000; ++i) deep += "<w:sdt><w:sdtContent>";
    EXPECT_EQ(textOf(wordPackage(deep + "<w:p/>")).string(), u"");
    std::string tables;
    for (int i = 0; i < 3'000; ++i) tables += "<w:tbl><w:tr><w:tc>";
    EXPECT_LT(textOf(wordPackage(tables)).length(), 400U);
    EXPECT_TRUE(
        read(wordPackage("<w:p><w:r><w:drawing><a:blip r:embed='../../etc/passwd'/>"
                         "</w:drawing></w:r></w:p>")));
}

}  // namespace
}  // namespace corvy::platform
