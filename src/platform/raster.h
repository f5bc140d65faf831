// Decoded pixels, as every decoder gives them and every renderer takes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace corvy::platform {

struct Raster {
    std::uint32_t width = 0;  // pixels
    std::uint32_t height = 0;
    // Red, green, blue and straight alpha of 8 bits each, rows from the top, without padding.
    std::vector<std::byte> rgba;
    bool hasAlpha = false;  // false: every alpha is 255
};

}  // namespace corvy::platform
