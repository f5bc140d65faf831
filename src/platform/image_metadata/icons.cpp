#include <algorithm>

#include "platform/icon/directory.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

void readLargest(ByteView file, ImageFormat format, MetadataBuilder& builder) {
    const auto pictures = picturesOfIcon(file, format);
    const auto largest = std::ranges::max_element(pictures, {}, [](const IconPicture& picture) {
        return std::uint64_t{picture.width} * picture.height;
    });
    if (largest == pictures.end()) return;
    builder.setSize(largest->width, largest->height);
    builder.depth = largest->depth;
    builder.colorModel = ColorModel::rgb;
    builder.hasAlpha = true;
}

}  // namespace

void readIco(ByteView file, MetadataBuilder& builder) {
    readLargest(file, ImageFormat::ico, builder);
}

void readIcns(ByteView file, MetadataBuilder& builder) {
    readLargest(file, ImageFormat::icns, builder);
}

}  // namespace corvy::platform
