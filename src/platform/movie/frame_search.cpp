#include "platform/movie/frame_search.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace corvy::platform {

namespace {

// How far to go back, in seconds, while the format leads to places behind the frame.
constexpr double kStepsBack[] = {0, 1, 2, 4, 8, 16};
// Packets come in the order of decoding. No format lets a frame wait for more others than this.
constexpr std::size_t kLookAhead = 20;
constexpr int kMostPackets = 20'000;
// What is kept while a file is read from its start, in bytes.
constexpr std::size_t kMostKept = std::size_t{64} << 20;
// How far a file is read from its start rather than that a place in it is sought, in seconds.
constexpr double kLongestScan = 60;
// Sound that begins so many seconds before the pictures owes that to the way it was multiplexed.
constexpr double kMostLead = 0.25;

std::int64_t timeOf(const AVPacket& packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

// Program streams tell a time now and then only; those between are counted from it, which goes
// wrong until the next one where reading begins in the middle.
bool tellsTimesRarely(const AVFormatContext& format) {
    return std::string_view(format.iformat->name) == "mpeg";
}

// Whether frames wait for one other at most, so that their times follow from the next packets.
bool delaysByOne(AVCodecID codec) {
    return codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO ||
           codec == AV_CODEC_ID_MPEG4;
}

}  // namespace

FrameSearch::FrameSearch(MovieInput& input, AVStream& stream)
    : input_(input), stream_(stream), scans_(tellsTimesRarely(*input.format())) {
    if (scans_ && delaysByOne(stream.codecpar->codec_id)) {
        input.format()->flags |= AVFMT_FLAG_GENPTS;
    }
}

FramePointer FrameSearch::frameAt(double time) {
    if (!codec_) codec_ = openDecoder(&stream_);
    if (!codec_) return nullptr;
    target_ = streamTime(time);
    packets_ = 0;
    FramePointer nearest;
    for (const double back : kStepsBack) {
        // Near the start it is the start that counts, wherever the index leads.
        if (time - back <= 0 || (scans_ && time <= kLongestScan)) break;
        if (!input_.seek(&stream_, streamTime(time - back))) continue;
        if (search(Way::fromPlace, nearest)) return nearest;
    }
    for (const Way way : {Way::fromLastKey, Way::fromStart}) {
        if (!input_.rewind() || search(way, nearest)) break;
    }
    return nearest;
}

// True when it need not be searched for elsewhere.
bool FrameSearch::search(Way way, FramePointer& nearest) {
    const Landing landing = decodeFrom(way);
    if (isEncrypted_) {
        nearest.reset();
        return true;
    }
    // The first frame of all is shown before it begins.
    if (landing == Landing::exact || (landing == Landing::near && !nearest) ||
        (way == Way::fromStart && !nearest)) {
        nearest = std::move(best_);
    }
    return landing == Landing::exact || input_.isLate();
}

std::int64_t FrameSearch::streamTime(double seconds) const {
    const std::int64_t known = input_.format()->start_time;
    std::int64_t start = known == AV_NOPTS_VALUE ? 0 : known;
    if (stream_.start_time != AV_NOPTS_VALUE) {
        const std::int64_t own =
            av_rescale_q(stream_.start_time, stream_.time_base, AV_TIME_BASE_Q);
        const std::int64_t lead = own - start;
        if (lead > 0 && static_cast<double>(lead) <= kMostLead * AV_TIME_BASE) start = own;
    }
    return av_rescale_q_rnd(start + std::llround(seconds * AV_TIME_BASE), AV_TIME_BASE_Q,
                            stream_.time_base, AV_ROUND_NEAR_INF);
}

FrameSearch::Landing FrameSearch::decodeFrom(Way way) {
    way_ = way;
    avcodec_flush_buffers(codec_.get());
    ahead_.clear();
    atEnd_ = isPast_ = false;
    isTimed_ = true;
    first_ = wanted_ = bestTime_ = AV_NOPTS_VALUE;
    best_.reset();
    packetsBeyond_ = 0;
    bytesAhead_ = 0;
    while (readAhead() && !ahead_.empty() && !isEncrypted_) {
        const PacketPointer packet = std::move(ahead_.front());
        ahead_.pop_front();
        bytesAhead_ -= static_cast<std::size_t>(packet->size);
        // What is shown before the wanted frame counts only as far as others are made from it.
        const bool isSuperseded = isTimed_ && packet->pts < wanted_;
        codec_->skip_frame = isSuperseded ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
        decode(packet.get());
        if (isPast_ || (isTimed_ && packet->pts == wanted_)) break;
    }
    // Lets out what the decoder still holds back.
    if (!isPast_) decode(nullptr);
    if (!best_ || (bestTime_ != AV_NOPTS_VALUE && bestTime_ > target_)) return Landing::tooLate;
    // A decoder that holds frames back gives none of those that it got before the first came out,
    // unless that is known to be a clean start.
    const bool isMissing = isTimed_ && bestTime_ < wanted_ && codec_->has_b_frames > 0;
    return isMissing ? Landing::near : Landing::exact;
}

// False when the place is behind the target.
bool FrameSearch::readAhead() {
    const auto isFarEnough = [this] {
        const bool mayComeKey = way_ == Way::fromLastKey && packetsBeyond_ < kLookAhead;
        return ahead_.size() >= kLookAhead && (!mayComeKey || bytesAhead_ > kMostKept);
    };
    while (!atEnd_ && !isFarEnough()) {
        PacketPointer packet = packets_ < kMostPackets ? input_.read() : nullptr;
        if (!packet) {
            atEnd_ = true;
            break;
        }
        if (packet->stream_index != stream_.index) continue;
        ++packets_;
        if (!take(std::move(packet))) return false;
    }
    // A movie whose pictures begin later than it does.
    if (isTimed_ && wanted_ == AV_NOPTS_VALUE && !ahead_.empty()) {
        const auto earliest = std::ranges::min_element(
            ahead_, {}, [](const PacketPointer& packet) { return packet->pts; });
        wanted_ = target_ = (*earliest)->pts;
    }
    return true;
}

// False when the place is behind the target.
bool FrameSearch::take(PacketPointer packet) {
    const std::int64_t time = timeOf(*packet);
    const bool isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    if (first_ == AV_NOPTS_VALUE && way_ == Way::fromPlace) {
        // Nothing but a key packet is a beginning.
        if (time > target_) return false;
        if (!isKey) return true;
    }
    if (time > target_) {
        ++packetsBeyond_;
    } else if (isKey && way_ == Way::fromLastKey) {
        ahead_.clear();
        bytesAhead_ = 0;
        first_ = wanted_ = AV_NOPTS_VALUE;
        isTimed_ = true;
    }
    if (first_ == AV_NOPTS_VALUE) first_ = time;
    isEncrypted_ =
        isEncrypted_ || av_packet_get_side_data(packet.get(), AV_PKT_DATA_ENCRYPTION_INFO, nullptr);
    isTimed_ = isTimed_ && packet->pts != AV_NOPTS_VALUE;
    const bool mayLead = way_ == Way::fromStart;
    if (isTimed_ && time <= target_ && (mayLead || time >= first_)) {
        wanted_ = std::max(wanted_, time);
    }
    bytesAhead_ += static_cast<std::size_t>(packet->size);
    ahead_.push_back(std::move(packet));
    return true;
}

void FrameSearch::decode(const AVPacket* packet) {
    // What a broken packet leaves behind, the next ones may mend.
    avcodec_send_packet(codec_.get(), packet);
    for (;;) {
        FramePointer frame(av_frame_alloc());
        if (!frame || avcodec_receive_frame(codec_.get(), frame.get()) != 0) return;
        consider(std::move(frame));
    }
}

void FrameSearch::consider(FramePointer frame) {
    const std::int64_t time = shownAt(*frame);
    if (time != AV_NOPTS_VALUE && time > target_) {
        isPast_ = true;
        if (best_) return;
    }
    // Frames without a time come in their order.
    if (best_ && time != AV_NOPTS_VALUE && time < bestTime_) return;
    best_ = std::move(frame);
    bestTime_ = time;
}

// Formats without presentation times tell only when a packet is decoded; the frame that it sets
// free is as much older as the decoder holds frames back.
std::int64_t FrameSearch::shownAt(const AVFrame& frame) const {
    if (frame.pts != AV_NOPTS_VALUE || frame.pkt_dts == AV_NOPTS_VALUE) return frame.pts;
    const AVRational rate =
        stream_.avg_frame_rate.num > 0 ? stream_.avg_frame_rate : stream_.r_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) return frame.pkt_dts;
    return frame.pkt_dts - av_rescale_q(codec_->has_b_frames, av_inv_q(rate), stream_.time_base);
}

}  // namespace corvy::platform
