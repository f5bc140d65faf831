#include <gtest/gtest.h>

#include "tests/importers/imported.h"
#include "tests/importers/packed.h"

namespace corvy {
namespace {

using namespace std::literals;

// A document of one empty page, with entries in its information dictionary and a packet.
std::string pdf(const std::string& info, const std::string& packet) {
    return "%PDF-1.6\n1 0 obj<</Type/Catalog/Pages 2 0 R/Metadata 4 0 R>>endobj\n"
           "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 99 50.5]>>endobj\n"
           "4 0 obj<</Type/Metadata/Subtype/XML/Length " +
           std::to_string(packet.size()) + ">>stream\n" + packet + "\nendstream endobj\n5 0 obj<<" +
           info + ">>endobj\ntrailer<</Root 1 0 R/Info 5 0 R/Size 6>>\n";
}

TEST(PdfImporter, TellsTheDocument) {
    const test::Imported guide(CORVY_EXAMPLES "/guide.pdf");
    EXPECT_EQ(guide[u"kMDItemTitle"], R"("A short walk along the river")");
    EXPECT_EQ(guide[u"kMDItemKeywords"], R"(["river", "walk", "ferry"])");
    EXPECT_EQ(guide[u"kMDItemNumberOfPages"], "3");
    EXPECT_EQ(guide[u"kMDItemPageHeight"], "841.89");
    EXPECT_EQ(guide[u"kMDItemVersion"], R"("1.4")");
    EXPECT_EQ(guide[u"kMDItemSecurityMethod"], R"("None")");
    EXPECT_EQ(guide[u"kMDItemContentCreationDate"], "1709206496");
    // A line feed ends every page.
    EXPECT_TRUE(guide.text().ends_with("four and a half miles.\n\n3\n")) << guide.text();

    const test::Imported locked(CORVY_EXAMPLES "/locked.pdf");
    EXPECT_EQ(locked[u"kMDItemSecurityMethod"], R"("Password Encrypted")");
    EXPECT_EQ(locked[u"kMDItemNumberOfPages"], "3");
    EXPECT_EQ(locked[u"kMDItemTitle"], "");
    EXPECT_EQ(locked.text(), "");
}

TEST(PdfImporter, CompletesTheDictionaryFromThePacket) {
    const std::string document =
        pdf("/Title(  )/Author(A; B)/Subject(S)",
            "<rdf:RDF><rdf:Description dc:title='T' dc:description='no' "
            "xmp:CreateDate='2024-03-05T08:12:45Z'><dc:creator><rdf:Seq><rdf:li>C; D</rdf:li>"
            "<rdf:li>E</rdf:li></rdf:Seq></dc:creator></rdf:Description></rdf:RDF>");
    test::expectImported({
        {"a.pdf", document, u"kMDItemTitle", R"("T")"},
        {"a.pdf", document, u"kMDItemSubject", R"("S")"},
        {"a.pdf", document, u"kMDItemAuthors", R"(["C; D", "E"])"},
        {"a.pdf", document, u"kMDItemContentCreationDate", "1709626365"},
        {"a.pdf", document, u"kMDItemPageHeight", "50.5"},
        {"a.pdf", pdf("/Author(A; B)", "<none"), u"kMDItemAuthors", R"(["A", "B"])"},
        {"a.pdf", document, u"kMDItemTextContent", ""},
        {"a.pdf", "%PDF-1.4", u"kMDItemVersion", ""},
    });
}

}  // namespace
}  // namespace corvy
