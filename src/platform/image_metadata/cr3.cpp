#include <algorithm>
#include <string_view>

#include "platform/image_metadata/boxes.h"
#include "platform/image_metadata/exif.h"
#include "platform/image_metadata/readers.h"

namespace corvy::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::uint64_t kIdentifier = 16;  // bytes of the name of a "uuid" box

// The JPEG behind a short header of a size that depends on the box's version.
void readPreview(const Box& box, std::uint64_t place, MetadataBuilder& builder) {
    constexpr std::uint64_t kLongestHeader = 64;
    const std::size_t start = box.inside.chars(0, kLongestHeader).find("\xFF\xD8\xFF"sv);
    if (start == std::string_view::npos) return;
    const ByteView jpeg = box.inside.part(start);
    const auto size = sizeOfJpeg(jpeg);
    if (size) builder.addEmbedded({EmbeddedImage::Kind::jpeg, place + start, jpeg.size(), size});
}

// Directories of their own: the picture's, Exif's and that of the place.
void readBlocks(const Box& box, MetadataBuilder& builder) {
    constexpr std::uint16_t kWidth = 256, kHeight = 257;
    const auto block = TiffBlock::open(box.inside);
    if (!block) return;
    const TiffDirectory directory = block->directoryAt(block->firstDirectory());
    if (box.kind == "CMT1") {
        builder.setSize(directory.whole(kWidth), directory.whole(kHeight));
        readTiffGroup(directory, builder);
    }
    if (box.kind == "CMT2") readExifGroup(directory, builder);
    if (box.kind == "CMT4") readGpsGroup(directory, builder);
}

}  // namespace

void readCr3(ByteView file, MetadataBuilder& builder) {
    constexpr std::string_view kCameraData =
        "\x85\xC0\xB6\x87\x82\x0F\x11\xE0\x81\x11\xF4\xCE\x46\x2B\x6A\x48"sv;
    constexpr std::string_view kPreview =
        "\xEA\xF4\x2B\x5E\x1C\x98\x4B\x88\xB9\xFB\xB7\xDC\x40\x6E\x4D\x16"sv;
    constexpr std::uint64_t kPreviewHeader = kIdentifier + 8;
    builder.colorModel = ColorModel::rgb;
    builder.depth = 8;
    forEachBox(file, [&](const Box& top) {
        if (top.kind == "uuid" && top.inside.hasText(0, kPreview)) {
            forEachBox(top.inside.part(kPreviewHeader), [&](const Box& box) {
                if (box.kind == "PRVW")
                    readPreview(box, top.place + kPreviewHeader + box.place, builder);
            });
        }
        if (top.kind != "moov") return;
        forEachBox(top.inside, [&](const Box& camera) {
            if (camera.kind != "uuid" || !camera.inside.hasText(0, kCameraData)) return;
            forEachBox(camera.inside.part(kIdentifier), [&](const Box& box) {
                readBlocks(box, builder);
                if (box.kind == "THMB")
                    readPreview(box, top.place + camera.place + kIdentifier + box.place, builder);
            });
        });
    });
}

}  // namespace corvy::platform
