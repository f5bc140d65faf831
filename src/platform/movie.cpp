#include "platform/movie.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "foundation/descriptor.h"
#include "foundation/text.h"
#include "platform/midi.h"
#include "platform/movie/frame_raster.h"
#include "platform/movie/frame_search.h"
#include "platform/movie/movie_input.h"
#include "platform/movie/movie_tracks.h"

namespace corvy::platform {

namespace {

constexpr std::int64_t kLongestMidi = std::int64_t{64} << 20;  // bytes
// Of tags, in bytes; longer ones are left out.
constexpr std::size_t kLongestTag = std::size_t{64} << 10;
constexpr std::size_t kMostTags = 256;

MovieInput::Clock::duration durationOf(double seconds) {
    return std::chrono::duration_cast<MovieInput::Clock::duration>(
        std::chrono::duration<double>(seconds));
}

// None for what is no regular file; never waits on a pipe.
Descriptor openRegularFile(const std::string& path, std::int64_t& size) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    size = status.st_size;
    return file;
}

// At most `size` bytes from the start.
std::vector<std::byte> bytesOf(const Descriptor& file, std::size_t size) {
    std::vector<std::byte> bytes(size);
    std::size_t length = 0;
    while (length < size) {
        const ssize_t count =
            ::pread(file.get(), bytes.data() + length, size - length, static_cast<off_t>(length));
        if (count <= 0) break;
        length += static_cast<std::size_t>(count);
    }
    bytes.resize(length);
    return bytes;
}

// None when the file is no MIDI file.
std::optional<double> midiDurationOf(const Descriptor& file, std::int64_t size) {
    if (size > kLongestMidi) return std::nullopt;
    if (!hasMidiSignature(bytesOf(file, kMidiSignatureLength))) return std::nullopt;
    return midiDuration(bytesOf(file, static_cast<std::size_t>(size)));
}

bool hasMedia(const AVFormatContext& format) {
    return std::any_of(format.streams, format.streams + format.nb_streams, [](AVStream* stream) {
        const AVMediaType type = stream->codecpar->codec_type;
        return type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO;
    });
}

double secondsOf(const AVFormatContext& format) {
    if (format.duration != AV_NOPTS_VALUE) {
        return static_cast<double>(format.duration) / AV_TIME_BASE;
    }
    double longest = 0;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream& stream = *format.streams[i];
        if (stream.duration == AV_NOPTS_VALUE) continue;
        longest =
            std::max(longest, static_cast<double>(stream.duration) * av_q2d(stream.time_base));
    }
    return longest;
}

// Tags that are there already keep their values.
void addTags(const AVDictionary* tags, Dictionary& out) {
    const AVDictionaryEntry* tag = nullptr;
    while ((tag = av_dict_get(tags, "", tag, AV_DICT_IGNORE_SUFFIX)) && out.size() < kMostTags) {
        const std::string_view key = tag->key, value = tag->value;
        if (key.size() > kLongestTag || value.size() > kLongestTag) continue;
        const std::u16string name = fromUtf8(key);
        if (!out.contains(name)) out.set(name, fromUtf8(value));
    }
}

}  // namespace

struct Movie::State {
    std::u16string path;
    // Null for MIDI, which has neither streams nor pictures.
    std::unique_ptr<MovieInput> input;
    std::unique_ptr<FrameSearch> frames;  // of the video stream, if there is one
    AVStream* video = nullptr;
    AVStream* cover = nullptr;
    bool isLoaded = true;
    double duration = 0;
    double currentTime = 0;
    bool loops = false;

    void load(double limit) {
        isLoaded = input->load(durationOf(limit));
        const double seconds = secondsOf(*input->format());
        duration = std::isfinite(seconds) ? std::max(seconds, 0.0) : 0;
        video = input->video();
        cover = input->cover();
        for (unsigned i = 0; i < input->format()->nb_streams; ++i) {
            AVStream* stream = input->format()->streams[i];
            if (stream != video) stream->discard = AVDISCARD_ALL;
        }
        if (video) frames = std::make_unique<FrameSearch>(*input, *video);
    }

    std::optional<Raster> coverImage() const {
        const CodecPointer codec = openDecoder(cover);
        const FramePointer frame(av_frame_alloc());
        if (!codec || !frame || avcodec_send_packet(codec.get(), &cover->attached_pic) != 0) {
            return std::nullopt;
        }
        avcodec_send_packet(codec.get(), nullptr);
        if (avcodec_receive_frame(codec.get(), frame.get()) != 0) return std::nullopt;
        return rasterOf(*frame, {});
    }
};

Movie::Movie(std::unique_ptr<State> state) : state_(std::move(state)) {}
Movie::Movie(Movie&&) noexcept = default;
Movie& Movie::operator=(Movie&&) noexcept = default;
Movie::~Movie() = default;

std::optional<Movie> Movie::open(std::u16string_view path, const MovieLimits& limits) {
    const auto bytes = bytesOfPath(path);
    std::int64_t size = 0;
    Descriptor file = bytes ? openRegularFile(*bytes, size) : Descriptor();
    if (!file) return std::nullopt;

    auto state = std::make_unique<State>();
    state->path = path;
    if (const auto midi = midiDurationOf(file, size)) {
        state->duration = *midi;
        return Movie(std::move(state));
    }
    const std::string name = bytes->substr(bytes->rfind('/') + 1);
    state->input =
        MovieInput::open(std::move(file), name, MovieInput::Clock::now() + durationOf(limits.all));
    if (!state->input) return std::nullopt;
    state->load(limits.load);
    if (!hasMedia(*state->input->format())) return std::nullopt;
    return Movie(std::move(state));
}

int Movie::loadState() const {
    return state_->isLoaded ? kMovieLoaded : kMovieLoading;
}

double Movie::duration() const {
    return state_->duration;
}

Size Movie::naturalSize() const {
    const AVStream* video = state_->video;
    if (!video) return {};
    return shownSize(video->codecpar->width, video->codecpar->height,
                     displayOf(state_->input->format(), state_->video));
}

std::optional<Raster> Movie::frameImageAtTime(double seconds) {
    if (!state_->frames) return std::nullopt;
    const FramePointer frame = state_->frames->frameAt(seconds > 0 ? seconds : 0);
    if (!frame) return std::nullopt;
    return rasterOf(*frame, displayOf(state_->input->format(), state_->video));
}

std::optional<Raster> Movie::posterImage() {
    if (state_->cover) {
        if (auto image = state_->coverImage()) return image;
    }
    return frameImageAtTime(0);
}

double Movie::currentTime() const {
    return state_->currentTime;
}

void Movie::setCurrentTime(double seconds) {
    // Not a number is 0, too.
    state_->currentTime = seconds > 0 ? std::min(seconds, state_->duration) : 0;
}

bool Movie::loops() const {
    return state_->loops;
}

void Movie::setLoops(bool loops) {
    state_->loops = loops;
}

Dictionary Movie::movieAttributes() const {
    Dictionary attributes{
        {u"QTMovieFileNameAttribute", state_->path},
        {u"QTMovieOpenForPlaybackAttribute", true},
        {u"QTMovieLoadStateAttribute", std::int32_t{loadState()}},
        {u"QTMovieNaturalSizeAttribute", sizeString(naturalSize())},
        {u"QTMovieDurationAttribute", duration()},
        {u"QTMovieCurrentTimeAttribute", currentTime()},
        {u"QTMovieLoopsAttribute", loops()},
    };
    for (auto& [name, value] : tags()) {
        if (!attributes.contains(name)) attributes.set(name, value);
    }
    return attributes;
}

Dictionary Movie::tags() const {
    Dictionary tags;
    if (!state_->input) return tags;
    const AVFormatContext& format = *state_->input->format();
    addTags(format.metadata, tags);
    // Where the container has no place for tags of its own, the stream has them.
    if (!format.metadata && format.nb_streams > 0) addTags(format.streams[0]->metadata, tags);
    return tags;
}

std::vector<MovieTrack> Movie::tracks() const {
    if (state_->input) return tracksOf(*state_->input->format());
    MovieTrack music;
    music.kind = MovieTrack::Kind::audio;
    music.codec = u"MIDI";
    return {std::move(music)};
}

std::int64_t Movie::bitRate() const {
    return state_->input ? std::max<std::int64_t>(state_->input->format()->bit_rate, 0) : 0;
}

bool Movie::isStreamable() const {
    return state_->input && platform::isStreamable(*state_->input->format(), state_->input->file());
}

void prepareMovieLibrary() {
    av_log_set_level(AV_LOG_QUIET);
    // Decoders make their tables when they are opened for the first time.
    for (const AVCodecID id : {AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_MPEG4,
                               AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_VP9, AV_CODEC_ID_MJPEG}) {
        const AVCodec* decoder = avcodec_find_decoder(id);
        const CodecPointer codec(avcodec_alloc_context3(decoder));
        if (codec) avcodec_open2(codec.get(), decoder, nullptr);
    }
}

std::string movieLibraryVersion() {
    return av_version_info();
}

}  // namespace corvy::platform
