#include "service/movie_worker.h"

#include <utility>

#include "foundation/system_log.h"
#include "images/movie_frames.h"
#include "platform/tiff_encoder.h"
#include "service/movie_conversion.h"

namespace corvy {

namespace {

// The worker may not speak to the system log itself.
class LogToService {
public:
    explicit LogToService(platform::WorkerChannel& channel)
        : before_(setLogSink([&channel](std::u16string_view line) {
              channel.sendPart(Dictionary{{movie_exchange::kLog, line}});
          })) {}
    ~LogToService() { setLogSink(std::move(before_)); }
    LogToService(const LogToService&) = delete;
    LogToService& operator=(const LogToService&) = delete;

private:
    LogSink before_;
};

}  // namespace

std::optional<PropertyList> thumbnailOfMovie(const Dictionary& arguments,
                                             platform::WorkerChannel& channel) {
    const auto path = stringOf(arguments, movie_exchange::kPath);
    if (!path) return std::nullopt;
    const LogToService log(channel);
    std::optional<Dictionary> attributes;
    const auto image = thumbnailImageForMovieWithFile(
        *path, &attributes, [&channel](const platform::Movie& movie) {
            channel.sendPart(Dictionary{{movie_exchange::kAttributes, movie.movieAttributes()}});
        });
    Dictionary result;
    if (attributes) result.set(movie_exchange::kAttributes, *std::move(attributes));
    if (image) {
        auto tiff = platform::tiffRepresentation(*image, platform::TiffCompression::lzw);
        if (tiff) result.set(movie_exchange::kTiff, *std::move(tiff));
    }
    return result;
}

}  // namespace corvy
