#include "platform/tiff_decoder.h"

#include <memory>
#include <utility>
#include <vector>

#include "platform/image_metadata.h"
#include "platform/raster_operations.h"
#include "platform/tiff_memory.h"

namespace corvy::platform {

namespace {

TiffHandle openPage(MemoryFile& file, std::uint32_t page) {
    TiffHandle tiff = openTiff(file, "rm");
    const bool isThere =
        tiff && (page == 0 || TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(page)) != 0);
    return isThere ? std::move(tiff) : nullptr;
}

// What the library lays out as alpha, blue, green and red from the highest bits down.
void swapRedAndBlue(std::vector<std::uint32_t>& pixels) {
    for (std::uint32_t& pixel : pixels) {
        pixel = (pixel & 0xFF00FF00) | (pixel & 0xFF) << 16 | (pixel >> 16 & 0xFF);
    }
}

}  // namespace

bool isLumaChromaTiff(std::span<const std::byte> bytes, std::uint32_t page) {
    MemoryFile file(bytes);
    const TiffHandle tiff = openPage(file, page);
    std::uint16_t meaning = 0;
    std::uint16_t compression = 0;
    return tiff && TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &meaning) != 0 &&
           TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_COMPRESSION, &compression) != 0 &&
           meaning == PHOTOMETRIC_YCBCR && compression != COMPRESSION_JPEG;
}

std::optional<Raster> decodeTiff(std::span<const std::byte> bytes, std::uint32_t page) {
    MemoryFile file(bytes);
    const TiffHandle tiff = openPage(file, page);
    TIFFRGBAImage image;
    char reason[1024];
    if (!tiff || TIFFRGBAImageOK(tiff.get(), reason) == 0 ||
        TIFFRGBAImageBegin(&image, tiff.get(), 0, reason) == 0) {
        return std::nullopt;
    }
    const std::unique_ptr<TIFFRGBAImage, decltype([](TIFFRGBAImage* it) { TIFFRGBAImageEnd(it); })>
        ender(&image);
    const PixelSize size{image.width, image.height};
    if (size.width == 0 || size.height == 0 || !isWithinLimits(size)) return std::nullopt;
    // Nothing is turned over here.
    image.orientation = ORIENTATION_TOPLEFT;
    image.req_orientation = ORIENTATION_TOPLEFT;
    std::vector<std::uint32_t> pixels(std::size_t{size.width} * size.height, 0xFF000000);
    if (TIFFRGBAImageGet(&image, pixels.data(), size.width, size.height) == 0) return std::nullopt;
    swapRedAndBlue(pixels);
    return rasterOfPremultiplied(reinterpret_cast<const std::uint8_t*>(pixels.data()),
                                 std::size_t{4} * size.width, size);
}

}  // namespace corvy::platform
