#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

constexpr std::uint8_t kExtension = 0x21, kPicture = 0x2C;
constexpr std::uint8_t kControl = 0xF9, kApplication = 0xFF;

std::uint64_t bytesOfColors(std::uint8_t flags) {
    constexpr std::uint8_t kHasColors = 0x80, kSizeBits = 7;
    return (flags & kHasColors) != 0 ? 3ULL << ((flags & kSizeBits) + 1) : 0;
}

// Behind the chain of blocks that begins here.
std::uint64_t endOfBlocks(ByteView file, std::uint64_t at) {
    while (file.u8(at) != 0) at += file.u8(at) + 1;
    return at + 1;
}

void readControl(ByteView block, MetadataBuilder& builder) {
    constexpr double kHundredths = 100, kShortestDelay = 0.011, kUsualDelay = 0.1;
    constexpr std::uint8_t kTransparent = 1;
    const double delay = block.u16(2) / kHundredths;
    // kept: browsers take very short delays for an old default.
    builder.gif.set(u"DelayTime", delay < kShortestDelay ? kUsualDelay : delay);
    builder.gif.set(u"UnclampedDelayTime", delay);
    if ((block.u8(1) & kTransparent) != 0) builder.hasAlpha = true;
}

void readExtension(ByteView block, std::uint8_t label, MetadataBuilder& builder) {
    constexpr std::uint64_t kName = 1, kLoop = 12;
    if (label == kControl && !builder.gif.contains(u"DelayTime")) readControl(block, builder);
    // A packet stands as it is, without the lengths of blocks in it; a reader of XML finds its end.
    if (label == kApplication && block.hasText(kName, "XMP DataXMP"))
        builder.setXmpPacket(block.chars(kLoop, kMostPacketBytes));
    const bool isLoop = block.hasText(kName, "NETSCAPE2.0") || block.hasText(kName, "ANIMEXTS1.0");
    if (label == kApplication && isLoop && block.u8(kLoop + 1) == 1)
        builder.gif.set(u"LoopCount", std::int64_t{block.u16(kLoop + 2)});
}

}  // namespace

void readGif(ByteView bytes, MetadataBuilder& builder) {
    constexpr std::uint64_t kScreen = 13, kFlags = 10;
    constexpr std::uint32_t kDepth = 8;
    constexpr std::size_t kMostExtensions = 4096;
    const ByteView file = bytes.inOrder(ByteOrder::little);
    builder.setSize(file.u16(6), file.u16(8));
    builder.depth = kDepth;
    builder.colorModel = ColorModel::rgb;
    builder.isIndexed = true;
    builder.hasAlpha = false;
    const std::uint64_t colors = bytesOfColors(file.u8(kFlags));
    builder.gif.set(u"HasGlobalColorMap", colors != 0);
    std::uint64_t at = kScreen + colors;
    for (std::size_t i = 0; i < kMostExtensions && file.u8(at) == kExtension; ++i) {
        readExtension(file.part(at + 2), file.u8(at + 1), builder);
        at = endOfBlocks(file, at + 2);
    }
    // A screen of no size has that of its first picture.
    if (!builder.size && file.u8(at) == kPicture)
        builder.setSize(file.u16(at + 5), file.u16(at + 7));
}

}  // namespace corvy::platform
