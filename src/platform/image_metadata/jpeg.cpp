#include <algorithm>
#include <utility>

#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

enum Marker : std::uint8_t {
    kFrame0 = 0xC0,
    kFrame2 = 0xC2,
    kLosslessFrame = 0xC3,
    kHuffmanTables = 0xC4,
    kReserved = 0xC8,
    kArithmeticFrame10 = 0xCA,
    kArithmeticTables = 0xCC,
    kLastFrame = 0xCF,
    kRestart0 = 0xD0,
    kStart = 0xD8,
    kEnd = 0xD9,
    kScan = 0xDA,
    kApplication0 = 0xE0,
    kApplication1 = 0xE1,
    kApplication2 = 0xE2,
    kApplication13 = 0xED,
    kTemporary = 0x01,
};

struct Segment {
    std::uint8_t marker;
    std::uint64_t place;  // of the data, behind the length
    ByteView data;
};

bool isFrame(std::uint8_t marker) {
    return marker >= kFrame0 && marker <= kLastFrame && marker != kHuffmanTables &&
           marker != kReserved && marker != kArithmeticTables;
}

// Calls `use` with the segments up to the first scan, until it answers false.
template <typename Use>
void forEachSegment(ByteView file, Use use) {
    constexpr std::size_t kMostSegments = 4096;
    std::uint64_t at = 2;
    for (std::size_t i = 0; i < kMostSegments; ++i) {
        // Fill bytes may stand before a marker; other rubbish is skipped as decoders do.
        while (at < file.size() && file.u8(at) != 0xFF) ++at;
        while (at < file.size() && file.u8(at) == 0xFF) ++at;
        const std::uint8_t marker = file.u8(at++);
        if (at > file.size() || marker == kScan || marker == kEnd) return;
        if (marker == kTemporary || marker == 0 || (marker >= kRestart0 && marker <= kStart))
            continue;
        const std::uint64_t length = file.u16(at);
        if (length < 2) return;
        if (!use(Segment{marker, at + 2, file.part(at + 2, length - 2)})) return;
        at += length;
    }
}

void readFrame(const Segment& frame, MetadataBuilder& builder) {
    constexpr std::uint64_t kComponents = 5;
    builder.depth = frame.data.u8(0);
    builder.setSize(frame.data.u16(3), frame.data.u16(1));
    switch (frame.data.u8(kComponents)) {
        case 1: builder.colorModel = ColorModel::gray; break;
        case 3: builder.colorModel = ColorModel::rgb; break;
        case 4: builder.colorModel = ColorModel::cmyk; break;
        default: break;
    }
    if (frame.marker == kFrame2 || frame.marker == kArithmeticFrame10)
        builder.jfif.set(u"IsProgressive", true);
}

void readJfif(ByteView data, MetadataBuilder& builder) {
    constexpr std::uint8_t kInches = 1, kCentimeters = 2;
    constexpr double kCentimetersPerInch = 2.54;
    const std::uint8_t unit = data.u8(7);
    const std::int64_t x = data.u16(8), y = data.u16(10);
    builder.jfif.set(u"JFIFVersion", Array{std::int64_t{data.u8(5)}, std::int64_t{data.u8(6)}});
    builder.jfif.set(u"DensityUnit", std::int64_t{unit});
    builder.jfif.set(u"XDensity", x);
    builder.jfif.set(u"YDensity", y);
    const double factor = unit == kCentimeters ? kCentimetersPerInch : 1;
    if (unit == kInches || unit == kCentimeters)
        builder.setDpi(static_cast<double>(x) * factor, static_cast<double>(y) * factor);
}

// The first of a profile's parts holds its list of tags, and its name nearly always.
void readProfilePart(ByteView data, MetadataBuilder& builder) {
    constexpr std::string_view kName = "ICC_PROFILE\0"sv;
    constexpr std::uint64_t kProfile = 14;
    if (data.hasText(0, kName) && data.u8(kName.size()) == 1)
        readProfile(data.part(kProfile), builder);
}

}  // namespace

std::optional<PixelSize> sizeOfJpeg(ByteView bytes) {
    std::optional<PixelSize> size;
    bytes = bytes.inOrder(ByteOrder::big);
    if (!bytes.hasText(0, "\xFF\xD8\xFF"sv)) return size;
    forEachSegment(bytes, [&size](const Segment& segment) {
        if (!isFrame(segment.marker)) return true;
        const PixelSize found = {segment.data.u16(3), segment.data.u16(1)};
        // Lossless frames are the sensor's own picture in camera raw files.
        if (segment.marker != kLosslessFrame && found.width != 0 && found.height != 0) size = found;
        return false;
    });
    return size;
}

void readJpeg(ByteView file, MetadataBuilder& builder) {
    constexpr std::string_view kResources = "Photoshop 3.0\0"sv;
    constexpr std::string_view kXmp = "http://ns.adobe.com/xap/1.0/\0"sv;
    bool hasFrame = false, hasExif = false;
    forEachSegment(file, [&](const Segment& segment) {
        const ByteView data = segment.data;
        if (isFrame(segment.marker) && !std::exchange(hasFrame, true)) {
            readFrame(segment, builder);
        } else if (segment.marker == kApplication0 && data.hasText(0, "JFIF\0"sv)) {
            if (!hasExif) readJfif(data, builder);
        } else if (segment.marker == kApplication1 && data.hasText(0, "Exif\0"sv)) {
            if (!std::exchange(hasExif, true)) readExif(data, segment.place, builder);
        } else if (segment.marker == kApplication1 && data.hasText(0, kXmp)) {
            builder.setXmpPacket(data.chars(kXmp.size()));
        } else if (segment.marker == kApplication2) {
            readProfilePart(data, builder);
        } else if (segment.marker == kApplication13 && data.hasText(0, kResources)) {
            readImageResources(data.part(kResources.size()), segment.place + kResources.size(),
                               builder);
        }
        return true;
    });
    constexpr std::int64_t kStandardColors = 1;
    const PropertyList* colors = builder.exif.find(u"ColorSpace");
    if (builder.profileName.empty() && colors && colors->integer() == kStandardColors)
        builder.profileName = u"sRGB IEC61966-2.1";
}

}  // namespace corvy::platform
