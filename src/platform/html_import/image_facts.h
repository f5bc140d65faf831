// What the first bytes of an image file tell.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "foundation/size_string.h"

namespace corvy::platform {

struct ImageFacts {
    std::u16string_view extension;  // that files of its format have
    Size pixels;                    // zero when they do not stand near the start
};

// None for what is no image of the web.
std::optional<ImageFacts> imageFacts(std::span<const std::byte> bytes);

}  // namespace corvy::platform
