// Finds the one frame of a movie that is shown at a time.
#pragma once

#include <cstdint>
#include <deque>

#include "platform/movie/movie_input.h"

namespace corvy::platform {

// Seeks, and where the format leads to a place from which the frame cannot be had, seeks further
// back, down to the start of the file; then decodes forward, leaving out what no other frame needs.
class FrameSearch {
public:
    // Both outlive the search.
    FrameSearch(MovieInput& input, AVStream& stream) : input_(input), stream_(stream) {}

    // The last frame that begins at the time or before it, else the first one of all; when the
    // input's time is up, the last one that was had. `time` in seconds from the movie's start.
    FramePointer frameAt(double time);

private:
    enum class Landing { good, tooLate };

    std::int64_t streamTime(double seconds) const;
    Landing decodeFrom(bool isStart);
    Landing readAhead(bool isStart);
    Landing take(PacketPointer packet, bool isStart);
    void decode(const AVPacket* packet);
    void consider(FramePointer frame);
    std::int64_t shownAt(const AVFrame& frame) const;

    MovieInput& input_;
    AVStream& stream_;
    CodecPointer codec_;
    std::int64_t target_ = 0;  // all times below are the stream's
    std::deque<PacketPointer> ahead_;
    bool atEnd_ = false;   // of the packets
    bool isTimed_ = true;  // all packets so far have presentation times
    bool isEncrypted_ = false;
    std::int64_t first_ = AV_NOPTS_VALUE;   // of the key packet that decoding begins with
    std::int64_t wanted_ = AV_NOPTS_VALUE;  // the latest packet up to the target, so far
    FramePointer best_;
    std::int64_t bestTime_ = AV_NOPTS_VALUE;
    bool isPast_ = false;  // a frame beyond the target has come out
    int packets_ = 0;      // read in all
};

}  // namespace corvy::platform
