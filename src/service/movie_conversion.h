// Movies turned into result dictionaries: duration, size, a frame.
//
// The service half. The movie itself is read in a worker (movie_worker.h).
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/isolation.h"

namespace corvy {

// How long requests are served while a movie loads, in seconds.
inline constexpr double kMovieLoadTime = 1.0;

// What a conversion calls on.
struct MovieConversionContext {
    // Runs a worker's operation; the pool's `run`.
    std::function<std::optional<PropertyList>(const platform::WorkerRequest&)> runWorker = {};
    // Seconds since some point in the past.
    std::function<double()> clock = {};
};

// "Duration" (32-bit, seconds; 0 when it is not known), "Size" (zero for sound and for what is no
// movie), and "Thumbnail" (TIFF bytes) when there is a frame or a cover. While the movie loads,
// for a second at most, the main context is run and other requests may be served inside.
Dictionary posterImageForMovieWithFile(std::u16string_view path,
                                       const MovieConversionContext& context);

// What service and worker say to each other. The worker's parts are the movie's attributes, once
// it has loaded, and lines for the system log; its result is the picture and, again, the
// attributes.
namespace movie_exchange {
inline constexpr const char* kFamily = "movie";
inline constexpr const char* kThumbnail = "thumbnail";
inline constexpr const char16_t* kPath = u"path";              // argument: string
inline constexpr const char16_t* kAttributes = u"Attributes";  // of a part and of the result
inline constexpr const char16_t* kLog = u"Log";                // of a part: string
inline constexpr const char16_t* kTiff = u"Tiff";              // of the result: bytes, if any
}  // namespace movie_exchange

}  // namespace corvy
