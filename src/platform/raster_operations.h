// What is done to decoded pixels without a library.
#pragma once

#include <array>
#include <cstdint>

#include "platform/image_metadata.h"
#include "platform/raster.h"

namespace corvy::platform {

constexpr PixelSize sizeOf(const Raster& raster) {
    return {raster.width, raster.height};
}

// Exif orientations that lay the picture on its side.
constexpr bool swapsSides(int orientation) {
    return orientation >= 5 && orientation <= 8;
}
constexpr PixelSize turned(PixelSize size, int orientation) {
    return swapsSides(orientation) ? PixelSize{size.height, size.width} : size;
}
// The picture as it is to be seen; `orientation` as Exif numbers them, others change nothing.
Raster turned(Raster raster, int orientation);

// A colour of 8 bits each, with straight alpha.
using Colour = std::array<std::uint8_t, 4>;
inline constexpr Colour kWhite{255, 255, 255, 255};
inline constexpr Colour kClear{0, 0, 0, 0};

// Lays the picture over a colour.
void drawOver(Raster& raster, Colour background);

// The part of a picture; the rectangle lies within it.
struct PixelRect {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    PixelSize size;
};
Raster cropped(const Raster& raster, const PixelRect& part);

// An empty picture of one colour. Throws std::bad_alloc like any vector.
Raster rasterOf(PixelSize size, Colour colour);

// Rows as Cairo keeps them, 32 bits of premultiplied alpha, red, green and blue in the machine's
// order; `stride` in bytes.
Raster rasterOfPremultiplied(const std::uint8_t* rows, std::size_t stride, PixelSize size);

}  // namespace corvy::platform
