#include "platform/pdf_page_picture.h"

#include <Page.h>
#include <SplashOutputDev.h>
#include <splash/SplashBitmap.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace corvy::platform {

namespace {

constexpr double kPointsPerInch = 72;

}  // namespace

std::optional<Size> sizeOfPage(PDFDoc& document, int number) {
    const Page* page = document.getPage(number);
    if (page == nullptr) return std::nullopt;
    Size size{page->getCropWidth(), page->getCropHeight()};
    if (page->getRotate() % 180 != 0) std::swap(size.width, size.height);
    if (!(size.width > 0) || !(size.height > 0)) return std::nullopt;
    return size;
}

std::optional<Raster> pictureOfPage(PDFDoc& document, int number, PixelSize size,
                                    bool shouldAntialias) {
    const auto points = sizeOfPage(document, number);
    if (!points || !isWithinLimits(size)) return std::nullopt;
    SplashColor paper{255, 255, 255};
    constexpr int kRowPadding = 4;  // bytes
    SplashOutputDev device(splashModeRGB8, kRowPadding, false, paper);
    device.setVectorAntialias(shouldAntialias);
    device.setFontAntialias(shouldAntialias);
    device.startDoc(&document);
    // The library rounds up: a little less keeps it from adding a row.
    const auto resolution = [](std::uint32_t pixels, double length) {
        return (pixels - 0.01) / length * kPointsPerInch;
    };
    document.displayPage(&device, number, resolution(size.width, points->width),
                         resolution(size.height, points->height), 0, false, true, false);

    const SplashBitmap* bitmap = device.getBitmap();
    if (bitmap == nullptr) return std::nullopt;
    const auto width = std::min(size.width, static_cast<std::uint32_t>(bitmap->getWidth()));
    const auto height = std::min(size.height, static_cast<std::uint32_t>(bitmap->getHeight()));
    Raster raster{size.width, size.height, {}, false};
    raster.rgba.resize(std::size_t{4} * size.width * size.height, std::byte{255});
    const unsigned char* from = const_cast<SplashBitmap*>(bitmap)->getDataPtr();
    for (std::uint32_t y = 0; y < height; ++y) {
        const unsigned char* pixel = from + std::ptrdiff_t{y} * bitmap->getRowSize();
        std::byte* to = raster.rgba.data() + std::size_t{4} * y * size.width;
        for (std::uint32_t x = 0; x < width; ++x, pixel += 3, to += 4) std::memcpy(to, pixel, 3);
    }
    return raster;
}

}  // namespace corvy::platform
