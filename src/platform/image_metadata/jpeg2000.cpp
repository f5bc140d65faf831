#include <algorithm>
#include <cmath>

#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/boxes.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kCodestream = "\xFF\x4F\xFF\x51"sv;

ColorModel modelOfComponents(std::uint32_t count) {
    return count <= 2 ? ColorModel::gray : ColorModel::rgb;
}

std::uint32_t depthOf(std::uint8_t precision) {
    return (precision & 0x7FU) + 1;  // the highest bit is the sign
}

void readCodestream(ByteView stream, MetadataBuilder& builder) {
    constexpr std::uint64_t kSize = 8, kOrigin = 16, kComponents = 40, kPrecision = 42;
    const std::uint32_t width = stream.u32(kSize), left = stream.u32(kOrigin);
    const std::uint32_t height = stream.u32(kSize + 4), top = stream.u32(kOrigin + 4);
    if (width > left && height > top) builder.setSize(width - left, height - top);
    builder.depth = depthOf(stream.u8(kPrecision));
    builder.colorModel = modelOfComponents(stream.u16(kComponents));
}

void readImageHeader(ByteView box, MetadataBuilder& builder) {
    constexpr std::uint8_t kMixedDepths = 255;
    builder.setSize(box.u32(4), box.u32(0));
    builder.colorModel = modelOfComponents(box.u16(8));
    if (box.u8(10) != kMixedDepths) builder.depth = depthOf(box.u8(10));
}

void readColor(ByteView box, MetadataBuilder& builder) {
    enum Space : std::uint32_t { kCmyk = 12, kLab = 14, kStandard = 16, kGray = 17 };
    constexpr std::uint8_t kEnumerated = 1;
    if (box.u8(0) != kEnumerated) {
        readProfile(box.part(3), builder);
        return;
    }
    switch (box.u32(3)) {
        case kCmyk: builder.colorModel = ColorModel::cmyk; break;
        case kLab: builder.colorModel = ColorModel::lab; break;
        case kStandard: builder.profileName = u"sRGB IEC61966-2.1"; break;
        case kGray: builder.colorModel = ColorModel::gray; break;
        default: break;
    }
}

void readChannels(ByteView box, MetadataBuilder& builder) {
    constexpr std::uint16_t kOpacity = 1, kPremultiplied = 2, kMostChannels = 256;
    const std::uint16_t count = std::min(box.u16(0), kMostChannels);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint16_t kind = box.u16(2 + 6 * i + 2);
        if (kind == kOpacity || kind == kPremultiplied) builder.hasAlpha = true;
    }
}

// Fractions and powers of ten, of pixels per metre.
void readResolution(ByteView box, MetadataBuilder& builder) {
    constexpr double kInch = 254, kMeter = 10000;  // in tenths of a millimetre
    const auto dpi = [box](std::uint64_t fraction, std::uint64_t exponent) {
        const double power = std::pow(10.0, static_cast<std::int8_t>(box.u8(exponent)));
        return box.u16(fraction) * kInch * power / (box.u16(fraction + 2) * kMeter);
    };
    builder.setDpi(dpi(4, 9), dpi(0, 8));
}

void readHeaderBox(const Box& box, MetadataBuilder& builder) {
    if (box.kind == "ihdr") readImageHeader(box.inside, builder);
    if (box.kind == "colr") readColor(box.inside, builder);
    if (box.kind == "cdef") readChannels(box.inside, builder);
    if (box.kind != "res ") return;
    forEachBox(box.inside, [&builder](const Box& resolution) {
        // The one for display wins over that of the scanner.
        const bool isForDisplay = resolution.kind == "resd";
        if (isForDisplay || (resolution.kind == "resc" && builder.dpiWidth == 0))
            readResolution(resolution.inside, builder);
    });
}

// Boxes that their first 16 bytes name.
void readIdentified(const Box& box, MetadataBuilder& builder) {
    constexpr std::string_view kExif = "JpgTiffExif->JP2"sv;
    constexpr std::string_view kIptc =
        "\x33\xC7\xA4\xD2\xB8\x1D\x47\x23\xA0\xBA\xF1\xA3\xE0\x97\xAD\x38"sv;
    constexpr std::string_view kXmp =
        "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"sv;
    const ByteView block = box.inside.part(kExif.size());
    if (box.inside.hasText(0, kExif)) readExif(block, box.place + kExif.size(), builder);
    if (box.inside.hasText(0, kIptc)) readIptc(block, builder);
    if (box.inside.hasText(0, kXmp)) builder.setXmpPacket(block.chars());
}

}  // namespace

void readJpeg2000(ByteView file, MetadataBuilder& builder) {
    if (file.hasText(0, kCodestream)) {
        readCodestream(file, builder);
        return;
    }
    builder.hasAlpha = false;
    forEachBox(file, [&builder](const Box& top) {
        if (top.kind == "jp2h")
            forEachBox(top.inside, [&builder](const Box& box) { readHeaderBox(box, builder); });
        if (top.kind == "uuid") readIdentified(top, builder);
        if (top.kind == "jp2c" && !builder.size) readCodestream(top.inside, builder);
    });
}

}  // namespace corvy::platform
