#include <gtest/gtest.h>

#include "tests/importers/imported.h"
#include "tests/importers/packed.h"

namespace corvy {
namespace {

using namespace std::literals;
using test::contentOf, test::Entries, test::zipped;

constexpr auto kText = u"kMDItemTextContent";
constexpr auto kItems = u"org_corvystack_itemCount";

const auto kRelation = R"(<Relationship Type="x/)"s;

// A package whose main part has that name, of those parts.
std::string package(const std::string& main, Entries parts) {
    parts.emplace_back("[Content_Types].xml", "<Types/>");
    parts.emplace_back("_rels/.rels",
                       "<R>" + kRelation + R"(officeDocument" Target=")" + main + R"("/></R>)");
    return zipped(parts);
}

// A spreadsheet of one sheet.
std::string sheet(const std::string& rows, const std::string& shared = "<sst/>") {
    return package(
        "xl/workbook.xml",
        {{"xl/workbook.xml",
          "<w><sheets><sheet name='S' r:id='a'/><sheet name='T' r:id='none'/>"
          "</sheets></w>"},
         {"xl/_rels/workbook.xml.rels", "<R>" + kRelation +
                                            R"(worksheet" Id="a" Target="s.xml"/>)" + kRelation +
                                            R"(sharedStrings" Target="/xl/t.xml"/></R>)"},
         {"xl/t.xml", shared},
         {"xl/s.xml", "<x:worksheet><x:sheetData>" + rows + "</x:sheetData></x:worksheet>"},
         {"xl/_rels/s.xml.rels", "<R>" + kRelation + R"(comments" Target="c.xml"/></R>)"},
         {"xl/c.xml",
          "<c><commentList><comment><text><r><t>a note</t></r></text></comment>"
          "</commentList></c>"}});
}

std::string openDocument(const std::string& kind, const std::string& body) {
    return zipped({{"mimetype", "application/vnd.oasis.opendocument." + kind},
                   {"content.xml", "<o><office:body>" + body + "</office:body></o>"}});
}

TEST(DocumentImporter, TellsWhatDocumentsSay) {
    const test::Imported letter(CORVY_EXAMPLES "/letter.docx");
    EXPECT_EQ(letter[u"kMDItemTitle"], R"("A letter about the harvest")");
    EXPECT_EQ(letter[u"kMDItemAuthors"], R"(["Anneliese Moor", "Tom Weir"])");
    EXPECT_EQ(letter[u"kMDItemKeywords"], R"(["harvest", "baskets"])");
    EXPECT_EQ(letter[u"kMDItemCreator"], R"("make-examples")");
    EXPECT_EQ(letter[u"kMDItemNumberOfPages"], "1");
    EXPECT_EQ(letter[u"kMDItemContentModificationDate"], "1709719200");
    EXPECT_TRUE(letter.text().starts_with("Dear path keepers,\nthe quinces")) << letter.text();

    const test::Imported sheets(CORVY_EXAMPLES "/baskets.xlsx");
    EXPECT_EQ(sheets[u"kMDItemOrganizations"], R"(["Valley Walks"])");
    EXPECT_EQ(
        sheets.text(),
        "Trees\nTree\tBaskets\nQuince\t4\nÄpfel\t2.3\nErrands\nAsk for the <key> of the tower");
    const test::Imported slides(CORVY_EXAMPLES "/walks.pptx");
    EXPECT_EQ(slides[kItems], "2");
    EXPECT_EQ(slides.text(),
              "The old mill\nA bridge of grey stone\nWillows\nShow the picture of the weir.\n\n"
              "The way back");
    const test::Imported open(CORVY_EXAMPLES "/baskets.ods");
    EXPECT_EQ(open[u"kMDItemLanguages"], R"(["en-GB"])");
    EXPECT_EQ(open.text(), "Trees\nTree\tBaskets\nQuince\t4");
    const test::Imported note(CORVY_EXAMPLES "/note.rtf");
    EXPECT_EQ(note[u"kMDItemCreator"], R"("make-examples")");
    EXPECT_TRUE(note.text().ends_with("greet the Schäfer.")) << note.text();
}

TEST(DocumentImporter, ReadsCellsOfEveryKind) {
    const auto shared =
        "<sst><si><t>plain</t></si><si><r><t>in </t></r><r><t>runs</t></r><rPh><t>!</t></rPh></si>"
        "</sst>"s;
    const auto slide = [](const std::string& inside) {
        return package("ppt/p.xml",
                       {{"ppt/p.xml", "<p:p><p:sldIdLst><p:sldId r:id='a'/></p:sldIdLst></p:p>"},
                        {"ppt/_rels/p.xml.rels",
                         "<R>" + kRelation + R"(slide" Id="a" Target="../s.xml"/></R>)"},
                        {"s.xml", "<p:sld>" + inside + "</p:sld>"}});
    };
    test::expectImported({
        {"a.xlsx",
         sheet("<x:row><x:c t='s'><x:v>1</x:v></x:c><c/><c t='s'><v>0</v></c></x:row>", shared),
         kText, R"("S\nin runs\tplain\na note\nT")"},
        {"a.xlsx",
         sheet("<row><c t='s'><v>2</v></c><c t='s'><v>-1</v></c><c t='e'><v>#N/A</v></c></row>"),
         kText, R"("S\na note\nT")"},
        {"a.xlsx",
         sheet("<row><c><v>1E3</v></c><c><v>x</v></c><c t='b'><v>0</v></c>"
               "<c t='inlineStr'><is><t>i &#x1F34E;</t></is></c><c t='str'><v>f</v></c></row>"),
         kText, R"("S\n1000\tx\tFALSE\ti 🍎\tf\na note\nT")"},
        {"a.xlsx", sheet("<row><c><v>7</v></c></row><row><c"), kText, R"("S\n7\na note\nT")"},
        {"a.xlsx", sheet(""), kItems, "2"},
        {"a.pptx", slide("<a:p><a:r><a:t>a</a:t></a:r><a:br/><a:fld><a:t>b</a:t></a:fld></a:p>"),
         kText, R"("a\nb")"},
        {"a.pptx", slide("<a:p><a:r><a:t>x</a:t></a:r"), kItems, "1"},
        {"a.ods",
         openDocument("spreadsheet",
                      "<office:spreadsheet><table:table table:name='N'><table:table-row>"
                      "<table:table-cell> <office:annotation><text:p>note</text:p>"
                      "</office:annotation><text:p>a<text:s/><text:span>b</text:span></text:p>"
                      "</table:table-cell><table:covered-table-cell/></table:table-row>"
                      "</table:table></office:spreadsheet>"),
         kText, R"("N\nnote\na b")"},
        {"a.odp",
         openDocument("presentation",
                      "<office:presentation><draw:page> <text:list> <text:list-item>"
                      "<text:p>out<text:p>in</text:p></text:p></text:list-item></text:list>"
                      "</draw:page><draw:page/></office:presentation>"),
         kText, R"("out\nin")"},
        {"a.odp", openDocument("presentation", "<office:presentation><draw:page/>"), kItems, "1"},
        {"a.odt", openDocument("text", "<office:text><text:p>whole</text:p></office:text>"), kText,
         R"("whole")"},
    });
}

TEST(DocumentImporter, GoesByWhatTheFileIs) {
    const std::string letter = contentOf(CORVY_EXAMPLES "/letter.docx");
    const std::string note = contentOf(CORVY_EXAMPLES "/note.rtf");
    test::expectImported({
        {"a.doc", note, u"kMDItemTitle", R"("A note for the miller")"},
        {"a.doc", letter, u"kMDItemNumberOfPages", "1"},
        {"a.rtf", "{\\rtf1 {\\*\\generator", kText, ""},
        {"a.docx", letter.substr(0, letter.size() / 2), u"kMDItemTitle", ""},
        {"a.xlsx", "PK\3\4"s, kItems, ""},
        {"a.xls", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"s, kItems, ""},
    });
}

}  // namespace
}  // namespace corvy
