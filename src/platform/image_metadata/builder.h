// What the readers of the formats fill in, and the properties that are made of it in the end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/image_metadata.h"

namespace corvy::platform {

// Caps that every reader keeps.
inline constexpr std::uint64_t kMostValueBytes = 64 << 10;
inline constexpr std::size_t kMostNumbersInList = 1024;
inline constexpr std::size_t kMostEmbedded = 64;

enum class ColorModel : std::uint8_t { unknown, gray, rgb, cmyk, lab };

struct MetadataBuilder {
    std::optional<PixelSize> size;
    std::uint32_t depth = 0;  // bits of a component; 0: unknown
    ColorModel colorModel = ColorModel::unknown;
    double dpiWidth = 0;  // 0: unknown
    double dpiHeight = 0;
    std::optional<int> orientation;
    std::optional<bool> hasAlpha;
    bool isIndexed = false;
    bool isFloat = false;
    std::u16string profileName;
    Dictionary exif, tiff, gps, iptc, png, gif, jfif;
    std::string xmpPacket;
    std::vector<EmbeddedImage> embedded;

    void setSize(std::uint64_t width, std::uint64_t height);
    // Ignored unless both are above 0 and finite.
    void setDpi(double width, double height);
    // From pixels per metre, which files hold as whole numbers.
    void setPixelsPerMeter(std::uint32_t width, std::uint32_t height);
    // Ignored unless 1 to 8.
    void setOrientation(std::int64_t value);
    // Only the first counts; one that is too long is left out.
    void setXmpPacket(std::string_view packet);
    void addEmbedded(const EmbeddedImage& image);

    ImageMetadata finish() &&;
};

// Text of a file: UTF-8 where it is well-formed, else Latin-1; cut at the first zero, without
// blanks at its end.
std::u16string fileText(std::string_view bytes);

}  // namespace corvy::platform
