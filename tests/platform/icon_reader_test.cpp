#include "platform/icon_reader.h"

#include <gtest/gtest.h>

#include "platform/mac_paint.h"
#include "tests/platform/image_bytes.h"

namespace corvy::platform {
namespace {

using namespace std::string_literals;

// Pixels as hexadecimal digits, a blank between each two.
std::string pixelsOf(const Raster& raster) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < raster.rgba.size(); ++i) {
        const auto value = std::to_integer<unsigned>(raster.rgba[i]);
        if (i > 0 && i % 4 == 0) text += ' ';
        text += {kDigits[value >> 4], kDigits[value & 15]};
    }
    return text;
}

// A bitmap of two by two pixels.
std::string bitmap(int bits, const std::string& rest, int colors = 0, int compression = 0) {
    return little(40, 4) + little(2, 4) + little(4, 4) + little(1, 2) + little(bits, 2) +
           little(compression, 4) + little(0, 12) + little(colors, 4) + little(0, 4) + rest;
}

std::string ico(const std::vector<std::string>& pictures) {
    std::string entries, data;
    for (const std::string& picture : pictures) {
        const std::size_t place = 6 + 16 * pictures.size() + data.size();
        entries += "\2\2\0\0\1\0\x20\0"s + little(picture.size(), 4) + little(place, 4);
        data += picture;
    }
    return "\0\0\1\0"s + little(pictures.size(), 2) + entries + data;
}

TEST(IconReader, DecodesBitmaps) {
    const std::string mask = "\x40\0\0\0\x80\0\0\0"s;  // bottom right, top left
    const std::string palette = "\1\2\3\0\4\5\6\0"s;
    struct Case {
        const char* name;
        std::string picture;
        std::string pixels;  // none when empty
    };
    const Case cases[] = {
        {"32 bits, rows from the bottom, the mask does not count",
         bitmap(32, "\1\2\3\4\5\6\7\x08\x11\x12\x13\x14\x15\x16\x17\x18"s + mask),
         "13121114 17161518 03020104 07060508"},
        {"32 bits, alpha never written",
         bitmap(32, "\1\2\3\0\5\6\7\0\x11\x12\x13\0\x15\x16\x17\0"s + mask),
         "13121100 171615ff 030201ff 07060500"},
        {"24 bits, padded rows", bitmap(24, "\1\2\3\5\6\7??\x11\x12\x13\x15\x16\x17??" + mask),
         "13121100 171615ff 030201ff 07060500"},
        {"1 bit and its mask", bitmap(1, palette + "\x40\0\0\0\x80\0\0\0"s + mask),
         "06050400 030201ff 030201ff 06050400"},
        {"8 bits, an index past the colours", bitmap(8, palette + "\0\1??\1\2??"s + mask, 2),
         "06050400 000000ff 030201ff 06050400"},
        {"16 bits", bitmap(16, "\0\x7C\xE0\3\x1F\0\xFF\x7F"s + mask),
         "0000ff00 ffffffff ff0000ff 00ff0000"},
        {"32 bits by masks",
         bitmap(32,
                big(0xFF00, 4) + big(0xFF0000, 4) + big(0xFF000000, 4) +
                    "\1\2\3\4\5\6\7\x08\x11\x12\x13\x14\x15\x16\x17\x18"s + mask,
                0, 3),
         "13121114 17161518 03020104 07060508"},
        {"no mask at all", bitmap(24, "\1\2\3\5\6\7??\x11\x12\x13\x15\x16\x17??"),
         "131211ff 171615ff 030201ff 070605ff"},
        {"rows cut off", bitmap(24, "\1\2\3\5\6\7??"), ""},
        {"runs", bitmap(8, palette + mask + mask, 2, 1), ""},
        {"bits that there are not", bitmap(7, palette + mask + mask, 2), ""},
    };
    for (const Case& c : cases) {
        const std::string file = ico({c.picture});
        const auto entries = readIcon(bytesOf(file), ImageFormat::ico);
        EXPECT_EQ(entries ? pixelsOf(entries->at(0).raster) : "", c.pixels) << c.name;
    }
}

TEST(IconReader, KeepsWhatCanBeRead) {
    const std::string png =
        "\x89PNG\r\n\x1A\n" + pngChunk("IHDR", big(256, 4) + big(255, 4) + "\x08\6\0\0\0"s);
    const std::string file = ico({"broken", png, bitmap(24, std::string(16, 'x'))});
    const auto entries = readIcon(bytesOf(file), ImageFormat::ico);
    ASSERT_TRUE(entries && entries->size() == 2);
    EXPECT_EQ(entries->at(0).kind, IconEntry::Kind::png);
    EXPECT_EQ(entries->at(0).width, 256U);
    EXPECT_EQ(entries->at(0).height, 255U);
    EXPECT_EQ(entries->at(0).encoded.data(), bytesOf(file).data() + file.find(png));
    EXPECT_EQ(entries->at(1).raster.width, 2U);

    // 256 entries of a million pixels, all of them the same few bytes.
    std::string bomb = "\0\0\1\0"s + little(300, 2);
    for (int i = 0; i < 300; ++i)
        bomb += std::string(8, '\0') + little(200'000, 4) + little(6 + 300 * 16, 4);
    bomb += little(40, 4) + little(1024, 4) + little(2048, 4) + little(1, 2) + little(1, 2) +
            little(0, 200'000);
    const auto many = readIcon(bytesOf(bomb), ImageFormat::ico);
    ASSERT_TRUE(many);
    EXPECT_EQ(many->size(), 16U);
}

std::string entry(std::string_view kind, std::string_view data) {
    return std::string(kind) + big(data.size() + 8, 4) + std::string(data);
}

TEST(IconReader, ReadsIcns) {
    // Runs of all three planes of 16 by 16 pixels: 2 * 128 in each.
    const auto plane = [](char value) {
        return "\xFD"s + value + "\xFB" + value + "\1"s + value + value;
    };
    const std::string planes = plane('\x11') + plane('\x22') + plane('\x33');
    const std::string mask = "\x80" + std::string(255, '\xFF');
    const std::string mono = "\x80"s + std::string(31, '\0') + "\xC0"s + std::string(31, '\0');
    const std::string file = [&] {
        const std::string inside =
            entry("s8mk", mask) + entry("is32", planes) + entry("ics#", mono) +
            entry("ic04", "ARGB" + plane('\x44') + planes) +
            entry("ic11", "\x89PNG\r\n\x1A\n" +
                              pngChunk("IHDR", big(32, 4) + big(32, 4) + "\x08\6\0\0\0"s)) +
            entry("il32", planes) + entry("TOC ", "") + entry("ic09", "\0\0\0\x0CjP  "s);
        return "icns" + big(inside.size() + 8, 4) + inside;
    }();
    const auto entries = readIcon(bytesOf(file), ImageFormat::icns);
    ASSERT_TRUE(entries && entries->size() == 5);  // planes too short for 32 by 32 pixels
    EXPECT_EQ(pixelsOf(entries->at(0).raster).substr(0, 17), "11223380 112233ff");
    EXPECT_EQ(pixelsOf(entries->at(1).raster).substr(0, 26), "000000ff ffffffff ffffff00");
    EXPECT_EQ(pixelsOf(entries->at(2).raster).substr(0, 8), "11223344");
    EXPECT_EQ(entries->at(3).scale, 2U);
    EXPECT_EQ(entries->at(4).kind, IconEntry::Kind::jpeg2000);
    EXPECT_EQ(entries->at(4).width, 512U);
    EXPECT_FALSE(readIcon(bytesOf(file.substr(0, 12)), ImageFormat::icns));
}

TEST(MacPaint, UnpacksRows) {
    const std::string white = "\xB9\0"s, black = "\xB9\xFF"s;
    const std::string file =
        std::string(512, '\0') + black + "\x80"s + "\0\x80"s + "\xBA\0"s + white + "\x05 cut";
    const auto raster = decodeMacPaint(bytesOf(file));
    ASSERT_TRUE(raster && raster->width == 576 && raster->height == 720);
    const auto grayAt = [&raster](std::size_t x, std::size_t y) {
        return std::to_integer<int>(raster->rgba[4 * (y * 576 + x)]);
    };
    EXPECT_EQ(grayAt(0, 0) + grayAt(575, 0), 0);
    EXPECT_EQ(grayAt(0, 1), 0);
    EXPECT_EQ(grayAt(1, 1), 255);
    EXPECT_EQ(grayAt(0, 2) + grayAt(0, 719), 510);
    EXPECT_FALSE(decodeMacPaint(bytesOf(file.substr(0, 513))));
}

}  // namespace
}  // namespace corvy::platform
