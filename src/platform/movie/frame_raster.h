// A decoded frame as the pixels that are shown.
#pragma once

#include <optional>

#include "foundation/size_string.h"
#include "platform/movie/movie_input.h"
#include "platform/raster.h"

namespace corvy::platform {

// How the coded pixels are shown.
struct FrameDisplay {
    AVRational aspectRatio = {0, 1};       // of one pixel; 0 when it is not known
    const std::int32_t* matrix = nullptr;  // the display matrix (9 numbers), or none
};

FrameDisplay displayOf(AVFormatContext* format, AVStream* stream);

// Whole pixels as shown; zero for sizes beyond the limits.
Size shownSize(int width, int height, const FrameDisplay& display);

// None for sizes beyond the limits, and pixels that cannot be converted.
std::optional<Raster> rasterOf(const AVFrame& frame, const FrameDisplay& display);

}  // namespace corvy::platform
