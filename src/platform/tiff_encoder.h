// Rasters as TIFF files, the form in which pictures leave the workers.
#pragma once

#include <cstdint>
#include <optional>

#include "foundation/bytes.h"
#include "platform/raster.h"

namespace corvy::platform {

// By the numbers of the format.
enum class TiffCompression : std::uint16_t {
    none = 1,
    lzw = 5,  // over horizontal differences
};

// A file of one picture: 8 bits each of red, green and blue, and of straight alpha when the raster
// has alpha; 72 pixels to the inch. None when the raster has no pixels, fewer than its size says,
// or more than the format or memory holds.
std::optional<Bytes> tiffRepresentation(const Raster& raster, TiffCompression compression);

}  // namespace corvy::platform
