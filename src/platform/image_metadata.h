// What image files say about themselves, read without decoding a pixel: properties in the shape
// and under the key names that image sources report, the orientation, embedded thumbnails.
//
// The readers are bounded: a value of more than 64 KiB is left out, directories are followed to a
// fixed depth and never twice, lists end after a fixed count. What is broken is left out; what was
// read before it stays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "foundation/property_list.h"
#include "platform/image_formats.h"

namespace corvy::platform {

struct PixelSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

// What no decoder is asked to decode.
inline constexpr std::uint64_t kMostPixels = 128'000'000;
inline constexpr std::uint32_t kLongestSide = 65'535;
constexpr bool isWithinLimits(PixelSize size) {
    return size.width <= kLongestSide && size.height <= kLongestSide &&
           std::uint64_t{size.width} * size.height <= kMostPixels;
}

// A smaller picture inside a file.
struct EmbeddedImage {
    enum class Kind : std::uint8_t {
        jpeg,      // `offset` and `length` are a JPEG file of its own
        heifItem,  // a thumbnail item of a HEIF or AVIF file: its decoder finds it; no range
    };
    Kind kind = Kind::jpeg;
    std::uint64_t offset = 0;  // bytes from the start of the file; the range lies within it
    std::uint64_t length = 0;
    std::optional<PixelSize> size;  // none when the file does not tell
    friend bool operator==(const EmbeddedImage&, const EmbeddedImage&) = default;
};

inline constexpr std::uint64_t kMostPacketBytes = 1 << 20;

struct ImageMetadata {
    // PixelWidth, PixelHeight, Depth (bits of a component), ColorModel ("RGB", "Gray", "CMYK" or
    // "Lab"), DPIWidth, DPIHeight, Orientation, HasAlpha, ProfileName, IsIndexed, IsFloat, and the
    // groups {Exif}, {TIFF}, {GPS}, {IPTC}, {PNG}, {GIF} and {JFIF}; each only where the file
    // tells. Whole numbers are 64-bit integers, rationals are reals, dates are Exif's texts. Empty
    // when nothing could be read.
    Dictionary properties;
    // As stored, before the orientation is applied; of the first picture (of the largest one in an
    // icon file). None when the header does not tell.
    std::optional<PixelSize> size;
    // 1 to 8, as Exif numbers them: what has to be done to the stored pixels. Decoders of HEIF and
    // AVIF turn the picture themselves, others do not.
    int orientation = 1;
    bool hasAlpha = false;
    // The XMP packet (xmp_packet.h), of at most kMostPacketBytes; empty without one.
    std::string xmpPacket;
    // In the order in which they are worth trying as a thumbnail: the smallest first, those of
    // unknown size behind. The last with a size is the best preview.
    std::vector<EmbeddedImage> embedded;
};

// `format` is that of the bytes (image_signature.h). Empty for `unknown`, for PDF and PostScript.
ImageMetadata imageMetadataOf(std::span<const std::byte> bytes, ImageFormat format);

}  // namespace corvy::platform
