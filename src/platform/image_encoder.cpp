#include "platform/image_encoder.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <span>
#include <utility>

#include "platform/raster_operations.h"
#include "platform/tiff_encoder.h"
#include "platform/vips_support.h"

namespace corvy::platform {

namespace {

constexpr int kPngCompression = 6;  // of zlib
constexpr double kPixelsPerMillimetre = 72 / 25.4;

// What the library has written, in its own memory.
template <typename Save>
std::optional<Bytes> saved(const Raster& raster, Save&& save) {
    const VipsPicture pixels = vipsPictureOf(raster);
    if (!pixels) return std::nullopt;
    const VipsPicture picture = vipsResult([&](VipsImage** out) {
        return vips_copy(pixels.get(), out, "xres", kPixelsPerMillimetre, "yres",
                         kPixelsPerMillimetre, nullptr);
    });
    void* data = nullptr;
    std::size_t size = 0;
    if (!picture || save(picture.get(), &data, &size) != 0) {
        vips_error_clear();
        return std::nullopt;
    }
    std::shared_ptr<const void> owner(data, [](void* memory) { g_free(memory); });
    return Bytes::sharing({static_cast<const std::byte*>(data), size}, std::move(owner));
}

int qualityOf(float factor) {
    if (std::isnan(factor)) return 100;
    return std::clamp(static_cast<int>(std::lround(factor * 100)), 1, 100);
}

class LittleEndianWriter {
public:
    explicit LittleEndianWriter(std::size_t room) { bytes_.reserve(room); }
    LittleEndianWriter& u16(std::uint32_t value) { return number(value, 2); }
    LittleEndianWriter& u32(std::uint32_t value) { return number(value, 4); }
    void byte(std::byte value) { bytes_.push_back(value); }
    std::vector<std::byte> take() { return std::move(bytes_); }

private:
    LittleEndianWriter& number(std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) {
            bytes_.push_back(static_cast<std::byte>(value >> 8 * i & 0xFF));
        }
        return *this;
    }

    std::vector<std::byte> bytes_;
};

// The header with masks and colour space, which alone can say that there is alpha.
void writeAlphaFields(LittleEndianWriter& out) {
    constexpr std::uint32_t kSrgb = 0x73524742;  // "sRGB"
    constexpr int kUnusedWords = 12;             // end points and gamma, then rendering intent
    out.u32(0x00FF0000).u32(0x0000FF00).u32(0x000000FF).u32(0xFF000000).u32(kSrgb);
    for (int i = 0; i < kUnusedWords; ++i) out.u32(0);
}

}  // namespace

std::optional<Bytes> bmpRepresentation(const Raster& raster) {
    constexpr std::uint32_t kFileHeader = 14;
    constexpr std::uint32_t kPixelsPerMetre = 2835;  // 72 to the inch
    const std::uint32_t infoHeader = raster.hasAlpha ? 108 : 40;
    const std::uint32_t pixelBytes = raster.hasAlpha ? 4 : 3;
    const std::uint64_t rowBytes = (std::uint64_t{raster.width} * pixelBytes + 3) / 4 * 4;
    const std::uint64_t imageBytes = rowBytes * raster.height;
    const std::uint64_t all = kFileHeader + infoHeader + imageBytes;
    if (raster.rgba.empty() || all > 0x7FFFFFFF) return std::nullopt;

    LittleEndianWriter out(all);
    out.u16(0x4D42).u32(static_cast<std::uint32_t>(all)).u32(0).u32(kFileHeader + infoHeader);
    out.u32(infoHeader).u32(raster.width).u32(raster.height).u16(1).u16(pixelBytes * 8);
    out.u32(raster.hasAlpha ? 3 : 0);  // fields by masks, or plain
    out.u32(static_cast<std::uint32_t>(imageBytes)).u32(kPixelsPerMetre).u32(kPixelsPerMetre);
    out.u32(0).u32(0);
    if (raster.hasAlpha) writeAlphaFields(out);
    for (std::size_t y = raster.height; y-- > 0;) {
        const std::byte* pixel = raster.rgba.data() + y * raster.width * 4;
        for (std::size_t x = 0; x < raster.width; ++x, pixel += 4) {
            for (const int channel : {2, 1, 0}) out.byte(pixel[channel]);
            if (raster.hasAlpha) out.byte(pixel[3]);
        }
        for (std::uint64_t i = std::uint64_t{raster.width} * pixelBytes; i < rowBytes; ++i) {
            out.byte({});
        }
    }
    return Bytes(out.take());
}

std::optional<Bytes> encodedPicture(Raster raster, const EncodeOptions& options) {
    if (raster.rgba.empty()) return std::nullopt;
    const int quality = qualityOf(options.compressionFactor);
    switch (options.type) {
        case BitmapFileType::tiff: return tiffRepresentation(raster, TiffCompression::none);
        case BitmapFileType::bmp: return bmpRepresentation(raster);
        case BitmapFileType::gif:
            return saved(raster, [](VipsImage* picture, void** data, std::size_t* size) {
                return vips_gifsave_buffer(picture, data, size, nullptr);
            });
        case BitmapFileType::jpeg:
            drawOver(raster, kWhite);
            return saved(raster, [quality](VipsImage* picture, void** data, std::size_t* size) {
                return vips_jpegsave_buffer(picture, data, size, "Q", quality, nullptr);
            });
        case BitmapFileType::png:
            return saved(raster, [](VipsImage* picture, void** data, std::size_t* size) {
                return vips_pngsave_buffer(picture, data, size, "compression", kPngCompression,
                                           nullptr);
            });
        case BitmapFileType::jpeg2000:
            return saved(raster, [quality](VipsImage* picture, void** data, std::size_t* size) {
                return vips_jp2ksave_buffer(picture, data, size, "Q", quality, "lossless",
                                            quality == 100, nullptr);
            });
    }
    return std::nullopt;
}

}  // namespace corvy::platform
