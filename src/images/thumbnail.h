// Thumbnails of picture files, at no more cost than they need.
//
// Decoding runs foreign libraries, so this belongs into a worker.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/property_list.h"
#include "images/image.h"

namespace corvy {

struct FileThumbnailOptions {
    bool alwaysFromImage = false;  // scale the picture even when the file carries a thumbnail
    bool withTransform = false;    // turn it as the file's orientation says
};

// `maxSize` in pixels of the longer side; 0 or less: as large as the picture. None for a file
// without pixels, such as a drawing. `properties`, where given, gets those of the first picture;
// none without a thumbnail, or when the file tells nothing.
std::optional<Image> thumbnailForFile(std::optional<std::u16string_view> path, std::int64_t maxSize,
                                      const FileThumbnailOptions& options = {},
                                      std::optional<Dictionary>* properties = nullptr);

}  // namespace corvy
