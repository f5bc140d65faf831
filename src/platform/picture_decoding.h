// How much of a picture a decoder is asked for.
#pragma once

#include <optional>

#include "platform/image_metadata.h"

namespace corvy::platform {

// Decoders that can, decode no more than this needs.
struct DecodeTarget {
    std::optional<PixelSize> box = {};  // none: as stored
    // The very size of the box, whatever that does to proportions; otherwise what fits into it,
    // proportions kept, never enlarged.
    bool exactly = false;
};

// What the target makes of a picture of this size; at least 1 x 1.
PixelSize sizeFor(const DecodeTarget& target, PixelSize stored);

}  // namespace corvy::platform
