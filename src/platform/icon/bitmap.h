// The bitmaps inside icons.
#pragma once

#include <optional>

#include "platform/icon/directory.h"
#include "platform/raster.h"

namespace corvy::platform {

// None for what is cut off or of no known kind.
std::optional<Raster> decodeIconBitmap(const IconPicture& picture);  // coded as `bitmap`
std::optional<Raster> decodeIconPlanes(const IconPicture& picture);  // as `mono`, `rgb` or `argb`

}  // namespace corvy::platform
