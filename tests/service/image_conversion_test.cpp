#include "service/image_conversion.h"

#include <fstream>

#include "foundation/text.h"
#include "tests/support/processes.h"

namespace corvy {

namespace {

// Workers and a PDF conversion that answer as told, and note what they were asked.
struct FakeHelpers {
    std::map<std::string, std::optional<PropertyList>> answers;
    std::vector<std::string> asked;
    std::string pdf;
    std::optional<ImageConversionContext::PdfText> pdfText;

    ImageConversionContext context() {
        return {
            .runWorker =
                [this](const platform::WorkerRequest& request) -> std::optional<PropertyList> {
                asked.push_back(request.operation);
                return answers[request.operation];
            },
            .convertPdf = [this](const Bytes& bytes, const ImageConversionContext::PdfText& options)
                -> std::optional<Dictionary> {
                pdf = bytes.chars();
                pdfText = options;
                return Dictionary{{u"String", u"text"}, {u"Alpha", u"of the PDF"}};
            }};
    }
};

const Dictionary kImageAnswer{{u"Size", u"{1, 2}"},
                              {u"PixelSize", u"{3, 4}"},
                              {u"Alpha", true},
                              {u"Thumbnail", Bytes::copyOf("tiff")}};

Dictionary imageAnswerWith(std::initializer_list<Dictionary::Entry> entries) {
    Dictionary answer = kImageAnswer;
    answer.addEntries(Dictionary(entries));
    return answer;
}

using Asked = std::vector<std::string>;

}  // namespace

TEST(ImageConversion, AnswersByTheThumbnailFirst) {
    const PropertyList tiff = Bytes::copyOf("tiff");
    const PropertyList properties = Dictionary{{u"PixelWidth", 5}};
    struct Case {
        const char* name;
        std::optional<PropertyList> thumbnail, image;
        bool stringFromPDF;
        std::optional<Dictionary> result;
        Asked asked;
    };
    const Case cases[] = {
        {"both",
         Dictionary{{u"Properties", properties}, {u"Thumbnail", tiff}},
         std::nullopt,
         false,
         Dictionary{{u"Properties", properties}, {u"Thumbnail", tiff}},
         {"thumbnail"}},
        {"without properties",
         Dictionary{{u"Thumbnail", tiff}},
         kImageAnswer,
         false,
         Dictionary(),
         {"thumbnail"}},
        {"no thumbnail", std::nullopt, kImageAnswer, false, kImageAnswer, {"thumbnail", "image"}},
        {"nothing", std::nullopt, std::nullopt, false, std::nullopt, {"thumbnail", "image"}},
        {"odd answer",
         PropertyList(true),
         PropertyList(1),
         false,
         std::nullopt,
         {"thumbnail", "image"}},
        {"text wanted",
         Dictionary{{u"Thumbnail", tiff}},
         kImageAnswer,
         true,
         kImageAnswer,
         {"image"}},
    };
    for (const Case& c : cases) {
        FakeHelpers helpers;
        helpers.answers = {{"thumbnail", c.thumbnail}, {"image", c.image}};
        EXPECT_EQ(imageWithContentsOfFile(u"/no/file.png", {.stringFromPDF = c.stringFromPDF},
                                          helpers.context()),
                  c.result)
            << c.name;
        EXPECT_EQ(helpers.asked, c.asked) << c.name;
        EXPECT_FALSE(helpers.pdfText) << c.name;
    }
}

TEST(ImageConversion, AddsTheTextOfPdfs) {
    const PropertyList pdf = Bytes::copyOf("%PDF");
    struct Case {
        Dictionary answer;
        bool canUseSpotlight;
        bool passesFile;
    };
    const Case cases[] = {
        {imageAnswerWith({{u"PDF", pdf}}), false, false},
        {imageAnswerWith({{u"PDF", pdf}}), true, true},
        {imageAnswerWith({{u"PDF", pdf}, {u"IsConverted", true}}), true, false},
    };
    for (const Case& c : cases) {
        FakeHelpers helpers;
        helpers.answers = {{"image", c.answer}};
        const auto result = imageWithContentsOfFile(
            u"/a.pdf", {.stringFromPDF = true, .canUseSpotlight = c.canUseSpotlight},
            helpers.context());
        // What the PDF says comes last.
        EXPECT_EQ(result, imageAnswerWith({{u"Alpha", u"of the PDF"}, {u"String", u"text"}}));
        ASSERT_TRUE(helpers.pdfText);
        EXPECT_EQ(helpers.pdf, "%PDF");
        EXPECT_FALSE(helpers.pdfText->size);
        EXPECT_EQ(helpers.pdfText->file,
                  c.passesFile ? std::optional<std::u16string>(u"/a.pdf") : std::nullopt);
    }
}

TEST(ImageConversion, FallsBackOnTheTextOfPdfsAlone) {
    const test::TemporaryFolder folder;
    const auto write = [&folder](const char* name) {
        std::ofstream(folder.file(name)) << "%PDF locked";
        return fromUtf8(folder.file(name));
    };
    struct Case {
        std::u16string path;
        bool stringFromPDF, canUseSpotlight, converts;
    };
    const Case cases[] = {
        {write("a.PDF"), true, false, true},  {write("b.pdf"), true, true, true},
        {write("c.pdf"), false, true, false}, {write("d.ai"), true, true, false},
        {write("e.png"), true, true, false},  {u"/no/such.pdf", true, true, false},
    };
    for (const Case& c : cases) {
        FakeHelpers helpers;
        const auto result = imageWithContentsOfFile(
            c.path, {.stringFromPDF = c.stringFromPDF, .canUseSpotlight = c.canUseSpotlight},
            helpers.context());
        EXPECT_EQ(result.has_value(), c.converts) << toUtf8(c.path);
        ASSERT_EQ(helpers.pdfText.has_value(), c.converts) << toUtf8(c.path);
        if (!c.converts) continue;
        EXPECT_EQ(helpers.pdf, "%PDF locked");
        EXPECT_TRUE(helpers.pdfText->size);
        EXPECT_EQ(helpers.pdfText->file.has_value(), c.canUseSpotlight);
    }
}

TEST(ImageConversion, HandsThePdfOver) {
    FakeHelpers helpers;
    EXPECT_FALSE(PDFImageRepOfFile(u"/a.png", helpers.context()));
    helpers.answers = {{"pdfOfFile", Dictionary{{u"PDF", Bytes::copyOf("%PDF")}}}};
    EXPECT_EQ(PDFImageRepOfFile(u"/a.eps", helpers.context())->chars(), "%PDF");
}

}  // namespace corvy
