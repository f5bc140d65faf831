// Pictures through libavcodec: BMP, TGA, PNM, PSD, SGI, PCX, XBM, XPM, XWD, JPEG 2000 and the
// bitmaps of PICT files. It may crash or hang: it belongs into a worker.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "platform/image_formats.h"
#include "platform/raster.h"

namespace corvy::platform {

// Finds the decoders for processes forked later.
void prepareCodecs();
// Such as "59.37.100".
std::string codecVersion();

// None when the bytes are not in this format, and for pictures beyond the limits. JPEG 2000 can be
// had at half of its size, and half of that, as often as `halvings` says; others do not listen, and
// nor do files that were not made for it.
std::optional<Raster> decodeByCodec(std::span<const std::byte> bytes, ImageFormat format,
                                    int halvings = 0);

}  // namespace corvy::platform
