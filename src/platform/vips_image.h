// Pictures through libvips: the formats that it has a loader of its own for, and resampling.
//
// It is never asked what bytes are: its tests for some formats do not come back from hostile
// files. It keeps state for the whole process and may crash or hang: it belongs into a worker.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/image_formats.h"
#include "platform/picture_decoding.h"
#include "platform/raster.h"

namespace corvy::platform {

// Loads the library for processes forked later, and takes its untrusted loaders away. Threads are
// not started. Called once, before anything else here.
void prepareVips();
// Such as "8.14.1".
std::string vipsVersion();

struct VipsDecoding {
    DecodeTarget target;
    std::uint32_t page = 0;      // of a TIFF file
    bool heifThumbnail = false;  // the thumbnail item of a HEIF file instead of the picture
};
// In sRGB, as stored (but HEIF and AVIF, which are turned as they say). A picture that breaks off
// is grey or empty from there on. None when the bytes are not in this format, and for pictures
// beyond the limits.
std::optional<Raster> decodeByVips(std::span<const std::byte> bytes, ImageFormat format,
                                   const VipsDecoding& options = {});

// The sizes of the pages of a TIFF file, as far as they can be read; `most` at most.
std::vector<PixelSize> pageSizesOfTiff(std::span<const std::byte> bytes, std::size_t most);

// How pixels are made out of those around them.
enum class Interpolation : std::uint8_t { none, low, medium, high };  // the default is `high`

// None when it is too large for memory. Neither side of `size` is 0.
std::optional<Raster> resampled(const Raster& raster, PixelSize size,
                                Interpolation interpolation = Interpolation::high);

}  // namespace corvy::platform
