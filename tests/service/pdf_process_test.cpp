// The conversion with its worker program in a process of its own.
#include <gtest/gtest.h>

#include "service/pdf_conversion.h"
#include "tests/support/pdf_builder.h"

namespace corvy {
namespace {

using test::PdfBuilder;
using test::reference;
using test::showText;

std::optional<Dictionary> convert(const std::string& pdf, const PdfConversionOptions& options,
                                  const platform::WorkerLimits& limits = {}) {
    static platform::WorkerPool pool(CORVY_BUILD_DIR);
    return attributedStringWithPDF(Bytes::copyOf(pdf), options,
                                   {[&limits](platform::WorkerRequest request) {
                                        request.limits = limits;
                                        return pool.run(request);
                                    },
                                    {}});
}

// A document whose third page runs a form ten times, which runs another ten times, and so on.
std::string endlessDocument(const std::string& innermost) {
    PdfBuilder builder;
    builder.add("<</Type/Catalog/Pages 2 0 R>>");
    builder.add("<</Type/Pages/MediaBox[0 0 300 800]/Count 3/Kids[4 0 R 6 0 R 8 0 R]>>");
    const std::string font = "/Font<</F1<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>>>";
    builder.addStream(showText("one"));
    builder.add("<</Type/Page/Parent 2 0 R/Contents 3 0 R/Resources<<" + font + ">>>>");
    builder.addStream(showText("two"));
    builder.add("<</Type/Page/Parent 2 0 R/Contents 5 0 R/Resources<<" + font + ">>>>");
    builder.addStream("/X Do");
    builder.add("<</Type/Page/Parent 2 0 R/Contents 7 0 R/Resources<</XObject<</X 9 0 R>>>>>>");
    for (int depth = 0; depth < 12; ++depth) {
        std::string content;
        for (int i = 0; i < 10; ++i) content += "/X Do ";
        const std::string next = reference(10 + depth);
        builder.addStream(content,
                          "/Type/XObject/Subtype/Form/BBox[0 0 300 800]"
                          "/Resources<</XObject<</X " +
                              next + ">>>>");
    }
    builder.addStream(innermost,
                      "/Type/XObject/Subtype/Form/BBox[0 0 300 800]/Resources<<" + font + ">>");
    builder.setInfo("/Title(Endless)");
    return builder.bytes();
}

TEST(PdfProcess, Converts) {
    const auto out = convert(test::pdfOf({{showText("text")}}, "/Title(T)"), {.size = true});
    EXPECT_EQ(out, (Dictionary{{u"String", u"text\n"},
                               {u"PageCount", std::int32_t{1}},
                               {u"Title", u"T"},
                               {u"Size", u"{595.276, 841.89}"},
                               {u"PixelSize", u"{595.276, 841.89}"},
                               {u"Alpha", false}}));
    const auto styled = convert(test::pdfOf({{showText("text")}}), {.attributed = true});
    ASSERT_TRUE(styled && styled->find(u"String") && styled->find(u"String")->bytes());
    EXPECT_TRUE(styled->find(u"String")->bytes()->chars().starts_with("rtfd"));
    EXPECT_FALSE(convert("no PDF", {}));
}

TEST(PdfProcess, PagesThatNeverEndLeaveTheTextBefore) {
    const Dictionary before{
        {u"String", u"one\ntwo\n"}, {u"PageCount", std::int32_t{3}}, {u"Title", u"Endless"}};
    const std::string hang = endlessDocument("");
    EXPECT_EQ(convert(hang, {}, {.wallSeconds = 1}), before);
    EXPECT_EQ(convert(hang, {}, {.cpuSeconds = 1}), before);
    // Each character that it shows takes memory.
    const std::string bomb = endlessDocument(showText(std::string(1000, 'x')));
    EXPECT_EQ(convert(bomb, {}, {.addressSpace = std::uint64_t{192} << 20}), before);

    EXPECT_EQ(convert(hang, {.attributed = true}, {.wallSeconds = 1}),
              (Dictionary{{u"PageCount", std::int32_t{3}}, {u"Title", u"Endless"}}));
}

}  // namespace
}  // namespace corvy
