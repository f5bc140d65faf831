#include "platform/image_metadata/builder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "foundation/text.h"

namespace corvy::platform {

namespace {

constexpr double kMetersPerInch = 0.0254;

// The resolution was a whole number of dots per inch if that rounds to what the file holds.
double dpiOfPixelsPerMeter(std::uint32_t pixels) {
    const double dpi = pixels * kMetersPerInch;
    const double whole = std::round(dpi);
    return std::round(whole / kMetersPerInch) == pixels ? whole : dpi;
}

std::u16string_view nameOf(ColorModel model) {
    switch (model) {
        case ColorModel::gray: return u"Gray";
        case ColorModel::rgb: return u"RGB";
        case ColorModel::cmyk: return u"CMYK";
        case ColorModel::lab: return u"Lab";
        case ColorModel::unknown: break;
    }
    return {};
}

bool isBetterThumbnail(const EmbeddedImage& a, const EmbeddedImage& b) {
    const auto rank = [](const EmbeddedImage& image) {
        const std::uint64_t pixels = image.size
                                         ? std::uint64_t{image.size->width} * image.size->height
                                         : std::numeric_limits<std::uint64_t>::max();
        return std::tuple(pixels, image.length);
    };
    return rank(a) < rank(b);
}

}  // namespace

void MetadataBuilder::setSize(std::uint64_t width, std::uint64_t height) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (width == 0 || height == 0 || width > kMost || height > kMost) return;
    size = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

void MetadataBuilder::setDpi(double width, double height) {
    if (!(width > 0) || !(height > 0) || !std::isfinite(width) || !std::isfinite(height)) return;
    dpiWidth = width;
    dpiHeight = height;
}

void MetadataBuilder::setPixelsPerMeter(std::uint32_t width, std::uint32_t height) {
    setDpi(dpiOfPixelsPerMeter(width), dpiOfPixelsPerMeter(height));
}

void MetadataBuilder::setOrientation(std::int64_t value) {
    if (value >= 1 && value <= 8) orientation = static_cast<int>(value);
}

void MetadataBuilder::setXmpPacket(std::string_view packet) {
    if (xmpPacket.empty() && packet.size() <= kMostPacketBytes) xmpPacket = packet;
}

void MetadataBuilder::addEmbedded(const EmbeddedImage& image) {
    if (embedded.size() < kMostEmbedded && std::ranges::find(embedded, image) == embedded.end())
        embedded.push_back(image);
}

ImageMetadata MetadataBuilder::finish() && {
    ImageMetadata metadata;
    Dictionary& properties = metadata.properties;
    if (size) {
        properties.set(u"PixelWidth", std::int64_t{size->width});
        properties.set(u"PixelHeight", std::int64_t{size->height});
    }
    if (depth > 0) properties.set(u"Depth", std::int64_t{depth});
    if (colorModel != ColorModel::unknown) properties.set(u"ColorModel", nameOf(colorModel));
    if (dpiWidth > 0) {
        properties.set(u"DPIWidth", dpiWidth);
        properties.set(u"DPIHeight", dpiHeight);
    }
    if (orientation) properties.set(u"Orientation", std::int64_t{*orientation});
    if (hasAlpha) properties.set(u"HasAlpha", *hasAlpha);
    if (isIndexed) properties.set(u"IsIndexed", true);
    if (isFloat) properties.set(u"IsFloat", true);
    if (!profileName.empty()) properties.set(u"ProfileName", std::move(profileName));
    const std::pair<std::u16string_view, Dictionary*> groups[] = {
        {u"{Exif}", &exif}, {u"{TIFF}", &tiff}, {u"{GPS}", &gps},  {u"{IPTC}", &iptc},
        {u"{PNG}", &png},   {u"{GIF}", &gif},   {u"{JFIF}", &jfif}};
    for (const auto& [name, group] : groups) {
        if (!group->empty()) properties.set(name, std::move(*group));
    }
    metadata.size = size;
    metadata.orientation = orientation.value_or(1);
    metadata.hasAlpha = hasAlpha.value_or(false);
    metadata.xmpPacket = std::move(xmpPacket);
    std::ranges::stable_sort(embedded, isBetterThumbnail);
    metadata.embedded = std::move(embedded);
    return metadata;
}

std::u16string fileText(std::string_view bytes) {
    bytes = bytes.substr(0, std::min<std::uint64_t>(bytes.find('\0'), kMostValueBytes));
    bytes = bytes.substr(0, bytes.find_last_not_of(" \t\r\n") + 1);
    if (auto text = fromStrictUtf8(bytes)) return *std::move(text);
    std::u16string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) text += static_cast<unsigned char>(byte);
    return text;
}

}  // namespace corvy::platform
