#include "images/movie_frames.h"

#include <cmath>
#include <exception>

#include "foundation/system_log.h"

namespace corvy {

using platform::Movie;
using platform::Raster;

namespace {

constexpr double kLatestFrame = 15;  // seconds

// Opens the movie and has `take` make an image of it.
std::optional<Raster> imageForMovieWithFile(
    std::u16string_view path, std::u16string_view operation,
    const std::function<void(Movie& movie, std::optional<Raster>& image)>& take) {
    std::optional<Raster> image;
    try {
        if (auto movie = Movie::open(path)) take(*movie, image);
    } catch (const std::exception& exception) {
        logException(operation, u"QTMovie", describeException(exception));
    }
    return image;
}

}  // namespace

std::optional<Raster> thumbnailImageForMovieWithFile(
    std::u16string_view path, std::optional<Dictionary>* attributes,
    const std::function<void(const Movie&)>& loaded) {
    if (attributes) attributes->reset();
    return imageForMovieWithFile(path, u"thumbnailImageForMovieWithFile:attributes:",
                                 [&](Movie& movie, std::optional<Raster>& image) {
                                     if (loaded) loaded(movie);
                                     image = thumbnailImage(movie);
                                     if (attributes) *attributes = movie.movieAttributes();
                                 });
}

std::optional<Raster> posterImageForMovieWithFile(std::u16string_view path) {
    return imageForMovieWithFile(
        path, u"posterImageForMovieWithFile:",
        [](Movie& movie, std::optional<Raster>& image) { image = movie.posterImage(); });
}

std::optional<Raster> middleImageForMovieWithFile(std::u16string_view path) {
    return imageForMovieWithFile(
        path, u"middleImageForMovieWithFile:",
        [](Movie& movie, std::optional<Raster>& image) { image = middleImage(movie); });
}

std::optional<Raster> thumbnailImage(Movie& movie) {
    auto image = middleImage(movie);
    return image ? std::move(image) : movie.posterImage();
}

std::optional<Raster> middleImage(Movie& movie) {
    return movie.frameImageAtTime(middleTime(movieDuration(movie)));
}

double middleTime(double duration) {
    const double half = duration * 0.5;
    if (!(half > 0)) return 0;
    return std::floor(half > kLatestFrame ? kLatestFrame : half);
}

double movieDuration(const Movie& movie) {
    return movie.duration();
}

Size movieSize(const Movie& movie) {
    return movie.naturalSize();
}

double movieTime(const Movie& movie) {
    return movie.currentTime();
}

void setMovieTime(Movie& movie, double seconds) {
    movie.setCurrentTime(seconds);
}

bool loopMode(const Movie& movie) {
    return movie.loops();
}

void setLoopMode(Movie& movie, bool loops) {
    movie.setLoops(loops);
}

}  // namespace corvy
