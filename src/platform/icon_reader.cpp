#include "platform/icon_reader.h"

#include <utility>

#include "platform/icon/bitmap.h"
#include "platform/icon/directory.h"

namespace corvy::platform {

namespace {

using Coding = IconPicture::Coding;

// Entries may share their bytes, so that a small file could ask for any amount of pixels.
constexpr std::uint32_t kLongestIconSide = 1024;
constexpr std::uint64_t kMostIconPixels = 16 << 20;

std::optional<Raster> decoded(const IconPicture& picture) {
    return picture.coding == Coding::bitmap ? decodeIconBitmap(picture) : decodeIconPlanes(picture);
}

}  // namespace

std::optional<std::vector<IconEntry>> readIcon(std::span<const std::byte> bytes,
                                               ImageFormat format) {
    std::vector<IconEntry> entries;
    std::uint64_t pixels = 0;
    for (const IconPicture& picture : picturesOfIcon(ByteView(bytes), format)) {
        IconEntry entry;
        entry.width = picture.width;
        entry.height = picture.height;
        entry.scale = picture.scale;
        if (picture.coding == Coding::png || picture.coding == Coding::jpeg2000) {
            entry.kind =
                picture.coding == Coding::png ? IconEntry::Kind::png : IconEntry::Kind::jpeg2000;
            entry.encoded = picture.bytes.span();
        } else {
            if (picture.width > kLongestIconSide || picture.height > kLongestIconSide) continue;
            pixels += std::uint64_t{picture.width} * picture.height;
            if (pixels > kMostIconPixels) break;
            auto raster = decoded(picture);
            if (!raster) continue;
            entry.raster = *std::move(raster);
        }
        entries.push_back(std::move(entry));
    }
    if (entries.empty()) return std::nullopt;
    return entries;
}

}  // namespace corvy::platform
