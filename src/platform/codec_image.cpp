#include "platform/codec_image.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/image_metadata.h"
#include "platform/raster_operations.h"

namespace corvy::platform {

namespace {

// The orientation of a picture whose last row comes first.
constexpr int kUpsideDown = 4;

template <auto Free>
struct FreeByAddress {
    template <typename T>
    void operator()(T* object) const noexcept {
        Free(&object);
    }
};
using Codec = std::unique_ptr<AVCodecContext, FreeByAddress<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, FreeByAddress<av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
struct ScalerFree {
    void operator()(SwsContext* scaler) const noexcept { sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerFree>;

AVCodecID codecOfPnm(std::span<const std::byte> bytes) {
    switch (bytes.size() > 1 ? static_cast<char>(bytes[1]) : '\0') {
        case '1':
        case '4': return AV_CODEC_ID_PBM;
        case '2':
        case '5': return AV_CODEC_ID_PGM;
        case '7': return AV_CODEC_ID_PAM;
        case 'F':
        case 'f': return AV_CODEC_ID_PFM;
        default: return AV_CODEC_ID_PPM;
    }
}

AVCodecID codecOf(std::span<const std::byte> bytes, ImageFormat format) {
    switch (format) {
        case ImageFormat::bmp: return AV_CODEC_ID_BMP;
        case ImageFormat::tga: return AV_CODEC_ID_TARGA;
        case ImageFormat::pnm: return codecOfPnm(bytes);
        case ImageFormat::psd: return AV_CODEC_ID_PSD;
        case ImageFormat::sgi: return AV_CODEC_ID_SGI;
        case ImageFormat::pcx: return AV_CODEC_ID_PCX;
        case ImageFormat::xbm: return AV_CODEC_ID_XBM;
        case ImageFormat::xpm: return AV_CODEC_ID_XPM;
        case ImageFormat::xwd: return AV_CODEC_ID_XWD;
        case ImageFormat::jpeg2000: return AV_CODEC_ID_JPEG2000;
        case ImageFormat::pict: return AV_CODEC_ID_QDRAW;
        default: return AV_CODEC_ID_NONE;
    }
}

Codec openCodec(AVCodecID id, int halvings) {
    const AVCodec* codec = id != AV_CODEC_ID_NONE ? avcodec_find_decoder(id) : nullptr;
    Codec context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context) return nullptr;
    context->thread_count = 1;
    context->max_pixels = kMostPixels;
    context->lowres = std::min<int>(halvings, codec->max_lowres);
    return avcodec_open2(context.get(), codec, nullptr) == 0 ? std::move(context) : nullptr;
}

Packet packetOf(std::span<const std::byte> bytes) {
    constexpr std::size_t kMost = std::numeric_limits<int>::max() - AV_INPUT_BUFFER_PADDING_SIZE;
    Packet packet(av_packet_alloc());
    if (!packet || bytes.size() > kMost ||
        av_new_packet(packet.get(), static_cast<int>(bytes.size())) != 0) {
        return nullptr;
    }
    std::memcpy(packet->data, bytes.data(), bytes.size());
    packet->flags = AV_PKT_FLAG_KEY;
    return packet;
}

bool isHex(std::byte byte) {
    return std::isxdigit(std::to_integer<unsigned char>(byte)) != 0;
}

// XPM colours may have 16 bits each, which the library does not read: the upper 8 do.
std::vector<std::byte> withShortColours(std::span<const std::byte> bytes) {
    constexpr std::string_view kStart = "c #";
    constexpr std::size_t kDigits = 12;
    std::vector<std::byte> out;
    out.reserve(bytes.size());
    const std::string_view chars(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    std::size_t taken = 0;
    for (std::size_t at = chars.find(kStart); at != std::string_view::npos;
         at = chars.find(kStart, at + 1)) {
        const std::size_t digits = at + kStart.size();
        const auto number = bytes.subspan(digits).first(std::min(kDigits, bytes.size() - digits));
        if (number.size() < kDigits || !std::ranges::all_of(number, isHex)) continue;
        out.insert(out.end(), bytes.begin() + static_cast<std::ptrdiff_t>(taken), number.begin());
        for (std::size_t i = 0; i < kDigits; i += 4) {
            out.insert(out.end(), {number[i], number[i + 1]});
        }
        taken = digits + kDigits;
    }
    out.insert(out.end(), bytes.begin() + static_cast<std::ptrdiff_t>(taken), bytes.end());
    return out;
}

Frame decode(std::span<const std::byte> bytes, ImageFormat format, int halvings) {
    const Codec codec = openCodec(codecOf(bytes, format), halvings);
    const Packet packet = codec ? packetOf(bytes) : nullptr;
    Frame frame(av_frame_alloc());
    if (!packet || !frame || avcodec_send_packet(codec.get(), packet.get()) != 0) return nullptr;
    avcodec_send_packet(codec.get(), nullptr);
    return avcodec_receive_frame(codec.get(), frame.get()) == 0 ? std::move(frame) : nullptr;
}

// Some writers leave the alpha of opaque pictures at 0.
bool settleAlpha(Raster& raster) {
    std::uint8_t all = 255;
    std::uint8_t any = 0;
    for (std::size_t at = 3; at < raster.rgba.size(); at += 4) {
        const auto alpha = static_cast<std::uint8_t>(raster.rgba[at]);
        all &= alpha;
        any |= alpha;
    }
    if (any == 0) {
        for (std::size_t at = 3; at < raster.rgba.size(); at += 4) raster.rgba[at] = std::byte{255};
    }
    return any != 0 && all != 255;
}

std::optional<Raster> rasterOf(const AVFrame& frame) {
    const PixelSize size{static_cast<std::uint32_t>(std::max(0, frame.width)),
                         static_cast<std::uint32_t>(std::max(0, frame.height))};
    const auto pixels = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(pixels);
    if (size.width == 0 || size.height == 0 || !isWithinLimits(size) || !description) {
        return std::nullopt;
    }
    const Scaler scaler(sws_getContext(
        frame.width, frame.height, pixels, frame.width, frame.height, AV_PIX_FMT_RGBA,
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP, nullptr, nullptr,
        nullptr));
    if (!scaler) return std::nullopt;
    const int* coefficients = sws_getCoefficients(SWS_CS_ITU601);
    // Pictures use the full range of values, which their decoders do not say.
    constexpr int kFull = 1;
    constexpr int kUnchanged = 1 << 16;
    sws_setColorspaceDetails(scaler.get(), coefficients, kFull, coefficients, kFull, 0, kUnchanged,
                             kUnchanged);

    Raster raster{size.width, size.height, {}, false};
    raster.rgba.resize(std::size_t{4} * size.width * size.height);
    std::uint8_t* const planes[] = {reinterpret_cast<std::uint8_t*>(raster.rgba.data())};
    const int strides[] = {4 * frame.width};
    if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) !=
        frame.height) {
        return std::nullopt;
    }
    if ((description->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0) {
        raster.hasAlpha = settleAlpha(raster);
    }
    return raster;
}

}  // namespace

void prepareCodecs() {
    av_log_set_level(AV_LOG_QUIET);
    openCodec(AV_CODEC_ID_BMP, 0);
}

std::string codecVersion() {
    const unsigned version = avcodec_version();
    return std::to_string(AV_VERSION_MAJOR(version)) + "." +
           std::to_string(AV_VERSION_MINOR(version)) + "." +
           std::to_string(AV_VERSION_MICRO(version));
}

std::optional<Raster> decodeByCodec(std::span<const std::byte> bytes, ImageFormat format,
                                    int halvings) {
    if (format == ImageFormat::xpm) {
        const auto shortened = withShortColours(bytes);
        const Frame frame = decode(shortened, format, 0);
        return frame ? rasterOf(*frame) : std::nullopt;
    }
    Frame frame = decode(bytes, format, halvings);
    if (!frame && halvings > 0) frame = decode(bytes, format, 0);
    auto raster = frame ? rasterOf(*frame) : std::nullopt;
    // The rows of PFM files go from the bottom to the top, which the library leaves to others.
    const bool isFromBottom =
        format == ImageFormat::pnm && codecOfPnm(bytes) == AV_CODEC_ID_PFM && raster;
    return isFromBottom ? turned(*std::move(raster), kUpsideDown) : raster;
}

}  // namespace corvy::platform
