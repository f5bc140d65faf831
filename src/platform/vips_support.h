// For the sources that call libvips, and for no others: its types show here.
#pragma once

#include <vips/vips.h>

#include <memory>
#include <optional>

#include "platform/raster.h"

namespace corvy::platform {

struct VipsUnref {
    void operator()(VipsImage* image) const noexcept { g_object_unref(image); }
};
using VipsPicture = std::unique_ptr<VipsImage, VipsUnref>;

// Runs an operation of the library, which is handed where its result goes. Null when it fails;
// what the library says about that is dropped.
template <typename Operation>
VipsPicture vipsResult(Operation&& operation) {
    VipsImage* out = nullptr;
    if (operation(&out) == 0) return VipsPicture(out);
    if (out != nullptr) g_object_unref(out);
    vips_error_clear();
    return nullptr;
}

// Shares the pixels, which must outlive it: four bands of 8 bits, or three when there is no alpha
// and `bands` is 3 (a copy then).
VipsPicture vipsPictureOf(const Raster& raster);

// Any picture as sRGB. The pixels are made here, on this thread: a process that the library has
// started threads in cannot be forked.
std::optional<Raster> rasterOf(VipsPicture picture);

}  // namespace corvy::platform
