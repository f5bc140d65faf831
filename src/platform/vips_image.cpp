#include "platform/vips_image.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "platform/jpeg_eighth.h"
#include "platform/raster_operations.h"
#include "platform/vips_support.h"

namespace corvy::platform {

namespace {

constexpr int kRowsAtOnce = 16;

struct LoadOptions {
    int shrink = 1;  // by the loader, in each direction
    int page = 0;
    bool heifThumbnail = false;
};

struct SourceUnref {
    void operator()(VipsSource* source) const noexcept { g_object_unref(source); }
};
using Source = std::unique_ptr<VipsSource, SourceUnref>;

// A file is read piece by piece as it is decoded, and never all of it in memory.
Source sourceOf(std::span<const std::byte> bytes, const char* file) {
    Source source(file != nullptr ? vips_source_new_from_file(file)
                                  : vips_source_new_from_memory(bytes.data(), bytes.size()));
    if (!source) vips_error_clear();
    return source;
}

// The picture, of which no more than the header has been read.
VipsPicture load(const Source& source, ImageFormat format, const LoadOptions& options) {
    if (!source) return nullptr;
    constexpr auto kAccess = VIPS_ACCESS_SEQUENTIAL;
    constexpr auto kFailOn = VIPS_FAIL_ON_NONE;
    VipsSource* const from = source.get();
    return vipsResult([&](VipsImage** out) {
        switch (format) {
            case ImageFormat::jpeg:
                return vips_jpegload_source(from, out, "access", kAccess, "fail_on", kFailOn,
                                            "shrink", options.shrink, nullptr);
            case ImageFormat::png:
                return vips_pngload_source(from, out, "access", kAccess, "fail_on", kFailOn,
                                           nullptr);
            case ImageFormat::gif:
                return vips_gifload_source(from, out, "access", kAccess, "fail_on", kFailOn,
                                           nullptr);
            case ImageFormat::tiff:
                return vips_tiffload_source(from, out, "access", kAccess, "fail_on", kFailOn,
                                            "page", options.page, nullptr);
            case ImageFormat::webp:
                return vips_webpload_source(from, out, "access", kAccess, "fail_on", kFailOn,
                                            "scale", 1.0 / options.shrink, nullptr);
            case ImageFormat::heif:
            case ImageFormat::avif:
                return vips_heifload_source(from, out, "access", kAccess, "fail_on", kFailOn,
                                            "thumbnail", options.heifThumbnail, nullptr);
            default: return -1;
        }
    });
}

// Of numbers of 32 bits the library does not know that the largest is white.
VipsPicture withShortNumbers(VipsPicture picture) {
    if (!picture || vips_image_get_format(picture.get()) != VIPS_FORMAT_UINT) return picture;
    const VipsPicture numbers = vipsResult([&](VipsImage** out) {
        return vips_cast(picture.get(), out, VIPS_FORMAT_USHORT, "shift", TRUE, nullptr);
    });
    if (!numbers) return nullptr;
    const bool isGrey = vips_image_get_interpretation(picture.get()) == VIPS_INTERPRETATION_B_W;
    return vipsResult([&](VipsImage** out) {
        return vips_copy(numbers.get(), out, "interpretation",
                         isGrey ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_RGB16, nullptr);
    });
}

PixelSize sizeOf(const VipsPicture& picture) {
    return {static_cast<std::uint32_t>(vips_image_get_width(picture.get())),
            static_cast<std::uint32_t>(vips_image_get_height(picture.get()))};
}

// By how much the loader may shrink: at least a factor of two is left to the better filter.
int shrinkOnLoad(ImageFormat format, PixelSize from, PixelSize to) {
    const double factor = std::min(static_cast<double>(from.width) / to.width,
                                   static_cast<double>(from.height) / to.height);
    if (format == ImageFormat::webp) return std::max(1, static_cast<int>(factor / 2));
    if (format != ImageFormat::jpeg) return 1;
    for (const int shrink : {8, 4, 2}) {
        if (factor >= 2 * shrink) return shrink;
    }
    return 1;
}

bool hasProfile(VipsImage* picture) {
    return vips_image_get_typeof(picture, VIPS_META_ICC_NAME) != 0;
}

// With premultiplied alpha on the way, and in sRGB if the picture has a profile that says how.
VipsPicture scaled(VipsImage* picture, PixelSize size) {
    const auto attempt = [&](const char* profile) {
        return vipsResult([&](VipsImage** out) {
            return vips_thumbnail_image(picture, out, static_cast<int>(size.width), "height",
                                        static_cast<int>(size.height), "size", VIPS_SIZE_FORCE,
                                        "no_rotate", TRUE, "export_profile", profile, nullptr);
        });
    };
    // Asked to, the library would turn pictures without a profile too, and shift their colours.
    VipsPicture out = attempt(hasProfile(picture) ? "srgb" : nullptr);
    return out ? std::move(out) : attempt(nullptr);
}

// Pixels that came another way, with the profile of the picture that they belong to.
VipsPicture withProfileOf(VipsImage* picture, VipsPicture pixels) {
    const void* profile = nullptr;
    std::size_t size = 0;
    if (!pixels || !hasProfile(picture)) return pixels;
    if (vips_image_get_blob(picture, VIPS_META_ICC_NAME, &profile, &size) == 0) {
        vips_image_set_blob_copy(pixels.get(), VIPS_META_ICC_NAME, profile, size);
    }
    return pixels;
}

VipsKernel kernelFor(Interpolation interpolation) {
    switch (interpolation) {
        case Interpolation::none: return VIPS_KERNEL_NEAREST;
        case Interpolation::low: return VIPS_KERNEL_LINEAR;
        case Interpolation::medium: return VIPS_KERNEL_CUBIC;
        case Interpolation::high: break;
    }
    return VIPS_KERNEL_LANCZOS3;
}

VipsPicture asSrgb(VipsPicture picture) {
    if (vips_image_get_interpretation(picture.get()) != VIPS_INTERPRETATION_sRGB) {
        picture = vipsResult([&](VipsImage** out) {
            return vips_colourspace(picture.get(), out, VIPS_INTERPRETATION_sRGB, nullptr);
        });
    }
    if (picture && vips_image_get_format(picture.get()) != VIPS_FORMAT_UCHAR) {
        picture = vipsResult([&](VipsImage** out) {
            return vips_cast(picture.get(), out, VIPS_FORMAT_UCHAR, nullptr);
        });
    }
    return picture;
}

// One row of 1 to 4 bands as red, green, blue and alpha. True when a pixel shows what is below.
bool takeRow(const std::uint8_t* from, int bands, std::uint32_t width, std::uint8_t* to) {
    const bool isGrey = bands < 3;
    const bool hasAlpha = bands == 2 || bands >= 4;
    std::uint8_t alphas = 255;
    for (std::uint32_t x = 0; x < width; ++x, from += bands, to += 4) {
        to[0] = from[0];
        to[1] = from[isGrey ? 0 : 1];
        to[2] = from[isGrey ? 0 : 2];
        to[3] = hasAlpha ? from[isGrey ? 1 : 3] : 255;
        alphas &= to[3];
    }
    return alphas != 255;
}

}  // namespace

VipsPicture vipsPictureOf(const Raster& raster) {
    VipsPicture picture(vips_image_new_from_memory(
        raster.rgba.data(), raster.rgba.size(), static_cast<int>(raster.width),
        static_cast<int>(raster.height), 4, VIPS_FORMAT_UCHAR));
    if (!picture) {
        vips_error_clear();
        return nullptr;
    }
    return vipsResult([&](VipsImage** out) {
        if (raster.hasAlpha) {
            return vips_copy(picture.get(), out, "interpretation", VIPS_INTERPRETATION_sRGB,
                             nullptr);
        }
        VipsPicture typed = vipsResult([&](VipsImage** copy) {
            return vips_copy(picture.get(), copy, "interpretation", VIPS_INTERPRETATION_sRGB,
                             nullptr);
        });
        return typed ? vips_extract_band(typed.get(), out, 0, "n", 3, nullptr) : -1;
    });
}

std::optional<Raster> rasterOf(VipsPicture picture) {
    picture = asSrgb(std::move(picture));
    if (!picture || vips_image_pio_input(picture.get()) != 0) return std::nullopt;
    const PixelSize size = sizeOf(picture);
    if (!isWithinLimits(size)) return std::nullopt;
    const std::unique_ptr<VipsRegion, decltype([](VipsRegion* region) { g_object_unref(region); })>
        region(vips_region_new(picture.get()));
    if (!region) return std::nullopt;

    const int bands = vips_image_get_bands(picture.get());
    Raster raster{size.width, size.height, {}, false};
    raster.rgba.resize(std::size_t{4} * size.width * size.height);
    auto* to = reinterpret_cast<std::uint8_t*>(raster.rgba.data());
    const int height = static_cast<int>(size.height);
    for (int top = 0; top < height; top += kRowsAtOnce) {
        const VipsRect rows{0, top, static_cast<int>(size.width),
                            std::min(kRowsAtOnce, height - top)};
        if (vips_region_prepare(region.get(), &rows) != 0) {
            vips_error_clear();
            return std::nullopt;
        }
        for (int row = top; row < top + rows.height; ++row, to += std::size_t{4} * size.width) {
            const auto* from = VIPS_REGION_ADDR(region.get(), 0, row);
            if (takeRow(from, bands, size.width, to)) raster.hasAlpha = true;
        }
    }
    return raster;
}

namespace {

// What the library sets up on first use is set up once for all processes.
void warmUp() {
    // A black pixel.
    constexpr unsigned char kPng[] = {0x89, 'P', 'N', 'G',  '\r', '\n', 0x1A, '\n', 0,    0, 0, 13,
                                      'I',  'H', 'D', 'R',  0,    0,    0,    1,    0,    0, 0, 1,
                                      8,    0,   0,   0,    0,    0x3A, 0x7E, 0x9B, 0x55, 0, 0, 0,
                                      10,   'I', 'D', 'A',  'T',  0x78, 0x9C, 0x63, 0x60, 0, 0, 0,
                                      2,    0,   1,   0x48, 0xAF, 0xA4, 0x71, 0,    0,    0, 0, 'I',
                                      'E',  'N', 'D', 0xAE, 0x42, 0x60, 0x82};
    decodeByVips(std::as_bytes(std::span(kPng)), ImageFormat::png);
    for (const Colour colour : {kWhite, kClear}) {
        const Raster pixels = platform::rasterOf(PixelSize{64, 64}, colour);
        const VipsPicture picture = vipsPictureOf(pixels);
        if (picture) platform::rasterOf(scaled(picture.get(), {20, 20}));
    }
    // A type costs more than a picture.
    for (const char* loader : {"jpegload_source", "gifload_source", "tiffload_source",
                               "webpload_source", "heifload_source", "icc_transform"}) {
        const GType type = vips_type_find("VipsOperation", loader);
        if (type != 0) g_type_class_ref(type);
    }
}

}  // namespace

void prepareVips() {
    // Text goes nowhere but to our callers.
    g_log_set_handler(
        "VIPS", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK),
        [](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
    if (VIPS_INIT("corvystack") != 0) throw std::runtime_error("libvips does not start");
    vips_block_untrusted_set(TRUE);
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    vips_cache_set_max_mem(0);
    warmUp();
}

std::string vipsVersion() {
    return std::to_string(vips_version(0)) + "." + std::to_string(vips_version(1)) + "." +
           std::to_string(vips_version(2));
}

std::optional<Raster> decodeByVips(std::span<const std::byte> bytes, ImageFormat format,
                                   const VipsDecoding& options) {
    LoadOptions loading{.page = static_cast<int>(options.page),
                        .heifThumbnail = options.heifThumbnail};
    VipsPicture picture = load(sourceOf(bytes, options.file), format, loading);
    if (!picture || !isWithinLimits(sizeOf(picture))) return std::nullopt;
    const PixelSize wanted = sizeFor(options.target, sizeOf(picture));
    loading.shrink = shrinkOnLoad(format, sizeOf(picture), wanted);
    const std::optional<Raster> eighth =
        format == ImageFormat::jpeg && loading.shrink == 8 ? eighthOfJpeg(bytes) : std::nullopt;
    if (eighth) {
        picture = withProfileOf(picture.get(), vipsPictureOf(*eighth));
    } else if (loading.shrink > 1) {
        picture = load(sourceOf(bytes, options.file), format, loading);
    }
    picture = withShortNumbers(std::move(picture));
    if (!picture) return std::nullopt;
    picture = scaled(picture.get(), wanted);
    return picture ? rasterOf(std::move(picture)) : std::nullopt;
}

std::vector<PixelSize> pageSizesOfTiff(std::span<const std::byte> bytes, std::size_t most) {
    std::vector<PixelSize> sizes;
    std::size_t count = 1;
    while (sizes.size() < std::min(count, most)) {
        const VipsPicture page = load(sourceOf(bytes, nullptr), ImageFormat::tiff,
                                      {.page = static_cast<int>(sizes.size())});
        if (!page) break;
        if (sizes.empty()) {
            count = static_cast<std::size_t>(std::max(1, vips_image_get_n_pages(page.get())));
        }
        sizes.push_back(sizeOf(page));
    }
    return sizes;
}

std::optional<Raster> resampled(const Raster& raster, PixelSize size, Interpolation interpolation) {
    if (raster.width == size.width && raster.height == size.height) return raster;
    VipsPicture picture = vipsPictureOf(raster);
    if (!picture) return std::nullopt;
    if (raster.hasAlpha) {
        picture = vipsResult(
            [&](VipsImage** out) { return vips_premultiply(picture.get(), out, nullptr); });
        if (!picture) return std::nullopt;
    }
    picture = vipsResult([&](VipsImage** out) {
        return vips_resize(picture.get(), out, static_cast<double>(size.width) / raster.width,
                           "vscale", static_cast<double>(size.height) / raster.height, "kernel",
                           kernelFor(interpolation), nullptr);
    });
    if (picture && raster.hasAlpha) {
        picture = vipsResult(
            [&](VipsImage** out) { return vips_unpremultiply(picture.get(), out, nullptr); });
    }
    return picture ? rasterOf(std::move(picture)) : std::nullopt;
}

}  // namespace corvy::platform
