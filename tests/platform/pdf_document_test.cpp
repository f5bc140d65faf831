#include "platform/pdf_document.h"

#include <GlobalParams.h>
#include <PDFDoc.h>
#include <TextOutputDev.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <chrono>

#include "foundation/text.h"
#include "tests/support/pdf_builder.h"

namespace corvy::platform {
namespace {

using test::bytesOf;
using test::PdfBuilder;
using test::pdfOf;
using test::PdfPage;
using test::reference;
using test::showText;

std::vector<std::u16string> textsOf(const std::string& pdf) {
    auto document = PdfDocument::open(bytesOf(pdf));
    std::vector<std::u16string> texts;
    for (std::size_t i = 0; document && i < document->pageCount(); ++i) {
        texts.push_back(document->textOfPage(i));
    }
    return texts;
}

// What Poppler gives for each page by itself, white space at the end left out.
std::vector<std::u16string> stockTextsOf(const std::string& pdf) {
    preparePdfLibrary();
    PDFDoc document(
        new MemStream(pdf.data(), 0, static_cast<Goffset>(pdf.size()), Object(objNull)));
    std::vector<std::u16string> texts;
    for (int page = 1; document.isOk() && page <= document.getNumPages(); ++page) {
        std::string text;
        TextOutputDev device(
            [](void* to, const char* chars, int length) {
                static_cast<std::string*>(to)->append(chars, static_cast<std::size_t>(length));
            },
            &text, false, 0, false);
        document.displayPage(&device, page, 72, 72, 0, true, false, false);
        text.erase(text.find_last_not_of(" \t\n\v\f\r") + 1);
        texts.push_back(fromUtf8(text));
    }
    return texts;
}

std::string deflated(const std::string& bytes) {
    std::string out(bytes.size() + 100, '\0');
    uLongf size = out.size();
    compress(reinterpret_cast<Bytef*>(out.data()), &size,
             reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
    return out.substr(0, size);
}

TEST(PdfDocument, ReadsTextAndBoxes) {
    const std::string pdf = pdfOf({{showText("First")},
                                   {"", "", "/MediaBox[10 20 310.5 420]/Rotate 90"},
                                   {showText("Third") + " BT /F1 12 Tf 72 600 Td (line) Tj ET"}});
    auto document = PdfDocument::open(bytesOf(pdf));
    ASSERT_TRUE(document);
    EXPECT_FALSE(document->isLocked());
    ASSERT_EQ(document->pageCount(), 3U);
    EXPECT_EQ(document->mediaBoxSize(0), (Size{595.276, 841.89}));
    EXPECT_EQ(document->mediaBoxSize(1), (Size{300.5, 400}));
    EXPECT_EQ(document->textOfPage(2), u"Third\n\nline");
    EXPECT_EQ(document->textOfPage(0), u"First");
    EXPECT_EQ(document->textOfPage(1), u"");
    EXPECT_EQ(document->documentAttributes(), std::nullopt);
}

TEST(PdfDocument, ReadsCharactersThroughTheirMap) {
    PdfBuilder builder;
    builder.add("<</Type/Catalog/Pages 2 0 R>>");
    builder.add("<</Type/Pages/MediaBox[0 0 300 300]/Count 1/Kids[3 0 R]>>");
    builder.add("<</Type/Page/Parent 2 0 R/Contents 4 0 R/Resources<</Font<</F1 5 0 R>>>>>>");
    builder.addStream("BT /F1 12 Tf 20 200 Td (abcd) Tj ET");
    builder.add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica/ToUnicode 6 0 R>>");
    builder.addStream(
        "1 begincodespacerange <00> <ff> endcodespacerange 4 beginbfchar <61> <D83DDE00> "
        "<62> <00650301> <63> <F8FF> <64> <4E2D> endbfchar");
    EXPECT_EQ(textsOf(builder.bytes()), std::vector<std::u16string>{u"\xD83D\xDE00"
                                                                    u"e\x0301\xF8FF\x4E2D"});
}

TEST(PdfDocument, GivesEveryAttribute) {
    const std::string pdf =
        pdfOf({{""}},
              "/Title<FEFF0045006E00640065>/Author(M\\374ller)/Subject()/Trapped/True/Pages 12"
              "/Scale 1.5/Draft true/CreationDate(D:20240229123456+01'00')/ModDate(yesterday)"
              "/AAPL#3AKeywords[(a)(b)[(c)]]/Parent 2 0 R/Gone null/Long(D:2024)");
    const auto document = PdfDocument::open(bytesOf(pdf));
    ASSERT_TRUE(document);
    EXPECT_EQ(document->documentAttributes(), (Dictionary{{u"Title", u"Ende"},
                                                          {u"Author", u"M\x00FCller"},
                                                          {u"Subject", u""},
                                                          {u"Trapped", u"True"},
                                                          {u"Pages", std::int32_t{12}},
                                                          {u"Scale", 1.5},
                                                          {u"Draft", true},
                                                          {u"CreationDate", Date{1709206496}},
                                                          {u"ModDate", u"yesterday"},
                                                          {u"AAPL:Keywords", Array{u"a", u"b"}},
                                                          {u"Long", u"D:2024"}}));
}

TEST(PdfDocument, LockedDocumentsTellWhatTheyCan) {
    PdfBuilder builder("secret");
    const std::string locked =
        pdfOf({{showText("hidden")}, {""}}, "/Title<0102>/Trapped/False", builder);
    auto document = PdfDocument::open(bytesOf(locked));
    ASSERT_TRUE(document);
    EXPECT_TRUE(document->isLocked());
    EXPECT_EQ(document->pageCount(), 2U);
    EXPECT_EQ(document->mediaBoxSize(0), (Size{595.276, 841.89}));
    EXPECT_EQ(document->documentAttributes(), (Dictionary{{u"Trapped", u"False"}}));
    EXPECT_EQ(document->textOfPage(0), u"");
    EXPECT_TRUE(document->attributedText().empty());

    // Only the owner has a password: everybody may read.
    PdfBuilder open("");
    open.add("<</Type/Catalog/Pages 2 0 R>>");
    open.add("<</Type/Pages/MediaBox[0 0 300 300]/Count 1/Kids[3 0 R]>>");
    open.add("<</Type/Page/Parent 2 0 R/Contents 4 0 R/Resources<</Font<</F1 5 0 R>>>>>>");
    open.addStream(showText("x") + " BT /F1 12 Tf 20 200 Td (shown) Tj ET");
    open.add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
    open.setInfo("/Title" + open.string(6, "Open"));
    const std::string everybody = open.bytes();
    auto readable = PdfDocument::open(bytesOf(everybody));
    ASSERT_TRUE(readable);
    EXPECT_FALSE(readable->isLocked());
    EXPECT_EQ(readable->textOfPage(0), u"shown");
    EXPECT_EQ(readable->documentAttributes(), (Dictionary{{u"Title", u"Open"}}));
}

// Documents whose pages must not learn of each other, however they share their fonts.
TEST(PdfDocument, PagesReadTogetherGiveWhatTheyGiveAlone) {
    PdfBuilder builder;
    builder.add("<</Type/Catalog/Pages 2 0 R/OCProperties<</OCGs[9 0 R]/D<</OFF[9 0 R]>>>>>>");
    builder.reserve();
    const auto map = [&builder](const std::string& unicode) {
        const int stream = builder.addStream(
            "1 begincodespacerange <00> <ff> endcodespacerange 1 beginbfchar <61> <" + unicode +
            "> endbfchar");
        return builder.add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica/ToUnicode " +
                           reference(stream) + ">>");
    };
    const int x = map("0058");
    const int y = map("0059");
    const int z = map("005A");
    ASSERT_EQ(builder.add("<</Type/OCG/Name(hidden)>>"), 9);
    const auto fonts = [](const std::string& names) { return "<</Font<<" + names + ">>>>"; };
    const std::string f1x = fonts("/F1 " + reference(x));
    const std::string both = fonts("/F1 " + reference(x) + "/F2 " + reference(y));
    const std::string clash = fonts("/F1 " + reference(y) + "/F2 " + reference(x));
    const std::string inlineFont = fonts("/F1<</Type/Font/Subtype/Type1/BaseFont/Courier>>");
    const std::string hidden = "<</Font<</F1 " + reference(x) + ">>/Properties<</H 9 0 R>>>>";
    const int form = builder.addStream(
        showText("a", "F9"),
        "/Type/XObject/Subtype/Form/BBox[0 0 600 800]/Resources" + fonts("/F9 " + reference(z)));
    const std::string withForm =
        "<</Font<</F2 " + reference(y) + ">>/XObject<</X " + reference(form) + ">>>>";

    const std::string deflate = "/Filter/FlateDecode";
    std::string cutShort = deflated(showText("a22"));
    cutShort.resize(cutShort.size() - 4);  // the check sum
    std::string damaged = deflated(showText("a23"));
    damaged.back() ^= 1;  // its check sum
    std::string rows;     // of four bytes, each as it is
    for (const char c : showText("a24") + "  ") {
        if (rows.size() % 5 == 0) rows += '\0';
        rows += c;
    }

    const std::pair<PdfPage, const char16_t*> pages[] = {
        {{showText("a1"), f1x}, u"X1"},
        {{showText("a2", "F2"), both}, u"Y2"},
        {{showText("a3"), both}, u"X3"},
        {{showText("a4"), clash}, u"Y4"},
        {{showText("a5", "F2"), clash}, u"X5"},
        {{showText("a6"), inlineFont}, u"a6"},
        {{showText("a7"), f1x, "/MediaBox[0 0 200 720]"}, u"X7"},
        {{showText("a8"), f1x, "/Rotate 90"}, u"X8"},
        {{showText("a9"), f1x}, u"X9"},
        // Text that begins nowhere begins at the corner of the page.
        {{"/F1 12 Tf (a) Tj BT 9 0 Td (9) Tj ET", f1x}, u"X9"},
        {{"q q BT /F1 12 Tf 3 0 0 3 50 50 Tm (a10) Tj", f1x}, u"X10"},  // leaves all open
        {{"BT /F1 12 Tf 10 400 Td (a11) Tj ET", f1x}, u"X11"},
        {{showText("a12") + " /OC /H BDC " + showText("gone"), hidden}, u"X12"},  // no EMC
        {{showText("a13"), f1x}, u"X13"},
        {{showText("a14") + " /Span<</ActualText(lost)>>BDC " + showText("gone"), f1x}, u"X14"},
        {{showText("a15"), f1x}, u"X15"},
        {{"EMC EMC " + showText("a16"), f1x}, u"X16"},
        {{"Q " + showText("gone"), f1x}, u""},  // the library gives the page up here
        {{"/X Do BT /F2 12 Tf 72 600 Td (a17) Tj ET", withForm}, u"Z\n\nY17"},
        {{"", f1x}, u""},
        {{"(broken", f1x}, u""},
        {{showText("a18") + " W", f1x}, u"X18"},
        {{"0 0 m 10 10 l S " + showText("a19", "F2"), withForm}, u"Y19"},
        {{deflated(showText("a20")), f1x, "", deflate}, u"X20"},
        {{deflated(showText("a21")) + "more", f1x, "", deflate}, u"X21"},
        {{cutShort, f1x, "", deflate}, u"X22"},
        {{damaged, f1x, "", deflate}, u"X23"},
        {{deflated(rows), f1x, "", deflate + "/DecodeParms<</Predictor 12/Columns 4>>"}, u"X24"},
        {{deflated(deflated(showText("a25"))), f1x, "", "/Filter[/FlateDecode/FlateDecode]"},
         u"X25"},
    };
    std::string kids;
    std::vector<std::u16string> expected;
    for (const auto& [page, text] : pages) {
        const int content = builder.addStream(page.content, page.streamEntries);
        kids += reference(builder.add("<</Type/Page/Parent 2 0 R/Contents " + reference(content) +
                                      "/Resources" + page.resources + page.entries + ">>")) +
                " ";
        expected.emplace_back(text);
    }
    builder.set(2, "<</Type/Pages/MediaBox[0 0 600 800]/Count " + std::to_string(std::size(pages)) +
                       "/Kids[" + kids + "]>>");
    const std::string pdf = builder.bytes();
    EXPECT_EQ(textsOf(pdf), stockTextsOf(pdf));
    EXPECT_EQ(textsOf(pdf), expected);

    // In another order, too.
    auto document = PdfDocument::open(bytesOf(pdf));
    for (const std::size_t i : {8U, 2U, 1U, 3U, 4U, 0U, 22U}) {
        EXPECT_EQ(document->textOfPage(i), expected[i]) << i;
    }
}

TEST(PdfDocument, KeepsStylesInAttributedText) {
    PdfBuilder builder;
    builder.add("<</Type/Catalog/Pages 2 0 R>>");
    builder.add("<</Type/Pages/MediaBox[0 0 300 300]/Count 2/Kids[3 0 R 4 0 R]>>");
    builder.add(
        "<</Type/Page/Parent 2 0 R/Contents 5 0 R/Resources<</Font<</A 6 0 R/B 7 0 R>>>>>>");
    builder.add("<</Type/Page/Parent 2 0 R/Resources<<>>>>");
    builder.addStream(
        "/P BMC BT /A 12 Tf 20 200 Td (One ) Tj /B 12 Tf 1 0 0 rg (two) Tj ET "
        "BT /A 24 Tf 20 100 Td (three) Tj ET");
    builder.add("<</Type/Font/Subtype/Type1/BaseFont/ABCDEF+Times-BoldItalic>>");
    builder.add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
    const std::string pdf = builder.bytes();
    auto document = PdfDocument::open(bytesOf(pdf));
    ASSERT_TRUE(document);
    const AttributedText text = document->attributedText();
    EXPECT_EQ(text.string(), u"One two\n\nthree\n");
    const TextStyle first{.font = u"Times-BoldItalic", .bold = true, .italic = true};
    const TextStyle second{.color = RgbColor{255, 0, 0}};
    const TextStyle third{.font = u"Times-BoldItalic",
                          .size = 24,
                          .bold = true,
                          .italic = true,
                          .color = RgbColor{255, 0, 0}};
    AttributedText expected;
    expected.append(u"One ", first);
    expected.append(u"two\n\n", second);
    expected.append(u"three\n", third);
    EXPECT_EQ(text, expected);
}

TEST(PdfDocument, BadInputGivesNoneOrNoText) {
    const std::string good = pdfOf({{showText("kept")}});
    EXPECT_FALSE(PdfDocument::open({}));
    EXPECT_FALSE(PdfDocument::open(bytesOf("no document at all")));
    EXPECT_FALSE(PdfDocument::open(bytesOf("%PDF-1.4\n1 0 obj")));
    EXPECT_FALSE(PdfDocument::open(bytesOf(std::string(1 << 20, 'o'))));
    for (std::size_t length = 0; length < good.size(); length += 13) {
        const std::string cut = good.substr(0, length);
        if (auto document = PdfDocument::open(bytesOf(cut))) {
            for (std::size_t i = 0; i < document->pageCount(); ++i) document->textOfPage(i);
            static_cast<void>(document->documentAttributes());
        }
    }
    EXPECT_EQ(textsOf(pdfOf({})), std::vector<std::u16string>{});
    const std::string empty = pdfOf({});
    EXPECT_EQ(PdfDocument::open(bytesOf(empty))->mediaBoxSize(0), std::nullopt);

    PdfBuilder lost;
    lost.add("<</Type/Catalog/Pages 2 0 R>>");
    lost.add("<</Type/Pages/MediaBox[0 0 300 300]/Count 1/Kids[3 0 R]>>");
    lost.add("<</Type/Page/Parent 2 0 R/Contents 4 0 R/Resources<</Font<</F1 5 0 R>>>>>>");
    lost.addStream("BT /F1 12 Tf 20 200 Td (found) Tj ET");
    lost.add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
    EXPECT_EQ(textsOf(lost.bytes(false)), std::vector<std::u16string>{u"found"});
}

TEST(PdfDocument, DamagedPageTreesEnd) {
    struct Case {
        const char* name;
        const char* pages;
        const char* kid;
    };
    const Case cases[] = {
        {"a tree that holds itself", "<</Type/Pages/Count 3/Kids[2 0 R 3 0 R]>>",
         "<</Type/Page/Parent 2 0 R>>"},
        {"a loop of two", "<</Type/Pages/Count 3/Kids[3 0 R]>>",
         "<</Type/Pages/Count 3/Parent 2 0 R/Kids[2 0 R]>>"},
        {"a page in place of a reference", "<</Type/Pages/Count 1/Kids[<</Type/Page>>]>>", "null"},
        {"more pages than there are", "<</Type/Pages/Count 2000000000/Kids[3 0 R]>>",
         "<</Type/Page/Parent 2 0 R>>"},
        {"fewer than none", "<</Type/Pages/Count -5/Kids[3 0 R]>>", "<</Type/Page/Parent 2 0 R>>"},
        {"a parent that is its own", "<</Type/Pages/Count 1/Kids[3 0 R]/Parent 2 0 R>>",
         "<</Type/Page/Parent 3 0 R>>"},
    };
    for (const Case& c : cases) {
        for (const bool locked : {false, true}) {
            PdfBuilder builder(locked ? std::optional<std::string>("pw") : std::nullopt);
            builder.add("<</Type/Catalog/Pages 2 0 R>>");
            builder.add(c.pages);
            builder.add(c.kid);
            const std::string pdf = builder.bytes();
            auto document = PdfDocument::open(bytesOf(pdf));
            if (!document) continue;
            EXPECT_LE(document->pageCount(), 3U) << c.name;
            static_cast<void>(document->mediaBoxSize(0));
            for (std::size_t i = 0; i < document->pageCount(); ++i) {
                EXPECT_EQ(document->textOfPage(i), u"") << c.name;
            }
        }
    }
}

TEST(PdfDocument, TenThousandPages) {
    std::vector<PdfPage> pages(10000);
    for (std::size_t i = 0; i < pages.size(); ++i) pages[i].content = showText(std::to_string(i));
    const std::string pdf = pdfOf(pages);
    const auto start = std::chrono::steady_clock::now();
    const std::vector<std::u16string> texts = textsOf(pdf);
    ASSERT_EQ(texts.size(), 10000U);
    EXPECT_EQ(texts[0], u"0");
    EXPECT_EQ(texts[255], u"255");
    EXPECT_EQ(texts[256], u"256");
    EXPECT_EQ(texts[9999], u"9999");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace corvy::platform
