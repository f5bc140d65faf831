#include <sys/wait.h>

#include <filesystem>
#include <fstream>

#include "platform/pdf_document.h"
#include "platform/post_script.h"
#include "platform/svg_image.h"
#include "tests/support/rasters.h"
#include "tests/support/temporary_folder.h"

namespace corvy::platform {

namespace {

using namespace test;

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

std::string svgOf(const std::string& attributes, const std::string& content) {
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' " +
           attributes + ">" + content + "</svg>";
}

// A page of 200 by 100 points, its upper left quarter red; `entries` are more of its dictionary.
std::string pdfOf(const std::string& entries) {
    return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
           "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 200 100]/Contents 4 0 R" +
           entries +
           ">>endobj\n4 0 obj<</Length 28>>stream\n1 0 0 rg 0 50 100 50 re f   \nendstream endobj\n"
           "trailer<</Root 1 0 R/Size 5>>\n";
}

std::optional<Bytes> converted(std::string_view postScript, double seconds = 20) {
    const TemporaryFolder folder;
    return pdfOfPostScript(bytesOf(postScript), {.folder = folder.path(), .wallSeconds = seconds});
}

}  // namespace

TEST(SvgImage, TellsItsSize) {
    struct Case {
        const char* attributes;
        Size size;
    };
    constexpr Case cases[] = {
        {"width='40' height='30'", {40, 30}},
        {"width='1in' height='0.5in'", {96, 48}},
        {"viewBox='0 0 70 20'", {70, 20}},
        {"width='100%' height='100%' viewBox='0 0 7 2'", {7, 2}},
        {"", {50, 20}},  // what is drawn
        {"width='1e9' height='1'", {50, 20}},
    };
    for (const Case& c : cases) {
        const std::string svg = svgOf(c.attributes, "<rect width='50' height='20' fill='#f00'/>");
        const auto image = SvgImage::open(bytesOf(svg));
        ASSERT_TRUE(image) << c.attributes;
        EXPECT_EQ(image->size(), c.size) << c.attributes;
    }
    EXPECT_FALSE(SvgImage::open(bytesOf("<html/>")));
    EXPECT_FALSE(SvgImage::open(bytesOf("")));
}

TEST(SvgImage, DrawsNothingFromOutside) {
    const TemporaryFolder folder;
    const std::string other = folder.path("other.svg");
    std::ofstream(other) << svgOf("width='9' height='9'",
                                  "<rect id='r' width='9' height='9' fill='#f00'/>");
    const std::string svg =
        svgOf("width='10' height='10'",
              "<image xlink:href='file://" + other + "' width='9' height='9'/><image xlink:href='" +
                  other + "' width='9' height='9'/><use xlink:href='file://" + other +
                  "#r'/><rect x='5' width='5' height='10' fill='#00f'/>");
    const auto image = SvgImage::open(bytesOf(svg));
    ASSERT_TRUE(image);
    const auto raster = image->drawn({20, 20});
    ASSERT_TRUE(raster);
    EXPECT_EQ(pixelAt(*raster, 2, 2), kClear);
    EXPECT_EQ(pixelAt(*raster, 15, 2), kBlue);
}

TEST(PdfDocument, DrawsPagesAsTheyAreSeen) {
    struct Case {
        const char* entries;
        Size size;
        PixelSize red;  // a pixel of the picture, at half of its size
    };
    constexpr Case cases[] = {
        {"", {200, 100}, {25, 12}},
        {"/Rotate 90", {100, 200}, {37, 25}},
        {"/CropBox[50 0 200 100]", {150, 100}, {10, 12}},
        {"/Rotate 180", {200, 100}, {75, 37}},
        {"/CropBox[0 0 195.276 100]", {195.276, 100}, {25, 12}},
    };
    for (const Case& c : cases) {
        const std::string pdf = pdfOf(c.entries);
        const auto document = PdfDocument::open(bytesOf(pdf));
        ASSERT_TRUE(document) << c.entries;
        ASSERT_EQ(document->pageSize(0), c.size) << c.entries;
        const PixelSize half{static_cast<std::uint32_t>(c.size.width / 2),
                             static_cast<std::uint32_t>(c.size.height / 2)};
        const auto raster = document->pictureOfPage(0, half);
        ASSERT_TRUE(raster) << c.entries;
        ASSERT_EQ(sizeOf(*raster), half);
        EXPECT_EQ(pixelAt(*raster, c.red.width, c.red.height), kRed) << c.entries;
        EXPECT_EQ(pixelAt(*raster, half.width - 1 - c.red.width, half.height - 1 - c.red.height),
                  kWhite)
            << c.entries;
        EXPECT_FALSE(document->pictureOfPage(1, half));
        EXPECT_FALSE(document->pictureOfPage(0, {70'000, 10}));
    }
}

TEST(PostScript, TellsItsBox) {
    struct Case {
        const char* text;
        std::optional<Size> size;
    };
    const Case cases[] = {
        {"%!PS\n%%BoundingBox: 10 20 110 70\n", Size{100, 50}},
        {"%!PS\r%%BoundingBox:0 0 9 9\r%%HiResBoundingBox: 0 0 8.5 8.25\r", Size{8.5, 8.25}},
        {"%!PS\n%%BoundingBox: (atend)\nx\n%%BoundingBox: 0 0 3 4\n", Size{3, 4}},
        {"%!PS\n%%BoundingBox: 0 0 0 9\n", std::nullopt},
        {"%!PS\n%%BoundingBox: 0 0 1e999 9\n", std::nullopt},
        {"%!PS\n(%%BoundingBox: 0 0 9 9)\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) EXPECT_EQ(boundingBoxSize(bytesOf(c.text)), c.size) << c.text;

    const std::string header("\xC5\xD0\xD3\xC6\x1E\0\0\0\4\0\0\0", 12);
    const std::string file = header + std::string(18, '\0') + "%!PSpreview";
    EXPECT_EQ(postScriptIn(bytesOf(file)).size(), 4U);
    EXPECT_TRUE(postScriptIn(bytesOf(file.substr(0, 33))).empty()) << "cut off";
}

TEST(PostScript, BecomesPdfOfItsBox) {
    const auto pdf = converted(
        "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 100 100 300 200\n"
        "1 0 0 setrgbcolor 100 150 100 50 rectfill showpage\n");
    ASSERT_TRUE(pdf);
    const auto document = PdfDocument::open(*pdf);
    ASSERT_TRUE(document);
    ASSERT_EQ(document->pageSize(0), (Size{200, 100}));
    EXPECT_EQ(pixelAt(*document->pictureOfPage(0, {100, 50}), 25, 12), kRed);
    EXPECT_FALSE(converted("%!PS\nthis is no operator\n"));
}

TEST(PostScript, CannotReachOtherFilesNorGoOnForEver) {
    const TemporaryFolder folder;
    const std::string made = folder.path("made");
    EXPECT_FALSE(converted("%!PS\n(" + made + ") (w) file showpage\n"));
    EXPECT_FALSE(std::filesystem::exists(made));
    const std::string there = folder.path("there");
    std::ofstream(there) << "secret";
    EXPECT_FALSE(converted("%!PS\n(" + there + ") (r) file showpage\n"));
    EXPECT_FALSE(converted("%!PS\n(%pipe%touch " + made + ") (w) file showpage\n"));

    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(converted("%!PS\n{} loop\n", 0.5));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
}

}  // namespace corvy::platform
