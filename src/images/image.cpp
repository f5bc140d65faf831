#include "images/image.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/file_contents.h"
#include "foundation/text.h"
#include "images/image_types.h"
#include "platform/tiff_encoder.h"

namespace corvy {

namespace {

using Kind = ImageRepresentation::Kind;

// Every touched pixel counts.
std::optional<PixelSize> pixelsOf(Size size) {
    const double width = std::ceil(size.width);
    const double height = std::ceil(size.height);
    if (!(width > 0) || !(height > 0) || width > platform::kLongestSide ||
        height > platform::kLongestSide) {
        return std::nullopt;
    }
    return PixelSize{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

// Drawings, which have no paper of their own.
bool isDrawnOnWhite(Kind kind) {
    return kind != Kind::bitmap && kind != Kind::icon;
}

bool hasProportions(const ImageRepresentation& representation, PixelSize size) {
    constexpr double kTolerance = 0.02;
    const Size own = representation.size();
    const double ratio = own.width * size.height / (own.height * size.width);
    // One pixel more or less may be much of a small picture.
    const double rounding = 1.0 / std::min(size.width, size.height);
    return std::abs(ratio - 1) <= kTolerance + rounding;
}

// Whether `a` is the better one to draw in so many pixels.
bool isBetter(const ImageRepresentation& a, const ImageRepresentation& b, PixelSize size) {
    const bool fits = hasProportions(a, size);
    if (fits != hasProportions(b, size)) return fits;
    const auto isEnough = [size](const ImageRepresentation& representation) {
        const PixelSize pixels = representation.pixels();
        return pixels.width == 0 || (pixels.width >= size.width && pixels.height >= size.height);
    };
    if (isEnough(a) != isEnough(b)) return isEnough(a);
    return isEnough(a) ? a.pixels().width < b.pixels().width : a.pixels().width > b.pixels().width;
}

}  // namespace

Image::Image(Representations representations)
    : representations_(std::move(representations)),
      size_(representations_.empty() ? Size{} : representations_.front()->size()) {}

Image Image::initByReferencingFile(std::u16string_view path, FolderSource folder) {
    const auto bytes = contentsOfFile(path);
    if (!bytes) return Image(Representations());
    return initWithData(*bytes, pathExtension(path), std::move(folder));
}

Image Image::initWithData(const Bytes& data, std::u16string_view extension, FolderSource folder) {
    return Image(representationsOf(data, extension, std::move(folder)));
}

std::optional<Image> Image::imageWithCGImageRef(Raster picture) {
    if (picture.width == 0 || picture.height == 0) return std::nullopt;
    return Image({std::make_shared<BitmapImageRep>(std::move(picture))});
}

bool Image::isReallyValid() const {
    return size_.width > 0 && size_.height > 0 && !representations_.empty();
}

Size Image::pixelSize() const {
    PixelSize widest;
    for (const auto& representation : representations_) {
        if (representation->pixels().width > widest.width) widest = representation->pixels();
    }
    if (widest == PixelSize{}) return size_;
    return {static_cast<double>(widest.width), static_cast<double>(widest.height)};
}

bool Image::hasAlpha() const {
    return std::ranges::any_of(representations_, [](const auto& representation) {
        return representation->kind() != Kind::bitmap || representation->hasAlpha();
    });
}

const ImageRepresentation* Image::first(Kind kind) const {
    const auto found =
        std::ranges::find(representations_, kind, [](const auto& each) { return each->kind(); });
    return found != representations_.end() ? found->get() : nullptr;
}

std::shared_ptr<corvy::PDFImageRep> Image::PDFImageRep() const {
    for (const auto& representation : representations_) {
        if (auto pdf = std::dynamic_pointer_cast<corvy::PDFImageRep>(representation)) return pdf;
    }
    const auto eps = EPSImageRep();
    return eps ? eps->PDFImageRep() : nullptr;
}

std::shared_ptr<corvy::EPSImageRep> Image::EPSImageRep() const {
    for (const auto& representation : representations_) {
        if (auto eps = std::dynamic_pointer_cast<corvy::EPSImageRep>(representation)) return eps;
    }
    return nullptr;
}

const ImageRepresentation* Image::bestRepresentation(PixelSize size) const {
    const ImageRepresentation* best = nullptr;
    for (const auto& representation : representations_) {
        if (best == nullptr || isBetter(*representation, *best, size)) best = representation.get();
    }
    return best;
}

Size Image::thumbSize(Size box) const {
    return thumb(box, pixelSize());
}

Size Image::scaledSize(double factor) const {
    return scale(factor, pixelSize());
}

std::optional<Raster> Image::rendered(Size size, const Drawing& drawing) const {
    const auto pixels = pixelsOf(size);
    if (!pixels) return std::nullopt;
    const ImageRepresentation* best = bestRepresentation(*pixels);
    if (best == nullptr) return platform::rasterOf(*pixels, platform::kClear);
    auto raster = best->drawn(*pixels, drawing);
    if (!raster) return std::nullopt;
    platform::drawOver(*raster, isDrawnOnWhite(best->kind()) ? platform::kWhite : background_);
    return raster;
}

std::optional<Bytes> Image::TIFFRepresentationWithSize(Size size, const Drawing& drawing) const {
    const auto raster = rendered(size, drawing);
    if (!raster) return std::nullopt;
    return platform::tiffRepresentation(*raster, platform::TiffCompression::none);
}

std::optional<Image> Image::imageWithSize(Size size, const Drawing& drawing) const {
    const auto pixels = pixelsOf(size);
    const ImageRepresentation* best = pixels ? bestRepresentation(*pixels) : nullptr;
    auto raster = best != nullptr ? best->drawn(*pixels, drawing) : std::nullopt;
    if (!raster) return std::nullopt;
    auto image = imageWithCGImageRef(*std::move(raster));
    if (image) image->setSize(size);
    return image;
}

std::optional<Image> Image::bitmapImageWithSize(Size size, const Drawing& drawing) const {
    // Every image that is drawn holds one bitmap and nothing else.
    return imageWithSize(size, drawing);
}

std::optional<Image> Image::thumbForSize(Size box, const Drawing& drawing) const {
    return imageWithSize(thumbSize(box), drawing);
}

const ImageRepresentation* Image::exported() const {
    for (const Kind kind : {Kind::pdf, Kind::eps, Kind::pict}) {
        if (const ImageRepresentation* representation = first(kind)) return representation;
    }
    return nullptr;
}

std::u16string Image::pathExtensionForBestRepresentation() const {
    const ImageRepresentation* representation = exported();
    if (representation == nullptr) return u"tiff";
    switch (representation->kind()) {
        case Kind::pdf: return u"pdf";
        case Kind::eps: return u"eps";
        default: return u"pict";
    }
}

Image::Export Image::bestRepresentationAndFileExtension() const {
    Export out{.bytes = std::nullopt, .extension = pathExtensionForBestRepresentation()};
    if (const ImageRepresentation* representation = exported()) {
        out.bytes = representation->fileBytes();
    } else if (const auto raster = rendered(pixelSize())) {
        out.bytes = platform::tiffRepresentation(*raster, platform::TiffCompression::lzw);
    }
    return out;
}

std::optional<Bytes> Image::representationUsingType(platform::BitmapFileType type,
                                                    float compressionFactor) const {
    const auto hasPixels = [](const ImageRepresentation* representation) {
        return representation != nullptr && representation->pixels() != PixelSize{};
    };
    const auto size = pixelsOf(pixelSize());
    const ImageRepresentation* bitmap = size ? bestRepresentation(*size) : nullptr;
    if (!hasPixels(bitmap)) bitmap = first(Kind::bitmap);
    auto raster = hasPixels(bitmap) ? bitmap->drawn(bitmap->pixels()) : std::nullopt;
    if (!raster) return std::nullopt;
    return platform::encodedPicture(*std::move(raster),
                                    {.type = type, .compressionFactor = compressionFactor});
}

}  // namespace corvy
