#include "images/preview.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "images/image_types.h"

namespace corvy {

namespace {

constexpr platform::Colour kFrame{160, 160, 160, 255};
constexpr double kDarkestShadow = 96;  // of 255
constexpr double kMarginPart = 1.0 / 24;

// Room around a sheet for its shadow; an icon of few pixels has none.
std::uint32_t marginFor(Size box) {
    const double side = std::min(box.width, box.height);
    return static_cast<std::uint32_t>(std::max(0.0, side * kMarginPart));
}

void setPixel(Raster& raster, std::size_t x, std::size_t y, platform::Colour colour) {
    std::memcpy(raster.rgba.data() + (y * raster.width + x) * colour.size(), colour.data(),
                colour.size());
}

double distance(std::uint32_t at, std::uint32_t first, std::uint32_t count) {
    if (at < first) return first - at;
    return at >= first + count ? at - (first + count) + 1 : 0;
}

// The sheet in the middle, with a shadow that falls downwards and a frame of one pixel.
Raster asSheet(const Raster& sheet, std::uint32_t margin) {
    const PixelSize size{sheet.width + 2 * margin, sheet.height + 2 * margin};
    Raster out = platform::rasterOf(size, platform::kClear);
    const std::uint32_t drop = margin / 3;
    for (std::uint32_t y = 0; y < size.height; ++y) {
        for (std::uint32_t x = 0; x < size.width; ++x) {
            const double away = std::hypot(distance(x, margin, sheet.width),
                                           distance(y, margin + drop, sheet.height));
            const double strength = std::max(0.0, 1 - away / (margin - drop + 1));
            const auto alpha = static_cast<std::uint8_t>(kDarkestShadow * strength * strength);
            setPixel(out, x, y, {0, 0, 0, alpha});
        }
    }
    const std::size_t rowBytes = std::size_t{4} * sheet.width;
    for (std::uint32_t y = 0; y < sheet.height; ++y) {
        std::memcpy(out.rgba.data() + 4 * (std::size_t{y + margin} * size.width + margin),
                    sheet.rgba.data() + y * rowBytes, rowBytes);
        setPixel(out, margin, y + margin, kFrame);
        setPixel(out, margin + sheet.width - 1, y + margin, kFrame);
    }
    for (std::uint32_t x = 0; x < sheet.width; ++x) {
        setPixel(out, x + margin, margin, kFrame);
        setPixel(out, x + margin, margin + sheet.height - 1, kFrame);
    }
    return out;
}

}  // namespace

std::optional<Image> previewForFile(std::optional<std::u16string_view> path, Size size,
                                    const PreviewOptions& options) {
    if (!path || path->empty() || !(size.width > 0) || !(size.height > 0)) return std::nullopt;
    Image image = Image::initByReferencingFile(pathToPDF(*path), options.folder);
    if (!image.isReallyValid()) return std::nullopt;
    image.setSize(image.pixelSize());
    const std::uint32_t margin = options.asIcon ? marginFor(size) : 0;
    const Size box{std::max(1.0, size.width - 2 * margin), std::max(1.0, size.height - 2 * margin)};
    if (options.asIcon) image.setBackgroundColour(platform::kWhite);
    auto raster = image.rendered(image.thumbSize(box));
    if (raster && options.asIcon) raster = asSheet(*raster, margin);
    return raster ? Image::imageWithCGImageRef(*std::move(raster)) : std::nullopt;
}

std::optional<Image> previewForFile(std::optional<std::u16string_view> path, std::int64_t maxSize,
                                    const PreviewOptions& options) {
    const auto side = static_cast<double>(maxSize);
    return previewForFile(path, Size{side, side}, options);
}

}  // namespace corvy
