#include "platform/image_metadata.h"

#include <gtest/gtest.h>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tests/platform/image_bytes.h"

namespace corvy::platform {
namespace {

using namespace std::string_literals;

ImageMetadata metadataOf(const std::string& file, ImageFormat format) {
    return imageMetadataOf(bytesOf(file), format);
}

// A group of the properties, or all that is in none, as JSON.
std::string group(const ImageMetadata& metadata, std::u16string_view name) {
    const PropertyList* found = metadata.properties.find(name);
    return found ? jsonOf(*found, {.plainDictionaries = true}) : "none";
}

std::string topLevel(const ImageMetadata& metadata) {
    Dictionary properties;
    for (const auto& [key, value] : metadata.properties) {
        if (!key.starts_with(u'{')) properties.set(key, value);
    }
    return jsonOf(properties, {.plainDictionaries = true});
}

std::string exifBlock(bool isBig, const std::string& thumbnail) {
    constexpr std::uint32_t kMain = 8, kExif = 200, kGps = 400, kThumbnail = 600, kJpeg = 700;
    std::string block = tiffHeader(isBig);
    const auto put = [&block](std::uint32_t place, const std::string& bytes) {
        block.resize(std::max<std::size_t>(block.size(), place));
        block += bytes;
    };
    put(kMain, tiffDirectory({{271, 2, 7, {}, "Maker  "},
                              {274, 3, 1, {6}},
                              {282, 5, 1, {300, 1}},
                              {283, 5, 1, {300, 1}},
                              {296, 3, 1, {2}},
                              {34665, 4, 1, {kExif}},
                              {34853, 4, 1, {kGps}}},
                             kMain, kThumbnail, isBig));
    put(kExif, tiffDirectory({{33434, 5, 1, {1, 250}},
                              {33437, 5, 1, {0, 0}},
                              {34855, 3, 1, {400}},
                              {36864, 7, 4, {}, "0221"},
                              {36867, 2, 20, {}, "2020:01:02 03:04:05\0"s},
                              {37380, 10, 1, {0xFFFFFFFF, 3}},
                              {37396, 3, 4, {1, 2, 3, 4}},
                              {37510, 7, 12, {}, isBig ? "UNICODE\0\0h\0i"s : "UNICODE\0h\0i\0"s},
                              {41728, 7, 1, {}, "\3"}},
                             kExif, 0, isBig));
    put(kGps, tiffDirectory({{0, 1, 4, {2, 3, 0, 0}},
                             {1, 2, 2, {}, "S\0"s},
                             {2, 5, 3, {52, 1, 30, 1, 1800, 100}},
                             {7, 5, 3, {7, 1, 8, 1, 925, 100}}},
                            kGps, 0, isBig));
    put(kThumbnail, tiffDirectory({{513, 4, 1, {kJpeg}},
                                   {514, 4, 1, {static_cast<std::uint32_t>(thumbnail.size())}}},
                                  kThumbnail, 0, isBig));
    put(kJpeg, thumbnail);
    return block;
}

TEST(ImageMetadata, ReadsExifInBothOrders) {
    const std::string thumbnail = jpeg(jpegFrame(160, 120));
    for (const bool isBig : {true, false}) {
        SCOPED_TRACE(isBig);
        const std::string block = exifBlock(isBig, thumbnail);
        const std::string file =
            jpeg(jpegSegment(0xE1, "Exif\0\0"s + block) + jpegFrame(4000, 3000));
        const auto metadata = metadataOf(file, ImageFormat::jpeg);
        EXPECT_EQ(topLevel(metadata),
                  R"({"PixelWidth": 4000, "PixelHeight": 3000, "Depth": 8, "ColorModel": "RGB", )"
                  R"("DPIWidth": 300, "DPIHeight": 300, "Orientation": 6})");
        EXPECT_EQ(metadata.orientation, 6);
        EXPECT_EQ(group(metadata, u"{TIFF}"),
                  R"({"Make": "Maker", "Orientation": 6, "XResolution": 300, )"
                  R"("YResolution": 300, "ResolutionUnit": 2})");
        EXPECT_EQ(group(metadata, u"{Exif}"),
                  R"({"ExposureTime": 0.004, "ISOSpeedRatings": [400], "ExifVersion": [2, 2, 1], )"
                  R"("DateTimeOriginal": "2020:01:02 03:04:05", )"
                  R"("ExposureBiasValue": -0.3333333333333333, "SubjectArea": [1, 2, 3, 4], )"
                  R"("UserComment": "hi", "FileSource": 3})");
        EXPECT_EQ(group(metadata, u"{GPS}"),
                  R"({"GPSVersion": [2, 3, 0, 0], "LatitudeRef": "S", "Latitude": 52.505, )"
                  R"("TimeStamp": "07:08:09.25"})");
        ASSERT_EQ(metadata.embedded.size(), 1U);
        const EmbeddedImage& embedded = metadata.embedded[0];
        EXPECT_EQ(file.substr(embedded.offset, embedded.length), thumbnail);
        EXPECT_EQ(embedded.size, (PixelSize{160, 120}));
    }
}

TEST(ImageMetadata, KeepsToItsBounds) {
    struct Case {
        const char* name;
        std::string file;
        std::string tiffGroup;
    };
    const auto file = [](const std::vector<TiffField>& fields, std::uint32_t next = 0) {
        return tiffHeader(false) + tiffDirectory(fields, 8, next, false);
    };
    const Case cases[] = {
        {"directories in a ring",
         file({{256, 3, 1, {1}},
               {257, 3, 1, {1}},
               {272, 2, 2, {}, "m\0"s},
               {330, 4, 1, {8}},
               {34665, 4, 1, {8}}},
              8),
         R"({"Model": "m"})"},
        {"value outside, the next one read",
         file({{256, 3, 1, {1}},
               {257, 3, 1, {1}},
               {271, 2, 4000, {}, "\xF0\xFF\xFF\xFF"},
               {272, 2, 2, {}, "m\0"s}}),
         R"({"Model": "m"})"},
        {"count that overflows its length",
         file({{256, 3, 1, {1}},
               {257, 3, 1, {1}},
               {271, 5, 0x20000001, {0, 0}},
               {272, 2, 2, {}, "m\0"s}}),
         R"({"Model": "m"})"},
        {"value of more than 64 KiB",
         file({{256, 3, 1, {1}},
               {257, 3, 1, {1}},
               {271, 2, 65537, {}, std::string(65537, 'x')},
               {272, 2, 2, {}, "m\0"s}}),
         R"({"Model": "m"})"},
        {"orientation that there is not is no orientation, yet a value",
         file({{256, 3, 1, {1}}, {257, 3, 1, {1}}, {274, 3, 1, {9}}}), R"({"Orientation": 9})"},
        {"unknown type of value",
         file({{256, 3, 1, {1}}, {257, 3, 1, {1}}, {271, 99, 1, {7}}, {272, 2, 2, {}, "m\0"s}}),
         R"({"Model": "m"})"},
        {"Latin-1 where it is no UTF-8",
         file({{256, 3, 1, {1}}, {257, 3, 1, {1}}, {272, 2, 3, {}, "m\xFC\0"s}}),
         "{\"Model\": \"m\u00FC\"}"},
    };
    for (const Case& c : cases) {
        const auto metadata = metadataOf(c.file, ImageFormat::tiff);
        EXPECT_EQ(group(metadata, u"{TIFF}"), c.tiffGroup) << c.name;
        EXPECT_EQ(metadata.orientation, 1) << c.name;
        EXPECT_EQ(metadata.size, (PixelSize{1, 1})) << c.name;
    }
}

TEST(ImageMetadata, ReadsBlocksOfJpegFiles) {
    const std::string profile = std::string(36, 'p') + "acsp" + std::string(88, 'p') + big(1, 4) +
                                "desc" + big(144, 4) + big(60, 4) + "mluc" + big(0, 4) + big(2, 4) +
                                big(12, 4) + "deDE" + big(2, 4) + big(40, 4) + "enUS" + big(4, 4) +
                                big(42, 4) + "\0D\0E\0n"s + std::string(20, '\0');
    const auto dataset = [](int number, std::string_view text) {
        return "\x1C\2"s + big(number, 1) + big(text.size(), 2) + std::string(text);
    };
    const std::string iptc = dataset(25, "one") + dataset(25, "two") + dataset(120, "Caption") +
                             dataset(90, "City") + dataset(90, "Other") + dataset(77, "unknown");
    const std::string thumbnail = jpeg(jpegFrame(80, 60));
    const auto resource = [](int id, const std::string& data) {
        return "8BIM" + big(id, 2) + "\3abc" + big(data.size(), 4) + data +
               std::string(data.size() & 1, '\0');
    };
    const std::string resources =
        resource(0x0404, iptc) +
        resource(0x03ED, big(150 << 16, 4) + big(1, 4) + big(75 << 16, 4)) +
        resource(0x040C, big(1, 4) + std::string(16, '\0') + big(thumbnail.size(), 4) + big(0, 4) +
                             thumbnail);
    const std::string file = "\xFF\xD8" + jpegSegment(0xE0, "JFIF\0\1\2\2\0\x1C\0\x1C\0\0"s) +
                             jpegSegment(0xE2, "ICC_PROFILE\0\1\1"s + profile) +
                             jpegSegment(0xED, "Photoshop 3.0\0"s + resources) + "\xFF\xFF" +
                             jpegFrame(30, 20, 0xC2).substr(1) + "\xFF\xDA";
    const auto metadata = metadataOf(file, ImageFormat::jpeg);
    EXPECT_EQ(topLevel(metadata),
              R"({"PixelWidth": 30, "PixelHeight": 20, "Depth": 8, "ColorModel": "RGB", )"
              R"("DPIWidth": 150, "DPIHeight": 75, "ProfileName": "En"})");
    EXPECT_EQ(group(metadata, u"{JFIF}"),
              R"({"JFIFVersion": [1, 2], "DensityUnit": 2, "XDensity": 28, "YDensity": 28, )"
              R"("IsProgressive": true})");
    EXPECT_EQ(group(metadata, u"{IPTC}"),
              R"({"Keywords": ["one", "two"], "Caption/Abstract": "Caption", "City": "City"})");
    ASSERT_EQ(metadata.embedded.size(), 1U);
    EXPECT_EQ(file.substr(metadata.embedded[0].offset, metadata.embedded[0].length), thumbnail);
}

TEST(ImageMetadata, ReadsPngChunks) {
    const std::string header =
        "\x89PNG\r\n\x1A\n" + pngChunk("IHDR", big(5, 4) + big(6, 4) + "\x10\6\0\0\1"s);
    const std::string file =
        header + pngChunk("pHYs", big(3780, 4) + big(5669, 4) + "\1") +
        pngChunk("gAMA", big(45455, 4)) + pngChunk("tEXt", "Title\0Gr\xFC\xDF"s) +
        pngChunk("iTXt", "Comment\0\0\0de\0Bemerkung\0\xC3\xBC"s) +
        pngChunk("tEXt", "Unknown\0x"s) + pngChunk("IDAT", "..") +
        pngChunk("eXIf", tiffHeader(true) + tiffDirectory({{274, 3, 1, {3}}}, 8, 0, true)) +
        big(1000, 4) + "tEXtAuthor\0cut"s;
    const auto metadata = metadataOf(file, ImageFormat::png);
    EXPECT_EQ(topLevel(metadata),
              R"({"PixelWidth": 5, "PixelHeight": 6, "Depth": 16, "ColorModel": "RGB", )"
              R"("DPIWidth": 96, "DPIHeight": 144, "Orientation": 3, "HasAlpha": true})");
    EXPECT_EQ(group(metadata, u"{PNG}"),
              "{\"InterlaceType\": 1, \"XPixelsPerMeter\": 3780, \"YPixelsPerMeter\": 5669, "
              "\"Gamma\": 0.45455, \"Title\": \"Gr\u00FC\u00DF\", \"Comment\": \"\u00FC\"}");
}

// An item of HEIF with the properties of these numbers.
std::string associated(int item, const std::vector<int>& properties) {
    std::string text = big(item, 2) + big(properties.size(), 1);
    for (const int number : properties) text += big(number | 0x80, 1);
    return text;
}

TEST(ImageMetadata, ReadsItemsOfHeifFiles) {
    struct Case {
        std::vector<int> properties;  // 1 is the size, 2 to 4 are quarter turns, 5 and 6 mirrors
        int orientation;
    };
    const Case cases[] = {{{1}, 1},       {{1, 2}, 8},   {{1, 3}, 3},    {{1, 4}, 6},
                          {{1, 5}, 4},    {{1, 6}, 2},   {{1, 2, 5}, 5}, {{1, 2, 6}, 7},
                          {{1, 4, 5}, 7}, {{1, 4, 6}, 5}};
    for (const Case& c : cases) {
        const std::string properties =
            box("ispe", big(0, 4) + big(40, 4) + big(30, 4)) + box("irot", "\1") +
            box("irot", "\2") + box("irot", "\3") + box("imir", "\0"s) + box("imir", "\1") +
            box("ispe", big(0, 4) + big(8, 4) + big(6, 4)) +
            box("auxC", big(0, 4) + "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha\0"s) +
            box("pixi", big(0, 4) + "\3\x0A\x0A\x0A");
        std::vector<int> ofPrimary = c.properties;
        ofPrimary.push_back(9);
        const std::string exif =
            big(0, 4) + tiffHeader(true) +
            tiffDirectory({{274, 3, 1, {3}}, {272, 2, 2, {}, "m\0"s}}, 8, 0, true);
        const auto meta = [&](std::uint32_t exifPlace) {
            return box(
                "meta",
                big(0, 4) + box("pitm", big(0, 4) + big(1, 2)) +
                    box("iinf", big(0, 4) + big(2, 2) +
                                    box("infe", big(2 << 24, 4) + big(1, 2) + big(0, 2) + "hvc1") +
                                    box("infe", big(2 << 24, 4) + big(4, 2) + big(0, 2) + "Exif")) +
                    box("iloc", big(0, 4) + big(0x4400, 2) + big(2, 2) + big(9, 2) + big(0, 2) +
                                    big(2, 2) + std::string(16, 'x') + big(4, 2) + big(0, 2) +
                                    big(1, 2) + big(exifPlace, 4) + big(exif.size(), 4)) +
                    box("iref", big(0, 4) + box("thmb", big(2, 2) + big(1, 2) + big(1, 2)) +
                                    box("auxl", big(3, 2) + big(1, 2) + big(1, 2)) +
                                    box("cdsc", big(4, 2) + big(1, 2) + big(1, 2))) +
                    box("iprp", box("ipco", properties) +
                                    box("ipma", big(0, 4) + big(3, 4) + associated(1, ofPrimary) +
                                                    associated(2, {7}) + associated(3, {8}))));
        };
        const auto place = static_cast<std::uint32_t>(meta(0).size() + 8);
        const auto metadata = metadataOf(meta(place) + box("mdat", exif), ImageFormat::heif);
        EXPECT_EQ(metadata.orientation, c.orientation);
        EXPECT_EQ(metadata.size, (PixelSize{40, 30}));
        EXPECT_TRUE(metadata.hasAlpha);
        EXPECT_EQ(metadata.properties.find(u"Depth")->integer(), 10);
        EXPECT_EQ(group(metadata, u"{TIFF}"), R"({"Orientation": 3, "Model": "m"})");
        ASSERT_EQ(metadata.embedded.size(), 1U);
        EXPECT_EQ(metadata.embedded[0].size, (PixelSize{8, 6}));
        EXPECT_EQ(metadata.embedded[0].kind, EmbeddedImage::Kind::heifItem);
    }
}

TEST(ImageMetadata, FindsPreviewsOfCameraRaw) {
    const std::string small = jpeg(jpegFrame(160, 120)), large = jpeg(jpegFrame(1600, 1200));
    const std::string lossless = jpeg(jpegFrame(4000, 3000, 0xC3));
    constexpr std::uint32_t kBelow = 200, kSensor = 300, kData = 500;
    const auto length = [](const std::string& text) {
        return static_cast<std::uint32_t>(text.size());
    };
    const std::uint32_t largePlace = kData + length(small),
                        losslessPlace = largePlace + length(large);
    std::string file = tiffHeader(false);
    const auto put = [&file](std::uint32_t place, const std::string& bytes) {
        file.resize(place);
        file += bytes;
    };
    put(8, tiffDirectory({{254, 4, 1, {1}},
                          {256, 4, 1, {160}},
                          {257, 4, 1, {120}},
                          {330, 4, 2, {kBelow, kSensor}},
                          {513, 4, 1, {kData}},
                          {514, 4, 1, {length(small)}}},
                         8, 0, false));
    put(kBelow, tiffDirectory({{254, 4, 1, {1}},
                               {259, 3, 1, {7}},
                               {273, 4, 1, {largePlace}},
                               {279, 4, 1, {length(large)}}},
                              kBelow, kSensor, false));
    put(kSensor, tiffDirectory({{254, 4, 1, {0}},
                                {256, 4, 1, {4000}},
                                {257, 4, 1, {3000}},
                                {259, 3, 1, {7}},
                                {273, 4, 1, {losslessPlace}},
                                {279, 4, 1, {length(lossless)}}},
                               kSensor, kBelow, false));
    put(kData, small + large + lossless);
    const auto metadata = metadataOf(file, ImageFormat::rawNef);
    EXPECT_EQ(metadata.size, (PixelSize{4000, 3000}));
    const std::vector<EmbeddedImage> expected = {
        {EmbeddedImage::Kind::jpeg, kData, small.size(), PixelSize{160, 120}},
        {EmbeddedImage::Kind::jpeg, largePlace, large.size(), PixelSize{1600, 1200}}};
    EXPECT_EQ(metadata.embedded, expected);
}

TEST(ImageMetadata, ReadsPlainHeaders) {
    const auto bmp = [](std::uint32_t height) {
        return "BM" + std::string(12, '\0') + little(40, 4) + little(7, 4) + little(height, 4) +
               little(1, 2) + little(24, 2) + little(0, 8) + little(2835, 4) + little(2835, 4) +
               little(0, 8);
    };
    struct Case {
        const char* name;
        ImageFormat format;
        std::string file;
        PixelSize size;
        std::string rest;  // of the properties, behind the size
    };
    const Case cases[] = {
        {"bitmap from the top",
         ImageFormat::bmp,
         bmp(0xFFFFFFF7),
         {7, 9},
         R"("Depth": 8, "ColorModel": "RGB", "DPIWidth": 72, "DPIHeight": 72, "HasAlpha": false})"},
        {"PNM with comments",
         ImageFormat::pnm,
         "P5 # a 1\n#b\n 12\t# 9\n34 65535\n",
         {12, 34},
         R"("Depth": 16, "ColorModel": "Gray", "HasAlpha": false})"},
        {"PAM",
         ImageFormat::pnm,
         "P7\nWIDTH 3\nHEIGHT 4\nDEPTH 4\nMAXVAL 255\nENDHDR\nWIDTH 9",
         {3, 4},
         R"("Depth": 8, "ColorModel": "RGB", "HasAlpha": true})"},
        {"GIF",
         ImageFormat::gif,
         "GIF89a\3\0\4\0\x80\0\0rgbRGB!\xF9\4\1\0\0\0\0!\xFF\x0BNETSCAPE2.0\3\1\5\0\0,"s,
         {3, 4},
         R"("Depth": 8, "ColorModel": "RGB", "HasAlpha": true, "IsIndexed": true, "{GIF}": {"HasGlobalColorMap": true, "DelayTime": 0.1, "UnclampedDelayTime": 0, "LoopCount": 5}})"},
        {"lossless WebP",
         ImageFormat::webp,
         "RIFF....WEBPVP8L\5\0\0\0\x2F\x04\x40\1\x10"s,
         {5, 6},
         R"("Depth": 8, "ColorModel": "RGB", "HasAlpha": true})"},
        {"extended WebP",
         ImageFormat::webp,
         "RIFF....WEBPVP8X\x0A\0\0\0\0\0\0\0\1\0\0\2\0\0VP8 \x0A\0\0\0xxx\x9D\1\x2A\x09\0\x09\0"s,
         {2, 3},
         R"("Depth": 8, "ColorModel": "RGB", "HasAlpha": false})"},
        {"JPEG 2000",
         ImageFormat::jpeg2000,
         box("jP  ", "\r\n\x87\n") +
             box("jp2h", box("ihdr", big(4, 4) + big(3, 4) + big(4, 2) + "\7\7\0\0"s) +
                             box("colr", "\1\0\0"s + big(16, 4)) +
                             box("cdef", big(1, 2) + big(3, 2) + big(1, 2) + big(0, 2)) +
                             box("res ", box("resc", big(300, 2) + big(254, 2) + big(300, 2) +
                                                         big(254, 2) + "\4\4"))),
         {3, 4},
         R"("Depth": 8, "ColorModel": "RGB", "DPIWidth": 300, "DPIHeight": 300, "HasAlpha": true, "ProfileName": "sRGB IEC61966-2.1"})"},
        {"PSD with more channels than colours",
         ImageFormat::psd,
         "8BPS\0\1......\0\4"s + big(8, 4) + big(9, 4) + big(8, 2) + big(3, 2) + big(0, 12),
         {9, 8},
         R"("Depth": 8, "ColorModel": "RGB", "HasAlpha": true})"},
        {"SVG, one side and a box",
         ImageFormat::svg,
         "<!-- <svgx --><svg xmlns='x' viewBox='0 0 20,10' width=\"1in\">",
         {96, 48},
         R"("Depth": 8, "ColorModel": "RGB", "HasAlpha": true})"},
        {"PCX",
         ImageFormat::pcx,
         "\x0A\5\1\x08" + little(1, 2) + little(2, 2) + little(10, 2) + little(12, 2) +
             little(0, 53) + "\1" + little(0, 62),
         {10, 11},
         R"("Depth": 8, "ColorModel": "RGB", "HasAlpha": false, "IsIndexed": true})"},
    };
    for (const Case& c : cases) {
        const auto metadata = metadataOf(c.file, c.format);
        EXPECT_EQ(metadata.size, c.size) << c.name;
        const std::string all = jsonOf(metadata.properties, {.plainDictionaries = true});
        EXPECT_EQ(all.substr(std::min(all.size(), all.find("\"Depth\""))), c.rest) << c.name;
    }
    EXPECT_TRUE(metadataOf("P5 ", ImageFormat::pnm).properties.empty());
    EXPECT_TRUE(metadataOf("%PDF-1.4", ImageFormat::pdf).properties.empty());
    EXPECT_TRUE(isWithinLimits({65535, 1953}));
    EXPECT_FALSE(isWithinLimits({65536, 1}));
    EXPECT_FALSE(isWithinLimits({17000, 17000}));
}

}  // namespace
}  // namespace corvy::platform
