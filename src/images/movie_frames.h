// Movies as the toolkit takes pictures of them. Links the media library: worker programs only.
//
// Whatever cannot be opened gives none, silently. An exception while a file is opened or a frame is
// taken is logged; the operation then returns the image that it had by then, or none.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "foundation/property_list.h"
#include "foundation/size_string.h"
#include "platform/movie.h"

namespace corvy {

// The frame in the middle, else the poster image. `attributes`, when given, becomes the movie's
// dictionary of attributes, or none. `loaded`, when given, is called once the movie has loaded, or
// has had its second to do so.
std::optional<platform::Raster> thumbnailImageForMovieWithFile(
    std::u16string_view path, std::optional<Dictionary>* attributes = nullptr,
    const std::function<void(const platform::Movie&)>& loaded = {});
std::optional<platform::Raster> posterImageForMovieWithFile(std::u16string_view path);
std::optional<platform::Raster> middleImageForMovieWithFile(std::u16string_view path);

std::optional<platform::Raster> thumbnailImage(platform::Movie& movie);
std::optional<platform::Raster> middleImage(platform::Movie& movie);
// Half of the duration (seconds), 15 at most, rounded down to whole seconds.
double middleTime(double duration);

double movieDuration(const platform::Movie& movie);  // seconds
Size movieSize(const platform::Movie& movie);        // pixels as shown
double movieTime(const platform::Movie& movie);      // seconds
void setMovieTime(platform::Movie& movie, double seconds);
bool loopMode(const platform::Movie& movie);
void setLoopMode(platform::Movie& movie, bool loops);

}  // namespace corvy
