// Icons and MacPaint files: pictures have the size that they say, and lie within the file.
#include <cstdint>
#include <span>

#include "fuzz/fuzz_text.h"
#include "platform/icon_reader.h"
#include "platform/mac_paint.h"

namespace {

using namespace corvy;
using namespace corvy::platform;

void checkRaster(const Raster& raster) {
    require(raster.rgba.size() == std::size_t{4} * raster.width * raster.height);
    if (raster.hasAlpha) return;
    for (std::size_t i = 3; i < raster.rgba.size(); i += 4)
        require(raster.rgba[i] == std::byte{255});
}

}  // namespace

// The first byte chooses the format.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr ImageFormat kFormats[] = {ImageFormat::ico, ImageFormat::icns, ImageFormat::macPaint};
    if (size == 0) return 0;
    const auto bytes = std::as_bytes(std::span(data, size)).subspan(1);
    const ImageFormat format = kFormats[data[0] % std::size(kFormats)];
    if (format == ImageFormat::macPaint) {
        if (const auto raster = decodeMacPaint(bytes)) checkRaster(*raster);
        return 0;
    }
    const auto entries = readIcon(bytes, format);
    if (!entries) return 0;
    require(!entries->empty());
    for (const IconEntry& entry : *entries) {
        const bool isPixels = entry.kind == IconEntry::Kind::pixels;
        require(entry.encoded.empty() == isPixels);
        if (isPixels) {
            require(entry.raster.width == entry.width && entry.raster.height == entry.height);
            checkRaster(entry.raster);
        } else {
            require(entry.encoded.data() >= bytes.data() &&
                    entry.encoded.data() + entry.encoded.size() <= bytes.data() + bytes.size());
        }
    }
    return 0;
}
