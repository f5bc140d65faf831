#include "platform/image_source.h"

#include "foundation/text.h"
#include "platform/codec_image.h"
#include "platform/image_encoder.h"
#include "platform/vips_image.h"
#include "platform/vips_support.h"
#include "tests/support/rasters.h"

namespace corvy::platform {

namespace {

using namespace test;

class Libraries : public testing::Environment {
    void SetUp() override {
        prepareVips();
        prepareCodecs();
    }
};
const auto* const kLibraries = testing::AddGlobalTestEnvironment(new Libraries);

std::string jpegOf(const Raster& raster) {
    return std::string(
        encodedPicture(raster, {.type = BitmapFileType::jpeg, .compressionFactor = 0.9F})->chars());
}

std::string bigEndian(std::uint64_t value, int bytes) {
    std::string out;
    for (int i = bytes; i-- > 0;) out += static_cast<char>(value >> 8 * i & 0xFF);
    return out;
}

std::string field(unsigned tag, unsigned type, std::uint64_t value) {
    // A number of 16 bits stands in the upper half.
    return bigEndian(tag, 2) + bigEndian(type, 2) + bigEndian(1, 4) +
           (type == 3 ? bigEndian(value, 2) + bigEndian(0, 2) : bigEndian(value, 4));
}

// The JPEG with an Exif block: an orientation, and a thumbnail unless that is empty.
std::string withExif(const std::string& jpeg, int orientation, const std::string& thumbnail) {
    constexpr std::size_t kFirst = 8;
    constexpr std::size_t kSecond = kFirst + 2 + 12 + 4;
    constexpr std::size_t kThumbnail = kSecond + 2 + 2 * 12 + 4;
    std::string tiff = std::string("MM\0\x2A", 4) + bigEndian(kFirst, 4);
    tiff += bigEndian(1, 2) + field(0x112, 3, static_cast<std::uint64_t>(orientation)) +
            bigEndian(thumbnail.empty() ? 0 : kSecond, 4);
    if (!thumbnail.empty()) {
        tiff += bigEndian(2, 2) + field(0x201, 4, kThumbnail) + field(0x202, 4, thumbnail.size()) +
                bigEndian(0, 4) + thumbnail;
    }
    const std::string block = std::string("Exif\0\0", 6) + tiff;
    return jpeg.substr(0, 2) + "\xFF\xE1" + bigEndian(block.size() + 2, 2) + block + jpeg.substr(2);
}

std::optional<ImageSource> sourceOf(std::string_view bytes, std::u16string_view extension = {}) {
    return ImageSource::create(Bytes::copyOf(bytes), extension);
}

}  // namespace

TEST(RasterOperations, TurnAsExifNumbersThem) {
    // A corner of three pixels: red with green to its right and blue below it.
    Raster corner = rasterOf({3, 2}, kBlack);
    const auto set = [&corner](std::size_t x, std::size_t y, Colour colour) {
        for (std::size_t i = 0; i < 4; ++i) {
            corner.rgba[4 * (y * corner.width + x) + i] = std::byte{colour[i]};
        }
    };
    set(0, 0, kRed);
    set(1, 0, kGreen);
    set(0, 1, kBlue);
    struct Case {
        int orientation;
        PixelSize size, red, green, blue;
    };
    constexpr Case cases[] = {
        {1, {3, 2}, {0, 0}, {1, 0}, {0, 1}}, {2, {3, 2}, {2, 0}, {1, 0}, {2, 1}},
        {3, {3, 2}, {2, 1}, {1, 1}, {2, 0}}, {4, {3, 2}, {0, 1}, {1, 1}, {0, 0}},
        {5, {2, 3}, {0, 0}, {0, 1}, {1, 0}}, {6, {2, 3}, {1, 0}, {1, 1}, {0, 0}},
        {7, {2, 3}, {1, 2}, {1, 1}, {0, 2}}, {8, {2, 3}, {0, 2}, {0, 1}, {1, 2}},
        {0, {3, 2}, {0, 0}, {1, 0}, {0, 1}}, {9, {3, 2}, {0, 0}, {1, 0}, {0, 1}},
    };
    for (const Case& c : cases) {
        const Raster out = turned(corner, c.orientation);
        ASSERT_EQ(sizeOf(out), c.size) << c.orientation;
        EXPECT_EQ(pixelAt(out, c.red.width, c.red.height), kRed) << c.orientation;
        EXPECT_EQ(pixelAt(out, c.green.width, c.green.height), kGreen) << c.orientation;
        EXPECT_EQ(pixelAt(out, c.blue.width, c.blue.height), kBlue) << c.orientation;
    }
}

TEST(RasterOperations, LayPicturesOverColours) {
    struct Case {
        Colour picture, background, result;
        bool hasAlpha;
    };
    constexpr Case cases[] = {
        {kClear, kWhite, kWhite, false},
        {{255, 0, 0, 128}, kWhite, {255, 127, 127, 255}, false},
        {{255, 0, 0, 128}, kClear, {255, 0, 0, 128}, true},
        {{255, 0, 0, 128}, {0, 0, 255, 128}, {170, 0, 85, 192}, true},
    };
    for (const Case& c : cases) {
        Raster raster = rasterOf({1, 1}, c.picture);
        drawOver(raster, c.background);
        EXPECT_TRUE(isNear(pixelAt(raster, 0, 0), c.result, 1))
            << colourText(pixelAt(raster, 0, 0)) << "instead of " << colourText(c.result);
        EXPECT_EQ(raster.hasAlpha, c.hasAlpha);
    }
}

TEST(PictureDecoding, FitsIntoBoxes) {
    struct Case {
        DecodeTarget target;
        PixelSize stored, size;
    };
    const Case cases[] = {
        {{}, {6000, 4000}, {6000, 4000}},
        {{PixelSize{256, 256}}, {6000, 4000}, {256, 171}},
        {{PixelSize{256, 256}}, {100, 200}, {100, 200}},
        {{PixelSize{256, 256}}, {60000, 3}, {256, 1}},
        {{PixelSize{10, 300}, true}, {100, 200}, {10, 300}},
    };
    for (const Case& c : cases) EXPECT_EQ(sizeFor(c.target, c.stored), c.size) << c.stored.width;
}

TEST(ImageEncoder, GivesBackWhatItWasGiven) {
    using Type = BitmapFileType;
    struct Case {
        Type type;
        ImageFormat format;
        Colour clear;  // what becomes of clear pixels
        int most;      // difference
    };
    constexpr Case cases[] = {
        {Type::tiff, ImageFormat::tiff, kClear, 0},
        {Type::bmp, ImageFormat::bmp, kClear, 0},
        {Type::gif, ImageFormat::gif, kClear, 0},
        {Type::jpeg, ImageFormat::jpeg, kWhite, 3},
        {Type::png, ImageFormat::png, kClear, 0},
        {Type::jpeg2000, ImageFormat::jpeg2000, kClear, 0},
    };
    // Rows of 13 pixels of 3 bytes need padding.
    for (const Colour right : {kBlue, kClear}) {
        const Raster raster = halves({13, 5}, kRed, right);
        for (const Case& c : cases) {
            const auto bytes = encodedPicture(raster, {.type = c.type, .compressionFactor = 1});
            ASSERT_TRUE(bytes) << int(c.type);
            const auto source = ImageSource::create(*bytes, u"");
            ASSERT_TRUE(source) << int(c.type);
            EXPECT_EQ(source->format(), c.format);
            const auto out = source->picture(0);
            ASSERT_TRUE(out) << int(c.type);
            ASSERT_EQ(sizeOf(*out), (PixelSize{13, 5}));
            const Colour expected = right == kClear ? c.clear : right;
            EXPECT_TRUE(isNear(pixelAt(*out, 0, 4), kRed, c.most)) << int(c.type);
            const Colour got = pixelAt(*out, 12, 0);
            EXPECT_TRUE(expected == kClear ? got[3] == 0 : isNear(got, expected, c.most))
                << int(c.type) << ": " << colourText(got);
        }
    }
    EXPECT_FALSE(encodedPicture({}, {.type = Type::bmp}));
    EXPECT_FALSE(encodedPicture({}, {.type = Type::png}));
}

TEST(ImageSource, TakesNumbersForWhatTheyMean) {
    // One strip behind a directory of nine fields.
    const auto tiff = [](unsigned height, unsigned bits, unsigned meaning, unsigned samples,
                         const std::string& strip) {
        constexpr std::size_t kStrip = 8 + 2 + 9 * 12 + 4;
        return std::string("MM\0\x2A", 4) + bigEndian(8, 4) + bigEndian(9, 2) + field(256, 3, 2) +
               field(257, 3, height) + field(258, 3, bits) + field(259, 3, 1) +
               field(262, 3, meaning) + field(273, 4, kStrip) + field(277, 3, samples) +
               field(278, 3, height) + field(279, 4, strip.size()) + bigEndian(0, 4) + strip;
    };
    constexpr Colour kDark{64, 64, 64, 255};
    constexpr Colour kLight{192, 192, 192, 255};
    struct Case {
        const char* name;
        std::string file;
        Colour first, last;
    };
    const Case cases[] = {
        {"greys of 16 bits", "P5 2 1 65535\n" + bigEndian(0x4000C000, 4), kDark, kLight},
        {"greys of 32 bits", tiff(1, 32, 1, 1, bigEndian(0x40000000C0000000, 8)), kDark, kLight},
        {"brightness of each pixel, colour of four", tiff(2, 8, 6, 3, "LLLL\x55\xFF"), kRed, kRed},
        {"brightness alone", tiff(2, 8, 6, 3, std::string("\x40\x40\xC0\xC0\x80\x80")), kDark,
         kLight},
    };
    for (const Case& c : cases) {
        const auto source = sourceOf(c.file);
        const auto out = source ? source->picture(0) : std::nullopt;
        ASSERT_TRUE(out) << c.name;
        EXPECT_TRUE(isNear(pixelAt(*out, 0, 0), c.first, 2)) << c.name;
        EXPECT_TRUE(isNear(pixelAt(*out, 1, out->height - 1), c.last, 2)) << c.name;
    }
}

TEST(VipsImage, ScalesWithoutBleedingAndWithoutGrowing) {
    // The colour of clear pixels must not shine through where they meet others.
    const Raster raster = halves({64, 64}, {0, 255, 0, 0}, kRed);
    const auto small = resampled(raster, {15, 15});
    ASSERT_TRUE(small);
    for (std::size_t x = 0; x < 15; ++x) {
        const Colour colour = pixelAt(*small, x, 7);
        EXPECT_TRUE(colour[3] <= 8 || colour[1] < 8) << x << ": " << colourText(colour);
    }
    const auto large = resampled(halves({2, 1}, kRed, kBlue), {40, 20}, Interpolation::none);
    ASSERT_TRUE(large);
    EXPECT_EQ(pixelAt(*large, 19, 0), kRed);
    EXPECT_EQ(pixelAt(*large, 20, 19), kBlue);
}

TEST(ImageSource, TakesTheThumbnailThatIsCarried) {
    const std::string jpeg = jpegOf(rasterOf({600, 400}, kBlue));
    const std::string carried = jpegOf(rasterOf({150, 100}, kRed));
    // As cameras do: bars above and below fill the picture up to 4:3.
    Raster barred = rasterOf({160, 120}, kBlack);
    for (std::size_t y = 6; y < 113; ++y) {
        for (std::size_t x = 0; x < 160; ++x) barred.rgba[4 * (y * 160 + x)] = std::byte{255};
    }
    struct Case {
        const char* name;
        std::string file;
        ThumbnailOptions options;
        std::optional<Colour> colour;
        PixelSize size;
    };
    const Case cases[] = {
        {"carried", withExif(jpeg, 1, carried), {.maxPixelSize = 150}, kRed, {150, 100}},
        {"made smaller", withExif(jpeg, 1, carried), {.maxPixelSize = 60}, kRed, {60, 40}},
        {"not made larger", withExif(jpeg, 1, carried), {.maxPixelSize = 300}, kRed, {150, 100}},
        {"too small", withExif(jpeg, 1, carried), {.maxPixelSize = 301}, kBlue, {301, 201}},
        {"without limit", withExif(jpeg, 1, carried), {}, kBlue, {600, 400}},
        {"always",
         withExif(jpeg, 1, carried),
         {.maxPixelSize = 60, .fromImageAlways = true},
         kBlue,
         {60, 40}},
        {"none carried", withExif(jpeg, 1, ""), {.maxPixelSize = 60}, kBlue, {60, 40}},
        {"none wanted", jpeg, {.maxPixelSize = 60, .fromImageIfAbsent = false}, std::nullopt, {}},
        {"not a picture", withExif(jpeg, 1, "\xFF\xD8 no"), {.maxPixelSize = 60}, kBlue, {60, 40}},
        {"of something else",
         withExif(jpeg, 1, jpegOf(rasterOf({160, 160}, kRed))),
         {.maxPixelSize = 160},
         kBlue,
         {160, 107}},
        {"with bars", withExif(jpeg, 1, jpegOf(barred)), {.maxPixelSize = 160}, kRed, {160, 107}},
        {"turned",
         withExif(jpeg, 6, carried),
         {.maxPixelSize = 150, .withTransform = true},
         kRed,
         {100, 150}},
        {"turned picture",
         withExif(jpeg, 8, ""),
         {.maxPixelSize = 60, .withTransform = true},
         kBlue,
         {40, 60}},
        {"left lying", withExif(jpeg, 6, carried), {.maxPixelSize = 150}, kRed, {150, 100}},
        {"small picture",
         jpegOf(rasterOf({30, 20}, kBlue)),
         {.maxPixelSize = 256},
         kBlue,
         {30, 20}},
    };
    for (const Case& c : cases) {
        const auto source = sourceOf(c.file);
        ASSERT_TRUE(source) << c.name;
        const auto thumbnail = source->thumbnail(c.options);
        ASSERT_EQ(thumbnail.has_value(), c.colour.has_value()) << c.name;
        if (!thumbnail) continue;
        EXPECT_EQ(sizeOf(*thumbnail), c.size) << c.name;
        for (const std::uint32_t part : {1U, 3U}) {
            const std::uint32_t x = c.size.width / 4 * part;
            const std::uint32_t y = c.size.height / 4 * part;
            EXPECT_TRUE(isNear(pixelAt(*thumbnail, x, y), *c.colour, 25))
                << c.name << ": " << colourText(pixelAt(*thumbnail, x, y));
        }
    }
}

TEST(ImageSource, TakesLargeJpegFilesAtAnEighth) {
    struct Case {
        const char* name;
        bool progressive;
        VipsInterpretation colours;
        double kept;  // part of the file
        bool hasRight;
    };
    constexpr Case cases[] = {
        {"baseline", false, VIPS_INTERPRETATION_sRGB, 1, true},
        {"baseline, cut off", false, VIPS_INTERPRETATION_sRGB, 0.5, true},
        {"progressive", true, VIPS_INTERPRETATION_sRGB, 1, true},
        {"progressive, only its begin", true, VIPS_INTERPRETATION_sRGB, 0.7, true},
        {"grey", true, VIPS_INTERPRETATION_B_W, 1, false},
        {"CMYK", false, VIPS_INTERPRETATION_CMYK, 1, true},
    };
    const Raster raster = halves({1600, 1200}, kWhite, kBlue);
    const VipsPicture pixels = vipsPictureOf(raster);
    for (const Case& c : cases) {
        const VipsPicture converted = vipsResult([&](VipsImage** out) {
            return vips_colourspace(pixels.get(), out, c.colours, nullptr);
        });
        void* data = nullptr;
        std::size_t size = 0;
        ASSERT_EQ(vips_jpegsave_buffer(converted.get(), &data, &size, "interlace", c.progressive,
                                       nullptr),
                  0);
        const std::string file(static_cast<const char*>(data), size);
        g_free(data);
        const auto source =
            sourceOf(file.substr(0, static_cast<std::size_t>(c.kept * static_cast<double>(size))));
        ASSERT_TRUE(source) << c.name;
        const auto thumbnail = source->thumbnail({.maxPixelSize = 80, .fromImageAlways = true});
        ASSERT_TRUE(thumbnail) << c.name;
        ASSERT_EQ(sizeOf(*thumbnail), (PixelSize{80, 60})) << c.name;
        EXPECT_TRUE(isNear(pixelAt(*thumbnail, 5, 5), kWhite)) << c.name;
        const Colour right = pixelAt(*thumbnail, 75, 5);
        EXPECT_EQ(right[2] > right[0] + 40, c.hasRight) << c.name << ": " << colourText(right);
    }
}

TEST(ImageSource, RefusesWhatIsTooLargeBeforeDecodingIt) {
    const auto png = [](std::uint32_t width, std::uint32_t height) {
        return "\x89PNG\r\n\x1A\n" + bigEndian(13, 4) + "IHDR" + bigEndian(width, 4) +
               bigEndian(height, 4) + std::string("\x08\x02\0\0\0", 5) + bigEndian(0, 4) +
               bigEndian(0, 4) + "IDAT";
    };
    EXPECT_FALSE(sourceOf(png(17'000, 17'000)));
    EXPECT_FALSE(sourceOf(png(65'536, 1)));
    EXPECT_TRUE(sourceOf(png(65'535, 1)));
    EXPECT_FALSE(sourceOf(png(65'535, 1))->picture(0));
    EXPECT_FALSE(sourceOf("P6 17000 17000 255\n....")) << "PNM";
    EXPECT_FALSE(sourceOf("%!PS"));
    EXPECT_FALSE(sourceOf("")) << "nothing";
    EXPECT_FALSE(sourceOf("no picture", u"png")) << "wrong extension";
    const auto named = sourceOf(jpegOf(rasterOf({8, 8}, kRed)), u"png");
    ASSERT_TRUE(named);
    EXPECT_EQ(named->format(), ImageFormat::jpeg);
}

TEST(CodecImage, ReadsColoursOf16BitsAndSettlesAlpha) {
    const std::string_view xpm =
        "/* XPM */\nstatic char *p[] = {\n\"2 1 2 1 \",\n\"a c #FFFF00000000\",\n"
        "\"b c #0000FF\",\n\"ab\"\n};\n";
    const auto picture = decodeByCodec(std::as_bytes(std::span(xpm)), ImageFormat::xpm);
    ASSERT_TRUE(picture);
    EXPECT_EQ(pixelAt(*picture, 0, 0), kRed);
    EXPECT_EQ(pixelAt(*picture, 1, 0), kBlue);

    // Alpha that is 0 everywhere was forgotten by the writer.
    std::string tga("\0\0\2\0\0\0\0\0\0\0\0\0\1\0\1\0\x20\x08", 18);
    tga += std::string("\0\0\xFF\0", 4);
    const auto opaque = decodeByCodec(std::as_bytes(std::span(tga)), ImageFormat::tga);
    ASSERT_TRUE(opaque);
    EXPECT_EQ(pixelAt(*opaque, 0, 0), kRed);
    EXPECT_FALSE(opaque->hasAlpha);
}

TEST(CodecImage, HasTheFirstRowOfFloatMapsAtTheBottom) {
    const std::string_view map(
        "PF 1 2 1\n\0\0\0\0\0\0\0\0\x3F\x80\0\0"
        "\x3F\x80\0\0\0\0\0\0\0\0\0\0",
        33);
    const auto picture = decodeByCodec(std::as_bytes(std::span(map)), ImageFormat::pnm);
    ASSERT_TRUE(picture);
    EXPECT_EQ(pixelAt(*picture, 0, 0), kRed);
    EXPECT_EQ(pixelAt(*picture, 0, 1), kBlue);
}

}  // namespace corvy::platform
