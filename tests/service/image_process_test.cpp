// The conversion with its worker program in a process of its own.
#include <chrono>
#include <filesystem>

#include "foundation/text.h"
#include "platform/image_metadata.h"
#include "service/image_conversion.h"
#include "tests/support/temporary_folder.h"

namespace corvy {

namespace {

class ImageProcess : public testing::Test {
protected:
    std::u16string write(const std::string& name, std::string_view contents) {
        return fromUtf8(folder_.write(name, contents));
    }

    ImageConversionContext context() {
        return {.runWorker =
                    [this](const platform::WorkerRequest& request) {
                        platform::WorkerRequest limited = request;
                        limited.limits.cpuSeconds = limited.limits.wallSeconds = wallSeconds_;
                        return pool_.run(limited);
                    },
                .convertPdf =
                    [](const Bytes& pdf, const ImageConversionContext::PdfText&) {
                        return Dictionary{{u"PDF", Bytes::copyOf(pdf.chars().substr(0, 5))}};
                    }};
    }

    std::optional<Dictionary> convert(const std::u16string& path,
                                      const ImageRequest& request = {}) {
        return imageWithContentsOfFile(path, request, context());
    }

    test::TemporaryFolder folder_;
    platform::WorkerPool pool_{CORVY_BUILD_DIR};
    double wallSeconds_ = 20;
};

platform::PixelSize sizeOf(const Dictionary& result, platform::ImageFormat format) {
    const PropertyList* thumbnail = result.find(u"Thumbnail");
    if (!thumbnail) thumbnail = result.find(image_exchange::kPicture);
    return platform::imageMetadataOf(*thumbnail->bytes(), format).size.value();
}

constexpr std::string_view kPdf =
    "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
    "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
    "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 300 600]>>endobj\n"
    "trailer<</Root 1 0 R/Size 4>>\n";

std::string pnm(int width, int height) {
    return "P5 " + std::to_string(width) + " " + std::to_string(height) + " 255\n" +
           std::string(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 'x');
}

}  // namespace

TEST_F(ImageProcess, TakesBothRoutes) {
    const std::u16string picture = write("a.pgm", pnm(300, 1));
    const auto thumbnail = convert(picture, {.maxThumbnailSize = 30});
    ASSERT_TRUE(thumbnail);
    EXPECT_TRUE(thumbnail->contains(u"Properties"));
    EXPECT_EQ(sizeOf(*thumbnail, platform::ImageFormat::tiff), (platform::PixelSize{30, 1}));

    const auto image = convert(picture, {.maxThumbnailSize = 30, .stringFromPDF = true});
    ASSERT_TRUE(image);
    EXPECT_EQ(stringOf(*image, u"Size"), u"{300, 1}");
    EXPECT_EQ(stringOf(*image, u"PixelSize"), u"{300, 1}");
    EXPECT_EQ(*image->find(u"Alpha"), PropertyList(false));
    EXPECT_EQ(image->size(), 4U);
    EXPECT_EQ(sizeOf(*image, platform::ImageFormat::tiff), (platform::PixelSize{256, 1}));

    EXPECT_FALSE(convert(write("text.png", "no picture"), {.maxThumbnailSize = 30}));
    EXPECT_FALSE(convert(u"/no/such.png"));
    EXPECT_FALSE(convert(fromUtf8(folder_.path())));
}

TEST_F(ImageProcess, ReadsBundlesAndPostScript) {
    write("Doc.pdfd/Doc.pdf", kPdf);
    write("Doc.pdfd/Another.pdf", "no PDF");
    const std::u16string bundle = fromUtf8(folder_.path("Doc.pdfd"));
    const auto page = convert(bundle);
    ASSERT_TRUE(page);
    EXPECT_EQ(stringOf(*page, u"Size"), u"{300, 600}");
    EXPECT_EQ(sizeOf(*page, platform::ImageFormat::tiff), (platform::PixelSize{128, 256}));
    EXPECT_EQ(convert(bundle, {.stringFromPDF = true})->find(u"PDF")->bytes()->chars(), "%PDF-");
    EXPECT_EQ(PDFImageRepOfFile(bundle, context())->chars(), kPdf);

    const std::u16string eps =
        write("a.eps", "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 40 20\nshowpage\n");
    EXPECT_EQ(stringOf(*convert(eps, {.stringFromPDF = true}), u"Size"), u"{40, 20}");
    EXPECT_TRUE(PDFImageRepOfFile(eps, context())->chars().starts_with("%PDF-"));
    EXPECT_FALSE(PDFImageRepOfFile(write("b.pgm", pnm(3, 3)), context()));
    EXPECT_FALSE(PDFImageRepOfFile(write("c.pdf", "%PDF-1.4 nothing"), context()));
}

TEST_F(ImageProcess, EncodesPictures) {
    const auto thumbnail = convert(write("a.pgm", pnm(7, 5)), {.maxThumbnailSize = 9});
    const auto encoded = [&](const PropertyList& picture, const char16_t* type,
                             std::int64_t maxSize = 0) {
        platform::WorkerRequest request;
        request.family = image_exchange::kFamily;
        request.operation = image_exchange::kEncodePicture;
        request.arguments = {{image_exchange::kPicture, picture},
                             {image_exchange::kType, type},
                             {image_exchange::kMaxSize, maxSize}};
        return pool_.run(request);
    };
    struct Case {
        const char16_t* type;
        platform::ImageFormat format;
    };
    for (const Case& c :
         {Case{u"png", platform::ImageFormat::png}, Case{u"jpg", platform::ImageFormat::jpeg},
          Case{u"tiff", platform::ImageFormat::tiff}}) {
        const auto picture = encoded(*thumbnail->find(u"Thumbnail"), c.type);
        ASSERT_TRUE(picture) << toUtf8(c.type);
        EXPECT_EQ(sizeOf(*picture->dictionary(), c.format), (platform::PixelSize{7, 5}));
    }
    const auto smaller = encoded(*thumbnail->find(u"Thumbnail"), u"png", 4);
    EXPECT_EQ(sizeOf(*smaller->dictionary(), platform::ImageFormat::png),
              (platform::PixelSize{4, 3}));
    EXPECT_FALSE(encoded(*thumbnail->find(u"Thumbnail"), u"gif"));
    EXPECT_FALSE(encoded(Bytes::copyOf("text"), u"png"));
    EXPECT_FALSE(encoded(true, u"png"));
}

TEST_F(ImageProcess, OutlivesWhatIsMeantToHarmIt) {
    std::string elements =
        "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'>"
        "<defs><g id='a0'><circle r='9'/></g>";
    for (int i = 1; i < 20; ++i) {
        elements += "<g id='a" + std::to_string(i) + "'>";
        for (int k = 0; k < 10; ++k) elements += "<use href='#a" + std::to_string(i - 1) + "'/>";
        elements += "</g>";
    }
    elements += "</defs><use href='#a19'/></svg>";
    wallSeconds_ = 2;
    const auto start = std::chrono::steady_clock::now();
    convert(write("bomb.svg", elements));
    EXPECT_FALSE(convert(write("loop.ps", "%!PS\n{} loop\n")));
    EXPECT_FALSE(convert(write("wide.pgm", "P5 65536 1 255\n")));
    EXPECT_FALSE(convert(write("large.pgm", "P5 17000 17000 255\n")));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    wallSeconds_ = 20;
    EXPECT_TRUE(convert(write("good.pgm", pnm(3, 3)), {.maxThumbnailSize = 9}));
}

}  // namespace corvy
