// JPEG files at an eighth of their size, which is where thumbnails of large ones begin.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "platform/raster.h"

namespace corvy::platform {

// The averages of all blocks of 8 by 8 pixels, in the file's own colours. In progressive files they
// stand at the begin; the rest, most of the file, is not even looked at, and their lowest bit may
// be missing, as it comes last. A file that breaks off is grey from there on. None for CMYK, for
// what is no JPEG, and beyond the limits.
std::optional<Raster> eighthOfJpeg(std::span<const std::byte> bytes);

}  // namespace corvy::platform
