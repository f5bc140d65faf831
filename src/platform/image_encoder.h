// Rasters as picture files.
#pragma once

#include <cstdint>
#include <optional>

#include "foundation/bytes.h"
#include "platform/raster.h"

namespace corvy::platform {

// By the numbers that callers of the image operations use.
enum class BitmapFileType : std::uint8_t { tiff, bmp, gif, jpeg, png, jpeg2000 };

struct EncodeOptions {
    BitmapFileType type = BitmapFileType::png;
    // How good JPEG and JPEG 2000 look, 0 to 1; 1 is without loss for JPEG 2000. The others leave
    // nothing out.
    float compressionFactor = 0.85F;
};

// None when the raster has no pixels, or more than the format or memory holds. JPEG has no alpha:
// the picture is laid over white. GIF has 256 colours, one of them clear.
std::optional<Bytes> encodedPicture(Raster raster, const EncodeOptions& options);

// A BMP file: 24 bits a pixel, with alpha 32. None as above.
std::optional<Bytes> bmpRepresentation(const Raster& raster);

}  // namespace corvy::platform
