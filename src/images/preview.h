// Previews of files: whatever an image can be made of, fitted into a size.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "images/image.h"

namespace corvy {

struct PreviewOptions {
    bool asIcon = false;  // as a sheet with a frame and a shadow, for lists of files
    TemporaryFolder folder = {};
};

// `size` in points, which are pixels here. None when there is no path, or nothing to be seen.
std::optional<Image> previewForFile(std::optional<std::u16string_view> path, Size size,
                                    const PreviewOptions& options = {});
// The same in a square.
std::optional<Image> previewForFile(std::optional<std::u16string_view> path, std::int64_t maxSize,
                                    const PreviewOptions& options = {});

}  // namespace corvy
