// The forms in which an image is there: pixels, a PDF page, PostScript, and others.
//
// Nothing is decoded before it is drawn. Foreign libraries do that, so images belong into a worker.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"
#include "foundation/size_string.h"
#include "platform/image_encoder.h"
#include "platform/image_metadata.h"
#include "platform/raster.h"
#include "platform/vips_image.h"

namespace corvy {

using platform::PixelSize;
using platform::Raster;

struct Drawing {
    bool shouldAntialias = true;  // edges of lines and letters
    platform::Interpolation interpolation = platform::Interpolation::high;
};

class ImageRepresentation {
public:
    enum class Kind { bitmap, icon, pict, pdf, eps, vector };

    virtual ~ImageRepresentation() = default;
    ImageRepresentation(const ImageRepresentation&) = delete;
    ImageRepresentation& operator=(const ImageRepresentation&) = delete;

    Kind kind() const { return facts_.kind; }
    // Logical, in points.
    Size size() const { return facts_.size; }
    // 0 x 0 for what can be drawn in any number of pixels.
    PixelSize pixels() const { return facts_.pixels; }
    bool hasAlpha() const { return facts_.hasAlpha; }
    // Fills the size, whatever that does to proportions. None when it cannot be decoded, and for a
    // size beyond the limits or without area.
    std::optional<Raster> drawn(PixelSize size, const Drawing& drawing = {}) const;
    // The file that a PDF, EPS or PICT representation was made from; none for others.
    virtual std::optional<Bytes> fileBytes() const { return std::nullopt; }

protected:
    struct Facts {
        Kind kind = Kind::bitmap;
        Size size;
        PixelSize pixels = {};
        bool hasAlpha = false;
    };
    explicit ImageRepresentation(Facts facts) : facts_(facts) {}
    virtual std::optional<Raster> draw(PixelSize size, const Drawing& drawing) const = 0;

private:
    Facts facts_;
};

// Decoded pixels.
class BitmapImageRep : public ImageRepresentation {
public:
    // The logical size is that in pixels.
    explicit BitmapImageRep(Raster raster);

    // The bytes of the pixels: red, green, blue and alpha, rows from the top.
    std::optional<Bytes> data() const;
    // None when the type does not hold so many pixels.
    std::optional<Bytes> representationUsingType(platform::BitmapFileType type,
                                                 float compressionFactor) const;

protected:
    std::optional<Raster> draw(PixelSize size, const Drawing& drawing) const override;

private:
    Raster raster_;
};

// The first page of a PDF.
class PDFImageRep : public ImageRepresentation {
public:
    // None when the bytes are no PDF, a locked one, or one without a page that has an area.
    static std::shared_ptr<PDFImageRep> of(Bytes bytes);
    ~PDFImageRep() override;
    std::optional<Bytes> fileBytes() const override { return bytes_; }
    std::optional<Bytes> PDFRepresentation() const { return bytes_; }

protected:
    std::optional<Raster> draw(PixelSize size, const Drawing& drawing) const override;

private:
    struct Document;
    PDFImageRep(Bytes bytes, std::unique_ptr<Document> document, Size size);
    Bytes bytes_;
    std::unique_ptr<Document> document_;
};

// Where conversions may put files; empty when nowhere. Asked only when one is needed.
using TemporaryFolder = std::function<std::string()>;

// PostScript, which becomes a PDF when it is needed as one.
class EPSImageRep : public ImageRepresentation {
public:
    // A file without a bounding box is converted at once, for its size. None when that fails.
    static std::shared_ptr<EPSImageRep> of(Bytes bytes, TemporaryFolder folder);
    std::optional<Bytes> fileBytes() const override { return bytes_; }

    // The PDF once it has been made; null before.
    std::shared_ptr<corvy::PDFImageRep> PDFImageRep() const {
        return isInitialised_ ? pdf_ : nullptr;
    }
    // Makes it. Null when it cannot be made.
    std::shared_ptr<corvy::PDFImageRep> initializePDFImageRep() const;
    std::optional<Bytes> PDFRepresentation() const;

protected:
    std::optional<Raster> draw(PixelSize size, const Drawing& drawing) const override;

private:
    EPSImageRep(Bytes bytes, TemporaryFolder folder, Size size,
                std::shared_ptr<corvy::PDFImageRep> pdf);
    Bytes bytes_;
    TemporaryFolder folder_;
    mutable std::shared_ptr<corvy::PDFImageRep> pdf_;
    mutable bool isInitialised_ = false;
};

// The representations of a file; none when it is no picture. `extension` is that of its name.
std::vector<std::shared_ptr<ImageRepresentation>> representationsOf(const Bytes& bytes,
                                                                    std::u16string_view extension,
                                                                    TemporaryFolder folder);

}  // namespace corvy
