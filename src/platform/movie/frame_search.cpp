#include "platform/movie/frame_search.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace corvy::platform {

namespace {

// How far to go back, in seconds, while the format leads to places behind the frame.
constexpr double kStepsBack[] = {0, 1, 2, 4, 8, 16};
// Packets come in the order of decoding. No format lets a frame wait for more others than this.
constexpr std::size_t kLookAhead = 20;
constexpr int kMostPackets = 20'000;

std::int64_t timeOf(const AVPacket& packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

}  // namespace

FramePointer FrameSearch::frameAt(double time) {
    if (!codec_) codec_ = openDecoder(&stream_);
    if (!codec_) return nullptr;
    target_ = streamTime(time);
    packets_ = 0;
    best_.reset();
    for (const double back : kStepsBack) {
        // Near the start it is the start that counts, wherever the index leads.
        if (time - back <= 0) break;
        if (!input_.seek(&stream_, streamTime(time - back))) continue;
        if (decodeFrom(false) == Landing::good && best_) return std::move(best_);
        if (input_.isLate() || isEncrypted_) return std::move(best_);
    }
    if (input_.rewind()) decodeFrom(true);
    return std::move(best_);
}

std::int64_t FrameSearch::streamTime(double seconds) const {
    const std::int64_t start = input_.format()->start_time;
    const auto offset = static_cast<std::int64_t>(std::llround(seconds * AV_TIME_BASE));
    return av_rescale_q_rnd((start == AV_NOPTS_VALUE ? 0 : start) + offset, AV_TIME_BASE_Q,
                            stream_.time_base, AV_ROUND_NEAR_INF);
}

FrameSearch::Landing FrameSearch::decodeFrom(bool isStart) {
    avcodec_flush_buffers(codec_.get());
    ahead_.clear();
    atEnd_ = false;
    isTimed_ = true;
    isPast_ = false;
    first_ = wanted_ = bestTime_ = AV_NOPTS_VALUE;
    best_.reset();
    for (;;) {
        if (readAhead(isStart) == Landing::tooLate) return Landing::tooLate;
        if (ahead_.empty() || isEncrypted_) break;
        const PacketPointer packet = std::move(ahead_.front());
        ahead_.pop_front();
        const bool isWanted = isTimed_ && packet->pts == wanted_;
        // What is shown before the wanted frame counts only as far as others are made from it.
        const bool isSuperseded = isTimed_ && packet->pts < wanted_;
        codec_->skip_frame = isSuperseded ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
        decode(packet.get());
        if (isWanted || isPast_) break;
    }
    // Lets out what the decoder still holds back.
    if (!isPast_) decode(nullptr);
    const bool isInTime = bestTime_ == AV_NOPTS_VALUE || bestTime_ <= target_;
    return best_ && (isInTime || isStart) ? Landing::good : Landing::tooLate;
}

FrameSearch::Landing FrameSearch::readAhead(bool isStart) {
    while (!atEnd_ && ahead_.size() < kLookAhead) {
        PacketPointer packet = packets_ < kMostPackets ? input_.read() : nullptr;
        if (!packet) {
            atEnd_ = true;
            break;
        }
        if (packet->stream_index != stream_.index) continue;
        ++packets_;
        if (take(std::move(packet), isStart) == Landing::tooLate) return Landing::tooLate;
    }
    // A movie whose first frame begins later than it does.
    if (isTimed_ && wanted_ == AV_NOPTS_VALUE && !ahead_.empty()) {
        const auto least = std::ranges::min_element(
            ahead_, {}, [](const PacketPointer& packet) { return packet->pts; });
        wanted_ = target_ = (*least)->pts;
    }
    return Landing::good;
}

FrameSearch::Landing FrameSearch::take(PacketPointer packet, bool isStart) {
    const bool isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    if (first_ == AV_NOPTS_VALUE && !isStart) {
        // Nothing but a key packet, shown in time, is a beginning.
        if (timeOf(*packet) > target_) return Landing::tooLate;
        if (!isKey) return Landing::good;
    }
    if (first_ == AV_NOPTS_VALUE) first_ = timeOf(*packet);
    isEncrypted_ =
        isEncrypted_ || av_packet_get_side_data(packet.get(), AV_PKT_DATA_ENCRYPTION_INFO, nullptr);
    isTimed_ = isTimed_ && packet->pts != AV_NOPTS_VALUE;
    if (isTimed_ && packet->pts <= target_ && (isStart || packet->pts >= first_)) {
        wanted_ = std::max(wanted_, packet->pts);
    }
    ahead_.push_back(std::move(packet));
    return Landing::good;
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
