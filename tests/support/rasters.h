// Small pictures for tests, and a look at their pixels.
#pragma once

#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "platform/raster_operations.h"

namespace corvy::test {

using platform::Colour;
using platform::PixelSize;
using platform::Raster;

inline constexpr Colour kRed{255, 0, 0, 255};
inline constexpr Colour kGreen{0, 255, 0, 255};
inline constexpr Colour kBlue{0, 0, 255, 255};
inline constexpr Colour kBlack{0, 0, 0, 255};
inline constexpr Colour kWhite = platform::kWhite;
inline constexpr Colour kClear = platform::kClear;

inline Colour pixelAt(const Raster& raster, std::size_t x, std::size_t y) {
    Colour colour{};
    for (std::size_t i = 0; i < 4; ++i) {
        colour[i] = static_cast<std::uint8_t>(raster.rgba.at((y * raster.width + x) * 4 + i));
    }
    return colour;
}

// Left half and right half.
inline Raster halves(PixelSize size, Colour left, Colour right) {
    Raster raster = platform::rasterOf(size, left);
    for (std::uint32_t y = 0; y < size.height; ++y) {
        for (std::uint32_t x = size.width / 2; x < size.width; ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                raster.rgba[4 * (std::size_t{y} * size.width + x) + i] = std::byte{right[i]};
            }
        }
    }
    raster.hasAlpha = left[3] != 255 || right[3] != 255;
    return raster;
}

// No channel is off by more than that.
inline bool isNear(Colour a, Colour b, int most = 6) {
    for (std::size_t i = 0; i < 4; ++i) {
        if (std::abs(a[i] - b[i]) > most) return false;
    }
    return true;
}

inline std::string colourText(Colour colour) {
    std::string text;
    for (const std::uint8_t value : colour) text += std::to_string(value) + " ";
    return text;
}

}  // namespace corvy::test
