#include "platform/raster_operations.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace corvy::platform {

namespace {

constexpr std::size_t kPixelBytes = 4;

std::uint32_t pixelAt(const Raster& raster, std::size_t x, std::size_t y) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, raster.rgba.data() + (y * raster.width + x) * kPixelBytes, kPixelBytes);
    return pixel;
}

// Where the pixel of the turned picture comes from.
std::pair<std::size_t, std::size_t> originOf(std::size_t x, std::size_t y, const Raster& from,
                                             int orientation) {
    const std::size_t right = from.width - 1;
    const std::size_t bottom = from.height - 1;
    switch (orientation) {
        case 2: return {right - x, y};
        case 3: return {right - x, bottom - y};
        case 4: return {x, bottom - y};
        case 5: return {y, x};
        case 6: return {y, bottom - x};
        case 7: return {right - y, bottom - x};
        case 8: return {right - y, x};
        default: return {x, y};
    }
}

// Rounded a * b / 255.
constexpr std::uint32_t times(std::uint32_t a, std::uint32_t b) {
    const std::uint32_t product = a * b + 128;
    return (product + (product >> 8)) >> 8;
}

}  // namespace

Raster turned(Raster raster, int orientation) {
    if (orientation < 2 || orientation > 8) return raster;
    const PixelSize size = turned(sizeOf(raster), orientation);
    Raster out{size.width, size.height, {}, raster.hasAlpha};
    out.rgba.resize(raster.rgba.size());
    std::byte* to = out.rgba.data();
    for (std::size_t y = 0; y < size.height; ++y) {
        for (std::size_t x = 0; x < size.width; ++x, to += kPixelBytes) {
            const auto [fromX, fromY] = originOf(x, y, raster, orientation);
            const std::uint32_t pixel = pixelAt(raster, fromX, fromY);
            std::memcpy(to, &pixel, kPixelBytes);
        }
    }
    return out;
}

void drawOver(Raster& raster, Colour background) {
    if (!raster.hasAlpha || background[3] == 0) return;
    bool isOpaque = true;
    auto* pixel = reinterpret_cast<std::uint8_t*>(raster.rgba.data());
    const auto* const end = pixel + raster.rgba.size();
    for (; pixel != end; pixel += kPixelBytes) {
        const std::uint32_t alpha = pixel[3];
        const std::uint32_t below = times(background[3], 255 - alpha);
        const std::uint32_t sum = alpha + below;
        if (sum != 255) isOpaque = false;
        if (sum == 0) continue;
        for (std::size_t i = 0; i < 3; ++i) {
            const std::uint32_t colour = pixel[i] * alpha + background[i] * below;
            pixel[i] = static_cast<std::uint8_t>((colour + sum / 2) / sum);
        }
        pixel[3] = static_cast<std::uint8_t>(sum);
    }
    raster.hasAlpha = !isOpaque;
}

Raster cropped(const Raster& raster, const PixelRect& part) {
    Raster out{part.size.width, part.size.height, {}, raster.hasAlpha};
    const std::size_t rowBytes = part.size.width * kPixelBytes;
    out.rgba.reserve(rowBytes * part.size.height);
    for (std::size_t y = 0; y < part.size.height; ++y) {
        const std::byte* row =
            raster.rgba.data() + ((part.y + y) * raster.width + part.x) * kPixelBytes;
        out.rgba.insert(out.rgba.end(), row, row + rowBytes);
    }
    return out;
}

Raster rasterOf(PixelSize size, Colour colour) {
    Raster out{size.width, size.height, {}, colour[3] != 255};
    out.rgba.resize(std::size_t{size.width} * size.height * kPixelBytes);
    for (std::size_t at = 0; at < out.rgba.size(); at += kPixelBytes) {
        std::memcpy(out.rgba.data() + at, colour.data(), kPixelBytes);
    }
    return out;
}

Raster rasterOfPremultiplied(const std::uint8_t* rows, std::size_t stride, PixelSize size) {
    Raster out{size.width, size.height, {}, false};
    out.rgba.resize(std::size_t{size.width} * size.height * kPixelBytes);
    auto* to = reinterpret_cast<std::uint8_t*>(out.rgba.data());
    for (std::size_t y = 0; y < size.height; ++y) {
        const std::uint8_t* from = rows + y * stride;
        for (std::size_t x = 0; x < size.width; ++x, from += kPixelBytes, to += kPixelBytes) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, from, kPixelBytes);
            const std::uint32_t alpha = pixel >> 24;
            if (alpha != 255) out.hasAlpha = true;
            if (alpha == 0) continue;
            for (int i = 0; i < 3; ++i) {
                const std::uint32_t colour = pixel >> (16 - 8 * i) & 255;
                to[i] =
                    static_cast<std::uint8_t>(std::min(255U, (colour * 255 + alpha / 2) / alpha));
            }
            to[3] = static_cast<std::uint8_t>(alpha);
        }
    }
    return out;
}

}  // namespace corvy::platform
