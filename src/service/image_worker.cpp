#include "service/image_worker.h"

#include <string>
#include <string_view>
#include <utility>

#include "foundation/file_contents.h"
#include "foundation/size_string.h"
#include "foundation/text.h"
#include "images/image.h"
#include "images/image_types.h"
#include "images/thumbnail.h"
#include "platform/image_encoder.h"
#include "platform/image_source.h"
#include "platform/tiff_encoder.h"
#include "service/image_conversion.h"

namespace corvy {

namespace {

using namespace image_exchange;
using platform::ImageSource;

// What a thumbnail of the full-image route fits into.
constexpr Size kThumbnailBox{256, 256};

bool flag(const Dictionary& arguments, std::u16string_view key) {
    const PropertyList* value = arguments.find(key);
    return value != nullptr && value->boolean().value_or(false);
}

FolderSource folderOf(platform::WorkerChannel& channel) {
    return [&channel] { return channel.temporaryFolder(); };
}

// The image of a file or, should that fail, of its bytes.
Image imageAt(const std::u16string& path, platform::WorkerChannel& channel) {
    const std::u16string file = pathToPDF(path);
    const auto bytes = contentsOfFile(file, {.uncached = true});
    if (!bytes) return Image({});
    return Image::initWithData(*bytes, pathExtension(file), folderOf(channel));
}

std::optional<platform::BitmapFileType> bitmapFileType(std::u16string_view name) {
    using platform::BitmapFileType;
    if (name == u"png") return BitmapFileType::png;
    if (name == u"jpg") return BitmapFileType::jpeg;
    if (name == u"tiff") return BitmapFileType::tiff;
    return std::nullopt;
}

}  // namespace

std::optional<PropertyList> thumbnailOfFile(const Dictionary& arguments, platform::WorkerChannel&) {
    const auto path = stringOf(arguments, kPath);
    const PropertyList* size = arguments.find(kMaxSize);
    std::optional<Dictionary> properties;
    const auto thumbnail = thumbnailForFile(
        path, size ? size->integer().value_or(0) : 0,
        {.alwaysFromImage = flag(arguments, kAlways), .withTransform = true}, &properties);
    const auto tiff =
        thumbnail ? thumbnail->TIFFRepresentationWithSize(thumbnail->size()) : std::nullopt;
    if (!tiff) return std::nullopt;
    Dictionary result;
    if (properties) result.set(u"Properties", *std::move(properties));
    result.set(u"Thumbnail", *tiff);
    return result;
}

std::optional<PropertyList> imageOfFile(const Dictionary& arguments,
                                        platform::WorkerChannel& channel) {
    const auto path = stringOf(arguments, kPath);
    if (!path) return std::nullopt;
    Image image = imageAt(*path, channel);
    if (!image.isReallyValid()) return std::nullopt;

    Dictionary result{{u"Size", sizeString(image.size())},
                      {u"PixelSize", sizeString(image.pixelSize())},
                      {u"Alpha", image.hasAlpha()}};
    if (flag(arguments, kWithPdf)) {
        auto pdf = image.PDFImageRep();
        const auto eps = pdf ? nullptr : image.EPSImageRep();
        if (eps) pdf = eps->initializePDFImageRep();
        const auto bytes = pdf ? pdf->PDFRepresentation() : std::nullopt;
        if (bytes) result.set(kPdf, *bytes);
        if (bytes && eps) result.set(kIsConverted, true);
    }
    // From here on a point is a pixel.
    image.setSize(image.pixelSize());
    const auto tiff = image.TIFFRepresentationWithSize(image.thumbSize(kThumbnailBox));
    if (!tiff) return std::nullopt;
    result.set(u"Thumbnail", *tiff);
    return result;
}

std::optional<PropertyList> pdfOfFile(const Dictionary& arguments,
                                      platform::WorkerChannel& channel) {
    const auto path = stringOf(arguments, kPath);
    if (!path) return std::nullopt;
    const Image image = Image::initByReferencingFile(pathToPDF(*path), folderOf(channel));
    if (!image.isReallyValid()) return std::nullopt;
    auto pdf = image.PDFImageRep();
    const auto eps = pdf ? nullptr : image.EPSImageRep();
    if (eps) pdf = eps->initializePDFImageRep();
    const auto bytes = pdf ? pdf->PDFRepresentation() : std::nullopt;
    if (!bytes) return std::nullopt;
    return Dictionary{{kPdf, *bytes}};
}

std::optional<PropertyList> encodePicture(const Dictionary& arguments, platform::WorkerChannel&) {
    const PropertyList* picture = arguments.find(kPicture);
    const auto type = bitmapFileType(stringOf(arguments, kType).value_or(u""));
    if (!type || picture == nullptr || picture->bytes() == nullptr) return std::nullopt;
    const auto source = ImageSource::create(*picture->bytes(), {});
    if (!source) return std::nullopt;
    const PropertyList* size = arguments.find(kMaxSize);
    auto raster = source->thumbnail(
        {.maxPixelSize = size ? size->integer().value_or(0) : 0, .fromImageAlways = true});
    if (!raster) return std::nullopt;
    const auto encoded = platform::encodedPicture(*std::move(raster), {.type = *type});
    if (!encoded) return std::nullopt;
    return Dictionary{{kPicture, *encoded}};
}

}  // namespace corvy
