// Which format bytes are in. Libraries are handed bytes only after this test: the sniffers of some
// never return from hostile files.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "platform/image_formats.h"

namespace corvy::platform {

// `unknown` for what is none of the formats. `extension` (of the file's name, in any case, may be
// empty) decides where bytes alone cannot: TGA and MacPaint have no signature worth the name, and
// some camera raw files are TIFF files but for it. Looks at the first kilobytes and the last bytes
// only; true signatures win over the extension.
ImageFormat imageFormatOf(std::span<const std::byte> bytes, std::u16string_view extension = {});

}  // namespace corvy::platform
