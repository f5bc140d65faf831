#include "platform/tiff_encoder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <utility>
#include <vector>

#include "platform/tiff_memory.h"

namespace corvy::platform {

namespace {

constexpr float kPixelsPerInch = 72;
constexpr std::size_t kBytesPerPixel = 4;  // of a raster
// Readers take one strip at a time; larger ones compress better.
constexpr std::size_t kStripBytes = std::size_t{1} << 16;

bool setFields(TIFF* tiff, const Raster& raster, TiffCompression compression,
               std::uint32_t rowsPerStrip) {
    const std::uint16_t samples = raster.hasAlpha ? 4 : 3;
    bool done = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, raster.width) != 0 &&
                TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, raster.height) != 0 &&
                TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8) != 0 &&
                TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples) != 0 &&
                TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) != 0 &&
                TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) != 0 &&
                TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) != 0 &&
                TIFFSetField(tiff, TIFFTAG_COMPRESSION, static_cast<int>(compression)) != 0 &&
                TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip) != 0 &&
                TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) != 0 &&
                TIFFSetField(tiff, TIFFTAG_XRESOLUTION, kPixelsPerInch) != 0 &&
                TIFFSetField(tiff, TIFFTAG_YRESOLUTION, kPixelsPerInch) != 0;
    if (compression == TiffCompression::lzw) {
        done = done && TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL) != 0;
    }
    if (raster.hasAlpha) {
        const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
        done = done && TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha) != 0;
    }
    return done;
}

void copyWithoutAlpha(std::span<const std::byte> rgba, std::byte* rgb) {
    for (std::size_t i = 0; i < rgba.size(); i += kBytesPerPixel, rgb += 3) {
        std::memcpy(rgb, rgba.data() + i, 3);
    }
}

bool writeStrips(TIFF* tiff, const Raster& raster, std::uint32_t rowsPerStrip) {
    const std::size_t rowBytes = raster.width * kBytesPerPixel;
    const std::size_t samples = raster.hasAlpha ? 4 : 3;
    std::vector<std::byte> strip(raster.width * samples * rowsPerStrip);
    std::span<const std::byte> rest(raster.rgba);
    for (std::uint32_t index = 0, row = 0; row < raster.height; ++index) {
        const std::uint32_t rows = std::min(rowsPerStrip, raster.height - row);
        const std::size_t bytes = raster.width * samples * rows;
        // Copied with alpha too: the library may write into what it is given.
        if (raster.hasAlpha) {
            std::memcpy(strip.data(), rest.data(), bytes);
        } else {
            copyWithoutAlpha(rest.first(rowBytes * rows), strip.data());
        }
        if (TIFFWriteEncodedStrip(tiff, index, strip.data(), static_cast<tmsize_t>(bytes)) < 0) {
            return false;
        }
        rest = rest.subspan(rowBytes * rows);
        row += rows;
    }
    return true;
}

}  // namespace

std::optional<Bytes> tiffRepresentation(const Raster& raster, TiffCompression compression) {
    const std::size_t rowBytes = raster.width * kBytesPerPixel;
    if (rowBytes == 0 || raster.height == 0 || raster.rgba.size() / rowBytes < raster.height) {
        return std::nullopt;
    }
    const auto rowsPerStrip = static_cast<std::uint32_t>(
        std::clamp<std::size_t>(kStripBytes / rowBytes, 1, raster.height));
    try {
        std::vector<std::byte> bytes;
        MemoryFile file(bytes);
        const TiffHandle tiff = openTiff(file, "wm");
        // The directory is written here and not on closing, which would not tell of its failure.
        if (!tiff || !setFields(tiff.get(), raster, compression, rowsPerStrip) ||
            !writeStrips(tiff.get(), raster, rowsPerStrip) || TIFFWriteDirectory(tiff.get()) == 0) {
            return std::nullopt;
        }
        return Bytes(std::move(bytes));
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

}  // namespace corvy::platform
