// One movie file, opened by the media library: nothing but this file, and bounded in time.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include "foundation/descriptor.h"

namespace corvy::platform {

struct FormatCloser {
    void operator()(AVFormatContext* format) const noexcept { avformat_close_input(&format); }
};
struct CodecFreer {
    void operator()(AVCodecContext* codec) const noexcept { avcodec_free_context(&codec); }
};
struct FrameFreer {
    void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
};
struct PacketFreer {
    void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
};
using CodecPointer = std::unique_ptr<AVCodecContext, CodecFreer>;
using FramePointer = std::unique_ptr<AVFrame, FrameFreer>;
using PacketPointer = std::unique_ptr<AVPacket, PacketFreer>;

class MovieInput {
public:
    using Clock = std::chrono::steady_clock;

    // Opens the file's container. Null when none of the known formats fits. `name` helps to tell
    // formats apart. `end` bounds everything that is read, from now on.
    static std::unique_ptr<MovieInput> open(Descriptor file, const std::string& name,
                                            Clock::time_point end);
    ~MovieInput();
    MovieInput(const MovieInput&) = delete;
    MovieInput& operator=(const MovieInput&) = delete;

    // Looks into the streams; false when the time was up first.
    bool load(Clock::duration limit);
    bool isLate() const { return Clock::now() >= deadline_; }

    AVFormatContext* format() const { return format_.get(); }
    const Descriptor& file() const { return file_; }
    // The stream of moving pictures, or null.
    AVStream* video() const;
    // The picture that is attached to the file, or null.
    AVStream* cover() const;

    // Goes back to the first packet. False when that cannot be.
    bool rewind();
    // Goes to a place from which the packet at `time` (of the stream) can be decoded, as far as the
    // format knows. False when that cannot be.
    bool seek(AVStream* stream, std::int64_t time);
    // The next packet; null at the end.
    PacketPointer read();

private:
    MovieInput(Descriptor file, Clock::time_point end) : file_(std::move(file)), deadline_(end) {}
    bool openContainer(const std::string& name);
    void resume();
    int readBytes(std::uint8_t* buffer, int size);
    std::int64_t seekBytes(std::int64_t offset, int origin);

    Descriptor file_;
    Clock::time_point deadline_;
    struct IoFreer {
        void operator()(AVIOContext* io) const noexcept {
            av_freep(&io->buffer);
            avio_context_free(&io);
        }
    };
    std::unique_ptr<AVIOContext, IoFreer> io_;
    std::unique_ptr<AVFormatContext, FormatCloser> format_;
    bool isFresh_ = true;  // nothing has been read by read() yet
};

// A decoder for the stream, single-threaded and bounded; null when there is none.
CodecPointer openDecoder(const AVStream* stream);

}  // namespace corvy::platform
