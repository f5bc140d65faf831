#include <algorithm>

#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

constexpr std::uint32_t kSideBits = 14;
constexpr std::uint32_t kSideMask = (1U << kSideBits) - 1;

void readLossy(ByteView data, MetadataBuilder& builder) {
    constexpr std::uint64_t kWidth = 6, kHeight = 8;
    if (data.hasText(3, "\x9D\x01\x2A") && !builder.size)
        builder.setSize(data.u16(kWidth) & kSideMask, data.u16(kHeight) & kSideMask);
}

void readLossless(ByteView data, MetadataBuilder& builder) {
    constexpr std::uint8_t kSignature = 0x2F;
    if (data.u8(0) != kSignature) return;
    const std::uint32_t bits = data.u32(1);
    if (!builder.size) builder.setSize((bits & kSideMask) + 1, (bits >> kSideBits & kSideMask) + 1);
    if ((bits >> 2 * kSideBits & 1) != 0) builder.hasAlpha = true;
}

void readExtended(ByteView data, MetadataBuilder& builder) {
    constexpr std::uint8_t kHasAlpha = 0x10;
    builder.setSize(std::uint64_t{data.u24(4)} + 1, std::uint64_t{data.u24(7)} + 1);
    builder.hasAlpha = (data.u8(0) & kHasAlpha) != 0;
}

}  // namespace

void readWebp(ByteView bytes, MetadataBuilder& builder) {
    constexpr std::uint64_t kHeader = 12, kChunkHeader = 8;
    constexpr std::size_t kMostChunks = 1 << 16;
    const ByteView file = bytes.inOrder(ByteOrder::little);
    builder.depth = 8;
    builder.colorModel = ColorModel::rgb;
    builder.hasAlpha = false;
    std::uint64_t at = kHeader;
    for (std::size_t i = 0; i < kMostChunks && file.has(at, kChunkHeader); ++i) {
        const std::string_view kind = file.chars(at, 4);
        const std::uint64_t length = file.u32(at + 4);
        const ByteView data = file.part(at + kChunkHeader, length);
        if (kind == "VP8X") readExtended(data, builder);
        if (kind == "VP8 ") readLossy(data, builder);
        if (kind == "VP8L") readLossless(data, builder);
        if (kind == "ICCP") readProfile(data, builder);
        if (kind == "EXIF") readExif(data, at + kChunkHeader, builder);
        if (kind == "XMP ") builder.setXmpPacket(data.chars());
        at += kChunkHeader + length + (length & 1);
    }
}

}  // namespace corvy::platform
