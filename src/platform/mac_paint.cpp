#include "platform/mac_paint.h"

#include <algorithm>
#include <cstring>

#include "platform/byte_view.h"

namespace corvy::platform {

namespace {

constexpr std::uint32_t kWidth = 576, kHeight = 720;
constexpr std::size_t kRowBytes = kWidth / 8;

// Unpacks one row. A control byte below 128 takes the next 1 to 128 bytes as they are, one above
// repeats the next byte 2 to 128 times, 128 itself says nothing.
bool unpackRow(ByteView bytes, std::uint64_t& at, std::uint8_t (&row)[kRowBytes]) {
    constexpr std::uint8_t kNothing = 128;
    std::size_t done = 0;
    while (done < kRowBytes) {
        if (!bytes.has(at, 2)) return false;
        const std::uint8_t control = bytes.u8(at++);
        if (control == kNothing) continue;
        const bool isRun = control > kNothing;
        const std::size_t count = isRun ? 257U - control : control + 1U;
        for (std::size_t i = 0; i < count && done < kRowBytes; ++i)
            row[done++] = bytes.u8(at + (isRun ? 0 : i));
        at += isRun ? 1 : count;
    }
    return at <= bytes.size();
}

}  // namespace

std::optional<Raster> decodeMacPaint(std::span<const std::byte> file) {
    constexpr std::uint64_t kMacBinary = 128, kTypeCode = 65, kHeader = 512;
    const ByteView bytes(file);
    std::uint64_t at = kHeader + (bytes.hasText(kTypeCode, "PNTG") ? kMacBinary : 0);
    Raster raster{kWidth, kHeight,
                  std::vector<std::byte>(std::size_t{4} * kWidth * kHeight, std::byte{255}), false};
    std::uint8_t row[kRowBytes] = {};
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        if (!unpackRow(bytes, at, row)) {
            if (y == 0) return std::nullopt;
            break;
        }
        for (std::uint32_t x = 0; x < kWidth; ++x) {
            const bool isBlack = (row[x / 8] >> (7 - x % 8) & 1) != 0;
            const std::size_t pixel = 4 * (std::size_t{y} * kWidth + x);
            if (isBlack)
                std::fill_n(raster.rgba.begin() + static_cast<std::ptrdiff_t>(pixel), 3,
                            std::byte{0});
        }
    }
    return raster;
}

}  // namespace corvy::platform
