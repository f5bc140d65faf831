// The tracks of an opened movie, and its own properties.
#pragma once

#include <vector>

#include "platform/movie.h"
#include "platform/movie/movie_input.h"

namespace corvy::platform {

std::vector<MovieTrack> tracksOf(const AVFormatContext& format);

// Whether a movie in boxes has its index in front of its data, so that it can be shown while it is
// still on its way. Formats without such an index can be.
bool isStreamable(const AVFormatContext& format, const Descriptor& file);

}  // namespace corvy::platform
