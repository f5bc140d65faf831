#include "images/image.h"

#include "foundation/text.h"
#include "images/preview.h"
#include "images/thumbnail.h"
#include "platform/image_source.h"
#include "platform/tiff_encoder.h"
#include "tests/support/rasters.h"
#include "tests/support/temporary_folder.h"

namespace corvy {

namespace {

using namespace test;
using Kind = ImageRepresentation::Kind;

class Libraries : public testing::Environment {
    void SetUp() override { platform::prepareVips(); }
};
const auto* const kLibraries = testing::AddGlobalTestEnvironment(new Libraries);

// Draws one colour, as large as asked for.
class PlainRep : public ImageRepresentation {
public:
    PlainRep(Kind kind, Size size, PixelSize pixels, Colour colour = kRed)
        : ImageRepresentation(
              {.kind = kind, .size = size, .pixels = pixels, .hasAlpha = colour[3] != 255}),
          colour_(colour) {}
    std::optional<Bytes> fileBytes() const override { return Bytes::copyOf("file"); }

protected:
    std::optional<Raster> draw(PixelSize size, const Drawing&) const override {
        return platform::rasterOf(size, colour_);
    }

private:
    Colour colour_;
};

Image imageOf(std::initializer_list<PlainRep*> representations) {
    Image::Representations out;
    for (PlainRep* representation : representations) out.emplace_back(representation);
    return Image(std::move(out));
}

PlainRep* bitmap(std::uint32_t width, std::uint32_t height, Colour colour = kRed) {
    const Size size{static_cast<double>(width), static_cast<double>(height)};
    return new PlainRep(Kind::bitmap, size, {width, height}, colour);
}

Raster decoded(const Bytes& bytes) {
    return platform::ImageSource::create(bytes, u"")->picture(0).value();
}

}  // namespace

TEST(Image, TellsWhatItsRepresentationsTell) {
    const Image empty({});
    EXPECT_FALSE(empty.isReallyValid());
    EXPECT_EQ(empty.pixelSize(), Size());
    EXPECT_FALSE(empty.hasAlpha());

    // The widest counts, not the highest, and of equal ones the first.
    const Image several = imageOf({bitmap(10, 99), bitmap(30, 20), bitmap(30, 40)});
    EXPECT_EQ(several.size(), (Size{10, 99}));
    EXPECT_EQ(several.pixelSize(), (Size{30, 20}));
    EXPECT_FALSE(several.hasAlpha());
    EXPECT_EQ(several.scaledSize(0.5), (Size{15, 10}));
    EXPECT_EQ(several.scaledSize(0), (Size{30, 20}));

    const Image page = imageOf({new PlainRep(Kind::pdf, {612.5, 792}, {})});
    EXPECT_EQ(page.pixelSize(), (Size{612.5, 792}));
    EXPECT_TRUE(page.hasAlpha()) << "no bitmap";
    EXPECT_TRUE(imageOf({bitmap(1, 1), new PlainRep(Kind::icon, {1, 1}, {1, 1})}).hasAlpha());
    EXPECT_TRUE(imageOf({bitmap(1, 1, kClear)}).hasAlpha());
    EXPECT_FALSE(imageOf({new PlainRep(Kind::pdf, {0, 5}, {})}).isReallyValid());
}

TEST(Image, DrawsWhatSuitsBest) {
    const Image image = imageOf({bitmap(16, 16, kRed), bitmap(64, 64, kGreen),
                                 bitmap(32, 32, kBlue), bitmap(40, 20, kBlack)});
    struct Case {
        PixelSize size;
        std::uint32_t width;
    };
    constexpr Case cases[] = {{{8, 8}, 16},   {{16, 16}, 16}, {{17, 17}, 32},
                              {{64, 64}, 64}, {{99, 99}, 64}, {{40, 20}, 40}};
    for (const Case& c : cases) {
        EXPECT_EQ(image.bestRepresentation(c.size)->pixels().width, c.width) << c.size.width;
    }
    EXPECT_EQ(Image({}).bestRepresentation({1, 1}), nullptr);
}

TEST(Image, RendersOverWhatItsKindAsksFor) {
    constexpr Colour kHalfRed{255, 0, 0, 128};
    struct Case {
        Kind kind;
        Colour colour, background, result;
    };
    constexpr Case cases[] = {
        {Kind::bitmap, kRed, kBlue, kRed},
        {Kind::bitmap, kClear, kClear, kClear},
        {Kind::bitmap, kHalfRed, kBlue, {128, 0, 127, 255}},
        {Kind::icon, kClear, kBlue, kBlue},
        {Kind::icon, kClear, kClear, kClear},
        {Kind::pdf, kClear, kBlue, kWhite},
        {Kind::eps, kHalfRed, kClear, {255, 127, 127, 255}},
        {Kind::pict, kClear, kClear, kWhite},
        {Kind::vector, kClear, kBlue, kWhite},
    };
    for (const Case& c : cases) {
        Image image = imageOf({new PlainRep(c.kind, {9, 9}, {9, 9}, c.colour)});
        image.setBackgroundColour(c.background);
        const auto tiff = image.TIFFRepresentationWithSize({4, 2.5});
        ASSERT_TRUE(tiff);
        const Raster raster = decoded(*tiff);
        EXPECT_EQ(platform::sizeOf(raster), (PixelSize{4, 3}));
        EXPECT_TRUE(isNear(pixelAt(raster, 3, 2), c.result, 1))
            << int(c.kind) << ": " << colourText(pixelAt(raster, 3, 2));
    }
    EXPECT_FALSE(imageOf({bitmap(1, 1)}).TIFFRepresentationWithSize({0, 5}));
    EXPECT_FALSE(imageOf({bitmap(1, 1)}).TIFFRepresentationWithSize({20'000, 20'000}));
    EXPECT_TRUE(Image({}).TIFFRepresentationWithSize({2, 2})) << "nothing is drawn";
}

TEST(Image, IsScaledIntoImagesOfOneBitmap) {
    const Image image = imageOf({bitmap(1000, 500), bitmap(10, 10)});
    const auto thumbnail = image.thumbForSize({256, 256});
    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(thumbnail->size(), (Size{256, 128}));
    ASSERT_EQ(thumbnail->representations().size(), 1U);
    EXPECT_EQ(thumbnail->representations()[0]->pixels(), (PixelSize{256, 128}));
    EXPECT_EQ(image.bitmapImageWithSize({3.5, 2})->representations()[0]->pixels(),
              (PixelSize{4, 2}));
    EXPECT_FALSE(image.imageWithSize({0, 5}));
    EXPECT_FALSE(image.imageWithSize({5, -1}));
    EXPECT_FALSE(Image::imageWithCGImageRef({}));
}

TEST(Image, IsExportedInItsBestForm) {
    const auto of = [](Kind kind) { return new PlainRep(kind, {5, 4}, {}); };
    struct Case {
        Image image;
        std::u16string extension;
    };
    const Case cases[] = {
        {imageOf({bitmap(1, 1), of(Kind::pict), of(Kind::eps), of(Kind::pdf)}), u"pdf"},
        {imageOf({of(Kind::pict), of(Kind::eps)}), u"eps"},
        {imageOf({bitmap(1, 1), of(Kind::pict)}), u"pict"},
        {imageOf({bitmap(2, 2)}), u"tiff"},
        {imageOf({of(Kind::vector)}), u"tiff"},
    };
    for (const Case& c : cases) {
        const Image::Export out = c.image.bestRepresentationAndFileExtension();
        EXPECT_EQ(out.extension, c.extension);
        EXPECT_EQ(c.image.pathExtensionForBestRepresentation(), c.extension);
        ASSERT_TRUE(out.bytes);
        EXPECT_EQ(out.bytes->chars() == "file", c.extension != u"tiff") << toUtf8(c.extension);
    }
    using platform::BitmapFileType;
    EXPECT_FALSE(cases[1].image.representationUsingType(BitmapFileType::png, 1));
    const auto png = cases[0].image.representationUsingType(BitmapFileType::png, 1);
    ASSERT_TRUE(png);
    EXPECT_EQ(platform::sizeOf(decoded(*png)), (PixelSize{1, 1}));
    EXPECT_EQ(BitmapImageRep(platform::rasterOf({2, 1}, kRed)).data()->chars(),
              (std::string_view("\xFF\0\0\xFF\xFF\0\0\xFF", 8)));
}

TEST(Image, ConvertsPostScriptWhenItIsNeeded) {
    const TemporaryFolder folder;
    int asked = 0;
    const Image image =
        Image::initWithData(Bytes::copyOf("%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 40 20\n"
                                          "1 0 0 setrgbcolor 0 10 20 10 rectfill showpage\n"),
                            u"eps", [&] {
                                ++asked;
                                return folder.path();
                            });
    ASSERT_TRUE(image.isReallyValid());
    EXPECT_EQ(image.size(), (Size{40, 20}));
    EXPECT_EQ(image.PDFImageRep(), nullptr) << "not converted yet";
    EXPECT_EQ(asked, 0);
    ASSERT_NE(image.EPSImageRep(), nullptr);
    const auto raster = image.rendered({40, 20});
    ASSERT_TRUE(raster);
    EXPECT_EQ(pixelAt(*raster, 5, 5), kRed);
    EXPECT_EQ(pixelAt(*raster, 30, 15), kWhite);
    ASSERT_NE(image.PDFImageRep(), nullptr);
    EXPECT_TRUE(image.EPSImageRep()->PDFRepresentation()->chars().starts_with("%PDF"));
    EXPECT_EQ(asked, 1) << "converted once";
}

TEST(Image, TakesPointsFromTheResolution) {
    platform::Raster raster = platform::rasterOf({144, 72}, kRed);
    std::string tiff(
        platform::tiffRepresentation(raster, platform::TiffCompression::none)->chars());
    // 72 as a fraction stands in the file twice; the first is that of rows.
    const std::string seventyTwo("\x48\0\0\0\1\0\0\0", 8);
    const std::size_t at = tiff.find(seventyTwo);
    ASSERT_NE(at, std::string::npos);
    // Some write 1 when they know nothing of inches.
    for (const auto& [dpi, width] : {std::pair('\x90', 72), std::pair('\1', 144)}) {
        tiff[at] = dpi;
        const Image image = Image::initWithData(Bytes::copyOf(tiff), u"");
        EXPECT_EQ(image.size(), (Size{double(width), 72}));
        EXPECT_EQ(image.pixelSize(), (Size{144, 72}));
    }
}

TEST(Thumbnail, GivesPropertiesOnlyWithAPicture) {
    const TemporaryFolder folder;
    const auto png = platform::encodedPicture(platform::rasterOf({40, 20}, kRed), {});
    const std::u16string picture = fromUtf8(folder.write("a.png", png->chars()));
    std::optional<Dictionary> properties;
    const auto small = thumbnailForFile(picture, 10, {}, &properties);
    ASSERT_TRUE(small && properties);
    EXPECT_EQ(small->size(), (Size{10, 5}));
    EXPECT_EQ(properties->find(u"PixelWidth")->integer(), 40);
    EXPECT_EQ(thumbnailForFile(picture, 100)->size(), (Size{40, 20})) << "never enlarged";

    const std::u16string broken = fromUtf8(folder.write("b.png", png->chars().substr(0, 40)));
    const std::u16string drawing = fromUtf8(folder.write("c.svg", "<svg width='9' height='9'/>"));
    const std::optional<std::u16string_view> without[] = {std::nullopt, u"", u"/nowhere", broken,
                                                          drawing};
    for (const auto& path : without) {
        properties.emplace();
        EXPECT_FALSE(thumbnailForFile(path, 10, {}, &properties)) << toUtf8(path.value_or(u"none"));
        EXPECT_FALSE(properties) << toUtf8(path.value_or(u"none"));
    }
}

TEST(Preview, ShowsFilesInsideTheBox) {
    const TemporaryFolder folder;
    const auto write = [&folder](const char* name, std::string_view contents) {
        return fromUtf8(folder.write(name, contents));
    };
    const auto png = platform::encodedPicture(platform::rasterOf({400, 200}, kRed), {});
    const std::u16string picture = write("a.png", png->chars());
    const auto plain = previewForFile(picture, Size{100, 100});
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->size(), (Size{100, 50}));
    const auto icon = previewForFile(picture, 96, {.asIcon = true});
    ASSERT_TRUE(icon);
    EXPECT_EQ(icon->size(), (Size{96, 52}));  // 4 pixels of shadow around 88 x 44
    const auto raster = icon->rendered({96, 52});
    EXPECT_EQ(pixelAt(*raster, 48, 26), kRed);
    EXPECT_EQ(pixelAt(*raster, 0, 0)[3], 0);
    EXPECT_GT(pixelAt(*raster, 48, 48)[3], 0);
    EXPECT_FALSE(previewForFile(write("a.txt", "text"), 96));
    EXPECT_FALSE(previewForFile(std::nullopt, 96));
    EXPECT_FALSE(previewForFile(u"", 96));
    EXPECT_FALSE(previewForFile(picture, 0));
}

}  // namespace corvy
