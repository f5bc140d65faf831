#include "platform/icon/bitmap.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <vector>

namespace corvy::platform {

namespace {

using Pixel = std::array<std::uint8_t, 4>;

void setPixel(Raster& raster, std::size_t index, Pixel pixel) {
    for (std::size_t i = 0; i < pixel.size(); ++i) raster.rgba[4 * index + i] = std::byte{pixel[i]};
}

// The bits that a mask of a colour selects, as eight of them.
std::uint8_t masked(std::uint32_t value, std::uint32_t mask) {
    if (mask == 0) return 0;
    const int shift = std::countr_zero(mask);
    const std::uint64_t most = mask >> shift;
    return static_cast<std::uint8_t>(((value & mask) >> shift) * 255ULL / most);
}

class BitmapReader {
public:
    explicit BitmapReader(const IconPicture& picture)
        : view_(picture.bytes), width_(picture.width), height_(picture.height) {}

    std::optional<Raster> read() {
        if (!readHeader()) return std::nullopt;
        Raster raster{width_, height_, std::vector<std::byte>(std::size_t{4} * width_ * height_),
                      false};
        bool hasAnyAlpha = false;
        for (std::uint32_t row = 0; row < height_; ++row) {
            for (std::uint32_t x = 0; x < width_; ++x) {
                const Pixel pixel = pixelAt(row, x);
                hasAnyAlpha = hasAnyAlpha || pixel[3] != 0;
                setPixel(raster, indexOf(row, x), pixel);
            }
        }
        // Alpha that is zero everywhere was never written: the mask counts then, as it does
        // where there is no alpha.
        if (!hasAlphaBits() || !hasAnyAlpha) applyMask(raster);
        for (std::size_t i = 3; i < raster.rgba.size() && !raster.hasAlpha; i += 4)
            raster.hasAlpha = raster.rgba[i] != std::byte{255};
        return raster;
    }

private:
    static constexpr std::uint64_t kInfoHeader = 40;
    enum Compression : std::uint32_t { kNone = 0, kMasks = 3 };

    bool readHeader() {
        const std::uint64_t header = view_.u32(0);
        const std::uint32_t compression = view_.u32(16);
        bits_ = view_.u16(14);
        const bool isKnown =
            bits_ == 1 || bits_ == 4 || bits_ == 8 || bits_ == 16 || bits_ == 24 || bits_ == 32;
        if (header < kInfoHeader || !isKnown) return false;
        const bool isMasked = compression == kMasks && (bits_ == 16 || bits_ == 32);
        if (compression != kNone && !isMasked) return false;
        palette_ = header;
        if (bits_ <= 8) {
            constexpr std::uint32_t kMostColors = 256;
            colors_ = view_.u32(32) == 0 ? 1U << bits_ : std::min(view_.u32(32), kMostColors);
        } else if (isMasked) {
            for (std::size_t i = 0; i < 3; ++i) masks_[i] = view_.u32(kInfoHeader + 4 * i);
            if (header == kInfoHeader) palette_ += 12;
        } else if (bits_ == 16) {
            masks_ = {0x7C00, 0x03E0, 0x001F};
        }
        rows_ = palette_ + 4 * std::uint64_t{colors_};
        stride_ = (std::uint64_t{width_} * bits_ + 31) / 32 * 4;
        maskStride_ = (std::uint64_t{width_} + 31) / 32 * 4;
        return view_.has(rows_, stride_ * height_);
    }

    bool hasAlphaBits() const { return bits_ == 32; }

    // Rows are stored from the bottom.
    std::size_t indexOf(std::uint32_t row, std::uint32_t x) const {
        return std::size_t{height_ - 1 - row} * width_ + x;
    }

    Pixel pixelAt(std::uint32_t row, std::uint32_t x) const {
        constexpr std::uint8_t kOpaque = 255;
        const std::uint64_t start = rows_ + row * stride_;
        if (bits_ <= 8) {
            const std::uint64_t bit = std::uint64_t{x} * bits_;
            const std::uint32_t byte = view_.u8(start + bit / 8);
            const std::uint32_t index = byte >> (8 - bits_ - bit % 8) & ((1U << bits_) - 1);
            const std::uint64_t color = palette_ + 4 * std::uint64_t{index};
            if (index >= colors_) return {0, 0, 0, kOpaque};
            return {view_.u8(color + 2), view_.u8(color + 1), view_.u8(color), kOpaque};
        }
        const std::uint64_t at = start + std::uint64_t{x} * (bits_ / 8);
        if (masks_[0] != 0) {
            const auto value = static_cast<std::uint32_t>(view_.number(at, bits_ / 8));
            const std::uint32_t rest = ~(masks_[0] | masks_[1] | masks_[2]);
            return {masked(value, masks_[0]), masked(value, masks_[1]), masked(value, masks_[2]),
                    bits_ == 32 ? masked(value, rest) : kOpaque};
        }
        return {view_.u8(at + 2), view_.u8(at + 1), view_.u8(at),
                bits_ == 32 ? view_.u8(at + 3) : kOpaque};
    }

    void applyMask(Raster& raster) const {
        const std::uint64_t masks = rows_ + stride_ * height_;
        for (std::uint32_t row = 0; row < height_; ++row) {
            for (std::uint32_t x = 0; x < width_; ++x) {
                const std::uint8_t byte = view_.u8(masks + row * maskStride_ + x / 8);
                const bool isHidden = (byte >> (7 - x % 8) & 1) != 0;
                raster.rgba[4 * indexOf(row, x) + 3] = std::byte(isHidden ? 0 : 255);
            }
        }
    }

    ByteView view_;
    std::uint32_t width_;
    std::uint32_t height_;
    std::uint32_t bits_ = 0;
    std::uint32_t colors_ = 0;
    std::array<std::uint32_t, 3> masks_ = {};
    std::uint64_t palette_ = 0;
    std::uint64_t rows_ = 0;
    std::uint64_t stride_ = 0;
    std::uint64_t maskStride_ = 0;
};

std::optional<Raster> decodeMono(const IconPicture& picture) {
    const std::uint64_t length = std::uint64_t{picture.width} * picture.height / 8;
    if (!picture.bytes.has(0, length)) return std::nullopt;
    Raster raster{picture.width, picture.height, std::vector<std::byte>(8 * 4 * length), false};
    raster.hasAlpha = picture.bytes.has(length, length);
    const auto bitAt = [&picture](std::uint64_t start, std::size_t i) {
        return (picture.bytes.u8(start + i / 8) >> (7 - i % 8) & 1) != 0;
    };
    for (std::size_t i = 0; i < 8 * length; ++i) {
        const std::uint8_t gray = bitAt(0, i) ? 0 : 255;
        const bool isHidden = raster.hasAlpha && !bitAt(length, i);
        setPixel(raster, i, {gray, gray, gray, static_cast<std::uint8_t>(isHidden ? 0 : 255)});
    }
    return raster;
}

// A control byte from 128 on repeats the next byte 3 to 130 times, one below takes the next 1 to
// 128 bytes as they are. False when the bytes end before the plane does.
bool unpackPlane(ByteView bytes, std::uint64_t& at, std::size_t pixels, std::size_t channel,
                 Raster& raster) {
    constexpr std::uint8_t kRun = 128, kShortestRun = 3;
    std::size_t done = 0;
    while (done < pixels) {
        if (!bytes.has(at, 2)) return false;
        const std::uint8_t control = bytes.u8(at++);
        const bool isRun = control >= kRun;
        const std::size_t count = isRun ? control - kRun + kShortestRun : control + 1U;
        for (std::size_t i = 0; i < count && done < pixels; ++i)
            raster.rgba[4 * done++ + channel] = std::byte{bytes.u8(at + (isRun ? 0 : i))};
        at += isRun ? 1 : count;
    }
    return at <= bytes.size();
}

std::optional<Raster> decodeRuns(const IconPicture& picture) {
    constexpr std::uint64_t kArgbHeader = 4;
    const bool hasAlphaPlane = picture.coding == IconPicture::Coding::argb;
    const std::size_t pixels = std::size_t{picture.width} * picture.height;
    Raster raster{picture.width, picture.height, std::vector<std::byte>(4 * pixels, std::byte{255}),
                  hasAlphaPlane || picture.mask.has(0, pixels)};
    std::uint64_t at = hasAlphaPlane ? kArgbHeader : 0;
    if (hasAlphaPlane && !unpackPlane(picture.bytes, at, pixels, 3, raster)) return std::nullopt;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        if (!unpackPlane(picture.bytes, at, pixels, channel, raster)) return std::nullopt;
    }
    for (std::size_t i = 0; !hasAlphaPlane && raster.hasAlpha && i < pixels; ++i)
        raster.rgba[4 * i + 3] = std::byte{picture.mask.u8(i)};
    return raster;
}

}  // namespace

std::optional<Raster> decodeIconBitmap(const IconPicture& picture) {
    return BitmapReader(picture).read();
}

std::optional<Raster> decodeIconPlanes(const IconPicture& picture) {
    return picture.coding == IconPicture::Coding::mono ? decodeMono(picture) : decodeRuns(picture);
}

}  // namespace corvy::platform
