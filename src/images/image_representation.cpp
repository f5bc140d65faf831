#include "images/image_representation.h"

#include <cmath>
#include <utility>

#include "platform/image_signature.h"
#include "platform/image_source.h"
#include "platform/pdf_document.h"
#include "platform/post_script.h"
#include "platform/raster_operations.h"
#include "platform/svg_image.h"

namespace corvy {

namespace {

using platform::ImageDecoder;
using platform::ImageFormat;
using platform::ImageSource;

constexpr double kPointsPerInch = 72;
// Between these a file's resolution means something: 1 is for pixels that are as wide as high.
constexpr double kLeastDpi = 1;
constexpr double kMostDpi = 100'000;

Size sizeOf(PixelSize pixels) {
    return {static_cast<double>(pixels.width), static_cast<double>(pixels.height)};
}

double resolution(const Dictionary& properties, std::u16string_view key) {
    const PropertyList* value = properties.find(key);
    const double dpi = value ? value->number().value_or(0) : 0;
    return dpi > kLeastDpi && dpi <= kMostDpi ? dpi : kPointsPerInch;
}

// A picture of a file that is decoded anew, and no finer than needed, whenever it is drawn.
class SourceRep : public ImageRepresentation {
public:
    SourceRep(Kind kind, std::shared_ptr<const ImageSource> source, std::size_t index)
        : ImageRepresentation(factsOf(kind, *source, index)),
          source_(std::move(source)),
          index_(index) {}

    std::optional<Bytes> fileBytes() const override {
        return kind() == Kind::pict ? std::optional(source_->bytes()) : std::nullopt;
    }

protected:
    std::optional<Raster> draw(PixelSize size, const Drawing& drawing) const override {
        if (drawing.interpolation == platform::Interpolation::high) {
            return source_->picture(index_, {.box = size, .exactly = true});
        }
        const auto whole = source_->picture(index_);
        return whole ? platform::resampled(*whole, size, drawing.interpolation) : std::nullopt;
    }

private:
    static Facts factsOf(Kind kind, const ImageSource& source, std::size_t index) {
        const ImageSource::Picture& picture = source.pictures()[index];
        Facts facts{.kind = kind, .size = {}, .pixels = picture.size, .hasAlpha = picture.hasAlpha};
        double across = resolution(source.metadata().properties, u"DPIWidth") * picture.scale;
        double down = resolution(source.metadata().properties, u"DPIHeight") * picture.scale;
        if (platform::swapsSides(source.metadata().orientation)) std::swap(across, down);
        facts.size = {picture.size.width * kPointsPerInch / across,
                      picture.size.height * kPointsPerInch / down};
        if (kind == Kind::pict) facts.pixels = {};
        return facts;
    }

    std::shared_ptr<const ImageSource> source_;
    std::size_t index_;
};

class SvgRep : public ImageRepresentation {
public:
    explicit SvgRep(platform::SvgImage picture)
        : ImageRepresentation({.kind = Kind::vector, .size = picture.size(), .hasAlpha = true}),
          picture_(std::move(picture)) {}

protected:
    std::optional<Raster> draw(PixelSize size, const Drawing&) const override {
        return picture_.drawn(size);
    }

private:
    platform::SvgImage picture_;
};

using Representations = std::vector<std::shared_ptr<ImageRepresentation>>;

void addPictures(Representations& out, const Bytes& bytes, std::u16string_view extension) {
    auto created = ImageSource::create(bytes, extension);
    if (!created) return;
    const auto source = std::make_shared<const ImageSource>(*std::move(created));
    using Kind = ImageRepresentation::Kind;
    Kind kind = Kind::bitmap;
    if (entryOf(source->format()).decoder == ImageDecoder::icon) kind = Kind::icon;
    if (source->format() == ImageFormat::pict) kind = Kind::pict;
    for (std::size_t i = 0; i < source->pictures().size(); ++i) {
        const PixelSize size = source->pictures()[i].size;
        if (size.width > 0 && size.height > 0) {
            out.push_back(std::make_shared<SourceRep>(kind, source, i));
        } else if (auto raster = source->picture(i)) {
            // Its header is not understood; its decoder does better.
            out.push_back(std::make_shared<BitmapImageRep>(*std::move(raster)));
        }
    }
}

}  // namespace

std::optional<Raster> ImageRepresentation::drawn(PixelSize size, const Drawing& drawing) const {
    if (size.width == 0 || size.height == 0 || !platform::isWithinLimits(size)) return std::nullopt;
    return draw(size, drawing);
}

BitmapImageRep::BitmapImageRep(Raster raster)
    : ImageRepresentation({.kind = Kind::bitmap,
                           .size = corvy::sizeOf(platform::sizeOf(raster)),
                           .pixels = platform::sizeOf(raster),
                           .hasAlpha = raster.hasAlpha}),
      raster_(std::move(raster)) {}

std::optional<Bytes> BitmapImageRep::data() const {
    if (raster_.rgba.empty()) return std::nullopt;
    return Bytes::copyOf(std::span(raster_.rgba));
}

std::optional<Bytes> BitmapImageRep::representationUsingType(platform::BitmapFileType type,
                                                             float compressionFactor) const {
    return platform::encodedPicture(raster_,
                                    {.type = type, .compressionFactor = compressionFactor});
}

std::optional<Raster> BitmapImageRep::draw(PixelSize size, const Drawing& drawing) const {
    return platform::resampled(raster_, size, drawing.interpolation);
}

struct PDFImageRep::Document {
    platform::PdfDocument pdf;
};

PDFImageRep::PDFImageRep(Bytes bytes, std::unique_ptr<Document> document, Size size)
    : ImageRepresentation({.kind = Kind::pdf, .size = size, .hasAlpha = true}),
      bytes_(std::move(bytes)),
      document_(std::move(document)) {}
PDFImageRep::~PDFImageRep() = default;

std::shared_ptr<PDFImageRep> PDFImageRep::of(Bytes bytes) {
    auto pdf = platform::PdfDocument::open(bytes);
    if (!pdf || pdf->isLocked() || pdf->pageCount() == 0) return nullptr;
    const auto size = pdf->pageSize(0);
    if (!size) return nullptr;
    auto document = std::make_unique<Document>(Document{*std::move(pdf)});
    return std::shared_ptr<PDFImageRep>(
        new PDFImageRep(std::move(bytes), std::move(document), *size));
}

std::optional<Raster> PDFImageRep::draw(PixelSize size, const Drawing& drawing) const {
    return document_->pdf.pictureOfPage(0, size, drawing.shouldAntialias);
}

EPSImageRep::EPSImageRep(Bytes bytes, FolderSource folder, Size size,
                         std::shared_ptr<corvy::PDFImageRep> pdf)
    : ImageRepresentation({.kind = Kind::eps, .size = size, .hasAlpha = true}),
      bytes_(std::move(bytes)),
      folder_(std::move(folder)),
      pdf_(std::move(pdf)) {}

std::shared_ptr<EPSImageRep> EPSImageRep::of(Bytes bytes, FolderSource folder) {
    const auto postScript = platform::postScriptIn(bytes);
    std::optional<Size> size = platform::boundingBoxSize(postScript);
    std::shared_ptr<corvy::PDFImageRep> pdf;
    if (!size) {
        auto converted = folder ? platform::pdfOfPostScript(
                                      postScript, {.folder = folder(), .toBoundingBox = false})
                                : std::nullopt;
        if (converted) pdf = corvy::PDFImageRep::of(*std::move(converted));
        if (!pdf) return nullptr;
        size = pdf->size();
    }
    return std::shared_ptr<EPSImageRep>(
        new EPSImageRep(std::move(bytes), std::move(folder), *size, std::move(pdf)));
}

std::shared_ptr<corvy::PDFImageRep> EPSImageRep::initializePDFImageRep() const {
    if (!std::exchange(isInitialised_, true) && !pdf_ && folder_) {
        auto converted =
            platform::pdfOfPostScript(platform::postScriptIn(bytes_), {.folder = folder_()});
        if (converted) pdf_ = corvy::PDFImageRep::of(*std::move(converted));
    }
    return pdf_;
}

std::optional<Bytes> EPSImageRep::PDFRepresentation() const {
    const auto pdf = initializePDFImageRep();
    return pdf ? pdf->PDFRepresentation() : std::nullopt;
}

std::optional<Raster> EPSImageRep::draw(PixelSize size, const Drawing& drawing) const {
    const auto pdf = initializePDFImageRep();
    return pdf ? pdf->drawn(size, drawing) : std::nullopt;
}

Representations representationsOf(const Bytes& bytes, std::u16string_view extension,
                                  FolderSource folder) {
    Representations out;
    const ImageFormat format = platform::imageFormatOf(bytes, extension);
    if (format == ImageFormat::unknown) return out;
    switch (entryOf(format).decoder) {
        case ImageDecoder::pdf:
            if (auto pdf = PDFImageRep::of(bytes)) out.push_back(std::move(pdf));
            break;
        case ImageDecoder::postScript:
            if (auto eps = EPSImageRep::of(bytes, std::move(folder))) out.push_back(std::move(eps));
            break;
        case ImageDecoder::vector:
            if (auto picture = platform::SvgImage::open(bytes)) {
                out.push_back(std::make_shared<SvgRep>(*std::move(picture)));
            }
            break;
        default: addPictures(out, bytes, extension);
    }
    return out;
}

}  // namespace corvy
