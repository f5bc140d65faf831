// The worker half of movies: see movie_conversion.h.
#pragma once

#include <optional>

#include "foundation/property_list.h"
#include "platform/worker.h"

namespace corvy {

// Sends the attributes of a movie once it has loaded; the result holds its picture. An empty result
// when the file is no movie.
std::optional<PropertyList> thumbnailOfMovie(const Dictionary& arguments,
                                             platform::WorkerChannel& channel);

}  // namespace corvy
