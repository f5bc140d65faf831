#include "platform/picture_decoding.h"

#include <algorithm>
#include <cmath>

namespace corvy::platform {

PixelSize sizeFor(const DecodeTarget& target, PixelSize stored) {
    if (!target.box) return stored;
    const PixelSize box = *target.box;
    if (target.exactly) return box;
    if (stored.width <= box.width && stored.height <= box.height) return stored;
    const double factor = std::min(static_cast<double>(box.width) / stored.width,
                                   static_cast<double>(box.height) / stored.height);
    const auto scaled = [factor](std::uint32_t side, std::uint32_t most) {
        const auto rounded = static_cast<std::uint32_t>(std::lround(side * factor));
        return std::clamp(rounded, 1U, std::max(1U, most));
    };
    return {scaled(stored.width, box.width), scaled(stored.height, box.height)};
}

}  // namespace corvy::platform
