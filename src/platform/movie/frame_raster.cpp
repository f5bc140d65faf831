#include "platform/movie/frame_raster.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include "platform/image_metadata.h"

namespace corvy::platform {

namespace {

constexpr std::size_t kBytesPerPixel = 4;

// Before it is turned. Pixels are made wider or narrower; the rows stay. Zero beyond the limits.
PixelSize stretchedSize(int width, int height, AVRational aspectRatio) {
    if (width <= 0 || height <= 0) return {};
    const auto rows = static_cast<std::uint32_t>(height);
    const PixelSize coded{static_cast<std::uint32_t>(width), rows};
    if (!isWithinLimits(coded)) return {};
    if (aspectRatio.num <= 0 || aspectRatio.den <= 0) return coded;
    const double stretched = std::round(width * av_q2d(aspectRatio));
    // A ratio that makes a picture of no size is none.
    if (stretched < 1 || stretched > kLongestSide) return coded;
    const PixelSize shown{static_cast<std::uint32_t>(stretched), rows};
    return isWithinLimits(shown) ? shown : coded;
}

// The nearest of the eight ways to lay a picture on its sides, in units of a pixel:
// x' = a x + c y, y' = b x + d y.
struct Turn {
    int a = 1, b = 0, c = 0, d = 1;
    bool swapsSides() const { return a == 0; }
};

Turn turnOf(const std::int32_t* matrix) {
    if (!matrix) return {};
    const std::int64_t a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
    const auto sign = [](std::int64_t number) { return number < 0 ? -1 : 1; };
    // A matrix without an area shows nothing; the picture stays as it is.
    if (a * d - b * c == 0) return {};
    if (std::abs(a) + std::abs(d) >= std::abs(b) + std::abs(c)) return {sign(a), 0, 0, sign(d)};
    return {0, sign(b), sign(c), 0};
}

// What the file does not say follows the custom of its size: high definition has its own matrix.
int colourSpaceOf(const AVFrame& frame) {
    constexpr int kLeastHighHeight = 720;
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RGB) {
        return frame.colorspace;
    }
    return frame.height >= kLeastHighHeight ? SWS_CS_ITU709 : SWS_CS_ITU601;
}

// An aligned picture in the raster's order of bytes; null when that cannot be.
FramePointer converted(const AVFrame& frame, PixelSize size) {
    struct ScalerFreer {
        void operator()(SwsContext* scaler) const noexcept { sws_freeContext(scaler); }
    };
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const std::unique_ptr<SwsContext, ScalerFreer> scaler(sws_getContext(
        frame.width, frame.height, format, size.width, size.height, AV_PIX_FMT_RGBA,
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
    if (!scaler) return nullptr;
    const int* matrix = sws_getCoefficients(colourSpaceOf(frame));
    const int isFull = frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
    constexpr int kUnchanged = 1 << 16;
    // Fails for pixels that are no luma and chroma, which need no matrix.
    sws_setColorspaceDetails(scaler.get(), matrix, isFull, matrix, 1, 0, kUnchanged, kUnchanged);

    FramePointer out(av_frame_alloc());
    if (!out) return nullptr;
    out->format = AV_PIX_FMT_RGBA;
    out->width = static_cast<int>(size.width);
    out->height = static_cast<int>(size.height);
    if (av_frame_get_buffer(out.get(), 0) != 0) return nullptr;
    const int rows = sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, out->data,
                               out->linesize);
    return rows == out->height ? std::move(out) : nullptr;
}

// Copies the picture into the raster, turned.
void copyTurned(const AVFrame& picture, Turn turn, Raster& raster) {
    const std::size_t rowBytes = raster.width * kBytesPerPixel;
    // The picture's pixel that comes first in the raster, and the way from one to the next in it.
    const std::ptrdiff_t line = picture.linesize[0];
    const auto pixel = static_cast<std::ptrdiff_t>(kBytesPerPixel);
    const std::ptrdiff_t alongX = turn.swapsSides() ? turn.c * line : turn.a * pixel;
    const std::ptrdiff_t alongY = turn.swapsSides() ? turn.b * pixel : turn.d * line;
    const std::ptrdiff_t lastX = (static_cast<std::ptrdiff_t>(raster.width) - 1) * alongX;
    const std::ptrdiff_t lastY = (static_cast<std::ptrdiff_t>(raster.height) - 1) * alongY;
    const std::uint8_t* start =
        picture.data[0] - std::min<std::ptrdiff_t>(lastX, 0) - std::min<std::ptrdiff_t>(lastY, 0);
    std::byte* out = raster.rgba.data();
    for (std::uint32_t y = 0; y < raster.height; ++y, out += rowBytes) {
        const std::uint8_t* row = start + static_cast<std::ptrdiff_t>(y) * alongY;
        if (alongX == pixel) {
            std::memcpy(out, row, rowBytes);
            continue;
        }
        for (std::uint32_t x = 0; x < raster.width; ++x, row += alongX) {
            std::memcpy(out + x * kBytesPerPixel, row, kBytesPerPixel);
        }
    }
}

}  // namespace

FrameDisplay displayOf(AVFormatContext* format, AVStream* stream) {
    FrameDisplay display;
    display.aspectRatio = av_guess_sample_aspect_ratio(format, stream, nullptr);
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    constexpr std::size_t kMatrixSize = 9 * sizeof(std::int32_t);
    if (data && size >= kMatrixSize) {
        display.matrix = reinterpret_cast<const std::int32_t*>(data);
    }
    return display;
}

Size shownSize(int width, int height, const FrameDisplay& display) {
    PixelSize size = stretchedSize(width, height, display.aspectRatio);
    if (turnOf(display.matrix).swapsSides()) std::swap(size.width, size.height);
    return {static_cast<double>(size.width), static_cast<double>(size.height)};
}

std::optional<Raster> rasterOf(const AVFrame& frame, const FrameDisplay& display) {
    const AVPixFmtDescriptor* pixels =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const PixelSize size = stretchedSize(frame.width, frame.height, display.aspectRatio);
    if (!pixels || size.width == 0) return std::nullopt;
    const FramePointer picture = converted(frame, size);
    if (!picture) return std::nullopt;

    const Turn turn = turnOf(display.matrix);
    Raster raster;
    raster.width = turn.swapsSides() ? size.height : size.width;
    raster.height = turn.swapsSides() ? size.width : size.height;
    raster.hasAlpha = (pixels->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    raster.rgba.resize(kBytesPerPixel * raster.width * raster.height);
    copyTurned(*picture, turn, raster);
    return raster;
}

}  // namespace corvy::platform
