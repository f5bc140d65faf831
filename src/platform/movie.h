// Movie and sound files: how long they take, how large they are, and single frames of them.
//
// Only the file itself is read; what it names (other files, addresses) is never opened. Nothing
// here is logged. What a file can make grow is bounded: streams, pixels, and the time that loading
// it and looking for a frame take.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/property_list.h"
#include "foundation/size_string.h"
#include "platform/raster.h"

namespace corvy::platform {

// How far a movie is known: from kMovieLoaded on, well enough to take frames.
inline constexpr int kMovieLoading = 1000;
inline constexpr int kMovieLoaded = 2000;

// In seconds. What is known when the time is up is used.
struct MovieLimits {
    double load = 1.0;  // to look into the streams
    double all = 10.0;  // from opening the file to the last frame
};

struct MovieTrack {
    enum class Kind { video, audio, text };

    Kind kind = Kind::video;
    std::u16string codec;      // in words, such as "AAC (Advanced Audio Coding)"
    std::u16string language;   // as the file has it, such as "eng"; empty when it does not tell
    std::int64_t bitRate = 0;  // of a second; this and the following are 0 when they are not known
    double framesPerSecond = 0;
    bool hasAlpha = false;
    int channels = 0;
    int sampleRate = 0;  // Hz
    int bitsPerSample = 0;
};

class Movie {
public:
    // None when the file is no movie or sound, or no regular file that can be read.
    static std::optional<Movie> open(std::u16string_view path, const MovieLimits& limits = {});
    Movie(Movie&&) noexcept;
    Movie& operator=(Movie&&) noexcept;
    ~Movie();

    int loadState() const;
    // Seconds; 0 when it is not known.
    double duration() const;
    // Pixels as they are shown: stretched by their aspect ratio, and turned as the movie says. Zero
    // for sound.
    Size naturalSize() const;

    // The frame that is shown at a time, in seconds from the start: the last one that begins at it
    // or before it, or the first one of all. None for sound, for an encrypted movie, and when
    // nothing can be decoded.
    std::optional<Raster> frameImageAtTime(double seconds);
    // The cover that the file carries, else the frame at 0.
    std::optional<Raster> posterImage();

    double currentTime() const;           // seconds; 0 at first
    void setCurrentTime(double seconds);  // kept between 0 and the duration
    bool loops() const;
    void setLoops(bool loops);

    // "QTMovieFileNameAttribute" and the like, then the tags.
    Dictionary movieAttributes() const;
    // What the container says in tags (title, artist, ...), under the names it has for them.
    Dictionary tags() const;

    // Pictures that are attached to the file are none.
    std::vector<MovieTrack> tracks() const;
    std::int64_t bitRate() const;  // of all together; 0 when it is not known
    // Whether it can be shown while its end is still on its way.
    bool isStreamable() const;

private:
    struct State;
    explicit Movie(std::unique_ptr<State> state);

    std::unique_ptr<State> state_;
};

// What every movie needs once; worker programs do it before they fork.
void prepareMovieLibrary();
std::string movieLibraryVersion();

}  // namespace corvy::platform
