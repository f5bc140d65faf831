// Picture files turned into result dictionaries: thumbnail, sizes, properties; and into PDFs.
//
// The service half: files are read and decoded in a worker (image_worker.h).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/property_list.h"
#include "platform/isolation.h"

namespace corvy {

struct ImageRequest {
    std::int64_t maxThumbnailSize = 0;  // pixels of the longer side; only without stringFromPDF
    bool alwaysFromImage = false;       // scale the image even when it carries a thumbnail
    bool stringFromPDF = false;         // add the text of a PDF
    bool canUseSpotlight = false;       // importers may be asked for that text
};

// What a conversion calls on.
struct ImageConversionContext {
    // Runs a worker's operation; the pool's `run`.
    std::function<std::optional<PropertyList>(const platform::WorkerRequest&)> runWorker = {};
    struct PdfText {
        std::optional<std::u16string> file;  // when the importer may be asked
        bool size = false;                   // with the size keys
    };
    // The result dictionary of a PDF, as in pdf_conversion.h.
    std::function<std::optional<Dictionary>(const Bytes& pdf, const PdfText&)> convertPdf = {};
};

// None when the file cannot be pictured. Otherwise, for a file with pixels and without
// stringFromPDF, "Properties" and "Thumbnail" (both missing when there are no properties); for all
// others "Size", "PixelSize", "Alpha" and a "Thumbnail" of at most 256 by 256 pixels, with the
// entries of the PDF's result when that is asked for.
std::optional<Dictionary> imageWithContentsOfFile(std::u16string_view path,
                                                  const ImageRequest& request,
                                                  const ImageConversionContext& context);

// The PDF that a PDF or PostScript file is or becomes; none for all others.
std::optional<Bytes> PDFImageRepOfFile(std::u16string_view path,
                                       const ImageConversionContext& context);

// What service and worker say to each other.
namespace image_exchange {
inline constexpr const char* kFamily = "image";
// {kPath, kMaxSize, kAlways} to {"Properties" where there are some, "Thumbnail"}.
inline constexpr const char* kThumbnail = "thumbnail";
// {kPath, kWithPdf} to {"Size", "PixelSize", "Alpha", "Thumbnail", kPdf and kIsConverted where
// there is a PDF}.
inline constexpr const char* kImage = "image";
// {kPath} to {kPdf}.
inline constexpr const char* kPdfOfFile = "pdfOfFile";
// {kPicture, kType, kMaxSize where it is to be made smaller} to {kPicture}.
inline constexpr const char* kEncodePicture = "encodePicture";

inline constexpr const char16_t* kPath = u"Path";
inline constexpr const char16_t* kMaxSize = u"MaxSize";          // integer
inline constexpr const char16_t* kAlways = u"Always";            // flag
inline constexpr const char16_t* kWithPdf = u"WithPDF";          // flag
inline constexpr const char16_t* kPdf = u"PDF";                  // bytes
inline constexpr const char16_t* kIsConverted = u"IsConverted";  // flag: it was PostScript
inline constexpr const char16_t* kPicture = u"Picture";          // bytes in any format
inline constexpr const char16_t* kType = u"Type";                // "png", "jpg" or "tiff"
}  // namespace image_exchange

}  // namespace corvy
