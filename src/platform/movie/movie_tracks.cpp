#include "platform/movie/movie_tracks.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "foundation/text.h"
#include "platform/byte_view.h"

namespace corvy::platform {

namespace {

std::optional<MovieTrack::Kind> kindOf(const AVStream& stream) {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) return std::nullopt;
    switch (stream.codecpar->codec_type) {
        case AVMEDIA_TYPE_VIDEO: return MovieTrack::Kind::video;
        case AVMEDIA_TYPE_AUDIO: return MovieTrack::Kind::audio;
        case AVMEDIA_TYPE_SUBTITLE: return MovieTrack::Kind::text;
        default: return std::nullopt;
    }
}

// As people know it, not its short form.
std::u16string nameOfCodec(AVCodecID codec) {
    const AVCodecDescriptor* const descriptor = avcodec_descriptor_get(codec);
    if (descriptor == nullptr) return {};
    return fromUtf8(descriptor->long_name ? descriptor->long_name : descriptor->name);
}

bool hasAlpha(const AVCodecParameters& codec) {
    const AVPixFmtDescriptor* const pixels =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(codec.format));
    return pixels != nullptr && (pixels->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

MovieTrack trackOf(const AVStream& stream, MovieTrack::Kind kind) {
    const AVCodecParameters& codec = *stream.codecpar;
    MovieTrack track;
    track.kind = kind;
    track.codec = nameOfCodec(codec.codec_id);
    track.bitRate = std::max<std::int64_t>(codec.bit_rate, 0);
    const AVDictionaryEntry* const language =
        av_dict_get(stream.metadata, "language", nullptr, AV_DICT_IGNORE_SUFFIX);
    // What containers write when nobody has told them.
    if (language && std::string_view(language->value) != "und") {
        track.language = fromUtf8(language->value);
    }
    if (kind == MovieTrack::Kind::video) {
        track.framesPerSecond = stream.avg_frame_rate.den != 0 ? av_q2d(stream.avg_frame_rate) : 0;
        track.hasAlpha = hasAlpha(codec);
    } else if (kind == MovieTrack::Kind::audio) {
        track.channels = codec.ch_layout.nb_channels;
        track.sampleRate = codec.sample_rate;
        // Of compressed sound only where nothing is lost.
        track.bitsPerSample = codec.bits_per_raw_sample != 0
                                  ? codec.bits_per_raw_sample
                                  : av_get_bits_per_sample(codec.codec_id);
    }
    return track;
}

}  // namespace

std::vector<MovieTrack> tracksOf(const AVFormatContext& format) {
    std::vector<MovieTrack> tracks;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream& stream = *format.streams[i];
        if (const auto kind = kindOf(stream)) tracks.push_back(trackOf(stream, *kind));
    }
    return tracks;
}

bool isStreamable(const AVFormatContext& format, const Descriptor& file) {
    if (!std::string_view(format.iformat->name).starts_with("mov")) return true;
    constexpr int kMostBoxes = 100;
    std::uint64_t place = 0;
    for (int i = 0; i < kMostBoxes; ++i) {
        std::array<std::byte, 16> head{};
        if (::pread(file.get(), head.data(), head.size(), static_cast<off_t>(place)) < 8) break;
        const ByteView box(head);
        if (box.hasText(4, "moov")) return true;
        if (box.hasText(4, "mdat")) break;
        const std::uint64_t length = box.u32(0) == 1 ? box.u64(8) : box.u32(0);
        if (length < 8 || length > static_cast<std::uint64_t>(INT64_MAX) - place) break;
        place += length;
    }
    return false;
}

}  // namespace corvy::platform
