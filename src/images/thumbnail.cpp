#include "images/thumbnail.h"

#include <utility>

#include "platform/image_source.h"

namespace corvy {

std::optional<Image> thumbnailForFile(std::optional<std::u16string_view> path, std::int64_t maxSize,
                                      const FileThumbnailOptions& options,
                                      std::optional<Dictionary>* properties) {
    if (properties != nullptr) properties->reset();
    if (!path || path->empty()) return std::nullopt;
    const auto source = platform::ImageSource::ofFile(*path);
    if (!source) return std::nullopt;
    auto thumbnail = source->thumbnail({.maxPixelSize = maxSize,
                                        .fromImageIfAbsent = true,
                                        .fromImageAlways = options.alwaysFromImage,
                                        .withTransform = options.withTransform});
    if (!thumbnail) return std::nullopt;
    const Dictionary& told = source->metadata().properties;
    if (properties != nullptr && !told.empty()) *properties = told;
    return Image::imageWithCGImageRef(*std::move(thumbnail));
}

}  // namespace corvy
