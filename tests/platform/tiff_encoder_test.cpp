#include "platform/tiff_encoder.h"

#include <tiffio.h>

#include <cstring>
#include <sstream>
#include <tiffio.hxx>

namespace corvy::platform {
namespace {

// What another program's reader finds in a file.
struct ReadBack {
    std::uint32_t width = 0, height = 0;
    std::uint16_t compression = 0, samples = 0, predictor = 1;
    float resolution = 0;
    std::vector<std::uint8_t> pixels;  // premultiplied RGBA, rows from the top
};

std::optional<ReadBack> readBack(const Bytes& file) {
    std::istringstream stream{std::string(file.chars())};
    TIFF* tiff = TIFFStreamOpen("test", &stream);
    if (!tiff) return std::nullopt;
    ReadBack out;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &out.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &out.height);
    TIFFGetField(tiff, TIFFTAG_COMPRESSION, &out.compression);
    TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &out.samples);
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &out.resolution);
    if (out.compression == COMPRESSION_LZW) TIFFGetField(tiff, TIFFTAG_PREDICTOR, &out.predictor);
    std::vector<std::uint32_t> pixels(std::size_t{out.width} * out.height);
    const int read = TIFFReadRGBAImageOriented(tiff, out.width, out.height, pixels.data(),
                                               ORIENTATION_TOPLEFT, 1);
    TIFFClose(tiff);
    out.pixels.resize(pixels.size() * 4);
    std::memcpy(out.pixels.data(), pixels.data(), out.pixels.size());
    return read ? std::optional(out) : std::nullopt;
}

Raster gradient(std::uint32_t width, std::uint32_t height, bool alpha) {
    Raster raster{width, height, {}, alpha};
    for (std::uint32_t i = 0; i < width * height; ++i) {
        for (const std::uint32_t value : {i, i / width, i * 7, alpha && i % 3 ? 0U : 255U}) {
            raster.rgba.push_back(static_cast<std::byte>(value));
        }
    }
    return raster;
}

TEST(TiffEncoder, AnotherReaderFindsThePixels) {
    struct Case {
        std::uint32_t width, height;
        bool alpha;
        TiffCompression compression;
    };
    // One pixel, a row wider than a strip, a last strip that is shorter, and both kinds.
    const Case cases[] = {
        {1, 1, false, TiffCompression::none},    {1, 1, true, TiffCompression::lzw},
        {20000, 3, false, TiffCompression::lzw}, {300, 257, false, TiffCompression::lzw},
        {300, 257, true, TiffCompression::none}, {301, 257, true, TiffCompression::lzw}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", alpha " << c.alpha);
        const Raster raster = gradient(c.width, c.height, c.alpha);
        const auto file = tiffRepresentation(raster, c.compression);
        ASSERT_TRUE(file);
        const auto read = readBack(*file);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->width, c.width);
        EXPECT_EQ(read->height, c.height);
        EXPECT_EQ(read->samples, c.alpha ? 4 : 3);
        EXPECT_EQ(read->compression, c.compression == TiffCompression::lzw ? 5 : 1);
        EXPECT_EQ(read->predictor, c.compression == TiffCompression::lzw ? 2 : 1);
        EXPECT_EQ(read->resolution, 72);
        // Straight alpha: a reader that premultiplies sees nothing where alpha is 0.
        std::vector<std::uint8_t> expected(raster.rgba.size());
        for (std::size_t i = 0; i < expected.size(); i += 4) {
            if (raster.rgba[i + 3] != std::byte{0}) {
                std::memcpy(&expected[i], &raster.rgba[i], 4);
            }
        }
        EXPECT_TRUE(read->pixels == expected);
    }
}

TEST(TiffEncoder, WhatIsNoPictureGivesNone) {
    Raster shortOne = gradient(4, 4, false);
    shortOne.rgba.pop_back();
    for (const Raster& raster : {Raster{}, Raster{0, 9, {}, false}, shortOne}) {
        EXPECT_FALSE(tiffRepresentation(raster, TiffCompression::lzw));
    }
}

}  // namespace
}  // namespace corvy::platform
