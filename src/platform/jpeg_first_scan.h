// Progressive JPEG files at an eighth of their size, out of their first scan alone.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "platform/raster.h"

namespace corvy::platform {

// The averages of all blocks of 8 by 8 pixels stand at the begin of such files; the rest, most of
// the file, is not even looked at. The lowest bit of the averages may be missing, as it comes last.
// None for other files, for CMYK, for a file that breaks off before, and beyond the limits.
std::optional<Raster> eighthOfProgressiveJpeg(std::span<const std::byte> bytes);

}  // namespace corvy::platform
