// Where the pictures of an icon file lie, and how they are coded.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/byte_view.h"
#include "platform/image_formats.h"

namespace corvy::platform {

struct IconPicture {
    enum class Coding : std::uint8_t {
        png,
        jpeg2000,
        bitmap,  // a Windows bitmap without its file header: colours, then a mask of one bit
        mono,    // one bit, then perhaps a mask of one bit
        rgb,     // planes of runs; the mask is a picture of its own
        argb,    // planes of runs behind the word "ARGB"
    };
    Coding coding = Coding::png;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t scale = 1;
    std::uint32_t depth = 8;  // bits of a component
    ByteView bytes;
    ByteView mask;  // of `rgb`: eight bits of alpha for each pixel; may be empty
};

// In the file's order; what is cut off or of no known kind is left out. `format` is ico, cur or
// icns.
std::vector<IconPicture> picturesOfIcon(ByteView file, ImageFormat format);

}  // namespace corvy::platform
