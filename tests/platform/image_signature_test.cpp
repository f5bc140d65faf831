#include "platform/image_signature.h"

#include <gtest/gtest.h>

#include "tests/platform/image_bytes.h"

namespace corvy::platform {
namespace {

using namespace std::string_literals;

TEST(ImageSignature, TellsFormats) {
    const auto raw = [](const char* maker, std::uint32_t subfileType) {
        return tiffHeader(false) +
               tiffDirectory({{254, 4, 1, {subfileType}}, {271, 2, 6, {}, maker}}, 8, 0, false);
    };
    const std::string tga = "\0\0\2"s + big(0, 9) + "\4\0\4\0\x18\0"s;
    const std::string footer = big(0, 8) + "TRUEVISION-XFILE.\0"s;
    const auto brands = [](std::string_view text) { return box("ftyp", text); };
    struct Case {
        const char* name;
        std::string bytes;
        ImageFormat format;
        std::u16string_view extension = {};
    };
    const Case cases[] = {
        {"nothing", "", ImageFormat::unknown},
        {"half a signature", "\x89PNG\r\n", ImageFormat::unknown},
        {"JPEG named otherwise", "\xFF\xD8\xFF\xE0", ImageFormat::jpeg, u"tga"},
        {"64-bit TIFF", "MM\0+\0\x08\0\0"s, ImageFormat::tiff},
        {"TIFF of a camera maker", raw("NIKON.", 0), ImageFormat::tiff},
        {"raw by its extension", raw("NIKON.", 0), ImageFormat::rawNef, u"NEF"},
        {"raw by its preview", raw("SONY..", 1), ImageFormat::rawArw},
        {"DNG of any maker",
         tiffHeader(true) + tiffDirectory({{50706, 1, 4, {1, 4, 0, 0}}}, 8, 0, true),
         ImageFormat::rawDng},
        {"CR2", "II*\0\x10\0\0\0CR\2\0"s, ImageFormat::rawCr2},
        {"WebP", "RIFF\x08\0\0\0WEBPVP8 "s, ImageFormat::webp},
        {"other RIFF", "RIFF\x08\0\0\0WAVEfmt "s, ImageFormat::unknown},
        {"HEIC", brands("heic\0\0\0\0mif1"s), ImageFormat::heif},
        {"AVIF by a compatible brand", brands("mif1\0\0\0\0miafavif"s), ImageFormat::avif},
        {"HEIF of no known coding", brands("mif1\0\0\0\0"s), ImageFormat::heif},
        {"movie", brands("isom\0\0\0\0mp42"s), ImageFormat::unknown},
        {"brand behind the box", brands("isom\0\0\0\0"s) + "heic", ImageFormat::unknown},
        {"codestream", "\xFF\x4F\xFF\x51", ImageFormat::jpeg2000},
        {"BM of a text", "BMW, not bitmap", ImageFormat::unknown},
        {"P5 of a text", "P5x", ImageFormat::unknown},
        {"icon", "\0\0\1\0\1\0\x10\x10\0\0\1\0\x20\0\1\0\0\0\x16\0\0\0"s, ImageFormat::ico},
        {"cursor", "\0\0\2\0\1\0\x10\x10\0\0\1\0\x20\0\1\0\0\0\x16\0\0\0"s, ImageFormat::cur},
        {"TGA by its name", tga, ImageFormat::tga, u"TGA"},
        {"TGA by its footer", tga + footer, ImageFormat::tga},
        {"TGA by nothing", tga, ImageFormat::unknown},
        {"SVG behind comments and a subset",
         "\xEF\xBB\xBF<?xml?>\n<!-- <a> --><!DOCTYPE svg [<!ENTITY a \"b\">]>\n<s:svg>",
         ImageFormat::svg},
        {"page with SVG inside", "<html><svg>", ImageFormat::unknown},
        {"comment without an end", "<!-- <svg>", ImageFormat::unknown},
        {"packed SVG needs its name", "\x1F\x8B\x08", ImageFormat::unknown},
        {"packed SVG", "\x1F\x8B\x08", ImageFormat::svg, u"svgz"},
        {"PDF behind rubbish", "\r\n  %PDF-1.7", ImageFormat::pdf},
        {"AI that is PDF", "%PDF-1.5", ImageFormat::pdf, u"ai"},
        {"EPS with a preview", "\xC5\xD0\xD3\xC6\x1E", ImageFormat::postScript},
        {"XBM", "/* c */\n#define a_width 3\n#define a_height 4", ImageFormat::xbm},
        {"C source", "#define WIDTH 3\n", ImageFormat::unknown},
        {"PICT", big(0, 522) + "\0\x11\2\xFF"s, ImageFormat::pict},
        {"MacPaint in MacBinary", big(0, 65) + "PNTG", ImageFormat::macPaint},
    };
    for (const Case& c : cases)
        EXPECT_EQ(imageFormatOf(bytesOf(c.bytes), c.extension), c.format) << c.name;
}

}  // namespace
}  // namespace corvy::platform
