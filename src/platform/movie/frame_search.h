// Finds the one frame of a movie that is shown at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include "platform/movie/movie_input.h"

namespace corvy::platform {

// Seeks, and where the format leads to a place from which the frame cannot be had, seeks further
// back, down to the start of the file; then decodes forward, leaving out what no other frame needs.
class FrameSearch {
public:
    // Both outlive the search.
    FrameSearch(MovieInput& input, AVStream& stream);

    // The last frame that begins at the time or before it, else the first one of all. When the
    // input's time is up, or the file is damaged there, the nearest before it that was had. `time`
    // in seconds from the movie's start.
    FramePointer frameAt(double time);

private:
    // What decoding from some place led to: the frame, one before it, or nothing that is shown so
    // early.
    enum class Landing { exact, near, tooLate };
    enum class Way {
        fromPlace,    // the first key packet from where a seek has led to
        fromLastKey,  // reads from the start, decodes from the last key packet before the frame
        fromStart,    // decodes everything
    };

    std::int64_t streamTime(double seconds) const;
    bool search(Way way, FramePointer& nearest);
    Landing decodeFrom(Way way);
    bool readAhead();
    bool take(PacketPointer packet);
    void decode(const AVPacket* packet);
    void consider(FramePointer frame);
    std::int64_t shownAt(const AVFrame& frame) const;

    MovieInput& input_;
    AVStream& stream_;
    bool scans_ = false;  // reads from the start rather than seeking
    CodecPointer codec_;
    int packets_ = 0;  // read so far
    bool isEncrypted_ = false;

    // Of one way from a key packet to the frame. Times are the stream's.
    Way way_ = Way::fromStart;
    std::int64_t target_ = 0;
    std::deque<PacketPointer> ahead_;
    std::size_t bytesAhead_ = 0;
    std::size_t packetsBeyond_ = 0;         // read, and shown after the target
    bool atEnd_ = false;                    // of the packets
    bool isTimed_ = true;                   // all packets so far have presentation times
    std::int64_t first_ = AV_NOPTS_VALUE;   // of the key packet
    std::int64_t wanted_ = AV_NOPTS_VALUE;  // of the latest packet up to the target, so far
    FramePointer best_;
    std::int64_t bestTime_ = AV_NOPTS_VALUE;
    bool isPast_ = false;  // a frame beyond the target has come out
};

}  // namespace corvy::platform
