// SVG pictures, drawn by librsvg and Cairo. They get to see nothing outside of themselves: no other
// file and no address. It may crash or hang: it belongs into a worker.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "foundation/size_string.h"
#include "platform/image_metadata.h"
#include "platform/raster.h"

namespace corvy::platform {

class SvgImage {
public:
    // Compressed ones too. None when the bytes are no SVG, or draw nothing.
    static std::optional<SvgImage> open(std::span<const std::byte> bytes);
    ~SvgImage();
    SvgImage(SvgImage&&) noexcept;
    SvgImage& operator=(SvgImage&&) noexcept;

    // In the picture's own px (96 to its inch); both sides above 0.
    Size size() const { return size_; }
    // Fills the size, whatever that does to proportions; clear where nothing is drawn.
    std::optional<Raster> drawn(PixelSize size) const;

private:
    struct State;
    explicit SvgImage(std::unique_ptr<State> state, Size size);
    std::unique_ptr<State> state_;
    Size size_;
};

// Loads what most pictures need, fonts above all, for processes forked later.
void prepareSvg();
std::string svgLibraryVersion();

}  // namespace corvy::platform
