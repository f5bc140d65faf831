// An image: a logical size, and the representations that show it.
//
// Sizes are in points unless they say pixels. Images are cheap to copy; the copies share their
// representations. Drawing runs foreign libraries, so it belongs into a worker.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "images/image_representation.h"
#include "platform/raster_operations.h"

namespace corvy {

class Image {
public:
    using Representations = std::vector<std::shared_ptr<ImageRepresentation>>;

    // Its size is that of the first of them.
    explicit Image(Representations representations);
    // The picture in a file. One that has none gives an image that is not really valid.
    static Image initByReferencingFile(std::u16string_view path, TemporaryFolder folder = {});
    static Image initWithData(const Bytes& data, std::u16string_view extension,
                              TemporaryFolder folder = {});
    // Of one bitmap, a point to a pixel. None for a picture without pixels.
    static std::optional<Image> imageWithCGImageRef(Raster picture);

    const Representations& representations() const { return representations_; }
    Size size() const { return size_; }
    // Representations are drawn to that size.
    void setSize(Size size) { size_ = size; }
    // What shows through; clear to begin with.
    void setBackgroundColour(platform::Colour colour) { background_ = colour; }

    // It has an area and a representation.
    bool isReallyValid() const;
    // Of the widest representation, in pixels; the logical size when none has pixels.
    Size pixelSize() const;
    // Of some representation. What is no bitmap counts as having it.
    bool hasAlpha() const;

    // The PDF, or what EPS was converted to already; null when there is neither.
    std::shared_ptr<corvy::PDFImageRep> PDFImageRep() const;
    std::shared_ptr<corvy::EPSImageRep> EPSImageRep() const;
    // For drawing in so many pixels: of those with fitting proportions the smallest that is large
    // enough, else the largest. Null when there is none.
    const ImageRepresentation* bestRepresentation(PixelSize size) const;

    // By the fitting rule of image_types.h, out of pixelSize().
    Size thumbSize(Size box) const;
    Size scaledSize(double factor) const;

    // Drawn into so many pixels: PDF, EPS and other drawings on white, pictures with alpha over the
    // background colour. Clear without a representation; none when it cannot be decoded.
    std::optional<Raster> rendered(Size size, const Drawing& drawing = {}) const;
    // The same as a TIFF file without compression.
    std::optional<Bytes> TIFFRepresentationWithSize(Size size, const Drawing& drawing = {}) const;

    // An image of one bitmap of that size, in points and pixels; none unless both sides are above
    // 0, and when it cannot be drawn.
    std::optional<Image> imageWithSize(Size size, const Drawing& drawing = {}) const;
    std::optional<Image> bitmapImageWithSize(Size size, const Drawing& drawing = {}) const;
    // Fitted into the box.
    std::optional<Image> thumbForSize(Size box, const Drawing& drawing = {}) const;

    // The PDF, else the EPS, else the PICT that it was made from; else a TIFF with LZW compression.
    struct Export {
        std::optional<Bytes> bytes;  // none when it cannot be decoded
        std::u16string extension;
    };
    Export bestRepresentationAndFileExtension() const;
    std::u16string pathExtensionForBestRepresentation() const;
    // In the type; none when it has no bitmap, or one that the type does not hold.
    std::optional<Bytes> representationUsingType(platform::BitmapFileType type,
                                                 float compressionFactor) const;

private:
    const ImageRepresentation* first(ImageRepresentation::Kind kind) const;
    const ImageRepresentation* exported() const;

    Representations representations_;
    Size size_;
    platform::Colour background_ = platform::kClear;
};

}  // namespace corvy
