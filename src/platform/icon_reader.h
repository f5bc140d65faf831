// Icon files: ICO, CUR and ICNS, with all of their pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/image_formats.h"
#include "platform/raster.h"

namespace corvy::platform {

struct IconEntry {
    enum class Kind : std::uint8_t { pixels, png, jpeg2000 };
    Kind kind = Kind::pixels;
    std::uint32_t width = 0;  // pixels, as far as the directory or the picture's own header tells
    std::uint32_t height = 0;
    // ICNS: 2 for pictures of double density, so a logical size of half as many points.
    std::uint32_t scale = 1;
    std::span<const std::byte> encoded;  // within the file; empty for `pixels`
    Raster raster;                       // empty but for `pixels`
};

// The pictures in the file's order, broken ones left out; `format` is ico, cur or icns. None when
// the bytes are no such file, or hold no picture.
std::optional<std::vector<IconEntry>> readIcon(std::span<const std::byte> bytes,
                                               ImageFormat format);

}  // namespace corvy::platform
