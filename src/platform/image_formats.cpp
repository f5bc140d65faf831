#include "platform/image_formats.h"

#include <algorithm>
#include <iterator>

namespace corvy::platform {

namespace {

#include "platform/image_formats.inc"

constexpr std::size_t indexOf(ImageFormat format) {
    return static_cast<std::size_t>(format) - 1;
}
static_assert(std::size(kImageFormats) == indexOf(ImageFormat::rawRaf) + 1);
static_assert(std::all_of(std::begin(kImageFormats), std::end(kImageFormats),
                          [](const ImageFormatEntry& entry) {
                              return &entry - kImageFormats ==
                                         static_cast<std::ptrdiff_t>(indexOf(entry.format)) &&
                                     entry.typeCodes.size() % 4 == 0;
                          }));

}  // namespace

std::span<const ImageFormatEntry> imageFormats() {
    return kImageFormats;
}

const ImageFormatEntry& entryOf(ImageFormat format) {
    return kImageFormats[indexOf(format)];
}

}  // namespace corvy::platform
