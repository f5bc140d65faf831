#include "platform/svg_image.h"

#include <cairo.h>
#include <gio/gio.h>
#include <librsvg/rsvg.h>

#include <cmath>
#include <string_view>
#include <utility>

#include "platform/raster_operations.h"

namespace corvy::platform {

namespace {

struct ObjectUnref {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
using Handle = std::unique_ptr<RsvgHandle, ObjectUnref>;

constexpr double kPixelsPerInch = 96;
constexpr double kLongestSide = 1e6;
// Of pictures that do not tell any size, as browsers take it.
constexpr Size kUsualSize{300, 150};

bool isUsable(double width, double height) {
    return width > 0 && height > 0 && width < kLongestSide && height < kLongestSide;
}

Size sizeOf(RsvgHandle* handle) {
    double width = 0;
    double height = 0;
    if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &width, &height) != 0 &&
        isUsable(width, height)) {
        return {width, height};
    }
    gboolean hasWidth = FALSE;
    gboolean hasHeight = FALSE;
    gboolean hasViewBox = FALSE;
    RsvgLength widthLength{};
    RsvgLength heightLength{};
    RsvgRectangle viewBox{};
    rsvg_handle_get_intrinsic_dimensions(handle, &hasWidth, &widthLength, &hasHeight, &heightLength,
                                         &hasViewBox, &viewBox);
    if (hasViewBox != 0 && isUsable(viewBox.width, viewBox.height)) {
        return {viewBox.width, viewBox.height};
    }
    RsvgRectangle ink{};
    if (rsvg_handle_get_geometry_for_element(handle, nullptr, &ink, nullptr, nullptr) != 0 &&
        isUsable(ink.x + ink.width, ink.y + ink.height)) {
        return {ink.x + ink.width, ink.y + ink.height};
    }
    return kUsualSize;
}

}  // namespace

struct SvgImage::State {
    Handle handle;
};

SvgImage::SvgImage(std::unique_ptr<State> state, Size size)
    : state_(std::move(state)), size_(size) {}
SvgImage::~SvgImage() = default;
SvgImage::SvgImage(SvgImage&&) noexcept = default;
SvgImage& SvgImage::operator=(SvgImage&&) noexcept = default;

std::optional<SvgImage> SvgImage::open(std::span<const std::byte> bytes) {
    const std::unique_ptr<GInputStream, ObjectUnref> stream(g_memory_input_stream_new_from_data(
        bytes.data(), static_cast<gssize>(bytes.size()), nullptr));
    // Without an address of its own a picture reaches no other file.
    auto state = std::make_unique<State>();
    state->handle.reset(rsvg_handle_new_from_stream_sync(stream.get(), nullptr,
                                                         RSVG_HANDLE_FLAGS_NONE, nullptr, nullptr));
    if (!state->handle) return std::nullopt;
    rsvg_handle_set_dpi(state->handle.get(), kPixelsPerInch);
    const Size size = sizeOf(state->handle.get());
    return SvgImage(std::move(state), size);
}

std::optional<Raster> SvgImage::drawn(PixelSize size) const {
    const std::unique_ptr<cairo_surface_t, decltype([](cairo_surface_t* surface) {
                              cairo_surface_destroy(surface);
                          })>
        surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(size.width),
                                           static_cast<int>(size.height)));
    const std::unique_ptr<cairo_t, decltype([](cairo_t* context) { cairo_destroy(context); })>
        context(cairo_create(surface.get()));
    if (cairo_status(context.get()) != CAIRO_STATUS_SUCCESS) return std::nullopt;
    // The picture keeps its own proportions inside its viewport; the stretching is ours.
    cairo_scale(context.get(), size.width / size_.width, size.height / size_.height);
    const RsvgRectangle viewport{0, 0, size_.width, size_.height};
    if (rsvg_handle_render_document(state_->handle.get(), context.get(), &viewport, nullptr) == 0) {
        return std::nullopt;
    }
    cairo_surface_flush(surface.get());
    return rasterOfPremultiplied(
        cairo_image_surface_get_data(surface.get()),
        static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get())), size);
}

void prepareSvg() {
    constexpr std::string_view kSmallPicture =
        "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'>"
        "<text font-family='sans-serif' font-size='9' y='9'>C</text></svg>";
    const auto picture = SvgImage::open(std::as_bytes(std::span(kSmallPicture)));
    if (picture) picture->drawn({9, 9});
}

std::string svgLibraryVersion() {
    return LIBRSVG_VERSION;
}

}  // namespace corvy::platform
