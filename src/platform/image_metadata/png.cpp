#include <algorithm>
#include <iterator>
#include <span>
#include <string>
#include <utility>

#include "foundation/text.h"
#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

constexpr double kFraction = 100000;  // of the numbers in gAMA and cHRM

// Keywords of texts, and the keys that they become.
using TextKey = std::pair<std::string_view, std::u16string_view>;
constexpr TextKey kTextKeys[] = {{"Author", u"Author"},
                                 {"Comment", u"Comment"},
                                 {"Copyright", u"Copyright"},
                                 {"Creation Time", u"CreationTime"},
                                 {"Description", u"Description"},
                                 {"Disclaimer", u"Disclaimer"},
                                 {"Software", u"Software"},
                                 {"Source", u"Source"},
                                 {"Title", u"Title"},
                                 {"Warning", u"Warning"}};

void readHeader(ByteView data, MetadataBuilder& builder) {
    enum Color : std::uint8_t { kGray = 0, kIndexed = 3, kGrayAlpha = 4, kAlpha = 4 };
    const std::uint8_t color = data.u8(9);
    builder.setSize(data.u32(0), data.u32(4));
    builder.depth = data.u8(8);
    builder.isIndexed = color == kIndexed;
    builder.colorModel = color == kGray || color == kGrayAlpha ? ColorModel::gray : ColorModel::rgb;
    builder.hasAlpha = (color & kAlpha) != 0;
    builder.png.set(u"InterlaceType", std::int64_t{data.u8(12)});
}

void readDensity(ByteView data, MetadataBuilder& builder) {
    constexpr std::uint8_t kMeters = 1;
    if (data.u8(8) != kMeters) return;
    builder.setPixelsPerMeter(data.u32(0), data.u32(4));
    builder.png.set(u"XPixelsPerMeter", std::int64_t{data.u32(0)});
    builder.png.set(u"YPixelsPerMeter", std::int64_t{data.u32(4)});
}

void readChromaticities(ByteView data, MetadataBuilder& builder) {
    Array numbers;
    for (std::uint64_t at = 0; at < 32; at += 4) numbers.emplace_back(data.u32(at) / kFraction);
    builder.png.set(u"Chromaticities", std::move(numbers));
}

// A text and what stands before it: keyword, flags and languages as the kind of chunk has them.
void readText(std::string_view kind, ByteView data, MetadataBuilder& builder) {
    const std::string_view keyword = data.chars().substr(0, data.chars().find('\0'));
    const auto* known = std::ranges::find(kTextKeys, keyword, &TextKey::first);
    const bool isPacket = keyword == "XML:com.adobe.xmp" && builder.xmpPacket.empty();
    const bool isKnown = known != std::end(kTextKeys) && !builder.png.contains(known->second);
    if (!isKnown && !isPacket) return;
    std::uint64_t at = keyword.size() + 1;
    bool isDeflated = kind == "zTXt";
    if (isDeflated) ++at;  // the method, of which there is one
    if (kind == "iTXt") {
        isDeflated = data.u8(at) != 0;
        at += 2;
        for (int skipped = 0; skipped < 2; ++skipped) {
            const std::size_t end = data.chars(at).find('\0');
            if (end == std::string_view::npos) return;
            at += end + 1;
        }
    }
    const std::string inflated =
        isDeflated ? inflatedStart(data.part(at), isPacket ? kMostPacketBytes : kMostValueBytes)
                   : std::string();
    const std::string_view written = isDeflated ? std::string_view(inflated) : data.chars(at);
    if (isPacket) return builder.setXmpPacket(written);
    std::u16string text = fileText(written);
    if (!text.empty()) builder.png.set(known->second, std::move(text));
}

void readColorProfile(ByteView data, MetadataBuilder& builder) {
    const std::string_view name = data.chars().substr(0, data.chars().find('\0'));
    builder.profileName = fileText(name);
    const std::string profile = inflatedStart(data.part(name.size() + 2), kMostValueBytes);
    readProfile(ByteView(std::as_bytes(std::span(profile))), builder);
}

void readAnimation(ByteView data, MetadataBuilder& builder) {
    builder.png.set(u"LoopCount", std::int64_t{data.u32(4)});
}

void readDelay(ByteView data, MetadataBuilder& builder) {
    constexpr double kHundredths = 100, kShortestDelay = 0.011, kUsualDelay = 0.1;
    if (builder.png.contains(u"DelayTime")) return;
    const double parts = data.u16(22) == 0 ? kHundredths : data.u16(22);
    const double delay = data.u16(20) / parts;
    builder.png.set(u"DelayTime", delay < kShortestDelay ? kUsualDelay : delay);
    builder.png.set(u"UnclampedDelayTime", delay);
}

void readStandardColors(ByteView data, MetadataBuilder& builder) {
    builder.png.set(u"sRGBIntent", std::int64_t{data.u8(0)});
    if (builder.profileName.empty()) builder.profileName = u"sRGB IEC61966-2.1";
}

void readChunk(std::string_view kind, std::uint64_t place, ByteView data,
               MetadataBuilder& builder) {
    if (kind == "IHDR") readHeader(data, builder);
    if (kind == "pHYs") readDensity(data, builder);
    if (kind == "gAMA") builder.png.set(u"Gamma", data.u32(0) / kFraction);
    if (kind == "cHRM") readChromaticities(data, builder);
    if (kind == "sRGB") readStandardColors(data, builder);
    if (kind == "iCCP") readColorProfile(data, builder);
    if (kind == "tRNS") builder.hasAlpha = true;
    if (kind == "acTL") readAnimation(data, builder);
    if (kind == "fcTL") readDelay(data, builder);
    if (kind == "eXIf") readExif(data, place, builder);
    if (kind == "tEXt" || kind == "zTXt" || kind == "iTXt") readText(kind, data, builder);
}

}  // namespace

void readPng(ByteView file, MetadataBuilder& builder) {
    constexpr std::uint64_t kSignature = 8, kAround = 12;
    constexpr std::size_t kMostChunks = 1 << 16;
    // Profiles are the largest of what is read.
    constexpr std::uint64_t kMostChunkBytes = 4 << 20;
    std::uint64_t at = kSignature;
    for (std::size_t i = 0; i < kMostChunks && file.has(at, kAround); ++i) {
        const std::uint64_t length = file.u32(at);
        const std::string_view kind = file.chars(at + 4, 4);
        if (kind == "IEND") return;
        // Of a cut file, the chunk that is cut is left out.
        if (!file.has(at + 8, length)) return;
        if (kind != "IDAT" && kind != "fdAT" && length <= kMostChunkBytes)
            readChunk(kind, at + 8, file.part(at + 8, length), builder);
        at += length + kAround;
    }
}

}  // namespace corvy::platform
