#include "platform/image_metadata/blocks.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

void readPsd(ByteView file, MetadataBuilder& builder) {
    enum Mode : std::uint16_t {
        kBitmap = 0,
        kGray = 1,
        kIndexed = 2,
        kRgb = 3,
        kCmyk = 4,
        kDuotone = 8,
        kLab = 9,
    };
    constexpr std::uint64_t kChannels = 12, kHeight = 14, kWidth = 18, kDepth = 22, kMode = 24;
    constexpr std::uint64_t kColorData = 26;
    std::uint16_t colors = 1;
    switch (file.u16(kMode)) {
        case kBitmap:
        case kGray:
        case kDuotone: builder.colorModel = ColorModel::gray; break;
        case kIndexed:
            builder.colorModel = ColorModel::rgb;
            builder.isIndexed = true;
            break;
        case kRgb:
            builder.colorModel = ColorModel::rgb;
            colors = 3;
            break;
        case kCmyk:
            builder.colorModel = ColorModel::cmyk;
            colors = 4;
            break;
        case kLab:
            builder.colorModel = ColorModel::lab;
            colors = 3;
            break;
        default: break;
    }
    builder.setSize(file.u32(kWidth), file.u32(kHeight));
    builder.depth = file.u16(kDepth);
    builder.isFloat = builder.depth == 32;
    builder.hasAlpha = file.u16(kChannels) > colors;
    const std::uint64_t resources = kColorData + 4 + file.u32(kColorData) + 4;
    readImageResources(file.part(resources, file.u32(resources - 4)), resources, builder);
}

}  // namespace corvy::platform
