#include "platform/movie/movie_input.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

extern "C" {
#include <libavutil/opt.h>
}

#include "platform/image_metadata.h"
#include "platform/movie_formats.h"

namespace corvy::platform {

namespace {

constexpr int kBufferSize = 32 << 10;           // bytes
constexpr std::int64_t kProbeSize = 5'000'000;  // bytes
constexpr int kMostStreams = 64;

const std::string& allowedFormats() {
    static const std::string list = [] {
        std::string names;
        for (const MovieFormatEntry& entry : kMovieFormats) {
            if (entry.demuxer.empty()) continue;
            if (!names.empty()) names += ',';
            names += entry.demuxer;
        }
        return names;
    }();
    return list;
}

}  // namespace

MovieInput::~MovieInput() = default;

std::unique_ptr<MovieInput> MovieInput::open(Descriptor file, const std::string& name,
                                             Clock::time_point end) {
    std::unique_ptr<MovieInput> input(new MovieInput(std::move(file), end));
    return input->openContainer(name) ? std::move(input) : nullptr;
}

bool MovieInput::openContainer(const std::string& name) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
    if (!buffer) return false;
    io_.reset(avio_alloc_context(
        buffer, kBufferSize, 0, this,
        [](void* self, std::uint8_t* bytes, int size) {
            return static_cast<MovieInput*>(self)->readBytes(bytes, size);
        },
        nullptr,
        [](void* self, std::int64_t offset, int origin) {
            return static_cast<MovieInput*>(self)->seekBytes(offset, origin);
        }));
    if (!io_) {
        av_free(buffer);
        return false;
    }
    AVFormatContext* format = avformat_alloc_context();
    if (!format) return false;
    format->pb = io_.get();
    format->interrupt_callback = {
        [](void* self) { return static_cast<int>(static_cast<MovieInput*>(self)->isLate()); },
        this};
    // A movie that names other files or addresses gets none of them.
    format->io_open = [](AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
        return AVERROR(EACCES);
    };
    format->format_whitelist = av_strdup(allowedFormats().c_str());
    format->probesize = kProbeSize;
    format->max_streams = kMostStreams;
    // Closes and clears the context when it fails.
    if (avformat_open_input(&format, name.c_str(), nullptr, nullptr) != 0) return false;
    format_.reset(format);
    return true;
}

bool MovieInput::load(Clock::duration limit) {
    const Clock::time_point all =
        std::exchange(deadline_, std::min(deadline_, Clock::now() + limit));
    const bool isWhole =
        !isLate() && avformat_find_stream_info(format_.get(), nullptr) >= 0 && !isLate();
    deadline_ = all;
    resume();
    return isWhole;
}

// After reading was broken off.
void MovieInput::resume() {
    io_->error = 0;
    io_->eof_reached = 0;
}

AVStream* MovieInput::video() const {
    const int index = av_find_best_stream(format_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0) return nullptr;
    AVStream* stream = format_->streams[index];
    return (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0 ? nullptr : stream;
}

AVStream* MovieInput::cover() const {
    for (unsigned i = 0; i < format_->nb_streams; ++i) {
        AVStream* stream = format_->streams[i];
        const bool isCover = (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
        if (isCover && stream->attached_pic.size > 0) return stream;
    }
    return nullptr;
}

bool MovieInput::rewind() {
    if (isFresh_) return true;
    resume();
    // By bytes where the format allows it: an index may begin later, or be wrong.
    return av_seek_frame(format_.get(), -1, 0, AVSEEK_FLAG_BYTE) >= 0 ||
           av_seek_frame(format_.get(), -1, 0, AVSEEK_FLAG_BACKWARD) >= 0 ||
           avformat_seek_file(format_.get(), -1, INT64_MIN, 0, INT64_MAX, 0) >= 0;
}

bool MovieInput::seek(AVStream* stream, std::int64_t time) {
    resume();
    isFresh_ = false;
    return av_seek_frame(format_.get(), stream->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
}

PacketPointer MovieInput::read() {
    isFresh_ = false;
    PacketPointer packet(av_packet_alloc());
    if (!packet || isLate() || av_read_frame(format_.get(), packet.get()) < 0) return nullptr;
    return packet;
}

int MovieInput::readBytes(std::uint8_t* buffer, int size) {
    if (isLate()) return AVERROR_EXIT;
    for (;;) {
        const ssize_t count = ::read(file_.get(), buffer, static_cast<std::size_t>(size));
        if (count > 0) return static_cast<int>(count);
        if (count == 0) return AVERROR_EOF;
        if (errno != EINTR) return AVERROR(errno);
    }
}

std::int64_t MovieInput::seekBytes(std::int64_t offset, int origin) {
    if ((origin & AVSEEK_SIZE) != 0) {
        const off_t here = ::lseek(file_.get(), 0, SEEK_CUR);
        const off_t size = ::lseek(file_.get(), 0, SEEK_END);
        ::lseek(file_.get(), here, SEEK_SET);
        return size;
    }
    const off_t place = ::lseek(file_.get(), offset, origin & ~AVSEEK_FORCE);
    return place < 0 ? AVERROR(errno) : place;
}

CodecPointer openDecoder(const AVStream* stream) {
    const AVCodecParameters* parameters = stream->codecpar;
    const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
    if (!decoder) return nullptr;
    CodecPointer codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), parameters) < 0) return nullptr;
    codec->pkt_timebase = stream->time_base;
    codec->thread_count = 1;
    codec->max_pixels = std::int64_t{kMostPixels};
    return avcodec_open2(codec.get(), decoder, nullptr) == 0 ? std::move(codec) : nullptr;
}

}  // namespace corvy::platform
