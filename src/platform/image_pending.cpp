// Stands in for the readers of metadata and icons until they are merged; knows nothing.
#include "platform/icon_reader.h"
#include "platform/image_metadata.h"
#include "platform/mac_paint.h"

namespace corvy::platform {

ImageMetadata imageMetadataOf(std::span<const std::byte>, ImageFormat) {
    return {};
}

std::optional<std::vector<IconEntry>> readIcon(std::span<const std::byte>, ImageFormat) {
    return std::nullopt;
}

std::optional<Raster> decodeMacPaint(std::span<const std::byte>) {
    return std::nullopt;
}

}  // namespace corvy::platform
