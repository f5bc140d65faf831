// MacPaint files: one picture of 576 by 720 black and white pixels.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "platform/raster.h"

namespace corvy::platform {

// With or without the 128 bytes of a MacBinary header before it. Rows that are missing are white;
// none when the first one is.
std::optional<Raster> decodeMacPaint(std::span<const std::byte> bytes);

}  // namespace corvy::platform
