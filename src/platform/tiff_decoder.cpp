#include "platform/tiff_decoder.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/image_metadata.h"
#include "platform/raster_operations.h"

namespace corvy::platform {

namespace {

constexpr tmsize_t kMostBytesAtOnce = tmsize_t{1} << 29;

// A file in memory, as the library wants to read it.
struct MemoryFile {
    std::span<const std::byte> bytes;
    std::size_t position = 0;

    tmsize_t read(void* to, std::size_t most) {
        const std::size_t start = std::min(position, bytes.size());
        const std::size_t count = std::min(most, bytes.size() - start);
        if (count > 0) std::memcpy(to, bytes.data() + start, count);
        position = start + count;
        return static_cast<tmsize_t>(count);
    }
    toff_t seek(toff_t offset, int origin) {
        const std::size_t base =
            origin == SEEK_CUR ? position : (origin == SEEK_END ? bytes.size() : 0);
        position = base + offset;
        return position;
    }
};

MemoryFile& fileOf(thandle_t handle) {
    return *static_cast<MemoryFile*>(handle);
}

struct TiffCloser {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

struct OptionsFreer {
    void operator()(TIFFOpenOptions* options) const noexcept { TIFFOpenOptionsFree(options); }
};

// `file` outlives the handle.
TiffHandle openPage(MemoryFile& file, std::uint32_t page) {
    const TIFFErrorHandlerExtR silent = [](TIFF*, void*, const char*, const char*, va_list) {
        return 1;
    };
    const std::unique_ptr<TIFFOpenOptions, OptionsFreer> options(TIFFOpenOptionsAlloc());
    if (!options) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), silent, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostBytesAtOnce);
    TiffHandle tiff(TIFFClientOpenExt(
        "memory", "rm", &file,
        [](thandle_t handle, void* to, tmsize_t size) {
            return fileOf(handle).read(to, static_cast<std::size_t>(size));
        },
        [](thandle_t, void*, tmsize_t) { return tmsize_t{-1}; },
        [](thandle_t handle, toff_t offset, int origin) {
            return fileOf(handle).seek(offset, origin);
        },
        [](thandle_t) { return 0; },
        [](thandle_t handle) { return static_cast<toff_t>(fileOf(handle).bytes.size()); }, nullptr,
        nullptr, options.get()));
    if (tiff && page > 0 && TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(page)) == 0) {
        return nullptr;
    }
    return tiff;
}

// What the library lays out as alpha, blue, green and red from the highest bits down.
void swapRedAndBlue(std::vector<std::uint32_t>& pixels) {
    for (std::uint32_t& pixel : pixels) {
        pixel = (pixel & 0xFF00FF00) | (pixel & 0xFF) << 16 | (pixel >> 16 & 0xFF);
    }
}

}  // namespace

bool isLumaChromaTiff(std::span<const std::byte> bytes, std::uint32_t page) {
    MemoryFile file{bytes};
    const TiffHandle tiff = openPage(file, page);
    std::uint16_t meaning = 0;
    std::uint16_t compression = 0;
    return tiff && TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &meaning) != 0 &&
           TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_COMPRESSION, &compression) != 0 &&
           meaning == PHOTOMETRIC_YCBCR && compression != COMPRESSION_JPEG;
}

std::optional<Raster> decodeTiff(std::span<const std::byte> bytes, std::uint32_t page) {
    MemoryFile file{bytes};
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
