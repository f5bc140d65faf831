// Pages of TIFF files by the format's own library: what the general decoder refuses or misreads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/raster.h"

namespace corvy::platform {

// Whether the pixels of a page are brightness and colour differences outside of a JPEG, which the
// general decoder takes for red, green and blue.
bool isLumaChromaTiff(std::span<const std::byte> bytes, std::uint32_t page);

// The page as it is stored, in whatever orientation; what a damaged strip lacks is black. None
// when the library does not know the form of its pixels, or the page is too large.
std::optional<Raster> decodeTiff(std::span<const std::byte> bytes, std::uint32_t page);

}  // namespace corvy::platform
